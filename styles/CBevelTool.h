#pragma once

#include "engine/thread_pool.h"
#include "orvel/styles_params.h"

namespace Orvel {

class CBlendTool;
class CMaskTool;

class CBevelTool {
 public:
  CBevelTool(CThreadPool* pPool, CBlendTool* pBlendTool, CMaskTool* pMaskTool)
      : m_pThreadPool(pPool), m_pBlendTool(pBlendTool), m_pMaskTool(pMaskTool), m_Jobs(pPool) {}
  virtual ~CBevelTool() = default;

  void SetFastPath(bool bOn) { m_bFastPath = bOn; }

  CThreadPool* m_pThreadPool;
  CBlendTool* m_pBlendTool;
  CMaskTool* m_pMaskTool;
  bool m_bFastPath = false;
  PoolJobs m_Jobs;
};

}  // namespace Orvel
