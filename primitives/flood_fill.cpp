// Four-connected flood fill of an 8-bit image.
//
// A scanline fill with an explicit stack of spans in the caller's work buffer. A span is painted
// the moment it is found and only then pushed; popping it looks for runs of the seed's value in
// the rows above and below that touch it, each widened to its full extent, painted and pushed in
// turn. Painting on discovery means a run is never found twice, so every span on the stack is a
// distinct maximal run of the seed's value: no row holds more than ceil(width / 2) of them, and
// a stack of height x ceil(width / 2) spans can never overflow, whatever the image. The work is
// linear in the pixels scanned and nothing recurses.
#include <algorithm>
#include <climits>
#include <cstring>

#include "primitives/image_rows.h"
#include "primitives/primitives.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Orvel {

namespace {

using primitives_detail::rowAt;
using primitives_detail::WorkLayout;

struct Span {
  int32_t y;
  int32_t left;   // first pixel
  int32_t right;  // last pixel
};

Span* layoutFloodWork(uint8_t* base, IppiSize size, size_t* pBytes) {
  WorkLayout layout(base);
  const size_t runsPerRow = (static_cast<size_t>(size.width) + 1) / 2;
  Span* stack = layout.take<Span>(runsPerRow * static_cast<size_t>(size.height));
  if (pBytes != nullptr) *pBytes = layout.bytesNeeded();
  return stack;
}

// First x in [from, to) with row[x] == v, else to.
inline int findValue(const Ipp8u* row, int from, int to, Ipp8u v) {
  if (from >= to) return to;
  const void* hit = std::memchr(row + from, v, static_cast<size_t>(to - from));
  return hit ? static_cast<int>(static_cast<const Ipp8u*>(hit) - row) : to;
}

// First x in [from, to) with row[x] != v, else to.
inline int findOther(const Ipp8u* row, int from, int to, Ipp8u v) {
  int x = from;
#if defined(__SSE2__)
  const __m128i value = _mm_set1_epi8(static_cast<char>(v));
  auto same16 = [&](int at) {
    return _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + at)), value);
  };
  // Four loads in flight per step: long runs are as fast as the memory brings the row in.
  for (; x + 64 <= to; x += 64) {
    // Rows are short streams that start cold; the hardware prefetcher alone warms up too late.
    // The address may lie past the image, which a prefetch is allowed to name.
    _mm_prefetch(reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(row) + x + 512),
                 _MM_HINT_T0);
    const __m128i all = _mm_and_si128(_mm_and_si128(same16(x), same16(x + 16)),
                                      _mm_and_si128(same16(x + 32), same16(x + 48)));
    if (_mm_movemask_epi8(all) != 0xFFFF) break;
  }
  for (; x + 16 <= to; x += 16) {
    const unsigned same = static_cast<unsigned>(_mm_movemask_epi8(same16(x)));
    if (same != 0xFFFFu) return x + __builtin_ctz(~same);
  }
#endif
  while (x < to && row[x] == v) ++x;
  return x;
}

// Smallest x <= from such that row[x .. from] are all v; row[from] must be v.
inline int extendLeft(const Ipp8u* row, int from, Ipp8u v) {
  int x = from;  // row[x .. from] are v
#if defined(__SSE2__)
  const __m128i value = _mm_set1_epi8(static_cast<char>(v));
  while (x >= 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x - 16));
    const unsigned same = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, value)));
    if (same != 0xFFFFu) return x - 16 + (32 - __builtin_clz((~same) & 0xFFFFu));
    x -= 16;
  }
#endif
  while (x > 0 && row[x - 1] == v) --x;
  return x;
}

struct RegionStats {
  int64_t area = 0;
  int32_t left = INT32_MAX;
  int32_t right = -1;
  int32_t top = INT32_MAX;
  int32_t bottom = -1;

  void add(int32_t y, int32_t l, int32_t r) {
    area += r - l + 1;
    left = std::min(left, l);
    right = std::max(right, r);
    top = std::min(top, y);
    bottom = std::max(bottom, y);
  }
};

}  // namespace

IppStatus ippiFloodFillGetSize(IppiSize roiSize, int* pBufferSize) {
  if (pBufferSize == nullptr) return ippStsNullPtrErr;
  if (!primitives_detail::sizeIsValid(roiSize)) return ippStsSizeErr;
  size_t bytes = 0;
  layoutFloodWork(nullptr, roiSize, &bytes);
  return primitives_detail::reportSize(bytes, pBufferSize);
}

IppStatus ippiFloodFill_4Con_8u_C1IR(Ipp8u* pImage, int imageStep, IppiSize roiSize, IppiPoint seed,
                                     Ipp8u newValue, IppiConnectedComp* pRegion, Ipp8u* pBuffer) {
  if (pImage == nullptr || pRegion == nullptr || pBuffer == nullptr) return ippStsNullPtrErr;
  if (!primitives_detail::sizeIsValid(roiSize)) return ippStsSizeErr;
  const int width = roiSize.width;
  const int height = roiSize.height;
  if (!primitives_detail::stepIsValid(imageStep, width, sizeof(Ipp8u))) return ippStsStepErr;
  if (seed.x < 0 || seed.x >= width || seed.y < 0 || seed.y >= height) return ippStsOutOfRangeErr;

  // The stack must be the size the query reports; a size it would refuse is refused here too.
  size_t bytes = 0;
  layoutFloodWork(nullptr, roiSize, &bytes);
  if (bytes > static_cast<size_t>(INT_MAX)) return ippStsSizeErr;

  const Ipp8u v = rowAt(pImage, imageStep, seed.y)[seed.x];
  RegionStats stats;
  if (v != newValue) {
    Span* stack = layoutFloodWork(pBuffer, roiSize, nullptr);
    size_t top = 0;
    auto paint = [&](Ipp8u* row, int32_t y, int32_t l, int32_t r) {
      std::memset(row + l, newValue, static_cast<size_t>(r - l + 1));
      stats.add(y, l, r);
      stack[top++] = Span{y, l, r};
    };

    Ipp8u* seedRow = rowAt(pImage, imageStep, seed.y);
    paint(seedRow, seed.y, extendLeft(seedRow, seed.x, v),
          findOther(seedRow, seed.x, width, v) - 1);

    while (top > 0) {
      const Span span = stack[--top];
      for (int32_t y : {span.y - 1, span.y + 1}) {
        if (y < 0 || y >= height) continue;
        Ipp8u* row = rowAt(pImage, imageStep, y);
        // Runs of v that touch [left, right]. Only the first can reach left of `left`: any later
        // one starts right after a pixel that is not v.
        int x = findValue(row, span.left, span.right + 1, v);
        if (x > span.right) continue;
        int l = x == span.left ? extendLeft(row, x, v) : x;
        for (;;) {
          const int r = findOther(row, x, width, v) - 1;
          paint(row, y, l, r);
          if (r >= span.right) break;
          x = findValue(row, r + 2, span.right + 1, v);
          if (x > span.right) break;
          l = x;
        }
      }
    }
  }

  pRegion->area = static_cast<Ipp64f>(stats.area);
  pRegion->value[0] = newValue;
  pRegion->value[1] = 0.0;
  pRegion->value[2] = 0.0;
  if (stats.area > 0)
    pRegion->rect =
        IppiRect{stats.left, stats.top, stats.right - stats.left + 1, stats.bottom - stats.top + 1};
  else
    pRegion->rect = IppiRect{seed.x, seed.y, 0, 0};
  return ippStsNoErr;
}

}  // namespace Orvel
