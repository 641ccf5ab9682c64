// Canny's edge stage: non-maximum suppression and hysteresis on given derivatives.
//
// Magnitudes are compared squared, dx^2 + dy^2 in integers, which orders them exactly as the
// Euclidean norm does; a threshold t becomes "squared magnitude above floor(t^2)", the same
// test without a square root.
//
// The work buffer holds three rows of squared magnitudes (with a zero column on each side), a
// state map one pixel larger than the image on every side, and a stack of map positions. The
// map's frame stays 0, so neither the suppression nor the tracing tests image bounds.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "primitives/image_rows.h"
#include "primitives/primitives.h"

namespace Orvel {

namespace {

using primitives_detail::rowAt;
using primitives_detail::WorkLayout;

enum : uint8_t { kNone = 0, kCandidate = 1, kEdge = 2 };

// tan(22.5 deg) and tan(67.5 deg) in 1/32768: the borders between the four directions.
constexpr int64_t kTan22 = 13573;
constexpr int64_t kTan67 = 79109;

struct CannyWork {
  int64_t* magnitude[3];  // squared magnitudes of rows y - 1, y, y + 1; entry 0 is column -1
  uint8_t* map;           // (width + 2) x (height + 2) states
  uint32_t* stack;        // positions in the map of edges whose neighbours are not yet visited
};

CannyWork layoutCannyWork(uint8_t* base, IppiSize size, size_t* pBytes) {
  WorkLayout layout(base);
  const size_t w = static_cast<size_t>(size.width);
  const size_t h = static_cast<size_t>(size.height);
  CannyWork work;
  for (int64_t*& row : work.magnitude) row = layout.take<int64_t>(w + 2);
  work.map = layout.take<uint8_t>((w + 2) * (h + 2));
  work.stack = layout.take<uint32_t>(w * h);
  if (pBytes != nullptr) *pBytes = layout.bytesNeeded();
  return work;
}

// Map positions travel as 32-bit values.
bool mapFitsPositions(IppiSize size) {
  return (static_cast<uint64_t>(size.width) + 2) * (static_cast<uint64_t>(size.height) + 2) <=
         UINT32_MAX;
}

// Squared magnitudes above this value pass the threshold t.
int64_t squaredThreshold(float t) {
  if (t < 0.0f) return -1;
  const double square = static_cast<double>(t) * static_cast<double>(t);
  // No squared magnitude reaches 2^31, so anything beyond stands for "never".
  if (square >= 4294967296.0) return INT64_MAX;
  return static_cast<int64_t>(std::floor(square));
}

void magnitudeRow(const Ipp16s* dx, const Ipp16s* dy, int width, int64_t* out) {
  out[0] = 0;
  for (int x = 0; x < width; ++x)
    out[x + 1] = static_cast<int64_t>(dx[x]) * dx[x] + static_cast<int64_t>(dy[x]) * dy[x];
  out[width + 1] = 0;
}

}  // namespace

IppStatus ippiCannyGetSize(IppiSize roiSize, int* pBufferSize) {
  if (pBufferSize == nullptr) return ippStsNullPtrErr;
  if (!primitives_detail::sizeIsValid(roiSize) || !mapFitsPositions(roiSize)) return ippStsSizeErr;
  size_t bytes = 0;
  layoutCannyWork(nullptr, roiSize, &bytes);
  return primitives_detail::reportSize(bytes, pBufferSize);
}

IppStatus ippiCanny_16s8u_C1R(const Ipp16s* pSrcDx, int srcDxStep, const Ipp16s* pSrcDy,
                              int srcDyStep, Ipp8u* pDstEdges, int dstEdgeStep, IppiSize roiSize,
                              Ipp32f lowThresh, Ipp32f highThresh, Ipp8u* pBuffer) {
  if (pSrcDx == nullptr || pSrcDy == nullptr || pDstEdges == nullptr || pBuffer == nullptr)
    return ippStsNullPtrErr;
  if (!primitives_detail::sizeIsValid(roiSize) || !mapFitsPositions(roiSize)) return ippStsSizeErr;
  const int width = roiSize.width;
  const int height = roiSize.height;
  if (!primitives_detail::stepIsValid(srcDxStep, width, sizeof(Ipp16s)) ||
      !primitives_detail::stepIsValid(srcDyStep, width, sizeof(Ipp16s)) ||
      !primitives_detail::stepIsValid(dstEdgeStep, width, sizeof(Ipp8u)))
    return ippStsStepErr;
  // Also refuses NaN thresholds.
  if (!(lowThresh <= highThresh)) return ippStsBadArgErr;

  CannyWork work = layoutCannyWork(pBuffer, roiSize, nullptr);
  const int64_t low = squaredThreshold(lowThresh);
  const int64_t high = squaredThreshold(highThresh);
  const size_t mapStride = static_cast<size_t>(width) + 2;
  std::memset(work.map, kNone, mapStride);
  std::memset(work.map + mapStride * (static_cast<size_t>(height) + 1), kNone, mapStride);

  int64_t* above = work.magnitude[0];
  int64_t* here = work.magnitude[1];
  int64_t* below = work.magnitude[2];
  std::fill(above, above + width + 2, 0);
  magnitudeRow(pSrcDx, pSrcDy, width, here);
  size_t top = 0;

  // Suppression. A pixel stays if it is strictly above its neighbour before it along the
  // gradient (the one in the row above, or to the left in its own row) and not below the one
  // after it: a ridge two pixels wide of equal magnitudes, as a hard step gives, keeps one pixel.
  for (int y = 0; y < height; ++y) {
    if (y + 1 < height)
      magnitudeRow(rowAt(pSrcDx, srcDxStep, y + 1), rowAt(pSrcDy, srcDyStep, y + 1), width, below);
    else
      std::fill(below, below + width + 2, 0);

    const Ipp16s* dxRow = rowAt(pSrcDx, srcDxStep, y);
    const Ipp16s* dyRow = rowAt(pSrcDy, srcDyStep, y);
    uint8_t* mapRow = work.map + mapStride * (static_cast<size_t>(y) + 1);
    mapRow[0] = kNone;
    mapRow[width + 1] = kNone;
    for (int x = 0; x < width; ++x) {
      const int64_t m = here[x + 1];
      uint8_t state = kNone;
      if (m > low) {
        const int64_t dx = dxRow[x];
        const int64_t dy = dyRow[x];
        const int64_t ax = dx < 0 ? -dx : dx;
        const int64_t ay = dy < 0 ? -dy : dy;
        int64_t before;
        int64_t after;
        if (ay * 32768 < kTan22 * ax) {
          before = here[x];
          after = here[x + 2];
        } else if (ay * 32768 > kTan67 * ax) {
          before = above[x + 1];
          after = below[x + 1];
        } else if ((dx < 0) == (dy < 0)) {
          before = above[x];  // gradient along (1, 1)
          after = below[x + 2];
        } else {
          before = above[x + 2];  // gradient along (1, -1)
          after = below[x];
        }
        if (m > before && m >= after) {
          state = m > high ? kEdge : kCandidate;
          if (state == kEdge)
            work.stack[top++] = static_cast<uint32_t>(mapStride * (static_cast<size_t>(y) + 1) +
                                                      static_cast<size_t>(x) + 1);
        }
      }
      mapRow[x + 1] = state;
    }
    std::swap(above, here);
    std::swap(here, below);
  }

  // Hysteresis, 8-connected: candidates touching an edge, directly or through other candidates,
  // become edges. Each pixel enters the stack at most once, as it turns into an edge.
  const ptrdiff_t s = static_cast<ptrdiff_t>(mapStride);
  const ptrdiff_t neighbours[8] = {-s - 1, -s, -s + 1, -1, 1, s - 1, s, s + 1};
  while (top > 0) {
    const ptrdiff_t p = work.stack[--top];
    for (ptrdiff_t d : neighbours) {
      uint8_t& cell = work.map[p + d];
      if (cell == kCandidate) {
        cell = kEdge;
        work.stack[top++] = static_cast<uint32_t>(p + d);
      }
    }
  }

  for (int y = 0; y < height; ++y) {
    const uint8_t* mapRow = work.map + mapStride * (static_cast<size_t>(y) + 1) + 1;
    Ipp8u* out = rowAt(pDstEdges, dstEdgeStep, y);
    for (int x = 0; x < width; ++x) out[x] = mapRow[x] == kEdge ? 255 : 0;
  }
  return ippStsNoErr;
}

}  // namespace Orvel
