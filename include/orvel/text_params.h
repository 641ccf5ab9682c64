// Records and constants of the text editor interface (ITextEditor .. ITextEditor3).
//
// Choices made where the records leave room:
// - Wide strings are UTF-16, `char16_t`, everywhere: font names, plain text, face names.
// - `PrivateFontRecord` names a font by file: `pszFontFile` (UTF-8 path) and `nFaceIndex` stand
//   where a font collection and a font face object would be on other platforms. The path is a
//   pointer, not a buffer, because the array stays the host's and must outlive the editor's use
//   of it anyway.
// - The caret format is `CaretFormat`: header, paragraph record, character format, laid out as a
//   one-paragraph, one-character blob whose character keeps its font name as a pointer. With
//   64-bit pointers that is 176 bytes (112 + 12 + 4 bytes of alignment + 48), the size that its
//   `nBlobSize` and `nHeaderTag` carry.
// - `ParaFormat` is the host-visible part of a paragraph: the 12-byte paragraph record of the
//   blob. The paragraph nodes of the model begin with these same fields.
// - Status results travel as unsigned 32-bit words holding the codes of types.h;
//   `Failed(HRESULT(r))` tests them.
// - Inputs are passed through pointers to const; that changes no layout and no calling sequence.
#pragma once

#include <cstddef>
#include <cstdint>

#include "orvel/types.h"

namespace Orvel {

// One editable styled text. The host holds it by handle; only the library sees inside.
struct TextDocument;

// Target of every text render: FORMAT_BGRA8 pixels, top row first, stride always nWidth * 4.
struct TextCanvas {
  uint8_t* pPixels = nullptr;  // the caller's memory, drawn into
  int32_t nWidth = 0;
  int32_t nHeight = 0;
};

// A font of the host's, given to RegisterFonts. The array stays the host's: the text object
// keeps pointers to its elements.
struct PrivateFontRecord {
  char16_t szFaceName[32] = {};       // face name, as documents refer to it
  char16_t szFamilyName[256] = {};    // family to lay out with when the face name is asked for
  const char* pszFontFile = nullptr;  // UTF-8 path of the font file
  uint32_t nFaceIndex = 0;            // face within that file
};

// One control of a warp: the host drags Second; fMin and fMax (0..1) clamp the value read from it.
struct WarpHandle {
  Point First;
  Point Second;
  float fMin = 0.0f;
  float fMax = 1.0f;
};

// Warp kind and its handles: argument of SetWarp and GetWarpHandles.
struct WarpDesc {
  uint32_t nType = 0;  // 0: no warp; 1..27: the warp kinds
  uint32_t nHandleCount = 0;
  WarpHandle* pHandles = nullptr;
};

enum : uint32_t {
  WARP_NONE = 0,
  WARP_KIND_LAST = 27,
  WARP_TWO_HANDLES = 15,  // the one kind with two handles
};

// Handles that a warp kind needs: none without a warp, two for kind 15, one for every other
// value, unknown kinds included.
constexpr uint32_t WarpHandleCountOf(uint32_t nType) {
  return nType == WARP_NONE ? 0u : (nType == WARP_TWO_HANDLES ? 2u : 1u);
}

// A complete character format: what InsertChar and InsertString insert, and the character part
// of CaretFormat. The defaults are those of the blank that ends every document.
struct CharFormat {
  char16_t ch = u' ';  // UTF-16 code unit
  uint16_t chPad = 0;
  float fSize = 24.0f;  // font size in text-space pixels
  Orvel::Color Color{255, 255, 255, 255};
  uint8_t bItalic = 0;
  uint8_t bBold = 0;
  uint8_t bUnderline = 0;
  uint8_t bStrikethrough = 0;
  float fCharSpacing = 0.0f;  // extra advance after each character
  uint8_t bPairKerning = 1;
  const char16_t* pFontName = u"Arial";  // the editor answers with its interned copy
};

// Paragraph format values.
enum : uint8_t {
  TEXT_ALIGNMENT_LEADING = 0,
  TEXT_ALIGNMENT_TRAILING = 1,
  TEXT_ALIGNMENT_CENTER = 2,
  TEXT_ALIGNMENT_JUSTIFIED = 3,
};
enum : uint8_t {
  WORD_WRAPPING_WRAP = 0,
  WORD_WRAPPING_NO_WRAP = 1,
};
enum : uint8_t {
  READING_DIRECTION_LEFT_TO_RIGHT = 0,
  READING_DIRECTION_RIGHT_TO_LEFT = 1,
};

// A paragraph's format and length, as the blob's paragraph record holds it.
struct ParaFormat {
  uint8_t nTextAlignment = TEXT_ALIGNMENT_LEADING;
  uint8_t nWordWrapping = WORD_WRAPPING_WRAP;
  uint8_t nReadingDirection = READING_DIRECTION_LEFT_TO_RIGHT;
  uint8_t nReserved = 0;      // always 0 in a blob
  float fLineSpacing = 0.0f;  // factor; 0 keeps the font's own spacing
  uint32_t nLength = 1;       // characters, closing newline or final blank included
};

// Units of fStrokeWidth (SetStrokeMode); any non-zero mode means pixels.
enum : uint32_t {
  STROKE_MODE_FONT_HUNDREDTHS = 0,
  STROKE_MODE_PIXELS = 1,
};

// The document-wide settings, in the order and layout that a blob's header stores them.
struct TextHeader {
  uint32_t nBlobSize = 0;  // filled only while a blob is written
  uint32_t nHeaderTag = 112;
  uint32_t nRecordSizeSum = 164;  // header + paragraph + character + extra record sizes
  uint32_t nStrokeMode = STROKE_MODE_FONT_HUNDREDTHS;
  float fStrokeWidth = 0.0f;
  Color StrokeColor;             // alpha is stored, drawing uses 255
  float fShadowOpacity = 0.0f;   // 0..1; 0 means no shadow
  float fShadowDistance = 0.0f;  // -100..100 canvas pixels, the same on both axes
  Color ShadowColor;             // drawing uses 255 for alpha
  float fCanvasWidth = 0.0f;
  float fCanvasHeight = 0.0f;
  float fBoxWidth = 0.0f;  // text box, in text space
  float fBoxHeight = 0.0f;
  float Transform[6] = {1, 0, 0, 1, 0, 0};  // a, b, c, d, e, f: text space to canvas space
  uint32_t nParaCount = 0;                  // filled only while a blob is written
  uint32_t nWarpType = WARP_NONE;
  uint32_t nWarpHandleCount = 0;  // filled only while a blob is written
};

// Format at the caret (GetCaretFormat): a one-paragraph, one-character blob in memory.
// GetCaretFormat writes 176 into nBlobSize and nHeaderTag, 1 into nParaCount, 0 into
// nWarpHandleCount and 1 into the paragraph's nLength.
struct CaretFormat {
  TextHeader Header;
  ParaFormat Para;
  CharFormat Char;
};

// Record sizes and version of the blob format.
enum : uint32_t {
  BLOB_HEADER_SIZE = 112,
  BLOB_HEADER_SIZE_V0 = 104,  // the oldest blobs lack the warp fields
  BLOB_PARA_SIZE = 12,
  BLOB_CHAR_SIZE = 32,
  BLOB_EXTRA_SIZE = 8,  // character spacing and pair kerning
  BLOB_HANDLE_SIZE = 24,
  BLOB_TRAILER_SIZE = 52,
  BLOB_VERSION = 2,
  BLOB_RECORD_SIZE_SUM_V0 = 148,  // marks a blob without a trailer
  CARET_FORMAT_SIZE = 176,
};

// What Update must redo. Any non-zero value makes it work; a change of the characters sets
// every bit, a character format DIRTY_CHAR | DIRTY_BOX, a paragraph format DIRTY_PARA | DIRTY_BOX.
enum : uint32_t {
  DIRTY_SELECTION = 1,
  DIRTY_BOX = 2,
  DIRTY_CHAR = 4,
  DIRTY_PARA = 8,
  DIRTY_EFFECT = 16,
  DIRTY_TEXT = 32,  // never set alone: only a change of the characters sets it
  DIRTY_ALL = 63,
};

// Zone codes of HitTestBox: one scale for x in the low byte, the same shifted by
// HITBOX_VERTICAL_SHIFT for y; the result is their sum.
enum : uint32_t {
  HITBOX_CENTRE_LINE = 0x01,
  HITBOX_INSIDE = 0x02,
  HITBOX_EDGE = 0x04,
  HITBOX_OUTSIDE = 0x08,
  HITBOX_FAR_HALF = 0x10,  // with one of the above: right of (below) the centre line
  HITBOX_VERTICAL_SHIFT = 8,
};

// These layouts are what blobs and hosts exchange byte for byte.
static_assert(sizeof(TextHeader) == BLOB_HEADER_SIZE, "header is the blob's 112 bytes");
static_assert(offsetof(TextHeader, StrokeColor) == 20 && offsetof(TextHeader, ShadowColor) == 44 &&
                  offsetof(TextHeader, Transform) == 76 && offsetof(TextHeader, nWarpType) == 104,
              "header offsets are the blob's");
static_assert(sizeof(ParaFormat) == BLOB_PARA_SIZE, "paragraph record is 12 bytes");
static_assert(offsetof(CharFormat, bPairKerning) == BLOB_CHAR_SIZE,
              "character fields up to the kerning flag fill 32 bytes");
static_assert(sizeof(WarpHandle) == BLOB_HANDLE_SIZE, "warp handle record is 24 bytes");
static_assert(sizeof(void*) != 8 || sizeof(CaretFormat) == CARET_FORMAT_SIZE,
              "caret format is 176 bytes with 64-bit pointers");

}  // namespace Orvel
