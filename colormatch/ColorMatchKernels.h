// The pixel loops of the colour match, in two forms: the portable one, one pixel at a time, and
// the fast one on Highway vectors. Both work on a range of rows [y0, y1) of a whole image; the
// float buffers hold four floats per pixel (l, alpha, beta, the pixel's alpha) and 4 x width
// floats per row.
#pragma once

#include <cstdint>
#include <vector>

#include "orvel/types.h"

namespace Orvel {
namespace colormatch {

// Integer taken from a float's bit pattern by the logarithm.
constexpr uint32_t kLogBias = 1064866805u;
// The bit pattern of 10.0 (0x41200000) less kLogBias: one decade in bit-pattern units.
constexpr int32_t kLogScale = 27749387;
// kLogBias as a float, added back by the exponent.
constexpr float kExpBias = 1064866816.0f;
// The unit of the approximation; it cancels in the factor, but the rounding it brings stays.
constexpr float kLogUnit = 8.262958e-8f;

// The factor that turns bit-pattern differences into (about) decimal logarithms. Written as
// the product it was designed as: in float it is not exactly 1 / kLogScale.
constexpr float kLogFactor = kLogUnit * (1.0f / (static_cast<float>(kLogScale) * kLogUnit));

// Bit-pattern logarithm of a positive float: about log10(v).
float BitLog(float v);
// Bit-pattern exponent: about 10^x. With bRoundNearest the integer is rounded to nearest
// (ties to even), otherwise truncated.
float BitExp(float x, bool bRoundNearest);

// Float to 32-bit integer the way the processor's conversion does it: a value that is out of
// range, or not a number, gives INT32_MIN.
int32_t TruncToInt32(float x);
int32_t RoundToInt32(float x);

// One pixel, b g r a bytes, into l, alpha, beta, a.
void PixelToLab(const uint8_t* pPixel, float* pLab);
// One pixel back. bFastBlock: the arithmetic of the fast form's four-pixel blocks (rounding to
// nearest, float product); otherwise truncation after a double product.
void LabToPixel(const float* pLab, uint8_t* pPixel, bool bFastBlock);

// ---- portable form ----
void ConvertRgbToLab(const BufferData& in, int y0, int y1, float* pLab);
// Two-way accumulation per row: even pixels into the running total, odd ones into row totals
// added at the row's end, the last pixel of an odd width after them.
void SumLab(const float* pLab, int width, int y0, int y1, float sum[3]);
// One running total, pixel by pixel along the rows.
void SumSquaredDeviations(const float* pLab, int width, int y0, int y1, const float mean[3],
                          float var[3]);
void RecolorLab(const float* pLab, float* pDst, int width, int y0, int y1, const float ratio[3],
                const float offset[3]);
void ConvertLabToRgb(const float* pDst, const BufferData& out, int y0, int y1);

// ---- fast form ----
void ConvertRgbToLabFast(const BufferData& in, int y0, int y1, float* pLab);
// One four-lane running total over all pixels of the range, row after row.
void SumLabFast(const float* pLab, int width, int y0, int y1, float sum[3]);
void SumSquaredDeviationsFast(const float* pLab, int width, int y0, int y1, const float mean[3],
                              float var[3]);
void RecolorLabFast(const float* pLab, float* pDst, int width, int y0, int y1,
                    const float ratio[3], const float offset[3]);
// Four-pixel blocks from each row's start round to nearest; the rest of a row truncates.
void ConvertLabToRgbFast(const float* pDst, const BufferData& out, int y0, int y1);

// The Highway targets the fast form was compiled for and this processor runs, best first.
std::vector<int64_t> FastTargets();

}  // namespace colormatch
}  // namespace Orvel
