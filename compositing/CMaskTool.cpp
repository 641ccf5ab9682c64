#include "compositing/CMaskTool.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>

#include "compositing/mask_kernels.h"
#include "compositing/merge_kernels.h"
#include "engine/trace.h"

namespace Orvel {

namespace {

// trunc() of a float into 32 bits; values beyond the range saturate and NaN gives 0, so a
// wild origin cannot make an undefined conversion.
int32_t truncToInt(float f) {
  if (!(f == f)) return 0;
  if (f >= 2147483520.0f) return std::numeric_limits<int32_t>::max();
  if (f <= -2147483520.0f) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(f);
}

IntRect intersect(const IntRect& a, const IntRect& b) {
  return IntRect{std::max(a.l, b.l), std::max(a.t, b.t), std::min(a.r, b.r), std::min(a.b, b.b)};
}

bool isEmpty(const IntRect& rc) { return rc.r <= rc.l || rc.b <= rc.t; }

// The part of rc that lies in the buffer's memory.
IntRect clipToBuffer(const IntRect& rc, const BufferData& buf) {
  return intersect(rc, IntRect{0, 0, std::max(buf.nWidth, 0), std::max(buf.nHeight, 0)});
}

// Stripe i of n of the columns of rc (slice = width / n, the last one to the right edge).
IntRect columnStripe(const IntRect& rc, int n, int i) {
  int begin = 0, end = 0;
  SliceRange(std::max(rc.r - rc.l, 0), n, i, &begin, &end);
  return IntRect{rc.l + begin, rc.t, rc.l + end, rc.b};
}

template <class T>
T* elementAt(const BufferData& buf, int x, int y) {
  return reinterpret_cast<T*>(buf.pBuffer + ptrdiff_t(y) * buf.nStride) +
         ptrdiff_t(x) * buf.nPixelStep;
}

// ---- ApplyMask ----

// The plain worker, one pixel at a time. D(x) is x / 255 truncated.
void applyMaskPlain(const ApplyMaskJob& job) {
  const BufferData& obj = *job.pObject;
  const BufferData& mask = *job.pMask;
  const int alpha = obj.nPixelStep - 1;
  for (int my = job.rc.t; my < job.rc.b; ++my) {
    for (int mx = job.rc.l; mx < job.rc.r; ++mx) {
      uint8_t* a = elementAt<uint8_t>(obj, mx - job.nOffsetX, my - job.nOffsetY) + alpha;
      const uint8_t* m = elementAt<uint8_t>(mask, mx, my);
      if (mask.nPixelStep == 1) {
        *a = static_cast<uint8_t>((*a * m[0]) / 255);
      } else {
        // Transparent parts of a colour mask let the object through; opaque black hides it.
        int g = (m[0] + m[1] + m[2]) / 3;
        int ma = m[3];
        int m2 = (g * ma) / 255 - ma + 255;
        *a = static_cast<uint8_t>((*a * m2) / 255);
      }
    }
  }
}

void applyMaskJob(void* p, HRESULT* pStatus) {
  auto* job = static_cast<ApplyMaskJob*>(p);
  if (!job->pTool || !job->pObject || !job->pMask || !job->pObject->pBuffer ||
      !job->pMask->pBuffer) {
    *pStatus = E_INVALIDARG;
    return;
  }
  const int maskStep = job->pMask->nPixelStep;
  if ((maskStep == 1 || maskStep == 4) && !isEmpty(job->rc)) {
    if (job->pTool->m_bFastPath && job->pObject->nPixelStep == 4) {
      const BufferData& obj = *job->pObject;
      const BufferData& mask = *job->pMask;
      FastApplyMaskRows(
          elementAt<uint8_t>(obj, job->rc.l - job->nOffsetX, job->rc.t - job->nOffsetY),
          obj.nStride, elementAt<uint8_t>(mask, job->rc.l, job->rc.t), mask.nStride,
          job->rc.r - job->rc.l, job->rc.b - job->rc.t, maskStep);
    } else {
      applyMaskPlain(*job);
    }
  }
  *pStatus = S_OK;
}

// Bounding box of the mask's non-zero pixels, read on the first element of each pixel.
IntRect nonZeroBounds(const BufferData& mask) {
  int l = std::numeric_limits<int>::max(), t = l, r = -1, b = -1;
  for (int y = 0; y < mask.nHeight; ++y) {
    const uint8_t* row = mask.pBuffer + ptrdiff_t(y) * mask.nStride;
    for (int x = 0; x < mask.nWidth; ++x) {
      if (row[ptrdiff_t(x) * mask.nPixelStep] != 0) {
        l = std::min(l, x);
        r = std::max(r, x);
        t = std::min(t, y);
        b = y;
      }
    }
  }
  if (r < 0) return IntRect{};
  return IntRect{l, t, r + 1, b + 1};
}

// ---- the box blur jobs ----

template <class T>
void blurRowsPlain(const T* in, T* out, ptrdiff_t stride, int w, int y0, int y1, int r) {
  for (int y = y0; y < y1; ++y) BlurLinePlain(in + y * stride, 1, out + y * stride, 1, w, r);
}
template <class T>
void blurColumnsPlain(const T* in, T* out, ptrdiff_t stride, int x0, int x1, int h, int r) {
  for (int x = x0; x < x1; ++x) BlurLinePlain(in + x, stride, out + x, stride, h, r);
}

void fastRowPass(uint8_t* src, uint8_t* dst, ptrdiff_t s, int w, int y0, int y1, int r) {
  FastBlurRowPass8(src, dst, s, w, y0, y1, r);
}
void fastRowPass(uint16_t* src, uint16_t* dst, ptrdiff_t s, int w, int y0, int y1, int r) {
  FastBlurRowPass16(src, dst, s, w, y0, y1, r);
}
void fastColumns(const uint8_t* in, uint8_t* out, ptrdiff_t s, int x0, int x1, int h, int r) {
  FastBlurColumns8(in, out, s, x0, x1, h, r);
}
void fastColumns(const uint16_t* in, uint16_t* out, ptrdiff_t s, int x0, int x1, int h, int r) {
  FastBlurColumns16(in, out, s, x0, x1, h, r);
}

template <class T>
void blurJob(void* p, HRESULT* pStatus) {
  auto* job = static_cast<BlurWorkerParam*>(p);
  if (!job->pTool) {
    *pStatus = E_POINTER;
    return;
  }
  T* src = static_cast<T*>(job->pSrc);
  T* dst = static_cast<T*>(job->pDst);
  const ptrdiff_t stride = job->nStride;
  const bool bFast = job->pTool->m_bFastPath;
  const IntRect& rc = job->rc;
  switch (job->BlurType) {
    case 0:  // along rows: pDst -> pSrc (the fast form copies its band itself)
      if (bFast)
        fastRowPass(src, dst, stride, job->nWidth, rc.t, rc.b, job->nRadius);
      else
        blurRowsPlain(dst, src, stride, job->nWidth, rc.t, rc.b, job->nRadius);
      break;
    case 1:  // along columns: pSrc -> pDst
      if (bFast)
        fastColumns(src, dst, stride, rc.l, rc.r, rc.b, job->nRadius);
      else
        blurColumnsPlain(src, dst, stride, rc.l, rc.r, rc.b, job->nRadius);
      break;
    default:
      *pStatus = E_NOTIMPL;
      Trace("BlurType(%d) is not supported!!!", job->BlurType);
      return;
  }
  *pStatus = S_OK;
}

// ---- InvertMask ----

void invertJob(void* p, HRESULT* pStatus) {
  auto* job = static_cast<InvertJob*>(p);
  const BufferData* buf = job->pBuf;
  if (!buf || !buf->pBuffer) {
    *pStatus = E_INVALIDARG;
    return;
  }
  const int step = buf->nPixelStep;
  if (isEmpty(job->rc)) {
    *pStatus = S_OK;
    return;
  }
  // Pixels of 1, 2, 4, 8 or 16 bytes: a byte pattern that complements the first element of
  // each pixel repeats evenly in a vector, so whole rows go through at once.
  const int elem = buf->nDepth == 0 ? 1 : 2;
  const int pixelBytes = step * elem;
  if (pixelBytes >= 1 && 16 % pixelBytes == 0) {
    uint8_t pattern[16];
    for (int i = 0; i < 16; ++i) pattern[i] = (i % pixelBytes) < elem ? 0xFF : 0;
    uint8_t* first =
        buf->pBuffer + ptrdiff_t(job->rc.t) * buf->nStride + ptrdiff_t(job->rc.l) * pixelBytes;
    FastXorRect(first, buf->nStride, size_t(job->rc.r - job->rc.l) * pixelBytes,
                job->rc.b - job->rc.t, pattern);
    *pStatus = S_OK;
    return;
  }
  for (int y = job->rc.t; y < job->rc.b; ++y) {
    if (buf->nDepth == 0) {
      uint8_t* e = elementAt<uint8_t>(*buf, job->rc.l, y);
      for (int x = job->rc.l; x < job->rc.r; ++x, e += step) *e = static_cast<uint8_t>(~*e);
    } else {
      uint16_t* e = elementAt<uint16_t>(*buf, job->rc.l, y);
      for (int x = job->rc.l; x < job->rc.r; ++x, e += step) *e = static_cast<uint16_t>(~*e);
    }
  }
  *pStatus = S_OK;
}

// ---- MergeMask ----

// The source element for destination (x, y), or 0 where the shifted position lies outside
// the source's memory: coverage that does not exist counts as none.
template <class T>
struct ShiftedSource {
  const BufferData& src;
  int dx, dy;
  uint32_t at(int x, int y) const {
    int sx = x - dx, sy = y - dy;
    if (sx < 0 || sy < 0 || sx >= src.nWidth || sy >= src.nHeight) return 0;
    return *elementAt<const T>(src, sx, sy);
  }
};

template <class T>
HRESULT mergeMaskStripe(const MaskMergeJob& job) {
  BufferData& dst = *job.pDst;
  const BufferData& src = *job.pSrc;
  const ShiftedSource<T> s{src, job.rcMerge.l, job.rcMerge.t};
  const uint32_t M = static_cast<uint32_t>(src.nMaxValue);
  switch (job.nMergeMode) {
    case MERGE_ADD: {
      IntRect rc = job.rcStripe;
      // Compared with the source's size as it is, without the shift by rcMerge: rows stop at
      // the source's height and a stripe that starts beyond its width is left out.
      if (rc.r > src.nWidth || rc.b > src.nHeight) {
        if (rc.l >= src.nWidth) return S_OK;
        rc.b = std::min(rc.b, src.nHeight);
      }
      rc = clipToBuffer(rc, dst);
      for (int y = rc.t; y < rc.b; ++y) {
        T* d = elementAt<T>(dst, rc.l, y);
        for (int x = rc.l; x < rc.r; ++x, d += dst.nPixelStep) {
          uint32_t sv = s.at(x, y);
          // The cap is 255 for 16-bit elements too.
          if (*d != M && sv != 0) *d = static_cast<T>(std::min<uint32_t>(*d + sv, 255));
        }
      }
      return S_OK;
    }
    case MERGE_SUBTRACT: {
      const IntRect rc = clipToBuffer(job.rcStripe, dst);
      for (int y = rc.t; y < rc.b; ++y) {
        T* d = elementAt<T>(dst, rc.l, y);
        for (int x = rc.l; x < rc.r; ++x, d += dst.nPixelStep) {
          uint32_t sv = s.at(x, y);
          if (*d != 0 && sv != 0) *d = static_cast<T>(*d > sv ? *d - sv : 0);
        }
      }
      return S_OK;
    }
    case MERGE_INTERSECT: {
      const IntRect rc = clipToBuffer(job.rcRoi, dst);
      const IntRect& m = job.rcMerge;
      for (int y = rc.t; y < rc.b; ++y) {
        T* d = elementAt<T>(dst, rc.l, y);
        for (int x = rc.l; x < rc.r; ++x, d += dst.nPixelStep) {
          bool bInside = x >= m.l && x < m.r && y >= m.t && y < m.b;
          if (!bInside) {
            *d = 0;
          } else if (*d != 0) {
            int64_t sv = s.at(x, y);
            *d = sv != 0 ? static_cast<T>(std::max<int64_t>(int64_t(*d) - M + sv, 0)) : 0;
          }
        }
      }
      return S_OK;
    }
    default:
      Trace("MergeMode(%d) is not supported!!!", job.nMergeMode);
      return E_NOTIMPL;
  }
}

void mergeMaskJob(void* p, HRESULT* pStatus) {
  auto* job = static_cast<MaskMergeJob*>(p);
  if (!job->pDst || !job->pSrc || !job->pDst->pBuffer || !job->pSrc->pBuffer) {
    *pStatus = E_INVALIDARG;
    return;
  }
  *pStatus =
      job->pDst->nDepth == 0 ? mergeMaskStripe<uint8_t>(*job) : mergeMaskStripe<uint16_t>(*job);
}

}  // namespace

HRESULT CMaskTool::runJobs(int n, WorkFn fn, void* const* jobs) {
  if (n <= 1) {
    m_nLastStripes = 0;
    HRESULT hr = E_INVALIDARG;
    fn(jobs[0], &hr);
    return hr < 0 ? hr : S_OK;
  }
  m_nLastStripes = n;
  HRESULT statuses[PoolJobs::kMaxJobs];
  m_Jobs.Run(n, fn, jobs, statuses);
  return PoolJobs::LastFailure(n, statuses);
}

HRESULT CMaskTool::ApplyMask(BufferData* pObject, const Point* pOrigin, BufferData* pMask,
                             bool bUseMaskROI) {
  if (!pObject || !pOrigin || !pMask || !pObject->pBuffer || !pMask->pBuffer) return E_POINTER;
  if (pObject->nDepth != 0 || pMask->nDepth != 0) return E_NOTIMPL;
  if (pObject->nPixelStep < 1) return E_INVALIDARG;  // the alpha is the last element of a pixel

  const float x = pOrigin->x, y = pOrigin->y;
  const IntRect objRect{truncToInt(std::max(x, 0.0f)), truncToInt(std::max(y, 0.0f)),
                        truncToInt(x + static_cast<float>(pObject->nWidth)),
                        truncToInt(y + static_cast<float>(pObject->nHeight))};
  const IntRect maskRect = bUseMaskROI ? clipToBuffer(pMask->ROI, *pMask) : nonZeroBounds(*pMask);
  IntRect region = intersect(objRect, maskRect);
  if (isEmpty(region)) return S_FALSE;

  const int32_t ox = truncToInt(x), oy = truncToInt(y);
  // The rectangle above already keeps the object's pixels inside its memory; this only
  // guards against origins so large that the float sums lost their integer part.
  region = intersect(
      region, IntRect{ox, oy, int32_t(std::min<int64_t>(int64_t(ox) + pObject->nWidth, INT32_MAX)),
                      int32_t(std::min<int64_t>(int64_t(oy) + pObject->nHeight, INT32_MAX))});
  if (isEmpty(region)) return S_FALSE;

  int n = m_Jobs.Slices();
  if (n <= 1 || region.r < n || region.b < n) n = 1;
  void* jobs[PoolJobs::kMaxJobs];
  for (int i = 0; i < n; ++i) {
    ApplyMaskJob& job = m_MaskJobs[i];
    job.pTool = this;
    job.pObject = pObject;
    job.pMask = pMask;
    job.rc = n == 1 ? region : columnStripe(region, n, i);
    job.nOffsetX = ox;
    job.nOffsetY = oy;
    jobs[i] = &job;
  }
  return runJobs(n, applyMaskJob, jobs);
}

template <class T>
HRESULT CMaskTool::boxBlur(T* pSrc, T* pDst, int32_t nWidth, int32_t nHeight, int32_t nStride,
                           int32_t nRadius) {
  if (!pSrc || !pDst) return E_POINTER;
  if (pSrc == pDst || nStride < nWidth) return E_INVALIDARG;
  if (nHeight <= 0) return S_OK;
  const size_t total = size_t(nStride) * size_t(nHeight);
  if (nWidth <= 0) {
    std::memcpy(pDst, pSrc, total * sizeof(T));
    return S_OK;
  }

  int32_t r = std::max(nRadius, 0);
  const int32_t shortest = std::min(nWidth, nHeight);
  if (2 * int64_t(r) >= shortest) r = (shortest - 1) / 2;

  const bool bFast = m_bFastPath;
  int n = m_Jobs.Slices();
  if (n < 2 || nWidth < n || nHeight < n) n = 1;

  // The plain form copies everything first; the fast form lets each band copy its own rows
  // just before it reads them.
  if (!bFast) std::memcpy(pDst, pSrc, total * sizeof(T));

  void* jobs[PoolJobs::kMaxJobs];
  for (int i = 0; i < n; ++i) {
    BlurWorkerParam& job = m_BlurJobs[i];
    int begin = 0, end = 0;
    SliceRange(nHeight, n, i, &begin, &end);
    job = BlurWorkerParam{this, pSrc, pDst, r, IntRect{0, begin, nWidth, end}, nWidth, nStride, 0};
    jobs[i] = &job;
  }
  HRESULT hr = runJobs(n, blurJob<T>, jobs);
  if (hr < 0) return hr;

  // The column pass reads what every band of the row pass wrote: it starts only now.
  for (int i = 0; i < n; ++i) {
    BlurWorkerParam& job = m_BlurJobs[i];
    int begin = 0, end = 0;
    SliceRange(nWidth, n, i, &begin, &end);
    job = BlurWorkerParam{this, pSrc, pDst, r, IntRect{begin, 0, end, nHeight}, nWidth, nStride, 1};
    jobs[i] = &job;
  }
  return runJobs(n, blurJob<T>, jobs);
}

HRESULT CMaskTool::BoxBlur8(uint8_t* pSrc, uint8_t* pDst, int32_t nWidth, int32_t nHeight,
                            int32_t nStride, int32_t nRadius) {
  return boxBlur(pSrc, pDst, nWidth, nHeight, nStride, nRadius);
}

HRESULT CMaskTool::BoxBlur16(uint16_t* pSrc, uint16_t* pDst, int32_t nWidth, int32_t nHeight,
                             int32_t nStride, int32_t nRadius) {
  return boxBlur(pSrc, pDst, nWidth, nHeight, nStride, nRadius);
}

HRESULT CMaskTool::BlurMask(BufferData* pBuf, const int32_t* pRadius) {
  if (!pBuf || !pRadius) return E_POINTER;
  if (pBuf->nDepth != 0 && pBuf->nDepth != 1) return E_NOTIMPL;
  const int32_t r = *pRadius;
  if (r < 1) return S_OK;
  if (!pBuf->pBuffer) return E_POINTER;
  if (pBuf->nHeight < 0 || pBuf->nStride < 0) return E_INVALIDARG;

  // The byte stride already holds a 16-bit row, so one size serves both depths.
  const size_t bytes = size_t(pBuf->nStride) * size_t(pBuf->nHeight);
  uint8_t* tmp = new (std::nothrow) uint8_t[bytes ? bytes : 1];
  if (!tmp) return E_POINTER;
  const int32_t r2 = int32_t(std::min<int64_t>(int64_t(r) * 3 / 2, INT32_MAX));
  HRESULT hr;
  if (pBuf->nDepth == 0) {
    hr = BoxBlur8(pBuf->pBuffer, tmp, pBuf->nWidth, pBuf->nHeight, pBuf->nStride, r);
    if (hr >= 0) hr = BoxBlur8(tmp, pBuf->pBuffer, pBuf->nWidth, pBuf->nHeight, pBuf->nStride, r2);
  } else {
    auto* p16 = reinterpret_cast<uint16_t*>(pBuf->pBuffer);
    auto* t16 = reinterpret_cast<uint16_t*>(tmp);
    hr = BoxBlur16(p16, t16, pBuf->nWidth, pBuf->nHeight, pBuf->nStride / 2, r);
    if (hr >= 0) hr = BoxBlur16(t16, p16, pBuf->nWidth, pBuf->nHeight, pBuf->nStride / 2, r2);
  }
  delete[] tmp;
  return hr < 0 ? hr : S_OK;
}

HRESULT CMaskTool::Blur(BufferData& buf, const int32_t* pRadius) {
  if (!pRadius) return E_POINTER;
  if (buf.nDepth != 0 && buf.nDepth != 1) return E_NOTIMPL;
  if (*pRadius < 1) return S_FALSE;
  if (!buf.pBuffer) return E_POINTER;
  if (buf.nHeight < 0 || buf.nStride < 0) return E_INVALIDARG;

  const size_t bytes = size_t(buf.nStride) * size_t(buf.nHeight);
  uint8_t* tmp = new (std::nothrow) uint8_t[bytes ? bytes : 1];
  if (!tmp) return E_POINTER;
  HRESULT hr;
  if (buf.nDepth == 0)
    hr = BoxBlur8(buf.pBuffer, tmp, buf.nWidth, buf.nHeight, buf.nStride, *pRadius);
  else
    hr = BoxBlur16(reinterpret_cast<uint16_t*>(buf.pBuffer), reinterpret_cast<uint16_t*>(tmp),
                   buf.nWidth, buf.nHeight, buf.nStride / 2, *pRadius);
  if (hr >= 0) std::memcpy(buf.pBuffer, tmp, bytes);
  delete[] tmp;
  return hr < 0 ? hr : S_OK;
}

HRESULT CMaskTool::InvertMask(BufferData* pBuf) {
  if (!pBuf) return E_POINTER;
  if (pBuf->nDepth != 0 && pBuf->nDepth != 1) return E_NOTIMPL;
  const IntRect roi = pBuf->ROI;
  const IntRect walk = clipToBuffer(roi, *pBuf);
  int n = m_Jobs.Slices();
  if (n <= 1 || n > roi.r || n > roi.b) n = 1;
  void* jobs[PoolJobs::kMaxJobs];
  for (int i = 0; i < n; ++i) {
    // The stripes are cut from the ROI as given; only the walk keeps to the memory.
    m_InvertJobs[i] = InvertJob{pBuf, n == 1 ? walk : intersect(columnStripe(roi, n, i), walk)};
    jobs[i] = &m_InvertJobs[i];
  }
  return runJobs(n, invertJob, jobs);
}

HRESULT CMaskTool::MergeMask(BufferData* pDst, BufferData* pSrc, MaskMergeParam* pParam) {
  if (!pDst || !pSrc || !pParam) return E_POINTER;
  if (pDst->nDepth != pSrc->nDepth || (pDst->nDepth != 0 && pDst->nDepth != 1)) return E_NOTIMPL;
  const IntRect& m = pParam->rcMerge;
  int n = std::max(m_Jobs.Slices(), 1);
  if (n > pDst->ROI.r || n > pDst->ROI.b || n > pSrc->ROI.r || n > pSrc->ROI.b || n > m.r ||
      n > m.b)
    n = 1;
  void* jobs[PoolJobs::kMaxJobs];
  for (int i = 0; i < n; ++i) {
    MaskMergeJob& job = m_MergeJobs[i];
    job.pDst = pDst;
    job.pSrc = pSrc;
    job.nMergeMode = pParam->nMergeMode;
    job.rcMerge = m;
    job.rcStripe = columnStripe(m, n, i);
    job.rcRoi = columnStripe(pDst->ROI, n, i);
    jobs[i] = &job;
  }
  return runJobs(n, mergeMaskJob, jobs);
}

}  // namespace Orvel
