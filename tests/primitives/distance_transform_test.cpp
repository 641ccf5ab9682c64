#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "primitives/primitives.h"

namespace {

using namespace Orvel;

// Distance to the nearest 0 by trying every 0: slow and obviously right.
std::vector<float> bruteForce(const std::vector<Ipp8u>& img, int w, int h) {
  std::vector<std::pair<int, int>> zeros;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      if (img[y * w + x] == 0) zeros.push_back({x, y});
  std::vector<float> out(static_cast<size_t>(w) * h, FLT_MAX);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int64_t best = INT64_MAX;
      for (auto [zx, zy] : zeros)
        best = std::min(best, int64_t(x - zx) * (x - zx) + int64_t(y - zy) * (y - zy));
      if (!zeros.empty()) out[y * w + x] = static_cast<float>(std::sqrt(static_cast<double>(best)));
    }
  return out;
}

// Runs the transform into rows padded with a marker, checks the padding survived, returns the
// packed result.
std::vector<float> transform(const std::vector<Ipp8u>& img, int w, int h) {
  const IppiSize size{w, h};
  int bytes = 0;
  EXPECT_EQ(ippiTrueDistanceTransformGetBufferSize_8u32f_C1R(size, &bytes), ippStsNoErr);
  std::vector<Ipp8u> buffer(bytes);
  const int stride = w + 3;
  std::vector<float> dst(static_cast<size_t>(stride) * h, -7.0f);
  EXPECT_EQ(ippiTrueDistanceTransform_8u32f_C1R(img.data(), w, dst.data(), stride * 4, size,
                                                buffer.data()),
            ippStsNoErr);
  std::vector<float> out(static_cast<size_t>(w) * h);
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) out[y * w + x] = dst[y * stride + x];
    for (int x = w; x < stride; ++x) EXPECT_EQ(dst[y * stride + x], -7.0f);
  }
  return out;
}

void expectExact(const std::vector<Ipp8u>& img, int w, int h) {
  const std::vector<float> want = bruteForce(img, w, h);
  const std::vector<float> got = transform(img, w, h);
  for (size_t i = 0; i < want.size(); ++i)
    ASSERT_EQ(got[i], want[i]) << "pixel (" << i % w << ", " << i / w << ") of " << w << " x " << h;
}

// A lone 0 is at distance 0; with no 0 at all every pixel is far beyond 1.8e19.
TEST(TrueDistanceTransform, SinglePixelAndNoZero) {
  EXPECT_EQ(transform({0}, 1, 1)[0], 0.0f);
  EXPECT_EQ(transform({255}, 1, 1)[0], FLT_MAX);
  for (float d : transform(std::vector<Ipp8u>(40 * 7, 9), 40, 7)) EXPECT_EQ(d, FLT_MAX);
}

// Random images from dense to a handful of 0 pixels, including thin strips, against the
// brute force, exactly.
TEST(TrueDistanceTransform, MatchesBruteForceExactly) {
  struct Case {
    int w, h;
    double zeroShare;
  };
  const Case cases[] = {{1, 50, 0.1},    {50, 1, 0.1},   {2, 2, 0.3},      {17, 13, 0.5},
                        {64, 64, 0.2},   {97, 61, 0.02}, {120, 90, 0.002}, {200, 150, 0.0005},
                        {33, 250, 0.01}, {250, 33, 0.01}};
  std::mt19937 rng(7);
  for (const Case& c : cases) {
    std::bernoulli_distribution zero(c.zeroShare);
    for (int round = 0; round < 3; ++round) {
      std::vector<Ipp8u> img(static_cast<size_t>(c.w) * c.h);
      bool any = false;
      for (Ipp8u& p : img) {
        p = zero(rng) ? 0 : static_cast<Ipp8u>(1 + rng() % 255);
        any |= p == 0;
      }
      if (!any) img[rng() % img.size()] = 0;
      expectExact(img, c.w, c.h);
    }
  }
}

// Discs of 0 far apart leave long stretches where most parabolas can be set aside; a lone 0 in
// a corner gives the largest distances the image can hold.
TEST(TrueDistanceTransform, SparseShapesExactly) {
  const int w = 300, h = 200;
  std::vector<Ipp8u> img(w * h, 255);
  auto disc = [&](int cx, int cy, int r) {
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        if ((x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r) img[y * w + x] = 0;
  };
  disc(40, 30, 6);
  disc(260, 170, 11);
  disc(150, 100, 1);
  expectExact(img, w, h);

  std::vector<Ipp8u> corner(w * h, 1);
  corner[w * h - 1] = 0;
  expectExact(corner, w, h);
}

// Strips long enough that squared distances pass 2^24 (20 000), outgrow 32 bits (50 000) and
// that the envelope's cross products need more than 64 (1 100 000). Along a line the answer is
// the gap to the nearest 0.
TEST(TrueDistanceTransform, LongStripsUseWideArithmetic) {
  for (int n : {20000, 50000, 1100000}) {
    std::vector<Ipp8u> line(n, 1);
    for (int z : {n / 3, n / 3 + 2, n - 1}) line[z] = 0;
    std::vector<float> want(n);
    for (int i = 0; i < n; ++i) {
      int64_t best = INT64_MAX;
      for (int z : {n / 3, n / 3 + 2, n - 1}) best = std::min<int64_t>(best, std::abs(i - z));
      want[i] = static_cast<float>(best);
    }
    EXPECT_EQ(transform(line, n, 1), want) << n << " x 1";
    EXPECT_EQ(transform(line, 1, n), want) << "1 x " << n;
  }
}

}  // namespace
