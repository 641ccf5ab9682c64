// Parameter records of blending, dissolve and noise, masks, merges and the plain transform.
#pragma once

#include <cstdint>

#include "orvel/types.h"

namespace Orvel {

// Blend mode numbers. The order is fixed and is not the order of a user menu: the number
// indexes the per-mode tables of the blend and transform tools directly.
enum : int32_t {
  BLEND_NORMAL = 0,
  BLEND_DARKEN = 1,
  BLEND_MULTIPLY = 2,
  BLEND_LINEAR_BURN = 3,
  BLEND_LIGHTEN = 4,
  BLEND_SCREEN = 5,
  BLEND_LINEAR_DODGE = 6,
  BLEND_OVERLAY = 7,
  BLEND_LINEAR_LIGHT = 8,
  BLEND_DIFFERENCE = 9,
  BLEND_EXCLUSION = 10,
  BLEND_HUE = 11,
  BLEND_SATURATION = 12,
  BLEND_LUMINOSITY = 13,
  BLEND_ERASE = 14,  // changes only the destination's alpha
  BLEND_HARD_LIGHT = 15,
  BLEND_SOFT_LIGHT = 16,
  BLEND_COLOR_BURN = 17,
  BLEND_COLOR_DODGE = 18,
  BLEND_VIVID_LIGHT = 19,
  BLEND_PIN_LIGHT = 20,
  BLEND_HARD_MIX = 21,
  BLEND_COLOR = 22,
  BLEND_SUBTRACT = 23,
  BLEND_DIVIDE = 24,
  BLEND_DARKER_COLOR = 25,
  BLEND_LIGHTER_COLOR = 26,
  BLEND_DISSOLVE = 27,  // hardens the source's alpha against noise, then blends as Normal
};
constexpr int32_t BLEND_MODE_COUNT = 28;

// Modes of MergeParam (all five) and MaskMergeParam (the first three).
enum : int32_t {
  MERGE_ADD = 0,
  MERGE_SUBTRACT = 1,
  MERGE_INTERSECT = 2,
  MERGE_EXCLUDE = 3,
  MERGE_REPLACE = 4,
};

// Placement of the noise of the dissolve mode. The scale maps pixel coordinates to noise
// coordinates, so that the noise keeps its place in a zoomed view.
struct DissolveParam {
  uint32_t nSeed = 1;
  int32_t nOffsetX = 0;  // added to a pixel's column before scaling
  int32_t nOffsetY = 0;  // added to a pixel's row before scaling
  int32_t nWidth = 0;    // columns of the noise table
  int32_t nHeight = 0;   // rows of the noise table
  float fScale = 1.0f;
};

// The one record through which every tool asks for blending.
// bLegacyFlag starts set and the transform tool refuses a record that carries it, so a host
// that hands a BlendParam on to a transforming operation clears it first.
struct BlendParam {
  int32_t nBlendMode = BLEND_NORMAL;  // 0..27, not range-checked
  int32_t nOpacity = 100;             // percent
  bool bLegacyFlag = true;
  bool bOverwrite = false;  // write only the blended colour; the destination's alpha stays
  DissolveParam dissolve_param;
};

// Noise pattern to generate (GenerateNoisePattern) or to register (SetNoisePattern).
// The host supplies Pattern.pBuffer: nWidth x nHeight elements with no row padding, bytes for
// nType 0 and 16-bit values for nType 1. A registered record must outlive its registration.
struct NoiseParam {
  int32_t nType = 0;  // 0: bytes drawn on 0..255; 1: 16-bit values drawn on 0..510
  int32_t nWidth = 0;
  int32_t nHeight = 0;
  int32_t nSeed = 0;
  bool bUseRegion = false;  // outside rcRegion the values come from a second generator
  IntRect rcRegion;
  BufferData Pattern;
};

// MergeMask: combines two single-channel masks; the source is read shifted by rcMerge's corner.
struct MaskMergeParam {
  int32_t nMergeMode = MERGE_ADD;  // MERGE_ADD, MERGE_SUBTRACT or MERGE_INTERSECT
  IntRect rcMerge;
};

// Merge: combines the selections held in the alpha of two four-channel buffers.
struct MergeParam {
  int32_t nMergeMode = MERGE_ADD;  // any MERGE_* mode
  IntRect rcMerge;
  int32_t nReserved[4] = {0, 0, 0, 0};  // carried for the host; never read
  Color crMerge;                        // colour given to pixels that the merge adds
};

// Transform: the source and the matrix that places it on the output. BlurMask needs no record:
// it takes a pointer to its radius.
struct TransformParam {
  BufferData* pBufIn = nullptr;
  Orvel::TransformMatrix TransformMatrix;
};

}  // namespace Orvel
