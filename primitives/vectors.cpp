// Float vector operations: maximum and normalisation.
#include <cstddef>
#include <limits>

#include "primitives/primitives.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Orvel {

IppStatus ippsMax_32f(const Ipp32f* pSrc, int len, Ipp32f* pMax) {
  if (pSrc == nullptr || pMax == nullptr) return ippStsNullPtrErr;
  if (len <= 0) return ippStsSizeErr;

  // The running maximum only moves on "x > m", so a NaN never enters it.
  size_t i = 0;
  float m = -std::numeric_limits<float>::infinity();
#if defined(__SSE2__)
  // maxps answers its second operand when either is NaN: keeping the accumulator second makes
  // the vector lanes pass over NaN exactly as the scalar tail does.
  if (len >= 16) {
    __m128 a0 = _mm_set1_ps(m), a1 = a0, a2 = a0, a3 = a0;
    for (; i + 16 <= static_cast<size_t>(len); i += 16) {
      a0 = _mm_max_ps(_mm_loadu_ps(pSrc + i), a0);
      a1 = _mm_max_ps(_mm_loadu_ps(pSrc + i + 4), a1);
      a2 = _mm_max_ps(_mm_loadu_ps(pSrc + i + 8), a2);
      a3 = _mm_max_ps(_mm_loadu_ps(pSrc + i + 12), a3);
    }
    alignas(16) float lanes[16];
    _mm_store_ps(lanes, a0);
    _mm_store_ps(lanes + 4, a1);
    _mm_store_ps(lanes + 8, a2);
    _mm_store_ps(lanes + 12, a3);
    for (float v : lanes) m = v > m ? v : m;
  }
#endif
  for (; i < static_cast<size_t>(len); ++i) m = pSrc[i] > m ? pSrc[i] : m;
  *pMax = m;
  return ippStsNoErr;
}

IppStatus ippsNormalize_32f(const Ipp32f* pSrc, Ipp32f* pDst, int len, Ipp32f vSub, Ipp32f vDiv) {
  if (pSrc == nullptr || pDst == nullptr) return ippStsNullPtrErr;
  if (len <= 0) return ippStsSizeErr;
  if (vDiv == 0.0f) return ippStsDivByZeroErr;
  // A real division per element: a multiplication by the reciprocal would round differently,
  // and callers truncate these values.
  for (size_t i = 0; i < static_cast<size_t>(len); ++i) pDst[i] = (pSrc[i] - vSub) / vDiv;
  return ippStsNoErr;
}

}  // namespace Orvel
