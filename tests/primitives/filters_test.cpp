#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "primitives/primitives.h"

namespace {

using namespace Orvel;

enum class Dir { NegVert, Horiz };

template <typename In, typename Out>
std::vector<Out> sobel(const std::vector<In>& src, int w, int h, Dir dir) {
  std::vector<Out> dst(static_cast<size_t>(w) * h, Out(12345));
  const int ss = w * sizeof(In), ds = w * sizeof(Out);
  const IppiSize sz{w, h};
  IppStatus st;
  if constexpr (sizeof(In) == 1)
    st = (dir == Dir::NegVert ? ippiFilterSobelNegVertBorder_8u16s_C1R
                              : ippiFilterSobelHorizBorder_8u16s_C1R)(
        src.data(), ss, dst.data(), ds, sz, ippMskSize3x3, ippBorderRepl, 0, nullptr);
  else
    st = (dir == Dir::NegVert ? ippiFilterSobelNegVertBorder_32f_C1R
                              : ippiFilterSobelHorizBorder_32f_C1R)(
        src.data(), ss, dst.data(), ds, sz, ippMskSize3x3, ippBorderRepl, 0.0f, nullptr);
  EXPECT_EQ(st, ippStsNoErr);
  return dst;
}
const auto sobel8u = sobel<Ipp8u, Ipp16s>;
const auto sobel32f = sobel<float, float>;

// h = 100 + a x + b y: inside, 8a across and 8b down; on the replicated border the difference
// spans one pixel instead of two, so half of that. A constant (a = b = 0) gives 0 everywhere,
// borders and one-pixel-wide images included.
TEST(Sobel, RampsGiveConstantsAndHalvesOnTheBorder) {
  for (auto [w, h, a, b] : {std::array{6, 5, 3, 5},
                            {7, 4, -2, 1},
                            {1, 5, 4, 4},
                            {6, 1, 4, 4},
                            {1, 1, 0, 0},
                            {7, 4, 0, 0}}) {
    std::vector<Ipp8u> src8(w * h);
    std::vector<float> src32(w * h);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        src8[y * w + x] = static_cast<Ipp8u>(src32[y * w + x] = 100 + a * x + b * y);
    const auto dx8 = sobel8u(src8, w, h, Dir::NegVert), dy8 = sobel8u(src8, w, h, Dir::Horiz);
    const auto dx32 = sobel32f(src32, w, h, Dir::NegVert);
    const auto dy32 = sobel32f(src32, w, h, Dir::Horiz);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        const int wantX = w == 1 ? 0 : (x == 0 || x == w - 1) ? 4 * a : 8 * a;
        const int wantY = h == 1 ? 0 : (y == 0 || y == h - 1) ? 4 * b : 8 * b;
        EXPECT_EQ(dx8[y * w + x], wantX);
        EXPECT_EQ(dy8[y * w + x], wantY);
        EXPECT_EQ(dx32[y * w + x], wantX);
        EXPECT_EQ(dy32[y * w + x], wantY);
      }
  }
}

// One bright pixel shows each mask, signs and orientation included: NegVert is positive left
// of the pixel, Horiz above it (y grows downwards).
TEST(Sobel, ImpulseResponseIsTheMask) {
  const int w = 5, h = 5;
  std::vector<Ipp8u> src(w * h, 0);
  src[2 * w + 2] = 1;
  const int negVert[5][5] = {
      {0, 0, 0, 0, 0}, {0, 1, 0, -1, 0}, {0, 2, 0, -2, 0}, {0, 1, 0, -1, 0}, {0, 0, 0, 0, 0}};
  const int horiz[5][5] = {
      {0, 0, 0, 0, 0}, {0, 1, 2, 1, 0}, {0, 0, 0, 0, 0}, {0, -1, -2, -1, 0}, {0, 0, 0, 0, 0}};
  const auto dx = sobel8u(src, w, h, Dir::NegVert), dy = sobel8u(src, w, h, Dir::Horiz);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      EXPECT_EQ(dx[y * w + x], negVert[y][x]) << x << ", " << y;
      EXPECT_EQ(dy[y * w + x], horiz[y][x]) << x << ", " << y;
    }
}

// The float sum runs offset -1, 0, 1: (1e8 + 2 x -5e7) + 1 is 1, where another grouping
// would lose the 1.
TEST(Sobel, FloatSumOrder) {
  const std::vector<float> across = {0, 0, 1e8f, 5e7f, 0, 0, 0, 0, 1};
  EXPECT_EQ(sobel32f(across, 3, 3, Dir::NegVert)[4], 1.0f);
  const std::vector<float> down = {0, 5e7f, 0, 0, 0, 0, 1e8f, 0, 1};
  EXPECT_EQ(sobel32f(down, 3, 3, Dir::Horiz)[4], 1.0f);
}

std::vector<Ipp8u> canny(const std::vector<Ipp16s>& dx, const std::vector<Ipp16s>& dy, int w, int h,
                         float low = 80.0f, float high = 100.0f) {
  const IppiSize size{w, h};
  int bytes = 0;
  EXPECT_EQ(ippiCannyGetSize(size, &bytes), ippStsNoErr);
  std::vector<Ipp8u> buffer(bytes), edges(static_cast<size_t>(w) * h, 77);
  EXPECT_EQ(ippiCanny_16s8u_C1R(dx.data(), w * 2, dy.data(), w * 2, edges.data(), w, size, low,
                                high, buffer.data()),
            ippStsNoErr);
  return edges;
}

std::vector<Ipp8u> cannyOfShape(const std::vector<Ipp8u>& shape, int w, int h) {
  return canny(sobel8u(shape, w, h, Dir::NegVert), sobel8u(shape, w, h, Dir::Horiz), w, h);
}

TEST(Canny, BinaryDiscGivesClosedOnePixelOutline) {
  for (double r : {3.0, 7.5, 20.3}) {
    const int w = 64, h = 60, cx = 31, cy = 29;
    std::vector<Ipp8u> disc(w * h, 0);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        if ((x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r) disc[y * w + x] = 255;
    const std::vector<Ipp8u> edges = cannyOfShape(disc, w, h);
    auto at = [&](const std::vector<Ipp8u>& v, int x, int y) {
      return x < 0 || y < 0 || x >= w || y >= h ? 0 : v[y * w + x];
    };
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        const Ipp8u e = at(edges, x, y);
        ASSERT_TRUE(e == 0 || e == 255);
        if (e == 0) continue;
        // On the rim: a 4-neighbour lies on the other side of the shape's boundary.
        const Ipp8u v = at(disc, x, y);
        EXPECT_TRUE(at(disc, x - 1, y) != v || at(disc, x + 1, y) != v || at(disc, x, y - 1) != v ||
                    at(disc, x, y + 1) != v)
            << x << ", " << y;
        // One pixel thin: no 2 x 2 block of edge pixels.
        EXPECT_FALSE(at(edges, x + 1, y) && at(edges, x, y + 1) && at(edges, x + 1, y + 1));
      }
    // Closed: a 4-connected fill of the background from a corner stops at the outline.
    std::vector<Ipp8u> outside = edges, buffer(1 << 16);
    IppiConnectedComp region{};
    ASSERT_EQ(
        ippiFloodFill_4Con_8u_C1IR(outside.data(), w, {w, h}, {0, 0}, 128, &region, buffer.data()),
        ippStsNoErr);
    EXPECT_EQ(outside[cy * w + cx], 0) << "outline of radius " << r << " has a gap";
  }
}

// A vertical step gives a two-pixel ridge of equal magnitudes; one column of it remains.
TEST(Canny, StepEdgeKeepsOneColumn) {
  const int w = 8, h = 6;
  std::vector<Ipp8u> step(w * h, 0);
  for (int y = 0; y < h; ++y)
    for (int x = 4; x < w; ++x) step[y * w + x] = 255;
  const std::vector<Ipp8u> edges = cannyOfShape(step, w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) EXPECT_EQ(edges[y * w + x], x == 3 ? 255 : 0) << x << ", " << y;
}

// Hysteresis on one row of vertical gradients (each pixel a maximum across the row): pixels
// above 80 join a pixel above 100 through each other, diagonals included, and not across a gap.
TEST(Canny, HysteresisFollowsWeakPixelsFromStrongOnes) {
  const int w = 9, h = 5;
  std::vector<Ipp16s> dx(w * h, 0), dy(w * h, 0);
  const Ipp16s row[w] = {90, 150, 90, 90, 50, 90, 90, 0, 0};
  for (int x = 0; x < w; ++x) dy[2 * w + x] = row[x];
  dy[1 * w + 8] = 95;  // weak, and its only neighbours on row 2 are 0
  const std::vector<Ipp8u> edges = canny(dx, dy, w, h);
  const int want[w] = {255, 255, 255, 255, 0, 0, 0, 0, 0};
  for (int x = 0; x < w; ++x) EXPECT_EQ(edges[2 * w + x], want[x]) << x;
  EXPECT_EQ(edges[1 * w + 8], 0);

  // A weak pixel diagonal to a strong one is joined.
  std::vector<Ipp16s> dy2(w * h, 0);
  dy2[1 * w + 1] = 150;
  dy2[2 * w + 2] = 90;
  const std::vector<Ipp8u> diag = canny(dx, dy2, w, h);
  EXPECT_EQ(diag[1 * w + 1], 255);
  EXPECT_EQ(diag[2 * w + 2], 255);
}

}  // namespace
