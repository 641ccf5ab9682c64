// Images, stops and trace capture shared by the gradient tests.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/trace.h"
#include "orvel/gradient_params.h"

namespace Orvel::test {

// A BGRA8 buffer of w x h pixels with padding at the end of each row, filled with one byte.
struct Canvas {
  int w, h, stride;
  std::vector<uint8_t> mem;
  BufferData buf;
  Canvas(int w_, int h_, IntRect roi, uint8_t fill = 0xA5, int pad = 12)
      : w(w_), h(h_), stride(w_ * 4 + pad), mem(size_t(stride) * h_, fill) {
    buf.pBuffer = mem.data();
    buf.nWidth = w;
    buf.nHeight = h;
    buf.nStride = stride;
    buf.ROI = roi;
  }
  Canvas(int w_, int h_, uint8_t fill = 0xA5) : Canvas(w_, h_, IntRect{0, 0, w_, h_}, fill) {}
  const uint8_t* at(int x, int y) const { return &mem[size_t(y) * stride + size_t(x) * 4]; }
};

// Colour and opacity stops owned by the test, with a ReferenceParam view over them.
struct Stops {
  std::vector<float> colorPos, opacityPos, midpoints;
  std::vector<Color> colors;
  std::vector<int32_t> opacities;
  bool reverse = false;

  ReferenceParam param() const {
    ReferenceParam p;
    p.nColors = static_cast<int32_t>(colors.size());
    p.pColorPos = colorPos.data();
    p.pColors = colors.data();
    p.nOpacities = static_cast<int32_t>(opacities.size());
    p.pOpacityPos = opacityPos.data();
    p.pOpacities = opacities.data();
    p.nMidpoints = static_cast<int32_t>(midpoints.size());
    p.pMidpoints = midpoints.empty() ? nullptr : midpoints.data();
    p.bReverse = reverse;
    return p;
  }
};

// A table with fractional values almost everywhere: four colours, three opacities.
inline Stops rainbowStops() {
  Stops s;
  s.colorPos = {0.0f, 0.3f, 0.7f, 1.0f};
  s.colors = {Color(250, 3, 40, 0), Color(7, 240, 128, 0), Color(90, 10, 251, 0),
              Color(1, 200, 6, 0)};
  s.opacityPos = {0.0f, 0.45f, 1.0f};
  s.opacities = {255, 17, 201};
  return s;
}

// Collects trace lines while it lives.
struct TraceCapture {
  std::vector<std::string> lines;
  TraceCapture() {
    SetTraceSinkFn([](const char* line,
                      void* user) { static_cast<TraceCapture*>(user)->lines.emplace_back(line); },
                   this);
    SetTraceSwitch(1);
  }
  ~TraceCapture() {
    SetTraceSwitch(0);
    SetTraceSinkFn(nullptr, nullptr);
  }
  bool has(const std::string& text) const {
    for (const std::string& l : lines)
      if (l.find(text) != std::string::npos) return true;
    return false;
  }
};

}  // namespace Orvel::test
