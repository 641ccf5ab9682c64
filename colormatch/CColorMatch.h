// Colour statistics transfer in a logarithmic opponent space (l, alpha, beta): the image to
// change (src, recoloured in place) takes the per-channel mean and deviation of a reference
// (tar).
#pragma once

#include <cstdint>

#include "engine/base_effect.h"
#include "engine/thread_pool.h"
#include "orvel/types.h"

namespace Orvel {

class CColorMatch;

// One strip of a threaded side: what a worker needs for any of the eight worker stages.
struct MatchStripParam {
  int32_t nStage = 0;  // worker stage, 1..8
  int32_t nIndex = 0;  // strip index
  // src strip and tar strip: left, top, width, height
  int32_t nSrcLeft = 0, nSrcTop = 0, nSrcWidth = 0, nSrcHeight = 0;
  int32_t nTarLeft = 0, nTarTop = 0, nTarWidth = 0, nTarHeight = 0;
  CColorMatch* pTool = nullptr;
  BufferData* pSrc = nullptr;  // recoloured in place
  const BufferData* pTar = nullptr;
  float* pSrcLab = nullptr;
  float* pTarLab = nullptr;
  float* pDstLab = nullptr;  // the recoloured values
  float fSum[3] = {};        // this strip's partial sums of l, alpha, beta
  float fVar[3] = {};        // this strip's partial squared deviations
  const float* pSrcMean = nullptr;
  const float* pTarMean = nullptr;
  const float* pRatio = nullptr;
  const float* pOffset = nullptr;
};

// Worker stage numbers of the threaded forms.
enum MatchStage : int32_t {
  MATCH_CONVERT_SRC = 1,
  MATCH_CONVERT_TAR = 2,
  MATCH_SUM_SRC = 3,
  MATCH_SUM_TAR = 4,
  MATCH_VAR_SRC = 5,
  MATCH_VAR_TAR = 6,
  MATCH_RECOLOR = 7,
  MATCH_TO_RGB = 8,
};

class CColorMatch : public CBaseEffect {
 public:
  static constexpr int kMaxStrips = PoolJobs::kMaxJobs;
  // Below this many pixels a side stays on the calling thread.
  static constexpr int64_t kThreadedPixels = 102400;

  explicit CColorMatch(CThreadPool* pPool);
  ~CColorMatch() override = default;
  CColorMatch(const CColorMatch&) = delete;
  CColorMatch& operator=(const CColorMatch&) = delete;

  // Strip `index` of `count` over the rectangle (left, top, width, height), cut by rows: the
  // same left and width, height / count rows each, the last strip taking the rest.
  virtual void GetStripRect(int index, int count, int left, int top, int width, int height,
                            int* pLeft, int* pTop, int* pWidth, int* pHeight) const;

  // pBufIn is the reference, pBufOut the image recoloured in place. pColorMatchParam is not read.
  HRESULT Process(const BufferData* pBufIn, BufferData* pBufOut, const void* pColorMatchParam);

  void SetFastPath(bool bOn) { m_bUseSimd = bOn; }

  // Whether a side of this size runs on the pool with `nStrips` strips.
  static bool IsThreaded(int32_t nWidth, int32_t nHeight, int nStrips);

  WorkFn m_pfnWorker = nullptr;
  CThreadPool* m_pThreadPool;
  MatchStripParam m_StripParam[kMaxStrips];
  int32_t m_nStrips = 0;
  bool m_bUseSimd = false;

 private:
  struct Run;
  HRESULT runStage(int32_t nStage);

  PoolJobs m_Jobs;
};

}  // namespace Orvel
