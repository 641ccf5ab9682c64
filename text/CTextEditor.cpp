#include "text/CTextEditor.h"

#include "text/Text.h"

namespace Orvel {

namespace {

constexpr uint32_t Result(HRESULT hr) { return static_cast<uint32_t>(hr); }

// Argument checks shared by every render operation: the canvas record is required, and a
// canvas with no pixels or no area cannot be drawn into.
uint32_t CheckCanvas(const TextCanvas* pCanvas) {
  if (pCanvas == nullptr) return Result(E_POINTER);
  if (pCanvas->pPixels == nullptr || pCanvas->nWidth == 0 || pCanvas->nHeight == 0)
    return Result(E_INVALIDARG);
  return Result(S_OK);
}

uint32_t CheckCanvasAndList(const TextCanvas* pCanvas, TextDocument* const* ppDocuments,
                            uint32_t nCount) {
  const uint32_t r = CheckCanvas(pCanvas);
  if (r != Result(S_OK)) return r;
  if (ppDocuments == nullptr || nCount == 0) return Result(E_INVALIDARG);
  return Result(S_OK);
}

}  // namespace

CTextEditor::CTextEditor(uint32_t nInstanceId, Text& text)
    : m_pText(&text), m_nInstanceTag(nInstanceId) {}

// Documents the host did not delete are the host's; the editor leaves them alone.
CTextEditor::~CTextEditor() = default;

// ---- ITextEditor ----

uint32_t CTextEditor::CreateText(TextDocument** ppDocument) {
  if (ppDocument == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::SetCurrentText(TextDocument* pDocument) {
  if (pDocument == nullptr) {
    m_pCurrent = nullptr;
    return Result(S_OK);
  }
  // The view stays as it is when nothing changes.
  if (pDocument == m_pCurrent) return Result(S_FALSE);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::DeleteText(TextDocument* pDocument) {
  if (pDocument == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

TextDocument* CTextEditor::GetCurrentText() { return m_pCurrent; }

uint32_t CTextEditor::SetCanvasSize(float /*fWidth*/, float /*fHeight*/) {
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::SetViewSize(float /*fWidth*/, float /*fHeight*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::SetBoxSize(float /*fWidth*/, float /*fHeight*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::GetBoxSize(float* pfWidth, float* pfHeight) {
  if (pfWidth == nullptr || pfHeight == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::SetBoxInset(float /*fInset*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::GetBoxInset(float* pfInset) {
  if (pfInset == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::GetBoxQuad(float* pQuad) {
  if (pQuad == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::GetBoxQuadOf(TextDocument* pDocument, float* pQuad) {
  if (pDocument == nullptr || pQuad == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::InsertText(TextDocument* pSource) {
  if (pSource == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::InsertBlob(const uint8_t* pBlob, uint32_t /*nSize*/) {
  if (pBlob == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::InsertChar(const CharFormat* pFormat) {
  if (pFormat == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::InsertString(const CharFormat* pFormat, const char16_t* pszText) {
  if (pFormat == nullptr || pszText == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::Backspace() { return Result(E_NOTIMPL); }

uint32_t CTextEditor::DeleteForward() { return Result(E_NOTIMPL); }

uint32_t CTextEditor::MoveCaretUp(uint32_t /*bExtend*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::MoveCaretDown(uint32_t /*bExtend*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::MoveCaretLeft(uint32_t /*bExtend*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::MoveCaretRight(uint32_t /*bExtend*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::MoveCaretLineStart(uint32_t /*bExtend*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::MoveCaretLineEnd(uint32_t /*bExtend*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::MoveCaretTextStart(uint32_t /*bExtend*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::MoveCaretTextEnd(uint32_t /*bExtend*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::SetCaretFromPoint(float /*x*/, float /*y*/, uint32_t /*bExtend*/) {
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::SetCaret(uint32_t /*nIndex*/, uint32_t /*bExtend*/) {
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::SelectAll() { return Result(E_NOTIMPL); }

uint32_t CTextEditor::GetCaretLine(Point* pTop, Point* pBottom) {
  if (pTop == nullptr || pBottom == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::GetCaretIndex(uint32_t* pnIndex) {
  if (pnIndex == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::GetCaretFormat(CaretFormat* pFormat) {
  if (pFormat == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::SetSelectionColor(const Color* pColor) {
  if (pColor == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

// A view setting of the editor, not of a document: it holds for every document rendered.
uint32_t CTextEditor::HideSelection(int32_t bHide) {
  m_bShowSelection = bHide == 0 ? 1 : 0;
  return Result(S_OK);
}

uint32_t CTextEditor::SetStroke(float /*fWidth*/, const int32_t* pnColor) {
  if (pnColor == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::SetStrokeMode(uint32_t /*nMode*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::GetStrokeMode() { return 0; }

uint32_t CTextEditor::SetShadow(float /*fOpacity*/, float /*fDistance*/, const Color* pColor) {
  if (pColor == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::SetTransform(const float* pMatrix) {
  if (pMatrix == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::SetTransform4x4(const float* pMatrix) {
  if (pMatrix == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::GetTransform(float* pMatrix) {
  if (pMatrix == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::GetTransform4x4(float* pMatrix) {
  if (pMatrix == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::SetFontFamily(const char16_t* pszName) {
  if (pszName == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::SetFontSize(float /*fSize*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::SetFontColor(const Color* pColor) {
  if (pColor == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::SetItalic(int32_t /*bItalic*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::SetBold(int32_t /*bBold*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::SetUnderline(uint8_t /*bUnderline*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::SetStrikethrough(uint8_t /*bStrikethrough*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::SetTextAlignment(uint32_t /*nAlignment*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::SetWordWrapping(uint32_t /*nWrapping*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::SetReadingDirection(uint32_t /*nDirection*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::SetLineSpacing(float /*fSpacing*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::CopySelection(TextDocument** ppDocument) {
  if (ppDocument == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::CloneText(TextDocument* const* ppSource, TextDocument** ppClone) {
  if (ppSource == nullptr || *ppSource == nullptr || ppClone == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::CloneCurrentText(TextDocument** ppClone) {
  if (ppClone == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

// Loading answers the host S_OK whatever the blob held, so even a null blob is no error here.
uint32_t CTextEditor::LoadText(const uint8_t* /*pBlob*/, uint32_t /*nSize*/,
                               TextDocument* /*pDocument*/) {
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::SaveText(uint8_t* /*pBuffer*/, uint32_t* pnSize,
                               TextDocument* /*pDocument*/) {
  if (pnSize == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::GetFontList(const char16_t** /*ppNames*/, uint32_t* pnCount,
                                  TextDocument* /*pDocument*/) {
  if (pnCount == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::GetPlainTextOf(TextDocument* pDocument, char16_t* /*pBuffer*/,
                                     uint32_t* pnSize) {
  if (pDocument == nullptr || pnSize == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::GetPlainText(char16_t* /*pBuffer*/, uint32_t* pnSize) {
  if (pnSize == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::GetTextLength() { return 0; }

uint32_t CTextEditor::GetTextLengthOf(TextDocument* /*pDocument*/) { return 0; }

uint32_t CTextEditor::IsPointOnText(float /*x*/, float /*y*/) { return 0; }

TextDocument* CTextEditor::FindTextAtPoint(float /*x*/, float /*y*/,
                                           TextDocument* const* /*ppDocuments*/,
                                           uint32_t /*nCount*/) {
  return nullptr;
}

uint32_t CTextEditor::HitTestBox(float /*x*/, float /*y*/, float /*fTolerance*/) { return 0; }

uint32_t CTextEditor::RenderTexts(const TextCanvas* pCanvas, TextDocument* const* ppDocuments,
                                  uint32_t nCount, int32_t /*nOffsetX*/, int32_t /*nOffsetY*/) {
  const uint32_t r = CheckCanvasAndList(pCanvas, ppDocuments, nCount);
  if (r != Result(S_OK)) return r;
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::RenderText(const TextCanvas* pCanvas, int32_t /*nOffsetX*/,
                                 int32_t /*nOffsetY*/) {
  const uint32_t r = CheckCanvas(pCanvas);
  if (r != Result(S_OK)) return r;
  return Result(E_NOTIMPL);
}

// ---- ITextEditor2 ----

uint32_t CTextEditor::SetAutoFit(int32_t /*bAutoFit*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::RegisterFonts(const PrivateFontRecord* pFonts, uint32_t nCount) {
  if (pFonts == nullptr) return Result(E_POINTER);
  if (nCount == 0) return Result(E_INVALIDARG);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::SetCharacterSpacing(float /*fSpacing*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::SetPairKerning(uint8_t /*bPairKerning*/) { return Result(E_NOTIMPL); }

uint32_t CTextEditor::GetTextFeatureLevel(int32_t* pnLevel) {
  if (pnLevel == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::GetSelectionRects(float* /*pRects*/, uint32_t* pnCount) {
  if (pnCount == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

// ---- ITextEditor3 ----

uint32_t CTextEditor::SetWarp(const WarpDesc* pWarp) {
  if (pWarp == nullptr) return Result(E_POINTER);
  if (pWarp->pHandles == nullptr && WarpHandleCountOf(pWarp->nType) > 0) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

// Unknown kinds count as one-handle kinds, as every kind but 0 and 15 does.
uint32_t CTextEditor::GetWarpHandleCount(int32_t nType) {
  return WarpHandleCountOf(static_cast<uint32_t>(nType));
}

uint32_t CTextEditor::GetWarpHandles(WarpDesc* pWarp) {
  if (pWarp == nullptr || pWarp->pHandles == nullptr) return Result(E_POINTER);
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::HasSelection() { return 0; }

uint32_t CTextEditor::RenderSelections(const TextCanvas* pCanvas, TextDocument* const* ppDocuments,
                                       uint32_t nCount, int32_t /*nOffsetX*/,
                                       int32_t /*nOffsetY*/) {
  const uint32_t r = CheckCanvasAndList(pCanvas, ppDocuments, nCount);
  if (r != Result(S_OK)) return r;
  return Result(E_NOTIMPL);
}

uint32_t CTextEditor::RenderSelection(const TextCanvas* pCanvas, int32_t /*nOffsetX*/,
                                      int32_t /*nOffsetY*/) {
  const uint32_t r = CheckCanvas(pCanvas);
  if (r != Result(S_OK)) return r;
  return Result(E_NOTIMPL);
}

}  // namespace Orvel
