#include "colormatch/CColorMatch.h"

#include <sys/mman.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "colormatch/ColorMatchKernels.h"
#include "engine/performance.h"
#include "engine/trace.h"

namespace Orvel {

using namespace colormatch;

namespace {

// The pixel loops of one form.
struct MatchKernels {
  void (*toLab)(const BufferData&, int, int, float*);
  void (*sum)(const float*, int, int, int, float[3]);
  void (*var)(const float*, int, int, int, const float[3], float[3]);
  void (*recolor)(const float*, float*, int, int, int, const float[3], const float[3]);
  void (*toRgb)(const float*, const BufferData&, int, int);
};

constexpr MatchKernels kScalarKernels = {ConvertRgbToLab, SumLab, SumSquaredDeviations,
                                         RecolorLab, ConvertLabToRgb};
constexpr MatchKernels kFastKernels = {ConvertRgbToLabFast, SumLabFast, SumSquaredDeviationsFast,
                                       RecolorLabFast, ConvertLabToRgbFast};

// The worker of the pool: one stage on one strip. The scalar and the fast form differ only in
// their kernels.
template <const MatchKernels& K>
void matchWorker(void* pJob, HRESULT* pStatus) {
  auto* p = static_cast<MatchStripParam*>(pJob);
  const int sy0 = p->nSrcTop, sy1 = p->nSrcTop + p->nSrcHeight;
  const int ty0 = p->nTarTop, ty1 = p->nTarTop + p->nTarHeight;
  const int sw = p->pSrc->nWidth, tw = p->pTar->nWidth;
  switch (p->nStage) {
    case MATCH_CONVERT_SRC: K.toLab(*p->pSrc, sy0, sy1, p->pSrcLab); break;
    case MATCH_CONVERT_TAR: K.toLab(*p->pTar, ty0, ty1, p->pTarLab); break;
    case MATCH_SUM_SRC: K.sum(p->pSrcLab, sw, sy0, sy1, p->fSum); break;
    case MATCH_SUM_TAR: K.sum(p->pTarLab, tw, ty0, ty1, p->fSum); break;
    case MATCH_VAR_SRC: K.var(p->pSrcLab, sw, sy0, sy1, p->pSrcMean, p->fVar); break;
    case MATCH_VAR_TAR: K.var(p->pTarLab, tw, ty0, ty1, p->pTarMean, p->fVar); break;
    case MATCH_RECOLOR:
      K.recolor(p->pSrcLab, p->pDstLab, sw, sy0, sy1, p->pRatio, p->pOffset);
      break;
    case MATCH_TO_RGB: K.toRgb(p->pDstLab, *p->pSrc, sy0, sy1); break;
    default: *pStatus = E_INVALIDARG; return;
  }
  *pStatus = S_OK;
}

bool isServed(const BufferData& buf) {
  return buf.nFormat == FORMAT_BGRA8 && buf.pBuffer != nullptr && buf.nWidth >= 1 &&
         buf.nHeight >= 1;
}

struct FreeDeleter {
  void operator()(float* p) const { std::free(p); }
};
using LabBuffer = std::unique_ptr<float, FreeDeleter>;

// Four floats per pixel; null when the size cannot be had (or cannot even be expressed).
LabBuffer allocateLab(const BufferData& buf) {
  const size_t w = static_cast<size_t>(buf.nWidth);
  const size_t h = static_cast<size_t>(buf.nHeight);
  constexpr size_t kPixelBytes = 4 * sizeof(float);
  constexpr size_t kHugePage = size_t{2} << 20;
  if (w > (SIZE_MAX - kHugePage) / kPixelBytes / h) return nullptr;
  const size_t bytes = w * h * kPixelBytes;
  // A large buffer is touched for the first time by the stage that fills it, and with small
  // pages those faults cost as much as the stage itself: such buffers start on a huge-page
  // boundary and ask for huge pages. Small ones only keep rows on a vector boundary.
  const size_t align = bytes >= 4 * kHugePage ? kHugePage : 64;
  const size_t size = (bytes + align - 1) & ~(align - 1);
  void* p = std::aligned_alloc(align, size);
#ifdef MADV_HUGEPAGE
  if (p && align == kHugePage) madvise(p, size, MADV_HUGEPAGE);
#endif
  return LabBuffer(static_cast<float*>(p));
}

// The log texts: which form, and whether a stage runs on the strips ("Muti") or on the calling
// thread between threaded stages.
enum class StageSite { Serial, Strips, Between };

const char* stagePrefix(bool bSimd, StageSite site) {
  switch (site) {
    case StageSite::Serial: return bSimd ? "[ColorMatch SIMD] " : "[ColorMatch] ";
    case StageSite::Strips: return bSimd ? "[ColorMatch Muti SIMD] " : "[ColorMatch Muti] ";
    case StageSite::Between: return bSimd ? "[ColorMatch          ] " : "[ColorMatch     ] ";
  }
  return "";
}

// Times one stage and logs "Time: <seconds> sec - <prefix><text>".
class StageTimer {
 public:
  StageTimer(bool bSimd, StageSite site, const char* pszText)
      : m_pszPrefix(stagePrefix(bSimd, site)), m_pszText(pszText) {
    m_Timer.Start();
  }
  void Done() {
    m_Timer.Stop();
    if (g_nTraceSwitch.load(std::memory_order_relaxed) != 0) {
      char text[128];
      std::snprintf(text, sizeof text, "%s%s", m_pszPrefix, m_pszText);
      Trace("Time: %f sec - %s", m_Timer.Seconds(), text);
    }
  }

 private:
  TimerPerformanceCounter m_Timer;
  const char* m_pszPrefix;
  const char* m_pszText;
};

HRESULT traceError(HRESULT hr) {
  Trace(" Error %lx", static_cast<unsigned long>(static_cast<uint32_t>(hr)));
  return hr;
}

void meanOf(const float sum[3], int64_t n, float mean[3]) {
  for (int c = 0; c < 3; ++c) mean[c] = sum[c] / static_cast<float>(n);
}

}  // namespace

CColorMatch::CColorMatch(CThreadPool* pPool) : m_pThreadPool(pPool), m_Jobs(pPool) {}

void CColorMatch::GetStripRect(int index, int count, int left, int top, int width, int height,
                               int* pLeft, int* pTop, int* pWidth, int* pHeight) const {
  const int rows = height / count;
  *pLeft = left;
  *pWidth = width;
  *pTop = top + index * rows;
  *pHeight = (index == count - 1) ? height - index * rows : rows;
}

bool CColorMatch::IsThreaded(int32_t nWidth, int32_t nHeight, int nStrips) {
  if (nStrips < 1) return false;
  if (nWidth < nStrips || nHeight < nStrips) return false;
  return int64_t{nWidth} * nHeight >= kThreadedPixels;
}

HRESULT CColorMatch::runStage(int32_t nStage) {
  void* jobs[kMaxStrips];
  for (int i = 0; i < m_nStrips; ++i) {
    m_StripParam[i].nStage = nStage;
    jobs[i] = &m_StripParam[i];
  }
  HRESULT statuses[kMaxStrips];
  m_Jobs.Run(m_nStrips, m_pfnWorker, jobs, statuses);
  const HRESULT hr = PoolJobs::LastFailure(m_nStrips, statuses);
  return hr < 0 ? traceError(hr) : S_OK;
}

HRESULT CColorMatch::Process(const BufferData* pBufIn, BufferData* pBufOut,
                             const void* /*pColorMatchParam*/) {
  if (!pBufIn || !pBufOut) return E_POINTER;
  if (!isServed(*pBufIn) || !isServed(*pBufOut)) return E_FAIL;

  const BufferData& tar = *pBufIn;
  BufferData& src = *pBufOut;
  const bool bSimd = m_bUseSimd;
  const MatchKernels& K = bSimd ? kFastKernels : kScalarKernels;
  m_pfnWorker = bSimd ? &matchWorker<kFastKernels> : &matchWorker<kScalarKernels>;

  m_nStrips = std::min(m_Jobs.Slices(), kMaxStrips);
  const bool bTarThreaded = IsThreaded(tar.nWidth, tar.nHeight, m_nStrips);
  const bool bSrcThreaded = IsThreaded(src.nWidth, src.nHeight, m_nStrips);
  const int64_t Ns = int64_t{src.nWidth} * src.nHeight;
  const int64_t Nt = int64_t{tar.nWidth} * tar.nHeight;

  // Work buffers, in this order: the src values, the recoloured values, the tar values.
  const BufferData* owners[3] = {&src, &src, &tar};
  LabBuffer buffers[3];
  for (int i = 0; i < 3; ++i) {
    StageTimer timer(bSimd, StageSite::Serial, "0. Create Buffer ");
    buffers[i] = allocateLab(*owners[i]);
    if (!buffers[i]) return traceError(E_OUTOFMEMORY);
    timer.Done();
  }
  float* srcLab = buffers[0].get();
  float* dstLab = buffers[1].get();
  float* tarLab = buffers[2].get();

  float tarSum[3], tarMean[3], tarVar[3];
  float srcSum[3], srcMean[3], srcVar[3];
  float ratio[3], offset[3];

  for (int i = 0; i < m_nStrips; ++i) {
    MatchStripParam& p = m_StripParam[i];
    p = MatchStripParam{};
    p.nIndex = i;
    GetStripRect(i, m_nStrips, 0, 0, src.nWidth, src.nHeight, &p.nSrcLeft, &p.nSrcTop,
                 &p.nSrcWidth, &p.nSrcHeight);
    GetStripRect(i, m_nStrips, 0, 0, tar.nWidth, tar.nHeight, &p.nTarLeft, &p.nTarTop,
                 &p.nTarWidth, &p.nTarHeight);
    p.pTool = this;
    p.pSrc = &src;
    p.pTar = &tar;
    p.pSrcLab = srcLab;
    p.pTarLab = tarLab;
    p.pDstLab = dstLab;
    p.pSrcMean = srcMean;
    p.pTarMean = tarMean;
    p.pRatio = ratio;
    p.pOffset = offset;
  }

  // Strip partials are added in strip order.
  auto addPartials = [&](float (MatchStripParam::*partial)[3], float total[3]) {
    for (int c = 0; c < 3; ++c) total[c] = 0.0f;
    for (int i = 0; i < m_nStrips; ++i)
      for (int c = 0; c < 3; ++c) total[c] += (m_StripParam[i].*partial)[c];
  };

  HRESULT hr = S_OK;

  // ---- tar, down to its squared deviations ----
  if (!bTarThreaded) {
    StageTimer t1(bSimd, StageSite::Serial, "1. Convert tarRGB to LAlphaBeta ");
    K.toLab(tar, 0, tar.nHeight, tarLab);
    t1.Done();
    StageTimer t2(bSimd, StageSite::Serial, "2. Get tar sum ");
    K.sum(tarLab, tar.nWidth, 0, tar.nHeight, tarSum);
    t2.Done();
    StageTimer t3(bSimd, StageSite::Serial, "3. Get tar mean ");
    meanOf(tarSum, Nt, tarMean);
    t3.Done();
    StageTimer t4(bSimd, StageSite::Serial, "4. Get tar var ");
    K.var(tarLab, tar.nWidth, 0, tar.nHeight, tarMean, tarVar);
    t4.Done();
  } else {
    StageTimer t1(bSimd, StageSite::Strips, "1. Convert tarRGB to LAlphaBeta ");
    if ((hr = runStage(MATCH_CONVERT_TAR)) < 0) return hr;
    t1.Done();
    StageTimer t2(bSimd, StageSite::Strips, "2. Get tar sum ");
    if ((hr = runStage(MATCH_SUM_TAR)) < 0) return hr;
    t2.Done();
    StageTimer t3(bSimd, StageSite::Between, "3. Get tar mean ");
    addPartials(&MatchStripParam::fSum, tarSum);
    meanOf(tarSum, Nt, tarMean);
    t3.Done();
    StageTimer t4(bSimd, StageSite::Strips, "4. Get tar var ");
    if ((hr = runStage(MATCH_VAR_TAR)) < 0) return hr;
    t4.Done();
  }

  // The ratio of deviations: the product in the denominator is taken first. A uniform src has
  // no deviation, and the ratio becomes infinite or not a number: that is what the colour
  // then goes through.
  auto ratios = [&]() {
    for (int c = 0; c < 3; ++c) {
      const float denominator = srcVar[c] * static_cast<float>(Nt);
      ratio[c] = std::sqrt((tarVar[c] * static_cast<float>(Ns)) / denominator);
    }
  };
  auto offsets = [&]() {
    for (int c = 0; c < 3; ++c) offset[c] = tarMean[c] - srcMean[c] * ratio[c];
  };

  // ---- src, and the recolouring ----
  if (!bSrcThreaded) {
    StageTimer t1(bSimd, StageSite::Serial, "1. Convert srcRGB to LAlphaBeta ");
    K.toLab(src, 0, src.nHeight, srcLab);
    t1.Done();
    StageTimer t2(bSimd, StageSite::Serial, "2. Get src sum ");
    K.sum(srcLab, src.nWidth, 0, src.nHeight, srcSum);
    t2.Done();
    StageTimer t3(bSimd, StageSite::Serial, "3. Get src mean ");
    meanOf(srcSum, Ns, srcMean);
    t3.Done();
    StageTimer t4(bSimd, StageSite::Serial, "4. Get src var ");
    K.var(srcLab, src.nWidth, 0, src.nHeight, srcMean, srcVar);
    t4.Done();
    StageTimer t5(bSimd, StageSite::Serial, "5. Get the ratio of std ");
    if (bTarThreaded) addPartials(&MatchStripParam::fVar, tarVar);
    ratios();
    t5.Done();
    StageTimer t6(bSimd, StageSite::Serial, "6. Recolor ");
    offsets();
    K.recolor(srcLab, dstLab, src.nWidth, 0, src.nHeight, ratio, offset);
    t6.Done();
    StageTimer t7(bSimd, StageSite::Serial, "7. Convert LAlphaBeta to dstRGB ");
    K.toRgb(dstLab, src, 0, src.nHeight);
    t7.Done();
  } else {
    StageTimer t1(bSimd, StageSite::Strips, "1. Convert srcRGB to LAlphaBeta ");
    if ((hr = runStage(MATCH_CONVERT_SRC)) < 0) return hr;
    t1.Done();
    StageTimer t2(bSimd, StageSite::Strips, "2. Get src sum ");
    if ((hr = runStage(MATCH_SUM_SRC)) < 0) return hr;
    t2.Done();
    StageTimer t3(bSimd, StageSite::Between, "3. Get src mean ");
    addPartials(&MatchStripParam::fSum, srcSum);
    meanOf(srcSum, Ns, srcMean);
    t3.Done();
    // The strips keep the tar partials of their deviations in the same records: they are
    // added up before this stage writes the src partials over them.
    if (bTarThreaded) addPartials(&MatchStripParam::fVar, tarVar);
    StageTimer t4(bSimd, StageSite::Strips, "4. Get src var ");
    if ((hr = runStage(MATCH_VAR_SRC)) < 0) return hr;
    t4.Done();
    StageTimer t5(bSimd, StageSite::Between, "5. Get the ratio of std ");
    addPartials(&MatchStripParam::fVar, srcVar);
    ratios();
    t5.Done();
    StageTimer t6(bSimd, StageSite::Strips, "6. Recolor ");
    offsets();
    if ((hr = runStage(MATCH_RECOLOR)) < 0) return hr;
    t6.Done();
    StageTimer t7(bSimd, StageSite::Strips, "7. Convert LAlphaBeta to dstRGB ");
    if ((hr = runStage(MATCH_TO_RGB)) < 0) return hr;
    t7.Done();
  }
  return S_OK;
}

}  // namespace Orvel
