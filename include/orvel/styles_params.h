// Parameter records of the layer styles: shadow, border, glows, bevel and the one-shot path.
#pragma once

#include <cstdint>

#include "orvel/gradient_params.h"
#include "orvel/types.h"

namespace Orvel {

// A drop or inner shadow. The blur of size s is two box passes of radii (2 s) / 5 and the rest.
struct ShadowParam {
  Color color;           // b, g, r go to every output pixel; a is not read
  int32_t size = 0;      // blur size in pixels
  int32_t distance = 0;  // offset in pixels
  int32_t angle = 0;     // light direction in degrees; the shadow falls opposite, y down
  int32_t spread = 0;    // percent that hardens the edge (Shadow and Shadow2 only)
  int32_t variant = 0;   // Shadow: percent kept under the source; Shadow2: 0 outer, 1 inner
};

// Room and placement of a shadow. The queries write nMargin and elements 12 and 13 of
// Transform, and leave the other elements as the host set them.
struct ShadowInfo {
  int32_t nMargin = 0;
  TransformMatrix Transform;
};

// A solid ring made by dilating the layer's silhouette with a disc.
// QueryBorderInfo answers the margin in a plain integer, so there is no border info record.
struct BorderParam {
  Color color;           // a is not read
  int32_t size = 0;      // thickness in pixels; 0 makes Border a no-op
  int32_t position = 0;  // 0 outside, 1 inside, 2 centred; any other value acts as 0
};

// ApplyLayerStyles: shadow and outside border painted under the layer in its own buffer.
// Only color, size, distance and angle of the shadow and color and size of the border are read.
struct StylesParam {
  ShadowParam shadowParam;
  BorderParam borderParam;
  int32_t nShadowOpacity = 0;  // percent; 0 switches the shadow off
  int32_t nBorderOpacity = 0;  // percent; 0 switches the border off
};

// OuterGlow and InnerGlow. QueryGlowInfo answers the margin in a plain integer, so there is no
// glow info record. A host's own record may keep further fields of its own between
// nNoiseHeight and spread; the engine reads none, so this record declares none.
struct GlowParam {
  ReferenceParam referenceParam;  // colours and opacities of the falloff
  int32_t nTechnique = 0;         // 0 soft (blurred field), 1 precise (distance field)
  int32_t nNoiseType = 0;         // noise is used only when this is 1
  int32_t nNoiseWidth = 0;        // must equal the registered pattern's size
  int32_t nNoiseHeight = 0;
  int32_t spread = 0;         // percent that bends the falloff
  int32_t size = 0;           // glow size in pixels
  int32_t nNoise = 0;         // percent of noise; 0 or less switches it off
  float fNoiseScaleX = 0.0f;  // pixel position to noise position
  float fNoiseScaleY = 0.0f;
  float fNoiseOffsetX = 0.0f;  // added to the pixel position before scaling
  float fNoiseOffsetY = 0.0f;
  int32_t nSource = 0;  // InnerGlow only: 0 or 1
};

// Bevel: highlight and shadow light maps from the signed distance to the shape's edge. A host's
// record may keep fields of its own around the two colours; the engine reads none of them, so
// this record declares none.
struct BevelParam {
  int32_t nStyle = 0;         // 0 inner bevel, 1 outer bevel, 2 emboss, 3 pillow emboss
  int32_t angle = 0;          // light direction in degrees
  int32_t altitude = 0;       // height of the light in degrees, 0..90
  int32_t nDirection = 0;     // 1 turns the surface over
  int32_t size = 0;           // bevel width in pixels; 0 makes the operation a no-op
  int32_t depth = 0;          // percent of slope; 0 makes the operation a no-op
  int32_t softenSurface = 0;  // radius that smooths the distance field
  int32_t softenResult = 0;   // radius of the final blur of both maps; negatives count 0
  Color highlightColor;       // b, g, r go to every pixel of the highlight image
  Color shadowColor;          // b, g, r go to every pixel of the shadow image
};

}  // namespace Orvel
