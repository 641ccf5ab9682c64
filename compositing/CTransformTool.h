// Maps each output pixel back through a projective matrix, samples and composites it.
#pragma once

#include "engine/thread_pool.h"
#include "orvel/compositing_params.h"

namespace Orvel {

class CBlendTool;

class CTransformTool {
 public:
  CTransformTool(CThreadPool* pPool, CBlendTool* pBlendTool)
      : m_pThreadPool(pPool), m_pBlendTool(pBlendTool), m_Jobs(pPool) {}
  virtual ~CTransformTool() = default;

  void SetFastPath(bool bOn) { m_bFastPath = bOn; }

  CThreadPool* m_pThreadPool;
  CBlendTool* m_pBlendTool;
  bool m_bFastPath = false;
  PoolJobs m_Jobs;
};

}  // namespace Orvel
