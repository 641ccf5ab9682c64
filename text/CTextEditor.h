// The engine's text editor: works on one current document at a time and shares the engine's
// Text object among all documents.
#pragma once

#include <cstdint>
#include <mutex>

#include "orvel/itexteditor.h"

namespace Orvel {

class Text;

class CTextEditor final : public ITextEditor3 {
 public:
  CTextEditor(uint32_t nInstanceId, Text& text);
  ~CTextEditor() override;
  CTextEditor(const CTextEditor&) = delete;
  CTextEditor& operator=(const CTextEditor&) = delete;

  // ITextEditor
  uint32_t CreateText(TextDocument** ppDocument) override;
  uint32_t SetCurrentText(TextDocument* pDocument) override;
  uint32_t DeleteText(TextDocument* pDocument) override;
  TextDocument* GetCurrentText() override;
  uint32_t SetCanvasSize(float fWidth, float fHeight) override;
  uint32_t SetViewSize(float fWidth, float fHeight) override;
  uint32_t SetBoxSize(float fWidth, float fHeight) override;
  uint32_t GetBoxSize(float* pfWidth, float* pfHeight) override;
  uint32_t SetBoxInset(float fInset) override;
  uint32_t GetBoxInset(float* pfInset) override;
  uint32_t GetBoxQuad(float* pQuad) override;
  uint32_t GetBoxQuadOf(TextDocument* pDocument, float* pQuad) override;
  uint32_t InsertText(TextDocument* pSource) override;
  uint32_t InsertBlob(const uint8_t* pBlob, uint32_t nSize) override;
  uint32_t InsertChar(const CharFormat* pFormat) override;
  uint32_t InsertString(const CharFormat* pFormat, const char16_t* pszText) override;
  uint32_t Backspace() override;
  uint32_t DeleteForward() override;
  uint32_t MoveCaretUp(uint32_t bExtend) override;
  uint32_t MoveCaretDown(uint32_t bExtend) override;
  uint32_t MoveCaretLeft(uint32_t bExtend) override;
  uint32_t MoveCaretRight(uint32_t bExtend) override;
  uint32_t MoveCaretLineStart(uint32_t bExtend) override;
  uint32_t MoveCaretLineEnd(uint32_t bExtend) override;
  uint32_t MoveCaretTextStart(uint32_t bExtend) override;
  uint32_t MoveCaretTextEnd(uint32_t bExtend) override;
  uint32_t SetCaretFromPoint(float x, float y, uint32_t bExtend) override;
  uint32_t SetCaret(uint32_t nIndex, uint32_t bExtend) override;
  uint32_t SelectAll() override;
  uint32_t GetCaretLine(Point* pTop, Point* pBottom) override;
  uint32_t GetCaretIndex(uint32_t* pnIndex) override;
  uint32_t GetCaretFormat(CaretFormat* pFormat) override;
  uint32_t SetSelectionColor(const Color* pColor) override;
  uint32_t HideSelection(int32_t bHide) override;
  uint32_t SetStroke(float fWidth, const int32_t* pnColor) override;
  uint32_t SetStrokeMode(uint32_t nMode) override;
  uint32_t GetStrokeMode() override;
  uint32_t SetShadow(float fOpacity, float fDistance, const Color* pColor) override;
  uint32_t SetTransform(const float* pMatrix) override;
  uint32_t SetTransform4x4(const float* pMatrix) override;
  uint32_t GetTransform(float* pMatrix) override;
  uint32_t GetTransform4x4(float* pMatrix) override;
  uint32_t SetFontFamily(const char16_t* pszName) override;
  uint32_t SetFontSize(float fSize) override;
  uint32_t SetFontColor(const Color* pColor) override;
  uint32_t SetItalic(int32_t bItalic) override;
  uint32_t SetBold(int32_t bBold) override;
  uint32_t SetUnderline(uint8_t bUnderline) override;
  uint32_t SetStrikethrough(uint8_t bStrikethrough) override;
  uint32_t SetTextAlignment(uint32_t nAlignment) override;
  uint32_t SetWordWrapping(uint32_t nWrapping) override;
  uint32_t SetReadingDirection(uint32_t nDirection) override;
  uint32_t SetLineSpacing(float fSpacing) override;
  uint32_t CopySelection(TextDocument** ppDocument) override;
  uint32_t CloneText(TextDocument* const* ppSource, TextDocument** ppClone) override;
  uint32_t CloneCurrentText(TextDocument** ppClone) override;
  uint32_t LoadText(const uint8_t* pBlob, uint32_t nSize, TextDocument* pDocument) override;
  uint32_t SaveText(uint8_t* pBuffer, uint32_t* pnSize, TextDocument* pDocument) override;
  uint32_t GetFontList(const char16_t** ppNames, uint32_t* pnCount,
                       TextDocument* pDocument) override;
  uint32_t GetPlainTextOf(TextDocument* pDocument, char16_t* pBuffer, uint32_t* pnSize) override;
  uint32_t GetPlainText(char16_t* pBuffer, uint32_t* pnSize) override;
  uint32_t GetTextLength() override;
  uint32_t GetTextLengthOf(TextDocument* pDocument) override;
  uint32_t IsPointOnText(float x, float y) override;
  TextDocument* FindTextAtPoint(float x, float y, TextDocument* const* ppDocuments,
                                uint32_t nCount) override;
  uint32_t HitTestBox(float x, float y, float fTolerance) override;
  uint32_t RenderTexts(const TextCanvas* pCanvas, TextDocument* const* ppDocuments, uint32_t nCount,
                       int32_t nOffsetX, int32_t nOffsetY) override;
  uint32_t RenderText(const TextCanvas* pCanvas, int32_t nOffsetX, int32_t nOffsetY) override;

  // ITextEditor2
  uint32_t SetAutoFit(int32_t bAutoFit) override;
  uint32_t RegisterFonts(const PrivateFontRecord* pFonts, uint32_t nCount) override;
  uint32_t SetCharacterSpacing(float fSpacing) override;
  uint32_t SetPairKerning(uint8_t bPairKerning) override;
  uint32_t GetTextFeatureLevel(int32_t* pnLevel) override;
  uint32_t GetSelectionRects(float* pRects, uint32_t* pnCount) override;

  // ITextEditor3
  uint32_t SetWarp(const WarpDesc* pWarp) override;
  uint32_t GetWarpHandleCount(int32_t nType) override;
  uint32_t GetWarpHandles(WarpDesc* pWarp) override;
  uint32_t HasSelection() override;
  uint32_t RenderSelections(const TextCanvas* pCanvas, TextDocument* const* ppDocuments,
                            uint32_t nCount, int32_t nOffsetX, int32_t nOffsetY) override;
  uint32_t RenderSelection(const TextCanvas* pCanvas, int32_t nOffsetX, int32_t nOffsetY) override;

  // Fields in layout order. Matrices are affine a, b, c, d, e, f on row vectors.
  Text* m_pText;                         // the engine's shared text object
  TextDocument* m_pCurrent = nullptr;    // a plain field: no lock guards it
  float m_ViewSize[2] = {0.0f, 0.0f};    // view width and height in pixels
  float m_Scale[2] = {1.0f, 1.0f};       // last view / canvas scale, x and y
  float m_View[6] = {1, 0, 0, 1, 0, 0};  // A: canvas to view; only a and d follow the scale
  float m_ViewInverse[6] = {1, 0, 0, 1, 0, 0};
  float m_Compose[6] = {1, 0, 0, 1, 0, 0};         // M: document transform, then A (text to view)
  float m_ComposeInverse[6] = {1, 0, 0, 1, 0, 0};  // view to text
  uint8_t m_bShowSelection = 1;                    // hand selection highlights to the renderer
  // Record sizes and version that the blob writer uses; a loaded blob replaces them.
  uint32_t m_nBlobHeaderSize = BLOB_HEADER_SIZE;
  uint32_t m_nBlobParaSize = BLOB_PARA_SIZE;
  uint32_t m_nBlobCharSize = BLOB_CHAR_SIZE;
  uint32_t m_nBlobExtraSize = BLOB_EXTRA_SIZE;
  uint32_t m_nBlobVersion = BLOB_VERSION;
  uint32_t m_nBlobHandleSize = BLOB_HANDLE_SIZE;
  uint32_t m_BlobReserved[7] = {};  // repeated verbatim in a blob's trailer, never read
  // m_PrivateFonts (face name to resolved font) takes its place here together with font
  // resolution; the editor's destructor releases its entries.
  std::mutex m_LayoutMutex;  // serialises layout updates of the shared m_pText
  uint32_t m_nInstanceTag;   // the engine's instance number, kept and not interpreted
};

}  // namespace Orvel
