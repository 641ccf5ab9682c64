// Debug trace: one formatted line per call, off unless the process-wide switch is set.
#pragma once

#include <atomic>

namespace Orvel {

using TraceSinkFn = void (*)(const char* line, void* user);

// Process-wide switch; 0 at start. A trace call with the switch at 0 tests it and returns.
extern std::atomic<int> g_nTraceSwitch;

void TraceLine(const char* format, ...) __attribute__((format(printf, 1, 2)));
void SetTraceSwitch(int nValue);
void SetTraceSinkFn(TraceSinkFn fn, void* user);

}  // namespace Orvel

// The check of the switch is inlined so that a disabled trace formats nothing.
#define Trace(...)                                                                    \
  do {                                                                                \
    if (::Orvel::g_nTraceSwitch.load(std::memory_order_relaxed) != 0)                \
      ::Orvel::TraceLine(__VA_ARGS__);                                                \
  } while (0)
