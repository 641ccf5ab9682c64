// Operations whose tools are still to come: each checks the pointers it needs and answers
// E_NOTIMPL until its tool is in place.
#include "engine/COrvel.h"

namespace Orvel {

// 0: rasterises a rectangle or ellipse into the single-channel mask.
HRESULT COrvel::Selection(BufferData* pBufInOut, SelectionParam* pParam) {
  if (!pBufInOut || !pParam) return E_POINTER;
  return E_NOTIMPL;
}

// 5: draws the shape on a scratch layer and merges it onto the output.
HRESULT COrvel::Shape(BufferData* pBufOut, ShapeParam* pShapeParam) {
  if (!pBufOut || !pShapeParam) return E_POINTER;
  return E_NOTIMPL;
}

// 6: tests whether the point lies in the shape.
HRESULT COrvel::HitTest(ShapeParam* pShapeParam, Point /*ptTarget*/, bool* pbRtn) {
  if (!pShapeParam || !pbRtn) return E_POINTER;
  return E_NOTIMPL;
}

// 7: brings the shape's outline up to date and hands out its size or its points.
HRESULT COrvel::GetContour(ShapeParam* pShapeParam, Point* /*pPoints*/, int32_t* pnCount) {
  if (!pShapeParam || !pnCount) return E_POINTER;
  return E_NOTIMPL;
}

// 8: paints the matching pixels into an object, then dissolves, masks and places it.
HRESULT COrvel::Fill(BufferData* pBufOut, FillToolParam* pFillToolParam) {
  if (!pBufOut || !pFillToolParam || !pFillToolParam->pBufIn) return E_POINTER;
  return E_NOTIMPL;
}

// 14: stores the brush settings and marks the dab for rebuilding.
HRESULT COrvel::SetBrushParam(BrushParam* pBrushParam) {
  if (!pBrushParam) return E_POINTER;
  return E_NOTIMPL;
}

// 15: computes the dab size of a diameter and hardness.
HRESULT COrvel::GetBrushDiameter(int32_t* pOut, int32_t /*nDiameter*/, int32_t /*nHardness*/) {
  if (!pOut) return E_POINTER;
  return E_NOTIMPL;
}

// 16: starts a live stroke on the target.
HRESULT COrvel::SetBrushTarget(BufferData* pBufTarget, BufferData* /*pBufMask*/,
                               Point /*ptOrigin*/) {
  if (!pBufTarget) return E_POINTER;
  return E_NOTIMPL;
}

// 17: stamps towards the point and re-blends the touched rectangle.
HRESULT COrvel::AddStrokePoint(Point /*pt*/, bool /*bForce*/) { return E_NOTIMPL; }

// 18: copies the live stroke's stamp positions out.
HRESULT COrvel::GetStrokePoints(Point** ppOut, int32_t* pnCount) {
  if (!ppOut || !pnCount) return E_POINTER;
  return E_NOTIMPL;
}

// 19: stamps a whole stroke into an object, then masks and places it.
HRESULT COrvel::DrawStroke(BufferData* pBufOut, StrokeParam* pStrokeParam) {
  if (!pBufOut || !pStrokeParam) return E_POINTER;
  return E_NOTIMPL;
}

// 28: replaces the direct text and rebuilds one layout per paragraph.
HRESULT COrvel::SetTextString(const char16_t* pszText) {
  if (!pszText) return E_POINTER;
  return E_NOTIMPL;
}

// 29: sets the box that every layout is laid out in.
HRESULT COrvel::SetTextLayoutSize(float /*w*/, float /*h*/) { return E_NOTIMPL; }

// 30: sets family, size, style and weight on the layouts that the range touches.
HRESULT COrvel::SetTextFont(uint32_t /*nStart*/, uint32_t /*nLength*/, const char16_t* pszFontName,
                            float /*fSize*/, uint32_t /*bItalic*/, uint32_t /*bBold*/) {
  if (!pszFontName) return E_POINTER;
  return E_NOTIMPL;
}

// 31: sets the alignment of the layouts that the range touches.
HRESULT COrvel::SetTextAlignmentRange(uint32_t /*nStart*/, uint32_t /*nLength*/,
                                      uint32_t /*nAlignment*/) {
  return E_NOTIMPL;
}

// 32: sets the word wrapping of the layouts that the range touches.
HRESULT COrvel::SetTextWrappingRange(uint32_t /*nStart*/, uint32_t /*nLength*/,
                                     uint32_t /*nWrapping*/) {
  return E_NOTIMPL;
}

// 33: sets the reading direction of the layouts that the range touches.
HRESULT COrvel::SetTextDirectionRange(uint32_t /*nStart*/, uint32_t /*nLength*/,
                                      uint32_t /*nDirection*/) {
  return E_NOTIMPL;
}

// 34: sets the line spacing of the layouts that the range touches.
HRESULT COrvel::SetTextLineSpacingRange(uint32_t /*nStart*/, uint32_t /*nLength*/,
                                        float /*fSpacing*/) {
  return E_NOTIMPL;
}

// 35: sets an opaque text colour over the range.
HRESULT COrvel::SetTextColorRange(uint32_t /*nStart*/, uint32_t /*nLength*/, const Color* pColor) {
  if (!pColor) return E_POINTER;
  return E_NOTIMPL;
}

// 36: sets the selection highlight's range and colour.
HRESULT COrvel::SetTextSelectionHighlight(uint32_t /*nStart*/, uint32_t /*nLength*/,
                                          const Color* pColor) {
  if (!pColor) return E_POINTER;
  return E_NOTIMPL;
}

// 37: sets underline over the range.
HRESULT COrvel::SetTextUnderlineRange(uint32_t /*nStart*/, uint32_t /*nLength*/,
                                      int32_t /*bUnderline*/) {
  return E_NOTIMPL;
}

// 38: sets strikethrough over the range.
HRESULT COrvel::SetTextStrikethroughRange(uint32_t /*nStart*/, uint32_t /*nLength*/,
                                          int32_t /*bStrikethrough*/) {
  return E_NOTIMPL;
}

// 39: sets an outline, its width in pixels and its opaque colour.
HRESULT COrvel::SetTextStroke(float /*fWidth*/, const Color* pColor) {
  if (!pColor) return E_POINTER;
  return E_NOTIMPL;
}

// 40: sets the shadow's opacity, distance and colour.
HRESULT COrvel::SetTextShadow(float /*fOpacity*/, float /*fDistance*/, const Color* pColor) {
  if (!pColor) return E_POINTER;
  return E_NOTIMPL;
}

// 41: sets the matrix from text space to the canvas, and its inverse.
HRESULT COrvel::SetTextTransform(const float* pMatrix) {
  if (!pMatrix) return E_POINTER;
  return E_NOTIMPL;
}

// 42: writes the matrix from text space to the canvas as 16 floats.
HRESULT COrvel::GetTextTransform(float* pMatrix) {
  if (!pMatrix) return E_POINTER;
  return E_NOTIMPL;
}

// 43: finds the character at a canvas point and writes its box.
HRESULT COrvel::HitTestText(float /*x*/, float /*y*/, float* pLeft, float* pTop, float* pRight,
                            float* pBottom) {
  if (!pLeft || !pTop || !pRight || !pBottom) return E_POINTER;
  return E_NOTIMPL;
}

// 44: writes the canvas bounds of a range.
HRESULT COrvel::GetTextRangeBox(uint32_t /*nStart*/, uint32_t /*nLength*/, float* pBox) {
  if (!pBox) return E_POINTER;
  return E_NOTIMPL;
}

// 45: draws the direct text into the canvas.
HRESULT COrvel::RenderText(TextCanvas* pCanvas) {
  if (!pCanvas) return E_POINTER;
  if (!pCanvas->pPixels || pCanvas->nWidth <= 0 || pCanvas->nHeight <= 0) return E_INVALIDARG;
  return E_NOTIMPL;
}

// 50: paints a drop shadow and an outside border under the layer.
HRESULT COrvel::ApplyLayerStyles(BufferData* pBufInOut, StylesParam* pStylesParam) {
  if (!pBufInOut || !pStylesParam) return E_POINTER;
  return E_NOTIMPL;
}

// 51: answers the drop shadow's margin and placing translation.
HRESULT COrvel::QueryShadowInfo(ShadowInfo& /*shadowInfo*/, ShadowParam* pShadowParam) {
  if (!pShadowParam) return E_POINTER;
  return E_NOTIMPL;
}

// 52: answers the border's margin.
HRESULT COrvel::QueryBorderInfo(int32_t& /*nMargin*/, BorderParam* pBorderParam) {
  if (!pBorderParam) return E_POINTER;
  return E_NOTIMPL;
}

// 54: draws the border of the input's silhouette into the output.
HRESULT COrvel::Border(BufferData* pBufIn, BufferData* pBufOut, BorderParam* pBorderParam) {
  if (!pBufIn || !pBufOut || !pBorderParam) return E_POINTER;
  return E_NOTIMPL;
}

// 57: makes the highlight and shadow light maps of the bevel.
HRESULT COrvel::Bevel(BufferData* pBufIn, BufferData* pBufHighlight, BufferData* pBufShadow,
                      BevelParam* pBevelParam) {
  if (!pBufIn || !pBufHighlight || !pBufShadow || !pBevelParam) return E_POINTER;
  return E_NOTIMPL;
}

// 58: makes a shadow from a silhouette that the host has already moved.
HRESULT COrvel::Shadow(BufferData* pBuf_Transform, BufferData* pBufOut, BufferData* pBuf_Src,
                       ShadowParam* pShadowParam) {
  if (!pBuf_Transform || !pBufOut || !pBuf_Src || !pShadowParam) return E_POINTER;
  return E_NOTIMPL;
}

// 60: makes an outer or inner shadow of the source.
HRESULT COrvel::Shadow2(BufferData* pBufSrc, BufferData* pBufOut, BufferData* pBufRef,
                        ShadowParam* pShadowParam) {
  if (!pBufSrc || !pBufOut || !pBufRef || !pShadowParam) return E_POINTER;
  return E_NOTIMPL;
}

// 62: paints a coloured falloff outside the shape.
HRESULT COrvel::OuterGlow(BufferData* pBufIn, BufferData* pBufOut, GlowParam* pParam) {
  if (!pBufIn || !pBufOut || !pParam) return E_POINTER;
  return E_NOTIMPL;
}

// 63: paints a coloured falloff inside the shape.
HRESULT COrvel::InnerGlow(BufferData* pBufIn, BufferData* pBufOut, GlowParam* pParam) {
  if (!pBufIn || !pBufOut || !pParam) return E_POINTER;
  return E_NOTIMPL;
}

// 65: answers the Shadow2 shadow's margin and placing translation.
HRESULT COrvel::QueryShadowInfo2(ShadowInfo& /*shadowInfo*/, ShadowParam* pShadowParam) {
  if (!pShadowParam) return E_POINTER;
  return E_NOTIMPL;
}

// 66: answers the glow's margin.
HRESULT COrvel::QueryGlowInfo(int32_t& /*nMargin*/, GlowParam* pParam) {
  if (!pParam) return E_POINTER;
  return E_NOTIMPL;
}

// 67: sets the pre-layer's alpha for a layer with a bevel and fill opacity.
HRESULT COrvel::AdjustPreLayer(BufferData* pOut, BufferData* pPost, BufferData* pBlend,
                               BufferData* pBevel, uint32_t /*fill_opacity*/) {
  if (!pOut || !pPost || !pBlend || !pBevel) return E_POINTER;
  return E_NOTIMPL;
}

// 68: sets the pre-layer's alpha for a layer with an inside border.
HRESULT COrvel::AdjustPreLayerInsBorder(BufferData* pOut, BufferData* pBorder, BufferData* pRef,
                                        uint32_t /*fill_opacity*/) {
  if (!pOut || !pBorder || !pRef) return E_POINTER;
  return E_NOTIMPL;
}

// 69: sets the layer's alpha between pre-layer and post-layer.
HRESULT COrvel::AdjustLayer(BufferData* pOut, BufferData* pPost, BufferData* pPre,
                            uint32_t /*fill_opacity*/) {
  if (!pOut || !pPost || !pPre) return E_POINTER;
  return E_NOTIMPL;
}

// 70: sets the blend's alpha under an inner bevel.
HRESULT COrvel::AdjustBlendInnerBevel(BufferData* pBlendDstOut, BufferData* pLayer,
                                      BufferData* pBevel, BufferData* pPostLayer,
                                      int32_t /*fill_opacity*/, BufferData* /*pInnerBorder*/) {
  if (!pBlendDstOut || !pLayer || !pBevel || !pPostLayer) return E_POINTER;
  return E_NOTIMPL;
}

// 71: sets the pre-layer's alpha under an inner bevel.
HRESULT COrvel::AdjustPreLayerInnerBevel(BufferData* pPreLayerOut, BufferData* pBlendSrc,
                                         BufferData* pLayer, BufferData* pBevel,
                                         BufferData* pRefBuf, int32_t /*fill_opacity*/,
                                         BufferData* /*pInnerBorder*/) {
  if (!pPreLayerOut || !pBlendSrc || !pLayer || !pBevel || !pRefBuf) return E_POINTER;
  return E_NOTIMPL;
}

// 72: sets the blend's alpha under an outer bevel.
HRESULT COrvel::AdjustBlendOuterBevel(BufferData* pOut, BufferData* pBevel, BufferData* pPre) {
  if (!pOut || !pBevel || !pPre) return E_POINTER;
  return E_NOTIMPL;
}

// 73: sets the last alpha step of an outer bevel.
HRESULT COrvel::AdjustOuterBevelEnd(BufferData* pOut, BufferData* pPre) {
  if (!pOut || !pPre) return E_POINTER;
  return E_NOTIMPL;
}

// 74: sets the last alpha step of a pillow emboss.
HRESULT COrvel::AdjustPillowEmbossBevelEnd(BufferData* pOut, BufferData* pPre, BufferData* pBevel) {
  if (!pOut || !pPre || !pBevel) return E_POINTER;
  return E_NOTIMPL;
}

// 75: sets the alpha step of a bevel's shadow.
HRESULT COrvel::AdjustShadowBevel(BufferData* pOut, BufferData* pPre, BufferData* pBevel) {
  if (!pOut || !pPre || !pBevel) return E_POINTER;
  return E_NOTIMPL;
}

// 76: clears the alpha wherever the border covers.
HRESULT COrvel::AdjustBlendBorder(BufferData* pOut, BufferData* pBorder) {
  if (!pOut || !pBorder) return E_POINTER;
  return E_NOTIMPL;
}

// 77: scales the source's alpha by the mask or its complement into the output.
HRESULT COrvel::ApplyMaskPEBevel(BufferData* pOut, BufferData* pSrc, BufferData* pMask,
                                 bool /*bInvert*/) {
  if (!pOut || !pSrc || !pMask) return E_POINTER;
  return E_NOTIMPL;
}

}  // namespace Orvel
