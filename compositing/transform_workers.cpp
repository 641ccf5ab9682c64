// The 56 workers of the transform tool, generated from one template over the blend mode and
// the row. Each is a complete loop: the mode is fixed when the tool picks the worker, never
// looked up per pixel. The composite of a pixel is the blend tool's non-style composite,
// with the sampled pixel as the source and the destination as the backdrop.
#include <algorithm>
#include <cstring>
#include <type_traits>

#include "compositing/CTransformTool.h"
#include "compositing/blend_modes.h"
#include "compositing/transform_kernels.h"

namespace Orvel {

namespace {

template <class Mode>
inline void compositeSample(const uint8_t* sample, uint8_t* dst, int op) {
  BlendMath::CompositePixel<Mode, false, false>(sample, dst, dst, op);
}

// A matrix that only moves the image: no filtering, and the fractional part of the move is
// dropped by truncating the start of the strip's source walk. Reads stay inside the source's
// memory: a near-identity scale can widen the mapped box by a pixel past the source's end,
// and such a destination pixel is left alone.
template <class Mode>
void translateStrip(const TransformWorkerParam& w) {
  const BufferData& in = *w.pBufIn;
  BufferData& out = *w.pBufOut;
  const int x0 = w.rcStrip.l, x1 = w.rcStrip.r, y0 = w.rcStrip.t, y1 = w.rcStrip.b;
  if (x0 >= x1 || y0 >= y1) return;
  auto truncated = [](double v) -> int64_t {
    if (!(v > -1e15 && v < 1e15)) return v > 0 ? int64_t(1e15) : int64_t(-1e15);
    return static_cast<int64_t>(v);
  };
  const int64_t sx0 = truncated(x0 + w.Inverse[12]);
  const int64_t sy0 = truncated(y0 + w.Inverse[13]);
  // Destination columns whose source column lies in 0 .. nWidth - 1.
  const int64_t firstX = std::max<int64_t>(x0, x0 - sx0);
  const int64_t endX = std::min<int64_t>(x1, x0 + (int64_t(in.nWidth) - sx0));
  if (firstX >= endX) return;
  const int op = w.nOpacity256;
  for (int y = y0; y < y1; ++y) {
    const int64_t sy = sy0 + (y - y0);
    if (sy < 0 || sy >= in.nHeight) continue;
    const uint8_t* src =
        in.pBuffer + ptrdiff_t(sy) * in.nStride + ptrdiff_t(sx0 + (firstX - x0)) * in.nPixelStep;
    uint8_t* dst = out.pBuffer + ptrdiff_t(y) * out.nStride + ptrdiff_t(firstX) * out.nPixelStep;
    if (out.nPixelStep == 1) {
      // A mask: the bytes are copied as they are; mode and opacity play no part.
      std::memcpy(dst, src, size_t(endX - firstX));
      continue;
    }
    for (int64_t x = firstX; x < endX; ++x, src += in.nPixelStep, dst += out.nPixelStep)
      compositeSample<Mode>(src, dst, op);
  }
}

// A single-channel destination takes the bilinear sample of the source's first byte as it is.
void maskStrip(const TransformWorkerParam& w) {
  const TransformSampler s(w);
  BufferData& out = *w.pBufOut;
  for (int y = w.rcStrip.t; y < w.rcStrip.b; ++y) {
    const TransformSampler::Row row = s.RowAt(y);
    uint8_t* dst = out.pBuffer + ptrdiff_t(y) * out.nStride;
    for (int x = w.rcStrip.l; x < w.rcStrip.r; ++x) {
      double X, Y;
      if (!s.Map(row, x, X, Y)) continue;
      s.interp->SampleLinearMask(s.pSrc, s.nStride, s.nPixelStep, s.roi, X, Y,
                                 dst + ptrdiff_t(x) * out.nPixelStep);
    }
  }
}

// One pixel of the resampling branch: cubic while the local scale exceeds a quarter, the box
// average below. kRow picks the cubic form.
template <int kRow>
inline bool samplePixel(const TransformSampler& s, const TransformSampler::Row& row, int x,
                        uint8_t* sample) {
  double X, Y;
  if (!s.Map(row, x, X, Y)) return false;
  const float scale = s.LocalScale(row, x);
  if (scale > 0.25f) {
    if constexpr (kRow == 0)
      s.interp->SampleCubic(s.pSrc, s.nStride, s.nPixelStep, s.roi, X, Y, sample);
    else
      s.interp->SampleCubicF(s.pSrc, s.nStride, s.nPixelStep, s.roi, X, Y, sample);
  } else {
    s.interp->SampleBox(s.pSrc, s.nStride, s.nPixelStep, s.roi, X, Y, scale, sample);
  }
  return true;
}

template <class Mode, int kRow>
void resampleStrip(const TransformWorkerParam& w) {
  const TransformSampler s(w);
  BufferData& out = *w.pBufOut;
  const int op = w.nOpacity256;
  const int step = out.nPixelStep;
  // Erase has no eight-pixel kernel: it goes one pixel at a time in both rows.
  constexpr bool kBlocks = kRow == 1 && !Mode::kErase;
  TransformBlockSampler sampleBlock = nullptr;
  TransformBlockComposite compositeBlock = nullptr;
  if constexpr (kBlocks) {
    const CTransformTool* tool = w.pTool;
    sampleBlock =
        tool && tool->m_fnBlockSampler ? tool->m_fnBlockSampler : FastTransformBlockSampler();
    // Normal, the mode of nearly every placement, has its block composite on vectors.
    if (std::is_same_v<Mode, BlendMath::ModeNormal> && step == 4)
      compositeBlock =
          tool && tool->m_fnNormalBlock ? tool->m_fnNormalBlock : FastNormalBlockComposite();
  }
  for (int y = w.rcStrip.t; y < w.rcStrip.b; ++y) {
    const TransformSampler::Row row = s.RowAt(y);
    uint8_t* line = out.pBuffer + ptrdiff_t(y) * out.nStride;
    int x = w.rcStrip.l;
    if constexpr (kBlocks) {
      // Blocks of eight from the strip's left edge; a pixel outside the source stays zero in
      // the block, and a zero alpha leaves the destination as it is.
      alignas(32) uint8_t block[32];
      for (; x + 8 <= w.rcStrip.r; x += 8) {
        sampleBlock(s, row, x, block);
        uint8_t* dst = line + ptrdiff_t(x) * step;
        if (compositeBlock) {
          compositeBlock(block, dst, op);
          continue;
        }
        for (int i = 0; i < 8; ++i) compositeSample<Mode>(block + 4 * i, dst + i * step, op);
      }
    }
    for (; x < w.rcStrip.r; ++x) {
      uint8_t sample[4];
      if (samplePixel<kRow>(s, row, x, sample))
        compositeSample<Mode>(sample, line + ptrdiff_t(x) * step, op);
    }
  }
}

template <class Mode, int kRow>
void transformBlendWorker(void* pJob, HRESULT* pStatus) {
  const TransformWorkerParam& w = *static_cast<const TransformWorkerParam*>(pJob);
  if (IsTranslation(w.Inverse))
    translateStrip<Mode>(w);
  else if (w.pBufOut->nPixelStep == 1)
    maskStrip(w);
  else
    resampleStrip<Mode, kRow>(w);
  *pStatus = S_OK;  // an empty strip reports success too
}

#define ORVEL_TRANSFORM_ENTRY(Mode) &transformBlendWorker<BlendMath::Mode, kRow>,

template <int kRow>
const TransformBlendFn* transformRow() {
  static const TransformBlendFn row[kTransformSlots] = {
      ORVEL_BLEND_MODE_LIST(ORVEL_TRANSFORM_ENTRY)};
  return row;
}

#undef ORVEL_TRANSFORM_ENTRY

}  // namespace

const TransformBlendFn* PortableTransformRow() { return transformRow<0>(); }
const TransformBlendFn* FastTransformRow() { return transformRow<1>(); }

}  // namespace Orvel
