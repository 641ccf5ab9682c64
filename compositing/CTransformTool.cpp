#include "compositing/CTransformTool.h"

#include <algorithm>
#include <cmath>

#include "compositing/matrix_ops.h"

namespace Orvel {

namespace {

// Rounds half away from zero into a range wide enough for any rectangle test; a coordinate at
// infinity lands far outside every destination.
int64_t roundBoxEdge(double v) {
  const double limit = 4.0e15;
  if (v > limit) return int64_t(limit);
  if (v < -limit) return -int64_t(limit);
  return static_cast<int64_t>(v < 0.0 ? v - 0.5 : v + 0.5);
}

struct Box {
  int64_t l, t, r, b;
};

// The bounding box of the source ROI's four corner pixels mapped forward, in 64-bit floats
// with one divide per corner, each coordinate stored as a 32-bit float and then rounded.
// A corner that maps to no number at all leaves the box unbounded: the range test of each
// pixel decides instead.
Box forwardBox(const double m[16], const IntRect& roi) {
  if (roi.l == roi.r || roi.t == roi.b) return Box{roi.l, roi.t, roi.r, roi.b};
  const double cx[4] = {double(roi.l), double(roi.r - 1), double(roi.r - 1), double(roi.l)};
  const double cy[4] = {double(roi.t), double(roi.t), double(roi.b - 1), double(roi.b - 1)};
  float minX = 0, minY = 0, maxX = 0, maxY = 0;
  for (int i = 0; i < 4; ++i) {
    const double x = cx[i], y = cy[i];
    const double rD = 1.0 / (m[7] * y + m[15] + m[3] * x);
    const float X = static_cast<float>((m[4] * y + m[12] + m[0] * x) * rD);
    const float Y = static_cast<float>((m[5] * y + m[13] + m[1] * x) * rD);
    if (X != X || Y != Y) {
      const int64_t far = int64_t(4.0e15);
      return Box{-far, -far, far, far};
    }
    if (i == 0 || X < minX) minX = X;
    if (i == 0 || Y < minY) minY = Y;
    if (i == 0 || X > maxX) maxX = X;
    if (i == 0 || Y > maxY) maxY = Y;
  }
  return Box{roundBoxEdge(minX), roundBoxEdge(minY), roundBoxEdge(maxX) + 1,
             roundBoxEdge(maxY) + 1};
}

// The scale of each edge of the source as the 32-bit matrix maps it: left, right, top, bottom.
// The full width and height are measured here, corner to corner.
void edgeRatios(const float* m, const BufferData& in, float ratio[4]) {
  const float w = static_cast<float>(in.nWidth), h = static_cast<float>(in.nHeight);
  const float xs[4] = {0.0f, w, 0.0f, w};
  const float ys[4] = {0.0f, 0.0f, h, h};
  float px[4], py[4];
  for (int i = 0; i < 4; ++i) {
    const float x = xs[i], y = ys[i];
    const float D = m[7] * y + m[15] + m[3] * x;
    px[i] = (m[4] * y + m[12] + m[0] * x) / D;
    py[i] = (m[5] * y + m[13] + m[1] * x) / D;
  }
  auto length = [&](int a, int b) {
    const float dx = px[b] - px[a], dy = py[b] - py[a];
    return std::sqrt(dx * dx + dy * dy);
  };
  ratio[0] = length(0, 2) / h;
  ratio[1] = length(1, 3) / h;
  ratio[2] = length(0, 1) / w;
  ratio[3] = length(2, 3) / w;
}

}  // namespace

CTransformTool::CTransformTool(CThreadPool* pPool, CBlendTool* pBlendTool)
    : m_pThreadPool(pPool), m_pBlendTool(pBlendTool), m_Jobs(pPool) {
  const TransformBlendFn* portable = PortableTransformRow();
  const TransformBlendFn* fast = FastTransformRow();
  std::copy(portable, portable + kTransformSlots, m_fnTransformBlend[0]);
  std::copy(fast, fast + kTransformSlots, m_fnTransformBlend[1]);
  if (m_Interpolator.m_fSharpness != 1.0f) m_Interpolator.SetSharpness(1.0f);
}

void CTransformTool::SetFastPath(bool bOn) {
  if (bOn) {
    m_fnBlockSampler = FastTransformBlockSampler();
    m_fnNormalBlock = FastNormalBlockComposite();
  }
  m_bFastPath = bOn;
  m_nTableIndex = bOn ? 1 : 0;
}

HRESULT CTransformTool::Process(const BufferData* pBufIn, BufferData* pBufOut,
                                const TransformMatrix* pMatrix) {
  BlendParam p;
  p.nBlendMode = BLEND_NORMAL;
  p.nOpacity = 100;
  p.bLegacyFlag = false;
  p.bOverwrite = false;
  return Process(pBufIn, pBufOut, &p, pMatrix);
}

HRESULT CTransformTool::Process(const BufferData* pBufIn, BufferData* pBufOut,
                                const BlendParam* pParam, const TransformMatrix* pMatrix) {
  m_nLastStrips = 0;
  if (!pBufIn || !pBufOut || !pBufIn->pBuffer || !pBufOut->pBuffer || !pParam || !pMatrix)
    return E_POINTER;
  if (pParam->bLegacyFlag) return E_NOTIMPL;
  // Eight-bit channels only.
  if (pBufIn->nDepth != 0 || pBufOut->nDepth != 0) return E_NOTIMPL;
  // The mode indexes the table directly; a number past it would call through garbage.
  const int mode = pParam->nBlendMode;
  if (mode < 0 || mode >= kTransformSlots) return E_INVALIDARG;
  // Sampling reads the source's ROI (and a pixel beside it at most), four bytes a pixel when
  // the destination has colour: both must lie in the source's memory. A destination is a mask
  // (one byte a pixel) or has four channels, all of which the composite writes.
  const IntRect& roi = pBufIn->ROI;
  if (roi.l < 0 || roi.t < 0 || roi.r > pBufIn->nWidth || roi.b > pBufIn->nHeight)
    return E_INVALIDARG;
  if (pBufIn->nPixelStep < 1 || (pBufOut->nPixelStep != 1 && pBufOut->nPixelStep < 4))
    return E_INVALIDARG;
  if (pBufOut->nPixelStep != 1 && pBufIn->nPixelStep < 4) return E_INVALIDARG;

  double forward[16], inverse[16];
  for (int i = 0; i < 16; ++i) forward[i] = pMatrix->m[i];
  // Only an exact zero counts as singular; a determinant that is no number at all (from
  // infinite or undefined elements) gives no inverse either.
  const double det = MatrixOps::InvertByCofactors(forward, inverse);
  if (det == 0.0 || !std::isfinite(det)) return E_FAIL;

  const Box clip{0, 0, pBufOut->nWidth, pBufOut->nHeight};
  const Box box = forwardBox(forward, roi);
  if (clip.l >= box.r || clip.r <= box.l || clip.t >= box.b || clip.b <= box.t) return S_OK;
  const IntRect rc{int32_t(std::max(clip.l, box.l)), int32_t(std::max(clip.t, box.t)),
                   int32_t(std::min(clip.r, box.r)), int32_t(std::min(clip.b, box.b))};

  if (!IsTranslation(inverse) && pBufOut->nPixelStep != 1) {
    float ratio[4];
    edgeRatios(pMatrix->m, *pBufIn, ratio);
    m_Interpolator.SetEdgeRatios(ratio);
  }

  const TransformBlendFn worker = m_fnTransformBlend[m_nTableIndex][mode];
  // Percent to the 0..256 multiplier, held to its ends as the blend tool holds it.
  const int op = int(std::clamp<int64_t>(int64_t(pParam->nOpacity) * 256 / 100, 0, 256));

  TransformWorkerParam job;
  job.pTool = this;
  job.pBufIn = pBufIn;
  job.pBufOut = pBufOut;
  job.rcStrip = rc;
  std::copy(inverse, inverse + 16, job.Inverse);
  job.nOpacity256 = op;
  job.pInterpolator = &m_Interpolator;
  job.nClipL = rc.l;
  job.nClipR = rc.r;
  job.nClipT = rc.t;
  job.nClipB = rc.b;

  const int count = m_Jobs.Slices();
  if (!(rc.r >= count && rc.b >= count && count > 1)) {
    m_WorkerParam[0] = job;
    HRESULT status = S_OK;
    worker(&m_WorkerParam[0], &status);
    return status;
  }

  // Vertical strips with all rows each: no destination pixel belongs to two workers. A strip
  // can be empty when the rectangle is narrower than the count.
  void* jobs[PoolJobs::kMaxJobs];
  for (int i = 0; i < count; ++i) {
    int l = 0, r = 0;
    SliceRange(rc.r - rc.l, count, i, &l, &r);
    m_WorkerParam[i] = job;
    m_WorkerParam[i].rcStrip = IntRect{rc.l + l, rc.t, rc.l + r, rc.b};
    jobs[i] = &m_WorkerParam[i];
  }
  HRESULT statuses[PoolJobs::kMaxJobs];
  m_Jobs.Run(count, worker, jobs, statuses);
  m_nLastStrips = count;
  return PoolJobs::LastFailure(count, statuses);
}

}  // namespace Orvel
