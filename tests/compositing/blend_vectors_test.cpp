// The reference values: every line of the blend pixel files on both rows, and the hue group.
#include <fstream>
#include <sstream>

#include "blend_test_util.h"
#include "compositing/CBlendTool.h"
#include "compositing/blend_modes.h"

using namespace Orvel;
using namespace Orvel::test;

namespace {

std::vector<std::vector<std::string>> ReadLines(const char* file) {
  std::ifstream in(DataPath(file));
  EXPECT_TRUE(in.good()) << file;
  std::vector<std::vector<std::string>> lines;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream ss(line);
    std::vector<std::string> tok;
    for (std::string t; ss >> t;) tok.push_back(t);
    lines.push_back(tok);
  }
  return lines;
}

std::vector<int> Ints(const std::vector<std::string>& tok, size_t from) {
  std::vector<int> v;
  for (size_t i = from; i < tok.size(); ++i) v.push_back(std::stoi(tok[i]));
  return v;
}

// A row of 16 identical pixels: inside eight-pixel blocks on the fast row, and all alike on
// the portable one.
constexpr int kRun = 16;

struct PixelCase {
  int mode, opacity, clip, overwrite;
  uint8_t s[4], r[4], e[4];
  bool written;
};

void ExpectNonStyle(CBlendTool& tool, const PixelCase& c, const std::string& where) {
  BlendParam prm;
  prm.nBlendMode = c.mode;
  prm.nOpacity = c.opacity;
  prm.bOverwrite = c.overwrite != 0;
  GuardedImage src(kRun, 1), back(kRun, 1), dst(kRun, 1);
  src.fill(c.s);
  back.fill(c.r);
  const uint8_t sentinel[4] = {0x5A, 0x5A, 0x5A, 0x5A};
  dst.fill(sentinel);
  const IntRect all{0, 0, kRun, 1};
  // A separate destination shows which bytes are written at all.
  ASSERT_EQ(tool.Process(&src.buf, &back.buf, &dst.buf, all, &prm, false, c.clip != 0), S_OK);
  // The two-buffer form: the backdrop is also the destination.
  ASSERT_EQ(tool.Process(&src.buf, &back.buf, &back.buf, all, &prm, false, c.clip != 0), S_OK);
  const bool colourWritten = c.written && c.mode != BLEND_ERASE;
  const bool alphaWritten = c.written && (c.mode == BLEND_ERASE || !c.overwrite);
  for (int x = 0; x < kRun; ++x) {
    for (int ch = 0; ch < 4; ++ch) {
      ASSERT_EQ(back.px(x, 0)[ch], c.e[ch]) << where << " x " << x << " channel " << ch;
      const bool w = ch < 3 ? colourWritten : alphaWritten;
      ASSERT_EQ(dst.px(x, 0)[ch], w ? c.e[ch] : 0x5A) << where << " separate pDst, x " << x;
    }
  }
  ASSERT_TRUE(back.guardsIntact() && dst.guardsIntact()) << where;
}

}  // namespace

TEST(BlendVectors, NonStylePixelsOnBothRows) {
  const auto lines = ReadLines("blend_pixels.txt");
  ASSERT_EQ(lines.size(), 12506u);
  ForEachFastTarget([&](int64_t) {
    CBlendTool portable(nullptr), fast(nullptr);
    fast.SetFastPath(true);
    for (size_t i = 0; i < lines.size(); ++i) {
      const auto& tok = lines[i];
      const auto v = Ints(tok, 5);
      PixelCase c{
          std::stoi(tok[0]), std::stoi(tok[1]), std::stoi(tok[2]), std::stoi(tok[3]), {}, {}, {},
          v[12] != 0};
      for (int k = 0; k < 4; ++k) {
        c.s[k] = uint8_t(v[k]);
        c.r[k] = uint8_t(v[4 + k]);
        c.e[k] = uint8_t(v[8 + k]);
      }
      const std::string where = "line " + std::to_string(i) + " row " + tok[4];
      if (tok[4] != "1") ExpectNonStyle(portable, c, where);
      if (tok[4] != "0") ExpectNonStyle(fast, c, where);
      if (::testing::Test::HasFatalFailure()) return;
    }
  });
}

TEST(BlendVectors, StylePixelsOnBothRows) {
  const auto lines = ReadLines("blend_style_pixels.txt");
  ASSERT_EQ(lines.size(), 1120u);
  CBlendTool portable(nullptr), fast(nullptr);
  fast.SetFastPath(true);
  for (CBlendTool* tool : {&portable, &fast}) {
    for (size_t i = 0; i < lines.size(); ++i) {
      const auto v = Ints(lines[i], 0);
      BlendParam prm;
      prm.nBlendMode = v[0];
      prm.nOpacity = v[1];
      uint8_t s[4], y[4], d[4];
      for (int k = 0; k < 4; ++k)
        s[k] = uint8_t(v[3 + k]), y[k] = uint8_t(v[7 + k]), d[k] = uint8_t(v[11 + k]);
      GuardedImage src(kRun, 1), second(kRun, 1), dst(kRun, 1);
      src.fill(s);
      second.fill(y);
      dst.fill(d);
      ASSERT_EQ(tool->Process(&src.buf, &second.buf, &dst.buf, IntRect{0, 0, kRun, 1}, &prm, true,
                              v[2] != 0),
                S_OK);
      for (int x = 0; x < kRun; ++x)
        for (int ch = 0; ch < 4; ++ch)
          ASSERT_EQ(dst.px(x, 0)[ch], v[15 + ch])
              << "line " << i << " row " << tool->m_nTableIndex << " x " << x;
      ASSERT_TRUE(dst.guardsIntact());
    }
  }
}

TEST(BlendVectors, HueGroupOnBothWheels) {
  const auto lines = ReadLines("hue_group.txt");
  std::vector<uint8_t> colours;
  std::vector<int> want192;  // hue192 lum8 rb rg rr per colour
  std::vector<int32_t> rh, rc, rl, rwant;
  for (const auto& tok : lines) {
    if (tok[0] == "hue") {
      const auto v = Ints(tok, 1);
      const uint8_t c[4] = {uint8_t(v[0]), uint8_t(v[1]), uint8_t(v[2]), 0};
      EXPECT_EQ(BlendMath::Chroma(c), v[3]);
      EXPECT_EQ(BlendMath::Hue(c), v[4]) << tok[1] << " " << tok[2] << " " << tok[3];
      EXPECT_EQ(BlendMath::Lum(c), v[5]);
      int out[3];
      BlendMath::Rebuild(v[4], v[3], v[5], out);
      EXPECT_EQ((std::vector<int>{out[0], out[1], out[2]}), (std::vector<int>{v[6], v[7], v[8]}));
      colours.insert(colours.end(), c, c + 4);
      want192.insert(want192.end(), v.begin() + 9, v.begin() + 14);
      rh.push_back(v[9]), rc.push_back(v[3]), rl.push_back(v[10]);
      rwant.insert(rwant.end(), v.begin() + 11, v.begin() + 14);
    } else if (tok[1] == "1536") {
      const auto v = Ints(tok, 2);
      int out[3];
      BlendMath::Rebuild(v[0], v[1], v[2], out);
      EXPECT_EQ((std::vector<int>{out[0], out[1], out[2]}), (std::vector<int>{v[3], v[4], v[5]}))
          << "rebuild " << v[0] << " " << v[1] << " " << v[2];
    } else {
      const auto v = Ints(tok, 2);
      rh.push_back(v[0]), rc.push_back(v[1]), rl.push_back(v[2]);
      rwant.insert(rwant.end(), v.begin() + 3, v.begin() + 6);
    }
  }
  ASSERT_FALSE(colours.empty());
  ForEachFastTarget([&](int64_t) {
    const size_t n = colours.size() / 4;
    std::vector<int32_t> hue(n), lum8(n);
    FastHueProbe(colours.data(), hue.data(), lum8.data(), n);
    for (size_t i = 0; i < n; ++i) {
      EXPECT_EQ(hue[i], want192[5 * i]) << "colour " << i;
      EXPECT_EQ(lum8[i], want192[5 * i + 1]) << "colour " << i;
    }
    std::vector<uint8_t> px(4 * rh.size());
    FastRebuildProbe(rh.data(), rc.data(), rl.data(), px.data(), rh.size());
    for (size_t i = 0; i < rh.size(); ++i)
      for (int ch = 0; ch < 3; ++ch)
        EXPECT_EQ(px[4 * i + ch], rwant[3 * i + ch])
            << "rebuild192 " << rh[i] << " " << rc[i] << " " << rl[i];
  });
}
