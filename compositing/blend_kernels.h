// Vector kernels of the blend tool besides the worker row: the fast flattening over a solid
// colour, and small entry points that run the vector arithmetic on plain arrays so that its
// exactness can be checked case by case.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "orvel/types.h"

namespace Orvel {

// Flattening onto a colour with (c x a + colour x (255 - a)) >> 8; 8-bit and 16-bit input.
void FastFlatten8(const BufferData& in, BufferData& out, const Color& color);
void FastFlatten16(const BufferData& in, BufferData& out, const Color& color);

// The instruction sets compiled into the fast row (HWY_* target bits) that this processor
// can run.
std::vector<int64_t> FastBlendTargets();

// out[i] = num[i] / den[i] by the vector division of the fast row; num 0..65025, den 1..255.
void FastDivideProbe(const int32_t* num, const int32_t* den, int32_t* out, size_t n);
// out[i] = x[i] / 255 by the vector form of D(x); x 0..65535.
void FastDiv255Probe(const int32_t* x, int32_t* out, size_t n);
// The fast row's 192-step hue and lum8 of colours given as b, g, r, a.
void FastHueProbe(const uint8_t* bgra, int32_t* hue, int32_t* lum8, size_t n);
// The fast row's rebuild(h, C, L) on the 192-step wheel; out is b, g, r, a (a is 0).
void FastRebuildProbe(const int32_t* h, const int32_t* C, const int32_t* L, uint8_t* bgra,
                      size_t n);

}  // namespace Orvel
