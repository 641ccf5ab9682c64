// The engine object: every tool as a direct member, the 82 operations of IOrvel4.
#pragma once

#include <atomic>
#include <cstdint>

#include "orvel/iorvel.h"
#include "engine/base_effect.h"
#include "engine/performance.h"
#include "engine/scratch.h"
#include "engine/thread_pool.h"
#include "compositing/CBlendTool.h"
#include "compositing/CMaskTool.h"
#include "compositing/CMergeTool.h"
#include "compositing/CTransformTool.h"
#include "compositing/Noise.h"
#include "gradient/CGradientTool.h"
#include "paint/CBrushTool.h"
#include "paint/CFillTool.h"
#include "shapes/CShapeTool.h"
#include "styles/CBevelTool.h"
#include "styles/CLayerStylesTool.h"
#include "text/CTextEditor.h"
#include "text/Text.h"
#include "colormatch/CColorMatch.h"

namespace Orvel {

// Process-wide counters: the running instance number only counts up; the live count is up
// at the end of construction and down at the start of destruction.
extern std::atomic<uint32_t> g_nInstanceCounter;
extern std::atomic<int32_t> g_nLiveEngines;

class COrvel final : public IOrvel4 {
 public:
  COrvel();
  ~COrvel() override;
  COrvel(const COrvel&) = delete;
  COrvel& operator=(const COrvel&) = delete;

  // ---- operations (table order) ----
  // @@OPERATIONS-BEGIN@@
  // IOrvel: 0..27
  HRESULT Selection(BufferData* pBufInOut, SelectionParam* pParam) override;
  HRESULT BlurMask(BufferData* pBuf, const int32_t* pRadius) override;
  HRESULT MergeMask(BufferData* pDst, BufferData* pSrc, MaskMergeParam* pParam) override;
  HRESULT InvertMask(BufferData* pBuf) override;
  HRESULT Merge(BufferData* pSrc, BufferData* pDst, MergeParam* pParam) override;
  HRESULT Shape(BufferData* pBufOut, ShapeParam* pShapeParam) override;
  HRESULT HitTest(ShapeParam* pShapeParam, Point ptTarget, bool* pbRtn) override;
  HRESULT GetContour(ShapeParam* pShapeParam, Point* pPoints, int32_t* pnCount) override;
  HRESULT Fill(BufferData* pBufOut, FillToolParam* pFillToolParam) override;
  HRESULT Blend(BufferData* pBufIn, BufferData* pBufOut, BlendParam* pBlendParam) override;
  HRESULT BlendWithSingleColor(BufferData* pBufIn, BufferData* pBufOut, Color crColor) override;
  HRESULT ApplyMask(BufferData* pObject, BufferData* pMask, Point* pOrigin) override;
  HRESULT GradientReference(int32_t nColors, const float* pColorPos, const int32_t* pRed,
                            const int32_t* pGreen, const int32_t* pBlue, int32_t nOpacities,
                            const float* pOpacityPos, const int32_t* pOpacities,
                            bool bReverse) override;
  HRESULT GenerateGradient(BufferData* pBufOut, GradientParam* pParam) override;
  HRESULT SetBrushParam(BrushParam* pBrushParam) override;
  HRESULT GetBrushDiameter(int32_t* pOut, int32_t nDiameter, int32_t nHardness) override;
  HRESULT SetBrushTarget(BufferData* pBufTarget, BufferData* pBufMask, Point ptOrigin) override;
  HRESULT AddStrokePoint(Point pt, bool bForce) override;
  HRESULT GetStrokePoints(Point** ppOut, int32_t* pnCount) override;
  HRESULT DrawStroke(BufferData* pBufOut, StrokeParam* pStrokeParam) override;
  HRESULT Reserved20() override;
  HRESULT Transform(BufferData* pBufOut, TransformParam* pTransformParam) override;
  HRESULT MatrixTranslate(TransformMatrix* pMatrix, float dx, float dy) override;
  HRESULT MatrixRotate(TransformMatrix* pMatrix, float angle, float cx, float cy) override;
  HRESULT MatrixScale(TransformMatrix* pMatrix, float sx, float sy, float cx, float cy) override;
  HRESULT MatrixPerspective(TransformMatrix* pMatrix, const float* pSource, const float* pTarget,
                            int32_t count) override;
  HRESULT TransformRect(IntRect* pRect, const TransformMatrix* pMatrix) override;
  HRESULT TransformPoint(Point* pPoint, const TransformMatrix* pMatrix) override;
  // IOrvel2: 28..49
  HRESULT SetTextString(const char16_t* pszText) override;
  HRESULT SetTextLayoutSize(float w, float h) override;
  HRESULT SetTextFont(uint32_t nStart, uint32_t nLength, const char16_t* pszFontName, float fSize,
                      uint32_t bItalic, uint32_t bBold) override;
  HRESULT SetTextAlignmentRange(uint32_t nStart, uint32_t nLength, uint32_t nAlignment) override;
  HRESULT SetTextWrappingRange(uint32_t nStart, uint32_t nLength, uint32_t nWrapping) override;
  HRESULT SetTextDirectionRange(uint32_t nStart, uint32_t nLength, uint32_t nDirection) override;
  HRESULT SetTextLineSpacingRange(uint32_t nStart, uint32_t nLength, float fSpacing) override;
  HRESULT SetTextColorRange(uint32_t nStart, uint32_t nLength, const Color* pColor) override;
  HRESULT SetTextSelectionHighlight(uint32_t nStart, uint32_t nLength,
                                    const Color* pColor) override;
  HRESULT SetTextUnderlineRange(uint32_t nStart, uint32_t nLength, int32_t bUnderline) override;
  HRESULT SetTextStrikethroughRange(uint32_t nStart, uint32_t nLength,
                                    int32_t bStrikethrough) override;
  HRESULT SetTextStroke(float fWidth, const Color* pColor) override;
  HRESULT SetTextShadow(float fOpacity, float fDistance, const Color* pColor) override;
  HRESULT SetTextTransform(const float* pMatrix) override;
  HRESULT GetTextTransform(float* pMatrix) override;
  HRESULT HitTestText(float x, float y, float* pLeft, float* pTop, float* pRight,
                      float* pBottom) override;
  HRESULT GetTextRangeBox(uint32_t nStart, uint32_t nLength, float* pBox) override;
  HRESULT RenderText(TextCanvas* pCanvas) override;
  HRESULT ColorMatch(BufferData* pBufIn, BufferData* pBufOut, void* pColorMatchParam) override;
  HRESULT FillPerformanceData(uint32_t nCategory, int32_t* pCount,
                              PerformanceRecord* pRecords) override;
  HRESULT SetPerformanceMode(bool bPerformance) override;
  HRESULT ReleaseScratch() override;
  // IOrvel3: 50..66
  HRESULT ApplyLayerStyles(BufferData* pBufInOut, StylesParam* pStylesParam) override;
  HRESULT QueryShadowInfo(ShadowInfo& shadowInfo, ShadowParam* pShadowParam) override;
  HRESULT QueryBorderInfo(int32_t& nMargin, BorderParam* pBorderParam) override;
  HRESULT Reserved53(...) override;
  HRESULT Border(BufferData* pBufIn, BufferData* pBufOut, BorderParam* pBorderParam) override;
  HRESULT BlendWithStyle(BufferData* pBufIn, BufferData* pBufStyle, BufferData* pBufOut,
                         BlendParam* pBlendParam) override;
  HRESULT BlendWithFillOpacity(BufferData* pBufIn, BufferData* pBufOut, BlendParam* pBlendParam,
                               int32_t nFillOpacity) override;
  HRESULT Bevel(BufferData* pBufIn, BufferData* pBufHighlight, BufferData* pBufShadow,
                BevelParam* pBevelParam) override;
  HRESULT Shadow(BufferData* pBuf_Transform, BufferData* pBufOut, BufferData* pBuf_Src,
                 ShadowParam* pShadowParam) override;
  HRESULT BlendColor(BufferData* pBufRef, BufferData* pBufOut, BlendParam* pBlendParam) override;
  HRESULT Shadow2(BufferData* pBufSrc, BufferData* pBufOut, BufferData* pBufRef,
                  ShadowParam* pShadowParam) override;
  HRESULT GradientOverlay(BufferData* pBufIn, BufferData* pBufOut,
                          GradientOverlayParam* pParam) override;
  HRESULT OuterGlow(BufferData* pBufIn, BufferData* pBufOut, GlowParam* pParam) override;
  HRESULT InnerGlow(BufferData* pBufIn, BufferData* pBufOut, GlowParam* pParam) override;
  HRESULT GradientReference2(ReferenceParam* pParam) override;
  HRESULT QueryShadowInfo2(ShadowInfo& shadowInfo, ShadowParam* pShadowParam) override;
  HRESULT QueryGlowInfo(int32_t& nMargin, GlowParam* pParam) override;
  // IOrvel4: 67..80
  HRESULT AdjustPreLayer(BufferData* pOut, BufferData* pPost, BufferData* pBlend,
                         BufferData* pBevel, uint32_t fill_opacity) override;
  HRESULT AdjustPreLayerInsBorder(BufferData* pOut, BufferData* pBorder, BufferData* pRef,
                                  uint32_t fill_opacity) override;
  HRESULT AdjustLayer(BufferData* pOut, BufferData* pPost, BufferData* pPre,
                      uint32_t fill_opacity) override;
  HRESULT AdjustBlendInnerBevel(BufferData* pBlendDstOut, BufferData* pLayer, BufferData* pBevel,
                                BufferData* pPostLayer, int32_t fill_opacity,
                                BufferData* pInnerBorder) override;
  HRESULT AdjustPreLayerInnerBevel(BufferData* pPreLayerOut, BufferData* pBlendSrc,
                                   BufferData* pLayer, BufferData* pBevel, BufferData* pRefBuf,
                                   int32_t fill_opacity, BufferData* pInnerBorder) override;
  HRESULT AdjustBlendOuterBevel(BufferData* pOut, BufferData* pBevel, BufferData* pPre) override;
  HRESULT AdjustOuterBevelEnd(BufferData* pOut, BufferData* pPre) override;
  HRESULT AdjustPillowEmbossBevelEnd(BufferData* pOut, BufferData* pPre,
                                     BufferData* pBevel) override;
  HRESULT AdjustShadowBevel(BufferData* pOut, BufferData* pPre, BufferData* pBevel) override;
  HRESULT AdjustBlendBorder(BufferData* pOut, BufferData* pBorder) override;
  HRESULT ApplyMaskPEBevel(BufferData* pOut, BufferData* pSrc, BufferData* pMask,
                           bool bInvert) override;
  HRESULT BlendColor2(BufferData* pBufSrcOut, BufferData* pBufDst,
                      BlendParam* pBlendParam) override;
  HRESULT GenerateNoisePattern(NoiseParam* pParam) override;
  HRESULT SetNoisePattern(NoiseParam* pParam) override;
  // @@OPERATIONS-END@@

  // Makes the shape tool on first need; null when its initialisation fails.
  CShapeTool* GetShapeTool();
  // Test hook: forces every tool's fast-path flag (the portable row when false).
  void SetFastPaths(bool bOn);
  int ProcessorLevel() const { return m_nProcessorLevel; }

  // Members in construction order.
  uint32_t m_nInstanceId;
  CThreadPool m_ThreadPool;
  CMergeTool m_MergeTool;
  CBlendTool m_BlendTool;
  CGradientTool m_GradientTool;
  CBrushTool m_BrushTool;
  CFillTool m_FillTool;
  CShapeTool* m_pShapeTool = nullptr;
  CTransformTool m_TransformTool;
  CMaskTool m_MaskTool;
  Text m_Text;
  CTextEditor m_TextEditor;
  CLayerStylesTool m_LayerStylesTool;
  CBevelTool m_BevelTool;
  CColorMatch m_ColorMatch;
  bool m_bPerformance = false;
  CPerformanceCenter m_PerformanceCenter;
  ScratchBlock m_ScratchA;
  ScratchBlock m_ScratchB;
  Noise m_Noise;
  BufferData* mp_NoisePattern = nullptr;

 private:
  int m_nProcessorLevel = 0;
};

}  // namespace Orvel
