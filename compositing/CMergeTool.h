#pragma once

// Merges the selection held in the alpha of one four-channel buffer into another's: the
// host's add, subtract, intersect, exclude and replace selection commands.

#include <cstdint>

#include "engine/base_effect.h"
#include "engine/thread_pool.h"
#include "orvel/compositing_params.h"

namespace Orvel {

// One stripe of a merge.
struct MergeJob {
  const BufferData* pSrc = nullptr;
  BufferData* pDst = nullptr;
  int32_t nMergeMode = 0;
  IntRect rcMerge;   // the whole merge rectangle (the intersection tests it)
  IntRect rcStripe;  // this stripe of rcMerge
  IntRect rcRoi;     // this stripe of the destination's ROI
  Color crMerge;
};

class CMergeTool : public CBaseEffect {
 public:
  explicit CMergeTool(CThreadPool* pPool) : m_pThreadPool(pPool), m_Jobs(pPool) {}
  CMergeTool(const CMergeTool&) = delete;
  CMergeTool& operator=(const CMergeTool&) = delete;

  // Both buffers are read at the same (x, y). The work always goes to the pool in
  // min(threads, 8) stripes; an unknown mode fails in every stripe with E_NOTIMPL.
  HRESULT Merge(BufferData* pSrc, BufferData* pDst, MergeParam* pParam);

  CThreadPool* m_pThreadPool;
  PoolJobs m_Jobs;
  MergeJob m_JobRecords[PoolJobs::kMaxJobs];
};

}  // namespace Orvel
