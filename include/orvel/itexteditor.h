// The text editor interfaces, one single-inheritance chain: ITextEditor3 : ITextEditor2 :
// ITextEditor. One table serves all three, so every name that QueryInterface accepts for them
// yields the same object, and the order of the declarations below is the order a host binds to.
//
// Where the three interfaces divide the table:
// - ITextEditor: documents, view, box, editing, caret, character and paragraph formats, copies,
//   blobs, queries, hit tests and rendering (CreateText .. RenderText).
// - ITextEditor2: automatic box fitting, private fonts, character spacing and pair kerning with
//   the feature level that tells whether they take effect, selection rectangles
//   (SetAutoFit .. GetSelectionRects). Spacing and kerning are what a blob's extra character
//   part carries.
// - ITextEditor3: warps with their handles, the selection flag and selection-only rendering
//   (SetWarp .. RenderSelection), then the destructor, which ends the table. Warp handles are
//   what the current blob version adds.
//
// Results are status codes of types.h in an unsigned 32-bit word (S_FALSE: nothing changed, or
// the caret did not move), except where a comment says the result is a value. Operations on the
// current document answer E_FAIL when there is none; those returning a value answer 0 or null.
// Points and matrices are in view space unless a comment says otherwise. Matrices are affine
// (a, b, c, d, e, f) acting on row vectors: (x, y) -> (a x + c y + e, b x + d y + f).
#pragma once

#include <cstdint>

#include "orvel/text_params.h"
#include "orvel/types.h"

namespace Orvel {

class ITextEditor {
 public:
  // Makes a document in its initial state, makes it current and stores it in *ppDocument.
  virtual uint32_t CreateText(TextDocument** ppDocument) = 0;
  // Makes pDocument current (null: no current document); S_FALSE if it already is.
  virtual uint32_t SetCurrentText(TextDocument* pDocument) = 0;
  // Destroys a document, first clearing it as current if it is.
  virtual uint32_t DeleteText(TextDocument* pDocument) = 0;
  // Value: the current document, or null.
  virtual TextDocument* GetCurrentText() = 0;
  // Sets the size of the image the text belongs to; both above 0.
  virtual uint32_t SetCanvasSize(float fWidth, float fHeight) = 0;
  // Sets the view size in pixels; 0 or less in either resets it to the canvas size.
  virtual uint32_t SetViewSize(float fWidth, float fHeight) = 0;
  // Sets the text box (view pixels) and keeps it until the next edit refits it.
  virtual uint32_t SetBoxSize(float fWidth, float fHeight) = 0;
  // Writes the text box size in view pixels.
  virtual uint32_t GetBoxSize(float* pfWidth, float* pfHeight) = 0;
  // Sets the inset around the box, in view pixels.
  virtual uint32_t SetBoxInset(float fInset) = 0;
  // Writes the inset around the box, in view pixels.
  virtual uint32_t GetBoxInset(float* pfInset) = 0;
  // Writes the four corners (8 floats) of the inset box of the current document.
  virtual uint32_t GetBoxQuad(float* pQuad) = 0;
  // Writes the four corners (8 floats) of the inset box of any document.
  virtual uint32_t GetBoxQuadOf(TextDocument* pDocument, float* pQuad) = 0;
  // Replaces the selection with the characters and paragraphs of another document.
  virtual uint32_t InsertText(TextDocument* pSource) = 0;
  // Replaces the selection with the content of a blob of nSize bytes.
  virtual uint32_t InsertBlob(const uint8_t* pBlob, uint32_t nSize) = 0;
  // Replaces the selection with the one character of pFormat, in its format.
  virtual uint32_t InsertChar(const CharFormat* pFormat) = 0;
  // Replaces the selection with a zero-terminated string in the format of pFormat.
  virtual uint32_t InsertString(const CharFormat* pFormat, const char16_t* pszText) = 0;
  // Deletes the selection, or the character before the caret.
  virtual uint32_t Backspace() = 0;
  // Deletes the selection, or the character after the caret.
  virtual uint32_t DeleteForward() = 0;
  // Moves the caret one line up; non-zero bExtend extends the selection, zero collapses it.
  virtual uint32_t MoveCaretUp(uint32_t bExtend) = 0;
  // Moves the caret one line down.
  virtual uint32_t MoveCaretDown(uint32_t bExtend) = 0;
  // Moves the caret one code unit back.
  virtual uint32_t MoveCaretLeft(uint32_t bExtend) = 0;
  // Moves the caret one code unit forward.
  virtual uint32_t MoveCaretRight(uint32_t bExtend) = 0;
  // Moves the caret to the start of its line.
  virtual uint32_t MoveCaretLineStart(uint32_t bExtend) = 0;
  // Moves the caret to the end of its line.
  virtual uint32_t MoveCaretLineEnd(uint32_t bExtend) = 0;
  // Moves the caret to index 0.
  virtual uint32_t MoveCaretTextStart(uint32_t bExtend) = 0;
  // Moves the caret to the end of the text.
  virtual uint32_t MoveCaretTextEnd(uint32_t bExtend) = 0;
  // Moves the caret to the character nearest a point.
  virtual uint32_t SetCaretFromPoint(float x, float y, uint32_t bExtend) = 0;
  // Moves the caret to a character index, at most the text length.
  virtual uint32_t SetCaret(uint32_t nIndex, uint32_t bExtend) = 0;
  // Selects the whole text, the caret at its end.
  virtual uint32_t SelectAll() = 0;
  // Writes the caret's top and bottom points; four zeros when it lies below the box.
  virtual uint32_t GetCaretLine(Point* pTop, Point* pBottom) = 0;
  // Writes the caret index.
  virtual uint32_t GetCaretIndex(uint32_t* pnIndex) = 0;
  // Writes the format of the character at the caret, box and matrix in view terms.
  virtual uint32_t GetCaretFormat(CaretFormat* pFormat) = 0;
  // Sets the colour of the selection highlight.
  virtual uint32_t SetSelectionColor(const Color* pColor) = 0;
  // Non-zero hides selection highlights in renders, zero shows them; needs no document.
  virtual uint32_t HideSelection(int32_t bHide) = 0;
  // Sets the outline width and its colour, three channels blue, green, red.
  virtual uint32_t SetStroke(float fWidth, const int32_t* pnColor) = 0;
  // Sets the unit of the outline width (STROKE_MODE_*).
  virtual uint32_t SetStrokeMode(uint32_t nMode) = 0;
  // Value: the unit of the outline width.
  virtual uint32_t GetStrokeMode() = 0;
  // Sets the shadow: opacity 0..1, distance -100..100 canvas pixels, colour.
  virtual uint32_t SetShadow(float fOpacity, float fDistance, const Color* pColor) = 0;
  // Sets the text transform from 6 floats a..f; a singular matrix is refused.
  virtual uint32_t SetTransform(const float* pMatrix) = 0;
  // Sets the text transform from a row-major 4 x 4 (elements 0, 1, 4, 5, 12, 13).
  virtual uint32_t SetTransform4x4(const float* pMatrix) = 0;
  // Writes the text transform as 6 floats a..f.
  virtual uint32_t GetTransform(float* pMatrix) = 0;
  // Writes the text transform as a row-major 4 x 4 (16 floats).
  virtual uint32_t GetTransform4x4(float* pMatrix) = 0;
  // Sets the font of the selection.
  virtual uint32_t SetFontFamily(const char16_t* pszName) = 0;
  // Sets the font size of the selection.
  virtual uint32_t SetFontSize(float fSize) = 0;
  // Sets the colour of the selection.
  virtual uint32_t SetFontColor(const Color* pColor) = 0;
  // Sets or clears italic on the selection.
  virtual uint32_t SetItalic(int32_t bItalic) = 0;
  // Sets or clears bold on the selection.
  virtual uint32_t SetBold(int32_t bBold) = 0;
  // Sets or clears underline on the selection.
  virtual uint32_t SetUnderline(uint8_t bUnderline) = 0;
  // Sets or clears strikethrough on the selection.
  virtual uint32_t SetStrikethrough(uint8_t bStrikethrough) = 0;
  // Sets the alignment (TEXT_ALIGNMENT_*) of the paragraphs at the caret or selection.
  virtual uint32_t SetTextAlignment(uint32_t nAlignment) = 0;
  // Sets the wrapping (WORD_WRAPPING_*) of those paragraphs.
  virtual uint32_t SetWordWrapping(uint32_t nWrapping) = 0;
  // Sets the reading direction (READING_DIRECTION_*) of those paragraphs.
  virtual uint32_t SetReadingDirection(uint32_t nDirection) = 0;
  // Sets the line spacing factor of those paragraphs; 0 is the font's own spacing.
  virtual uint32_t SetLineSpacing(float fSpacing) = 0;
  // Copies the selection into *ppDocument, a new document when it is null.
  virtual uint32_t CopySelection(TextDocument** ppDocument) = 0;
  // Makes a deep copy of *ppSource into *ppClone, which must be null.
  virtual uint32_t CloneText(TextDocument* const* ppSource, TextDocument** ppClone) = 0;
  // Makes a deep copy of the current document into *ppClone, which must be null.
  virtual uint32_t CloneCurrentText(TextDocument** ppClone) = 0;
  // Reads a blob into pDocument or, when null, the current document; answers S_OK.
  virtual uint32_t LoadText(const uint8_t* pBlob, uint32_t nSize, TextDocument* pDocument) = 0;
  // Writes pDocument (null: the current one) as a blob; a null buffer only asks the size.
  virtual uint32_t SaveText(uint8_t* pBuffer, uint32_t* pnSize, TextDocument* pDocument) = 0;
  // Lists the distinct font names in use; a null array asks the size of the process's name table.
  virtual uint32_t GetFontList(const char16_t** ppNames, uint32_t* pnCount,
                               TextDocument* pDocument) = 0;
  // Copies a document's text with its terminator; a null buffer asks the size in code units.
  virtual uint32_t GetPlainTextOf(TextDocument* pDocument, char16_t* pBuffer, uint32_t* pnSize) = 0;
  // Copies the current document's text likewise.
  virtual uint32_t GetPlainText(char16_t* pBuffer, uint32_t* pnSize) = 0;
  // Value: the length of the current text in code units.
  virtual uint32_t GetTextLength() = 0;
  // Value: the length of a document's text; 0 for null.
  virtual uint32_t GetTextLengthOf(TextDocument* pDocument) = 0;
  // Value: 1 if a point lies on a line of the current text, else 0.
  virtual uint32_t IsPointOnText(float x, float y) = 0;
  // Value: the first of nCount documents, in array order, whose text a point hits, or null.
  virtual TextDocument* FindTextAtPoint(float x, float y, TextDocument* const* ppDocuments,
                                        uint32_t nCount) = 0;
  // Value: the zone code (HITBOX_*) of a point against the box, within a tolerance.
  virtual uint32_t HitTestBox(float x, float y, float fTolerance) = 0;
  // Draws documents from the last to the first; the offsets shift the text's origin back.
  virtual uint32_t RenderTexts(const TextCanvas* pCanvas, TextDocument* const* ppDocuments,
                               uint32_t nCount, int32_t nOffsetX, int32_t nOffsetY) = 0;
  // Draws the current document.
  virtual uint32_t RenderText(const TextCanvas* pCanvas, int32_t nOffsetX, int32_t nOffsetY) = 0;

 protected:
  ~ITextEditor() = default;
};

class ITextEditor2 : public ITextEditor {
 public:
  // Makes the box height follow the text after the next layout (non-zero) or not.
  virtual uint32_t SetAutoFit(int32_t bAutoFit) = 0;
  // Registers nCount fonts of the host's; the array must outlive the editor's use of it.
  virtual uint32_t RegisterFonts(const PrivateFontRecord* pFonts, uint32_t nCount) = 0;
  // Sets the character spacing of the selection.
  virtual uint32_t SetCharacterSpacing(float fSpacing) = 0;
  // Sets or clears pair kerning on the selection.
  virtual uint32_t SetPairKerning(uint8_t bPairKerning) = 0;
  // Writes 3 when spacing and kerning take effect, else 0.
  virtual uint32_t GetTextFeatureLevel(int32_t* pnLevel) = 0;
  // Writes the selection's rectangles (4 floats each, text space); a null array asks the count.
  virtual uint32_t GetSelectionRects(float* pRects, uint32_t* pnCount) = 0;

 protected:
  ~ITextEditor2() = default;
};

class ITextEditor3 : public ITextEditor2 {
 public:
  // Sets the warp kind and its handles.
  virtual uint32_t SetWarp(const WarpDesc* pWarp) = 0;
  // Value: the handles a warp kind needs (WarpHandleCountOf); needs no document.
  virtual uint32_t GetWarpHandleCount(int32_t nType) = 0;
  // Writes the stored handles into pWarp->pHandles, their second points in view space.
  virtual uint32_t GetWarpHandles(WarpDesc* pWarp) = 0;
  // Value: 1 if the current document has a selection, else 0.
  virtual uint32_t HasSelection() = 0;
  // Draws only the selection highlights of documents, as RenderTexts draws documents.
  virtual uint32_t RenderSelections(const TextCanvas* pCanvas, TextDocument* const* ppDocuments,
                                    uint32_t nCount, int32_t nOffsetX, int32_t nOffsetY) = 0;
  // Draws only the selection highlight of the current document.
  virtual uint32_t RenderSelection(const TextCanvas* pCanvas, int32_t nOffsetX,
                                   int32_t nOffsetY) = 0;
  // Ends the table; the editor lives as long as its engine, so hosts never delete it.
  virtual ~ITextEditor3() = default;
};

}  // namespace Orvel
