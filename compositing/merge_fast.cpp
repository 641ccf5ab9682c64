// The merge modes and the inversion on vectors: one four-byte pixel per 32-bit lane, alpha in
// the top byte, every branch of a mode taken as a lane mask.

#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS \
  (HWY_SSSE3 | HWY_EMU128 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#endif

#include "compositing/merge_kernels.h"
#include "orvel/compositing_params.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "compositing/merge_fast.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Orvel {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;
using DU = hn::ScalableTag<uint32_t>;
using VU = hn::Vec<DU>;

// New destination pixels for source s and destination d; sa and da are their alphas, M the
// source's full scale and c the merge colour.
struct AddOp {
  template <class D, class V = hn::Vec<D>>
  HWY_INLINE V operator()(D du, V, V d, V sa, V da, V M, V c) const {
    const auto take = hn::And(hn::Ne(da, M), hn::Ne(sa, hn::Zero(du)));
    return hn::IfThenElse(take, hn::Or(c, hn::ShiftLeft<24>(hn::Max(da, sa))), d);
  }
};
struct SubtractOp {
  // d.a - s.a, at least 0; where either is 0 this leaves d.a as it is.
  template <class D, class V = hn::Vec<D>>
  HWY_INLINE V operator()(D du, V, V d, V sa, V da, V, V) const {
    const V na = hn::Sub(da, hn::Min(da, sa));
    return hn::Or(hn::And(d, hn::Set(du, 0x00FFFFFFu)), hn::ShiftLeft<24>(na));
  }
};
struct IntersectOp {
  template <class D, class V = hn::Vec<D>>
  HWY_INLINE V operator()(D du, V, V d, V sa, V da, V M, V) const {
    const hn::RebindToSigned<D> di;
    const auto t = hn::Sub(hn::Add(hn::BitCast(di, da), hn::BitCast(di, sa)), hn::BitCast(di, M));
    const V kept = hn::BitCast(du, hn::Max(t, hn::Zero(di)));
    const auto both = hn::And(hn::Ne(da, hn::Zero(du)), hn::Ne(sa, hn::Zero(du)));
    const V na = hn::IfThenElseZero(both, kept);
    return hn::Or(hn::And(d, hn::Set(du, 0x00FFFFFFu)), hn::ShiftLeft<24>(na));
  }
};
struct ExcludeOp {
  template <class D, class V = hn::Vec<D>>
  HWY_INLINE V operator()(D du, V, V d, V sa, V da, V, V c) const {
    const V diff = hn::Sub(hn::Max(da, sa), hn::Min(da, sa));
    const V inDst = hn::Or(hn::And(d, hn::Set(du, 0x00FFFFFFu)), hn::ShiftLeft<24>(diff));
    const V fresh = hn::Or(c, hn::ShiftLeft<24>(sa));
    const V merged = hn::IfThenElse(hn::Ne(da, hn::Zero(du)), inDst, fresh);
    return hn::IfThenElse(hn::Ne(sa, hn::Zero(du)), merged, d);
  }
};
struct ReplaceOp {
  template <class D, class V = hn::Vec<D>>
  HWY_INLINE V operator()(D du, V, V d, V sa, V, V, V c) const {
    return hn::IfThenElse(hn::Ne(sa, hn::Zero(du)), hn::Or(c, hn::ShiftLeft<24>(sa)), d);
  }
};

template <class Op>
void MergeRect(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride,
               int width, int rows, uint32_t maxValue, uint32_t colour) {
  const DU du;
  const hn::CappedTag<uint32_t, 1> d1;
  const int N = static_cast<int>(hn::Lanes(du));
  const Op op;
  const VU M = hn::Set(du, maxValue), c = hn::Set(du, colour);
  const auto M1 = hn::Set(d1, maxValue);
  const auto c1 = hn::Set(d1, colour);
  for (int y = 0; y < rows; ++y) {
    const uint32_t* s = reinterpret_cast<const uint32_t*>(src + y * srcStride);
    uint32_t* d = reinterpret_cast<uint32_t*>(dst + y * dstStride);
    int x = 0;
    for (; x + N <= width; x += N) {
      const VU sv = hn::LoadU(du, s + x), dv = hn::LoadU(du, d + x);
      hn::StoreU(op(du, sv, dv, hn::ShiftRight<24>(sv), hn::ShiftRight<24>(dv), M, c), du, d + x);
    }
    // The rest of the row one lane at a time, with the same arithmetic.
    for (; x < width; ++x) {
      const auto sv = hn::LoadU(d1, s + x), dv = hn::LoadU(d1, d + x);
      hn::StoreU(op(d1, sv, dv, hn::ShiftRight<24>(sv), hn::ShiftRight<24>(dv), M1, c1), d1, d + x);
    }
  }
}

void MergeRect8(int mode, const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst,
                ptrdiff_t dstStride, int width, int rows, uint32_t maxValue, uint32_t colour) {
  switch (mode) {
    case MERGE_ADD:
      return MergeRect<AddOp>(src, srcStride, dst, dstStride, width, rows, maxValue, colour);
    case MERGE_SUBTRACT:
      return MergeRect<SubtractOp>(src, srcStride, dst, dstStride, width, rows, maxValue, colour);
    case MERGE_INTERSECT:
      return MergeRect<IntersectOp>(src, srcStride, dst, dstStride, width, rows, maxValue, colour);
    case MERGE_EXCLUDE:
      return MergeRect<ExcludeOp>(src, srcStride, dst, dstStride, width, rows, maxValue, colour);
    case MERGE_REPLACE:
      return MergeRect<ReplaceOp>(src, srcStride, dst, dstStride, width, rows, maxValue, colour);
    default:
      return;
  }
}

void ClearAlphaRect8(uint8_t* dst, ptrdiff_t stride, int width, int rows) {
  const DU du;
  const int N = static_cast<int>(hn::Lanes(du));
  const VU keep = hn::Set(du, 0x00FFFFFFu);
  for (int y = 0; y < rows; ++y) {
    uint32_t* d = reinterpret_cast<uint32_t*>(dst + y * stride);
    int x = 0;
    for (; x + N <= width; x += N) hn::StoreU(hn::And(hn::LoadU(du, d + x), keep), du, d + x);
    for (; x < width; ++x) reinterpret_cast<uint8_t*>(d + x)[3] = 0;
  }
}

void XorRect(uint8_t* p, ptrdiff_t stride, size_t rowBytes, int rows, const uint8_t* pattern) {
  const hn::ScalableTag<uint8_t> d8;
  const size_t N = hn::Lanes(d8);
  // Vectors are whole multiples of 16 bytes, so the pattern lines up in every one of them.
  const auto pat = hn::LoadDup128(d8, pattern);
  for (int y = 0; y < rows; ++y) {
    uint8_t* row = p + y * stride;
    size_t i = 0;
    for (; i + N <= rowBytes; i += N) hn::StoreU(hn::Xor(hn::LoadU(d8, row + i), pat), d8, row + i);
    for (; i < rowBytes; ++i) row[i] ^= pattern[i % 16];
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Orvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel {

HWY_EXPORT(MergeRect8);
HWY_EXPORT(ClearAlphaRect8);
HWY_EXPORT(XorRect);

void FastMergeRect8(int mode, const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst,
                    ptrdiff_t dstStride, int width, int rows, uint32_t maxValue, uint32_t colour) {
  HWY_DYNAMIC_DISPATCH(MergeRect8)
  (mode, src, srcStride, dst, dstStride, width, rows, maxValue, colour);
}

void FastClearAlphaRect8(uint8_t* dst, ptrdiff_t stride, int width, int rows) {
  HWY_DYNAMIC_DISPATCH(ClearAlphaRect8)(dst, stride, width, rows);
}

void FastXorRect(uint8_t* p, ptrdiff_t stride, size_t rowBytes, int rows,
                 const uint8_t pattern[16]) {
  HWY_DYNAMIC_DISPATCH(XorRect)(p, stride, rowBytes, rows, pattern);
}

}  // namespace Orvel
#endif  // HWY_ONCE
