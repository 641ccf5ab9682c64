// The interpolator: its kernel table against the reference table, the choice of softness, and
// the sampling routines against hand-worked cases and the scalar model.
#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cmath>
#include <vector>

#include "compositing/CInterpolator.h"
#include "compositing/transform_kernels.h"
#include "transform_model.h"

using namespace Orvel;
using model::Image;

namespace {

void fill(Image& img, uint8_t b, uint8_t g, uint8_t r, uint8_t a) {
  for (int y = 0; y < img.h; ++y)
    for (int x = 0; x < img.w; ++x) {
      uint8_t* p = img.at(x, y);
      p[0] = b, p[1] = g, p[2] = r, p[3] = a;
    }
}

std::vector<int> cubicOf(const CInterpolator& ip, bool bFloat, const Image& img, const IntRect& roi,
                         double X, double Y) {
  uint8_t v[4];
  if (bFloat)
    ip.SampleCubicF(img.px.data(), img.stride, 4, roi, X, Y, v);
  else
    ip.SampleCubic(img.px.data(), img.stride, 4, roi, X, Y, v);
  return {v[0], v[1], v[2], v[3]};
}

}  // namespace

TEST(KernelTable, EqualsTheReferenceTables) {
  const auto tables = model::kernelTables();
  ASSERT_EQ(tables.size(), 4u);
  for (const auto& [sharpness, table] : tables) {
    CInterpolator ip;
    ip.SetSharpness(sharpness);
    for (int i = 0; i < 257; ++i)
      for (int k = 0; k < 4; ++k)
        ASSERT_EQ(ip.m_Kernel[i][k], table[i][k]) << "sharpness " << sharpness << " row " << i;
  }
}

TEST(KernelTable, SoftnessThresholdsAndEdgeRatios) {
  const struct {
    float s, a;
  } softness[] = {
      {0.3f, 0.6f},
      {0.5f, 0.6f},
      {std::nextafter(0.5f, 1.0f), 0.5f},
      {0.55f, 0.5f},
      {0.6f, 0.35f},
      {0.65f, 0.25f},
      {0.7f, 0.15f},
      {std::nextafter(0.7f, 1.0f), 0.0f},
  };
  for (const auto& c : softness) EXPECT_EQ(CInterpolator::SoftnessFor(c.s), c.a) << c.s;

  // The sharpness is the smallest ratio, at most 32767; the same sharpness keeps the table.
  const struct {
    float r[4];
    float s;
  } ratios[] = {
      {{1.5f, 2.0f, 3.0f, 1.25f}, 1.25f},
      {{0.9f, 0.4f, 0.8f, 0.7f}, 0.4f},
      {{40000.0f, 50000.0f, 1e9f, 32768.0f}, 32767.0f},
  };
  for (const auto& c : ratios) {
    CInterpolator ip;
    ip.SetEdgeRatios(c.r);
    EXPECT_EQ(ip.m_fSharpness, c.s);
    ip.m_Kernel[7][2] = 12345;  // a rebuild would wipe the marker out
    ip.SetEdgeRatios(c.r);
    EXPECT_EQ(ip.m_Kernel[7][2], 12345);
  }
}

TEST(SampleCubic, HandWorkedCases) {
  CInterpolator ip;
  ip.SetSharpness(1.0f);
  const IntRect roi{0, 0, 8, 8};
  Image img(8, 8);
  img.fillRandom(7, 1);
  // Row 0 of the spline is (0, 1024, 0, 0): a whole position gives the pixel back.
  for (bool bFloat : {false, true})
    for (int y = 1; y <= 5; ++y)
      for (int x = 1; x <= 5; ++x) {
        const uint8_t* p = img.at(x, y);
        EXPECT_EQ(cubicOf(ip, bFloat, img, roi, x, y), (std::vector<int>{p[0], p[1], p[2], p[3]}));
      }
  // Among transparent pixels every channel is 0, whatever the colour bytes say.
  fill(img, 200, 100, 50, 0);
  for (bool bFloat : {false, true})
    EXPECT_EQ(cubicOf(ip, bFloat, img, roi, 3.4, 2.7), (std::vector<int>{0, 0, 0, 0}));
  // Beside a transparent area the opaque colour stays, at a lower alpha.
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 4; ++x) {
      uint8_t* p = img.at(x, y);
      p[0] = 10, p[1] = 120, p[2] = 240, p[3] = 255;
    }
  for (bool bFloat : {false, true}) {
    const std::vector<int> v = cubicOf(ip, bFloat, img, roi, 3.5, 3.0);
    EXPECT_EQ(std::vector<int>(v.begin(), v.begin() + 3), (std::vector<int>{10, 120, 240}));
    EXPECT_GT(v[3], 0);
    EXPECT_LT(v[3], 255);
  }
  // Every row opaque only under the negative first tap: each row sum is negative. The integer
  // form divides by it (weight 1024, the colour survives at alpha 0); the single-precision
  // form silences the rows.
  fill(img, 0, 0, 0, 0);
  for (int y = 0; y < 8; ++y) {
    uint8_t* p = img.at(1, y);
    p[0] = 30, p[1] = 60, p[2] = 90, p[3] = 255;
  }
  ASSERT_LT(ip.m_Kernel[128][0], 0);
  EXPECT_EQ(cubicOf(ip, false, img, roi, 2.5, 3.0), (std::vector<int>{30, 60, 90, 0}));
  EXPECT_EQ(cubicOf(ip, true, img, roi, 2.5, 3.0), (std::vector<int>{0, 0, 0, 0}));
}

TEST(SampleCubic, BothFormsFollowTheirRuleAndFallBackNearTheEdges) {
  const auto tables = model::kernelTables();
  std::mt19937 rng(3);
  for (float sharpness : {1.0f, 0.6f, 0.3f}) {
    CInterpolator ip;
    ip.SetSharpness(sharpness);
    Image img(12, 10);
    img.fillRandom(uint32_t(sharpness * 1000));
    // The first test compares the column with the region's top: t = 3 falls back at column 2.
    for (const IntRect& roi : {IntRect{0, 0, 12, 10}, IntRect{0, 3, 12, 10}}) {
      std::uniform_real_distribution<double> px(0.0, 11.0), py(roi.t, 9.0);
      for (int n = 0; n < 400; ++n) {
        const double X = px(rng), Y = py(rng);
        uint8_t i[4], f[4];
        model::cubic<int64_t>(tables.at(sharpness), img, roi, X, Y, i);
        model::cubic<float>(tables.at(sharpness), img, roi, X, Y, f);
        ASSERT_EQ(cubicOf(ip, false, img, roi, X, Y), (std::vector<int>{i[0], i[1], i[2], i[3]}))
            << X << "," << Y;
        ASSERT_EQ(cubicOf(ip, true, img, roi, X, Y), (std::vector<int>{f[0], f[1], f[2], f[3]}))
            << X << "," << Y;
      }
    }
  }
}

TEST(SampleLinearAndBox, HandWorkedCases) {
  CInterpolator ip;
  Image img(10, 10);
  const IntRect roi{0, 0, 10, 10};
  img.at(1, 1)[0] = 0, img.at(2, 1)[0] = 100, img.at(1, 2)[0] = 200, img.at(2, 2)[0] = 40;
  img.at(9, 0)[1] = 77, img.at(0, 0)[2] = 99;
  struct {
    double X, Y;
    int channel, value;
  } linear[] = {
      {1.25, 1.5, 0, 92},     // ((0*192 + 100*64)*128 + (200*192 + 40*64)*128) >> 16
      {9.0, 0.0, 1, 77},      // the last column stands in for its right neighbour
      {-0.0005, 0.0, 2, 99},  // a hair left of column 0 keeps the pixel
  };
  for (const auto& c : linear) {
    uint8_t out[4], m;
    ip.SampleLinear(img.px.data(), img.stride, 4, roi, c.X, c.Y, out);
    EXPECT_EQ(out[c.channel], c.value) << c.X;
    ip.SampleLinearMask(img.px.data() + c.channel, img.stride, 4, roi, c.X, c.Y, &m);
    EXPECT_EQ(m, c.value) << c.X;
  }

  // Box: half transparent, cut at the region at a corner, all transparent, no scale at all.
  fill(img, 10, 20, 30, 255);
  for (int y = 0; y < 10; ++y)
    for (int x = 5; x < 10; ++x) img.at(x, y)[3] = 0;
  struct {
    double X, Y;
    float scale;
    std::vector<int> v;
  } boxes[] = {
      {5.0, 5.0, 0.25f, {10, 20, 30, 102}},  // radius 2, 10 of 25 opaque: 2550 / 25
      {0.0, 0.0, 0.15f, {10, 20, 30, 255}},  // radius 3, cut to 4 x 4 at the corner
      {8.0, 5.0, 0.2f, {0, 0, 0, 0}},        // only transparent pixels: divisor 1
      {2.0, 2.0, std::nanf(""), {10, 20, 30, 255}},
  };
  for (const auto& c : boxes) {
    uint8_t out[4];
    ip.SampleBox(img.px.data(), img.stride, 4, roi, c.X, c.Y, c.scale, out);
    EXPECT_EQ((std::vector<int>{out[0], out[1], out[2], out[3]}), c.v) << c.X << "," << c.Y;
  }
}

TEST(SampleCubic, VectorLanesEqualTheSinglePrecisionFormOnEveryTarget) {
  Image img(24, 20, 12);
  img.fillRandom(5);
  // Transparent rows and a patch of alpha 1, for silenced and tiny sums.
  for (int x = 0; x < 24; ++x) img.at(x, 6)[3] = img.at(x, 7)[3] = 0;
  for (int y = 12; y < 15; ++y)
    for (int x = 3; x < 9; ++x) img.at(x, y)[3] = 1;
  CInterpolator ip;
  ip.SetSharpness(0.6f);
  std::mt19937 rng(9);
  std::vector<int32_t> off, rx, ry;
  std::vector<uint8_t> expect;
  for (int n = 0; n < 203; ++n) {
    const double X = 1.0 + (rng() % 20000) / 1000.0, Y = 1.0 + (rng() % 16000) / 1000.0;
    const int ix = int(X), iy = int(Y);
    off.push_back((iy - 1) * img.stride + (ix - 1) * 4);
    rx.push_back(CInterpolator::KernelRow(X, ix));
    ry.push_back(CInterpolator::KernelRow(Y, iy));
    uint8_t e[4];
    ip.SampleCubicF(img.px.data(), img.stride, 4, IntRect{0, 0, 24, 20}, X, Y, e);
    expect.insert(expect.end(), e, e + 4);
  }
  for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    std::vector<uint8_t> got(expect.size());
    FastCubicProbe(img.px.data(), img.stride, 4, ip, off.data(), rx.data(), ry.data(), got.data(),
                   off.size());
    EXPECT_EQ(got, expect) << hwy::TargetName(target);
  }
  hwy::SetSupportedTargetsForTest(0);
}
