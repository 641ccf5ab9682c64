// Dissolve (blend mode 27): the source's alpha becomes a hard 0 or 255 by comparing alpha and
// opacity with noise; the caller then blends the result as Normal at full opacity.
#include <algorithm>
#include <cstddef>
#include <new>

#include "compositing/CBlendTool.h"
#include "compositing/Noise.h"

namespace Orvel {

namespace {

// The test of one pixel with alpha a, noise n and opacity o (percent). Full alpha at full
// opacity survives whatever the noise; alpha 0 never does.
inline uint8_t dissolvedAlpha(int a, int n, int o) {
  const bool bKeep = int64_t(n) * 100 < int64_t(o) * a || (a == 255 && o == 100);
  return bKeep ? 255 : 0;
}

// Noise coordinate of a pixel coordinate: trunc((float)(v + offset) x scale), in 32-bit
// floats. Negative when it falls before the table; the sum wraps like the 32-bit integers it
// is made of.
inline bool noiseIndex(int32_t v, int32_t offset, float scale, int32_t size, int32_t* pIndex) {
  const int32_t sum =
      static_cast<int32_t>(static_cast<uint32_t>(v) + static_cast<uint32_t>(offset));
  const float f = static_cast<float>(sum) * scale;
  // Truncation of anything in (-1, size) lands in the table; the test is written so that NaN
  // and huge values fail it before any conversion.
  if (!(f > -1.0f && f < 2147483520.0f)) return false;
  const int32_t i = static_cast<int32_t>(f);
  if (i >= size) return false;
  *pIndex = i;
  return true;
}

// Walks the pixels of `walk` (buffer coordinates), with x and y counted from (x0, y0). In each
// row the pointer starts at the first pixel's last element and moves on only for pixels whose
// noise lies in the table: pixels that fall outside the noise make the rest of the row slide
// left in noise terms instead of being skipped in place. Hosts size the table like the image.
void dissolveWalk(BufferData& buf, const IntRect& walk, int32_t x0, int32_t y0, int nOpacity,
                  const DissolveParam& dp, const uint8_t* table) {
  const int step = buf.nPixelStep;
  for (int32_t y = walk.t; y < walk.b; ++y) {
    int32_t ny;
    // Outside the table in y: no pixel of the row moves the pointer, so none is tested.
    if (!noiseIndex(y - y0, dp.nOffsetY, dp.fScale, dp.nHeight, &ny)) continue;
    const uint8_t* noiseRow = table + ptrdiff_t(ny) * dp.nWidth;
    uint8_t* p = buf.pBuffer + ptrdiff_t(y) * buf.nStride + ptrdiff_t(walk.l) * step + (step - 1);
    for (int32_t x = walk.l; x < walk.r; ++x) {
      int32_t nx;
      if (!noiseIndex(x - x0, dp.nOffsetX, dp.fScale, dp.nWidth, &nx)) continue;
      *p = dissolvedAlpha(*p, noiseRow[nx], nOpacity);
      p += step;
    }
  }
}

IntRect bufferPart(const IntRect& rc, const BufferData& buf) {
  return IntRect{std::max(rc.l, 0), std::max(rc.t, 0), std::min(rc.r, buf.nWidth),
                 std::min(rc.b, buf.nHeight)};
}

}  // namespace

HRESULT CBlendTool::ApplyDissolve(BufferData& buf, int nOpacity,
                                  const DissolveParam& dissolve_param, bool bReseed) {
  if (!buf.pBuffer) return E_POINTER;
  if (buf.nDepth != 0) return E_NOTIMPL;
  if (buf.nPixelStep < 1) return E_INVALIDARG;  // the alpha is the last element of a pixel
  // Reseeding makes the same seed give the same picture on every call; without it the
  // sequence goes on where the last call left it (the brush's later stamps).
  if (bReseed) m_pDissolveRand.reset();
  if (!m_pDissolveRand) {
    m_pDissolveRand.reset(new (std::nothrow) MinStdRand(dissolve_param.nSeed));
    if (!m_pDissolveRand) return E_OUTOFMEMORY;
  }
  const size_t w = size_t(std::max(dissolve_param.nWidth, 0));
  const size_t h = size_t(std::max(dissolve_param.nHeight, 0));
  const size_t n = w * h;
  uint8_t* table = new (std::nothrow) uint8_t[n > 0 ? n : 1];
  if (!table) return E_OUTOFMEMORY;
  for (size_t i = 0; i < n; ++i) table[i] = static_cast<uint8_t>(m_pDissolveRand->Draw255());

  // The whole buffer, whatever its ROI says.
  dissolveWalk(buf, IntRect{0, 0, std::max(buf.nWidth, 0), std::max(buf.nHeight, 0)}, 0, 0,
               nOpacity, dissolve_param, table);
  delete[] table;
  return S_OK;
}

HRESULT CBlendTool::ApplyDissolveWithNoise(BufferData& buf, int nOpacity,
                                           const DissolveParam& dissolve_param,
                                           const BufferData* mp_NoisePattern) {
  // The pattern must be a byte table of exactly the size the parameters describe.
  if (!mp_NoisePattern || mp_NoisePattern->nDepth != 0 ||
      mp_NoisePattern->nWidth != dissolve_param.nWidth ||
      mp_NoisePattern->nHeight != dissolve_param.nHeight)
    return E_INVALIDARG;
  if (!mp_NoisePattern->pBuffer || !buf.pBuffer) return E_POINTER;
  if (buf.nDepth != 0) return E_NOTIMPL;
  if (buf.nPixelStep < 1) return E_INVALIDARG;
  // The ROI only, with x and y counted from its corner; the walk keeps to the memory.
  dissolveWalk(buf, bufferPart(buf.ROI, buf), buf.ROI.l, buf.ROI.t, nOpacity, dissolve_param,
               mp_NoisePattern->pBuffer);
  return S_OK;
}

}  // namespace Orvel
