#include <gtest/gtest.h>

#include <queue>
#include <random>
#include <vector>

#include "primitives/primitives.h"

namespace {

using namespace Orvel;

struct Image {
  int w, h, step;
  std::vector<Ipp8u> px;  // rows of `step` bytes; the bytes past w are padding
  Image(int w_, int h_, Ipp8u v)
      : w(w_), h(h_), step(w_ + 5), px(static_cast<size_t>(step) * h_, v) {}
  Ipp8u& at(int x, int y) { return px[static_cast<size_t>(y) * step + x]; }
};

IppiConnectedComp fill(Image& img, IppiPoint seed, Ipp8u value) {
  int bytes = 0;
  EXPECT_EQ(ippiFloodFillGetSize({img.w, img.h}, &bytes), ippStsNoErr);
  std::vector<Ipp8u> buffer(bytes);
  IppiConnectedComp region{};
  EXPECT_EQ(ippiFloodFill_4Con_8u_C1IR(img.px.data(), img.step, {img.w, img.h}, seed, value,
                                       &region, buffer.data()),
            ippStsNoErr);
  return region;
}

// Breadth-first, one pixel at a time: the plain statement of a 4-connected fill.
void referenceFill(Image& img, IppiPoint seed, Ipp8u value) {
  const Ipp8u old = img.at(seed.x, seed.y);
  if (old == value) return;
  std::queue<IppiPoint> open;
  img.at(seed.x, seed.y) = value;
  open.push(seed);
  while (!open.empty()) {
    const IppiPoint p = open.front();
    open.pop();
    for (IppiPoint n : {IppiPoint{p.x - 1, p.y}, {p.x + 1, p.y}, {p.x, p.y - 1}, {p.x, p.y + 1}})
      if (n.x >= 0 && n.y >= 0 && n.x < img.w && n.y < img.h && img.at(n.x, n.y) == old) {
        img.at(n.x, n.y) = value;
        open.push(n);
      }
  }
}

// Random two- and three-valued images are full of small regions, diagonal contacts and
// U-turns. Filling with a value the image already holds checks that pixels of the new value
// next to the region do not carry the fill on. Every fill must match the reference byte for
// byte, padding included.
TEST(FloodFill, MatchesReferenceOnRandomImages) {
  std::mt19937 rng(3);
  for (auto [w, h] : {std::pair{1, 1}, {1, 40}, {40, 1}, {23, 17}, {64, 64}, {131, 77}}) {
    for (int values : {2, 3}) {
      for (int round = 0; round < 4; ++round) {
        Image img(w, h, 0);
        for (Ipp8u& p : img.px) p = static_cast<Ipp8u>(rng() % values);
        const IppiPoint seed{static_cast<int>(rng() % w), static_cast<int>(rng() % h)};
        const Ipp8u value = round % 2 ? 9 : 1;
        const Image before = img;
        Image want = img;
        referenceFill(want, seed, value);
        const IppiConnectedComp region = fill(img, seed, value);
        ASSERT_EQ(img.px, want.px) << w << " x " << h << " seed " << seed.x << ", " << seed.y;
        int64_t painted = 0;
        for (size_t i = 0; i < want.px.size(); ++i) painted += want.px[i] != before.px[i];
        EXPECT_EQ(region.area, static_cast<double>(painted));
      }
    }
  }
}

// Nested square rings, walls and corridors in turn, with one door per wall alternating
// between top and bottom: a long winding path. The fill must follow it to the end and never
// pass a wall.
TEST(FloodFill, RingMazeFillsOnlyTheCorridor) {
  const int n = 257;
  Image img(n, n, 1);  // walls 1, corridors 0
  for (int y = 0; y < n; ++y)
    for (int x = 0; x < n; ++x)
      if (std::min(std::min(x, y), std::min(n - 1 - x, n - 1 - y)) % 2 == 1) img.at(x, y) = 0;
  for (int ring = 2; 2 * ring < n - 1; ring += 2)
    img.at(n / 2, (ring / 2) % 2 ? ring : n - 1 - ring) = 0;
  Image want = img;
  referenceFill(want, {1, 1}, 7);
  const IppiConnectedComp region = fill(img, {1, 1}, 7);
  EXPECT_EQ(img.px, want.px);
  EXPECT_EQ(want.at(n / 2, n / 2 - 1), 7);  // the innermost corridor is reached
  EXPECT_EQ(region.rect.x, 1);
  EXPECT_EQ(region.rect.width, n - 2);
}

TEST(FloodFill, DiagonalContactDoesNotConnect) {
  Image img(4, 4, 0);
  for (int i = 0; i < 4; ++i) img.at(i, i) = 5;  // a diagonal line of 5
  fill(img, {0, 0}, 8);
  EXPECT_EQ(img.at(0, 0), 8);
  for (int i = 1; i < 4; ++i) EXPECT_EQ(img.at(i, i), 5);
}

TEST(FloodFill, SameValueChangesNothing) {
  Image img(6, 3, 4);
  const std::vector<Ipp8u> before = img.px;
  EXPECT_EQ(fill(img, {2, 1}, 4).area, 0.0);
  EXPECT_EQ(img.px, before);
}

// Columns one pixel wide joined only along the top row give the most runs an image can hold;
// the work buffer is sized for exactly that.
TEST(FloodFill, CombFillsEveryTooth) {
  const int w = 301, h = 200;
  Image img(w, h, 0);
  for (int y = 1; y < h; ++y)
    for (int x = 1; x < w; x += 2) img.at(x, y) = 1;
  const IppiConnectedComp region = fill(img, {w - 1, h - 1}, 2);
  EXPECT_EQ(region.area, static_cast<double>(w + (w + 1) / 2 * (h - 1)));
  EXPECT_EQ(region.rect.width, w);
  EXPECT_EQ(region.rect.height, h);
}

// Sixteen megapixels from one seed: nothing may recurse or overflow.
TEST(FloodFill, SixteenMegapixelsFromOneSeed) {
  Image img(4096, 4096, 200);
  for (int y = 0; y < 4096; y += 3) img.at((y * 7) % 4096, y) = 1;
  const IppiConnectedComp region = fill(img, {2048, 2048}, 3);
  EXPECT_EQ(region.area, 4096.0 * 4096.0 - (4095 / 3 + 1));
}

}  // namespace
