#include "engine/scratch.h"

#include <cstring>
#include <new>

namespace Orvel {

HRESULT AcquireScratch(ScratchBlock& block, size_t n, uint8_t** ppOut) {
  if (!block.pData || n > block.nCapacity) {
    ReleaseScratchBlock(block);
    uint8_t* p = new (std::nothrow) uint8_t[n + 1];
    if (p) {
      block.pAllocation = p;
      block.pData = p;
      block.nRequested = n + 1;
      block.nCapacity = n + 1;
    }
  }
  if (!block.pData) {
    if (ppOut) *ppOut = nullptr;
    return E_OUTOFMEMORY;
  }
  block.nUsed = n;
  std::memset(block.pData, 0, n);
  if (ppOut) *ppOut = block.pData;
  return S_OK;
}

void ReleaseScratchBlock(ScratchBlock& block) {
  delete[] block.pAllocation;
  block = ScratchBlock{};
}

HRESULT MakeBufObj(ScratchBlock& block, const BufferData& like, size_t n, BufferData& out) {
  uint8_t* p = nullptr;
  HRESULT hr = AcquireScratch(block, n, &p);
  if (hr < 0) return hr;
  out = like;
  out.pBuffer = p;
  return S_OK;
}

HRESULT MakeBufObjCopy(ScratchBlock& block, const BufferData& src, BufferData& out) {
  if (!src.pBuffer) return E_POINTER;
  if (src.nHeight < 0 || src.nStride < 0) return E_INVALIDARG;
  size_t n = size_t(src.nHeight) * size_t(src.nStride);
  HRESULT hr = MakeBufObj(block, src, n, out);
  if (hr < 0) return hr;
  std::memcpy(out.pBuffer, src.pBuffer, n);
  return S_OK;
}

}  // namespace Orvel
