// The engine's interfaces, IOrvel to IOrvel4.
//
// The four form one single-inheritance chain over one table of 82 entries, so all four names
// that QueryInterface accepts give the same pointer and every operation is reachable through
// IOrvel4. A host binds to the order of the table, which never changes:
//   IOrvel   0..27   masks, merges, shapes, fill, blend, gradients, brush, matrices
//   IOrvel2 28..49   direct text, colour match, statistics, scratch memory
//   IOrvel3 50..66   layer styles: shadow, border, bevel, glows, gradient overlay
//   IOrvel4 67..80   alpha adjustments of styled layers, second colour blend, noise patterns;
//                    then the destructor, the last entry.
// Only IOrvel4 has a public, virtual destructor; the others protect theirs, so that an engine
// is only ever destroyed whole (DeleteInstance does that).
//
// Every operation returns a status code: S_OK, or S_FALSE where nothing changed, or an E_* code.
// Buffers and records stay the host's; an operation reads and writes them only during the call.
#pragma once

#include <cstdint>

#include "orvel/compositing_params.h"
#include "orvel/gradient_params.h"
#include "orvel/paint_params.h"
#include "orvel/shape_params.h"
#include "orvel/styles_params.h"
#include "orvel/text_engine_params.h"
#include "orvel/types.h"

namespace Orvel {

class IOrvel {
 public:
  // 0: rasterises a rectangle or ellipse into the single-channel mask pBufInOut.
  virtual HRESULT Selection(BufferData* pBufInOut, SelectionParam* pParam) = 0;
  // 1: softens a mask in place with two box passes, the second 3/2 as wide as *pRadius.
  virtual HRESULT BlurMask(BufferData* pBuf, const int32_t* pRadius) = 0;
  // 2: combines the single-channel mask pSrc into pDst (add, subtract, intersect).
  virtual HRESULT MergeMask(BufferData* pDst, BufferData* pSrc, MaskMergeParam* pParam) = 0;
  // 3: replaces the first channel of each pixel in the ROI by its bitwise complement.
  virtual HRESULT InvertMask(BufferData* pBuf) = 0;
  // 4: combines the selection held in pSrc's alpha into pDst's (mind the order: source first).
  virtual HRESULT Merge(BufferData* pSrc, BufferData* pDst, MergeParam* pParam) = 0;
  // 5: draws a shape and merges it onto pBufOut; writes the shape's fit rectangle back.
  virtual HRESULT Shape(BufferData* pBufOut, ShapeParam* pShapeParam) = 0;
  // 6: tells whether ptTarget lies in the shape, into *pbRtn.
  virtual HRESULT HitTest(ShapeParam* pShapeParam, Point ptTarget, bool* pbRtn) = 0;
  // 7: the shape's outline: its point count into *pnCount, and the points when pPoints is given.
  virtual HRESULT GetContour(ShapeParam* pShapeParam, Point* pPoints, int32_t* pnCount) = 0;
  // 8: paints the pixels that match the clicked one and composites them onto pBufOut.
  virtual HRESULT Fill(BufferData* pBufOut, FillToolParam* pFillToolParam) = 0;
  // 9: blends pBufIn onto pBufOut.
  virtual HRESULT Blend(BufferData* pBufIn, BufferData* pBufOut, BlendParam* pBlendParam) = 0;
  // 10: blends pBufIn over one colour into the three-channel pBufOut.
  virtual HRESULT BlendWithSingleColor(BufferData* pBufIn, BufferData* pBufOut, Color crColor) = 0;
  // 11: multiplies the object's alpha by the mask; pOrigin places the object on the mask.
  virtual HRESULT ApplyMask(BufferData* pObject, BufferData* pMask, Point* pOrigin) = 0;
  // 12: builds the gradient colour table from separate channel arrays (blue last).
  virtual HRESULT GradientReference(int32_t nColors, const float* pColorPos, const int32_t* pRed,
                                    const int32_t* pGreen, const int32_t* pBlue, int32_t nOpacities,
                                    const float* pOpacityPos, const int32_t* pOpacities,
                                    bool bReverse) = 0;
  // 13: draws a gradient object with the last colour table and composites it onto pBufOut.
  virtual HRESULT GenerateGradient(BufferData* pBufOut, GradientParam* pParam) = 0;
  // 14: sets the brush's dab, colour, opacity and mode.
  virtual HRESULT SetBrushParam(BrushParam* pBrushParam) = 0;
  // 15: the dab size that a diameter and hardness give, into *pOut; nothing is stored.
  virtual HRESULT GetBrushDiameter(int32_t* pOut, int32_t nDiameter, int32_t nHardness) = 0;
  // 16: starts a live stroke on pBufTarget, with an optional mask placed at ptOrigin.
  virtual HRESULT SetBrushTarget(BufferData* pBufTarget, BufferData* pBufMask, Point ptOrigin) = 0;
  // 17: adds a point to the live stroke and re-blends what it touched; S_FALSE if too close.
  virtual HRESULT AddStrokePoint(Point pt, bool bForce) = 0;
  // 18: the stamp positions of the live stroke, in an array the engine keeps until the next call.
  virtual HRESULT GetStrokePoints(Point** ppOut, int32_t* pnCount) = 0;
  // 19: stamps a whole stroke into an object and composites it onto pBufOut.
  virtual HRESULT DrawStroke(BufferData* pBufOut, StrokeParam* pStrokeParam) = 0;
  // 20: does nothing.
  virtual HRESULT Reserved20() = 0;
  // 21: places pTransformParam->pBufIn on pBufOut through the matrix, Normal at full opacity.
  virtual HRESULT Transform(BufferData* pBufOut, TransformParam* pTransformParam) = 0;
  // 22: appends a translation to the matrix.
  virtual HRESULT MatrixTranslate(TransformMatrix* pMatrix, float dx, float dy) = 0;
  // 23: appends a rotation by angle (radians) about (cx, cy).
  virtual HRESULT MatrixRotate(TransformMatrix* pMatrix, float angle, float cx, float cy) = 0;
  // 24: appends a scaling about (cx, cy).
  virtual HRESULT MatrixScale(TransformMatrix* pMatrix, float sx, float sy, float cx, float cy) = 0;
  // 25: appends the projective map of four source points (x, y pairs) onto four target points.
  virtual HRESULT MatrixPerspective(TransformMatrix* pMatrix, const float* pSource,
                                    const float* pTarget, int32_t count) = 0;
  // 26: replaces the rectangle by the bounds of its mapped image; S_FALSE when it is empty.
  virtual HRESULT TransformRect(IntRect* pRect, const TransformMatrix* pMatrix) = 0;
  // 27: maps the point through the matrix in place.
  virtual HRESULT TransformPoint(Point* pPoint, const TransformMatrix* pMatrix) = 0;

 protected:
  ~IOrvel() = default;
};

class IOrvel2 : public IOrvel {
 public:
  // 28: replaces the direct text; each line becomes a paragraph.
  virtual HRESULT SetTextString(const char16_t* pszText) = 0;
  // 29: the width and height that every paragraph is laid out in.
  virtual HRESULT SetTextLayoutSize(float w, float h) = 0;
  // 30: font family, size (pixels), italic and bold over a range.
  virtual HRESULT SetTextFont(uint32_t nStart, uint32_t nLength, const char16_t* pszFontName,
                              float fSize, uint32_t bItalic, uint32_t bBold) = 0;
  // 31: alignment (TEXT_ALIGNMENT_*) of the paragraphs that a range touches.
  virtual HRESULT SetTextAlignmentRange(uint32_t nStart, uint32_t nLength, uint32_t nAlignment) = 0;
  // 32: word wrapping (WORD_WRAPPING_*) of the paragraphs that a range touches.
  virtual HRESULT SetTextWrappingRange(uint32_t nStart, uint32_t nLength, uint32_t nWrapping) = 0;
  // 33: reading direction (READING_DIRECTION_*) of the paragraphs that a range touches.
  virtual HRESULT SetTextDirectionRange(uint32_t nStart, uint32_t nLength, uint32_t nDirection) = 0;
  // 34: uniform line spacing in pixels over a range; 0 or less restores the font's own.
  virtual HRESULT SetTextLineSpacingRange(uint32_t nStart, uint32_t nLength, float fSpacing) = 0;
  // 35: text colour over a range.
  virtual HRESULT SetTextColorRange(uint32_t nStart, uint32_t nLength, const Color* pColor) = 0;
  // 36: the selection highlight, its range and colour.
  virtual HRESULT SetTextSelectionHighlight(uint32_t nStart, uint32_t nLength,
                                            const Color* pColor) = 0;
  // 37: underline on or off over a range.
  virtual HRESULT SetTextUnderlineRange(uint32_t nStart, uint32_t nLength, int32_t bUnderline) = 0;
  // 38: strikethrough on or off over a range.
  virtual HRESULT SetTextStrikethroughRange(uint32_t nStart, uint32_t nLength,
                                            int32_t bStrikethrough) = 0;
  // 39: an outline of fWidth pixels in the given colour.
  virtual HRESULT SetTextStroke(float fWidth, const Color* pColor) = 0;
  // 40: a soft shadow: opacity 0..1, distance -20..20 pixels on both axes.
  virtual HRESULT SetTextShadow(float fOpacity, float fDistance, const Color* pColor) = 0;
  // 41: the matrix from text space to the canvas: 16 floats, row after row.
  virtual HRESULT SetTextTransform(const float* pMatrix) = 0;
  // 42: the matrix from text space to the canvas, into 16 floats.
  virtual HRESULT GetTextTransform(float* pMatrix) = 0;
  // 43: the box of the character at canvas point (x, y), or of the one nearest to it.
  virtual HRESULT HitTestText(float x, float y, float* pLeft, float* pTop, float* pRight,
                              float* pBottom) = 0;
  // 44: the canvas bounds of a range, as left, top, right, bottom into pBox[0..3].
  virtual HRESULT GetTextRangeBox(uint32_t nStart, uint32_t nLength, float* pBox) = 0;
  // 45: draws the direct text into the canvas.
  virtual HRESULT RenderText(TextCanvas* pCanvas) = 0;
  // 46: gives pBufOut the colour statistics of pBufIn; pColorMatchParam is not read.
  virtual HRESULT ColorMatch(BufferData* pBufIn, BufferData* pBufOut, void* pColorMatchParam) = 0;
  // 47: the timing records of a category: their count when pRecords is null, else the records.
  virtual HRESULT FillPerformanceData(uint32_t nCategory, int32_t* pCount,
                                      PerformanceRecord* pRecords) = 0;
  // 48: switches the timing of operations on or off.
  virtual HRESULT SetPerformanceMode(bool bPerformance) = 0;
  // 49: frees the engine's reusable temporary memory.
  virtual HRESULT ReleaseScratch() = 0;

 protected:
  ~IOrvel2() = default;
};

class IOrvel3 : public IOrvel2 {
 public:
  // 50: paints a drop shadow and an outside border under the layer, in its own buffer.
  virtual HRESULT ApplyLayerStyles(BufferData* pBufInOut, StylesParam* pStylesParam) = 0;
  // 51: the margin a drop shadow needs and the translation that places it.
  virtual HRESULT QueryShadowInfo(ShadowInfo& shadowInfo, ShadowParam* pShadowParam) = 0;
  // 52: the margin a border needs, into nMargin.
  virtual HRESULT QueryBorderInfo(int32_t& nMargin, BorderParam* pBorderParam) = 0;
  // 53: always fails, whatever it is given.
  virtual HRESULT Reserved53(...) = 0;
  // 54: the border of pBufIn's silhouette, into pBufOut.
  virtual HRESULT Border(BufferData* pBufIn, BufferData* pBufOut, BorderParam* pBorderParam) = 0;
  // 55: blends a layer and the styles drawn over it onto pBufOut.
  virtual HRESULT BlendWithStyle(BufferData* pBufIn, BufferData* pBufStyle, BufferData* pBufOut,
                                 BlendParam* pBlendParam) = 0;
  // 56: Blend with the opacity scaled by a fill opacity in percent.
  virtual HRESULT BlendWithFillOpacity(BufferData* pBufIn, BufferData* pBufOut,
                                       BlendParam* pBlendParam, int32_t nFillOpacity) = 0;
  // 57: the highlight and shadow light maps of a bevel or emboss.
  virtual HRESULT Bevel(BufferData* pBufIn, BufferData* pBufHighlight, BufferData* pBufShadow,
                        BevelParam* pBevelParam) = 0;
  // 58: a shadow from a silhouette that the host has already moved.
  virtual HRESULT Shadow(BufferData* pBuf_Transform, BufferData* pBufOut, BufferData* pBuf_Src,
                         ShadowParam* pShadowParam) = 0;
  // 59: blends pBufOut over the backdrop pBufRef, clipped by pBufRef's alpha, in place.
  virtual HRESULT BlendColor(BufferData* pBufRef, BufferData* pBufOut, BlendParam* pBlendParam) = 0;
  // 60: an outer or inner shadow of pBufSrc into pBufOut.
  virtual HRESULT Shadow2(BufferData* pBufSrc, BufferData* pBufOut, BufferData* pBufRef,
                          ShadowParam* pShadowParam) = 0;
  // 61: draws the gradient overlay into pBufOut; pBufIn is only checked.
  virtual HRESULT GradientOverlay(BufferData* pBufIn, BufferData* pBufOut,
                                  GradientOverlayParam* pParam) = 0;
  // 62: a coloured falloff outside the shape of pBufIn, into pBufOut.
  virtual HRESULT OuterGlow(BufferData* pBufIn, BufferData* pBufOut, GlowParam* pParam) = 0;
  // 63: a coloured falloff inside the shape of pBufIn, into pBufOut.
  virtual HRESULT InnerGlow(BufferData* pBufIn, BufferData* pBufOut, GlowParam* pParam) = 0;
  // 64: builds the gradient colour table from a ReferenceParam.
  virtual HRESULT GradientReference2(ReferenceParam* pParam) = 0;
  // 65: the margin a Shadow2 shadow needs and the translation that places it.
  virtual HRESULT QueryShadowInfo2(ShadowInfo& shadowInfo, ShadowParam* pShadowParam) = 0;
  // 66: the margin a glow needs, into nMargin.
  virtual HRESULT QueryGlowInfo(int32_t& nMargin, GlowParam* pParam) = 0;

 protected:
  ~IOrvel3() = default;
};

// The adjust operations write only the alpha of their first buffer, inside its ROI: the alpha
// it must carry so that the host's own "over" reaches the total that the style asks for.
class IOrvel4 : public IOrvel3 {
 public:
  // 67: alpha of the pre-layer under a layer with a bevel and fill opacity.
  virtual HRESULT AdjustPreLayer(BufferData* pOut, BufferData* pPost, BufferData* pBlend,
                                 BufferData* pBevel, uint32_t fill_opacity) = 0;
  // 68: alpha of the pre-layer under a layer with an inside border.
  virtual HRESULT AdjustPreLayerInsBorder(BufferData* pOut, BufferData* pBorder, BufferData* pRef,
                                          uint32_t fill_opacity) = 0;
  // 69: alpha of a layer between a pre-layer and a post-layer.
  virtual HRESULT AdjustLayer(BufferData* pOut, BufferData* pPost, BufferData* pPre,
                              uint32_t fill_opacity) = 0;
  // 70: alpha of the blend under an inner bevel; pInnerBorder may be null.
  virtual HRESULT AdjustBlendInnerBevel(BufferData* pBlendDstOut, BufferData* pLayer,
                                        BufferData* pBevel, BufferData* pPostLayer,
                                        int32_t fill_opacity, BufferData* pInnerBorder) = 0;
  // 71: alpha of the pre-layer under an inner bevel; pInnerBorder may be null.
  virtual HRESULT AdjustPreLayerInnerBevel(BufferData* pPreLayerOut, BufferData* pBlendSrc,
                                           BufferData* pLayer, BufferData* pBevel,
                                           BufferData* pRefBuf, int32_t fill_opacity,
                                           BufferData* pInnerBorder) = 0;
  // 72: alpha of the blend under an outer bevel.
  virtual HRESULT AdjustBlendOuterBevel(BufferData* pOut, BufferData* pBevel, BufferData* pPre) = 0;
  // 73: last alpha step of an outer bevel.
  virtual HRESULT AdjustOuterBevelEnd(BufferData* pOut, BufferData* pPre) = 0;
  // 74: last alpha step of a pillow emboss.
  virtual HRESULT AdjustPillowEmbossBevelEnd(BufferData* pOut, BufferData* pPre,
                                             BufferData* pBevel) = 0;
  // 75: alpha step of a bevel's shadow.
  virtual HRESULT AdjustShadowBevel(BufferData* pOut, BufferData* pPre, BufferData* pBevel) = 0;
  // 76: clears the alpha wherever the border covers.
  virtual HRESULT AdjustBlendBorder(BufferData* pOut, BufferData* pBorder) = 0;
  // 77: where pMask is not 0, pSrc's alpha scaled by the mask (bInvert set) or by its
  // complement (bInvert clear) becomes pOut's.
  virtual HRESULT ApplyMaskPEBevel(BufferData* pOut, BufferData* pSrc, BufferData* pMask,
                                   bool bInvert) = 0;
  // 78: blends pBufSrcOut with pBufDst as reference and mixes the result, in place.
  virtual HRESULT BlendColor2(BufferData* pBufSrcOut, BufferData* pBufDst,
                              BlendParam* pBlendParam) = 0;
  // 79: fills the host's pattern memory with seeded noise.
  virtual HRESULT GenerateNoisePattern(NoiseParam* pParam) = 0;
  // 80: registers the pattern of pParam for dissolve and glow noise; null unregisters.
  virtual HRESULT SetNoisePattern(NoiseParam* pParam) = 0;

  // 81: the engine is destroyed through this entry.
  virtual ~IOrvel4() = default;
};

}  // namespace Orvel
