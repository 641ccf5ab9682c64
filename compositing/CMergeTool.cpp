#include "compositing/CMergeTool.h"

#include <algorithm>
#include <cstdlib>

#include "compositing/merge_kernels.h"
#include "engine/trace.h"

namespace Orvel {

namespace {

IntRect intersect(const IntRect& a, const IntRect& b) {
  return IntRect{std::max(a.l, b.l), std::max(a.t, b.t), std::min(a.r, b.r), std::min(a.b, b.b)};
}

IntRect bufferRect(const BufferData& buf) {
  return IntRect{0, 0, std::max(buf.nWidth, 0), std::max(buf.nHeight, 0)};
}

IntRect columnStripe(const IntRect& rc, int n, int i) {
  int begin = 0, end = 0;
  SliceRange(std::max(rc.r - rc.l, 0), n, i, &begin, &end);
  return IntRect{rc.l + begin, rc.t, rc.l + end, rc.b};
}

template <class T>
T* pixelAt(const BufferData& buf, int x, int y) {
  return reinterpret_cast<T*>(buf.pBuffer + ptrdiff_t(y) * buf.nStride) +
         ptrdiff_t(x) * buf.nPixelStep;
}

template <class T>
void setColour(T* d, const Color& c) {
  d[0] = static_cast<T>(c.b);
  d[1] = static_cast<T>(c.g);
  d[2] = static_cast<T>(c.r);
}

// Visits the pixels of rc that lie in both buffers, as (source pixel, destination pixel);
// outside the source there is no selection to merge, so nothing happens there.
template <class T, class Fn>
void forBoth(const MergeJob& job, const IntRect& walk, Fn fn) {
  const IntRect rc = intersect(intersect(walk, bufferRect(*job.pDst)), bufferRect(*job.pSrc));
  for (int y = rc.t; y < rc.b; ++y) {
    const T* s = pixelAt<const T>(*job.pSrc, rc.l, y);
    T* d = pixelAt<T>(*job.pDst, rc.l, y);
    for (int x = rc.l; x < rc.r; ++x, s += job.pSrc->nPixelStep, d += job.pDst->nPixelStep)
      fn(s, d);
  }
}

// Four-byte pixels with alpha in the top byte go through the vector workers.
HRESULT mergeStripeVector(const MergeJob& job) {
  const BufferData& src = *job.pSrc;
  BufferData& dst = *job.pDst;
  const Color& c = job.crMerge;
  const uint32_t colour =
      uint32_t(uint8_t(c.b)) | uint32_t(uint8_t(c.g)) << 8 | uint32_t(uint8_t(c.r)) << 16;
  const uint32_t M = static_cast<uint32_t>(src.nMaxValue);
  if (job.nMergeMode < MERGE_ADD || job.nMergeMode > MERGE_REPLACE) {
    Trace("MergeMode(%d) is not supported!!!", job.nMergeMode);
    return E_NOTIMPL;
  }
  if (job.nMergeMode != MERGE_INTERSECT) {
    const IntRect rc = intersect(intersect(job.rcStripe, bufferRect(dst)), bufferRect(src));
    if (rc.r > rc.l && rc.b > rc.t)
      FastMergeRect8(job.nMergeMode, pixelAt<const uint8_t>(src, rc.l, rc.t), src.nStride,
                     pixelAt<uint8_t>(dst, rc.l, rc.t), dst.nStride, rc.r - rc.l, rc.b - rc.t, M,
                     colour);
    return S_OK;
  }
  // The intersection: each row of the ROI's stripe is cleared, except where rcMerge has a
  // source pixel under it.
  const IntRect rc = intersect(job.rcRoi, bufferRect(dst));
  const IntRect inside = intersect(job.rcMerge, bufferRect(src));
  for (int y = rc.t; y < rc.b; ++y) {
    int lo = rc.r, hi = rc.r;
    if (y >= inside.t && y < inside.b) {
      lo = std::max(rc.l, inside.l);
      hi = std::min(rc.r, inside.r);
      if (hi <= lo) lo = hi = rc.r;
    }
    if (lo > rc.l) FastClearAlphaRect8(pixelAt<uint8_t>(dst, rc.l, y), dst.nStride, lo - rc.l, 1);
    if (hi > lo)
      FastMergeRect8(MERGE_INTERSECT, pixelAt<const uint8_t>(src, lo, y), src.nStride,
                     pixelAt<uint8_t>(dst, lo, y), dst.nStride, hi - lo, 1, M, colour);
    if (rc.r > hi) FastClearAlphaRect8(pixelAt<uint8_t>(dst, hi, y), dst.nStride, rc.r - hi, 1);
  }
  return S_OK;
}

template <class T>
HRESULT mergeStripe(const MergeJob& job) {
  const uint32_t M = static_cast<uint32_t>(job.pSrc->nMaxValue);
  const Color c = job.crMerge;
  switch (job.nMergeMode) {
    case MERGE_ADD:
      forBoth<T>(job, job.rcStripe, [&](const T* s, T* d) {
        if (d[3] != M && s[3] != 0) {
          setColour(d, c);
          d[3] = std::max(d[3], s[3]);
        }
      });
      return S_OK;
    case MERGE_SUBTRACT:
      forBoth<T>(job, job.rcStripe, [&](const T* s, T* d) {
        if (d[3] != 0 && s[3] != 0) d[3] = static_cast<T>(d[3] > s[3] ? d[3] - s[3] : 0);
      });
      return S_OK;
    case MERGE_INTERSECT: {
      // Walks the destination's ROI: everything outside rcMerge loses its selection.
      const BufferData& src = *job.pSrc;
      const BufferData& dst = *job.pDst;
      const IntRect rc = intersect(job.rcRoi, bufferRect(dst));
      const IntRect inside = intersect(job.rcMerge, bufferRect(src));
      for (int y = rc.t; y < rc.b; ++y) {
        T* d = pixelAt<T>(dst, rc.l, y);
        for (int x = rc.l; x < rc.r; ++x, d += dst.nPixelStep) {
          const bool bInMerge =
              x >= job.rcMerge.l && x < job.rcMerge.r && y >= job.rcMerge.t && y < job.rcMerge.b;
          if (!bInMerge) {
            d[3] = 0;
          } else if (d[3] != 0) {
            const bool bInSrc = x >= inside.l && x < inside.r && y >= inside.t && y < inside.b;
            const int64_t sa = bInSrc ? pixelAt<const T>(src, x, y)[3] : 0;
            d[3] = sa != 0 ? static_cast<T>(std::max<int64_t>(int64_t(d[3]) - M + sa, 0)) : 0;
          }
        }
      }
      return S_OK;
    }
    case MERGE_EXCLUDE:
      forBoth<T>(job, job.rcStripe, [&](const T* s, T* d) {
        if (s[3] == 0) return;
        if (d[3] != 0) {
          d[3] = static_cast<T>(std::abs(int32_t(d[3]) - int32_t(s[3])));
        } else {
          setColour(d, c);
          d[3] = s[3];
        }
      });
      return S_OK;
    case MERGE_REPLACE:
      forBoth<T>(job, job.rcStripe, [&](const T* s, T* d) {
        if (s[3] != 0) {
          setColour(d, c);
          d[3] = s[3];
        }
      });
      return S_OK;
    default:
      Trace("MergeMode(%d) is not supported!!!", job.nMergeMode);
      return E_NOTIMPL;
  }
}

void mergeJob(void* p, HRESULT* pStatus) {
  auto* job = static_cast<MergeJob*>(p);
  // Alpha is the fourth element: narrower pixels have none to merge.
  if (!job->pSrc || !job->pDst || !job->pSrc->pBuffer || !job->pDst->pBuffer ||
      job->pSrc->nPixelStep < 4 || job->pDst->nPixelStep < 4) {
    *pStatus = E_INVALIDARG;
    return;
  }
  if (job->pDst->nDepth == 0)
    *pStatus = job->pSrc->nPixelStep == 4 && job->pDst->nPixelStep == 4
                   ? mergeStripeVector(*job)
                   : mergeStripe<uint8_t>(*job);
  else
    *pStatus = mergeStripe<uint16_t>(*job);
}

}  // namespace

HRESULT CMergeTool::Merge(BufferData* pSrc, BufferData* pDst, MergeParam* pParam) {
  if (!pSrc || !pDst || !pParam) return E_POINTER;
  if (pSrc->nDepth != pDst->nDepth || (pDst->nDepth != 0 && pDst->nDepth != 1)) return E_NOTIMPL;
  // Always striped, whatever the size: a selection command is worth the hand-over.
  const int n = std::max(m_Jobs.Slices(), 1);
  void* jobs[PoolJobs::kMaxJobs];
  for (int i = 0; i < n; ++i) {
    MergeJob& job = m_JobRecords[i];
    job.pSrc = pSrc;
    job.pDst = pDst;
    job.nMergeMode = pParam->nMergeMode;
    job.rcMerge = pParam->rcMerge;
    job.rcStripe = columnStripe(pParam->rcMerge, n, i);
    job.rcRoi = columnStripe(pDst->ROI, n, i);
    job.crMerge = pParam->crMerge;
    jobs[i] = &job;
  }
  HRESULT statuses[PoolJobs::kMaxJobs];
  m_Jobs.Run(n, mergeJob, jobs, statuses);
  return PoolJobs::LastFailure(n, statuses);
}

}  // namespace Orvel
