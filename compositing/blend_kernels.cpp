// Row 1 of the blend workers, on vectors. Every channel is worked in 16-bit lanes, one pixel a
// lane; the divisions that need more go through single precision on 32-bit lanes. A row is cut into
// blocks of eight pixels from the job's left edge; the rest of the row (up to seven pixels) takes
// the portable arithmetic. Wider vectors take several blocks at once, and blocks that do not fill a
// whole vector run on eight lanes, so the cut into blocks, and hence every result, is the same on
// every instruction set.
//
// In a block the arithmetic is exact and equals the portable row, except where it is coarser on
// purpose: Overlay, HardLight, Exclusion and SoftLight use their 16-bit block formulas, Darker
// and Lighter Color compare lum8, and the hue group turns on a 192-step wheel with lum8.

// Only the instruction sets worth having are compiled, to keep the build short; the scalar
// target is the fallback that Highway always keeps.
#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS \
  (HWY_SSSE3 | HWY_EMU128 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#endif

#include "compositing/blend_kernels.h"

#include <cstring>

#include "compositing/blend_job.h"
#include "compositing/blend_modes.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "compositing/blend_kernels.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Orvel {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;
using hn::Vec;

// ---- 16-bit arithmetic; D is a descriptor of uint16_t lanes ----

template <class D>
HWY_INLINE Vec<D> K(D d, int v) {
  return hn::Set(d, static_cast<uint16_t>(v));
}

// D(x) = x / 255 for every 16-bit x: (x x 0x8081) >> 23, from the high half of the product.
template <class D>
HWY_INLINE Vec<D> Div255(D d, Vec<D> x) {
  return hn::ShiftRight<7>(hn::MulHigh(x, K(d, 0x8081)));
}

template <class D>
HWY_INLINE Vec<D> AbsDiff16(Vec<D> a, Vec<D> b) {
  return hn::Sub(hn::Max(a, b), hn::Min(a, b));
}

// Runs f on 32-bit lanes over the 16-bit lanes of x and y, then narrows back; f's results must
// stay below 65536. The lanes are widened even and odd apart, which costs no shuffle.
template <class D, class F>
HWY_INLINE Vec<D> Widened(D d, Vec<D> x, Vec<D> y, F f) {
#if HWY_TARGET == HWY_SCALAR
  const hn::Rebind<int32_t, D> d32;
  const hn::Rebind<uint32_t, D> du32;
  return hn::DemoteTo(d, f(d32, hn::BitCast(d32, hn::PromoteTo(du32, x)),
                           hn::BitCast(d32, hn::PromoteTo(du32, y))));
#else
  const hn::Repartition<int32_t, D> d32;
  const auto low = hn::Set(d32, 0xFFFF);
  const auto xe = hn::And(hn::BitCast(d32, x), low), ye = hn::And(hn::BitCast(d32, y), low);
  const auto xo = hn::ShiftRight<16>(hn::BitCast(d32, x));
  const auto yo = hn::ShiftRight<16>(hn::BitCast(d32, y));
  const auto even = f(d32, xe, ye), odd = f(d32, hn::And(xo, low), hn::And(yo, low));
  return hn::BitCast(d, hn::Or(even, hn::ShiftLeft<16>(odd)));
#endif
}

// 1 / den for den 1..255 in single precision: the processor's estimate and one Newton step,
// which leaves a relative error near 2^-22 (the estimate alone is good to 2^-12 on some
// processors, and a true division costs several times more).
template <class D32>
HWY_INLINE Vec<hn::RebindToFloat<D32>> Reciprocal(D32, Vec<D32> den) {
  const hn::RebindToFloat<D32> df;
  const auto x = hn::ConvertTo(df, den);
  const auto r0 = hn::ApproximateReciprocal(x);
  return hn::Mul(r0, hn::Sub(hn::Set(df, 2.0f), hn::Mul(x, r0)));
}

// num / den truncated, for num 0..65535 and den 1..255, from the reciprocal of den. The
// quotient of num + 0.5 lies at least 0.5 / den from any integer, which is 2^-17 of itself or
// more, while the reciprocal and the product are off by about 2^-21 at most: truncation is
// exact. The tests check every case on every instruction set.
template <class D32>
HWY_INLINE Vec<D32> DivByReciprocal(D32 d32, Vec<D32> num, Vec<hn::RebindToFloat<D32>> rcp) {
  const hn::RebindToFloat<D32> df;
  return hn::ConvertTo(d32, hn::Mul(hn::Add(hn::ConvertTo(df, num), hn::Set(df, 0.5f)), rcp));
}

// num / den for num 0..65535 and den 1..255, each lane with its own divisor.
template <class D>
HWY_INLINE Vec<D> DivSmall(D d, Vec<D> num, Vec<D> den) {
  return Widened(d, num, den, [](auto d32, auto n, auto dd) {
    return DivByReciprocal(d32, n, Reciprocal(d32, dd));
  });
}

// floor(65535 / den) for den 1..255: the multiplier of DivBy.
template <class D>
HWY_INLINE Vec<D> InverseOf(D d, Vec<D> den) {
  return Widened(d, den, den, [](auto d32, auto, auto dd) {
    return DivByReciprocal(d32, hn::Set(d32, 65535), Reciprocal(d32, dd));
  });
}

// num / den for num 0..65535 and den 1..255, given inv = floor(65535 / den). The high half of
// num x inv is the quotient or one less (den x inv >= 65536 - den, so it falls short by less
// than num / 65536 < 1), and the remainder tells which.
template <class D>
HWY_INLINE Vec<D> DivBy(D d, Vec<D> num, Vec<D> den, Vec<D> inv) {
  const Vec<D> q = hn::MulHigh(num, inv);
  const Vec<D> rest = hn::Sub(num, hn::Mul(q, den));
  return hn::Add(q, hn::IfThenElseZero(hn::Lt(hn::Sub(den, K(d, 1)), rest), K(d, 1)));
}

template <class D>
HWY_INLINE Vec<D> DivByConst(D d, Vec<D> num, int den) {
  return DivBy(d, num, K(d, den), K(d, 65535 / den));
}

template <class D>
struct Px {
  Vec<D> b, g, r;
};

template <class D>
HWY_INLINE Vec<D> Lum8(D d, const Px<D>& c) {
  return hn::ShiftRight<8>(
      hn::Add(hn::Add(hn::Mul(c.r, K(d, 77)), hn::Mul(c.g, K(d, 151))), hn::Mul(c.b, K(d, 28))));
}

template <class D>
HWY_INLINE Vec<D> ChromaOf(const Px<D>& c) {
  return hn::Sub(hn::Max(hn::Max(c.b, c.g), c.r), hn::Min(hn::Min(c.b, c.g), c.r));
}

// Hue on the 192-step wheel, 32 steps to a sextant; red wins a tie, then green. The sums are
// taken mod 65536: the one that is chosen is never negative.
template <class D>
HWY_INLINE Vec<D> Hue192(D d, const Px<D>& c, Vec<D> chroma) {
  const Vec<D> mx = hn::Max(hn::Max(c.b, c.g), c.r);
  const Vec<D> k = hn::Max(chroma, K(d, 1));
  const auto isR = hn::Eq(mx, c.r);
  const auto isG = hn::AndNot(isR, hn::Eq(mx, c.g));
  const Vec<D> numR = hn::Sub(hn::Add(hn::Mul(k, K(d, 6)), c.g), c.b);
  const Vec<D> numG = hn::Sub(hn::Add(hn::Add(k, k), c.b), c.r);
  const Vec<D> numB = hn::Sub(hn::Add(hn::ShiftLeft<2>(k), c.r), c.g);
  const Vec<D> num = hn::ShiftLeft<5>(hn::IfThenElse(isR, numR, hn::IfThenElse(isG, numG, numB)));
  const Vec<D> h = DivSmall(d, num, k);
  const auto wrap = hn::And(isR, hn::Gt(h, K(d, 191)));
  return hn::IfThenElse(wrap, hn::Sub(h, K(d, 192)), h);
}

// rebuild(h, C, L) on the 192-step wheel, with lum8 in place of lum.
template <class D>
HWY_INLINE Px<D> Rebuild192(D d, Vec<D> h, Vec<D> C, Vec<D> L) {
  const Vec<D> zero = hn::Zero(d);
  const Vec<D> k32 = K(d, 32);
  const Vec<D> t =
      hn::ShiftRight<5>(hn::Mul(hn::Sub(k32, AbsDiff16<D>(hn::And(h, K(d, 63)), k32)), C));
  const auto s1 = hn::Lt(h, k32);
  const auto s2 = hn::Lt(h, K(d, 64));
  const auto s3 = hn::Lt(h, K(d, 96));
  const auto s4 = hn::Lt(h, K(d, 128));
  const auto s5 = hn::Lt(h, K(d, 160));
  // Sextants in order, as (R, G, B): (C,t,0) (t,C,0) (0,C,t) (0,t,C) (t,0,C) (C,0,t).
  Px<D> p;
  p.r = hn::IfThenElse(s1, C,
                       hn::IfThenElse(s2, t, hn::IfThenElse(s4, zero, hn::IfThenElse(s5, t, C))));
  p.g = hn::IfThenElse(s1, t, hn::IfThenElse(s3, C, hn::IfThenElse(s4, t, zero)));
  p.b = hn::IfThenElse(s2, zero, hn::IfThenElse(s3, t, hn::IfThenElse(s5, C, t)));
  // clamp(X + L - lum8), with the subtraction saturating at 0.
  const Vec<D> lum = Lum8(d, p);
  const Vec<D> k255 = K(d, 255);
  auto shift = [&](Vec<D> x) { return hn::Min(hn::SaturatedSub(hn::Add(x, L), lum), k255); };
  return Px<D>{shift(p.b), shift(p.g), shift(p.r)};
}

template <class D>
HWY_INLINE Vec<D> DampChroma(D d, Vec<D> C, Vec<D> chromaB, Vec<D> L) {
  C = hn::IfThenElse(hn::Lt(chromaB, K(d, 5)), DivByConst(d, hn::Mul(C, chromaB), 5), C);
  const auto bright = hn::Gt(L, K(d, 180));
  const auto dark = hn::Lt(L, K(d, 60));
  // One division serves both ends: by 75 toward white, by 60 toward black.
  const Vec<D> num = hn::Mul(C, hn::IfThenElse(bright, hn::Sub(K(d, 255), L), L));
  const Vec<D> q = DivBy(d, num, hn::IfThenElse(bright, K(d, 75), K(d, 60)),
                         hn::IfThenElse(bright, K(d, 65535 / 75), K(d, 65535 / 60)));
  return hn::IfThenElse(hn::Or(bright, dark), q, C);
}

// ---- vector mode functions ----
// Each has the portable mode that serves the rest of a row (Scalar) and its slot in row 0,
// whose worker serves the style path.

template <int kSlotOf, class ScalarMode>
struct VModeBase {
  static constexpr int kSlot = kSlotOf;
  static constexpr bool kErase = false;
  static constexpr bool kMIsSource = false;
  using Scalar = ScalarMode;
};

template <class Self>
struct VChannel {
  template <class D>
  static HWY_INLINE Px<D> Mix(D d, const Px<D>& s, const Px<D>& b) {
    return Px<D>{Self::Ch(d, s.b, b.b), Self::Ch(d, s.g, b.g), Self::Ch(d, s.r, b.r)};
  }
};

#define ORVEL_VCHANNEL(Name, Slot, ScalarMode)                           \
  struct Name : VModeBase<Slot, BlendMath::ScalarMode>, VChannel<Name> { \
    template <class D>                                                   \
    static HWY_INLINE Vec<D> Ch(D d, Vec<D> s, Vec<D> b);                \
  };                                                                     \
  template <class D>                                                     \
  HWY_INLINE Vec<D> Name::Ch(D d, Vec<D> s, Vec<D> b)

struct VNormal : VModeBase<0, BlendMath::ModeNormal> {
  static constexpr bool kMIsSource = true;
  template <class D>
  static HWY_INLINE Px<D> Mix(D, const Px<D>& s, const Px<D>&) {
    return s;
  }
};

ORVEL_VCHANNEL(VDarken, 1, ModeDarken) {
  (void)d;
  return hn::Min(s, b);
}
ORVEL_VCHANNEL(VMultiply, 2, ModeMultiply) { return Div255(d, hn::Mul(s, b)); }
ORVEL_VCHANNEL(VLinearBurn, 3, ModeLinearBurn) {
  return hn::SaturatedSub(hn::Add(s, b), K(d, 255));
}
ORVEL_VCHANNEL(VLighten, 4, ModeLighten) {
  (void)d;
  return hn::Max(s, b);
}
ORVEL_VCHANNEL(VScreen, 5, ModeScreen) {
  const Vec<D> k255 = K(d, 255);
  return hn::Sub(k255, Div255(d, hn::Mul(hn::Sub(k255, s), hn::Sub(k255, b))));
}
ORVEL_VCHANNEL(VLinearDodge, 6, ModeLinearDodge) { return hn::Min(hn::Add(s, b), K(d, 255)); }

// Overlay and HardLight in blocks: 2 x D(s x b), or 255 - 2 x D((255 - s) x (255 - b)) in the
// upper branch. The branch picks the factors, so one product serves both.
template <class D>
HWY_INLINE Vec<D> CoarseLight(D d, Vec<D> s, Vec<D> b, hn::Mask<D> upper) {
  const Vec<D> k255 = K(d, 255);
  const Vec<D> x = hn::IfThenElse(upper, hn::Sub(k255, s), s);
  const Vec<D> y = hn::IfThenElse(upper, hn::Sub(k255, b), b);
  const Vec<D> p = Div255(d, hn::Mul(x, y));
  const Vec<D> twice = hn::Add(p, p);
  return hn::IfThenElse(upper, hn::Sub(k255, twice), twice);
}
ORVEL_VCHANNEL(VOverlay, 7, ModeOverlay) { return CoarseLight(d, s, b, hn::Gt(b, K(d, 127))); }
ORVEL_VCHANNEL(VLinearLight, 8, ModeLinearLight) {
  return hn::Min(hn::SaturatedSub(hn::Add(b, hn::Add(s, s)), K(d, 255)), K(d, 255));
}
ORVEL_VCHANNEL(VDifference, 9, ModeDifference) {
  (void)d;
  return AbsDiff16<D>(s, b);
}
ORVEL_VCHANNEL(VExclusion, 10, ModeExclusion) {
  const Vec<D> p = Div255(d, hn::Mul(s, b));
  return hn::Sub(hn::Add(s, b), hn::Add(p, p));
}
ORVEL_VCHANNEL(VHardLight, 15, ModeHardLight) { return CoarseLight(d, s, b, hn::Gt(s, K(d, 127))); }
// trunc(sqrt(b) x 16) for b 0..255, which is the integer square root of 256 b: a product of
// single-precision floats never lands within 1/512 of an integer it does not equal, so the
// float rule and the integer one agree. The estimate of the root from the reciprocal square
// root is within 0.02, so rounding it gives the root or one more, and the square tells which.
template <class D>
HWY_INLINE Vec<D> SixteenRoot(D d, Vec<D> b) {
  const Vec<D> y = hn::ShiftLeft<8>(b);
  const Vec<D> m = Widened(d, y, y, [](auto d32, auto x, auto) {
    const hn::RebindToFloat<decltype(d32)> df;
    const auto f = hn::ConvertTo(df, x);
    const auto root = hn::Mul(f, hn::ApproximateReciprocalSqrt(hn::Max(f, hn::Set(df, 1.0f))));
    // Adding 2^23 rounds to the nearest integer, which sits in the low bits.
    return hn::And(hn::BitCast(d32, hn::Add(root, hn::Set(df, 8388608.0f))), hn::Set(d32, 0xFFFF));
  });
  const Vec<D> r = hn::Min(m, K(d, 255));  // the root of 65280 is below 255.5
  return hn::Sub(r, hn::IfThenElseZero(hn::Gt(hn::Mul(r, r), y), K(d, 1)));
}

// SoftLight in blocks, with t = D(b x b): D(2s x b) + D((255 - 2s) x t) below 128, else
// D(2b x (255 - s)) + D(G x (2s - 255)). Both are a sum of two D(x x y), so the branch picks
// the four factors and two products serve both.
ORVEL_VCHANNEL(VSoftLight, 16, ModeSoftLight) {
  const Vec<D> k255 = K(d, 255);
  const Vec<D> s2 = hn::Add(s, s);
  const Vec<D> t = Div255(d, hn::Mul(b, b));
  // G: a cubic in 16-bit steps below 64, else 16 sqrt(b) in single precision.
  const Vec<D> cubic =
      hn::Sub(hn::Add(hn::ShiftRight<4>(hn::Mul(t, b)), hn::ShiftLeft<2>(b)), hn::Mul(t, K(d, 12)));
  const Vec<D> root = SixteenRoot(d, b);
  const Vec<D> G = hn::IfThenElse(hn::Lt(b, K(d, 64)), cubic, root);
  const auto low = hn::Lt(s, K(d, 128));
  const Vec<D> x1 = hn::IfThenElse(low, s2, hn::Add(b, b));
  const Vec<D> y1 = hn::IfThenElse(low, b, hn::Sub(k255, s));
  const Vec<D> x2 = hn::IfThenElse(low, hn::Sub(k255, s2), G);
  const Vec<D> y2 = hn::IfThenElse(low, t, hn::Sub(s2, k255));
  return hn::Add(Div255(d, hn::Mul(x1, y1)), Div255(d, hn::Mul(x2, y2)));
}
ORVEL_VCHANNEL(VColorBurn, 17, ModeColorBurn) {
  const Vec<D> k255 = K(d, 255);
  const Vec<D> zero = hn::Zero(d);
  const Vec<D> q = DivSmall(d, hn::Sub(K(d, 65025), hn::Mul(b, k255)), hn::Max(s, K(d, 1)));
  const Vec<D> atZero = hn::IfThenElse(hn::Lt(b, k255), zero, k255);
  return hn::IfThenElse(hn::Eq(s, zero), atZero, hn::SaturatedSub(k255, q));
}
ORVEL_VCHANNEL(VColorDodge, 18, ModeColorDodge) {
  const Vec<D> k255 = K(d, 255);
  const Vec<D> zero = hn::Zero(d);
  const Vec<D> q = DivSmall(d, hn::Mul(b, k255), hn::Max(hn::Sub(k255, s), K(d, 1)));
  const Vec<D> atTop = hn::IfThenElse(hn::Eq(b, zero), zero, k255);
  return hn::IfThenElse(hn::Eq(s, k255), atTop, hn::Min(q, k255));
}

// VividLight without its two end cases (s 0 and s 255), which VividLight and HardMix settle
// differently. The branch picks numerator and divisor, so one division serves both.
template <class D>
HWY_INLINE Vec<D> VividLightInner(D d, Vec<D> s, Vec<D> b) {
  const Vec<D> k255 = K(d, 255);
  const Vec<D> s2 = hn::Add(s, s);
  const auto upper = hn::Gt(s, K(d, 127));
  const Vec<D> b255 = hn::Mul(b, k255);
  const Vec<D> num = hn::IfThenElse(upper, b255, hn::Sub(K(d, 65025), b255));
  const Vec<D> den = hn::Max(hn::IfThenElse(upper, hn::Sub(K(d, 510), s2), s2), K(d, 1));
  const Vec<D> q = DivSmall(d, num, den);
  return hn::IfThenElse(upper, hn::Min(q, k255), hn::SaturatedSub(k255, q));
}
ORVEL_VCHANNEL(VVividLight, 19, ModeVividLight) {
  const Vec<D> k255 = K(d, 255);
  const Vec<D> zero = hn::Zero(d);
  const Vec<D> v = VividLightInner(d, s, b);
  return hn::IfThenElse(hn::Eq(s, k255), k255, hn::IfThenElse(hn::Eq(s, zero), zero, v));
}
ORVEL_VCHANNEL(VPinLight, 20, ModePinLight) {
  const Vec<D> s2 = hn::Add(s, s);
  const Vec<D> hi = hn::Max(hn::SaturatedSub(s2, K(d, 255)), b);
  const Vec<D> lo = hn::Min(s2, b);
  return hn::IfThenElse(hn::Gt(s, K(d, 127)), hi, lo);
}
// HardMix only asks whether VividLight reaches 128, and floor(x / y) >= 128 is x >= 128 y: the
// quotients become comparisons of products.
ORVEL_VCHANNEL(VHardMix, 21, ModeHardMix) {
  const Vec<D> k255 = K(d, 255);
  const Vec<D> zero = hn::Zero(d);
  const Vec<D> b255 = hn::Mul(b, k255);
  // s >= 128: 255b / (510 - 2s) >= 128.  0 < s < 128: (65025 - 255b) / 2s <= 127.
  const auto upperHigh =
      hn::Not(hn::Lt(b255, hn::Mul(hn::Sub(K(d, 510), hn::Add(s, s)), K(d, 128))));
  const auto lowerHigh = hn::Lt(hn::Sub(K(d, 65025), b255), hn::ShiftLeft<8>(s));
  const Vec<D> atTop = hn::IfThenElse(hn::Eq(b, zero), zero, k255);
  const Vec<D> atZero = hn::IfThenElse(hn::Lt(b, k255), zero, k255);
  const Vec<D> inner = hn::IfThenElse(hn::Gt(s, K(d, 127)), hn::IfThenElseZero(upperHigh, k255),
                                      hn::IfThenElseZero(lowerHigh, k255));
  return hn::IfThenElse(hn::Eq(s, k255), atTop, hn::IfThenElse(hn::Eq(s, zero), atZero, inner));
}
ORVEL_VCHANNEL(VSubtract, 23, ModeSubtract) {
  (void)d;
  return hn::SaturatedSub(b, s);
}
ORVEL_VCHANNEL(VDivide, 24, ModeDivide) {
  const Vec<D> k255 = K(d, 255);
  const Vec<D> zero = hn::Zero(d);
  const Vec<D> q = DivSmall(d, hn::Mul(b, k255), hn::Max(s, K(d, 1)));
  const Vec<D> atZero = hn::IfThenElse(hn::Eq(b, zero), zero, k255);
  return hn::IfThenElse(hn::Eq(s, zero), atZero, hn::Min(q, k255));
}
#undef ORVEL_VCHANNEL

struct VHue : VModeBase<11, BlendMath::ModeHue> {
  template <class D>
  static HWY_INLINE Px<D> Mix(D d, const Px<D>& s, const Px<D>& b) {
    const Vec<D> L = Lum8(d, b);
    const Vec<D> chromaS = ChromaOf(s), chromaB = ChromaOf(b);
    const Px<D> c = Rebuild192(d, Hue192(d, s, chromaS), chromaB, L);
    const auto grey = hn::Or(hn::Eq(chromaS, hn::Zero(d)), hn::Eq(chromaB, hn::Zero(d)));
    return Px<D>{hn::IfThenElse(grey, L, c.b), hn::IfThenElse(grey, L, c.g),
                 hn::IfThenElse(grey, L, c.r)};
  }
};
struct VSaturation : VModeBase<12, BlendMath::ModeSaturation> {
  template <class D>
  static HWY_INLINE Px<D> Mix(D d, const Px<D>& s, const Px<D>& b) {
    const Vec<D> L = Lum8(d, b);
    const Vec<D> chromaB = ChromaOf(b);
    return Rebuild192(d, Hue192(d, b, chromaB), DampChroma(d, ChromaOf(s), chromaB, L), L);
  }
};
struct VColor : VModeBase<22, BlendMath::ModeColor> {
  template <class D>
  static HWY_INLINE Px<D> Mix(D d, const Px<D>& s, const Px<D>& b) {
    const Vec<D> L = Lum8(d, b);
    const Vec<D> chromaS = ChromaOf(s);
    return Rebuild192(d, Hue192(d, s, chromaS), DampChroma(d, chromaS, ChromaOf(b), L), L);
  }
};
struct VLuminosity : VModeBase<13, BlendMath::ModeLuminosity> {
  template <class D>
  static HWY_INLINE Px<D> Mix(D d, const Px<D>& s, const Px<D>& b) {
    const Vec<D> L = Lum8(d, s);
    const Vec<D> chromaB = ChromaOf(b);
    const Vec<D> cap = hn::ShiftRight<1>(hn::Sub(K(d, 255), L));
    const Vec<D> C = hn::IfThenElse(hn::Gt(L, K(d, 244)), cap, chromaB);
    return Rebuild192(d, Hue192(d, b, chromaB), C, L);
  }
};
struct VDarkerColor : VModeBase<25, BlendMath::ModeDarkerColor> {
  template <class D>
  static HWY_INLINE Px<D> Mix(D d, const Px<D>& s, const Px<D>& b) {
    const auto pickB = hn::Lt(Lum8(d, b), Lum8(d, s));
    return Px<D>{hn::IfThenElse(pickB, b.b, s.b), hn::IfThenElse(pickB, b.g, s.g),
                 hn::IfThenElse(pickB, b.r, s.r)};
  }
};
struct VLighterColor : VModeBase<26, BlendMath::ModeLighterColor> {
  template <class D>
  static HWY_INLINE Px<D> Mix(D d, const Px<D>& s, const Px<D>& b) {
    const auto pickB = hn::Lt(Lum8(d, s), Lum8(d, b));
    return Px<D>{hn::IfThenElse(pickB, b.b, s.b), hn::IfThenElse(pickB, b.g, s.g),
                 hn::IfThenElse(pickB, b.r, s.r)};
  }
};
struct VErase : VModeBase<14, BlendMath::ModeErase> {
  static constexpr bool kErase = true;
  template <class D>
  static HWY_INLINE Px<D> Mix(D, const Px<D>& s, const Px<D>&) {
    return s;
  }
};

// ---- one block of Lanes(d) pixels, every channel in 16-bit lanes ----

template <class D>
struct Pixels {
  Px<D> c;
  Vec<D> a;
};

#if HWY_TARGET == HWY_SCALAR
template <class D>
HWY_INLINE Pixels<D> LoadPixels(D d, const uint8_t* p) {
  const hn::Rebind<uint8_t, D> d8;
  Vec<decltype(d8)> b, g, r, a;
  hn::LoadInterleaved4(d8, p, b, g, r, a);
  return Pixels<D>{Px<D>{hn::PromoteTo(d, b), hn::PromoteTo(d, g), hn::PromoteTo(d, r)},
                   hn::PromoteTo(d, a)};
}

template <class D>
HWY_INLINE void StorePixels(D, const Px<D>& c, Vec<D> a, uint8_t* p) {
  const hn::Rebind<uint8_t, D> d8;
  const hn::RebindToSigned<D> di;
  auto narrow = [&](Vec<D> v) { return hn::DemoteTo(d8, hn::BitCast(di, v)); };
  hn::StoreInterleaved4(narrow(c.b), narrow(c.g), narrow(c.r), narrow(a), d8, p);
}
#else
// A vector of n 16-bit lanes holds n pixels: the first n / 2 in the even lanes and the next
// n / 2 in the odd lanes. Read as 32-bit words, both halves take their channels apart with one
// blend of 16-bit lanes and a mask or a shift each; no shuffle across lanes is needed.
template <class D>
HWY_INLINE Pixels<D> LoadPixels(D d, const uint8_t* p) {
  const hn::Repartition<uint32_t, D> d32;
  const size_t half = hn::Lanes(d32);
  const auto first = hn::LoadU(d32, reinterpret_cast<const uint32_t*>(p));
  const auto second = hn::LoadU(d32, reinterpret_cast<const uint32_t*>(p) + half);
  // Lanes of (blue | green << 8), then of (red | alpha << 8), first half even, second odd.
  const Vec<D> bg = hn::OddEven(hn::BitCast(d, hn::ShiftLeft<16>(second)), hn::BitCast(d, first));
  const Vec<D> ra = hn::OddEven(hn::BitCast(d, second), hn::BitCast(d, hn::ShiftRight<16>(first)));
  const Vec<D> low = K(d, 0xFF);
  return Pixels<D>{Px<D>{hn::And(bg, low), hn::ShiftRight<8>(bg), hn::And(ra, low)},
                   hn::ShiftRight<8>(ra)};
}

template <class D>
HWY_INLINE void StorePixels(D d, const Px<D>& c, Vec<D> a, uint8_t* p) {
  const hn::Repartition<uint32_t, D> d32;
  const size_t half = hn::Lanes(d32);
  const auto bg = hn::BitCast(d32, hn::Or(c.b, hn::ShiftLeft<8>(c.g)));
  const auto ra = hn::BitCast(d32, hn::Or(c.r, hn::ShiftLeft<8>(a)));
  const auto first = hn::OddEven(hn::BitCast(d, hn::ShiftLeft<16>(ra)), hn::BitCast(d, bg));
  const auto second = hn::OddEven(hn::BitCast(d, ra), hn::BitCast(d, hn::ShiftRight<16>(bg)));
  hn::StoreU(hn::BitCast(d32, first), d32, reinterpret_cast<uint32_t*>(p));
  hn::StoreU(hn::BitCast(d32, second), d32, reinterpret_cast<uint32_t*>(p) + half);
}
#endif

template <class VMode, bool kClip, bool kOverwrite, class D>
HWY_INLINE void BlendBlock(D d, const uint8_t* ps, const uint8_t* pr, uint8_t* pd, int op) {
  const Vec<D> k255 = K(d, 255);
  const Pixels<D> s = LoadPixels(d, ps);
  const Pixels<D> r = LoadPixels(d, pr);
  const Vec<D> e = kClip ? Div255(d, hn::Mul(s.a, r.a)) : s.a;
  const Vec<D> a = hn::ShiftRight<8>(hn::Mul(e, K(d, op)));
  const auto skip = hn::Eq(a, hn::Zero(d));
  if (hn::AllTrue(d, skip)) return;
  const Pixels<D> old = pd == pr ? r : LoadPixels(d, pd);

  Px<D> c;
  Vec<D> alpha;
  if constexpr (VMode::kErase) {
    c = old.c;
    alpha = Div255(d, hn::Mul(r.a, hn::Sub(k255, a)));
  } else {
    const Px<D> m = VMode::Mix(d, s.c, r.c);
    if constexpr (kOverwrite) {
      c = Px<D>{hn::Min(m.b, k255), hn::Min(m.g, k255), hn::Min(m.r, k255)};
      alpha = old.a;
    } else if (hn::AllTrue(d, hn::And(hn::Eq(a, k255), hn::Eq(r.a, k255)))) {
      // Opaque over opaque: w_r and w_s are 0, w_m and A are 255, so the result is M.
      c = Px<D>{hn::Min(m.b, k255), hn::Min(m.g, k255), hn::Min(m.r, k255)};
      alpha = k255;
    } else if (hn::AllTrue(d, hn::Eq(r.a, k255))) {
      // Opaque backdrop: w_r = 255 - a, w_s = 0, w_m = a and A = 255, so the division is D().
      const Vec<D> wr = hn::Sub(k255, a);
      auto channel = [&](Vec<D> rc, Vec<D> mc) {
        return hn::Min(Div255(d, hn::Add(hn::Mul(rc, wr), hn::Mul(mc, a))), k255);
      };
      c = Px<D>{channel(r.c.b, m.b), channel(r.c.g, m.g), channel(r.c.r, m.r)};
      alpha = k255;
    } else {
      // a x r.a once; (255 - a) x r.a and (255 - r.a) x a follow from it.
      const Vec<D> p = hn::Mul(a, r.a);
      const Vec<D> wr = Div255(d, hn::Sub(hn::Mul(r.a, k255), p));
      const Vec<D> ws = Div255(d, hn::Sub(hn::Mul(a, k255), p));
      const Vec<D> wm = Div255(d, p);
      const Vec<D> A = hn::Add(a, wr);
      // Lanes with a = 0 are dropped below; the floor of 1 only keeps their divisor valid.
      const Vec<D> den = hn::Max(A, K(d, 1));
      const Vec<D> inv = InverseOf(d, den);
      // In Normal the blended colour is the source, whose weight is w_s + w_m.
      const Vec<D> wsm = hn::Add(ws, wm);
      auto channel = [&](Vec<D> rc, Vec<D> sc, Vec<D> mc) {
        const Vec<D> num =
            VMode::kMIsSource ? hn::Add(hn::Mul(rc, wr), hn::Mul(sc, wsm))
                              : hn::Add(hn::Add(hn::Mul(rc, wr), hn::Mul(sc, ws)), hn::Mul(mc, wm));
        return hn::Min(DivBy(d, num, den, inv), k255);
      };
      c = Px<D>{channel(r.c.b, s.c.b, m.b), channel(r.c.g, s.c.g, m.g), channel(r.c.r, s.c.r, m.r)};
      alpha = A;
    }
  }
  // A pixel whose a is 0 keeps what it had.
  c.b = hn::IfThenElse(skip, old.c.b, c.b);
  c.g = hn::IfThenElse(skip, old.c.g, c.g);
  c.r = hn::IfThenElse(skip, old.c.r, c.r);
  alpha = hn::IfThenElse(skip, old.a, alpha);
  StorePixels(d, c, alpha, pd);
}

template <class VMode, bool kClip, bool kOverwrite>
void blendRegion(const BlendJob& job) {
  const hn::ScalableTag<uint16_t> d;
  const hn::CappedTag<uint16_t, 8> d8;  // one block of eight, or less
  const int N = int(hn::Lanes(d));
  const int N8 = int(hn::Lanes(d8));
  const BufferData& S = *job.pSrc;
  const BufferData& R = *job.pRef;
  const BufferData& T = *job.pDst;
  const IntRect& rc = job.rcRegion;
  const int op = job.nOpacity256;
  const int w = rc.r - rc.l;
  const int blocked = (w / 8) * 8;  // blocks of eight from the job's left edge
  for (int y = rc.t; y < rc.b; ++y) {
    const uint8_t* s = PixelAddress(S, rc.l, y);
    const uint8_t* r = PixelAddress(R, rc.l, y);
    uint8_t* o = PixelAddress(T, rc.l, y);
    int x = 0;
    for (; x + N <= blocked; x += N)
      BlendBlock<VMode, kClip, kOverwrite>(d, s + 4 * x, r + 4 * x, o + 4 * x, op);
    for (; x + N8 <= blocked; x += N8)
      BlendBlock<VMode, kClip, kOverwrite>(d8, s + 4 * x, r + 4 * x, o + 4 * x, op);
    for (; x < w; ++x)
      BlendMath::CompositePixel<typename VMode::Scalar, kClip, kOverwrite>(s + 4 * x, r + 4 * x,
                                                                           o + 4 * x, op);
  }
}

template <class VMode>
void blendWorker(void* pJob, HRESULT* pStatus) {
  const BlendJob& job = *static_cast<const BlendJob*>(pJob);
  // The style path gives the portable results in both rows, and so does a buffer whose
  // pixels are not four packed bytes.
  if (job.bStyle || job.pSrc->nPixelStep != 4 || job.pRef->nPixelStep != 4 ||
      job.pDst->nPixelStep != 4) {
    PortableBlendRow()[VMode::kSlot](pJob, pStatus);
    return;
  }
  if (job.bClip) {
    if (job.bOverwrite)
      blendRegion<VMode, true, true>(job);
    else
      blendRegion<VMode, true, false>(job);
  } else {
    if (job.bOverwrite)
      blendRegion<VMode, false, true>(job);
    else
      blendRegion<VMode, false, false>(job);
  }
  if (pStatus) *pStatus = S_OK;
}

// ---- flattening over a solid colour ----

template <class D16>
HWY_INLINE Vec<hn::Rebind<uint8_t, D16>> FlattenChannel(D16, Vec<D16> c, Vec<D16> a, Vec<D16> inv,
                                                        Vec<D16> col) {
  const hn::Rebind<uint8_t, D16> d8;
  const hn::RebindToSigned<D16> di16;
  const Vec<D16> v = hn::ShiftRight<8>(hn::Add(hn::Mul(c, a), hn::Mul(col, inv)));
  return hn::DemoteTo(d8, hn::BitCast(di16, v));
}

int flattenScalar(int c, int a, int col) { return (c * a + col * (255 - a)) >> 8; }

}  // namespace

void FlattenRows8(const BufferData& in, BufferData& out, const Color& color) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int N = int(hn::Lanes(d16));
  const Vec<decltype(d16)> k255 = hn::Set(d16, 255);
  const auto cb = hn::Set(d16, uint16_t(color.b));
  const auto cg = hn::Set(d16, uint16_t(color.g));
  const auto cr = hn::Set(d16, uint16_t(color.r));
  for (int y = 0; y < in.nHeight; ++y) {
    const uint8_t* s = in.pBuffer + ptrdiff_t(y) * in.nStride;
    uint8_t* o = out.pBuffer + ptrdiff_t(y) * out.nStride;
    int x = 0;
    for (; x + N <= in.nWidth; x += N) {
      Vec<decltype(d8)> b, g, r, a;
      hn::LoadInterleaved4(d8, s + 4 * x, b, g, r, a);
      const auto a16 = hn::PromoteTo(d16, a);
      const auto inv = hn::Sub(k255, a16);
      hn::StoreInterleaved3(FlattenChannel(d16, hn::PromoteTo(d16, b), a16, inv, cb),
                            FlattenChannel(d16, hn::PromoteTo(d16, g), a16, inv, cg),
                            FlattenChannel(d16, hn::PromoteTo(d16, r), a16, inv, cr), d8,
                            o + 3 * x);
    }
    for (; x < in.nWidth; ++x) {
      const uint8_t* p = s + 4 * x;
      o[3 * x + 0] = uint8_t(flattenScalar(p[0], p[3], color.b));
      o[3 * x + 1] = uint8_t(flattenScalar(p[1], p[3], color.g));
      o[3 * x + 2] = uint8_t(flattenScalar(p[2], p[3], color.r));
    }
  }
}

// 16-bit input: the high byte of each channel stands for it; rows are nStride / 2 elements.
void FlattenRows16(const BufferData& in, BufferData& out, const Color& color) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const int N = int(hn::Lanes(d16));
  const Vec<decltype(d16)> k255 = hn::Set(d16, 255);
  const auto cb = hn::Set(d16, uint16_t(color.b));
  const auto cg = hn::Set(d16, uint16_t(color.g));
  const auto cr = hn::Set(d16, uint16_t(color.r));
  const uint16_t* base = reinterpret_cast<const uint16_t*>(in.pBuffer);
  const ptrdiff_t rowElems = in.nStride / 2;
  for (int y = 0; y < in.nHeight; ++y) {
    const uint16_t* s = base + y * rowElems;
    uint8_t* o = out.pBuffer + ptrdiff_t(y) * out.nStride;
    int x = 0;
    for (; x + N <= in.nWidth; x += N) {
      Vec<decltype(d16)> b, g, r, a;
      hn::LoadInterleaved4(d16, s + 4 * x, b, g, r, a);
      const auto a8 = hn::ShiftRight<8>(a);
      const auto inv = hn::Sub(k255, a8);
      hn::StoreInterleaved3(FlattenChannel(d16, hn::ShiftRight<8>(b), a8, inv, cb),
                            FlattenChannel(d16, hn::ShiftRight<8>(g), a8, inv, cg),
                            FlattenChannel(d16, hn::ShiftRight<8>(r), a8, inv, cr), d8, o + 3 * x);
    }
    for (; x < in.nWidth; ++x) {
      const uint16_t* p = s + 4 * x;
      const int a = p[3] >> 8;
      o[3 * x + 0] = uint8_t(flattenScalar(p[0] >> 8, a, color.b));
      o[3 * x + 1] = uint8_t(flattenScalar(p[1] >> 8, a, color.g));
      o[3 * x + 2] = uint8_t(flattenScalar(p[2] >> 8, a, color.r));
    }
  }
}

const WorkFn* FastRowTable() {
  static const WorkFn kRow[kBlendSlots] = {
      &blendWorker<VNormal>,      &blendWorker<VDarken>,      &blendWorker<VMultiply>,
      &blendWorker<VLinearBurn>,  &blendWorker<VLighten>,     &blendWorker<VScreen>,
      &blendWorker<VLinearDodge>, &blendWorker<VOverlay>,     &blendWorker<VLinearLight>,
      &blendWorker<VDifference>,  &blendWorker<VExclusion>,   &blendWorker<VHue>,
      &blendWorker<VSaturation>,  &blendWorker<VLuminosity>,  &blendWorker<VErase>,
      &blendWorker<VHardLight>,   &blendWorker<VSoftLight>,   &blendWorker<VColorBurn>,
      &blendWorker<VColorDodge>,  &blendWorker<VVividLight>,  &blendWorker<VPinLight>,
      &blendWorker<VHardMix>,     &blendWorker<VColor>,       &blendWorker<VSubtract>,
      &blendWorker<VDivide>,      &blendWorker<VDarkerColor>, &blendWorker<VLighterColor>,
      &blendWorker<VNormal>};
  return kRow;
}

const char* TargetNameHere() { return hwy::TargetName(HWY_TARGET); }

// ---- probes: the arithmetic above over plain arrays, a whole vector at a time ----

constexpr size_t kMaxLanes = 64;  // 16-bit lanes of the widest vector, and then some

// Calls fn(d, i, count) for the values i .. i + count of n, as many as one vector holds.
template <class Fn>
void overValues(size_t n, Fn fn) {
  const hn::ScalableTag<uint16_t> d;
  const size_t N = hn::Lanes(d);
  for (size_t i = 0; i < n; i += N) fn(d, i, n - i < N ? n - i : N);
}

// Copies count values to the lanes of one vector; the rest hold fill.
template <class D, class T>
void spread(D d, const T* in, size_t count, uint16_t* lanes, uint16_t fill) {
  for (size_t k = 0; k < hn::Lanes(d); ++k) lanes[k] = k < count ? uint16_t(in[k]) : fill;
}

void DivideProbe(const int32_t* num, const int32_t* den, int32_t* out, size_t n) {
  overValues(n, [&](auto d, size_t i, size_t count) {
    uint16_t a[kMaxLanes], b[kMaxLanes], q1[kMaxLanes], q2[kMaxLanes];
    spread(d, num + i, count, a, 0);
    spread(d, den + i, count, b, 1);
    const auto vn = hn::LoadU(d, a), vd = hn::LoadU(d, b);
    hn::StoreU(DivSmall(d, vn, vd), d, q1);
    hn::StoreU(DivBy(d, vn, vd, InverseOf(d, vd)), d, q2);
    // Both divisions must agree; a disagreement shows as -1.
    for (size_t k = 0; k < count; ++k) out[i + k] = q1[k] == q2[k] ? q1[k] : -1;
  });
}

void Div255Probe(const int32_t* x, int32_t* out, size_t n) {
  overValues(n, [&](auto d, size_t i, size_t count) {
    uint16_t a[kMaxLanes], q[kMaxLanes];
    spread(d, x + i, count, a, 0);
    hn::StoreU(Div255(d, hn::LoadU(d, a)), d, q);
    for (size_t k = 0; k < count; ++k) out[i + k] = q[k];
  });
}

// The hue probes go through pixels both ways (every value here fits a byte), so that they see
// the same lanes as the blocks do.
void HueProbe(const uint8_t* bgra, int32_t* hue, int32_t* lum8, size_t n) {
  overValues(n, [&](auto d, size_t i, size_t count) {
    uint8_t px[4 * kMaxLanes] = {};
    std::memcpy(px, bgra + 4 * i, count * 4);
    const Pixels<decltype(d)> p = LoadPixels(d, px);
    const Vec<decltype(d)> zero = hn::Zero(d);
    StorePixels(d, Px<decltype(d)>{Hue192(d, p.c, ChromaOf(p.c)), Lum8(d, p.c), zero}, zero, px);
    for (size_t k = 0; k < count; ++k) hue[i + k] = px[4 * k], lum8[i + k] = px[4 * k + 1];
  });
}

void RebuildProbe(const int32_t* h, const int32_t* C, const int32_t* L, uint8_t* bgra, size_t n) {
  overValues(n, [&](auto d, size_t i, size_t count) {
    uint8_t px[4 * kMaxLanes] = {};
    for (size_t k = 0; k < count; ++k)
      px[4 * k] = uint8_t(h[i + k]), px[4 * k + 1] = uint8_t(C[i + k]),
             px[4 * k + 2] = uint8_t(L[i + k]);
    const Pixels<decltype(d)> in = LoadPixels(d, px);
    StorePixels(d, Rebuild192(d, in.c.b, in.c.g, in.c.r), hn::Zero(d), px);
    std::memcpy(bgra + 4 * i, px, count * 4);
  });
}

}  // namespace HWY_NAMESPACE
}  // namespace Orvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel {

HWY_EXPORT(FastRowTable);
HWY_EXPORT(TargetNameHere);
HWY_EXPORT(FlattenRows8);
HWY_EXPORT(FlattenRows16);
HWY_EXPORT(DivideProbe);
HWY_EXPORT(Div255Probe);
HWY_EXPORT(HueProbe);
HWY_EXPORT(RebuildProbe);

const WorkFn* FastBlendRow() { return HWY_DYNAMIC_DISPATCH(FastRowTable)(); }
const char* FastBlendTargetName() { return HWY_DYNAMIC_DISPATCH(TargetNameHere)(); }

void FastFlatten8(const BufferData& in, BufferData& out, const Color& color) {
  HWY_DYNAMIC_DISPATCH(FlattenRows8)(in, out, color);
}
void FastFlatten16(const BufferData& in, BufferData& out, const Color& color) {
  HWY_DYNAMIC_DISPATCH(FlattenRows16)(in, out, color);
}

std::vector<int64_t> FastBlendTargets() {
  std::vector<int64_t> out;
  for (int64_t t = hwy::SupportedTargets() & HWY_TARGETS; t != 0; t &= t - 1) out.push_back(t & -t);
  return out;
}

void FastDivideProbe(const int32_t* num, const int32_t* den, int32_t* out, size_t n) {
  HWY_DYNAMIC_DISPATCH(DivideProbe)(num, den, out, n);
}
void FastDiv255Probe(const int32_t* x, int32_t* out, size_t n) {
  HWY_DYNAMIC_DISPATCH(Div255Probe)(x, out, n);
}
void FastHueProbe(const uint8_t* bgra, int32_t* hue, int32_t* lum8, size_t n) {
  HWY_DYNAMIC_DISPATCH(HueProbe)(bgra, hue, lum8, n);
}
void FastRebuildProbe(const int32_t* h, const int32_t* C, const int32_t* L, uint8_t* bgra,
                      size_t n) {
  HWY_DYNAMIC_DISPATCH(RebuildProbe)(h, C, L, bgra, n);
}

}  // namespace Orvel
#endif  // HWY_ONCE
