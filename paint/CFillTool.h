#pragma once

#include "engine/thread_pool.h"
#include "orvel/paint_params.h"

namespace Orvel {

// Marks the pixels that match a clicked point.
class MagicWand {
 public:
  virtual ~MagicWand() = default;
  void SetFastPath(bool bOn) { m_bFastPath = bOn; }
  bool m_bFastPath = false;
};

class CFillTool {
 public:
  explicit CFillTool(CThreadPool* pPool) : m_pThreadPool(pPool), m_Jobs(pPool) {}
  virtual ~CFillTool() = default;

  CThreadPool* m_pThreadPool;
  MagicWand m_magic_wand;
  PoolJobs m_Jobs;
};

}  // namespace Orvel
