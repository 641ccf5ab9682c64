// A plain scalar model of the sampling and placement rules for the tests: the kernel comes
// from the reference table, integer sums run in 64 bits (the test images never leave 32), and
// every step is one line of the rule.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "compositing/matrix_ops.h"
#include "orvel/types.h"

namespace model {

using Orvel::IntRect;
using Table = std::array<std::array<int32_t, 4>, 257>;

inline std::string dataPath(const char* name) { return std::string(ORVEL_TEST_DATA) + "/" + name; }

// The reference tables by sharpness.
inline std::map<float, Table> kernelTables() {
  std::map<float, Table> tables;
  std::ifstream in(dataPath("kernel_table.txt"));
  EXPECT_TRUE(in.good());
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream ss(line);
    float s;
    int i;
    ss >> s >> i;
    for (int k = 0; k < 4; ++k) ss >> tables[s][i][k];
  }
  return tables;
}

// A four-channel image, rows of w x 4 bytes plus padding.
struct Image {
  int w = 0, h = 0, stride = 0;
  std::vector<uint8_t> px;
  Image(int width, int height, int pad = 0) : w(width), h(height), stride(width * 4 + pad) {
    px.assign(size_t(stride) * h, 0);
  }
  uint8_t* at(int x, int y) { return px.data() + size_t(y) * stride + size_t(x) * 4; }
  const uint8_t* at(int x, int y) const { return px.data() + size_t(y) * stride + size_t(x) * 4; }
  Orvel::BufferData buffer() {
    Orvel::BufferData b;
    b.pBuffer = px.data();
    b.nWidth = w;
    b.nHeight = h;
    b.nStride = stride;
    b.ROI = IntRect{0, 0, w, h};
    return b;
  }
  void fillRandom(uint32_t seed, int minAlpha = 0) {
    std::mt19937 rng(seed);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        for (int c = 0; c < 3; ++c) at(x, y)[c] = uint8_t(rng());
        at(x, y)[3] = uint8_t(minAlpha + int(rng() % uint32_t(256 - minAlpha)));
      }
  }
};

inline uint8_t clamp8(int64_t v) { return uint8_t(v < 0 ? 0 : (v > 255 ? 255 : v)); }

inline void linear(const Image& s, const IntRect& roi, double X, double Y, uint8_t* out) {
  const int ix = int(X), iy = int(Y);
  const int fx = int((std::fabs(X) - ix) * 256), fy = int((std::fabs(Y) - iy) * 256);
  const int x1 = ix + 1 <= roi.r - 1 ? ix + 1 : ix, y1 = iy + 1 <= roi.b - 1 ? iy + 1 : iy;
  for (int c = 0; c < 4; ++c)
    out[c] = uint8_t(((s.at(ix, iy)[c] * (256 - fx) + s.at(x1, iy)[c] * fx) * (256 - fy) +
                      (s.at(ix, y1)[c] * (256 - fx) + s.at(x1, y1)[c] * fx) * fy) >>
                     16);
}

// The cubic filter: Acc int64_t is the integer form (a zero sum silences, a negative one keeps
// its sign), Acc float the single-precision form (a sum below 1 silences).
template <class Acc>
void cubic(const Table& K, const Image& s, const IntRect& roi, double X, double Y, uint8_t* out) {
  constexpr bool kFloat = std::is_same_v<Acc, float>;
  const int ix = int(X), iy = int(Y);
  if (!(ix > roi.t && ix <= roi.r - 3 && iy > roi.t && iy <= roi.b - 3 && roi.r - roi.l >= 4 &&
        roi.b - roi.t >= 4))
    return linear(s, roi, X, Y, out);
  const auto& cx = K[int((X - ix) * 256)];
  const auto& cy = K[int((Y - iy) * 256)];
  auto live = [](Acc sum) { return kFloat ? int64_t(sum) > 0 : sum != 0; };
  auto weight = [](Acc sum, Acc p) { return Acc(std::trunc(1024.0f / float(sum) * float(p))); };
  Acc C[4][3] = {}, q[4], T = 0, v[4] = {};
  for (int r = 0; r < 4; ++r) {
    Acc p[4], S = 0;
    for (int k = 0; k < 4; ++k) S += p[k] = Acc(s.at(ix - 1 + k, iy - 1 + r)[3]) * Acc(cx[k]);
    for (int k = 0; k < 4 && live(S); ++k)
      for (int c = 0; c < 3; ++c) C[r][c] += Acc(s.at(ix - 1 + k, iy - 1 + r)[c]) * weight(S, p[k]);
    T += q[r] = S * Acc(cy[r]);
  }
  for (int r = 0; r < 4 && live(T); ++r) v[r] = weight(T, q[r]);
  for (int c = 0; c < 3; ++c) {
    Acc sum = 0;
    for (int r = 0; r < 4; ++r) sum += C[r][c] * v[r];
    out[c] = clamp8((int64_t(sum) + 0x80000) >> 20);
  }
  out[3] = clamp8((int64_t(T) + 0x80000) >> 20);
}

inline void box(const Image& s, const IntRect& roi, double X, double Y, float scale, uint8_t* out) {
  const int n = int(1.0f / (scale + scale) + 0.5f), ix = int(X), iy = int(Y);
  const int x0 = std::max(roi.l, ix - n), x1 = std::min(roi.r - 1, ix + n);
  const int y0 = std::max(roi.t, iy - n), y1 = std::min(roi.b - 1, iy + n);
  int64_t A = 0, sum[3] = {};
  for (int y = y0; y <= y1; ++y)
    for (int x = x0; x <= x1; ++x) {
      A += s.at(x, y)[3];
      for (int c = 0; c < 3; ++c) sum[c] += s.at(x, y)[c] * s.at(x, y)[3];
    }
  for (int c = 0; c < 3; ++c) out[c] = clamp8(sum[c] / (A ? A : 1));
  out[3] = clamp8(A / ((x1 - x0 + 1) * (y1 - y0 + 1)));
}

// The plain composite of Normal.
inline void normal(const uint8_t* s, uint8_t* d, int op) {
  const int a = (s[3] * op) >> 8;
  if (a == 0) return;
  const int wr = (255 - a) * d[3] / 255, ws = (255 - d[3]) * a / 255, wm = a * d[3] / 255;
  const int A = a + wr;
  for (int c = 0; c < 3; ++c) d[c] = uint8_t(std::min(255, (d[c] * wr + s[c] * (ws + wm)) / A));
  d[3] = uint8_t(A);
}

// (x, y) through a matrix in 32-bit floats, as the edge scales are measured.
inline void mapFloat(const float* m, float x, float y, float& X, float& Y) {
  const float D = m[7] * y + m[15] + m[3] * x;
  X = (m[4] * y + m[12] + m[0] * x) / D;
  Y = (m[5] * y + m[13] + m[1] * x) / D;
}

// The resampling branch over a four-channel destination in Normal: the expected image. The
// inverse is taken by cofactors, which has its own test.
inline void place(const Table& K, bool bFloat, const Image& src, Image& dst, const float* m,
                  int opacity) {
  const IntRect roi{0, 0, src.w, src.h};
  double md[16], inv[16];
  for (int i = 0; i < 16; ++i) md[i] = m[i];
  ASSERT_NE(Orvel::MatrixOps::InvertByCofactors(md, inv), 0.0);
  auto rnd = [](double v) { return int(v < 0 ? v - 0.5 : v + 0.5); };
  int L = 1 << 30, T = 1 << 30, R = -(1 << 30), B = -(1 << 30);
  float px[4], py[4];
  for (int i = 0; i < 4; ++i) {
    const double x = (i == 1 || i == 2) ? src.w - 1 : 0, y = i >= 2 ? src.h - 1 : 0;
    const double rD = 1.0 / (md[7] * y + md[15] + md[3] * x);
    L = std::min(L, rnd(float((md[4] * y + md[12] + md[0] * x) * rD)));
    R = std::max(R, rnd(float((md[4] * y + md[12] + md[0] * x) * rD)) + 1);
    T = std::min(T, rnd(float((md[5] * y + md[13] + md[1] * x) * rD)));
    B = std::max(B, rnd(float((md[5] * y + md[13] + md[1] * x) * rD)) + 1);
    mapFloat(m, float(i & 1 ? src.w : 0), float(i >= 2 ? src.h : 0), px[i], py[i]);
  }
  L = std::max(L, 0), T = std::max(T, 0), R = std::min(R, dst.w), B = std::min(B, dst.h);
  auto len = [&](int a, int b) {
    const float dx = px[b] - px[a], dy = py[b] - py[a];
    return std::sqrt(dx * dx + dy * dy);
  };
  const float ratio[4] = {len(0, 2) / float(src.h), len(1, 3) / float(src.h),
                          len(0, 1) / float(src.w), len(2, 3) / float(src.w)};
  const double l = roi.l, t = roi.t, r = roi.r, b = roi.b;
  for (int y = T; y < B; ++y)
    for (int x = L; x < R; ++x) {
      const double rD = 1.0 / (inv[7] * y + inv[15] + inv[3] * x);
      double X = (inv[4] * y + inv[12] + inv[0] * x) * rD;
      double Y = (inv[5] * y + inv[13] + inv[1] * x) * rD;
      if (std::fabs(X - l) < 0.0001) X = l;
      if (std::fabs(Y - t) < 0.0001) Y = t;
      if (std::fabs(X - r) < 0.0001) X = r - 1;
      if (std::fabs(Y - b) < 0.0001) Y = b - 1;
      if (!(X > l - 0.001 && X < r - 1 + 0.001 && Y > t - 0.001 && Y < b - 1 + 0.001)) continue;
      const float scale =
          (float(R - x) * ratio[0] + (float(B - y) * ratio[2] + float(y - T) * ratio[3]) +
           float(x - L) * ratio[1]) /
          float(R - L + B - T);
      uint8_t sample[4];
      if (scale <= 0.25f)
        box(src, roi, X, Y, scale, sample);
      else if (bFloat)
        cubic<float>(K, src, roi, X, Y, sample);
      else
        cubic<int64_t>(K, src, roi, X, Y, sample);
      normal(sample, dst.at(x, y), opacity * 256 / 100);
    }
}

}  // namespace model
