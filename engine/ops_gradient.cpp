// The gradient operations: building the colour table, drawing a gradient object, and the
// gradient overlay style.
#include <memory>
#include <new>

#include "engine/COrvel.h"
#include "engine/call_frame.h"

namespace Orvel {

// 12: builds the gradient colour table from channel arrays.
HRESULT COrvel::GradientReference(int32_t nColors, const float* pColorPos, const int32_t* pRed,
                                  const int32_t* pGreen, const int32_t* pBlue, int32_t nOpacities,
                                  const float* pOpacityPos, const int32_t* pOpacities,
                                  bool bReverse) {
  if (!pColorPos || !pRed || !pGreen || !pBlue || !pOpacityPos || !pOpacities) return E_POINTER;
  CallFrame frame(m_bPerformance, m_PerformanceCenter, PERF_GRADIENT_REFERENCE,
                  "GradientReference");
  // The channel arrays become one temporary array of colours; a count below 1 leaves it
  // empty and the tool refuses the count.
  std::shared_ptr<Color[]> spColors;
  if (nColors > 0) {
    Color* p = new (std::nothrow) Color[nColors];
    if (!p) return frame.Refuse(E_OUTOFMEMORY);
    try {
      spColors.reset(p);
    } catch (...) {
      return frame.Refuse(E_OUTOFMEMORY);
    }
    for (int32_t i = 0; i < nColors; ++i) spColors[i] = Color(pBlue[i], pGreen[i], pRed[i], 255);
  }
  ReferenceParam referenceParam;
  referenceParam.nColors = nColors;
  referenceParam.pColorPos = pColorPos;
  referenceParam.pColors = spColors.get();
  referenceParam.nOpacities = nOpacities;
  referenceParam.pOpacityPos = pOpacityPos;
  referenceParam.pOpacities = pOpacities;
  referenceParam.nMidpoints = 0;
  referenceParam.pMidpoints = nullptr;
  referenceParam.bReverse = bReverse;
  HRESULT hr = S_OK;
  ORVEL_CHECK(frame, hr, m_GradientTool.SetColorReferenceWithAnchor(&referenceParam));
  return frame.Finish(hr);
}

// 13: draws the gradient object, then dissolves, masks and places it.
HRESULT COrvel::GenerateGradient(BufferData* pBufOut, GradientParam* pParam) {
  if (!pBufOut || !pParam) return E_POINTER;
  if (pParam->nBlendMode == BLEND_ERASE) return E_NOTIMPL;
  CallFrame frame(m_bPerformance, m_PerformanceCenter, PERF_GENERATE_GRADIENT, "GenerateGradient");
  if (pParam->nWidth < 0 || pParam->nHeight < 0) return frame.Refuse(E_INVALIDARG);

  // The object: a fresh four-channel image of the parameter's size on scratch memory.
  BufferData like;
  like.nWidth = pParam->nWidth;
  like.nHeight = pParam->nHeight;
  like.nStride = pParam->nWidth * 4;
  like.nPixelStep = 4;
  like.nMaxValue = 255;
  like.nDepth = 0;
  like.nFormat = FORMAT_BGRA8;
  like.ROI = IntRect{0, 0, pParam->nWidth, pParam->nHeight};
  BufferData BufObj;
  const size_t bytes =
      static_cast<size_t>(pParam->nWidth) * 4 * static_cast<size_t>(pParam->nHeight);
  if (MakeBufObj(m_ScratchA, like, bytes, BufObj) < 0) return frame.Refuse(E_OUTOFMEMORY);

  HRESULT hr = S_OK;
  ORVEL_CHECK(frame, hr, m_GradientTool.DrawObject(&BufObj, pParam));
  if (pParam->nBlendMode == BLEND_DISSOLVE) {
    ORVEL_CHECK(frame, hr,
                m_BlendTool.ApplyDissolve(BufObj, pParam->nOpacity, pParam->dissolve_param));
  }
  if (pParam->pBufMask && pParam->pBufMask->pBuffer) {
    const Point ObjectOrigin{static_cast<float>(BufObj.ROI.l), static_cast<float>(BufObj.ROI.t)};
    ORVEL_CHECK(frame, hr, m_MaskTool.ApplyMask(BufObj, ObjectOrigin, *(pParam->pBufMask)));
  }
  // Transformation and blending in one pass. A dissolve has already spent the opacity on the
  // object's alpha, so the placing blends at full strength.
  BlendParam p;
  p.nBlendMode = pParam->nBlendMode;
  p.nOpacity = pParam->nBlendMode == BLEND_DISSOLVE ? 100 : pParam->nOpacity;
  p.bLegacyFlag = false;
  p.bOverwrite = false;
  p.dissolve_param = pParam->dissolve_param;
  ORVEL_CHECK(frame, hr, m_TransformTool.Process(&BufObj, pBufOut, &p, pParam->TransformMatrix));
  return frame.Finish(hr);
}

// 61: builds the overlay's colour table, derives its axis and draws it.
HRESULT COrvel::GradientOverlay(BufferData* pBufIn, BufferData* pBufOut,
                                GradientOverlayParam* pParam) {
  // pBufIn is required but not read: the overlay is drawn over the whole output region.
  if (!pBufIn || !pBufOut || !pParam) return E_POINTER;
  CallFrame frame(m_bPerformance, m_PerformanceCenter, PERF_GRADIENT_OVERLAY, "GradientOverlay");
  HRESULT hr = S_OK;
  ORVEL_CHECK(frame, hr, m_LayerStylesTool.GradientOverlay(pBufOut, pParam));
  return frame.Finish(hr);
}

// 64: builds the gradient colour table from the stops record.
HRESULT COrvel::GradientReference2(ReferenceParam* pParam) {
  if (!pParam) return E_POINTER;
  CallFrame frame(m_bPerformance, m_PerformanceCenter, PERF_GRADIENT_REFERENCE,
                  "GradientReference");
  HRESULT hr = S_OK;
  ORVEL_CHECK(frame, hr, m_GradientTool.SetColorReferenceWithAnchor(pParam));
  return frame.Finish(hr);
}

}  // namespace Orvel
