#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

#include "primitives/primitives.h"

namespace {

using namespace Orvel;

TEST(Memory, RowsAlignedAndStepCoversTheRow) {
  for (int w : {1, 7, 8, 9, 33, 1000}) {
    int step32 = -1, step16 = -1;
    Ipp32f* f = ippiMalloc_32f_C1(w, 3, &step32);
    Ipp16s* s = ippiMalloc_16s_C1(w, 3, &step16);
    ASSERT_TRUE(f && s);
    EXPECT_EQ((reinterpret_cast<uintptr_t>(f) | reinterpret_cast<uintptr_t>(s)) % 32, 0u);
    EXPECT_TRUE(step32 % 32 == 0 && step32 >= w * 4 && step16 % 32 == 0 && step16 >= w * 2);
    // Callers clear and scan step / 4 x height floats: the whole block must be theirs.
    std::fill(f, f + step32 / 4 * 3, 0.0f);
    ippiFree(f);
    ippiFree(s);
  }
  Ipp8u* p = ippsMalloc_8u(5);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 32, 0u);
  ippsFree(p);
  EXPECT_EQ(ippsMalloc_8u(0), nullptr);
  int step = 123;
  EXPECT_EQ(ippiMalloc_32f_C1(0, 5, &step), nullptr);
  EXPECT_EQ(step, 123);
}

TEST(Vectors, MaxPassesOverNaN) {
  std::vector<float> v(37, -5.0f);
  v[3] = std::numeric_limits<float>::quiet_NaN();
  v[29] = 4.5f;
  v[36] = std::numeric_limits<float>::quiet_NaN();
  float m = 0.0f;
  EXPECT_EQ(ippsMax_32f(v.data(), static_cast<int>(v.size()), &m), ippStsNoErr);
  EXPECT_EQ(m, 4.5f);
  EXPECT_EQ(ippsMax_32f(v.data(), 3, &m), ippStsNoErr);
  EXPECT_EQ(m, -5.0f);
}

// In place with a divisor of radius / 3089, as the glow uses it: a distance equal to the
// radius maps to 3089 within float rounding; the result is a true division per element.
TEST(Vectors, NormaliseInPlace) {
  for (int radius : {1, 7, 50, 250}) {
    std::vector<float> d = {0.0f, static_cast<float>(radius), radius * 0.5f};
    const float div = static_cast<float>(radius) / 3089.0f;
    ASSERT_EQ(ippsNormalize_32f(d.data(), d.data(), 3, 0.0f, div), ippStsNoErr);
    EXPECT_EQ(d[0], 0.0f);
    EXPECT_NEAR(d[1], 3089.0f, 3089.0f * 2e-7f);
    EXPECT_EQ(d[2], (radius * 0.5f) / div);
  }
  std::vector<float> src = {3.0f, 5.0f}, dst = {0.0f, 0.0f};
  ASSERT_EQ(ippsNormalize_32f(src.data(), dst.data(), 2, 1.0f, 4.0f), ippStsNoErr);
  EXPECT_EQ(dst, (std::vector<float>{0.5f, 1.0f}));
}

// Every refusal is negative and leaves the output as it was.
TEST(BadInput, RefusedWithoutTouchingTheOutput) {
  const int w = 8, h = 4;
  std::vector<Ipp8u> src8(w * h, 0), dst8(w * h, 0x5A), buffer(1 << 16);
  std::vector<Ipp16s> dx(w * h, 1), dst16(w * h, 0x5A5A);
  std::vector<Ipp32f> src32(w * h, 1.0f), dst32(w * h, 0.25f);
  const auto dst8Before = dst8;
  const auto dst16Before = dst16;
  const auto dst32Before = dst32;
  const IppiSize ok{w, h};
  Ipp8u* const s8 = src8.data();
  Ipp8u* const d8 = dst8.data();
  Ipp8u* const buf = buffer.data();
  Ipp16s* const d16 = dst16.data();
  Ipp32f* const d32 = dst32.data();
  IppiConnectedComp region{};
  int size = -1;
  float m = 0.0f;

  auto dt = [&](const Ipp8u* s, int sStep, int dStep, IppiSize sz, Ipp8u* b) {
    return ippiTrueDistanceTransform_8u32f_C1R(s, sStep, d32, dStep, sz, b);
  };
  auto sobel = [&](Ipp16s* d, int dStep, IppiSize sz, int mask, int border) {
    return ippiFilterSobelNegVertBorder_8u16s_C1R(s8, w, d, dStep, sz, IppiMaskSize(mask),
                                                  IppiBorderType(border), 0, nullptr);
  };
  auto canny = [&](const Ipp16s* d, int dStep, IppiSize sz, float lo, float hi, Ipp8u* b) {
    return ippiCanny_16s8u_C1R(d, dStep, dx.data(), w * 2, d8, w, sz, lo, hi, b);
  };
  auto flood = [&](Ipp8u* img, int step, IppiSize sz, IppiPoint seed, IppiConnectedComp* r) {
    return ippiFloodFill_4Con_8u_C1IR(img, step, sz, seed, 3, r, buf);
  };
  const Ipp16s* const x16 = dx.data();

  auto dtSize = [&](int* p) { return ippiTrueDistanceTransformGetBufferSize_8u32f_C1R(ok, p); };
  auto sobelSize = [&](int mask) {
    return ippiFilterSobelHorizGetBufferSize_32f_C1R(ok, IppiMaskSize(mask), &size);
  };

  const struct {
    IppStatus want;
    const char* what;
    std::function<IppStatus()> call;
  } cases[] = {
      // clang-format off
      {ippStsNullPtrErr, "dt null src", [&] { return dt(nullptr, w, w * 4, ok, buf); }},
      {ippStsNullPtrErr, "dt null buffer", [&] { return dt(s8, w, w * 4, ok, nullptr); }},
      {ippStsSizeErr, "dt zero width", [&] { return dt(s8, w, w * 4, {0, h}, buf); }},
      {ippStsStepErr, "dt short src step", [&] { return dt(s8, w - 1, w * 4, ok, buf); }},
      {ippStsStepErr, "dt ragged dst step", [&] { return dt(s8, w, w * 4 + 2, ok, buf); }},
      {ippStsNullPtrErr, "sobel null dst", [&] { return sobel(nullptr, w * 2, ok, 33, 1); }},
      {ippStsStepErr, "sobel short step", [&] { return sobel(d16, w * 2 - 2, ok, 33, 1); }},
      {ippStsMaskSizeErr, "sobel 5x5 mask", [&] { return sobel(d16, w * 2, ok, 55, 1); }},
      {ippStsBorderErr, "sobel const border", [&] { return sobel(d16, w * 2, ok, 33, 0); }},
      {ippStsNullPtrErr, "canny null dx", [&] { return canny(nullptr, w * 2, ok, 80, 100, buf); }},
      {ippStsSizeErr, "canny width<0", [&] { return canny(x16, w * 2, {-3, h}, 80, 100, buf); }},
      {ippStsStepErr, "canny short step", [&] { return canny(x16, w, ok, 80, 100, buf); }},
      {ippStsBadArgErr, "canny lo > hi", [&] { return canny(x16, w * 2, ok, 100, 80, buf); }},
      {ippStsBadArgErr, "canny NaN threshold", [&] { return canny(x16, w * 2, ok, NAN, 80, buf); }},
      {ippStsNullPtrErr, "flood no img", [&] { return flood(nullptr, w, ok, {0, 0}, &region); }},
      {ippStsNullPtrErr, "flood null region", [&] { return flood(d8, w, ok, {0, 0}, nullptr); }},
      {ippStsSizeErr, "flood zero size", [&] { return flood(d8, w, {w, 0}, {0, 0}, &region); }},
      {ippStsStepErr, "flood short step", [&] { return flood(d8, w - 1, ok, {0, 0}, &region); }},
      {ippStsOutOfRangeErr, "flood seed left", [&] { return flood(d8, w, ok, {-1, 0}, &region); }},
      {ippStsOutOfRangeErr, "flood seed below", [&] { return flood(d8, w, ok, {0, h}, &region); }},
      {ippStsSizeErr, "max empty", [&] { return ippsMax_32f(d32, 0, &m); }},
      {ippStsDivByZeroErr, "normalise by 0", [&] { return ippsNormalize_32f(d32, d32, w, 0, 0); }},
      {ippStsNullPtrErr, "norm no dst", [&] { return ippsNormalize_32f(d32, nullptr, w, 0, 1); }},
      {ippStsNullPtrErr, "dt size null", [&] { return dtSize(nullptr); }},
      {ippStsMaskSizeErr, "sobel size mask", [&] { return sobelSize(55); }},
      {ippStsSizeErr, "canny size zero", [&] { return ippiCannyGetSize({0, 0}, &size); }},
      {ippStsNullPtrErr, "flood size null", [&] { return ippiFloodFillGetSize(ok, nullptr); }},
      // clang-format on
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.call(), c.want) << c.what;
    EXPECT_EQ(dst8, dst8Before) << c.what;
    EXPECT_EQ(dst16, dst16Before) << c.what;
    EXPECT_EQ(dst32, dst32Before) << c.what;
  }
  EXPECT_EQ(size, -1);
  EXPECT_EQ(m, 0.0f);
}

}  // namespace
