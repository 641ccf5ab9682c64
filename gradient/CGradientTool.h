#pragma once

#include "engine/thread_pool.h"
#include "orvel/gradient_params.h"

namespace Orvel {

// Builds colour tables from stops and draws the five gradient shapes.
class CGradientTool {
 public:
  explicit CGradientTool(CThreadPool* pPool) : m_pThreadPool(pPool), m_Jobs(pPool) {}
  virtual ~CGradientTool() = default;

  CThreadPool* m_pThreadPool;
  PoolJobs m_Jobs;
};

}  // namespace Orvel
