#pragma once

namespace Orvel {

// Processor level by feature bits, each test a stop: 0 (no CPUID leaf or no SSE), 1 (no SSE2),
// 2 (no SSE3), 3 (no SSSE3), 4 (no SSE4.1), 5 (no SSE4.2), 6. Fast paths need level 5.
int GetProcessorLevel();

// The level at which every tool switches its fast path on.
constexpr int kFastPathLevel = 5;

}  // namespace Orvel
