// Parameter records of gradients: the colour stops, the drawn gradient and the overlay style.
#pragma once

#include <cstdint>

#include "orvel/compositing_params.h"
#include "orvel/types.h"

namespace Orvel {

// Colour and opacity stops from which the gradient tool builds its colour table. The arrays stay
// the host's and are only read. Positions run from 0 to 1 in ascending order.
struct ReferenceParam {
  int32_t nColors = 0;                  // colour stops, at least 1
  const float* pColorPos = nullptr;     // nColors positions
  const Color* pColors = nullptr;       // nColors colours; b, g, r are read
  int32_t nOpacities = 0;               // opacity stops, at least 1
  const float* pOpacityPos = nullptr;   // nOpacities positions
  const int32_t* pOpacities = nullptr;  // nOpacities values, 0..255
  int32_t nMidpoints = 0;               // 0 for the default midpoints, else nColors - 1
  const float* pMidpoints = nullptr;    // per pair of colour stops, where the colour is half-way
  bool bReverse = false;                // mirrors the gradient; the glows set it themselves
};

// GenerateGradient: an object of nWidth x nHeight filled with the last built colour table,
// then dissolved, masked and placed on the output by TransformMatrix.
struct GradientParam {
  int32_t nGradientType = 0;          // 0 linear, 1 radial, 2 angle, 3 reflected, 4 diamond
  int32_t nBlendMode = BLEND_NORMAL;  // Erase is refused; Dissolve is applied before placing
  Point ptBegin;                      // the axis, in pixels of the object
  Point ptEnd;
  int32_t nWidth = 0;
  int32_t nHeight = 0;
  BufferData* pBufMask = nullptr;  // optional
  int32_t nOpacity = 0;            // percent
  Orvel::TransformMatrix TransformMatrix;
  DissolveParam dissolve_param;
};

// GradientOverlay: a gradient whose axis the engine derives from the shape's bounds, the angle,
// the scale and the offset. It extends GradientParam so that the drawing code takes it as one;
// the engine writes the derived ptBegin and ptEnd back into the host's record.
struct GradientOverlayParam : GradientParam {
  ReferenceParam referenceParam;
  int32_t nScale = 0;    // percent
  int32_t nAngle = 0;    // degrees, 0..360
  int32_t nOffsetX = 0;  // added to both points, in pixels
  int32_t nOffsetY = 0;
  IntRect rcShape;  // bounds of the shape
};

}  // namespace Orvel
