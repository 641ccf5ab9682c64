// Parameter records of the paint tools: the fill with its magic wand, and the brush.
#pragma once

#include <cstdint>

#include "orvel/compositing_params.h"
#include "orvel/types.h"

namespace Orvel {

// Indices of FillParam::bOption. Index 0 carries nothing the engine reads.
enum : int32_t {
  FILL_TOOL_OPTION_CONSECUTIVE_PIXEL = 1,  // keep only what is 4-connected to the clicked pixel
  FILL_TOOL_OPTION_ANTI_ALIASING = 2,      // runs its pass; the written pixels stay hard-edged
};

// Where and what to fill.
struct FillParam {
  Point DropPt;             // the clicked pixel; each coordinate is truncated
  float fTolerance = 0.0f;  // 0..1
  Color FillColor;          // the paint
  bool bOption[3] = {false, false, false};
};

// Fill: the pixels of pBufIn that match the clicked one, painted into an object that is then
// dissolved, masked and placed on the output. The record holds exactly what the engine reads.
// prmBlend starts with bLegacyFlag set, which the placing step refuses: a host clears it.
struct FillToolParam {
  BufferData* pBufMask = nullptr;  // optional
  BufferData* pBufIn = nullptr;    // the image sampled; required
  FillParam prmFill;
  BlendParam prmBlend;
  Orvel::TransformMatrix TransformMatrix;  // places the object on the output
  IntRect ROI;                             // becomes the ROI of the object
};

// SetBrushParam: the dab and how strokes are blended.
struct BrushParam {
  int32_t bErase = 0;                 // above 0: the brush erases with BLEND_ERASE
  int32_t nBrushProfile = 0;          // 0..3
  int32_t nBlendMode = BLEND_NORMAL;  // ignored when erasing
  int32_t nDiameter = 0;              // limited to 1..5000
  int32_t nHardness = 0;  // percent; 0..95 for profiles 0 and 1, taken as 100 for 2 and 3
  Color crColor;          // b, g, r, and a as the base of the alpha cap
  int32_t nOpacity = 0;   // percent
  DissolveParam dissolve_param;
};

// DrawStroke: a finished stroke stamped into an object and placed on the output.
struct StrokeParam {
  BufferData* pBufMask = nullptr;  // optional
  int32_t nPoints = 0;
  const Point* pPoints = nullptr;  // the stroke's points, before TransformMatrix
  Orvel::TransformMatrix TransformMatrix;
  DissolveParam dissolve_param;
};

}  // namespace Orvel
