// The job a blend worker receives, and the two rows of workers.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/thread_pool.h"
#include "orvel/types.h"

namespace Orvel {

class CBlendTool;

// One region of one blend. rcRegion is relative to each buffer's ROI.
struct BlendJob {
  CBlendTool* pTool = nullptr;
  const BufferData* pSrc = nullptr;  // the layer being blended
  const BufferData* pRef = nullptr;  // backdrop (non-style) or second layer (style)
  BufferData* pDst = nullptr;        // receives the result; may be pSrc or pRef
  IntRect rcRegion;
  int32_t nOpacity256 = 0;  // 0..256
  uint8_t bStyle = 0;
  uint8_t bClip = 0;
  uint8_t bOverwrite = 0;
};

constexpr int kBlendSlots = 28;

// Address of pixel (x, y) of a buffer's region.
inline uint8_t* PixelAddress(const BufferData& buf, int x, int y) {
  return buf.pBuffer + ptrdiff_t(buf.ROI.t + y) * buf.nStride +
         ptrdiff_t(buf.ROI.l + x) * buf.nPixelStep;
}

// Row 0: plain scalar workers that follow the rules literally; the reference.
const WorkFn* PortableBlendRow();

// Row 1: the vector workers of the best instruction set the processor offers. Their blocks of
// eight pixels are coarser than row 0 in a few modes on purpose; the style path and everything
// else equal row 0.
const WorkFn* FastBlendRow();

// The instruction set the fast row runs on now, by name (for tests and benchmarks).
const char* FastBlendTargetName();

}  // namespace Orvel
