// Value types and status codes shared by every operation of the engine.
#pragma once

#include <cstdint>

namespace Orvel {

// Status codes in the style of HRESULT: negative means failure.
typedef int32_t HRESULT;
constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFu);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);

inline bool Failed(HRESULT hr) { return hr < 0; }
inline bool Succeeded(HRESULT hr) { return hr >= 0; }

// Pixel layout codes of BufferData::nFormat. Code 3 is not used by any operation.
enum : int32_t {
  FORMAT_BGRA8 = 0,   // four 8-bit channels: blue, green, red, alpha (straight alpha)
  FORMAT_BGRA16 = 1,  // the same with 16-bit channels; nDepth 1
  FORMAT_BGR8 = 2,    // three 8-bit channels, no alpha (output of BlendWithSingleColor)
  FORMAT_GRAY8 = 4,   // one 8-bit channel: mask or coverage of FORMAT_BGRA8
  FORMAT_GRAY16 = 5,  // one 16-bit channel: mask or coverage of FORMAT_BGRA16
};

// Rectangle with exclusive right and bottom: r - l columns, b - t rows.
struct IntRect {
  int32_t l = 0;
  int32_t t = 0;
  int32_t r = 0;
  int32_t b = 0;
};

struct Point {
  float x = 0.0f;
  float y = 0.0f;
};

// Channel values 0..255, blue first like the bytes of a pixel.
struct Color {
  int32_t b = 0;
  int32_t g = 0;
  int32_t r = 0;
  int32_t a = 0;
  Color() = default;
  Color(int32_t b_, int32_t g_, int32_t r_, int32_t a_) : b(b_), g(g_), r(r_), a(a_) {}
  // Packed word as a little-endian pixel reads it: a<<24 | r<<16 | g<<8 | b.
  uint32_t ToArgb() const {
    return (uint32_t(a) << 24) | (uint32_t(r) << 16) | (uint32_t(g) << 8) | uint32_t(b);
  }
};

struct ColorF {
  float b = 0.0f;
  float g = 0.0f;
  float r = 0.0f;
  float a = 0.0f;
  ColorF() = default;
  ColorF(float b_, float g_, float r_, float a_) : b(b_), g(g_), r(r_), a(a_) {}
};

// 4 x 4 matrix stored row after row, acting on row vectors (x, y, z, 1): translation in
// elements 12 and 13, the perspective divisor from elements 3, 7 and 15.
struct TransformMatrix {
  float m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  float& operator[](int i) { return m[i]; }
  float operator[](int i) const { return m[i]; }
};

// Describes pixel memory owned by the host. Tools work inside ROI, in region coordinates.
struct BufferData {
  uint8_t* pBuffer = nullptr;  // first byte of row 0; never owned
  int32_t nWidth = 0;          // pixels per row
  int32_t nHeight = 0;         // rows
  int32_t nStride = 0;         // bytes from one row to the next, always positive
  int32_t nPixelStep = 4;      // channel elements (not bytes) from one pixel to the next
  int32_t nMaxValue = 255;     // full-scale value of a channel
  int32_t nDepth = 0;          // 0: 8-bit elements, 1: 16-bit elements
  int32_t nFormat = 0;         // FORMAT_* code
  int32_t nReserved = 1;       // copied along, never interpreted
  IntRect ROI;                 // region of interest within the memory
};

// One timing record as handed to the host by FillPerformanceData (272 bytes).
struct PerformanceRecord {
  char szName[256];
  double dSeconds;
  uint32_t nCount;
};
static_assert(sizeof(PerformanceRecord) == 272, "PerformanceRecord is 272 bytes");

// Categories of the timing records (FillPerformanceData).
enum : uint32_t {
  PERF_BLEND = 1,
  PERF_GENERATE_GRADIENT = 2,
  PERF_FILL = 3,
  PERF_SHAPE = 5,
  PERF_DRAW_STROKE = 6,
  PERF_RENDER_TEXT = 8,
  PERF_LAYER_STYLES = 9,
  PERF_SHADOW2 = 10,
  PERF_BORDER = 11,
  PERF_GRADIENT_OVERLAY = 12,
  PERF_OUTER_GLOW = 13,
  PERF_INNER_GLOW = 14,
  PERF_GRADIENT_REFERENCE = 15,
  PERF_COLOR_MATCH = 16,
  PERF_BEVEL = 17,
};

}  // namespace Orvel
