// Masks, merges and noise: the frame around the mask, merge and noise tools. These operations
// belong to no timing category, so they run untimed.
#include "engine/COrvel.h"
#include "engine/call_frame.h"

namespace Orvel {

namespace {
constexpr uint32_t kUntimed = 0;
}  // namespace

// 1: blurs the mask in place with two box passes, the second 1.5 times as wide.
HRESULT COrvel::BlurMask(BufferData* pBuf, const int32_t* pRadius) {
  if (!pBuf || !pRadius) return E_POINTER;
  CallFrame frame(false, m_PerformanceCenter, kUntimed, "BlurMask");
  HRESULT hr;
  ORVEL_CHECK(frame, hr, m_MaskTool.BlurMask(pBuf, pRadius));
  return frame.Finish(hr);
}

// 2: merges one single-channel mask into another.
HRESULT COrvel::MergeMask(BufferData* pDst, BufferData* pSrc, MaskMergeParam* pParam) {
  if (!pDst || !pSrc || !pParam) return E_POINTER;
  CallFrame frame(false, m_PerformanceCenter, kUntimed, "MergeMask");
  HRESULT hr;
  ORVEL_CHECK(frame, hr, m_MaskTool.MergeMask(pDst, pSrc, pParam));
  return frame.Finish(hr);
}

// 3: complements the first element of every pixel in the region.
HRESULT COrvel::InvertMask(BufferData* pBuf) {
  if (!pBuf) return E_POINTER;
  CallFrame frame(false, m_PerformanceCenter, kUntimed, "InvertMask");
  HRESULT hr;
  ORVEL_CHECK(frame, hr, m_MaskTool.InvertMask(pBuf));
  return frame.Finish(hr);
}

// 4: merges the selection in the source's alpha into the destination's.
HRESULT COrvel::Merge(BufferData* pSrc, BufferData* pDst, MergeParam* pParam) {
  if (!pSrc || !pDst || !pParam) return E_POINTER;
  CallFrame frame(false, m_PerformanceCenter, kUntimed, "Merge");
  HRESULT hr;
  ORVEL_CHECK(frame, hr, m_MergeTool.Merge(pSrc, pDst, pParam));
  return frame.Finish(hr);
}

// 11: multiplies the object's alpha by the mask within the mask's ROI. Answers 1 when the
// object and the ROI do not meet.
HRESULT COrvel::ApplyMask(BufferData* pObject, BufferData* pMask, Point* pOrigin) {
  if (!pObject || !pMask || !pOrigin) return E_POINTER;
  CallFrame frame(false, m_PerformanceCenter, kUntimed, "ApplyMask");
  HRESULT hr;
  ORVEL_CHECK(frame, hr, m_MaskTool.ApplyMask(pObject, pOrigin, pMask, true));
  return frame.Finish(hr);
}

// 79: fills the host's pattern memory with seeded noise.
HRESULT COrvel::GenerateNoisePattern(NoiseParam* pParam) {
  if (!pParam) return E_POINTER;
  CallFrame frame(false, m_PerformanceCenter, kUntimed, "GenerateNoisePattern");
  NoiseParam& param = *pParam;
  HRESULT hr;
  ORVEL_CHECK(frame, hr, m_Noise.GenerateNoisePattern(param));
  return frame.Finish(hr);
}

}  // namespace Orvel
