#include "compositing/CBlendTool.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "compositing/blend_kernels.h"
#include "engine/trace.h"

namespace Orvel {

namespace {

int widthOf(const IntRect& rc) { return rc.r - rc.l; }
int heightOf(const IntRect& rc) { return rc.b - rc.t; }

}  // namespace

CBlendTool::CBlendTool(CThreadPool* pPool) : m_pThreadPool(pPool), m_Jobs(pPool) {
  // Both rows start portable; the engine switches the fast row on once it knows the processor.
  const WorkFn* portable = PortableBlendRow();
  for (int row = 0; row < 2; ++row)
    std::copy(portable, portable + kBlendSlots, m_fnBlend[row]);
}

CBlendTool::~CBlendTool() = default;

void CBlendTool::SetFastPath(bool bOn) {
  if (bOn) {
    const WorkFn* fast = FastBlendRow();
    std::copy(fast, fast + kBlendSlots, m_fnBlend[1]);
  }
  m_nTableIndex = bOn ? 1 : 0;
}

HRESULT CBlendTool::Process(const BufferData* pBufIn, BufferData* pBufOut,
                            const BlendParam* pBlendParam) {
  const IntRect r{0, 0, pBufOut->nWidth, pBufOut->nHeight};
  return Process(pBufIn, pBufOut, pBufOut, r, pBlendParam, false, false);
}

HRESULT CBlendTool::Process(const BufferData* p_src, const BufferData* p_ref, BufferData* p_dst,
                            const IntRect& r, const BlendParam* p_param, bool bStyle,
                            bool bClip) {
  m_nLastStripes = 0;
  const int mode = p_param->nBlendMode;
  // The mode indexes the table directly; a number past it would call through garbage.
  if (mode < 0 || mode >= kBlendSlots) return E_INVALIDARG;

  const int width = std::min({widthOf(p_src->ROI), widthOf(p_ref->ROI), widthOf(p_dst->ROI),
                              widthOf(r)});
  const int height = std::min({heightOf(p_src->ROI), heightOf(p_ref->ROI),
                               heightOf(p_dst->ROI), heightOf(r)});
  if (width <= 0 || height <= 0) return S_OK;

  const WorkFn worker = m_fnBlend[m_nTableIndex][mode];
  // Percent to the 0..256 multiplier. A percentage outside 0..100 is held to the ends, which
  // keeps every weight of the composite within a byte.
  const int op = std::clamp(p_param->nOpacity * 256 / 100, 0, 256);

  BlendJob job;
  job.pTool = this;
  job.pSrc = p_src;
  job.pRef = p_ref;
  job.pDst = p_dst;
  job.rcRegion = IntRect{0, 0, width, height};
  job.nOpacity256 = op;
  job.bStyle = bStyle ? 1 : 0;
  job.bClip = bClip ? 1 : 0;
  job.bOverwrite = p_param->bOverwrite ? 1 : 0;

  const int n = m_Jobs.Slices();
  if (int64_t(width) * height < kPoolThreshold || n < 1) {
    m_JobRecords[0] = job;
    HRESULT status = S_OK;
    worker(&m_JobRecords[0], &status);
    return S_OK;
  }

  // Vertical stripes with all rows each; the last stripe takes the remainder of the width.
  void* jobs[PoolJobs::kMaxJobs];
  for (int i = 0; i < n; ++i) {
    m_JobRecords[i] = job;
    int l = 0, rr = 0;
    SliceRange(width, n, i, &l, &rr);
    m_JobRecords[i].rcRegion = IntRect{l, 0, rr, height};
    jobs[i] = &m_JobRecords[i];
  }
  HRESULT statuses[PoolJobs::kMaxJobs];
  m_Jobs.Run(n, worker, jobs, statuses);
  m_nLastStripes = n;
  // A worker has nothing that can fail; its status is not passed on.
  return S_OK;
}

HRESULT CBlendTool::Process_Color(const BufferData* p_src, const BufferData* p_ref,
                                  BufferData* p_dst, const BlendParam* p_param) {
  const IntRect r{0, 0, p_dst->nWidth, p_dst->nHeight};
  return Process(p_src, p_ref, p_dst, r, p_param, false, true);
}

HRESULT CBlendTool::Process_Color2(BufferData* p_src, const BufferData* p_ref, BufferData* p_dst,
                                   const BlendParam* p_param) {
  const int w = widthOf(p_src->ROI), h = heightOf(p_src->ROI);
  if (w != widthOf(p_ref->ROI) || h != heightOf(p_ref->ROI)) return E_INVALIDARG;

  // The source as it was, for the mix after the blend.
  const size_t bytes = size_t(std::max(p_src->nHeight, 0)) * size_t(std::max(p_src->nStride, 0));
  std::unique_ptr<uint8_t[]> original(new (std::nothrow) uint8_t[bytes + 1]);
  if (!original) return E_OUTOFMEMORY;
  if (bytes) std::memcpy(original.get(), p_src->pBuffer, bytes);

  const IntRect r{0, 0, p_dst->nWidth, p_dst->nHeight};
  HRESULT hr = Process(p_src, p_ref, p_dst, r, p_param, false, true);
  if (hr < 0) {
    Trace("[Assert] %s , Error! hr=%x", "Process(p_src, p_ref, p_dst, r, p_param, false, true)",
          unsigned(hr));
    return hr;
  }

  // Pull the blended colour back toward the original by the reference's alpha. The walk steps
  // four bytes a pixel, as the buffers of this operation always have four channels.
  for (int y = 0; y < h; ++y) {
    const uint8_t* ref = p_ref->pBuffer + ptrdiff_t(p_ref->ROI.t + y) * p_ref->nStride +
                         ptrdiff_t(p_ref->ROI.l) * 4;
    const ptrdiff_t rowOffset =
        ptrdiff_t(p_src->ROI.t + y) * p_src->nStride + ptrdiff_t(p_src->ROI.l) * 4;
    uint8_t* cur = p_src->pBuffer + rowOffset;
    const uint8_t* old = original.get() + rowOffset;
    for (int x = 0; x < w; ++x, ref += 4, cur += 4, old += 4) {
      const int a = ref[3];
      for (int c = 0; c < 3; ++c)
        cur[c] = uint8_t(int(cur[c] * (a / 255.0) + (old[c] * (255 - a)) / 255.0));
    }
  }
  return S_OK;
}

HRESULT CBlendTool::BlendWithSingleColor(const BufferData& in, BufferData& out,
                                         const Color& color) {
  if (in.nDepth != 0 && in.nDepth != 1) return E_NOTIMPL;
  if (m_nTableIndex == 1) {
    if (in.nDepth == 0)
      FastFlatten8(in, out, color);
    else
      FastFlatten16(in, out, color);
    return S_OK;
  }
  const int col[3] = {color.b, color.g, color.r};
  if (in.nDepth == 0) {
    for (int y = 0; y < in.nHeight; ++y) {
      const uint8_t* s = in.pBuffer + ptrdiff_t(y) * in.nStride;
      uint8_t* o = out.pBuffer + ptrdiff_t(y) * out.nStride;
      for (int x = 0; x < in.nWidth; ++x, s += 4, o += 3) {
        const int a = s[3];
        for (int c = 0; c < 3; ++c) o[c] = uint8_t((s[c] * a + col[c] * (255 - a)) / 255);
      }
    }
  } else {
    // The high byte of each 16-bit channel stands for it; rows advance by an even number of
    // elements.
    const uint16_t* base = reinterpret_cast<const uint16_t*>(in.pBuffer);
    const ptrdiff_t rowElems = (in.nStride / 2) & ~1;
    for (int y = 0; y < in.nHeight; ++y) {
      const uint16_t* s = base + y * rowElems;
      uint8_t* o = out.pBuffer + ptrdiff_t(y) * out.nStride;
      for (int x = 0; x < in.nWidth; ++x, s += 4, o += 3) {
        const int a = s[3] >> 8;
        for (int c = 0; c < 3; ++c)
          o[c] = uint8_t(((s[c] >> 8) * a + col[c] * (255 - a)) / 255);
      }
    }
  }
  return S_OK;
}

}  // namespace Orvel
