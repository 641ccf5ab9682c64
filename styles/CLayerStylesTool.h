#pragma once

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

  void SetFastPath(bool bOn) { m_bFastPath = bOn; }

  CThreadPool* m_pThreadPool;
  CBlendTool* m_pBlendTool;
  CMaskTool* m_pMaskTool;
  CTransformTool* m_pTransformTool;
  CGradientTool* m_pGradientTool;
  bool m_bFastPath = false;
  PoolJobs m_Jobs;
};

}  // namespace Orvel
