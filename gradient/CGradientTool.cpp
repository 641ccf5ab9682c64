#include "gradient/CGradientTool.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "gradient/GradientCurve.h"
#include "gradient/GradientDraw.h"

namespace Orvel {

namespace {

// Stop positions outside 0..1 are the host's mistake, but they must not take an index past
// what the integer steps below can hold; a NaN position counts as 0.
constexpr int32_t kIndexLimit = 1 << 19;

int32_t truncIndex(float scaled) {
  if (!(scaled == scaled)) return 0;
  if (scaled <= -static_cast<float>(kIndexLimit)) return -kIndexLimit;
  if (scaled >= static_cast<float>(kIndexLimit)) return kIndexLimit;
  return static_cast<int32_t>(scaled);
}

int32_t baseIndex(float position) { return truncIndex(position * 1024.0f); }

// C + (d x w) / 16384, with the curve weight w in 1/16384 steps.
float curveMix(int32_t start, int32_t difference, int32_t weight) {
  const int32_t product = static_cast<int32_t>(static_cast<int64_t>(difference) * weight);
  return static_cast<float>(start + static_cast<double>(product) * 6.103515625e-5);
}

// Curve index of step j of a run from `from` to `to`, scaled to `span`: (j - from) x span /
// (to - from), in integers.
int32_t curveStep(int32_t j, int32_t from, int32_t to, int32_t span) {
  return static_cast<int32_t>(static_cast<int64_t>(j - from) * span / (to - from));
}

// The stops as the tables are built from them, reversed when asked.
struct WorkingStops {
  std::unique_ptr<float[]> colorPos, opacityPos, midpoints;
  std::unique_ptr<Color[]> colors;
  std::unique_ptr<int32_t[]> opacities;

  bool Make(const ReferenceParam& ref) {
    const int32_t nc = ref.nColors, no = ref.nOpacities;
    colorPos.reset(new (std::nothrow) float[nc]);
    colors.reset(new (std::nothrow) Color[nc]);
    midpoints.reset(new (std::nothrow) float[nc]);
    opacityPos.reset(new (std::nothrow) float[no]);
    opacities.reset(new (std::nothrow) int32_t[no]);
    if (!colorPos || !colors || !midpoints || !opacityPos || !opacities) return false;
    const bool rev = ref.bReverse;
    for (int32_t i = 0; i < nc; ++i) {
      const int32_t k = rev ? nc - 1 - i : i;
      colorPos[i] = rev ? 1.0f - ref.pColorPos[k] : ref.pColorPos[k];
      colors[i] = ref.pColors[k];
    }
    for (int32_t i = 0; i + 1 < nc; ++i) {
      if (ref.nMidpoints == 0) {
        midpoints[i] = 0.5f;
      } else {
        const int32_t k = rev ? nc - 2 - i : i;
        midpoints[i] = rev ? 1.0f - ref.pMidpoints[k] : ref.pMidpoints[k];
      }
    }
    for (int32_t i = 0; i < no; ++i) {
      const int32_t k = rev ? no - 1 - i : i;
      opacityPos[i] = rev ? 1.0f - ref.pOpacityPos[k] : ref.pOpacityPos[k];
      opacities[i] = ref.pOpacities[k];
    }
    return true;
  }
};

void fillColor(ColorF* base, int32_t from, int32_t to, const Color& c) {
  for (int32_t j = std::max(from, 0); j < std::min(to, CGradientTool::kBaseCount); ++j) {
    base[j].b = static_cast<float>(c.b);
    base[j].g = static_cast<float>(c.g);
    base[j].r = static_cast<float>(c.r);
  }
}

void fillAlpha(ColorF* base, int32_t from, int32_t to, int32_t alpha) {
  for (int32_t j = std::max(from, 0); j < std::min(to, CGradientTool::kBaseCount); ++j)
    base[j].a = static_cast<float>(alpha);
}

// One run of a colour segment: entries from..to (exclusive) weighted by the curve entry
// curveOffset + step.
void colorRun(ColorF* base, int32_t from, int32_t to, int32_t curveOffset, int32_t curveSpan,
              const Color& c0, const Color& c1) {
  const int32_t db = c1.b - c0.b, dg = c1.g - c0.g, dr = c1.r - c0.r;
  for (int32_t j = std::max(from, 0); j < std::min(to, CGradientTool::kBaseCount); ++j) {
    const int32_t w = g_Curve[curveOffset + curveStep(j, from, to, curveSpan)];
    base[j].b = curveMix(c0.b, db, w);
    base[j].g = curveMix(c0.g, dg, w);
    base[j].r = curveMix(c0.r, dr, w);
  }
}

// B + k x D per channel, in doubles, D being the float difference to the next entry.
ColorF subStep(const ColorF& B, const ColorF& D, double kb, double kg, double kr, double ka) {
  return ColorF(static_cast<float>(B.b + kb * D.b), static_cast<float>(B.g + kg * D.g),
                static_cast<float>(B.r + kr * D.r), static_cast<float>(B.a + ka * D.a));
}

}  // namespace

CGradientTool::CGradientTool(CThreadPool* pPool) : m_pThreadPool(pPool), m_Jobs(pPool) {}

HRESULT CGradientTool::allocateTables() {
  try {
    if (!m_spBaseTable) {
      ColorF* p = new (std::nothrow) ColorF[kBaseCount];
      if (!p) return E_OUTOFMEMORY;
      m_spBaseTable.reset(p);
    }
    if (!m_spRefTable) {
      ColorF* p = new (std::nothrow) ColorF[kRefCount];
      if (!p) return E_OUTOFMEMORY;
      m_spRefTable.reset(p);
    }
  } catch (...) {
    // The control block of the shared pointer could not be made; reset() has freed the array.
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

HRESULT CGradientTool::SetColorReferenceWithAnchor(const ReferenceParam* pRef) {
  if (!pRef) return E_POINTER;
  m_nRefCount = kRefCount;
  HRESULT hr = allocateTables();
  if (hr < 0) return hr;
  const ReferenceParam& ref = *pRef;
  if (ref.nColors < 1 || ref.nOpacities < 1 ||
      (ref.nMidpoints != 0 && ref.nMidpoints != ref.nColors - 1))
    return E_INVALIDARG;
  if (!ref.pColorPos || !ref.pColors || !ref.pOpacityPos || !ref.pOpacities ||
      (ref.nMidpoints != 0 && !ref.pMidpoints))
    return E_POINTER;

  WorkingStops stops;
  if (!stops.Make(ref)) return E_OUTOFMEMORY;
  ColorF* base = m_spBaseTable.get();
  ColorF* table = m_spRefTable.get();

  // Colour. Each segment bends the curve at its midpoint: the first half of the curve runs
  // from the start stop to the midpoint index, the second half from there to the end stop.
  const int32_t nc = ref.nColors;
  if (stops.colorPos[0] > 0.0009f)
    fillColor(base, 0, baseIndex(stops.colorPos[0]), stops.colors[0]);
  for (int32_t i = 0; i + 1 < nc; ++i) {
    const int32_t s = baseIndex(stops.colorPos[i]);
    const int32_t e = baseIndex(stops.colorPos[i + 1]);
    const int32_t c =
        truncIndex(static_cast<float>(s) + static_cast<float>(e - s) * stops.midpoints[i]);
    colorRun(base, s, c, 0, 511, stops.colors[i], stops.colors[i + 1]);
    colorRun(base, c, e, 511, 512, stops.colors[i], stops.colors[i + 1]);
  }
  const int32_t lastColor = baseIndex(stops.colorPos[nc - 1]);
  if (stops.colorPos[nc - 1] < 0.9991f && lastColor < kBaseCount)
    fillColor(base, lastColor, kBaseCount, stops.colors[nc - 1]);

  // Alpha: the whole curve per segment, no midpoints.
  const int32_t no = ref.nOpacities;
  if (stops.opacityPos[0] > 0.0009f)
    fillAlpha(base, 0, baseIndex(stops.opacityPos[0]), stops.opacities[0]);
  for (int32_t i = 0; i + 1 < no; ++i) {
    const int32_t s = baseIndex(stops.opacityPos[i]);
    const int32_t e = baseIndex(stops.opacityPos[i + 1]);
    const int32_t d = stops.opacities[i + 1] - stops.opacities[i];
    for (int32_t j = std::max(s, 0); j < std::min(e, kBaseCount); ++j)
      base[j].a = curveMix(stops.opacities[i], d, g_Curve[curveStep(j, s, e, 1023)]);
  }
  // The closing fill counts on the scale of the 3070-entry table, so it starts later than
  // the last stop's base index: the entries between keep the alpha of the previous build.
  // Hosts that want a clean end put their last opacity stop at 1; the tables have always been
  // built this way and existing documents depend on it.
  if (stops.opacityPos[no - 1] < 0.9991f)
    fillAlpha(base, truncIndex(stops.opacityPos[no - 1] * static_cast<float>(kRefCount)), kRefCount,
              stops.opacities[no - 1]);

  // Expansion: two sub-steps between neighbours, at different places per channel, so that a
  // two-stop ramp does not step all of its channels at the same entry.
  for (int32_t i = 0; i + 1 < kBaseCount; ++i) {
    const ColorF& B = base[i];
    const ColorF& N = base[i + 1];
    const ColorF D(N.b - B.b, N.g - B.g, N.r - B.r, N.a - B.a);
    table[3 * i] = B;
    table[3 * i + 1] = subStep(B, D, 0.22, 0.22, 0.56, 0.33);
    table[3 * i + 2] = subStep(B, D, 0.78, 0.44, 0.78, 0.67);
  }
  table[kRefCount - 1] = base[kBaseCount - 1];
  return S_OK;
}

HRESULT CGradientTool::DrawObject(const BufferData* pBuf, const GradientParam* pParam) {
  if (!pBuf || !pParam || !pBuf->pBuffer) return E_POINTER;
  if (pBuf->nDepth != 0 || pBuf->nFormat != FORMAT_BGRA8 || pBuf->nPixelStep < 4) return E_NOTIMPL;
  const IntRect& roi = pBuf->ROI;
  if (roi.l < 0 || roi.t < 0 || roi.r > pBuf->nWidth || roi.b > pBuf->nHeight ||
      static_cast<int64_t>(pBuf->nStride) < static_cast<int64_t>(pBuf->nWidth) * pBuf->nPixelStep)
    return E_INVALIDARG;
  // Drawing needs a table: a tool that has never built one has nothing to draw with.
  if (!m_spRefTable || m_nRefCount < 1) return E_FAIL;

  int n = std::max(1, m_Jobs.Slices());
  const int32_t width = std::max(0, roi.r - roi.l);
  const int32_t rows = std::max(0, roi.b - roi.t);
  const size_t perStrip = DitherScratchFloats(width);
  std::unique_ptr<float[]> scratch(new (std::nothrow) float[perStrip * n]);
  if (!scratch) return E_OUTOFMEMORY;

  void* jobs[PoolJobs::kMaxJobs];
  for (int i = 0; i < n; ++i) {
    int begin = 0, end = 0;
    SliceRange(rows, n, i, &begin, &end);
    GradientWorkerParam& job = m_WorkerParam[i];
    job.pTool = this;
    job.pBuf = pBuf;
    job.pParam = pParam;
    job.rcStrip = IntRect{roi.l, roi.t + begin, roi.l + width, roi.t + end};
    job.nStrip = i;
    job.pScratch = scratch.get() + perStrip * i;
    jobs[i] = &job;
  }

  HRESULT statuses[PoolJobs::kMaxJobs];
  if (n < 2) {
    for (int i = 0; i < PoolJobs::kMaxJobs; ++i) statuses[i] = i == 0 ? E_INVALIDARG : S_OK;
    drawStrip(jobs[0], &statuses[0]);
  } else {
    m_Jobs.Run(n, drawStrip, jobs, statuses);
  }
  return PoolJobs::LastFailure(n, statuses);
}

void CGradientTool::drawStrip(void* pJob, HRESULT* pStatus) {
  auto* job = static_cast<GradientWorkerParam*>(pJob);
  const GradientParam& p = *job->pParam;
  // An axis of length 0 is reported, but a shape that draws anyway (with the clamped
  // indices that the infinities give) reports its own success over it.
  if (p.ptBegin.x == p.ptEnd.x && p.ptBegin.y == p.ptEnd.y) *pStatus = E_INVALIDARG;
  IndexRowFn indexRow = GetIndexRowFn(p.nGradientType);
  if (!indexRow) return;

  CGradientTool* tool = job->pTool;
  const GradientAxis axis = MakeGradientAxis(p.ptBegin, p.ptEnd, tool->m_nRefCount);
  DitherStrip strip;
  strip.pBuffer = job->pBuf->pBuffer;
  strip.nStride = job->pBuf->nStride;
  strip.nPixelStep = job->pBuf->nPixelStep;
  strip.rcStrip = job->rcStrip;
  strip.pTable = tool->m_spRefTable.get();
  strip.nSeed = static_cast<uint64_t>(job->nStrip);
  strip.pScratch = job->pScratch;
  DrawDitheredStrip(strip, axis, indexRow);
  *pStatus = S_OK;
}

}  // namespace Orvel
