// Exact Euclidean distance transform.
//
// Two separable passes on squared integer distances. Down the columns, g(x, y) is the distance
// to the nearest 0 in the same column: one sweep from the top and one from the bottom, each
// walking whole rows so that memory is read in order. Along a row, the squared distance at x is
// the lower envelope of the parabolas (x - i)^2 + g(i)^2 over the columns i, built in linear
// time after Felzenszwalb and Huttenlocher. Where two parabolas meet is a fraction; it is kept as
// numerator and denominator and compared by cross-multiplication, so the envelope is exact and
// the square root at the end is the only rounding.
//
// The top-down sweep parks its column distances in the destination rows; the bottom-up sweep
// then finishes each row, builds its envelope and overwrites the row with the distances. The
// finished row below bounds the distances of the next one, which lets most parabolas that can
// never be the lowest be set aside before the envelope is built. The work buffer holds a
// handful of rows, whatever the height.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "primitives/image_rows.h"
#include "primitives/primitives.h"

namespace Orvel {

namespace {

using primitives_detail::rowAt;
using primitives_detail::WorkLayout;

__extension__ typedef __int128 Int128;

struct RowWork {
  int32_t* column;    // column distances of the row being finished
  int32_t* below;     // per column, the distance to the nearest 0 at or below the row
  int32_t* site;      // columns of the parabolas on the envelope, left to right
  int64_t* apex;      // g^2 + site^2 of each envelope parabola
  int64_t* startNum;  // where each envelope parabola takes over, as startNum / startDen
  int64_t* startDen;
  int32_t* squared32;   // squared distances of the row, when they fit 32 bits
  int64_t* squared64;   // the same otherwise
  int32_t* candidate;   // columns whose parabolas may be the lowest somewhere in the row
  float* blockLargest;  // largest distance of each block of columns of the row below
  float* blockPrefix;   // running maxima of blockLargest, see windowLargest
  float* blockSuffix;
};

constexpr int kBlockWidth = 64;

RowWork layoutRowWork(uint8_t* base, int width, size_t* pBytes) {
  WorkLayout layout(base);
  const size_t n = static_cast<size_t>(width);
  RowWork w;
  w.column = layout.take<int32_t>(n);
  w.below = layout.take<int32_t>(n);
  w.site = layout.take<int32_t>(n);
  w.apex = layout.take<int64_t>(n);
  w.startNum = layout.take<int64_t>(n);
  w.startDen = layout.take<int64_t>(n);
  w.squared32 = layout.take<int32_t>(n);
  w.squared64 = layout.take<int64_t>(n);
  w.candidate = layout.take<int32_t>(n + 4);  // the packing writes up to 3 past the last
  w.blockLargest = layout.take<float>(n / kBlockWidth + 1);
  w.blockPrefix = layout.take<float>(n / kBlockWidth + 1);
  w.blockSuffix = layout.take<float>(n / kBlockWidth + 1);
  if (pBytes != nullptr) *pBytes = layout.bytesNeeded();
  return w;
}

float largestOf(const float* v, int n) {
  int i = 0;
  float m = 0.0f;
#if defined(__SSE2__)
  __m128 m4 = _mm_setzero_ps();
  for (; i + 4 <= n; i += 4) m4 = _mm_max_ps(m4, _mm_loadu_ps(v + i));
  alignas(16) float lanes[4];
  _mm_store_ps(lanes, m4);
  m = std::max(std::max(lanes[0], lanes[1]), std::max(lanes[2], lanes[3]));
#endif
  for (; i < n; ++i) m = std::max(m, v[i]);
  return m;
}

#if defined(__SSE2__)
// For each 4-bit mask, the lanes whose bits are set, packed to the front.
const __m128i kPackedLanes[16] = {
    _mm_setr_epi32(0, 0, 0, 0), _mm_setr_epi32(0, 0, 0, 0), _mm_setr_epi32(1, 0, 0, 0),
    _mm_setr_epi32(0, 1, 0, 0), _mm_setr_epi32(2, 0, 0, 0), _mm_setr_epi32(0, 2, 0, 0),
    _mm_setr_epi32(1, 2, 0, 0), _mm_setr_epi32(0, 1, 2, 0), _mm_setr_epi32(3, 0, 0, 0),
    _mm_setr_epi32(0, 3, 0, 0), _mm_setr_epi32(1, 3, 0, 0), _mm_setr_epi32(0, 1, 3, 0),
    _mm_setr_epi32(2, 3, 0, 0), _mm_setr_epi32(0, 2, 3, 0), _mm_setr_epi32(1, 2, 3, 0),
    _mm_setr_epi32(0, 1, 2, 3)};
constexpr int kLaneCount[16] = {0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4};
#endif

// Running maxima within chunks of 2 r + 1 values, from the front (prefix) and from the back
// (suffix): the largest value within r of i is then max(suffix[i - r], prefix[i + r]), both
// clamped to the array. Near the ends the answer may take in a few more values, which only
// loosens the bound.
void windowLargest(const float* v, int n, int r, float* prefix, float* suffix) {
  const int chunk = 2 * r + 1;
  for (int i = 0; i < n; ++i) prefix[i] = i % chunk == 0 ? v[i] : std::max(prefix[i - 1], v[i]);
  for (int i = n - 1; i >= 0; --i)
    suffix[i] = i == n - 1 || (i + 1) % chunk == 0 ? v[i] : std::max(suffix[i + 1], v[i]);
}

// Columns whose parabola can be the lowest somewhere in row y, judged from the finished row
// y + 1 below it. With D(x) the distance at (x, y + 1), no pixel of row y is farther than
// U(x) = D(x) + 1 from a 0. Where column q's parabola is the lowest at x, (x - q)^2 <= U(x)^2, so
// only x within M = max U of q count, and there U(x) <= min(U(q) + |x - q|, M_q) with M_q the
// largest U within M of q. So when g(q)^2 > U(q) (2 M_q - U(q)) the parabola stays above U^2
// everywhere and is left out. On images whose 0 pixels are scattered this drops about half of
// the parabolas. The bounds come from the float distances with a relative margin far above
// their rounding, so a parabola that matters is never dropped.
int selectParabolas(const int32_t* g, int width, int32_t noZero, const float* below, RowWork& w) {
  int32_t* candidates = w.candidate;
  int n = 0;
  if (below == nullptr) {
    for (int q = 0; q < width; ++q) {
      candidates[n] = q;
      n += g[q] != noZero;
    }
    return n;
  }

  // The float distances are within a few units of 1e-7 of the truth, relatively, and so are
  // the products below: a margin of 1e-5 on each side of the test covers them many times over.
  constexpr float kMargin = 1.0f + 1e-5f;
  const int blocks = (width + kBlockWidth - 1) / kBlockWidth;
  float largest = 0.0f;
  for (int b = 0; b < blocks; ++b) {
    const int end = std::min(width, (b + 1) * kBlockWidth);
    w.blockLargest[b] = largestOf(below + b * kBlockWidth, end - b * kBlockWidth);
    largest = std::max(largest, w.blockLargest[b]);
  }
  const float reach = std::min(largest * kMargin + 1.0f, static_cast<float>(width));
  const int reachBlocks = static_cast<int>(reach) / kBlockWidth + 1;
  windowLargest(w.blockLargest, blocks, reachBlocks, w.blockPrefix, w.blockSuffix);

  for (int b = 0; b < blocks; ++b) {
    const float near = std::max(w.blockSuffix[std::max(0, b - reachBlocks)],
                                w.blockPrefix[std::min(blocks - 1, b + reachBlocks)]);
    const float twiceNear = 2.0f * (near * kMargin + 1.0f);
    int q = b * kBlockWidth;
    const int end = std::min(width, q + kBlockWidth);
#if defined(__SSE2__)
    const __m128 margin = _mm_set1_ps(kMargin);
    const __m128 one = _mm_set1_ps(1.0f);
    const __m128 twice = _mm_set1_ps(twiceNear);
    const __m128i none = _mm_set1_epi32(noZero);
    for (; q + 4 <= end; q += 4) {
      const __m128i gi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(g + q));
      const __m128 gq = _mm_cvtepi32_ps(gi);
      const __m128 uq = _mm_add_ps(_mm_mul_ps(_mm_loadu_ps(below + q), margin), one);
      const __m128 limit = _mm_mul_ps(_mm_mul_ps(uq, _mm_sub_ps(twice, uq)), margin);
      const __m128 near4 = _mm_cmple_ps(_mm_mul_ps(gq, gq), limit);
      const __m128i keep = _mm_andnot_si128(_mm_cmpeq_epi32(gi, none), _mm_castps_si128(near4));
      const int mask = _mm_movemask_ps(_mm_castsi128_ps(keep));
      // Writes four positions and keeps as many as the mask has bits; the array has room.
      _mm_storeu_si128(reinterpret_cast<__m128i*>(candidates + n),
                       _mm_add_epi32(_mm_set1_epi32(q), kPackedLanes[mask]));
      n += kLaneCount[mask];
    }
#endif
    for (; q < end; ++q) {
      const float uq = below[q] * kMargin + 1.0f;
      const float gq = static_cast<float>(g[q]);
      const bool keep = (g[q] != noZero) & (gq * gq <= uq * (twiceNear - uq) * kMargin);
      candidates[n] = q;
      n += keep;
    }
  }
  return n;
}

// Squared distances along one row from the column distances g of the candidate columns, of
// which there is at least one. Wide holds the cross products of the intersection tests.
template <typename Wide, typename Squared>
void envelopeRow(const int32_t* g, int width, int candidates, RowWork& w, Squared* squared) {
  int k = -1;
  for (int c = 0; c < candidates; ++c) {
    const int32_t q = w.candidate[c];
    const int32_t gq = g[q];
    const int64_t apex = static_cast<int64_t>(gq) * gq + static_cast<int64_t>(q) * q;
    int64_t num = 0;
    int64_t den = 1;
    while (k >= 0) {
      // Parabolas p < q meet at (apex_q - apex_p) / (2 (q - p)); past it q is the lower.
      num = apex - w.apex[k];
      den = 2 * static_cast<int64_t>(q - w.site[k]);
      // The top parabola is hidden when q takes over no later than where the top began. The
      // first one began at minus infinity and stays.
      if (k > 0 &&
          static_cast<Wide>(num) * w.startDen[k] <= static_cast<Wide>(w.startNum[k]) * den) {
        --k;
        continue;
      }
      break;
    }
    ++k;
    w.site[k] = q;
    w.apex[k] = apex;
    w.startNum[k] = num;
    w.startDen[k] = den;
  }

  // Parabola j is the lowest from the first whole x with x den_j >= num_j until the next one
  // takes over. The truncated quotient in doubles is a guess, made exact by the corrections.
  int from = 0;
  for (int j = 0; j <= k; ++j) {
    int64_t to = width;
    if (j < k) {
      const int64_t num = w.startNum[j + 1];
      const int64_t den = w.startDen[j + 1];
      to = static_cast<int64_t>(static_cast<double>(num) / static_cast<double>(den));
      while (static_cast<Wide>(to) * den < num) ++to;
      while (static_cast<Wide>(to - 1) * den >= num) --to;
      to = std::clamp<int64_t>(to, from, width);
    }
    const int64_t site = w.site[j];
    const int64_t apex = w.apex[j];
    // (x - site)^2 + g(site)^2, written around the apex that is already at hand.
    for (int64_t x = from; x < to; ++x)
      squared[x] = static_cast<Squared>(x * (x - 2 * site) + apex);
    from = static_cast<int>(to);
  }
}

// Square roots of exact integers. Below 2^24 the integer is exact as a float and the float root
// is correctly rounded; above it the double root (correctly rounded in 53 bits) narrows to the
// same correctly rounded float.
template <typename Squared>
void rootsOfRow(const Squared* squared, int width, float* out) {
  Squared largest = 0;
  for (int x = 0; x < width; ++x) largest = std::max(largest, squared[x]);
  int x = 0;
  if (largest < (Squared{1} << 24)) {
#if defined(__SSE2__)
    if constexpr (sizeof(Squared) == 4) {
      for (; x + 4 <= width; x += 4) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(squared + x));
        _mm_storeu_ps(out + x, _mm_sqrt_ps(_mm_cvtepi32_ps(v)));
      }
    }
#endif
    for (; x < width; ++x) out[x] = std::sqrt(static_cast<float>(squared[x]));
  } else {
#if defined(__SSE2__)
    if constexpr (sizeof(Squared) == 4) {
      for (; x + 2 <= width; x += 2) {
        const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(squared + x));
        const __m128 f = _mm_cvtpd_ps(_mm_sqrt_pd(_mm_cvtepi32_pd(v)));
        _mm_storel_pi(reinterpret_cast<__m64*>(out + x), f);
      }
    }
#endif
    for (; x < width; ++x) out[x] = static_cast<float>(std::sqrt(static_cast<double>(squared[x])));
  }
}

template <typename Wide, typename Squared>
void finishRows(Ipp32f* pDst, int dstStep, int width, int height, RowWork& w, Squared* squared) {
  const int32_t noZero = height;  // no column distance can reach the height
  const size_t rowBytes = static_cast<size_t>(width) * sizeof(int32_t);
  std::fill(w.below, w.below + width, noZero);
  for (int y = height - 1; y >= 0; --y) {
    Ipp32f* dstRow = rowAt(pDst, dstStep, y);
    std::memcpy(w.column, dstRow, rowBytes);
    for (int x = 0; x < width; ++x) {
      const int32_t down = w.column[x];
      const int32_t below = down == 0 ? 0 : std::min(w.below[x] + 1, noZero);
      w.below[x] = below;
      w.column[x] = std::min(down, below);
    }
    const float* finishedBelow = y + 1 < height ? rowAt(pDst, dstStep, y + 1) : nullptr;
    const int candidates = selectParabolas(w.column, width, noZero, finishedBelow, w);
    envelopeRow<Wide>(w.column, width, candidates, w, squared);
    // The row's parked column distances were copied out above, so the row now takes floats.
    rootsOfRow(squared, width, dstRow);
  }
}

}  // namespace

IppStatus ippiTrueDistanceTransformGetBufferSize_8u32f_C1R(IppiSize roiSize, int* pBufferSize) {
  if (pBufferSize == nullptr) return ippStsNullPtrErr;
  if (!primitives_detail::sizeIsValid(roiSize)) return ippStsSizeErr;
  size_t bytes = 0;
  layoutRowWork(nullptr, roiSize.width, &bytes);
  return primitives_detail::reportSize(bytes, pBufferSize);
}

IppStatus ippiTrueDistanceTransform_8u32f_C1R(const Ipp8u* pSrc, int srcStep, Ipp32f* pDst,
                                              int dstStep, IppiSize roiSize, Ipp8u* pBuffer) {
  if (pSrc == nullptr || pDst == nullptr || pBuffer == nullptr) return ippStsNullPtrErr;
  if (!primitives_detail::sizeIsValid(roiSize)) return ippStsSizeErr;
  const int width = roiSize.width;
  const int height = roiSize.height;
  if (!primitives_detail::stepIsValid(srcStep, width, sizeof(Ipp8u)) ||
      !primitives_detail::stepIsValid(dstStep, width, sizeof(Ipp32f)))
    return ippStsStepErr;

  RowWork w = layoutRowWork(pBuffer, width, nullptr);
  const size_t rowBytes = static_cast<size_t>(width) * sizeof(int32_t);

  // Top-down sweep: distance to the nearest 0 at or above, capped at the height, which no real
  // column distance reaches.
  const int32_t noZero = height;
  std::fill(w.column, w.column + width, noZero);
  uint8_t smallest = 255;
  for (int y = 0; y < height; ++y) {
    const Ipp8u* src = rowAt(pSrc, srcStep, y);
    for (int x = 0; x < width; ++x) {
      w.column[x] = src[x] == 0 ? 0 : std::min(w.column[x] + 1, noZero);
      smallest = std::min(smallest, src[x]);
    }
    std::memcpy(rowAt(pDst, dstStep, y), w.column, rowBytes);
  }

  if (smallest != 0) {
    // No 0 anywhere: every pixel is infinitely far, told by the largest float.
    for (int y = 0; y < height; ++y) {
      Ipp32f* dstRow = rowAt(pDst, dstStep, y);
      std::fill(dstRow, dstRow + width, FLT_MAX);
    }
    return ippStsNoErr;
  }

  // A row holds at least one real parabola now. The cross products of the intersection tests are
  // bounded by (width^2 + height^2) x 2 width, and the squared distances by width^2 + height^2.
  const int64_t w64 = width;
  const int64_t h64 = height;
  const bool narrowProducts = std::max(w64, h64) <= (int64_t{1} << 20);
  const bool narrowSquares = w64 * w64 + h64 * h64 < (int64_t{1} << 31);
  if (narrowProducts && narrowSquares)
    finishRows<int64_t>(pDst, dstStep, width, height, w, w.squared32);
  else if (narrowProducts)
    finishRows<int64_t>(pDst, dstStep, width, height, w, w.squared64);
  else
    finishRows<Int128>(pDst, dstStep, width, height, w, w.squared64);
  return ippStsNoErr;
}

}  // namespace Orvel
