#include "engine/COrvel.h"

namespace Orvel {

HRESULT COrvel::ColorMatch(BufferData* pBufIn, BufferData* pBufOut, void* pColorMatchParam) {
  if (!pBufIn || !pBufOut || !pColorMatchParam) return E_POINTER;
  return E_NOTIMPL;
}

}  // namespace Orvel
