#pragma once

// Masks, the box blur, inversion and the merge of grey buffers.

#include "engine/base_effect.h"
#include "engine/thread_pool.h"
#include "orvel/compositing_params.h"

namespace Orvel {

class CMaskTool : public CBaseEffect {
 public:
  explicit CMaskTool(CThreadPool* pPool) : m_pThreadPool(pPool), m_Jobs(pPool) {}

  void SetFastPath(bool bOn) { m_bFastPath = bOn; }

  CThreadPool* m_pThreadPool;
  bool m_bFastPath = false;
  PoolJobs m_Jobs;
};

}  // namespace Orvel
