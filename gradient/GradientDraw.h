// The drawing kernels of the gradient tool: the table index of each shape, and the
// error-diffused writing of one strip.
#pragma once

#include <cstddef>
#include <cstdint>

#include "orvel/gradient_params.h"

namespace Orvel {

// Source of the random bit that each channel adds before truncation: a splitmix64 stream per
// strip, seeded with the strip number, so that a picture is the same every time for a given
// thread count and no strip shares state with another. Output n of the stream is
// mix(seed + (n + 1) x 0x9E3779B97F4A7C15); each output gives sixteen pixels four bits each,
// lowest first (blue, green, red, alpha), and the pixels of a strip take them in scan order,
// row after row. A reader can start anywhere in the stream, so rows drawn side by side each
// read their own part of it.
class DitherBits {
 public:
  DitherBits() : DitherBits(0, 0) {}
  // A reader at pixel nPixel of the strip's scan order.
  DitherBits(uint64_t nSeed, uint64_t nPixel)
      : m_nSeed(nSeed), m_nNext(nPixel / 16 + 1), m_nLeft(16 - static_cast<int>(nPixel % 16)) {
    m_nWord = Output(nSeed, nPixel / 16) >> (4 * (nPixel % 16));
  }

  // The four bits of the next pixel.
  uint32_t NextPixel() {
    const uint32_t bits = static_cast<uint32_t>(m_nWord & 15u);
    m_nWord >>= 4;
    if (--m_nLeft == 0) {
      m_nWord = Output(m_nSeed, m_nNext++);
      m_nLeft = 16;
    }
    return bits;
  }

  static uint64_t Output(uint64_t nSeed, uint64_t n) {
    uint64_t z = nSeed + (n + 1) * 0x9E3779B97F4A7C15ull;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }

 private:
  uint64_t m_nSeed;
  uint64_t m_nNext;  // the output that follows the current word
  uint64_t m_nWord = 0;
  int m_nLeft;  // pixels left in the current word
};

// What every pixel of one drawing shares: the axis and the table scale, all in 32-bit floats.
struct GradientAxis {
  float bx = 0, by = 0;  // ptBegin
  float dx = 0, dy = 0;  // ptEnd - ptBegin
  float L2 = 0;          // dx x dx + dy x dy
  float L = 0;           // sqrt(L2)
  float fx = 0, fy = 0;  // dx / L2, dy / L2
  float invL = 0;        // 1 / L, by a reciprocal square root and one Newton step
  float M = 0;           // last table index
};

GradientAxis MakeGradientAxis(Point ptBegin, Point ptEnd, int32_t nEntries);

// Table indices of one row for one shape: idx[k] for pixel x0 + k of row y, k < n, with x and
// y in buffer coordinates. Shapes 0 linear, 1 radial, 2 angle, 3 reflected, 4 diamond.
using IndexRowFn = void (*)(const GradientAxis& axis, int32_t y, int32_t x0, int32_t n,
                            int32_t* idx);
// Null for a type that draws nothing.
IndexRowFn GetIndexRowFn(int32_t nGradientType);

// One strip drawn with dithering: rows rcStrip.t..rcStrip.b and columns rcStrip.l..rcStrip.r
// of the buffer, in buffer coordinates, four 8-bit channels at nPixelStep bytes apart.
struct DitherStrip {
  uint8_t* pBuffer = nullptr;
  int32_t nStride = 0;
  int32_t nPixelStep = 4;
  IntRect rcStrip;
  const ColorF* pTable = nullptr;
  uint64_t nSeed = 0;         // the strip's generator
  float* pScratch = nullptr;  // DitherScratchFloats(width) floats, private to the strip
};

// Working memory of a strip of the given width: error rows and index rows.
size_t DitherScratchFloats(int32_t nWidth);

void DrawDitheredStrip(const DitherStrip& strip, const GradientAxis& axis, IndexRowFn indexRow);

// Tests: draws with the baseline build of the pixel loop (0), the AVX2 build (1) or the best
// the processor has (-1). False when the processor lacks the one asked for.
bool SetDitherKernelForTest(int nKernel);

}  // namespace Orvel
