#include "gradient/GradientDraw.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <iterator>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Orvel {

namespace {

// The index is truncated and held to [0, M]. Comparing before the conversion does both at
// once and keeps the conversion defined: a NaN (an axis of length 0) and anything below 0 give
// entry 0, anything at or beyond M gives M.
inline int32_t clampIndex(float t, float M) {
  t = (t > 0.0f) ? t : 0.0f;
  t = (t < M) ? t : M;
  return static_cast<int32_t>(t);
}

// Each shape has its own loop; what depends only on the row is computed once per row.

void linearRow(const GradientAxis& a, int32_t y, int32_t x0, int32_t n, int32_t* idx) {
  const float Y = static_cast<float>(y) - a.by;
  const float yPart = Y * a.fy;
  for (int32_t k = 0; k < n; ++k) {
    const float X = static_cast<float>(x0 + k) - a.bx;
    idx[k] = clampIndex((X * a.fx + yPart) * a.M, a.M);
  }
}

void radialRow(const GradientAxis& a, int32_t y, int32_t x0, int32_t n, int32_t* idx) {
  const float Y = static_cast<float>(y) - a.by;
  const float YY = Y * Y;
  for (int32_t k = 0; k < n; ++k) {
    const float X = static_cast<float>(x0 + k) - a.bx;
    idx[k] = clampIndex(std::sqrt(X * X + YY) * a.invL * a.M, a.M);
  }
}

void angleRow(const GradientAxis& a, int32_t y, int32_t x0, int32_t n, int32_t* idx) {
  const float Y = static_cast<float>(y) - a.by;
  const float YY = Y * Y;
  const float Ydy = Y * a.dy;
  const float Ydx = Y * a.dx;
  for (int32_t k = 0; k < n; ++k) {
    const float X = static_cast<float>(x0 + k) - a.bx;
    const float c = (X * a.dx + Ydy) / (std::sqrt(X * X + YY) * a.L);
    // acos is steep at both ends: a cosine within 1e-5 of -1 or 1 is taken as exactly half a
    // turn or none, so that the seam does not speckle.
    float angle;
    if (c > -1.00001f && c < -0.99999f)
      angle = 3.1415927f;
    else if (c > 0.99999f && c < 1.00001f)
      angle = 0.0f;
    else
      angle = std::acos(c);
    if (X * a.dy - Ydx > 0.0f) angle = 6.2831855f - angle;
    idx[k] = clampIndex(angle * 0.15915494f * a.M, a.M);
  }
}

void reflectedRow(const GradientAxis& a, int32_t y, int32_t x0, int32_t n, int32_t* idx) {
  const float Y = static_cast<float>(y) - a.by;
  const float yPart = Y * a.fy;
  for (int32_t k = 0; k < n; ++k) {
    const float X = static_cast<float>(x0 + k) - a.bx;
    idx[k] = clampIndex(std::fabs((X * a.fx + yPart) * a.M), a.M);
  }
}

void diamondRow(const GradientAxis& a, int32_t y, int32_t x0, int32_t n, int32_t* idx) {
  const float Y = static_cast<float>(y) - a.by;
  const float yAlong = Y * a.fy;
  const float yAcross = Y * a.fx;
  for (int32_t k = 0; k < n; ++k) {
    const float X = static_cast<float>(x0 + k) - a.bx;
    const float along = std::fabs(X * a.fx + yAlong);
    const float across = std::fabs(yAcross - X * a.fy);
    idx[k] = clampIndex((along + across) * a.M, a.M);
  }
}

constexpr IndexRowFn kIndexRows[] = {linearRow, radialRow, angleRow, reflectedRow, diamondRow};

// The pixel loop is compiled twice, for the baseline instruction set and, on x86-64, for AVX2,
// where the double shares take one instruction instead of two. The arithmetic is the same
// IEEE operations in both, so both draw the same bytes.
#define ORVEL_DITHER_INLINE inline __attribute__((always_inline))

// Four channels b, g, r, a side by side. The error arithmetic is the same for each channel,
// so one vector does all four; the spreading factors are doubles, as the diffusion has always
// used them, and each error entry is rounded back to a float after every addition.
typedef float F4 __attribute__((vector_size(16)));
typedef int32_t I4 __attribute__((vector_size(16)));
typedef double D4 __attribute__((vector_size(32)));

ORVEL_DITHER_INLINE F4 load4(const float* p) {
  F4 v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

ORVEL_DITHER_INLINE void store4(float* p, F4 v) { std::memcpy(p, &v, sizeof v); }

// (float)((double)acc + k x (double)e): an error entry receiving its share.
ORVEL_DITHER_INLINE F4 addShare(F4 acc, double k, D4 e) {
  D4 sum = __builtin_convertvector(acc, D4) + k * e;
  return __builtin_convertvector(sum, F4);
}

// v held to 0..255; a NaN gives 0.
ORVEL_DITHER_INLINE F4 clampChannels(F4 v) {
#if defined(__SSE2__)
  // maxps answers its second operand when the first is a NaN.
  v = _mm_max_ps(v, _mm_setzero_ps());
  return _mm_min_ps(v, _mm_set1_ps(255.0f));
#else
  const F4 zero = {0, 0, 0, 0};
  const F4 top = {255.0f, 255.0f, 255.0f, 255.0f};
  v = (v > zero) ? v : zero;
  return (v < top) ? v : top;
#endif
}

// The four truncated channels, 0..255 each, as the bytes of one pixel.
ORVEL_DITHER_INLINE void storePixel(uint8_t* out, I4 o) {
#if defined(__SSE2__)
  const __m128i words = _mm_packs_epi32(reinterpret_cast<__m128i>(o), reinterpret_cast<__m128i>(o));
  const int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
  std::memcpy(out, &bytes, 4);
#else
  out[0] = static_cast<uint8_t>(o[0]);
  out[1] = static_cast<uint8_t>(o[1]);
  out[2] = static_cast<uint8_t>(o[2]);
  out[3] = static_cast<uint8_t>(o[3]);
#endif
}

// The random bit of each channel as a float, for each of the sixteen nibbles.
constexpr F4 kBitFloats[16] = {
    {0, 0, 0, 0}, {1, 0, 0, 0}, {0, 1, 0, 0}, {1, 1, 0, 0}, {0, 0, 1, 0}, {1, 0, 1, 0},
    {0, 1, 1, 0}, {1, 1, 1, 0}, {0, 0, 0, 1}, {1, 0, 0, 1}, {0, 1, 0, 1}, {1, 1, 0, 1},
    {0, 0, 1, 1}, {1, 0, 1, 1}, {0, 1, 1, 1}, {1, 1, 1, 1},
};

// Rows drawn side by side. The diffusion of one row is a chain of dependent float steps from
// pixel to pixel, so a row alone leaves the processor waiting; rows of a group run staggered
// by two pixels (row j at pixel x - 2j), which is exactly as far as the row above must be
// ahead for every share to have arrived, so the arithmetic is that of one row after another.
constexpr int kRowsSideBySide = 4;
static_assert(kRowsSideBySide >= 1 && kRowsSideBySide <= 4,
              "the last rows of a strip take one of 1..3");

// The state of one row in flight.
struct RowInFlight {
  uint8_t* out;         // pixel 0 of the row
  const int32_t* idx;   // table indices of the row
  const float* errCur;  // the shares this row receives from the row above
  float* errNext;       // the shares this row gives to the row below
  F4 e;                 // running error of the next pixel
  F4 belowLeft;         // errNext[x - 1], waiting for the 3/16 of pixel x
  F4 below;             // errNext[x], waiting for the 5/16 of pixel x
  DitherBits bits;
};

// One pixel of a row: per channel v = bit + T + e, the byte is v held to 0..255 and
// truncated, and the error e' = T - byte + e (without the bit) goes 7/16 right, 3/16 below
// left, 5/16 below and 1/16 below right. errNext[x] is stored as it stands after every pixel;
// the next pixel completes it, and at the row's end it is already complete.
ORVEL_DITHER_INLINE void ditherPixel(RowInFlight& r, const ColorF* table, int32_t pixelStep,
                                     int32_t x) {
  const F4 t = load4(&table[r.idx[x]].b);
  const F4 v = clampChannels((kBitFloats[r.bits.NextPixel()] + t) + r.e);
  const I4 o = __builtin_convertvector(v, I4);
  storePixel(r.out + static_cast<ptrdiff_t>(x) * pixelStep, o);
  const F4 err = (t - __builtin_convertvector(o, F4)) + r.e;
  const D4 errD = __builtin_convertvector(err, D4);
  if (x > 0) store4(&r.errNext[(x - 1) * 4], addShare(r.belowLeft, 0.1875, errD));
  r.belowLeft = addShare(r.below, 0.3125, errD);
  store4(&r.errNext[x * 4], r.belowLeft);
  // 1/16 of a float and the float rounding of the double product are the same value.
  r.below = err * 0.0625f;
  r.e = addShare(load4(&r.errCur[(x + 1) * 4]), 0.4375, errD);
}

// K rows of a strip, rows y0..y0 + K - 1; errRows[j] feeds row j and errRows[j + 1] takes
// its shares.
template <int K>
ORVEL_DITHER_INLINE void ditherRows(const DitherStrip& s, const GradientAxis& axis,
                                    IndexRowFn indexRow, int32_t y0, int32_t width,
                                    float* const* errRows, int32_t* idxRows) {
  RowInFlight rows[K] = {};
  const F4 zero = {0, 0, 0, 0};
  for (int j = 0; j < K; ++j) {
    const int32_t y = y0 + j;
    int32_t* idx = idxRows + static_cast<size_t>(j) * width;
    indexRow(axis, y, s.rcStrip.l, width, idx);
    const uint64_t firstPixel =
        static_cast<uint64_t>(y - s.rcStrip.t) * static_cast<uint64_t>(width);
    rows[j] = RowInFlight{s.pBuffer + static_cast<ptrdiff_t>(y) * s.nStride +
                              static_cast<ptrdiff_t>(s.rcStrip.l) * s.nPixelStep,
                          idx,
                          errRows[j],
                          errRows[j + 1],
                          zero,
                          zero,
                          zero,
                          DitherBits(s.nSeed, firstPixel)};
  }
  const ColorF* table = s.pTable;
  const int32_t step = s.nPixelStep;
  const int32_t lag = 2 * (K - 1);
  // Ramp up, all rows at once, ramp down.
  for (int32_t x = 0; x < std::min(lag, width + lag); ++x)
    for (int j = 0; j < K; ++j)
      if (x - 2 * j >= 0 && x - 2 * j < width) ditherPixel(rows[j], table, step, x - 2 * j);
  for (int32_t x = lag; x < width; ++x) {
#pragma GCC unroll 8
    for (int j = 0; j < K; ++j) ditherPixel(rows[j], table, step, x - 2 * j);
  }
  for (int32_t x = std::max(width, lag); x < width + lag; ++x)
    for (int j = 0; j < K; ++j)
      if (x - 2 * j >= 0 && x - 2 * j < width) ditherPixel(rows[j], table, step, x - 2 * j);
}

size_t errorRowFloats(int32_t width) { return (static_cast<size_t>(width) + 2) * 4; }

}  // namespace

GradientAxis MakeGradientAxis(Point ptBegin, Point ptEnd, int32_t nEntries) {
  GradientAxis a;
  a.bx = ptBegin.x;
  a.by = ptBegin.y;
  a.dx = ptEnd.x - ptBegin.x;
  a.dy = ptEnd.y - ptBegin.y;
  a.L2 = a.dx * a.dx + a.dy * a.dy;
  a.L = std::sqrt(a.L2);
  a.fx = a.dx / a.L2;
  a.fy = a.dy / a.L2;
  // The estimate is the correctly rounded 1 / sqrt(L2), the same on every processor, and the
  // Newton step r x -0.5 x (L2 x r x r - 3) follows it as the radial shape has always done.
  const float r = 1.0f / std::sqrt(a.L2);
  a.invL = r * -0.5f * (a.L2 * r * r - 3.0f);
  a.M = static_cast<float>(nEntries - 1);
  return a;
}

IndexRowFn GetIndexRowFn(int32_t nGradientType) {
  if (nGradientType < 0 || nGradientType >= static_cast<int32_t>(std::size(kIndexRows)))
    return nullptr;
  return kIndexRows[nGradientType];
}

size_t DitherScratchFloats(int32_t nWidth) {
  return (kRowsSideBySide + 1) * errorRowFloats(nWidth) +
         static_cast<size_t>(kRowsSideBySide) * static_cast<size_t>(nWidth);
}

namespace {

// Floyd-Steinberg diffusion, rows top to bottom and pixels left to right in every row, no
// serpentine; the first pixel of a row starts with no error, and the error rows start at 0.
ORVEL_DITHER_INLINE void drawStripBody(const DitherStrip& s, const GradientAxis& axis,
                                       IndexRowFn indexRow) {
  const int32_t width = s.rcStrip.r - s.rcStrip.l;
  if (width <= 0 || s.rcStrip.b <= s.rcStrip.t) return;
  const size_t rowFloats = errorRowFloats(width);
  std::memset(s.pScratch, 0, (kRowsSideBySide + 1) * rowFloats * sizeof(float));
  float* errRows[kRowsSideBySide + 1];
  for (int j = 0; j <= kRowsSideBySide; ++j) errRows[j] = s.pScratch + j * rowFloats;
  int32_t* idxRows = reinterpret_cast<int32_t*>(s.pScratch + (kRowsSideBySide + 1) * rowFloats);

  int32_t y = s.rcStrip.t;
  for (; y + kRowsSideBySide <= s.rcStrip.b; y += kRowsSideBySide) {
    ditherRows<kRowsSideBySide>(s, axis, indexRow, y, width, errRows, idxRows);
    std::swap(errRows[0], errRows[kRowsSideBySide]);
  }
  switch (s.rcStrip.b - y) {
    case 3:
      ditherRows<3>(s, axis, indexRow, y, width, errRows, idxRows);
      break;
    case 2:
      ditherRows<2>(s, axis, indexRow, y, width, errRows, idxRows);
      break;
    case 1:
      ditherRows<1>(s, axis, indexRow, y, width, errRows, idxRows);
      break;
  }
}

void drawStripBaseline(const DitherStrip& s, const GradientAxis& axis, IndexRowFn indexRow) {
  drawStripBody(s, axis, indexRow);
}

#if defined(__x86_64__)
__attribute__((target("avx2"))) void drawStripAvx2(const DitherStrip& s, const GradientAxis& axis,
                                                   IndexRowFn indexRow) {
  drawStripBody(s, axis, indexRow);
}
#endif

bool hasAvx2() {
#if defined(__x86_64__)
  return __builtin_cpu_supports("avx2");
#else
  return false;
#endif
}

std::atomic<int> g_nDitherForced{-1};  // -1: the best the processor has

}  // namespace

bool SetDitherKernelForTest(int nKernel) {
  if (nKernel == 1 && !hasAvx2()) return false;
  g_nDitherForced.store(nKernel < 0 ? -1 : nKernel, std::memory_order_relaxed);
  return true;
}

void DrawDitheredStrip(const DitherStrip& s, const GradientAxis& axis, IndexRowFn indexRow) {
  static const bool avx2 = hasAvx2();
  const int forced = g_nDitherForced.load(std::memory_order_relaxed);
#if defined(__x86_64__)
  if (forced == 1 || (forced < 0 && avx2)) {
    drawStripAvx2(s, axis, indexRow);
    return;
  }
#endif
  (void)avx2;
  (void)forced;
  drawStripBaseline(s, axis, indexRow);
}

}  // namespace Orvel
