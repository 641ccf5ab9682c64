#include "colormatch/ColorMatchKernels.h"

#include <cmath>
#include <cstring>

namespace Orvel {
namespace colormatch {

namespace {

inline uint32_t floatBits(float f) {
  uint32_t u;
  std::memcpy(&u, &f, sizeof u);
  return u;
}

inline float bitsFloat(int32_t i) {
  float f;
  std::memcpy(&f, &i, sizeof f);
  return f;
}

inline bool fitsInt32(float x) { return x >= -2147483648.0f && x < 2147483648.0f; }

// The channel byte of one colour in 0..1. The portable form multiplies by 255.0 as a double and
// truncates; the fast blocks multiply in float and round to nearest. Anything that is not a
// number ends at 0, as it does through the vector minimum and maximum.
inline uint8_t channelByte(float c, bool bFastBlock) {
  if (bFastBlock) {
    float f = c * 255.0f;
    if (!(f > 0.0f)) f = 0.0f;
    if (f > 255.0f) f = 255.0f;
    return static_cast<uint8_t>(RoundToInt32(f));
  }
  double d = c * 255.0;
  if (!(d > 0.0)) d = 0.0;
  if (d > 255.0) d = 255.0;
  return static_cast<uint8_t>(static_cast<int32_t>(d));
}

inline const uint8_t* rowOf(const BufferData& buf, int y) {
  return buf.pBuffer + static_cast<size_t>(y) * static_cast<size_t>(buf.nStride);
}

inline size_t labRow(int width, int y) { return static_cast<size_t>(y) * width * 4; }

}  // namespace

float BitLog(float v) {
  const int32_t i = static_cast<int32_t>(floatBits(v) - kLogBias);
  return static_cast<float>(i) * kLogFactor;
}

float BitExp(float x, bool bRoundNearest) {
  const float scaled = x * static_cast<float>(kLogScale) + kExpBias;
  return bitsFloat(bRoundNearest ? RoundToInt32(scaled) : TruncToInt32(scaled));
}

int32_t TruncToInt32(float x) { return fitsInt32(x) ? static_cast<int32_t>(x) : INT32_MIN; }

int32_t RoundToInt32(float x) {
  return fitsInt32(x) ? static_cast<int32_t>(std::nearbyint(x)) : INT32_MIN;
}

void PixelToLab(const uint8_t* px, float* lab) {
  // A zero channel would have no logarithm: it is taken as 1.
  const float b = static_cast<float>(px[0] == 0 ? 1 : px[0]) / 255.0f;
  const float g = static_cast<float>(px[1] == 0 ? 1 : px[1]) / 255.0f;
  const float r = static_cast<float>(px[2] == 0 ? 1 : px[2]) / 255.0f;

  const float L = 0.0402f * b + 0.5783f * g + 0.3811f * r;
  const float M = 0.0782f * b + 0.7244f * g + 0.1967f * r;
  const float S = 0.8444f * b + 0.1288f * g + 0.0241f * r;

  const float Lg = BitLog(L);
  const float Mg = BitLog(M);
  const float Sg = BitLog(S);

  // No 1/sqrt(3), 1/sqrt(6), 1/sqrt(2) here: the way back divides by 3, 6 and 2 instead.
  lab[0] = (Lg + Mg) + Sg;
  lab[1] = (Lg + Mg) - Sg - Sg;
  lab[2] = Lg - Mg;
  lab[3] = static_cast<float>(px[3]);
}

void LabToPixel(const float* lab, uint8_t* px, bool bFastBlock) {
  const float u = lab[0] / 3.0f;
  const float v = lab[1] / 6.0f;
  const float w = lab[2] * 0.5f;

  const float Lg = (u + v) + w;
  const float Mg = (u + v) - w;
  const float Sg = (u - v) - v;

  const float L = BitExp(Lg, bFastBlock);
  const float M = BitExp(Mg, bFastBlock);
  const float S = BitExp(Sg, bFastBlock);

  const float blue = (0.0497f * L - 0.2439f * M) + 1.2045f * S;
  const float green = (-1.2186f * L + 2.3809f * M) - 0.1624f * S;
  const float red = (4.4679f * L - 3.5873f * M) + 0.1193f * S;

  px[0] = channelByte(blue, bFastBlock);
  px[1] = channelByte(green, bFastBlock);
  px[2] = channelByte(red, bFastBlock);
  px[3] = static_cast<uint8_t>(TruncToInt32(lab[3]));
}

void ConvertRgbToLab(const BufferData& in, int y0, int y1, float* pLab) {
  const int w = in.nWidth;
  const int step = in.nPixelStep;
  for (int y = y0; y < y1; ++y) {
    const uint8_t* px = rowOf(in, y);
    float* lab = pLab + labRow(w, y);
    for (int x = 0; x < w; ++x, px += step, lab += 4) PixelToLab(px, lab);
  }
}

void SumLab(const float* pLab, int width, int y0, int y1, float sum[3]) {
  float total[3] = {0.0f, 0.0f, 0.0f};
  for (int y = y0; y < y1; ++y) {
    const float* p = pLab + labRow(width, y);
    float odd[3] = {0.0f, 0.0f, 0.0f};
    int x = 0;
    for (; x + 1 < width; x += 2) {
      for (int c = 0; c < 3; ++c) {
        total[c] += p[4 * x + c];
        odd[c] += p[4 * x + 4 + c];
      }
    }
    for (int c = 0; c < 3; ++c) total[c] += odd[c];
    if (x < width)
      for (int c = 0; c < 3; ++c) total[c] += p[4 * x + c];
  }
  for (int c = 0; c < 3; ++c) sum[c] = total[c];
}

void SumSquaredDeviations(const float* pLab, int width, int y0, int y1, const float mean[3],
                          float var[3]) {
  float total[3] = {0.0f, 0.0f, 0.0f};
  const float* p = pLab + labRow(width, y0);
  const float* end = pLab + labRow(width, y1);
  for (; p < end; p += 4) {
    for (int c = 0; c < 3; ++c) {
      const float d = p[c] - mean[c];
      total[c] += d * d;
    }
  }
  for (int c = 0; c < 3; ++c) var[c] = total[c];
}

void RecolorLab(const float* pLab, float* pDst, int width, int y0, int y1, const float ratio[3],
                const float offset[3]) {
  const size_t begin = labRow(width, y0);
  const size_t end = labRow(width, y1);
  for (size_t i = begin; i < end; i += 4) {
    for (int c = 0; c < 3; ++c) pDst[i + c] = pLab[i + c] * ratio[c] + offset[c];
    pDst[i + 3] = pLab[i + 3];
  }
}

void ConvertLabToRgb(const float* pDst, const BufferData& out, int y0, int y1) {
  const int w = out.nWidth;
  const int step = out.nPixelStep;
  for (int y = y0; y < y1; ++y) {
    uint8_t* px = out.pBuffer + static_cast<size_t>(y) * static_cast<size_t>(out.nStride);
    const float* lab = pDst + labRow(w, y);
    for (int x = 0; x < w; ++x, px += step, lab += 4) LabToPixel(lab, px, false);
  }
}

}  // namespace colormatch
}  // namespace Orvel
