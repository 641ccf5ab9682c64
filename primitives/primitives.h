// Image primitives used by the layer styles, the bevel and the fill tool.
//
// Images are passed as a pointer to the first pixel, a row step in bytes and a size. Every entry
// point checks its arguments before it touches any output, so a failure leaves the output as it
// was. All of them are reentrant and run on the caller's thread; work memory comes from the
// caller, sized by the matching query, and nothing is kept in it from one call to the next.
#pragma once

#include "primitives/ipp_types.h"

namespace Orvel {

// ---- Memory -------------------------------------------------------------------------------

// len bytes aligned to 32, or null when len is 0 or less or the memory is not available.
Ipp8u* ippsMalloc_8u(int len);
void ippsFree(void* ptr);

// An image of widthPixels x heightPixels elements whose rows start on 32-byte boundaries. The row
// step in bytes goes to *pStepBytes; it is a multiple of 32, so step / element size x height
// elements cover the whole block, padding included. Null on bad sizes or no memory, with
// *pStepBytes untouched.
Ipp32f* ippiMalloc_32f_C1(int widthPixels, int heightPixels, int* pStepBytes);
Ipp16s* ippiMalloc_16s_C1(int widthPixels, int heightPixels, int* pStepBytes);
void ippiFree(void* ptr);

// ---- Vectors ------------------------------------------------------------------------------

// The largest of len elements. NaN elements are passed over; with nothing else the answer is
// minus infinity.
IppStatus ippsMax_32f(const Ipp32f* pSrc, int len, Ipp32f* pMax);

// pDst[i] = (pSrc[i] - vSub) / vDiv, a true division for each element. pSrc may equal pDst.
// A vDiv of 0 fails with ippStsDivByZeroErr.
IppStatus ippsNormalize_32f(const Ipp32f* pSrc, Ipp32f* pDst, int len, Ipp32f vSub, Ipp32f vDiv);

// ---- Distance -----------------------------------------------------------------------------

IppStatus ippiTrueDistanceTransformGetBufferSize_8u32f_C1R(IppiSize roiSize, int* pBufferSize);

// Exact Euclidean distance, in pixels, from each pixel to the nearest source pixel of value 0,
// rounded once to float. With no 0 in the source every output is FLT_MAX.
IppStatus ippiTrueDistanceTransform_8u32f_C1R(const Ipp8u* pSrc, int srcStep, Ipp32f* pDst,
                                              int dstStep, IppiSize roiSize, Ipp8u* pBuffer);

// ---- Sobel filters ------------------------------------------------------------------------
//
// 3 x 3 masks (ippMskSize3x3) on a replicated border (ippBorderRepl); the border value is not
// used. With h the source and weights w = (1, 2, 1) for offsets -1, 0, 1:
//   NegVert: out(x, y) = sum over j of w(j) (h(x + 1, y + j) - h(x - 1, y + j))
//   Horiz:   out(x, y) = sum over i of w(i) (h(x + i, y + 1) - h(x + i, y - 1))
// that is the gradient on a y-down grid. Float sums are taken in the order j (or i) = -1, 0, 1.
// The filters need no work memory: their buffer size is 0 and pBuffer may be null. Source and
// destination must not overlap.

IppStatus ippiFilterSobelNegVertGetBufferSize_8u16s_C1R(IppiSize roiSize, IppiMaskSize mask,
                                                        int* pBufferSize);
IppStatus ippiFilterSobelHorizGetBufferSize_8u16s_C1R(IppiSize roiSize, IppiMaskSize mask,
                                                      int* pBufferSize);
IppStatus ippiFilterSobelNegVertGetBufferSize_32f_C1R(IppiSize roiSize, IppiMaskSize mask,
                                                      int* pBufferSize);
IppStatus ippiFilterSobelHorizGetBufferSize_32f_C1R(IppiSize roiSize, IppiMaskSize mask,
                                                    int* pBufferSize);

// 8-bit in, 16-bit out, saturating.
IppStatus ippiFilterSobelNegVertBorder_8u16s_C1R(const Ipp8u* pSrc, int srcStep, Ipp16s* pDst,
                                                 int dstStep, IppiSize roiSize, IppiMaskSize mask,
                                                 IppiBorderType borderType, Ipp8u borderValue,
                                                 Ipp8u* pBuffer);
IppStatus ippiFilterSobelHorizBorder_8u16s_C1R(const Ipp8u* pSrc, int srcStep, Ipp16s* pDst,
                                               int dstStep, IppiSize roiSize, IppiMaskSize mask,
                                               IppiBorderType borderType, Ipp8u borderValue,
                                               Ipp8u* pBuffer);
IppStatus ippiFilterSobelNegVertBorder_32f_C1R(const Ipp32f* pSrc, int srcStep, Ipp32f* pDst,
                                               int dstStep, IppiSize roiSize, IppiMaskSize mask,
                                               IppiBorderType borderType, Ipp32f borderValue,
                                               Ipp8u* pBuffer);
IppStatus ippiFilterSobelHorizBorder_32f_C1R(const Ipp32f* pSrc, int srcStep, Ipp32f* pDst,
                                             int dstStep, IppiSize roiSize, IppiMaskSize mask,
                                             IppiBorderType borderType, Ipp32f borderValue,
                                             Ipp8u* pBuffer);

// ---- Edges --------------------------------------------------------------------------------

IppStatus ippiCannyGetSize(IppiSize roiSize, int* pBufferSize);

// The edge stage of Canny's detector on given x and y derivatives. Magnitude is the Euclidean
// norm sqrt(dx^2 + dy^2). A pixel survives when its magnitude is above lowThresh and is a
// maximum along the gradient direction (quantised to 0, 45, 90 or 135 degrees): strictly above
// the neighbour on the side of smaller index and at least the neighbour on the other side, so
// that of a two-pixel ridge of equal values exactly one pixel remains: across a hard step, the
// one on the left (or upper) side. A survivor is an edge if its magnitude is above highThresh,
// or if it is 8-connected through survivors to such a pixel. Edges are 255, everything else 0.
// lowThresh above highThresh is refused.
IppStatus ippiCanny_16s8u_C1R(const Ipp16s* pSrcDx, int srcDxStep, const Ipp16s* pSrcDy,
                              int srcDyStep, Ipp8u* pDstEdges, int dstEdgeStep, IppiSize roiSize,
                              Ipp32f lowThresh, Ipp32f highThresh, Ipp8u* pBuffer);

// ---- Flood fill ---------------------------------------------------------------------------

IppStatus ippiFloodFillGetSize(IppiSize roiSize, int* pBufferSize);

// Sets every pixel of the 4-connected region of pixels equal to the seed's value to newValue
// and describes the region in *pRegion (required, like the work buffer). When newValue already
// is the seed's value nothing changes and the region is reported empty.
IppStatus ippiFloodFill_4Con_8u_C1IR(Ipp8u* pImage, int imageStep, IppiSize roiSize, IppiPoint seed,
                                     Ipp8u newValue, IppiConnectedComp* pRegion, Ipp8u* pBuffer);

}  // namespace Orvel
