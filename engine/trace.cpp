#include "engine/trace.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace Orvel {

std::atomic<int> g_nTraceSwitch{0};

namespace {

std::mutex g_SinkMutex;
TraceSinkFn g_pfnSink = nullptr;
void* g_pSinkUser = nullptr;

}  // namespace

void SetTraceSwitch(int nValue) { g_nTraceSwitch.store(nValue, std::memory_order_relaxed); }

void SetTraceSinkFn(TraceSinkFn fn, void* user) {
  std::lock_guard<std::mutex> lock(g_SinkMutex);
  g_pfnSink = fn;
  g_pSinkUser = user;
}

void TraceLine(const char* format, ...) {
  if (g_nTraceSwitch.load(std::memory_order_relaxed) == 0) return;

  // The text is formatted into 512 bytes with truncation, then framed as one line.
  char text[512];
  va_list args;
  va_start(args, format);
  int n = std::vsnprintf(text, sizeof(text), format, args);
  va_end(args);
  if (n < 0) text[0] = '\0';

  char line[512 + 16];
  std::snprintf(line, sizeof(line), "[Orvel] %s\n", text);

  std::lock_guard<std::mutex> lock(g_SinkMutex);
  if (g_pfnSink) {
    g_pfnSink(line, g_pSinkUser);
  } else {
    std::fputs(line, stderr);
  }
}

}  // namespace Orvel
