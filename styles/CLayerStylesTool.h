#pragma once

#include <cstdint>

#include "engine/thread_pool.h"
#include "orvel/styles_params.h"

namespace Orvel {

class CBlendTool;
class CMaskTool;
class CTransformTool;
class CGradientTool;

// Shadow, border, glows, gradient overlay and the adjust family.
class CLayerStylesTool {
 public:
  CLayerStylesTool(CThreadPool* pPool, CBlendTool* pBlendTool, CMaskTool* pMaskTool,
                   CTransformTool* pTransformTool, CGradientTool* pGradientTool)
      : m_pThreadPool(pPool),
        m_pBlendTool(pBlendTool),
        m_pMaskTool(pMaskTool),
        m_pTransformTool(pTransformTool),
        m_pGradientTool(pGradientTool),
        m_Jobs(pPool) {}
  virtual ~CLayerStylesTool() = default;

  void SetFastPath(bool bOn) { m_bUseFastPath = bOn ? 1 : 0; }

  // Builds the overlay's colour table, derives its axis from the shape's bounds (written back
  // into pParam) and draws it into the region of pBufOut.
  HRESULT GradientOverlay(BufferData* pBufOut, GradientOverlayParam* pParam);

  // The overlay's axis: the end point where a ray from the centre of rcShape at nAngle degrees
  // leaves the box, scaled by nScale percent; the begin point is the centre, or for a linear
  // gradient the mirror of the end point. Both are moved by the offsets. Always 0.
  HRESULT m_fnCaculBeginEndPoints(GradientOverlayParam* pParam);

  CThreadPool* m_pThreadPool;
  CBlendTool* m_pBlendTool;
  CMaskTool* m_pMaskTool;
  CTransformTool* m_pTransformTool;
  CGradientTool* m_pGradientTool;
  int32_t m_bUseFastPath = 0;
  PoolJobs m_Jobs;
};

}  // namespace Orvel
