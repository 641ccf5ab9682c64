#include <gtest/gtest.h>

#include <memory>

#include "compositing/CBlendTool.h"
#include "engine/COrvel.h"
#include "engine/trace.h"
#include "masks_test_util.h"

using namespace Orvel;
using masks_test::Image;
using masks_test::seed1Draws;
using masks_test::TraceCapture;

namespace {

// The test of one pixel, by its definition.
int dissolved(int a, int n, int o) { return (n * 100 < o * a || (a == 255 && o == 100)) ? 255 : 0; }

Image<> solid(int w, int h, uint8_t alpha) {
  Image<> img(w, h, 4);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      img.at(x, y, 0) = uint8_t(x * 7);
      img.at(x, y, 1) = uint8_t(y * 11);
      img.at(x, y, 2) = 90;
      img.at(x, y, 3) = alpha;
    }
  return img;
}

DissolveParam tableOf(int w, int h, uint32_t seed = 1) {
  DissolveParam p;
  p.nSeed = seed;
  p.nWidth = w;
  p.nHeight = h;
  return p;
}

// A registered pattern of bytes.
struct Pattern {
  std::vector<uint8_t> mem;
  BufferData buf;
  Pattern(int w, int h, std::vector<uint8_t> values) : mem(std::move(values)) {
    mem.resize(size_t(w) * h);
    buf.pBuffer = mem.data();
    buf.nWidth = w;
    buf.nHeight = h;
    buf.nStride = w;
    buf.nPixelStep = 1;
    buf.nFormat = FORMAT_GRAY8;
    buf.ROI = IntRect{0, 0, w, h};
  }
};

}  // namespace

TEST(Dissolve, ThresholdOfOnePixel) {
  struct Case {
    int a, n, o, expected;
  } cases[] = {
      {255, 255, 100, 255},                       // full alpha at full opacity survives any noise
      {255, 0, 0, 0},                             // opacity 0 clears everything
      {0, 0, 100, 0},                             // alpha 0 never survives
      {1, 0, 100, 255},                           // 0 < 100
      {254, 254, 100, 0},                         // 25400 is not below 25400
      {254, 253, 100, 255}, {255, 127, 50, 255},  // 12700 < 12750
      {255, 128, 50, 0},    {255, 252, 99, 255},  // 25200 < 25245
      {255, 253, 99, 0},    {255, 2, 1, 255},     // 200 < 255
      {255, 3, 1, 0},       {128, 255, 100, 0},
  };
  CBlendTool tool(nullptr);
  for (const Case& c : cases) {
    Image<> px = solid(1, 1, uint8_t(c.a));
    Pattern noise(1, 1, {uint8_t(c.n)});
    ASSERT_EQ(tool.ApplyDissolveWithNoise(px.buf, c.o, tableOf(1, 1), &noise.buf), S_OK);
    EXPECT_EQ(px.at(0, 0, 3), c.expected) << "a " << c.a << " n " << c.n << " o " << c.o;
    EXPECT_EQ(px.at(0, 0, 2), 90);
  }
}

// The table is filled in row order from the tool's generator; with reseeding every call
// starts from the seed, without it the sequence goes on.
TEST(Dissolve, GeneratedNoiseAndReseeding) {
  const auto& draws = seed1Draws();
  ASSERT_EQ(draws.size(), 64u);
  CBlendTool tool(nullptr);
  auto run = [&](bool bReseed, uint32_t seed) {
    Image<> img = solid(4, 4, 200);
    EXPECT_EQ(tool.ApplyDissolve(img.buf, 100, tableOf(4, 4, seed), bReseed), S_OK);
    std::vector<int> alpha;
    for (int y = 0; y < 4; ++y)
      for (int x = 0; x < 4; ++x) alpha.push_back(img.at(x, y, 3));
    return alpha;
  };
  auto expected = [&](int first) {
    std::vector<int> alpha;
    for (int i = 0; i < 16; ++i) alpha.push_back(dissolved(200, draws[first + i], 100));
    return alpha;
  };
  EXPECT_EQ(run(true, 1), expected(0));
  EXPECT_EQ(run(false, 1), expected(16));
  EXPECT_EQ(run(false, 1), expected(32));
  EXPECT_EQ(run(true, 1), expected(0));
  EXPECT_EQ(run(true, 0), expected(0));            // 0 behaves as 1
  EXPECT_EQ(run(true, 2147483647u), expected(0));  // so does the modulus itself
}

// ApplyDissolve walks the whole buffer whatever its ROI; noise scale 0.5 gives each noise
// value to a 2 x 2 block.
TEST(Dissolve, WholeBufferAndHalfScale) {
  const auto& draws = seed1Draws();
  CBlendTool tool(nullptr);
  Image<> img = solid(8, 8, 200);
  img.buf.ROI = IntRect{2, 2, 4, 4};
  DissolveParam p = tableOf(4, 4);
  p.fScale = 0.5f;
  ASSERT_EQ(tool.ApplyDissolve(img.buf, 100, p, true), S_OK);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 8; ++x)
      EXPECT_EQ(img.at(x, y, 3), dissolved(200, draws[(y / 2) * 4 + x / 2], 100)) << x << "," << y;
}

// A pixel whose noise lies outside the table does not move the walk's pointer: the next
// pixel that has noise is written at the pointer, so the row slides left in noise terms.
TEST(Dissolve, PointerStaysWhereNoiseIsMissing) {
  const auto& draws = seed1Draws();
  CBlendTool tool(nullptr);
  struct Case {
    const char* name;
    int32_t nOffsetX;
    float fScale;
    int width;
    std::vector<int> noiseIndex;  // per pixel of row 0: the draw it is tested with; -1 untouched
  } cases[] = {
      // Columns 4 and 5 have no noise: they keep their alpha.
      {"table narrower than the image", 0, 1.0f, 6, {0, 1, 2, 3, -1, -1}},
      // Columns 0 and 1 have no noise; columns 2..5 are written at pixels 0..3.
      {"noise starts late", -2, 1.0f, 6, {0, 1, 2, 3, -1, -1}},
      // trunc(-0.5) is 0: column 0 is inside, and the half scale repeats each value.
      {"half scale from -1", -1, 0.5f, 6, {0, 0, 0, 1, 1, 2}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Image<> img = solid(c.width, 2, 200);
    DissolveParam p = tableOf(4, 2);
    p.nOffsetX = c.nOffsetX;
    p.fScale = c.fScale;
    ASSERT_EQ(tool.ApplyDissolve(img.buf, 100, p, true), S_OK);
    for (int x = 0; x < c.width; ++x) {
      const int n = c.noiseIndex[x];
      EXPECT_EQ(img.at(x, 0, 3), n < 0 ? 200 : dissolved(200, draws[n], 100)) << x;
    }
  }
  // "noise starts late", row 1: columns 2..5 use row 1 of the table, draws 4..7.
  Image<> img = solid(6, 2, 200);
  DissolveParam p = tableOf(4, 2);
  p.nOffsetX = -2;
  ASSERT_EQ(tool.ApplyDissolve(img.buf, 100, p, true), S_OK);
  for (int x = 0; x < 4; ++x) EXPECT_EQ(img.at(x, 1, 3), dissolved(200, draws[4 + x], 100)) << x;
  EXPECT_EQ(img.at(4, 1, 3), 200);
}

// The prepared pattern is read over the ROI only, x and y counted from its corner.
TEST(Dissolve, PatternOverTheRoi) {
  CBlendTool tool(nullptr);
  Image<> img = solid(6, 4, 200);
  img.buf.ROI = IntRect{2, 1, 5, 3};
  Pattern noise(3, 2, {0, 255, 10, 250, 5, 199});
  ASSERT_EQ(tool.ApplyDissolveWithNoise(img.buf, 100, tableOf(3, 2), &noise.buf), S_OK);
  const int row1[] = {255, 0, 255}, row2[] = {0, 255, 255};
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 6; ++x) {
      int want = 200;
      if (y == 1 && x >= 2 && x < 5) want = row1[x - 2];
      if (y == 2 && x >= 2 && x < 5) want = row2[x - 2];
      EXPECT_EQ(img.at(x, y, 3), want) << x << "," << y;
    }
}

TEST(Dissolve, BadPatternsAndBuffers) {
  CBlendTool tool(nullptr);
  Pattern good(3, 2, {});
  Pattern deep(3, 2, {});
  deep.buf.nDepth = 1;
  struct Case {
    const char* name;
    const BufferData* pattern;
    DissolveParam p;
  } cases[] = {
      {"none", nullptr, tableOf(3, 2)},
      {"16-bit", &deep.buf, tableOf(3, 2)},
      {"width", &good.buf, tableOf(4, 2)},
      {"height", &good.buf, tableOf(3, 3)},
  };
  for (const Case& c : cases) {
    Image<> img = solid(3, 2, 200);
    const auto before = img.mem;
    EXPECT_EQ(tool.ApplyDissolveWithNoise(img.buf, 50, c.p, c.pattern), E_INVALIDARG) << c.name;
    EXPECT_EQ(img.mem, before) << c.name;
  }
  Image<uint16_t> wide(3, 2, 4);
  EXPECT_EQ(tool.ApplyDissolveWithNoise(wide.buf, 50, tableOf(3, 2), &good.buf), E_NOTIMPL);
  EXPECT_EQ(tool.ApplyDissolve(wide.buf, 50, tableOf(3, 2), true), E_NOTIMPL);
  BufferData none;
  EXPECT_EQ(tool.ApplyDissolve(none, 50, tableOf(3, 2), true), E_POINTER);
}

// ---- the blend family in mode 27 ----

namespace {

struct DissolveOps : ::testing::Test {
  std::unique_ptr<COrvel> engine = std::make_unique<COrvel>();
  NoiseParam noise;
  std::vector<uint8_t> noiseMem;

  // A generated pattern of w x h bytes, registered with the engine.
  void registerPattern(int w, int h, int32_t seed) {
    noiseMem.assign(size_t(w) * h, 0);
    noise.nType = 0;
    noise.nWidth = w;
    noise.nHeight = h;
    noise.nSeed = seed;
    noise.Pattern.pBuffer = noiseMem.data();
    noise.Pattern.nWidth = w;
    noise.Pattern.nHeight = h;
    noise.Pattern.nStride = w;
    noise.Pattern.nPixelStep = 1;
    noise.Pattern.nDepth = 0;
    ASSERT_EQ(engine->GenerateNoisePattern(&noise), S_OK);
    ASSERT_EQ(engine->SetNoisePattern(&noise), S_OK);
  }
  void TearDown() override { engine->SetNoisePattern(nullptr); }

  // The source with its alpha dissolved by definition against the registered pattern.
  Image<> dissolvedByHand(const Image<>& src, int o) {
    Image<> out(src);
    for (int y = 0; y < src.buf.nHeight; ++y)
      for (int x = 0; x < src.buf.nWidth; ++x)
        out.at(x, y, 3) = uint8_t(dissolved(src.at(x, y, 3), noiseMem[y * noise.nWidth + x], o));
    return out;
  }
};

Image<> randomImage(int w, int h, uint32_t seed) {
  Image<> img(w, h, 4);
  img.fillRandom(seed);
  return img;
}

BlendParam dissolveParam(int o, int w, int h, bool bOverwrite = false) {
  BlendParam p;
  p.nBlendMode = BLEND_DISSOLVE;
  p.nOpacity = o;
  p.bOverwrite = bOverwrite;
  p.dissolve_param = tableOf(w, h, 77);
  return p;
}

BlendParam normalAfterDissolve(bool bOverwrite) {
  BlendParam p;
  p.bLegacyFlag = false;
  p.bOverwrite = bOverwrite;
  return p;
}

}  // namespace

TEST_F(DissolveOps, BlendWithoutAUsablePatternChangesNothing) {
  Image<> in = randomImage(20, 10, 1), out = randomImage(20, 10, 2);
  const auto before = out.mem;
  BlendParam p = dissolveParam(70, 20, 10);
  {
    TraceCapture capture;
    EXPECT_EQ(engine->Blend(&in.buf, &out.buf, &p), E_INVALIDARG);
    ASSERT_EQ(TraceCapture::lines().size(), 1u);
    EXPECT_EQ(TraceCapture::lines()[0],
              "[Orvel] [Assert] m_BlendTool.ApplyDissolveWithNoise(BufObj, pBlendParam->nOpacity, "
              "pBlendParam->dissolve_param, mp_NoisePattern) , Error! hr=80070057\n");
  }
  registerPattern(21, 10, 5);  // one column too many
  EXPECT_EQ(engine->Blend(&in.buf, &out.buf, &p), E_INVALIDARG);
  EXPECT_EQ(engine->BlendColor2(&out.buf, &in.buf, &p), E_INVALIDARG);
  EXPECT_EQ(out.mem, before);
}

TEST_F(DissolveOps, BlendDissolvesACopyThenBlendsNormally) {
  registerPattern(40, 30, 12);
  for (bool bOverwrite : {false, true}) {
    Image<> in = randomImage(40, 30, 3), out = randomImage(40, 30, 4);
    const auto inBefore = in.mem;
    Image<> want(out);
    Image<> hand = dissolvedByHand(in, 60);
    const BlendParam normal = normalAfterDissolve(bOverwrite);
    ASSERT_EQ(engine->m_BlendTool.Process(&hand.buf, &want.buf, &normal), S_OK);

    BlendParam p = dissolveParam(60, 40, 30, bOverwrite);
    ASSERT_EQ(engine->Blend(&in.buf, &out.buf, &p), S_OK);
    EXPECT_EQ(in.mem, inBefore);  // the host's source stays as it was
    EXPECT_EQ(out.mem, want.mem) << "bOverwrite " << bOverwrite;
  }
}

TEST_F(DissolveOps, BlendColorDissolvesTheOutputInPlace) {
  const auto& draws = seed1Draws();
  Image<> ref = randomImage(8, 4, 5), out = randomImage(8, 4, 6);
  Image<> want(out);
  BlendParam p = dissolveParam(80, 8, 4);
  p.dissolve_param.nSeed = 1;
  for (int i = 0; i < 32; ++i)
    want.mem[i * 4 + 3] = uint8_t(dissolved(want.mem[i * 4 + 3], draws[i], 80));
  ASSERT_EQ(engine->BlendColor(&ref.buf, &out.buf, &p), S_OK);
  EXPECT_EQ(out.mem, want.mem);
  // Reseeded each time: the same call gives the same picture again.
  Image<> again = randomImage(8, 4, 6);
  ASSERT_EQ(engine->BlendColor(&ref.buf, &again.buf, &p), S_OK);
  EXPECT_EQ(again.mem, want.mem);
}

TEST_F(DissolveOps, BlendColor2DissolvesInPlaceOverTheRoi) {
  registerPattern(5, 3, 8);
  Image<> dst = randomImage(9, 6, 7), srcOut = randomImage(9, 6, 8);
  srcOut.buf.ROI = IntRect{3, 2, 8, 5};
  Image<> want(srcOut);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 5; ++x) {
      uint8_t& a = want.at(3 + x, 2 + y, 3);
      a = uint8_t(dissolved(a, noiseMem[y * 5 + x], 45));
    }
  BlendParam p = dissolveParam(45, 5, 3);
  ASSERT_EQ(engine->BlendColor2(&srcOut.buf, &dst.buf, &p), S_OK);
  EXPECT_EQ(srcOut.mem, want.mem);
}

// At full opacity only the source dissolves; below it both layers do, with the same noise.
TEST_F(DissolveOps, BlendWithStyleDissolvesCopiesOfTheLayers) {
  for (int o : {100, 60}) {
    Image<> in = randomImage(12, 9, 9), style = randomImage(12, 9, 10),
            out = randomImage(12, 9, 11);
    const auto inBefore = in.mem, styleBefore = style.mem;
    BlendParam p = dissolveParam(o, 12, 9);

    CBlendTool reference(nullptr);
    reference.SetFastPath(engine->m_BlendTool.m_nTableIndex == 1);
    Image<> inDis(in), styleDis(style), want(out);
    ASSERT_EQ(reference.ApplyDissolve(inDis.buf, o, p.dissolve_param, true), S_OK);
    ASSERT_EQ(reference.ApplyDissolve(styleDis.buf, o, p.dissolve_param, true), S_OK);
    const BlendParam normal = normalAfterDissolve(false);
    const IntRect r{0, 0, 12, 9};
    ASSERT_EQ(reference.Process(&inDis.buf, o == 100 ? &style.buf : &styleDis.buf, &want.buf, r,
                                &normal, true),
              S_OK);

    ASSERT_EQ(engine->BlendWithStyle(&in.buf, &style.buf, &out.buf, &p), S_OK);
    EXPECT_EQ(in.mem, inBefore);
    EXPECT_EQ(style.mem, styleBefore);
    EXPECT_EQ(out.mem, want.mem) << "opacity " << o;
  }
}
