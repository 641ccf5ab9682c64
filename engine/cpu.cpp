#include "engine/cpu.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#else
#include <hwy/targets.h>
#endif

namespace Orvel {

int GetProcessorLevel() {
#if defined(__x86_64__) || defined(__i386__)
  unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
  if (__get_cpuid_max(0, nullptr) == 0) return 0;
  if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return 0;
  if (!(edx & bit_SSE)) return 0;
  if (!(edx & bit_SSE2)) return 1;
  if (!(ecx & bit_SSE3)) return 2;
  if (!(ecx & bit_SSSE3)) return 3;
  if (!(ecx & bit_SSE4_1)) return 4;
  if (!(ecx & bit_SSE4_2)) return 5;
  return 6;
#else
  // Without x86 feature bits, a vector target of the SIMD library stands for the fast level.
  return (hwy::SupportedTargets() & ~(HWY_SCALAR | HWY_EMU128)) != 0 ? kFastPathLevel : 0;
#endif
}

}  // namespace Orvel
