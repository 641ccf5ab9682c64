#pragma once

// Vector workers of the merge tool and of the mask inversion. They give the values of the
// element-by-element arithmetic exactly; they only take several pixels per instruction.

#include <cstddef>
#include <cstdint>

namespace Orvel {

// One mode of Merge over `rows` rows of `width` four-byte pixels (alpha in the top byte),
// source and destination at the same place. `colour` is crMerge packed as r << 16 | g << 8 | b,
// `maxValue` the source's nMaxValue. MERGE_INTERSECT here is its arithmetic inside rcMerge only.
void FastMergeRect8(int mode, const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst,
                    ptrdiff_t dstStride, int width, int rows, uint32_t maxValue, uint32_t colour);

// Sets the alpha of `rows` rows of `width` four-byte pixels to 0.
void FastClearAlphaRect8(uint8_t* dst, ptrdiff_t stride, int width, int rows);

// XORs `rowBytes` bytes of each of `rows` rows with `pattern` repeated from the row's start.
// The pattern's period must divide 16.
void FastXorRect(uint8_t* p, ptrdiff_t stride, size_t rowBytes, int rows,
                 const uint8_t pattern[16]);

}  // namespace Orvel
