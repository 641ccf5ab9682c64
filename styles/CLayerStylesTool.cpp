#include "styles/CLayerStylesTool.h"

#include <algorithm>
#include <cmath>

#include "engine/trace.h"
#include "gradient/CGradientTool.h"

// Runs a step of a style and, on failure, traces the step's own text and returns its status.
#define STYLES_CHECK(hr, ...)                                                       \
  do {                                                                              \
    (hr) = (__VA_ARGS__);                                                           \
    if ((hr) < 0) {                                                                 \
      Trace("[Assert] %s , Error! hr=%x", #__VA_ARGS__, static_cast<unsigned>(hr)); \
      return (hr);                                                                  \
    }                                                                               \
  } while (0)

namespace Orvel {

HRESULT CLayerStylesTool::GradientOverlay(BufferData* pBufOut, GradientOverlayParam* pParam) {
  if (!pBufOut || !pParam || !m_pGradientTool) return E_POINTER;
  // The tool under the name its failures are traced with.
  CGradientTool& m_GradientTool = *m_pGradientTool;
  HRESULT hr = S_OK;
  STYLES_CHECK(hr, m_GradientTool.SetColorReferenceWithAnchor(&pParam->referenceParam));
  STYLES_CHECK(hr, m_fnCaculBeginEndPoints(pParam));
  STYLES_CHECK(hr, m_GradientTool.DrawObject(pBufOut, pParam));
  return hr;
}

HRESULT CLayerStylesTool::m_fnCaculBeginEndPoints(GradientOverlayParam* pParam) {
  if (!pParam) return E_POINTER;
  const IntRect& rc = pParam->rcShape;
  const float cx = static_cast<float>((rc.l + rc.r) / 2);
  const float cy = static_cast<float>((rc.t + rc.b) / 2);
  const float hw = static_cast<float>(rc.r - rc.l) * 0.5f;
  const float hh = static_cast<float>(rc.b - rc.t) * 0.5f;
  const float k = pParam->nScale / 100.0f;

  // Where the ray leaves the box: along x the half height over the slope, along y the half
  // width times the slope, each held to the box. The quotients are doubles: near 0 and 90
  // degrees one of them is huge or infinite, and the clamp is what keeps the point on the box.
  const double a = static_cast<double>(static_cast<float>(pParam->nAngle) * 3.1415927f) / 180.0;
  const float ex = static_cast<float>(
      std::clamp(std::fabs(hh * std::cos(a) / std::sin(a)), 0.0, static_cast<double>(hw)) * k);
  const float ey = static_cast<float>(
      std::clamp(std::fabs(hw * std::sin(a) / std::cos(a)), 0.0, static_cast<double>(hh)) * k);

  Point end;
  const int32_t angle = pParam->nAngle;
  if (angle <= 90) {
    end = Point{cx + ex, cy - ey};
  } else if (angle <= 180) {
    end = Point{cx - ex, cy - ey};
  } else if (angle <= 270) {
    end = Point{cx - ex, cy + ey};
  } else if (angle <= 360) {
    end = Point{cx + ex, cy + ey};
  }  // beyond a full turn the end point stays at the origin

  Point begin{cx, cy};
  if (pParam->nGradientType == 0) begin = Point{2.0f * cx - end.x, 2.0f * cy - end.y};

  const float ox = static_cast<float>(pParam->nOffsetX);
  const float oy = static_cast<float>(pParam->nOffsetY);
  pParam->ptBegin = Point{begin.x + ox, begin.y + oy};
  pParam->ptEnd = Point{end.x + ox, end.y + oy};
  return S_OK;
}

}  // namespace Orvel
