#pragma once

#include "engine/base_effect.h"
#include "engine/thread_pool.h"
#include "orvel/paint_params.h"

namespace Orvel {

class CBlendTool;

// Keeps the stroke in progress and stamps it.
class CBrushTool : public CBaseEffect {
 public:
  CBrushTool(CThreadPool* pPool, CBlendTool* pBlendTool)
      : m_pThreadPool(pPool), m_pBlendTool(pBlendTool), m_Jobs(pPool) {}

  void SetFastPath(bool bOn) { m_bFastPath = bOn; }

  CThreadPool* m_pThreadPool;
  CBlendTool* m_pBlendTool;
  bool m_bFastPath = false;
  PoolJobs m_Jobs;
};

}  // namespace Orvel
