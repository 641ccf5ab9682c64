// The fast workers of the mask tool. The column pass of the blur and ApplyMask run on
// vectors through Highway. The row pass, whose running sum is sequential along a row, turns
// 8-bit bands of 16 rows on their side so that the rows share a vector, and keeps four 16-bit
// rows in flight at once. All of them divide exactly, so they give the values of the plain
// form (the fast blur may be one level off the plain one; this one never is).

// Only the instruction sets worth having are compiled, to keep the build short; the scalar
// target is the fallback that Highway always keeps.
#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS \
  (HWY_SSSE3 | HWY_EMU128 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#endif

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "compositing/mask_kernels.h"

// Scalar helpers shared by every target; this file is read once per target, they only once.
#ifndef ORVEL_MASK_FAST_SHARED
#define ORVEL_MASK_FAST_SHARED
namespace Orvel {
namespace mask_fast {

// K rows side by side: the K running sums are independent, so the processor overlaps them
// instead of waiting on one chain of additions.
template <int K, class T>
void blurRowsK(const T* in, T* out, ptrdiff_t stride, int w, int r, const BlurDivider& div) {
  const T* ip[K];
  T* op[K];
  uint32_t s[K];
  for (int k = 0; k < K; ++k) {
    ip[k] = in + k * stride;
    op[k] = out + k * stride;
    s[k] = static_cast<uint32_t>(r);  // + r: the quotient is then the rounded mean
    for (int i = 0; i < r; ++i) s[k] += ip[k][i];
  }
  int i = 0;
  for (; i <= r; ++i)
    for (int k = 0; k < K; ++k) {
      s[k] += ip[k][i + r];
      op[k][i] = static_cast<T>(div(s[k]));
    }
  for (; i < w - r; ++i)
    for (int k = 0; k < K; ++k) {
      s[k] += ip[k][i + r];
      s[k] -= ip[k][i - r - 1];
      op[k][i] = static_cast<T>(div(s[k]));
    }
  for (; i < w; ++i)
    for (int k = 0; k < K; ++k) {
      s[k] -= ip[k][i - r - 1];
      op[k][i] = static_cast<T>(div(s[k]));
    }
}

// The row pass with its copy, in the plain order: each row is copied from src to dst, then blurred
// from dst back into src.
template <class T>
void copyAndBlurRows(T* src, T* dst, ptrdiff_t stride, int w, int y0, int y1, int r) {
  if (y1 <= y0) return;
  std::memcpy(dst + y0 * stride, src + y0 * stride, size_t(y1 - y0) * size_t(stride) * sizeof(T));
  const int d = 2 * r + 1;
  if (d > BlurDivider::kMaxExactDivisor) {
    for (int y = y0; y < y1; ++y) BlurLinePlain(dst + y * stride, 1, src + y * stride, 1, w, r);
    return;
  }
  const BlurDivider div(d);
  int y = y0;
  for (; y + 4 <= y1; y += 4) blurRowsK<4>(dst + y * stride, src + y * stride, stride, w, r, div);
  for (; y < y1; ++y) blurRowsK<1>(dst + y * stride, src + y * stride, stride, w, r, div);
}

// Up to this divisor an 8-bit mean rounds exactly in single precision: the product's error
// stays below 4e-5 while S / d + 0.5 lies at least 1 / (2d) from every integer (d is odd).
constexpr int kMaxFloatDivisor8 = 8191;

}  // namespace mask_fast
}  // namespace Orvel
#endif  // ORVEL_MASK_FAST_SHARED

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "compositing/mask_fast.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Orvel {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// Columns per block of running sums: 4 KiB of sums stay in the first-level cache while the
// block walks down all rows.
constexpr int kColumnBlock = 1024;

// floor(N / d) for 0 <= N < 2^31, from a single-precision estimate and one correction. The
// estimate is off by less than 0.02 for every sum a 16-bit line can reach, so its truncation
// is the quotient or one of its neighbours, and the remainder tells which.
template <class DI, class DF>
HWY_INLINE hn::Vec<DI> DivideExact(DI di, DF df, hn::Vec<DI> n, hn::Vec<DF> inv, hn::Vec<DI> d,
                                   hn::Vec<DI> dMinus1) {
  auto q = hn::ConvertTo(di, hn::Mul(hn::ConvertTo(df, n), inv));
  const auto rem = hn::Sub(n, hn::Mul(q, d));
  q = hn::Sub(q, hn::VecFromMask(di, hn::Gt(rem, dMinus1)));       // rem >= d: one more
  q = hn::Add(q, hn::VecFromMask(di, hn::Lt(rem, hn::Zero(di))));  // rem < 0: one less
  return q;
}

// The rounded mean of 8-bit sums in single precision (exact up to kMaxFloatDivisor8).
template <class DI, class DF>
HWY_INLINE hn::Vec<DI> RoundedMean(DI di, DF df, hn::Vec<DI> s, hn::Vec<DF> inv, hn::Vec<DF> half) {
  return hn::ConvertTo(di, hn::Add(hn::Mul(hn::ConvertTo(df, s), inv), half));
}

// bFloat: 8-bit sums with a divisor up to kMaxFloatDivisor8, rounded in single precision;
// otherwise the sums carry + r and are divided exactly.
template <class T, bool bFloat>
void BlurColumnsT(const T* in, T* out, ptrdiff_t stride, int x0, int x1, int h, int r) {
  const hn::ScalableTag<int32_t> di;
  const hn::Rebind<float, decltype(di)> df;
  const hn::Rebind<T, decltype(di)> dt;
  const int N = static_cast<int>(hn::Lanes(di));
  const int d = 2 * r + 1;
  const auto vd = hn::Set(di, d);
  const auto vdm1 = hn::Set(di, d - 1);
  const auto inv = hn::Set(df, 1.0f / static_cast<float>(d));
  const auto half = hn::Set(df, 0.5f);
  const auto start = hn::Set(di, bFloat ? 0 : r);
  auto mean = [&](hn::Vec<decltype(di)> a) {
    if constexpr (bFloat)
      return RoundedMean(di, df, a, inv, half);
    else
      return DivideExact(di, df, a, inv, vd, vdm1);
  };

  HWY_ALIGN int32_t acc[kColumnBlock];
  const int xVecEnd = x0 + ((x1 - x0) / N) * N;
  for (int cx = x0; cx < xVecEnd; cx += kColumnBlock) {
    const int cw = std::min(kColumnBlock, xVecEnd - cx);
    for (int j = 0; j < cw; j += N) hn::Store(start, di, acc + j);
    for (int k = 0; k < r; ++k) {
      const T* row = in + k * stride + cx;
      for (int j = 0; j < cw; j += N)
        hn::Store(hn::Add(hn::Load(di, acc + j), hn::PromoteTo(di, hn::LoadU(dt, row + j))), di,
                  acc + j);
    }
    // The three parts of a line: one enters, one enters and one leaves, one only leaves.
    int y = 0;
    for (; y <= r; ++y) {
      const T* add = in + (y + r) * stride + cx;
      T* o = out + y * stride + cx;
      for (int j = 0; j < cw; j += N) {
        auto a = hn::Add(hn::Load(di, acc + j), hn::PromoteTo(di, hn::LoadU(dt, add + j)));
        hn::Store(a, di, acc + j);
        hn::StoreU(hn::DemoteTo(dt, mean(a)), dt, o + j);
      }
    }
    for (; y < h - r; ++y) {
      const T* add = in + (y + r) * stride + cx;
      const T* sub = in + (y - r - 1) * stride + cx;
      T* o = out + y * stride + cx;
      for (int j = 0; j < cw; j += N) {
        auto a = hn::Add(hn::Load(di, acc + j), hn::PromoteTo(di, hn::LoadU(dt, add + j)));
        a = hn::Sub(a, hn::PromoteTo(di, hn::LoadU(dt, sub + j)));
        hn::Store(a, di, acc + j);
        hn::StoreU(hn::DemoteTo(dt, mean(a)), dt, o + j);
      }
    }
    for (; y < h; ++y) {
      const T* sub = in + (y - r - 1) * stride + cx;
      T* o = out + y * stride + cx;
      for (int j = 0; j < cw; j += N) {
        auto a = hn::Sub(hn::Load(di, acc + j), hn::PromoteTo(di, hn::LoadU(dt, sub + j)));
        hn::Store(a, di, acc + j);
        hn::StoreU(hn::DemoteTo(dt, mean(a)), dt, o + j);
      }
    }
  }
  // The few columns that do not fill a vector.
  for (int x = xVecEnd; x < x1; ++x) BlurLinePlain(in + x, stride, out + x, stride, h, r);
}

void BlurColumns8(const uint8_t* in, uint8_t* out, ptrdiff_t stride, int x0, int x1, int h, int r) {
  if (2 * r + 1 <= mask_fast::kMaxFloatDivisor8)
    BlurColumnsT<uint8_t, true>(in, out, stride, x0, x1, h, r);
  else
    BlurColumnsT<uint8_t, false>(in, out, stride, x0, x1, h, r);
}

void BlurColumns16(const uint16_t* in, uint16_t* out, ptrdiff_t stride, int x0, int x1, int h,
                   int r) {
  BlurColumnsT<uint16_t, false>(in, out, stride, x0, x1, h, r);
}

// ---- the 8-bit row pass in bands of 16 rows ----
//
// A band is turned on its side in tiles of 16 x 16 bytes, so that its 16 rows lie side by side
// in the lanes of a vector; the running sums then walk along the band like the column pass
// walks down the image, and the results are turned back. The band is read from src before
// anything of it is written, so src itself serves as the copy that the row pass reads; dst
// receives only the padding of the rows, since the column pass writes everything else of it.

#if HWY_TARGET != HWY_SCALAR
using D16 = hn::Full128<uint8_t>;

// Four rounds of interleaving row k with row k + 8 transpose a 16 x 16 byte tile: each round
// moves one bit of the column index into the row index.
HWY_INLINE void Transpose16(hn::Vec<D16>* v) {
  const D16 d;
  for (int round = 0; round < 4; ++round) {
    hn::Vec<D16> t[16];
    for (int k = 0; k < 8; ++k) {
      t[2 * k] = hn::InterleaveLower(d, v[k], v[k + 8]);
      t[2 * k + 1] = hn::InterleaveUpper(d, v[k], v[k + 8]);
    }
    for (int k = 0; k < 16; ++k) v[k] = t[k];
  }
}

// Rows 0..15 of `rows` (pitch `stride`) into `side` (16 bytes per column), or back.
void ToSide(const uint8_t* rows, ptrdiff_t stride, int w, uint8_t* side) {
  const D16 d;
  int x = 0;
  for (; x + 16 <= w; x += 16) {
    hn::Vec<D16> v[16];
    for (int k = 0; k < 16; ++k) v[k] = hn::LoadU(d, rows + k * stride + x);
    Transpose16(v);
    for (int j = 0; j < 16; ++j) hn::Store(v[j], d, side + (x + j) * 16);
  }
  for (; x < w; ++x)
    for (int k = 0; k < 16; ++k) side[x * 16 + k] = rows[k * stride + x];
}

void FromSide(const uint8_t* side, int w, uint8_t* rows, ptrdiff_t stride) {
  const D16 d;
  int x = 0;
  for (; x + 16 <= w; x += 16) {
    hn::Vec<D16> v[16];
    for (int j = 0; j < 16; ++j) v[j] = hn::Load(d, side + (x + j) * 16);
    Transpose16(v);
    for (int k = 0; k < 16; ++k) hn::StoreU(v[k], d, rows + k * stride + x);
  }
  for (; x < w; ++x)
    for (int k = 0; k < 16; ++k) rows[k * stride + x] = side[x * 16 + k];
}

// The running sums of 16 rows at once over `in` (16 bytes per column) into `out`.
void BlurSide(const uint8_t* in, uint8_t* out, int w, int r) {
  const hn::CappedTag<int32_t, 16> di;
  const hn::Rebind<float, decltype(di)> df;
  const hn::Rebind<uint8_t, decltype(di)> du8;
  const int N = static_cast<int>(hn::Lanes(di));
  const int V = 16 / N;
  const auto inv = hn::Set(df, 1.0f / static_cast<float>(2 * r + 1));
  const auto half = hn::Set(df, 0.5f);
  hn::Vec<decltype(di)> acc[4];
  for (int v = 0; v < V; ++v) acc[v] = hn::Zero(di);
  auto column = [&](const uint8_t* p, int v) {
    return hn::PromoteTo(di, hn::LoadU(du8, p + v * N));
  };
  auto emit = [&](int x) {
    for (int v = 0; v < V; ++v)
      hn::StoreU(hn::DemoteTo(du8, RoundedMean(di, df, acc[v], inv, half)), du8,
                 out + x * 16 + v * N);
  };
  for (int x = 0; x < r; ++x)
    for (int v = 0; v < V; ++v) acc[v] = hn::Add(acc[v], column(in + x * 16, v));
  int x = 0;
  for (; x <= r; ++x) {
    for (int v = 0; v < V; ++v) acc[v] = hn::Add(acc[v], column(in + (x + r) * 16, v));
    emit(x);
  }
  for (; x < w - r; ++x) {
    for (int v = 0; v < V; ++v)
      acc[v] =
          hn::Sub(hn::Add(acc[v], column(in + (x + r) * 16, v)), column(in + (x - r - 1) * 16, v));
    emit(x);
  }
  for (; x < w; ++x) {
    for (int v = 0; v < V; ++v) acc[v] = hn::Sub(acc[v], column(in + (x - r - 1) * 16, v));
    emit(x);
  }
}
#endif  // HWY_TARGET != HWY_SCALAR

void RowPass8(uint8_t* src, uint8_t* dst, ptrdiff_t stride, int w, int y0, int y1, int r) {
  int y = y0;
#if HWY_TARGET != HWY_SCALAR
  if (2 * r + 1 <= mask_fast::kMaxFloatDivisor8 && y1 - y0 >= 16) {
    // Two sideways copies of a band; without the memory the rows go the plain way.
    std::unique_ptr<uint8_t[]> side(new (std::nothrow) uint8_t[size_t(w) * 32 + 64]);
    if (side) {
      uint8_t* in = reinterpret_cast<uint8_t*>((reinterpret_cast<uintptr_t>(side.get()) + 63) &
                                               ~uintptr_t(63));
      uint8_t* out = in + size_t(w) * 16;
      for (; y + 16 <= y1; y += 16) {
        uint8_t* band = src + y * stride;
        if (stride > w)
          for (int k = 0; k < 16; ++k)
            std::memcpy(dst + (y + k) * stride + w, band + k * stride + w, size_t(stride - w));
        ToSide(band, stride, w, in);
        BlurSide(in, out, w, r);
        FromSide(out, w, band, stride);
      }
    }
  }
#endif
  mask_fast::copyAndBlurRows(src, dst, stride, w, y, y1, r);
}

// D(x) = x / 255 truncated, exact for 0 <= x <= 65535.
template <class D>
HWY_INLINE hn::Vec<D> Div255(D d, hn::Vec<D> x) {
  return hn::ShiftRight<23>(hn::Mul(x, hn::Set(d, 0x8081u)));
}

void ApplyMaskRows(uint8_t* obj, ptrdiff_t objStride, const uint8_t* mask, ptrdiff_t maskStride,
                   int width, int rows, int maskStep) {
  const hn::ScalableTag<uint32_t> du;
  const hn::Rebind<uint8_t, decltype(du)> du8;
  const int N = static_cast<int>(hn::Lanes(du));
  const auto colourBits = hn::Set(du, 0x00FFFFFFu);
  const auto low8 = hn::Set(du, 0xFFu);
  const auto k255 = hn::Set(du, 255u);
  for (int y = 0; y < rows; ++y) {
    uint8_t* o = obj + y * objStride;
    const uint8_t* m = mask + y * maskStride;
    int x = 0;
    if (maskStep == 1) {
      for (; x + N <= width; x += N) {
        uint32_t* po = reinterpret_cast<uint32_t*>(o + 4 * x);
        const auto px = hn::LoadU(du, po);
        const auto mv = hn::PromoteTo(du, hn::LoadU(du8, m + x));
        const auto a = Div255(du, hn::Mul(hn::ShiftRight<24>(px), mv));
        hn::StoreU(hn::Or(hn::And(px, colourBits), hn::ShiftLeft<24>(a)), du, po);
      }
      for (; x < width; ++x) {
        uint8_t& a = o[4 * x + 3];
        a = static_cast<uint8_t>((a * m[x] * 0x8081u) >> 23);
      }
    } else {
      for (; x + N <= width; x += N) {
        uint32_t* po = reinterpret_cast<uint32_t*>(o + 4 * x);
        const auto px = hn::LoadU(du, po);
        const auto mp = hn::LoadU(du, reinterpret_cast<const uint32_t*>(m + 4 * x));
        const auto sum = hn::Add(hn::Add(hn::And(mp, low8), hn::And(hn::ShiftRight<8>(mp), low8)),
                                 hn::And(hn::ShiftRight<16>(mp), low8));
        // (B + G + R) / 3 for sums up to 765.
        const auto g = hn::ShiftRight<17>(hn::Mul(sum, hn::Set(du, 0xAAABu)));
        const auto ma = hn::ShiftRight<24>(mp);
        const auto m2 = hn::Sub(hn::Add(Div255(du, hn::Mul(g, ma)), k255), ma);
        const auto a = Div255(du, hn::Mul(hn::ShiftRight<24>(px), m2));
        hn::StoreU(hn::Or(hn::And(px, colourBits), hn::ShiftLeft<24>(a)), du, po);
      }
      for (; x < width; ++x) {
        const uint8_t* mp = m + 4 * x;
        uint32_t g = (uint32_t(mp[0]) + mp[1] + mp[2]) / 3;
        uint32_t ma = mp[3];
        uint32_t m2 = (g * ma) / 255 - ma + 255;
        uint8_t& a = o[4 * x + 3];
        a = static_cast<uint8_t>((a * m2) / 255);
      }
    }
  }
}

const char* TargetNameHere() { return hwy::TargetName(HWY_TARGET); }

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Orvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel {

HWY_EXPORT(BlurColumns8);
HWY_EXPORT(BlurColumns16);
HWY_EXPORT(RowPass8);
HWY_EXPORT(ApplyMaskRows);
HWY_EXPORT(TargetNameHere);

namespace {

// The vector column pass keeps its sums in 32-bit lanes: a 16-bit line fits up to this
// divisor; beyond it (images over 32766 pixels in both directions) the plain line serves.
constexpr int kMaxVectorDivisor16 = 32766;

}  // namespace

void FastBlurRowPass8(uint8_t* src, uint8_t* dst, ptrdiff_t stride, int w, int y0, int y1, int r) {
  HWY_DYNAMIC_DISPATCH(RowPass8)(src, dst, stride, w, y0, y1, r);
}

void FastBlurRowPass16(uint16_t* src, uint16_t* dst, ptrdiff_t stride, int w, int y0, int y1,
                       int r) {
  mask_fast::copyAndBlurRows(src, dst, stride, w, y0, y1, r);
}

void FastBlurColumns8(const uint8_t* in, uint8_t* out, ptrdiff_t stride, int x0, int x1, int h,
                      int r) {
  HWY_DYNAMIC_DISPATCH(BlurColumns8)(in, out, stride, x0, x1, h, r);
}

void FastBlurColumns16(const uint16_t* in, uint16_t* out, ptrdiff_t stride, int x0, int x1, int h,
                       int r) {
  if (2 * r + 1 > kMaxVectorDivisor16) {
    for (int x = x0; x < x1; ++x) BlurLinePlain(in + x, stride, out + x, stride, h, r);
    return;
  }
  HWY_DYNAMIC_DISPATCH(BlurColumns16)(in, out, stride, x0, x1, h, r);
}

void FastApplyMaskRows(uint8_t* obj, ptrdiff_t objStride, const uint8_t* mask, ptrdiff_t maskStride,
                       int width, int rows, int maskStep) {
  HWY_DYNAMIC_DISPATCH(ApplyMaskRows)(obj, objStride, mask, maskStride, width, rows, maskStep);
}

const char* FastMaskTargetName() { return HWY_DYNAMIC_DISPATCH(TargetNameHere)(); }

std::vector<int64_t> FastMaskTargets() {
  std::vector<int64_t> out;
  for (int64_t t = hwy::SupportedTargets() & HWY_TARGETS; t != 0; t &= t - 1) out.push_back(t & -t);
  return out;
}

}  // namespace Orvel
#endif  // HWY_ONCE
