#pragma once

// Merges the alpha of one buffer into another.

#include "engine/base_effect.h"
#include "engine/thread_pool.h"
#include "orvel/compositing_params.h"

namespace Orvel {

class CMergeTool : public CBaseEffect {
 public:
  explicit CMergeTool(CThreadPool* pPool) : m_pThreadPool(pPool), m_Jobs(pPool) {}

  CThreadPool* m_pThreadPool;
  PoolJobs m_Jobs;
};

}  // namespace Orvel
