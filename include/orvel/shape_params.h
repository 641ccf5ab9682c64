// Parameter records of parametric shapes, shape selections and hit tests.
#pragma once

#include <cstdint>

#include "orvel/compositing_params.h"
#include "orvel/types.h"

namespace Orvel {

// A shape, as Shape draws it, HitTest tests it and GetContour outlines it.
//
// nShapeType: 0 rectangle, 1 rounded rectangle, 2 ellipse, 3 regular polygon, 4 star.
// Types 0..2 take two opposite corners in any order; types 3 and 4 take the centre (x0, y0)
// and the first vertex (x1, y1).
//
// nMergeMode is how Shape brings the drawn layer onto the output: a MERGE_* mode, or 5 to draw
// straight onto the output's pixels. It is kept last, after the geometry, since outlines and hit
// tests never read it. nReserved is carried for the host; only the outline cache compares it.
struct ShapeParam {
  int32_t nShapeType = 0;
  float x0 = 0.0f;
  float y0 = 0.0f;
  float x1 = 0.0f;
  float y1 = 0.0f;
  int32_t draw_type = 0;  // 0 fill, 1 solid stroke, 2 dashed stroke; other values draw nothing
  Color crFill;           // brush colour
  Color crStroke;         // pen colour
  int32_t nReserved = 0;
  float RectFitShape[4] = {0.0f, 0.0f, 0.0f, 0.0f};  // written: left, top, right, bottom
  Orvel::TransformMatrix TransformMatrix;  // only elements 0, 1, 4, 5, 12, 13 reach drawing
  int32_t nStrokeWidth = 1;                // pen width in pixels
  float DashLinePattern[16] = {};          // dash lengths, as multiples of the pen width
  int32_t nDashPatternSize = 0;            // entries used; above 16 keeps the previous dashes
  int32_t nCornerRadius = 0;               // type 1 only
  int32_t nSides = 0;                      // types 3 and 4; at least 3
  float fInnerRatio = 0.0f;                // type 4: depth of the points, 0..1
  bool bSmooth = false;                    // anti-aliased drawing
  int32_t nMergeMode = MERGE_ADD;
};

// Selection: a rectangle or ellipse rasterised into a single-channel mask.
struct SelectionParam {
  int32_t nSelectionType = 0;  // 1 is the shape selection; other values do nothing
  int32_t nShapeType = 0;      // 0 rectangle or 2 ellipse
  float x0 = 0.0f;
  float y0 = 0.0f;
  float x1 = 0.0f;
  float y1 = 0.0f;
  float RectFitShape[4] = {0.0f, 0.0f, 0.0f, 0.0f};  // copied along to the drawn shape
  Orvel::TransformMatrix TransformMatrix;
  bool bSmooth = false;  // grey mask edges
};

}  // namespace Orvel
