// The blend family of operations.
#include "engine/COrvel.h"

namespace Orvel {

HRESULT COrvel::Blend(BufferData* pBufIn, BufferData* pBufOut, BlendParam* pBlendParam) {
  if (!pBufIn || !pBufOut || !pBlendParam) return E_POINTER;
  return E_NOTIMPL;
}

HRESULT COrvel::BlendWithSingleColor(BufferData* pBufIn, BufferData* pBufOut, Color) {
  if (!pBufIn || !pBufOut || !pBufIn->pBuffer || !pBufOut->pBuffer) return E_POINTER;
  return E_NOTIMPL;
}

HRESULT COrvel::BlendWithStyle(BufferData* pBufIn, BufferData* pBufStyle, BufferData* pBufOut,
                               BlendParam* pBlendParam) {
  if (!pBufIn || !pBufStyle || !pBufOut || !pBlendParam) return E_POINTER;
  return E_NOTIMPL;
}

HRESULT COrvel::BlendWithFillOpacity(BufferData* pBufIn, BufferData* pBufOut,
                                     BlendParam* pBlendParam, int32_t) {
  if (!pBufIn || !pBufOut || !pBlendParam) return E_POINTER;
  return E_NOTIMPL;
}

HRESULT COrvel::BlendColor(BufferData* pBufRef, BufferData* pBufOut, BlendParam* pBlendParam) {
  if (!pBufRef || !pBufOut || !pBlendParam) return E_POINTER;
  return E_NOTIMPL;
}

HRESULT COrvel::BlendColor2(BufferData* pBufSrcOut, BufferData* pBufDst, BlendParam* pBlendParam) {
  if (!pBufSrcOut || !pBufDst || !pBlendParam) return E_POINTER;
  return E_NOTIMPL;
}

}  // namespace Orvel
