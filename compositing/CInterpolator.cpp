#include "compositing/CInterpolator.h"

namespace Orvel {

float CInterpolator::SoftnessFor(float s) {
  if (s <= 0.5f) return 0.6f;
  if (s <= 0.55f) return 0.5f;
  if (s <= 0.6f) return 0.35f;
  if (s <= 0.65f) return 0.25f;
  if (s <= 0.7f) return 0.15f;
  return 0.0f;  // the plain Catmull-Rom spline
}

namespace {

// A tap formed in single precision, widened, then rounded half away from zero.
int32_t roundTap(float v) {
  const double d = v;
  return static_cast<int32_t>(d < 0.0 ? d - 0.5 : d + 0.5);
}

}  // namespace

void CInterpolator::SetSharpness(float s) {
  const float a = SoftnessFor(s);
  const float h = 0.5f * a;
  // The Catmull-Rom weights without their factor of one half, as rows of 1, t, t^2, t^3.
  static const float kBasis[4][4] = {
      {0.0f, 2.0f, 0.0f, 0.0f},
      {-1.0f, 0.0f, 1.0f, 0.0f},
      {2.0f, -5.0f, 4.0f, -1.0f},
      {-1.0f, 3.0f, -3.0f, 1.0f},
  };
  for (int i = 0; i < kRows; ++i) {
    const float t = static_cast<float>(i) * 0.00390625f;
    const float t2 = t * t;
    const float t3 = t2 * t;
    float w[4];
    for (int j = 0; j < 4; ++j) {
      // Added in this order: the sums land on rounding boundaries, and the order decides.
      float v = kBasis[0][j];
      v = v + t * kBasis[1][j];
      v = v + t2 * kBasis[2][j];
      v = v + t3 * kBasis[3][j];
      w[j] = v;
    }
    const float d0 = w[1] - w[0];
    const float d1 = w[2] - w[1];
    const float d2 = w[3] - w[2];
    m_Kernel[i][0] = roundTap(512.0f * (w[0] + h * d0));
    m_Kernel[i][1] = roundTap(256.0f * (w[0] + (1.0f - a) * d0 + w[1] + a * d1));
    m_Kernel[i][2] = roundTap(256.0f * (w[1] + (1.0f - a) * d1 + w[2] + a * d2));
    m_Kernel[i][3] = roundTap(512.0f * (w[2] + (1.0f - h) * d2));
  }
  m_fSharpness = s;
}

void CInterpolator::SetEdgeRatios(const float ratio[4]) {
  float s = 32767.0f;
  for (int k = 0; k < 4; ++k) {
    m_fEdgeRatio[k] = ratio[k];
    if (ratio[k] < s) s = ratio[k];
  }
  // A repeated drawing at one scale keeps its table.
  if (s != m_fSharpness) SetSharpness(s);
}

}  // namespace Orvel
