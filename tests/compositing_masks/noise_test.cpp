#include "compositing/Noise.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "engine/COrvel.h"
#include "engine/trace.h"
#include "masks_test_util.h"

using namespace Orvel;
using masks_test::readLines;
using masks_test::seed1Draws;
using masks_test::TraceCapture;

namespace {

uint32_t toU32(const std::string& s) { return static_cast<uint32_t>(std::stoull(s)); }

}  // namespace

TEST(MinStdRand, StatesAndDrawsFollowTheReference) {
  int states = 0, draws = 0;
  for (const auto& w : readLines("noise.txt")) {
    if (w[0] != "states" && w[0] != "draw255" && w[0] != "draw510") continue;
    const uint32_t seed = toU32(w[1]);
    MinStdRand gen(seed);
    SCOPED_TRACE(w[0] + " seed " + w[1]);
    if (w[0] == "states") {
      ASSERT_EQ(w.size(), 2u + 65u);
      EXPECT_EQ(gen.State(), toU32(w[2]));
      for (size_t i = 3; i < w.size(); ++i) ASSERT_EQ(gen.Next(), toU32(w[i])) << "step " << i - 2;
      ++states;
    } else {
      ASSERT_EQ(w.size(), 2u + 64u);
      for (size_t i = 2; i < w.size(); ++i) {
        int v = w[0] == "draw255" ? gen.Draw255() : gen.Draw510();
        ASSERT_EQ(v, std::stoi(w[i])) << "draw " << i - 1;
      }
      ++draws;
    }
  }
  EXPECT_EQ(states, 6);  // seeds 1, 0, 2147483647, 12345, 3000000000, 4294967295
  EXPECT_EQ(draws, 12);
}

TEST(GenerateNoisePattern, PatternsFollowTheReference) {
  const auto lines = readLines("noise.txt");
  int patterns = 0;
  for (size_t i = 0; i < lines.size(); ++i) {
    const auto& w = lines[i];
    if (w[0] != "pattern") continue;
    NoiseParam p;
    p.nType = std::stoi(w[1]);
    p.nWidth = std::stoi(w[2]);
    p.nHeight = std::stoi(w[3]);
    p.nSeed = static_cast<int32_t>(toU32(w[4]));
    p.bUseRegion = w[5] == "1";
    p.rcRegion = IntRect{std::stoi(w[6]), std::stoi(w[7]), std::stoi(w[8]), std::stoi(w[9])};
    const int elem = p.nType == 0 ? 1 : 2;
    std::vector<uint8_t> mem(size_t(p.nWidth) * p.nHeight * elem, 0xEE);
    p.Pattern.pBuffer = mem.data();
    Noise noise;
    ASSERT_EQ(noise.GenerateNoisePattern(p), S_OK);
    SCOPED_TRACE("pattern " + std::to_string(patterns));
    for (int y = 0; y < p.nHeight; ++y) {
      const auto& row = lines[i + 1 + y];
      ASSERT_EQ(row[0], "patrow");
      for (int x = 0; x < p.nWidth; ++x) {
        int v;
        if (elem == 1) {
          v = mem[size_t(y) * p.nWidth + x];
        } else {
          uint16_t u;
          std::memcpy(&u, &mem[(size_t(y) * p.nWidth + x) * 2], 2);
          v = u;
        }
        ASSERT_EQ(v, std::stoi(row[2 + x])) << "x " << x << " y " << y;
      }
    }
    ++patterns;
  }
  EXPECT_EQ(patterns, 4);
}

// Outside the region the values come from a generator seeded with nSeed / 2, halved as a
// signed number: -3 / 2 is -1, which as 32 unsigned bits reduces to 1; an unsigned halving
// would give 2147483646 instead. -1 / 2 is 0, which also becomes 1.
TEST(GenerateNoisePattern, SecondGeneratorHalvesTheSignedSeed) {
  const std::vector<int>& seed1 = seed1Draws();
  ASSERT_GE(seed1.size(), 8u);
  struct Case {
    int32_t nSeed;
    bool bInnerIsSeed1;
  } cases[] = {{-3, false}, {-1, true}, {1, true}, {3, false}};
  for (const Case& c : cases) {
    NoiseParam p;
    p.nWidth = 4;
    p.nHeight = 2;
    p.nSeed = c.nSeed;
    p.bUseRegion = true;
    p.rcRegion = IntRect{1, 0, 3, 2};  // columns 1 and 2 inside, 0 and 3 outside
    uint8_t mem[8] = {};
    p.Pattern.pBuffer = mem;
    Noise noise;
    ASSERT_EQ(noise.GenerateNoisePattern(p), S_OK);
    SCOPED_TRACE(c.nSeed);
    // Row order: the outer generator serves (0,0), (3,0), (0,1), (3,1) in turn.
    EXPECT_EQ(mem[0], seed1[0]);
    EXPECT_EQ(mem[3], seed1[1]);
    EXPECT_EQ(mem[4], seed1[2]);
    EXPECT_EQ(mem[7], seed1[3]);
    if (c.bInnerIsSeed1) {
      EXPECT_EQ(mem[1], seed1[0]);
      EXPECT_EQ(mem[2], seed1[1]);
      EXPECT_EQ(mem[5], seed1[2]);
      EXPECT_EQ(mem[6], seed1[3]);
    }
  }
}

TEST(GenerateNoisePattern, BadInputLeavesTheMemoryAlone) {
  struct Case {
    int32_t nType, nWidth, nHeight;
    bool bMemory;
    HRESULT expected;
  } cases[] = {
      {2, 4, 4, true, E_INVALIDARG},  {-1, 4, 4, true, E_INVALIDARG},
      {0, -4, 4, true, E_INVALIDARG}, {1, 4, -1, true, E_INVALIDARG},
      {0, 4, 4, false, E_POINTER},
  };
  for (const Case& c : cases) {
    NoiseParam p;
    p.nType = c.nType;
    p.nWidth = c.nWidth;
    p.nHeight = c.nHeight;
    std::vector<uint8_t> mem(64, 0x5A);
    p.Pattern.pBuffer = c.bMemory ? mem.data() : nullptr;
    Noise noise;
    EXPECT_EQ(noise.GenerateNoisePattern(p), c.expected) << c.nType << " " << c.nWidth;
    EXPECT_EQ(mem, std::vector<uint8_t>(64, 0x5A));
  }
}

TEST(GenerateNoisePattern, OperationTracesTheFailedCall) {
  auto engine = std::make_unique<COrvel>();
  TraceCapture capture;
  EXPECT_EQ(engine->GenerateNoisePattern(nullptr), E_POINTER);
  EXPECT_TRUE(TraceCapture::lines().empty());
  NoiseParam p;
  p.nType = 3;
  uint8_t mem[4] = {};
  p.Pattern.pBuffer = mem;
  EXPECT_EQ(engine->GenerateNoisePattern(&p), E_INVALIDARG);
  ASSERT_EQ(TraceCapture::lines().size(), 1u);
  EXPECT_EQ(TraceCapture::lines()[0],
            "[Orvel] [Assert] m_Noise.GenerateNoisePattern(param) , Error! hr=80070057\n");
}
