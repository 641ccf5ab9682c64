// The blend family of operations: the frame around the blend tool.
#include "engine/COrvel.h"
#include "engine/call_frame.h"
#include "engine/scratch.h"

namespace Orvel {

namespace {

bool hasPixels(const BufferData* p) { return p && p->pBuffer; }

// The blend that follows a dissolve: Normal at full opacity, the caller's bOverwrite and noise
// placement kept.
BlendParam dissolvedBlend(const BlendParam& caller) {
  BlendParam p;
  p.nBlendMode = BLEND_NORMAL;
  p.nOpacity = 100;
  p.bLegacyFlag = false;
  p.bOverwrite = caller.bOverwrite;
  p.dissolve_param = caller.dissolve_param;
  return p;
}

}  // namespace

HRESULT COrvel::Blend(BufferData* pBufIn, BufferData* pBufOut, BlendParam* pBlendParam) {
  if (!hasPixels(pBufIn) || !hasPixels(pBufOut) || !pBlendParam) return E_POINTER;
  CallFrame frame(m_bPerformance, m_PerformanceCenter, PERF_BLEND, "Blend");
  HRESULT hr = S_OK;
  if (pBlendParam->nBlendMode == BLEND_DISSOLVE) {
    // Dissolve hardens a copy of the source against the registered noise, so the host's
    // source stays as it was, and then blends the copy as Normal at full opacity.
    BufferData BufObj;
    if ((hr = MakeBufObjCopy(m_ScratchA, *pBufIn, BufObj)) < 0) return frame.Refuse(hr);
    ORVEL_CHECK(frame, hr,
                m_BlendTool.ApplyDissolveWithNoise(BufObj, pBlendParam->nOpacity,
                                                   pBlendParam->dissolve_param, mp_NoisePattern));
    const BlendParam p = dissolvedBlend(*pBlendParam);
    ORVEL_CHECK(frame, hr, m_BlendTool.Process(&BufObj, pBufOut, &p));
    return frame.Finish(hr);
  }
  ORVEL_CHECK(frame, hr, m_BlendTool.Process(pBufIn, pBufOut, pBlendParam));
  return frame.Finish(hr);
}

HRESULT COrvel::BlendWithSingleColor(BufferData* pBufIn, BufferData* pBufOut, Orvel::Color Color) {
  if (!hasPixels(pBufIn) || !hasPixels(pBufOut)) return E_POINTER;
  CallFrame frame(m_bPerformance, m_PerformanceCenter, PERF_BLEND, "BlendWithSingleColor");
  if ((pBufIn->nFormat != FORMAT_BGRA8 && pBufIn->nFormat != FORMAT_BGRA16) ||
      pBufOut->nFormat != FORMAT_BGR8)
    return frame.Refuse(E_NOTIMPL);
  if (pBufIn->nWidth != pBufOut->nWidth || pBufIn->nHeight != pBufOut->nHeight)
    return frame.Refuse(E_INVALIDARG);
  HRESULT hr = S_OK;
  ORVEL_CHECK(frame, hr, m_BlendTool.BlendWithSingleColor(*pBufIn, *pBufOut, Color));
  return frame.Finish(hr);
}

HRESULT COrvel::BlendWithStyle(BufferData* pBufIn, BufferData* pBufStyle, BufferData* pBufOut,
                               BlendParam* pBlendParam) {
  // The region comes from pBufOut, so it is required along with the other three.
  if (!hasPixels(pBufIn) || !hasPixels(pBufStyle) || !hasPixels(pBufOut) || !pBlendParam)
    return E_POINTER;
  CallFrame frame(m_bPerformance, m_PerformanceCenter, PERF_BLEND, "BlendWithStyle");
  HRESULT hr = S_OK;
  const IntRect r{0, 0, pBufOut->nWidth, pBufOut->nHeight};
  if (pBlendParam->nBlendMode == BLEND_DISSOLVE) {
    // Generated noise, reseeded for each layer, so that both dissolve with the same pattern.
    BufferData BufIn_Dis;
    if ((hr = MakeBufObjCopy(m_ScratchA, *pBufIn, BufIn_Dis)) < 0) return frame.Refuse(hr);
    ORVEL_CHECK(
        frame, hr,
        m_BlendTool.ApplyDissolve(BufIn_Dis, pBlendParam->nOpacity, pBlendParam->dissolve_param));
    const BlendParam p = dissolvedBlend(*pBlendParam);
    if (pBlendParam->nOpacity == 100) {
      // At full opacity only the source dissolves; the style layer goes in as it is.
      ORVEL_CHECK(frame, hr, m_BlendTool.Process(&BufIn_Dis, pBufStyle, pBufOut, r, &p, true));
      return frame.Finish(hr);
    }
    BufferData BufStyle_Dis;
    if ((hr = MakeBufObjCopy(m_ScratchB, *pBufStyle, BufStyle_Dis)) < 0) return frame.Refuse(hr);
    ORVEL_CHECK(frame, hr,
                m_BlendTool.ApplyDissolve(BufStyle_Dis, pBlendParam->nOpacity,
                                          pBlendParam->dissolve_param));
    ORVEL_CHECK(frame, hr, m_BlendTool.Process(&BufIn_Dis, &BufStyle_Dis, pBufOut, r, &p, true));
    return frame.Finish(hr);
  }
  ORVEL_CHECK(frame, hr, m_BlendTool.Process(pBufIn, pBufStyle, pBufOut, r, pBlendParam, true));
  return frame.Finish(hr);
}

HRESULT COrvel::BlendWithFillOpacity(BufferData* pBufIn, BufferData* pBufOut,
                                     BlendParam* pBlendParam, int32_t nFillOpacity) {
  if (!hasPixels(pBufIn) || !hasPixels(pBufOut) || !pBlendParam) return E_POINTER;
  BlendParam p = *pBlendParam;
  p.nOpacity = pBlendParam->nOpacity * nFillOpacity / 100;
  IOrvel* self = this;
  return self->Blend(pBufIn, pBufOut, &p);
}

HRESULT COrvel::BlendColor(BufferData* pBufRef, BufferData* pBufOut, BlendParam* pBlendParam) {
  if (!hasPixels(pBufRef) || !hasPixels(pBufOut) || !pBlendParam) return E_POINTER;
  CallFrame frame(m_bPerformance, m_PerformanceCenter, PERF_BLEND, "BlendColor");
  HRESULT hr = S_OK;
  if (pBlendParam->nBlendMode == BLEND_DISSOLVE) {
    // Dissolve works on the output's alpha directly, with generated noise, and that is all.
    ORVEL_CHECK(
        frame, hr,
        m_BlendTool.ApplyDissolve(*pBufOut, pBlendParam->nOpacity, pBlendParam->dissolve_param));
    return frame.Finish(hr);
  }
  ORVEL_CHECK(frame, hr, m_BlendTool.Process_Color(pBufOut, pBufRef, pBufOut, pBlendParam));
  return frame.Finish(hr);
}

HRESULT COrvel::BlendColor2(BufferData* pBufSrcOut, BufferData* pBufDst,
                            BlendParam* pBlendParam) {
  if (!hasPixels(pBufSrcOut) || !hasPixels(pBufDst) || !pBlendParam) return E_POINTER;
  CallFrame frame(m_bPerformance, m_PerformanceCenter, PERF_BLEND, "BlendColor");
  HRESULT hr = S_OK;
  if (pBlendParam->nBlendMode == BLEND_DISSOLVE) {
    // Dissolve works on the source-and-output's alpha directly, with the registered noise.
    ORVEL_CHECK(frame, hr,
                m_BlendTool.ApplyDissolveWithNoise(*pBufSrcOut, pBlendParam->nOpacity,
                                                   pBlendParam->dissolve_param, mp_NoisePattern));
    return frame.Finish(hr);
  }
  ORVEL_CHECK(frame, hr,
              m_BlendTool.Process_Color2(pBufSrcOut, pBufDst, pBufSrcOut, pBlendParam));
  return frame.Finish(hr);
}

}  // namespace Orvel
