// 3 x 3 Sobel derivatives on a replicated border.
//
// Each output row reads the rows above, at and below it, clamped to the image. The interior
// columns run without index clamping so that the compiler can vectorise them; the first and
// last column go through the clamped form.
#include <algorithm>

#include "primitives/image_rows.h"
#include "primitives/primitives.h"

namespace Orvel {

namespace {

using primitives_detail::rowAt;

// Integer kernels: every sum is exact, so any grouping gives the same value.
struct NegVert8u {
  static int at(const Ipp8u* a, const Ipp8u* b, const Ipp8u* c, int l, int x, int r) {
    (void)x;
    return (a[r] - a[l]) + 2 * (b[r] - b[l]) + (c[r] - c[l]);
  }
};

struct Horiz8u {
  static int at(const Ipp8u* a, const Ipp8u* b, const Ipp8u* c, int l, int x, int r) {
    (void)b;
    return (c[l] + 2 * c[x] + c[r]) - (a[l] + 2 * a[x] + a[r]);
  }
};

// Float kernels keep the order of the weighted sum, offset -1 first, so that results do not
// depend on how the compiler would regroup it.
struct NegVert32f {
  static float at(const float* a, const float* b, const float* c, int l, int x, int r) {
    (void)x;
    const float dm = a[r] - a[l];
    const float d0 = b[r] - b[l];
    const float dp = c[r] - c[l];
    return (dm + 2.0f * d0) + dp;
  }
};

struct Horiz32f {
  static float at(const float* a, const float* b, const float* c, int l, int x, int r) {
    (void)b;
    const float em = c[l] - a[l];
    const float e0 = c[x] - a[x];
    const float ep = c[r] - a[r];
    return (em + 2.0f * e0) + ep;
  }
};

// 16-bit results saturate; with 8-bit input they stay within +-1020 and never need to.
inline void store(Ipp16s& out, int v) { out = static_cast<Ipp16s>(std::clamp(v, -32768, 32767)); }
inline void store(Ipp32f& out, float v) { out = v; }

template <typename Kernel, typename In, typename Out>
void sobelRows(const In* pSrc, int srcStep, Out* pDst, int dstStep, int width, int height) {
  const int last = width - 1;
  for (int y = 0; y < height; ++y) {
    const In* a = rowAt(pSrc, srcStep, std::max(y - 1, 0));
    const In* b = rowAt(pSrc, srcStep, y);
    const In* c = rowAt(pSrc, srcStep, std::min(y + 1, height - 1));
    Out* out = rowAt(pDst, dstStep, y);
    store(out[0], Kernel::at(a, b, c, 0, 0, std::min(1, last)));
    for (int x = 1; x < last; ++x) store(out[x], Kernel::at(a, b, c, x - 1, x, x + 1));
    if (last > 0) store(out[last], Kernel::at(a, b, c, last - 1, last, last));
  }
}

IppStatus checkFilter(const void* pSrc, int srcStep, size_t srcElement, const void* pDst,
                      int dstStep, size_t dstElement, IppiSize roiSize, IppiMaskSize mask,
                      IppiBorderType borderType) {
  if (pSrc == nullptr || pDst == nullptr) return ippStsNullPtrErr;
  if (!primitives_detail::sizeIsValid(roiSize)) return ippStsSizeErr;
  if (!primitives_detail::stepIsValid(srcStep, roiSize.width, srcElement) ||
      !primitives_detail::stepIsValid(dstStep, roiSize.width, dstElement))
    return ippStsStepErr;
  if (mask != ippMskSize3x3) return ippStsMaskSizeErr;
  if (borderType != ippBorderRepl) return ippStsBorderErr;
  return ippStsNoErr;
}

IppStatus filterBufferSize(IppiSize roiSize, IppiMaskSize mask, int* pBufferSize) {
  if (pBufferSize == nullptr) return ippStsNullPtrErr;
  if (!primitives_detail::sizeIsValid(roiSize)) return ippStsSizeErr;
  if (mask != ippMskSize3x3) return ippStsMaskSizeErr;
  *pBufferSize = 0;
  return ippStsNoErr;
}

template <typename Kernel, typename In, typename Out>
IppStatus sobel(const In* pSrc, int srcStep, Out* pDst, int dstStep, IppiSize roiSize,
                IppiMaskSize mask, IppiBorderType borderType) {
  const IppStatus status =
      checkFilter(pSrc, srcStep, sizeof(In), pDst, dstStep, sizeof(Out), roiSize, mask, borderType);
  if (status != ippStsNoErr) return status;
  sobelRows<Kernel>(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height);
  return ippStsNoErr;
}

}  // namespace

IppStatus ippiFilterSobelNegVertGetBufferSize_8u16s_C1R(IppiSize roiSize, IppiMaskSize mask,
                                                        int* pBufferSize) {
  return filterBufferSize(roiSize, mask, pBufferSize);
}

IppStatus ippiFilterSobelHorizGetBufferSize_8u16s_C1R(IppiSize roiSize, IppiMaskSize mask,
                                                      int* pBufferSize) {
  return filterBufferSize(roiSize, mask, pBufferSize);
}

IppStatus ippiFilterSobelNegVertGetBufferSize_32f_C1R(IppiSize roiSize, IppiMaskSize mask,
                                                      int* pBufferSize) {
  return filterBufferSize(roiSize, mask, pBufferSize);
}

IppStatus ippiFilterSobelHorizGetBufferSize_32f_C1R(IppiSize roiSize, IppiMaskSize mask,
                                                    int* pBufferSize) {
  return filterBufferSize(roiSize, mask, pBufferSize);
}

IppStatus ippiFilterSobelNegVertBorder_8u16s_C1R(const Ipp8u* pSrc, int srcStep, Ipp16s* pDst,
                                                 int dstStep, IppiSize roiSize, IppiMaskSize mask,
                                                 IppiBorderType borderType, Ipp8u borderValue,
                                                 Ipp8u* pBuffer) {
  (void)borderValue;
  (void)pBuffer;
  return sobel<NegVert8u>(pSrc, srcStep, pDst, dstStep, roiSize, mask, borderType);
}

IppStatus ippiFilterSobelHorizBorder_8u16s_C1R(const Ipp8u* pSrc, int srcStep, Ipp16s* pDst,
                                               int dstStep, IppiSize roiSize, IppiMaskSize mask,
                                               IppiBorderType borderType, Ipp8u borderValue,
                                               Ipp8u* pBuffer) {
  (void)borderValue;
  (void)pBuffer;
  return sobel<Horiz8u>(pSrc, srcStep, pDst, dstStep, roiSize, mask, borderType);
}

IppStatus ippiFilterSobelNegVertBorder_32f_C1R(const Ipp32f* pSrc, int srcStep, Ipp32f* pDst,
                                               int dstStep, IppiSize roiSize, IppiMaskSize mask,
                                               IppiBorderType borderType, Ipp32f borderValue,
                                               Ipp8u* pBuffer) {
  (void)borderValue;
  (void)pBuffer;
  return sobel<NegVert32f>(pSrc, srcStep, pDst, dstStep, roiSize, mask, borderType);
}

IppStatus ippiFilterSobelHorizBorder_32f_C1R(const Ipp32f* pSrc, int srcStep, Ipp32f* pDst,
                                             int dstStep, IppiSize roiSize, IppiMaskSize mask,
                                             IppiBorderType borderType, Ipp32f borderValue,
                                             Ipp8u* pBuffer) {
  (void)borderValue;
  (void)pBuffer;
  return sobel<Horiz32f>(pSrc, srcStep, pDst, dstStep, roiSize, mask, borderType);
}

}  // namespace Orvel
