#pragma once

#include <cstdint>
#include <memory>

#include "engine/thread_pool.h"
#include "orvel/gradient_params.h"

namespace Orvel {

class CGradientTool;

// One strip of a drawing job: the rows rcStrip.t..rcStrip.b of pBuf's region.
struct GradientWorkerParam {
  CGradientTool* pTool = nullptr;
  const BufferData* pBuf = nullptr;
  const GradientParam* pParam = nullptr;
  IntRect rcStrip;
  int32_t nStrip = 0;         // strip number, seeds the strip's dither generator
  float* pScratch = nullptr;  // error and index rows, private to the strip
};

// Builds colour tables from stops and draws the five gradient shapes with error diffusion.
class CGradientTool {
 public:
  static constexpr int kBaseCount = 1024;
  static constexpr int kRefCount = 3070;

  explicit CGradientTool(CThreadPool* pPool);
  virtual ~CGradientTool() = default;
  CGradientTool(const CGradientTool&) = delete;
  CGradientTool& operator=(const CGradientTool&) = delete;

  // Builds the 1024-entry base table and the 3070-entry table from the stops. 0, E_INVALIDARG
  // (stop counts; the tables are then left as they were), E_POINTER (a stop array missing) or
  // E_OUTOFMEMORY (the tables could not be made).
  HRESULT SetColorReferenceWithAnchor(const ReferenceParam* pRef);

  // Fills the region of an 8-bit four-channel buffer with the last built table, in strips on
  // the pool. The record's nGradientType, ptBegin and ptEnd are read.
  HRESULT DrawObject(const BufferData* pBuf, const GradientParam* pParam);

  // The table that all users read, and its entry count (0 before the first build).
  const ColorF* RefTable() const { return m_spRefTable.get(); }
  const ColorF* BaseTable() const { return m_spBaseTable.get(); }
  int32_t RefCount() const { return m_nRefCount; }

  int32_t m_PlainTable[kBaseCount][4] = {};
  std::shared_ptr<ColorF[]> m_spBaseTable;
  std::shared_ptr<ColorF[]> m_spRefTable;
  int32_t m_nRefCount = 0;
  CThreadPool* m_pThreadPool;
  PoolJobs m_Jobs;
  GradientWorkerParam m_WorkerParam[PoolJobs::kMaxJobs];

 private:
  HRESULT allocateTables();
  static void drawStrip(void* pJob, HRESULT* pStatus);
};

}  // namespace Orvel
