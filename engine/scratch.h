// Grow-only scratch memory of the engine and the temporary buffers made on it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "orvel/types.h"

namespace Orvel {

struct ScratchBlock {
  uint8_t* pAllocation = nullptr;  // what the allocator handed out
  uint8_t* pData = nullptr;        // what is used (the same pointer)
  size_t nRequested = 0;           // requested capacity in bytes
  size_t nCapacity = 0;            // available capacity in bytes
  size_t nUsed = 0;                // size in use in bytes
};

// Hands out n zero-filled bytes, reusing the block when it is large enough. A new allocation
// is n + 1 bytes. Only the used length is zeroed on reuse.
HRESULT AcquireScratch(ScratchBlock& block, size_t n, uint8_t** ppOut);

// Frees the block and clears all of its fields.
void ReleaseScratchBlock(ScratchBlock& block);

// A BufObj: a copy of `like` whose pBuffer points at n zero-filled bytes of `block`.
HRESULT MakeBufObj(ScratchBlock& block, const BufferData& like, size_t n, BufferData& out);

// A BufObj holding a byte-for-byte copy of the nHeight x nStride bytes of `src`.
HRESULT MakeBufObjCopy(ScratchBlock& block, const BufferData& src, BufferData& out);

}  // namespace Orvel
