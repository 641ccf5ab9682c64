// The fast form of the colour match on Highway vectors, compiled once per target.
//
// Every lane does exactly the float operations of the portable form, in the same order, so the
// width of a target never shows in a result: the only differences from the portable form are the
// ones the fast form is defined by (the order of the running totals, and rounding to nearest in
// the four-pixel blocks of the way back).

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "colormatch/ColorMatchFast.cpp"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include <climits>
#include <cstring>
#include <vector>

#include "colormatch/ColorMatchKernels.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel {
namespace colormatch {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using DF = hn::ScalableTag<float>;
using DI = hn::RebindToSigned<DF>;
using DU = hn::RebindToUnsigned<DF>;
using VF = hn::Vec<DF>;
using VI = hn::Vec<DI>;
using VU = hn::Vec<DU>;

// Float to integer as the processor's own conversion does it: out of range, or not a number,
// gives INT32_MIN. Lanes out of range are converted from 0, so no conversion ever overflows.
template <bool kRound>
HWY_INLINE VI toInt32(VF x) {
  const DF df;
  const DI di;
  const auto inRange =
      hn::And(hn::Ge(x, hn::Set(df, -2147483648.0f)), hn::Lt(x, hn::Set(df, 2147483648.0f)));
  const VF safe = hn::IfThenElseZero(inRange, x);
  const VI i = kRound ? hn::NearestInt(safe) : hn::ConvertTo(di, safe);
  return hn::IfThenElse(hn::RebindMask(di, inRange), i, hn::Set(di, INT32_MIN));
}

HWY_INLINE VF bitLog(VF v) {
  const DF df;
  const DI di;
  const VI i = hn::Sub(hn::BitCast(di, v), hn::Set(di, static_cast<int32_t>(kLogBias)));
  return hn::Mul(hn::ConvertTo(df, i), hn::Set(df, kLogFactor));
}

HWY_INLINE VF bitExpRound(VF x) {
  const DF df;
  const VF scaled =
      hn::Add(hn::Mul(x, hn::Set(df, static_cast<float>(kLogScale))), hn::Set(df, kExpBias));
  return hn::BitCast(df, toInt32<true>(scaled));
}

// One colour in 0..1 to its byte, as an integer lane: float product, limited to 0..255 (not a
// number ends at 0), rounded to nearest.
HWY_INLINE VI channelRound(VF c) {
  const DF df;
  VF f = hn::Mul(c, hn::Set(df, 255.0f));
  f = hn::IfThenElseZero(hn::Gt(f, hn::Zero(df)), f);
  f = hn::Min(f, hn::Set(df, 255.0f));
  return hn::NearestInt(f);
}

// A channel byte (0..255 in a 32-bit lane) as a float in 0..1, a zero taken as 1.
HWY_INLINE VF unitChannel(VU bytes) {
  const DF df;
  const DI di;
  const VF v = hn::ConvertTo(df, hn::BitCast(di, bytes));
  return hn::Div(hn::Max(v, hn::Set(df, 1.0f)), hn::Set(df, 255.0f));
}

void ConvertRgbToLabImpl(const BufferData& in, int y0, int y1, float* pLab) {
  const DF df;
  const DI di;
  const DU du;
  const int N = static_cast<int>(hn::Lanes(df));
  const int w = in.nWidth;
  const VU low = hn::Set(du, 0xFFu);
  for (int y = y0; y < y1; ++y) {
    const uint8_t* row = in.pBuffer + static_cast<size_t>(y) * static_cast<size_t>(in.nStride);
    float* lab = pLab + static_cast<size_t>(y) * w * 4;
    int x = 0;
    if (in.nPixelStep == 4) {
      for (; x + N <= w; x += N) {
        const VU px = hn::LoadU(du, reinterpret_cast<const uint32_t*>(row + 4 * x));
        const VF b = unitChannel(hn::And(px, low));
        const VF g = unitChannel(hn::And(hn::ShiftRight<8>(px), low));
        const VF r = unitChannel(hn::And(hn::ShiftRight<16>(px), low));
        const VF a = hn::ConvertTo(df, hn::BitCast(di, hn::ShiftRight<24>(px)));

        const VF L = hn::Add(hn::Add(hn::Mul(hn::Set(df, 0.0402f), b),
                                     hn::Mul(hn::Set(df, 0.5783f), g)),
                             hn::Mul(hn::Set(df, 0.3811f), r));
        const VF M = hn::Add(hn::Add(hn::Mul(hn::Set(df, 0.0782f), b),
                                     hn::Mul(hn::Set(df, 0.7244f), g)),
                             hn::Mul(hn::Set(df, 0.1967f), r));
        const VF S = hn::Add(hn::Add(hn::Mul(hn::Set(df, 0.8444f), b),
                                     hn::Mul(hn::Set(df, 0.1288f), g)),
                             hn::Mul(hn::Set(df, 0.0241f), r));

        const VF Lg = bitLog(L);
        const VF Mg = bitLog(M);
        const VF Sg = bitLog(S);
        const VF LM = hn::Add(Lg, Mg);
        const VF l = hn::Add(LM, Sg);
        const VF alpha = hn::Sub(hn::Sub(LM, Sg), Sg);
        const VF beta = hn::Sub(Lg, Mg);
        hn::StoreInterleaved4(l, alpha, beta, a, df, lab + 4 * x);
      }
    }
    const int step = in.nPixelStep;
    for (; x < w; ++x) PixelToLab(row + static_cast<size_t>(x) * step, lab + 4 * x);
  }
}

// The running totals keep one four-float lane group per pixel (the fourth lane, the pixel's
// alpha, is carried and ignored). They are a chain of dependent additions by definition, so a
// wider vector cannot shorten them; the four-lane group is the whole of the work.
void SumLabImpl(const float* pLab, int width, int y0, int y1, float sum[3]) {
  const float* p = pLab + static_cast<size_t>(y0) * width * 4;
  const float* end = pLab + static_cast<size_t>(y1) * width * 4;
#if HWY_TARGET == HWY_SCALAR
  float acc[4] = {0.0f, 0.0f, 0.0f, 0.0f};
  for (; p < end; p += 4)
    for (int c = 0; c < 4; ++c) acc[c] += p[c];
  for (int c = 0; c < 3; ++c) sum[c] = acc[c];
#else
  const hn::Full128<float> d4;
  auto acc = hn::Zero(d4);
  for (; p < end; p += 4) acc = hn::Add(acc, hn::LoadU(d4, p));
  alignas(16) float out[4];
  hn::Store(acc, d4, out);
  for (int c = 0; c < 3; ++c) sum[c] = out[c];
#endif
}

void SumSquaredDeviationsImpl(const float* pLab, int width, int y0, int y1, const float mean[3],
                              float var[3]) {
  const float* p = pLab + static_cast<size_t>(y0) * width * 4;
  const float* end = pLab + static_cast<size_t>(y1) * width * 4;
#if HWY_TARGET == HWY_SCALAR
  float acc[4] = {0.0f, 0.0f, 0.0f, 0.0f};
  const float m[4] = {mean[0], mean[1], mean[2], 0.0f};
  for (; p < end; p += 4) {
    for (int c = 0; c < 4; ++c) {
      const float d = p[c] - m[c];
      acc[c] += d * d;
    }
  }
  for (int c = 0; c < 3; ++c) var[c] = acc[c];
#else
  const hn::Full128<float> d4;
  alignas(16) const float m[4] = {mean[0], mean[1], mean[2], 0.0f};
  const auto vm = hn::Load(d4, m);
  auto acc = hn::Zero(d4);
  for (; p < end; p += 4) {
    const auto d = hn::Sub(hn::LoadU(d4, p), vm);
    acc = hn::Add(acc, hn::Mul(d, d));
  }
  alignas(16) float out[4];
  hn::Store(acc, d4, out);
  for (int c = 0; c < 3; ++c) var[c] = out[c];
#endif
}

void RecolorLabImpl(const float* pLab, float* pDst, int width, int y0, int y1,
                    const float ratio[3], const float offset[3]) {
  const DF df;
  const size_t N = hn::Lanes(df);
  size_t i = static_cast<size_t>(y0) * width * 4;
  const size_t end = static_cast<size_t>(y1) * width * 4;
  if (N % 4 == 0) {
    // The lanes repeat l, alpha, beta, a: the pixel's alpha goes through as a x 1 + 0, which
    // is a itself.
    HWY_ALIGN float scale[HWY_MAX_BYTES / sizeof(float)];
    HWY_ALIGN float shift[HWY_MAX_BYTES / sizeof(float)];
    for (size_t k = 0; k < N; ++k) {
      const size_t c = k % 4;
      scale[k] = c < 3 ? ratio[c] : 1.0f;
      shift[k] = c < 3 ? offset[c] : 0.0f;
    }
    const VF vs = hn::Load(df, scale);
    const VF vo = hn::Load(df, shift);
    for (; i + N <= end; i += N)
      hn::StoreU(hn::Add(hn::Mul(hn::LoadU(df, pLab + i), vs), vo), df, pDst + i);
  }
  for (; i < end; i += 4) {
    for (int c = 0; c < 3; ++c) pDst[i + c] = pLab[i + c] * ratio[c] + offset[c];
    pDst[i + 3] = pLab[i + 3];
  }
}

void ConvertLabToRgbImpl(const float* pDst, const BufferData& out, int y0, int y1) {
  const DF df;
  const DU du;
  const int N = static_cast<int>(hn::Lanes(df));
  const int w = out.nWidth;
  const int blockEnd = w & ~3;  // the four-pixel blocks of a row; the rest is its tail
  const int step = out.nPixelStep;
  for (int y = y0; y < y1; ++y) {
    uint8_t* row = out.pBuffer + static_cast<size_t>(y) * static_cast<size_t>(out.nStride);
    const float* lab = pDst + static_cast<size_t>(y) * w * 4;
    int x = 0;
    if (step == 4) {
      for (; x + N <= blockEnd; x += N) {
        VF l, alpha, beta, a;
        hn::LoadInterleaved4(df, lab + 4 * x, l, alpha, beta, a);
        const VF u = hn::Div(l, hn::Set(df, 3.0f));
        const VF v = hn::Div(alpha, hn::Set(df, 6.0f));
        const VF wv = hn::Mul(beta, hn::Set(df, 0.5f));
        const VF uv = hn::Add(u, v);
        const VF L = bitExpRound(hn::Add(uv, wv));
        const VF M = bitExpRound(hn::Sub(uv, wv));
        const VF S = bitExpRound(hn::Sub(hn::Sub(u, v), v));

        const VF blue = hn::Add(
            hn::Sub(hn::Mul(hn::Set(df, 0.0497f), L), hn::Mul(hn::Set(df, 0.2439f), M)),
            hn::Mul(hn::Set(df, 1.2045f), S));
        const VF green = hn::Sub(
            hn::Add(hn::Mul(hn::Set(df, -1.2186f), L), hn::Mul(hn::Set(df, 2.3809f), M)),
            hn::Mul(hn::Set(df, 0.1624f), S));
        const VF red = hn::Add(
            hn::Sub(hn::Mul(hn::Set(df, 4.4679f), L), hn::Mul(hn::Set(df, 3.5873f), M)),
            hn::Mul(hn::Set(df, 0.1193f), S));

        // The pixel's alpha truncates, as it does everywhere; it is a whole number anyway.
        const VU bgr = hn::Or(hn::BitCast(du, channelRound(blue)),
                              hn::Or(hn::ShiftLeft<8>(hn::BitCast(du, channelRound(green))),
                                     hn::ShiftLeft<16>(hn::BitCast(du, channelRound(red)))));
        const VU px = hn::Or(bgr, hn::ShiftLeft<24>(hn::BitCast(du, toInt32<false>(a))));
        hn::StoreU(px, du, reinterpret_cast<uint32_t*>(row + 4 * x));
      }
    }
    // Block pixels a full vector did not cover, then the row's tail.
    for (; x < blockEnd; ++x) LabToPixel(lab + 4 * x, row + static_cast<size_t>(x) * step, true);
    for (; x < w; ++x) LabToPixel(lab + 4 * x, row + static_cast<size_t>(x) * step, false);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace colormatch
}  // namespace Orvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel {
namespace colormatch {

HWY_EXPORT(ConvertRgbToLabImpl);
HWY_EXPORT(SumLabImpl);
HWY_EXPORT(SumSquaredDeviationsImpl);
HWY_EXPORT(RecolorLabImpl);
HWY_EXPORT(ConvertLabToRgbImpl);

void ConvertRgbToLabFast(const BufferData& in, int y0, int y1, float* pLab) {
  HWY_DYNAMIC_DISPATCH(ConvertRgbToLabImpl)(in, y0, y1, pLab);
}

void SumLabFast(const float* pLab, int width, int y0, int y1, float sum[3]) {
  HWY_DYNAMIC_DISPATCH(SumLabImpl)(pLab, width, y0, y1, sum);
}

void SumSquaredDeviationsFast(const float* pLab, int width, int y0, int y1, const float mean[3],
                              float var[3]) {
  HWY_DYNAMIC_DISPATCH(SumSquaredDeviationsImpl)(pLab, width, y0, y1, mean, var);
}

void RecolorLabFast(const float* pLab, float* pDst, int width, int y0, int y1,
                    const float ratio[3], const float offset[3]) {
  HWY_DYNAMIC_DISPATCH(RecolorLabImpl)(pLab, pDst, width, y0, y1, ratio, offset);
}

void ConvertLabToRgbFast(const float* pDst, const BufferData& out, int y0, int y1) {
  HWY_DYNAMIC_DISPATCH(ConvertLabToRgbImpl)(pDst, out, y0, y1);
}

std::vector<int64_t> FastTargets() {
  std::vector<int64_t> targets;
  const int64_t compiled = HWY_TARGETS & hwy::SupportedTargets();
  for (int i = 0; i < 63; ++i) {
    const int64_t bit = int64_t{1} << i;  // lower bits are the better targets
    if (compiled & bit) targets.push_back(bit);
  }
  return targets;
}

}  // namespace colormatch
}  // namespace Orvel
#endif  // HWY_ONCE
