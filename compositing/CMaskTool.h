#pragma once

// Masks: the object-by-mask multiplication, the box blur, inversion and the merge of grey
// buffers. Every loop that fans out to the pool cuts its work the same way: n = min(threads, 8)
// slices of extent / n, the last one taking the rest.

#include <cstdint>

#include "engine/base_effect.h"
#include "engine/thread_pool.h"
#include "orvel/compositing_params.h"

namespace Orvel {

class CMaskTool;

// One job of a blur pass. pSrc and pDst are those of BoxBlur8/BoxBlur16 in both passes: the
// row pass reads pDst and writes pSrc, the column pass reads pSrc and writes pDst. In the
// fast form each band of the row pass makes its own copy first, so that the copy runs in
// parallel and the rows are still in cache when they are read.
struct BlurWorkerParam {
  CMaskTool* pTool = nullptr;
  void* pSrc = nullptr;
  void* pDst = nullptr;
  int32_t nRadius = 0;
  IntRect rc;            // rows (0, start, w, end) or columns (start, 0, end, h)
  int32_t nWidth = 0;    // elements per line of the row pass
  int32_t nStride = 0;   // elements from one row to the next
  int32_t BlurType = 0;  // 0 along rows, 1 along columns
};

// One stripe of MergeMask.
struct MaskMergeJob {
  BufferData* pDst = nullptr;
  const BufferData* pSrc = nullptr;
  int32_t nMergeMode = 0;
  IntRect rcMerge;   // the whole merge rectangle (the intersection tests it)
  IntRect rcStripe;  // this stripe of rcMerge
  IntRect rcRoi;     // this stripe of the destination's ROI
};

// One stripe of InvertMask.
struct InvertJob {
  BufferData* pBuf = nullptr;
  IntRect rc;
};

// One stripe of ApplyMask; rc is in mask coordinates.
struct ApplyMaskJob {
  CMaskTool* pTool = nullptr;
  BufferData* pObject = nullptr;
  const BufferData* pMask = nullptr;
  IntRect rc;
  int32_t nOffsetX = 0;  // object column = mask column - nOffsetX
  int32_t nOffsetY = 0;
};

class CMaskTool : public CBaseEffect {
 public:
  explicit CMaskTool(CThreadPool* pPool) : m_pThreadPool(pPool), m_Jobs(pPool) {}
  CMaskTool(const CMaskTool&) = delete;
  CMaskTool& operator=(const CMaskTool&) = delete;

  void SetFastPath(bool bOn) { m_bFastPath = bOn; }

  // Multiplies the object's alpha by the mask where the two overlap. pOrigin is where the
  // object's top-left pixel lies in mask coordinates. The mask's rectangle is its ROI with
  // bUseMaskROI, otherwise the bounding box of its non-zero pixels. Returns 1 when the
  // rectangles do not meet (the object is left alone). 8-bit buffers only.
  HRESULT ApplyMask(BufferData* pObject, const Point* pOrigin, BufferData* pMask, bool bUseMaskROI);
  HRESULT ApplyMask(BufferData& object, const Point& origin, BufferData& mask,
                    bool bUseMaskROI = false) {
    return ApplyMask(&object, &origin, &mask, bUseMaskROI);
  }

  // Two box passes over the whole buffer, the second with radius x 3 / 2. A radius below 1
  // changes nothing and answers 0.
  HRESULT BlurMask(BufferData* pBuf, const int32_t* pRadius);

  // One box pass in place; status 1 with nothing done when the radius is below 1.
  HRESULT Blur(BufferData& buf, const int32_t* pRadius);

  // Complements the first element of every pixel of the ROI.
  HRESULT InvertMask(BufferData* pBuf);
  HRESULT InvertMask(BufferData& buf) { return InvertMask(&buf); }

  // Combines the first element of the source's pixels into the destination's (add, subtract
  // or intersect), the source shifted by rcMerge's corner.
  HRESULT MergeMask(BufferData* pDst, BufferData* pSrc, MaskMergeParam* pParam);
  HRESULT MergeMask(BufferData& dst, BufferData& src, MaskMergeParam& param) {
    return MergeMask(&dst, &src, &param);
  }

  // The box pass on w x h elements with a row pitch of nStride elements. The result stands
  // in pDst; pSrc is left holding the row pass. The radius shrinks to (min(w, h) - 1) / 2
  // when the window would not fit; a negative radius counts as 0.
  HRESULT BoxBlur8(uint8_t* pSrc, uint8_t* pDst, int32_t nWidth, int32_t nHeight, int32_t nStride,
                   int32_t nRadius);
  HRESULT BoxBlur16(uint16_t* pSrc, uint16_t* pDst, int32_t nWidth, int32_t nHeight,
                    int32_t nStride, int32_t nRadius);

  CThreadPool* m_pThreadPool;
  PoolJobs m_Jobs;
  BlurWorkerParam m_BlurJobs[PoolJobs::kMaxJobs];
  MaskMergeJob m_MergeJobs[PoolJobs::kMaxJobs];
  InvertJob m_InvertJobs[PoolJobs::kMaxJobs];
  ApplyMaskJob m_MaskJobs[PoolJobs::kMaxJobs];
  bool m_bFastPath = false;

  // Number of jobs the last fanning call gave to the pool; 0 when it ran on the calling
  // thread.
  int LastStripeCount() const { return m_nLastStripes; }

 private:
  template <class T>
  HRESULT boxBlur(T* pSrc, T* pDst, int32_t nWidth, int32_t nHeight, int32_t nStride,
                  int32_t nRadius);
  // Runs n jobs on the pool, or job 0 alone on this thread when n is 1.
  HRESULT runJobs(int n, WorkFn fn, void* const* jobs);

  int m_nLastStripes = 0;
};

}  // namespace Orvel
