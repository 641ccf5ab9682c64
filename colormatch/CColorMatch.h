#pragma once

#include "engine/base_effect.h"
#include "engine/thread_pool.h"
#include "orvel/types.h"

namespace Orvel {

// Gives one image the colour statistics of another.
class CColorMatch : public CBaseEffect {
 public:
  explicit CColorMatch(CThreadPool* pPool) : m_pThreadPool(pPool), m_Jobs(pPool) {}

  void SetFastPath(bool bOn) { m_bUseSimd = bOn; }

  CThreadPool* m_pThreadPool;
  bool m_bUseSimd = false;
  PoolJobs m_Jobs;
};

}  // namespace Orvel
