// The resampling kernel of the transform tool and its four sampling routines.
//
// The cubic kernel softens as the image is reduced: its table is built for a sharpness taken
// from the smallest edge scale of the mapped image. The cubic filter weights colour by alpha
// and normalises twice (across, then down), so that transparent neighbours lend no colour to
// an edge while alpha itself stays the plain separable cubic.
//
// All sampling routines address the source memory directly: pixel (x, y) lies at
// pSrc + y x nStride + x x nPixelStep. They only read the table, so any number of workers may
// share one object; the table changes only between operations.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "orvel/types.h"

namespace Orvel {

// float -> int32 truncated toward zero, held at the ends of the range: the scalar twin of the
// vector conversion, so that both rows agree even on sums that leave 32 bits.
inline int32_t TruncToInt32(float v) {
  if (v >= 2147483648.0f) return INT32_MAX;
  if (v < -2147483648.0f) return INT32_MIN;
  if (v != v) return 0;
  return static_cast<int32_t>(v);
}

class CInterpolator {
 public:
  static constexpr int kRows = 257;

  CInterpolator() = default;
  virtual ~CInterpolator() = default;

  // The softness a of the kernel for a sharpness s (the smallest edge scale).
  static float SoftnessFor(float s);

  // Rebuilds the table for s and remembers s.
  void SetSharpness(float s);

  // Stores the four edge scales (left, right, top, bottom) and rebuilds the table when the
  // smallest of them (at most 32767) differs from the sharpness it was built for.
  void SetEdgeRatios(const float ratio[4]);

  // Cubic sample, integer form (portable row): 32-bit integer sums, float factors.
  void SampleCubic(const uint8_t* pSrc, int nStride, int nPixelStep, const IntRect& roi, double X,
                   double Y, uint8_t* pOut) const;
  // Cubic sample, single-precision form (fast row): every sum a 32-bit float.
  void SampleCubicF(const uint8_t* pSrc, int nStride, int nPixelStep, const IntRect& roi, double X,
                    double Y, uint8_t* pOut) const;
  // Bilinear sample of four channels; alpha does not weight colour.
  void SampleLinear(const uint8_t* pSrc, int nStride, int nPixelStep, const IntRect& roi, double X,
                    double Y, uint8_t* pOut) const;
  // Bilinear sample of the first byte of each pixel.
  void SampleLinearMask(const uint8_t* pSrc, int nStride, int nPixelStep, const IntRect& roi,
                        double X, double Y, uint8_t* pOut) const;
  // Alpha-weighted box average for strong reductions; fScale is the local scale.
  void SampleBox(const uint8_t* pSrc, int nStride, int nPixelStep, const IntRect& roi, double X,
                 double Y, float fScale, uint8_t* pOut) const;

  // True where SampleCubic filters and does not fall back to SampleLinear. The first test
  // compares the column with the region's top, not its left side; that is how the filter has
  // always chosen, and a region with l other than t behaves accordingly.
  static bool CubicInside(const IntRect& roi, int ix, int iy) {
    return ix > roi.t && ix <= roi.r - 3 && iy > roi.t && iy <= roi.b - 3 && roi.r - roi.l >= 4 &&
           roi.b - roi.t >= 4;
  }
  // The table row of a fractional position.
  static int KernelRow(double v, int iv) { return static_cast<int>((v - iv) * 256.0); }

  int32_t m_Kernel[kRows][4] = {};
  float m_fEdgeRatio[4] = {0.0f, 0.0f, 0.0f, 0.0f};
  float m_fSharpness = 0.0f;
};

// ---- sampling, inline: the workers call these once a pixel ----

namespace InterpolatorDetail {

inline int32_t WrapAdd(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
inline int32_t WrapMul(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}
inline uint8_t Clamp8(int64_t v) { return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

}  // namespace InterpolatorDetail

inline void CInterpolator::SampleCubic(const uint8_t* pSrc, int nStride, int nPixelStep,
                                       const IntRect& roi, double X, double Y,
                                       uint8_t* pOut) const {
  using namespace InterpolatorDetail;
  const int ix = static_cast<int>(X), iy = static_cast<int>(Y);
  if (!CubicInside(roi, ix, iy)) {
    SampleLinear(pSrc, nStride, nPixelStep, roi, X, Y, pOut);
    return;
  }
  const int32_t* cx = m_Kernel[KernelRow(X, ix)];
  const int32_t* cy = m_Kernel[KernelRow(Y, iy)];
  const uint8_t* block = pSrc + ptrdiff_t(iy - 1) * nStride + ptrdiff_t(ix - 1) * nPixelStep;

  int32_t S[4], C[4][3];
  for (int r = 0; r < 4; ++r) {
    const uint8_t* row = block + ptrdiff_t(r) * nStride;
    int32_t p[4], sum = 0;
    for (int k = 0; k < 4; ++k) {
      p[k] = row[k * nPixelStep + 3] * cx[k];
      sum += p[k];
    }
    // A negative sum keeps its sign in the weights; only an exact zero silences the row.
    int32_t w[4] = {0, 0, 0, 0};
    if (sum != 0) {
      const float f = 1024.0f / static_cast<float>(sum);
      for (int k = 0; k < 4; ++k) w[k] = TruncToInt32(f * static_cast<float>(p[k]));
    }
    for (int c = 0; c < 3; ++c) {
      int32_t acc = 0;
      for (int k = 0; k < 4; ++k) acc = WrapAdd(acc, WrapMul(row[k * nPixelStep + c], w[k]));
      C[r][c] = acc;
    }
    S[r] = sum;
  }
  int32_t q[4], T = 0;
  for (int r = 0; r < 4; ++r) {
    q[r] = WrapMul(S[r], cy[r]);
    T = WrapAdd(T, q[r]);
  }
  int32_t v[4] = {0, 0, 0, 0};
  if (T != 0) {
    const float g = 1024.0f / static_cast<float>(T);
    for (int r = 0; r < 4; ++r) v[r] = TruncToInt32(g * static_cast<float>(q[r]));
  }
  for (int c = 0; c < 3; ++c) {
    int32_t acc = 0;
    for (int r = 0; r < 4; ++r) acc = WrapAdd(acc, WrapMul(C[r][c], v[r]));
    pOut[c] = Clamp8(WrapAdd(acc, 0x80000) >> 20);
  }
  pOut[3] = Clamp8(WrapAdd(T, 0x80000) >> 20);
}

inline void CInterpolator::SampleCubicF(const uint8_t* pSrc, int nStride, int nPixelStep,
                                        const IntRect& roi, double X, double Y,
                                        uint8_t* pOut) const {
  using namespace InterpolatorDetail;
  const int ix = static_cast<int>(X), iy = static_cast<int>(Y);
  if (!CubicInside(roi, ix, iy)) {
    SampleLinear(pSrc, nStride, nPixelStep, roi, X, Y, pOut);
    return;
  }
  const int32_t* cx = m_Kernel[KernelRow(X, ix)];
  const int32_t* cy = m_Kernel[KernelRow(Y, iy)];
  const uint8_t* block = pSrc + ptrdiff_t(iy - 1) * nStride + ptrdiff_t(ix - 1) * nPixelStep;

  // Sums run in index order, one rounding per operation, as the vector row does them.
  float S[4], C[4][3];
  for (int r = 0; r < 4; ++r) {
    const uint8_t* row = block + ptrdiff_t(r) * nStride;
    float p[4], sum = 0.0f;
    for (int k = 0; k < 4; ++k) {
      p[k] = static_cast<float>(row[k * nPixelStep + 3]) * static_cast<float>(cx[k]);
      sum += p[k];
    }
    float w[4] = {0.0f, 0.0f, 0.0f, 0.0f};
    if (TruncToInt32(sum) > 0) {
      const float f = 1024.0f / sum;
      for (int k = 0; k < 4; ++k) w[k] = std::trunc(f * p[k]);
    }
    for (int c = 0; c < 3; ++c) {
      float acc = 0.0f;
      for (int k = 0; k < 4; ++k) acc += static_cast<float>(row[k * nPixelStep + c]) * w[k];
      C[r][c] = acc;
    }
    S[r] = sum;
  }
  float q[4], T = 0.0f;
  for (int r = 0; r < 4; ++r) {
    q[r] = S[r] * static_cast<float>(cy[r]);
    T += q[r];
  }
  float v[4] = {0.0f, 0.0f, 0.0f, 0.0f};
  if (TruncToInt32(T) > 0) {
    const float g = 1024.0f / T;
    for (int r = 0; r < 4; ++r) v[r] = std::trunc(g * q[r]);
  }
  for (int c = 0; c < 3; ++c) {
    float acc = 0.0f;
    for (int r = 0; r < 4; ++r) acc += C[r][c] * v[r];
    pOut[c] = Clamp8((int64_t(TruncToInt32(acc)) + 0x80000) >> 20);
  }
  pOut[3] = Clamp8((int64_t(TruncToInt32(T)) + 0x80000) >> 20);
}

inline void CInterpolator::SampleLinear(const uint8_t* pSrc, int nStride, int nPixelStep,
                                        const IntRect& roi, double X, double Y,
                                        uint8_t* pOut) const {
  const int ix = static_cast<int>(X), iy = static_cast<int>(Y);
  // The magnitude keeps a position a hair left of or above column 0 on pixel 0.
  const int fx = static_cast<int>((std::fabs(X) - ix) * 256.0);
  const int fy = static_cast<int>((std::fabs(Y) - iy) * 256.0);
  const int gx = 256 - fx, gy = 256 - fy;
  const uint8_t* p00 = pSrc + ptrdiff_t(iy) * nStride + ptrdiff_t(ix) * nPixelStep;
  // On the last column or row the pixel stands in for its missing neighbour.
  const uint8_t* p10 = ix + 1 <= roi.r - 1 ? p00 + nPixelStep : p00;
  const ptrdiff_t down = iy + 1 <= roi.b - 1 ? nStride : 0;
  const uint8_t* p01 = p00 + down;
  const uint8_t* p11 = p10 + down;
  for (int c = 0; c < 4; ++c)
    pOut[c] = static_cast<uint8_t>(
        ((p00[c] * gx + p10[c] * fx) * gy + (p01[c] * gx + p11[c] * fx) * fy) >> 16);
}

inline void CInterpolator::SampleLinearMask(const uint8_t* pSrc, int nStride, int nPixelStep,
                                            const IntRect& roi, double X, double Y,
                                            uint8_t* pOut) const {
  const int ix = static_cast<int>(X), iy = static_cast<int>(Y);
  const int fx = static_cast<int>((std::fabs(X) - ix) * 256.0);
  const int fy = static_cast<int>((std::fabs(Y) - iy) * 256.0);
  const int gx = 256 - fx, gy = 256 - fy;
  const uint8_t* p00 = pSrc + ptrdiff_t(iy) * nStride + ptrdiff_t(ix) * nPixelStep;
  const uint8_t* p10 = ix + 1 <= roi.r - 1 ? p00 + nPixelStep : p00;
  const ptrdiff_t down = iy + 1 <= roi.b - 1 ? nStride : 0;
  const uint8_t* p01 = p00 + down;
  const uint8_t* p11 = p10 + down;
  *pOut = static_cast<uint8_t>(
      ((p00[0] * gx + p10[0] * fx) * gy + (p01[0] * gx + p11[0] * fx) * fy) >> 16);
}

inline void CInterpolator::SampleBox(const uint8_t* pSrc, int nStride, int nPixelStep,
                                     const IntRect& roi, double X, double Y, float fScale,
                                     uint8_t* pOut) const {
  using namespace InterpolatorDetail;
  // The radius in single precision. A scale that is not a positive number has no radius of
  // its own: the box shrinks to the pixel itself. A vanishing scale is held to a radius that
  // still fits the arithmetic; the cut at the region bounds the box anyway.
  int n = 0;
  if (fScale > 0.0f) {
    const float radius = 1.0f / (fScale + fScale) + 0.5f;
    n = radius < 1073741824.0f ? static_cast<int>(radius) : 1073741824;
  }
  const int ix = static_cast<int>(X), iy = static_cast<int>(Y);
  const int64_t left = roi.l > int64_t(ix) - n ? int64_t(ix) - roi.l : n;
  const int64_t right = int64_t(roi.r) - 1 < int64_t(ix) + n ? int64_t(roi.r) - 1 - ix : n;
  const int64_t up = roi.t > int64_t(iy) - n ? int64_t(iy) - roi.t : n;
  const int64_t down = int64_t(roi.b) - 1 < int64_t(iy) + n ? int64_t(roi.b) - 1 - iy : n;
  const int64_t nx = left + right + 1, ny = up + down + 1;
  if (nx <= 0 || ny <= 0) {
    pOut[0] = pOut[1] = pOut[2] = pOut[3] = 0;
    return;
  }
  int64_t A = 0, sum[3] = {0, 0, 0};
  const uint8_t* row0 = pSrc + ptrdiff_t(iy - up) * nStride + ptrdiff_t(ix - left) * nPixelStep;
  for (int64_t j = 0; j < ny; ++j) {
    const uint8_t* p = row0 + ptrdiff_t(j) * nStride;
    for (int64_t i = 0; i < nx; ++i, p += nPixelStep) {
      const int a = p[3];
      A += a;
      for (int c = 0; c < 3; ++c) sum[c] += p[c] * a;
    }
  }
  // Colour is divided by the summed alpha, so transparent pixels lend no colour; alpha is the
  // mean over the box as cut at the region, so a box at a corner is not darkened.
  const int64_t divisor = A != 0 ? A : 1;
  for (int c = 0; c < 3; ++c) pOut[c] = Clamp8(sum[c] / divisor);
  pOut[3] = Clamp8(A / (nx * ny));
}

}  // namespace Orvel
