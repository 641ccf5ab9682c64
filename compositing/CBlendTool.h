// Composites one region onto another in 28 modes.
#pragma once

#include "engine/base_effect.h"
#include "engine/thread_pool.h"
#include "orvel/compositing_params.h"

namespace Orvel {

class CBlendTool : public CBaseEffect {
 public:
  explicit CBlendTool(CThreadPool* pPool);
  ~CBlendTool() override;

  void SetFastPath(bool bOn) { m_nTableIndex = bOn ? 1 : 0; }

  CThreadPool* m_pThreadPool;
  int m_nTableIndex = 0;  // 0 portable row, 1 fast row
  PoolJobs m_Jobs;
};

}  // namespace Orvel
