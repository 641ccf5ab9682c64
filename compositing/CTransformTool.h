// Places one image on another through a 4 x 4 projective matrix and blends it there in the
// same pass: each destination pixel is mapped back into the source, sampled, and composited
// with the blend mode and opacity of a BlendParam.
#pragma once

#include "compositing/CInterpolator.h"
#include "compositing/transform_kernels.h"
#include "engine/thread_pool.h"
#include "orvel/compositing_params.h"

namespace Orvel {

class CBlendTool;

class CTransformTool {
 public:
  CTransformTool(CThreadPool* pPool, CBlendTool* pBlendTool);
  virtual ~CTransformTool() = default;
  CTransformTool(const CTransformTool&) = delete;
  CTransformTool& operator=(const CTransformTool&) = delete;

  // Row 1 (blocks of eight, single-precision cubic) when bOn, else row 0.
  void SetFastPath(bool bOn);

  // pBufIn's ROI is sampled; pBufOut is covered whole, (0, 0, nWidth, nHeight), its ROI not
  // consulted. Coordinates address the memory, not the regions. Returns E_POINTER for a
  // missing buffer, E_NOTIMPL for a record with bLegacyFlag set or 16-bit buffers,
  // E_INVALIDARG for a mode outside 0..27, a source ROI outside its memory or pixel layouts
  // that do not fit together, E_FAIL for a matrix without an inverse; 0 otherwise, also when
  // the image misses the destination.
  HRESULT Process(const BufferData* pBufIn, BufferData* pBufOut, const BlendParam* pParam,
                  const TransformMatrix* pMatrix);
  HRESULT Process(const BufferData* pBufIn, BufferData* pBufOut, const BlendParam* pParam,
                  const TransformMatrix& matrix) {
    return Process(pBufIn, pBufOut, pParam, &matrix);
  }
  // Normal at full opacity; serves single-channel buffers too.
  HRESULT Process(const BufferData* pBufIn, BufferData* pBufOut, const TransformMatrix* pMatrix);
  HRESULT Process(const BufferData* pBufIn, BufferData* pBufOut, const TransformMatrix& matrix) {
    return Process(pBufIn, pBufOut, &matrix);
  }

  // Strips the last Process handed to the pool; 0 when it ran on the calling thread or
  // touched nothing.
  int LastStripCount() const { return m_nLastStrips; }

  TransformBlendFn m_fnTransformBlend[2][kTransformSlots];  // row 0 portable, row 1 fast
  CThreadPool* m_pThreadPool;
  CBlendTool* m_pBlendTool;
  PoolJobs m_Jobs;
  TransformWorkerParam m_WorkerParam[PoolJobs::kMaxJobs];
  int m_nTableIndex = 0;
  CInterpolator m_Interpolator;
  bool m_bFastPath = false;
  // The fast row's vector pieces, looked up for the processor when the fast row is chosen.
  TransformBlockSampler m_fnBlockSampler = nullptr;
  TransformBlockComposite m_fnNormalBlock = nullptr;

 private:
  int m_nLastStrips = 0;
};

}  // namespace Orvel
