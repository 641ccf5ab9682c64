// The gradient overlay: the axis derived from the shape's bounds, and the operation.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/COrvel.h"
#include "gradient/CGradientTool.h"
#include "gradient_test_util.h"
#include "styles/CLayerStylesTool.h"

using namespace Orvel;
using namespace Orvel::test;

namespace {

GradientOverlayParam overlay(int type, int angle, int scale, IntRect shape, int ox = 0,
                             int oy = 0) {
  GradientOverlayParam p;
  p.nGradientType = type;
  p.nAngle = angle;
  p.nScale = scale;
  p.rcShape = shape;
  p.nOffsetX = ox;
  p.nOffsetY = oy;
  return p;
}

}  // namespace

TEST(GradientOverlayAxis, EndPointLeavesTheBoxAtTheAngle) {
  // Box (0, 0, 200, 100): centre (100, 50), half sizes 100 and 50. Angles turn counter-
  // clockwise on screen (y grows downward). Values worked out with tan 30 = 0.57735027.
  const IntRect box{0, 0, 200, 100};
  const struct {
    int type, angle, scale, ox, oy;
    float bx, by, ex, ey;
  } rows[] = {
      // First quadrant: 50 / tan 30 = 86.60254 fits the half width; 100 tan 30 is held to 50.
      {1, 30, 100, 0, 0, 100, 50, 186.60254f, 0},
      {0, 30, 100, 0, 0, 13.39746f, 100, 186.60254f, 0},  // linear: begin mirrored
      {1, 30, 50, 0, 0, 100, 50, 143.30127f, 25},         // scaled to half
      {1, 45, 100, 0, 0, 100, 50, 150, 0},
      // Second quadrant: 50 / tan 120 = -28.86751, the slope again held to 50.
      {1, 120, 100, 0, 0, 100, 50, 71.13249f, 0},
      // Third: tan 210 = tan 30.
      {1, 210, 100, 0, 0, 100, 50, 13.39746f, 100},
      {0, 210, 100, 0, 0, 186.60254f, 0, 13.39746f, 100},
      // Fourth: tan 300 = tan 120.
      {1, 300, 100, 0, 0, 100, 50, 128.86751f, 100},
      // The axes themselves: at 0 the quotient is infinite and the clamp takes the half width.
      {1, 0, 100, 0, 0, 100, 50, 200, 50},
      {1, 90, 100, 0, 0, 100, 50, 100, 0},
      {1, 180, 100, 0, 0, 100, 50, 0, 50},
      {1, 270, 100, 0, 0, 100, 50, 100, 100},
      {1, 360, 100, 0, 0, 100, 50, 200, 50},
      // Beyond a full turn the end point is the origin; offsets still move both points.
      {1, 400, 100, 0, 0, 100, 50, 0, 0},
      {0, 400, 100, 7, -3, 207, 97, 7, -3},
      {2, 30, 100, 7, -3, 107, 47, 193.60254f, -3},
  };
  COrvel engine;
  for (const auto& row : rows) {
    GradientOverlayParam p = overlay(row.type, row.angle, row.scale, box, row.ox, row.oy);
    ASSERT_EQ(engine.m_LayerStylesTool.m_fnCaculBeginEndPoints(&p), S_OK);
    EXPECT_NEAR(p.ptBegin.x, row.bx, 2e-4) << row.angle << " type " << row.type;
    EXPECT_NEAR(p.ptBegin.y, row.by, 2e-4) << row.angle << " type " << row.type;
    EXPECT_NEAR(p.ptEnd.x, row.ex, 2e-4) << row.angle << " type " << row.type;
    EXPECT_NEAR(p.ptEnd.y, row.ey, 2e-4) << row.angle << " type " << row.type;
  }
}

TEST(GradientOverlayAxis, CentreTruncatesAndHalfSizesDoNot) {
  // Box (1, 2, 10, 7): centre (5, 4) by integer halves, half sizes 4.5 and 2.5.
  COrvel engine;
  GradientOverlayParam p = overlay(1, 0, 100, IntRect{1, 2, 10, 7});
  ASSERT_EQ(engine.m_LayerStylesTool.m_fnCaculBeginEndPoints(&p), S_OK);
  EXPECT_EQ(p.ptBegin.x, 5.0f);
  EXPECT_EQ(p.ptBegin.y, 4.0f);
  EXPECT_EQ(p.ptEnd.x, 9.5f);
  EXPECT_EQ(p.ptEnd.y, 4.0f);
  p = overlay(1, 90, 100, IntRect{1, 2, 10, 7});
  ASSERT_EQ(engine.m_LayerStylesTool.m_fnCaculBeginEndPoints(&p), S_OK);
  EXPECT_NEAR(p.ptEnd.x, 5.0f, 1e-5);
  EXPECT_EQ(p.ptEnd.y, 1.5f);
}

namespace {

// Two stops of colour and of opacity.
Stops overlayStops() {
  Stops s;
  s.colorPos = {0.0f, 1.0f};
  s.colors = {Color(20, 40, 230, 0), Color(250, 180, 5, 0)};
  s.opacityPos = {0.0f, 1.0f};
  s.opacities = {255, 96};
  return s;
}

}  // namespace

TEST(GradientOverlayOp, BuildsTheTableDerivesTheAxisAndDraws) {
  const int w = 48, h = 40;
  for (int type = 0; type < 5; ++type) {
    COrvel engine;
    engine.SetPerformanceMode(true);
    const Stops stops = overlayStops();
    GradientOverlayParam p = overlay(type, 135, 80, IntRect{4, 2, 44, 38}, 2, 1);
    p.referenceParam = stops.param();
    Canvas in(w, h, 0), out(w, h, 0);
    ASSERT_EQ(engine.GradientOverlay(&in.buf, &out.buf, &p), S_OK);

    // The same picture from its parts: the axis written back, a tool built on the same pool
    // size, the same stops.
    GradientOverlayParam expectAxis = overlay(type, 135, 80, IntRect{4, 2, 44, 38}, 2, 1);
    ASSERT_EQ(engine.m_LayerStylesTool.m_fnCaculBeginEndPoints(&expectAxis), S_OK);
    EXPECT_EQ(p.ptBegin.x, expectAxis.ptBegin.x);
    EXPECT_EQ(p.ptEnd.y, expectAxis.ptEnd.y);
    CGradientTool tool(&engine.m_ThreadPool);
    ASSERT_EQ(tool.SetColorReferenceWithAnchor(&p.referenceParam), S_OK);
    Canvas want(w, h, 0);
    ASSERT_EQ(tool.DrawObject(&want.buf, &p), S_OK);
    EXPECT_EQ(out.mem, want.mem) << "type " << type;
    EXPECT_EQ(in.mem, Canvas(w, h, 0).mem);

    int32_t count = 0;
    ASSERT_EQ(engine.FillPerformanceData(PERF_GRADIENT_OVERLAY, &count, nullptr), S_OK);
    EXPECT_EQ(count, 1);
  }
}

TEST(GradientOverlayOp, FailuresAreTracedAtBothLevels) {
  COrvel engine;
  Canvas canvas(8, 8, 0);
  BufferData& buf = canvas.buf;
  GradientOverlayParam p = overlay(0, 30, 100, IntRect{0, 0, 8, 8});
  EXPECT_EQ(engine.GradientOverlay(nullptr, &buf, &p), E_POINTER);
  EXPECT_EQ(engine.GradientOverlay(&buf, nullptr, &p), E_POINTER);
  EXPECT_EQ(engine.GradientOverlay(&buf, &buf, nullptr), E_POINTER);

  TraceCapture trace;
  // No stops: the table build refuses, the axis is not touched.
  EXPECT_EQ(engine.GradientOverlay(&buf, &buf, &p), E_INVALIDARG);
  EXPECT_TRUE(
      trace.has("[Assert] m_GradientTool.SetColorReferenceWithAnchor(&pParam->referenceParam)"
                " , Error! hr=80070057"));
  EXPECT_TRUE(
      trace.has("[Assert] m_LayerStylesTool.GradientOverlay(pBufOut, pParam) , Error! "
                "hr=80070057"));
  EXPECT_EQ(p.ptEnd.x, 0.0f);

  // A 16-bit output: the table is built, the axis derived, and the drawing refuses.
  const Stops stops = overlayStops();
  p.referenceParam = stops.param();
  BufferData deep = buf;
  deep.nDepth = 1;
  EXPECT_EQ(engine.GradientOverlay(&buf, &deep, &p), E_NOTIMPL);
  EXPECT_TRUE(
      trace.has("[Assert] m_GradientTool.DrawObject(pBufOut, pParam) , Error! hr=80004001"));
  EXPECT_NE(p.ptEnd.x, 0.0f);
  EXPECT_EQ(canvas.mem, Canvas(8, 8, 0).mem);
}
