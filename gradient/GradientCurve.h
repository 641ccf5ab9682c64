// The S-shaped interpolation curve of the gradient colour table: 1024 steps from 0 to 16384.
#pragma once

#include <array>
#include <cstdint>

namespace Orvel {

constexpr int kCurveSize = 1024;
constexpr int32_t kCurveFull = 16384;

// Half linear, half smoothstep 3t^2 - 2t^3 (t = i / 1023), pinned to eighteen fixed rows.
extern const std::array<int32_t, kCurveSize> g_Curve;

}  // namespace Orvel
