// The fast row's block sampler: eight destination pixels are mapped back into the source one
// by one, and those that take a cubic sample inside the source (the great majority) are
// filtered together, one vector lane each. Every lane runs the single-precision form of the
// cubic filter with exactly the operations, and the order of additions, of the scalar form,
// so that a sample is the same whether it falls in a block or at a row's end, and on every
// instruction set. The rest (linear fallback at the edges, box averages for strong
// reductions) takes the scalar routines.

#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS \
  (HWY_SSSE3 | HWY_EMU128 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#endif

#include <cstring>

#include "compositing/transform_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "compositing/transform_fast.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Orvel {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// Up to eight lanes: a block is eight pixels, and a wider vector would only carry idle lanes.
using DF = hn::CappedTag<float, 8>;
using DI = hn::RebindToSigned<DF>;
using DU = hn::RebindToUnsigned<DF>;
using VF = hn::Vec<DF>;
using VI = hn::Vec<DI>;

// (v + 0x80000) >> 20 limited to 0..255, for v already truncated to 32 bits. Values past the
// clamp bounds give 0 or 255 either way; the clamp keeps the addition inside 32 bits.
HWY_INLINE VI roundedByte(DI di, VI v) {
  v = hn::Min(hn::Max(v, hn::Set(di, -(1 << 24))), hn::Set(di, 1 << 28));
  v = hn::ShiftRight<20>(hn::Add(v, hn::Set(di, 0x80000)));
  return hn::Min(hn::Max(v, hn::Zero(di)), hn::Set(di, 255));
}

// Lanes [first, first + Lanes) of the cubic filter. off: byte offset of each lane's top-left
// pixel (ix - 1, iy - 1); rowX, rowY: kernel rows. out: packed b, g, r, a.
void cubicPass(const uint8_t* pSrc, int nStride, int nPixelStep, const int32_t* kernel,
               const int32_t* off, const int32_t* rowX, const int32_t* rowY, uint32_t* out) {
  const DF df;
  const DI di;
  const DU du;
  const int32_t* base = reinterpret_cast<const int32_t*>(pSrc);
  const VI vOff = hn::LoadU(di, off);
  const VI vRowX = hn::ShiftLeft<2>(hn::LoadU(di, rowX));
  const VI vRowY = hn::ShiftLeft<2>(hn::LoadU(di, rowY));
  VF cx[4], cy[4];
  for (int k = 0; k < 4; ++k) {
    cx[k] = hn::ConvertTo(df, hn::GatherIndex(di, kernel + k, vRowX));
    cy[k] = hn::ConvertTo(df, hn::GatherIndex(di, kernel + k, vRowY));
  }
  const VI byteMask = hn::Set(di, 0xFF);
  const VF k1024 = hn::Set(df, 1024.0f);

  VF S[4], C[4][3];
  for (int r = 0; r < 4; ++r) {
    const VI rowOff = hn::Add(vOff, hn::Set(di, r * nStride));
    VI pix[4];
    VF p[4];
    for (int k = 0; k < 4; ++k) {
      pix[k] = hn::GatherOffset(di, base, hn::Add(rowOff, hn::Set(di, k * nPixelStep)));
      const VF alpha =
          hn::ConvertTo(df, hn::BitCast(di, hn::ShiftRight<24>(hn::BitCast(du, pix[k]))));
      p[k] = hn::Mul(alpha, cx[k]);
    }
    const VF sum = hn::Add(hn::Add(hn::Add(p[0], p[1]), p[2]), p[3]);
    const auto live = hn::RebindMask(df, hn::Gt(hn::ConvertTo(di, sum), hn::Zero(di)));
    const VF f = hn::Div(k1024, sum);
    VF w[4];
    for (int k = 0; k < 4; ++k) w[k] = hn::IfThenElseZero(live, hn::Trunc(hn::Mul(f, p[k])));
    for (int c = 0; c < 3; ++c) {
      VF term[4];
      for (int k = 0; k < 4; ++k) {
        VI ch = pix[k];
        if (c == 1) ch = hn::ShiftRight<8>(ch);
        if (c == 2) ch = hn::ShiftRight<16>(ch);
        term[k] = hn::Mul(hn::ConvertTo(df, hn::And(ch, byteMask)), w[k]);
      }
      C[r][c] = hn::Add(hn::Add(hn::Add(term[0], term[1]), term[2]), term[3]);
    }
    S[r] = sum;
  }
  VF q[4];
  for (int r = 0; r < 4; ++r) q[r] = hn::Mul(S[r], cy[r]);
  const VF T = hn::Add(hn::Add(hn::Add(q[0], q[1]), q[2]), q[3]);
  const VI iT = hn::ConvertTo(di, T);
  const auto liveT = hn::RebindMask(df, hn::Gt(iT, hn::Zero(di)));
  const VF g = hn::Div(k1024, T);
  VF v[4];
  for (int r = 0; r < 4; ++r) v[r] = hn::IfThenElseZero(liveT, hn::Trunc(hn::Mul(g, q[r])));
  VI packed = hn::ShiftLeft<24>(roundedByte(di, iT));
  for (int c = 0; c < 3; ++c) {
    VF acc = hn::Mul(C[0][c], v[0]);
    for (int r = 1; r < 4; ++r) acc = hn::Add(acc, hn::Mul(C[r][c], v[r]));
    VI byte = roundedByte(di, hn::ConvertTo(di, acc));
    if (c == 1) byte = hn::ShiftLeft<8>(byte);
    if (c == 2) byte = hn::ShiftLeft<16>(byte);
    packed = hn::Or(packed, byte);
  }
  hn::StoreU(hn::BitCast(du, packed), du, out);
}

// n cubic samples (n <= 8); the arrays hold at least the lanes the passes read.
void cubicLanes(const uint8_t* pSrc, int nStride, int nPixelStep, const int32_t* kernel,
                const int32_t* off, const int32_t* rowX, const int32_t* rowY, uint32_t* out,
                int n) {
  const int lanes = static_cast<int>(hn::Lanes(DF()));
  for (int first = 0; first < n; first += lanes)
    cubicPass(pSrc, nStride, nPixelStep, kernel, off + first, rowX + first, rowY + first,
              out + first);
}

using DD = hn::CappedTag<double, 8>;
using DI32H = hn::Rebind<int32_t, DD>;

// The mapping of a block: positions, the range test, the kernel rows and the choice of filter
// for the eight pixels, with the operations of TransformSampler::Map and LocalScale lane by
// lane.
struct BlockSites {
  alignas(64) double X[8], Y[8];
  alignas(32) int32_t valid[8], ix[8], iy[8], rowX[8], rowY[8];
  alignas(32) float scale[8];
  alignas(32) int32_t off[8];  // byte offset of each block's top-left pixel, when allCubic
  bool allCubic;               // every pixel takes the cubic filter inside the region
};

void mapBlock(const TransformSampler& s, const TransformSampler::Row& row, int x, BlockSites& b) {
  const DD dd;
  const DI32H di;
  const double* inv = s.inv;
  const auto near = [&](hn::Vec<DD> v, double c, double tol) {
    return hn::And(hn::Gt(v, hn::Set(dd, c - tol)), hn::Lt(v, hn::Set(dd, c + tol)));
  };
  const size_t n = hn::Lanes(dd);
  for (size_t p = 0; p < 8; p += n) {
    const auto xv = hn::Iota(dd, double(x) + double(p));
    const auto rD = hn::Div(hn::Set(dd, 1.0),
                            hn::Add(hn::Set(dd, row.divisor), hn::Mul(hn::Set(dd, inv[3]), xv)));
    auto X = hn::Mul(hn::Add(hn::Set(dd, row.numX), hn::Mul(hn::Set(dd, inv[0]), xv)), rD);
    auto Y = hn::Mul(hn::Add(hn::Set(dd, row.numY), hn::Mul(hn::Set(dd, inv[1]), xv)), rD);
    X = hn::IfThenElse(near(X, s.L, 0.0001), hn::Set(dd, s.L), X);
    Y = hn::IfThenElse(near(Y, s.T, 0.0001), hn::Set(dd, s.T), Y);
    X = hn::IfThenElse(near(X, s.R, 0.0001), hn::Set(dd, s.R - 1.0), X);
    Y = hn::IfThenElse(near(Y, s.B, 0.0001), hn::Set(dd, s.B - 1.0), Y);
    const double lastX = s.R - 1.0, lastY = s.B - 1.0;
    const auto inside =
        hn::And(hn::And(hn::Or(near(X, s.L, 0.001), hn::Gt(X, hn::Set(dd, s.L))),
                        hn::Or(near(X, lastX, 0.001), hn::Lt(X, hn::Set(dd, lastX)))),
                hn::And(hn::Or(near(Y, s.T, 0.001), hn::Gt(Y, hn::Set(dd, s.T))),
                        hn::Or(near(Y, lastY, 0.001), hn::Lt(Y, hn::Set(dd, lastY)))));
    hn::Store(X, dd, b.X + p);
    hn::Store(Y, dd, b.Y + p);
    // Outside lanes take the region's corner, so that every conversion below stays in range.
    const auto Xs = hn::IfThenElse(inside, X, hn::Set(dd, s.L));
    const auto Ys = hn::IfThenElse(inside, Y, hn::Set(dd, s.T));
    const auto ix = hn::DemoteTo(di, Xs), iy = hn::DemoteTo(di, Ys);
    const auto k256 = hn::Set(dd, 256.0);
    hn::Store(hn::DemoteTo(di, hn::Mul(hn::Sub(Xs, hn::PromoteTo(dd, ix)), k256)), di, b.rowX + p);
    hn::Store(hn::DemoteTo(di, hn::Mul(hn::Sub(Ys, hn::PromoteTo(dd, iy)), k256)), di, b.rowY + p);
    hn::Store(ix, di, b.ix + p);
    hn::Store(iy, di, b.iy + p);
    hn::Store(hn::DemoteTo(di, hn::IfThenElseZero(inside, hn::Set(dd, 1.0))), di, b.valid + p);
  }
  const DF df;
  const DI dix;
  const size_t nf = hn::Lanes(df);
  for (size_t p = 0; p < 8; p += nf) {
    const auto xi = hn::Iota(dix, x + int(p));
    const auto left =
        hn::Mul(hn::ConvertTo(df, hn::Sub(hn::Set(dix, s.clipR), xi)), hn::Set(df, s.ratio[0]));
    const auto right =
        hn::Mul(hn::ConvertTo(df, hn::Sub(xi, hn::Set(dix, s.clipL))), hn::Set(df, s.ratio[1]));
    const auto scale = hn::Div(hn::Add(hn::Add(left, hn::Set(df, row.scalePart)), right),
                               hn::Set(df, s.scaleDenominator));
    hn::Store(scale, df, b.scale + p);
  }
  // The usual case, told on vectors: all eight inside, reduced no further than a quarter, and
  // away from the edges where the filter falls back to linear. Offsets are only formed when
  // they fit the 32 bits of a gather.
  const int64_t reach = (int64_t(s.roi.b) + 2) * s.nStride + (int64_t(s.roi.r) + 2) * s.nPixelStep;
  b.allCubic = s.nStride > 0 && s.nPixelStep > 0 && reach < int64_t(INT32_MAX) &&
               s.roi.r - s.roi.l >= 4 && s.roi.b - s.roi.t >= 4;
  for (size_t p = 0; p < 8 && b.allCubic; p += nf) {
    const auto ix = hn::Load(dix, b.ix + p), iy = hn::Load(dix, b.iy + p);
    auto ok = hn::RebindMask(dix, hn::Gt(hn::Load(df, b.scale + p), hn::Set(df, 0.25f)));
    ok = hn::And(ok, hn::Gt(hn::Load(dix, b.valid + p), hn::Zero(dix)));
    ok = hn::And(ok,
                 hn::And(hn::Gt(ix, hn::Set(dix, s.roi.t)), hn::Lt(ix, hn::Set(dix, s.roi.r - 2))));
    ok = hn::And(ok,
                 hn::And(hn::Gt(iy, hn::Set(dix, s.roi.t)), hn::Lt(iy, hn::Set(dix, s.roi.b - 2))));
    b.allCubic = hn::AllTrue(dix, ok);
    const auto one = hn::Set(dix, 1);
    hn::Store(hn::Add(hn::Mul(hn::Sub(iy, one), hn::Set(dix, s.nStride)),
                      hn::Mul(hn::Sub(ix, one), hn::Set(dix, s.nPixelStep))),
              dix, b.off + p);
  }
}

void sampleBlock(const TransformSampler& s, const TransformSampler::Row& row, int x,
                 uint8_t* block) {
  BlockSites b;
  mapBlock(s, row, x, b);
  if (b.allCubic) {
    cubicLanes(s.pSrc, s.nStride, s.nPixelStep, &s.interp->m_Kernel[0][0], b.off, b.rowX, b.rowY,
               reinterpret_cast<uint32_t*>(block), 8);
    return;
  }
  // Gather offsets are 32-bit: a source whose reads would reach past that stays scalar.
  const int64_t reach = (int64_t(s.roi.b) + 2) * s.nStride + (int64_t(s.roi.r) + 2) * s.nPixelStep;
  const bool gatherable = s.nStride > 0 && s.nPixelStep > 0 && reach < int64_t(INT32_MAX);
  alignas(32) int32_t off[8], rowX[8], rowY[8];
  int lane[8];
  int n = 0;
  std::memset(block, 0, 32);
  for (int i = 0; i < 8; ++i) {
    if (!b.valid[i]) continue;
    uint8_t* out = block + 4 * i;
    const float scale = b.scale[i];
    if (!(scale > 0.25f)) {
      s.interp->SampleBox(s.pSrc, s.nStride, s.nPixelStep, s.roi, b.X[i], b.Y[i], scale, out);
      continue;
    }
    if (!CInterpolator::CubicInside(s.roi, b.ix[i], b.iy[i])) {
      s.interp->SampleLinear(s.pSrc, s.nStride, s.nPixelStep, s.roi, b.X[i], b.Y[i], out);
      continue;
    }
    if (!gatherable) {
      s.interp->SampleCubicF(s.pSrc, s.nStride, s.nPixelStep, s.roi, b.X[i], b.Y[i], out);
      continue;
    }
    off[n] = (b.iy[i] - 1) * s.nStride + (b.ix[i] - 1) * s.nPixelStep;
    rowX[n] = b.rowX[i];
    rowY[n] = b.rowY[i];
    lane[n] = i;
    ++n;
  }
  if (n == 0) return;
  // Idle lanes repeat the first sample, so that every gather stays inside the source.
  for (int j = n; j < 8; ++j) {
    off[j] = off[0];
    rowX[j] = rowX[0];
    rowY[j] = rowY[0];
  }
  alignas(32) uint32_t res[8];
  cubicLanes(s.pSrc, s.nStride, s.nPixelStep, &s.interp->m_Kernel[0][0], off, rowX, rowY, res, n);
  for (int j = 0; j < n; ++j) std::memcpy(block + 4 * lane[j], &res[j], 4);
}

// Normal's eight-pixel kernel over a four-channel destination: the plain composite in 32-bit
// lanes. D(x) is (x * 0x8081) >> 23, exact for x up to 65535; the division by the new alpha
// is a single-precision quotient truncated, exact because a quotient that is not whole lies
// at least 1/255 from the next integer while the rounding moves it by less than 2^-16.
void compositeNormal8(const uint8_t* block, uint8_t* dst, int op) {
  const DF df;
  const DU du;
  const size_t nl = hn::Lanes(du);
  const auto div255 = [&](hn::Vec<DU> v) {
    return hn::ShiftRight<23>(hn::Mul(v, hn::Set(du, 0x8081u)));
  };
  const auto k255 = hn::Set(du, 255u);
  for (size_t p = 0; p < 8; p += nl) {
    const auto s = hn::LoadU(du, reinterpret_cast<const uint32_t*>(block) + p);
    const auto d = hn::LoadU(du, reinterpret_cast<const uint32_t*>(dst) + p);
    const auto a = hn::ShiftRight<8>(hn::Mul(hn::ShiftRight<24>(s), hn::Set(du, uint32_t(op))));
    const auto ra = hn::ShiftRight<24>(d);
    const auto wr = div255(hn::Mul(hn::Sub(k255, a), ra));
    const auto ws = div255(hn::Mul(hn::Sub(k255, ra), a));
    const auto wm = div255(hn::Mul(a, ra));
    const auto A = hn::Add(a, wr);
    const auto fA = hn::ConvertTo(df, hn::BitCast(DI(), hn::Max(A, hn::Set(du, 1u))));
    auto packed = hn::ShiftLeft<24>(A);
    for (int c = 0; c < 3; ++c) {
      const auto rc =
          hn::And(c == 0 ? d : (c == 1 ? hn::ShiftRight<8>(d) : hn::ShiftRight<16>(d)), k255);
      const auto sc =
          hn::And(c == 0 ? s : (c == 1 ? hn::ShiftRight<8>(s) : hn::ShiftRight<16>(s)), k255);
      const auto num = hn::Add(hn::Add(hn::Mul(rc, wr), hn::Mul(sc, ws)), hn::Mul(sc, wm));
      const auto q = hn::ConvertTo(DI(), hn::Div(hn::ConvertTo(df, hn::BitCast(DI(), num)), fA));
      auto v = hn::Min(hn::BitCast(du, q), k255);
      if (c == 1) v = hn::ShiftLeft<8>(v);
      if (c == 2) v = hn::ShiftLeft<16>(v);
      packed = hn::Or(packed, v);
    }
    const auto keep = hn::Eq(a, hn::Zero(du));
    hn::StoreU(hn::IfThenElse(keep, d, packed), du, reinterpret_cast<uint32_t*>(dst) + p);
  }
}

}  // namespace

TransformBlockSampler BlockSamplerHere() { return &sampleBlock; }
TransformBlockComposite NormalCompositeHere() { return &compositeNormal8; }

void CubicProbe(const uint8_t* pSrc, int nStride, int nPixelStep, const CInterpolator& interp,
                const int32_t* off, const int32_t* rowX, const int32_t* rowY, uint8_t* out,
                size_t n) {
  for (size_t first = 0; first < n; first += 8) {
    const int count = static_cast<int>(n - first < 8 ? n - first : 8);
    alignas(32) int32_t o[8], rx[8], ry[8];
    for (int j = 0; j < 8; ++j) {
      const size_t src = first + size_t(j < count ? j : 0);
      o[j] = off[src];
      rx[j] = rowX[src];
      ry[j] = rowY[src];
    }
    alignas(32) uint32_t res[8];
    cubicLanes(pSrc, nStride, nPixelStep, &interp.m_Kernel[0][0], o, rx, ry, res, count);
    std::memcpy(out + 4 * first, res, size_t(count) * 4);
  }
}

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace Orvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel {

HWY_EXPORT(BlockSamplerHere);
HWY_EXPORT(CubicProbe);
HWY_EXPORT(NormalCompositeHere);

TransformBlockSampler FastTransformBlockSampler() {
  return HWY_DYNAMIC_DISPATCH(BlockSamplerHere)();
}

TransformBlockComposite FastNormalBlockComposite() {
  return HWY_DYNAMIC_DISPATCH(NormalCompositeHere)();
}

void FastCubicProbe(const uint8_t* pSrc, int nStride, int nPixelStep, const CInterpolator& interp,
                    const int32_t* off, const int32_t* rowX, const int32_t* rowY, uint8_t* out,
                    size_t n) {
  HWY_DYNAMIC_DISPATCH(CubicProbe)(pSrc, nStride, nPixelStep, interp, off, rowX, rowY, out, n);
}

}  // namespace Orvel
#endif  // HWY_ONCE
