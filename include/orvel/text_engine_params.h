// What the engine's direct text operations take: text drawn with no document at all.
//
// They need no record of their own. Conventions they share:
// - Strings are zero-terminated UTF-16. A newline ends a paragraph; a carriage return before it
//   is laid out as a blank, so positions keep their meaning.
// - A range is a start and a length in UTF-16 units over the whole string; it may span
//   paragraphs, and a length of 0 selects nothing.
// - Alignment, wrapping and direction take the paragraph format values of the text records
//   (TEXT_ALIGNMENT_*, WORD_WRAPPING_*, READING_DIRECTION_*).
// - Text, stroke and shadow colours are drawn opaque: their alpha is not read. The selection
//   highlight keeps its alpha, and alpha 0 draws no highlight.
// - Matrices are 16 floats, row after row; only elements 0, 1, 4, 5, 12 and 13 act on text.
// - RenderText draws into a TextCanvas, the render target of the text editor as well.
#pragma once

#include "orvel/text_params.h"
#include "orvel/types.h"
