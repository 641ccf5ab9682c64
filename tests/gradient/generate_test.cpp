// GenerateGradient through the engine: the object drawn, dissolved, masked and placed.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/COrvel.h"
#include "gradient/CGradientTool.h"
#include "gradient_test_util.h"

using namespace Orvel;
using namespace Orvel::test;

namespace {

// Opaque stops: a Normal blend at full opacity then writes the object's pixels as they are.
void buildOpaqueTable(IOrvel4& engine) {
  const float colorPos[] = {0.0f, 0.6f, 1.0f};
  const int32_t red[] = {250, 20, 90}, green[] = {10, 200, 30}, blue[] = {40, 60, 240};
  const float opacityPos[] = {0.0f};
  const int32_t opacities[] = {255};
  ASSERT_EQ(
      engine.GradientReference(3, colorPos, red, green, blue, 1, opacityPos, opacities, false),
      S_OK);
}

GradientParam objectParam(int type, int w, int h) {
  GradientParam p;
  p.nGradientType = type;
  p.nBlendMode = BLEND_NORMAL;
  p.nOpacity = 100;
  p.ptBegin = Point{1.0f, 2.0f};
  p.ptEnd = Point{w - 2.0f, h - 1.0f};
  p.nWidth = w;
  p.nHeight = h;
  return p;
}

// The object as the tool draws it, on an engine's pool of the same size.
Canvas objectOf(COrvel& engine, const GradientParam& p) {
  Canvas obj(p.nWidth, p.nHeight, 0);
  EXPECT_EQ(engine.m_GradientTool.DrawObject(&obj.buf, &p), S_OK);
  return obj;
}

bool samePixel(const uint8_t* a, const uint8_t* b) {
  return a[0] == b[0] && a[1] == b[1] && a[2] == b[2] && a[3] == b[3];
}

}  // namespace

TEST(GenerateGradientOp, PlacesTheObjectThroughTheMatrix) {
  const struct { float tx, ty; } moves[] = {{0, 0}, {5, 3}, {-4, 7}};
  for (int type = 0; type < 5; ++type)
    for (const auto& m : moves) {
      COrvel engine;
      buildOpaqueTable(engine);
      GradientParam p = objectParam(type, 40, 30);
      p.TransformMatrix[12] = m.tx;
      p.TransformMatrix[13] = m.ty;
      const Canvas obj = objectOf(engine, p);
      Canvas out(48, 36, 77);
      ASSERT_EQ(engine.GenerateGradient(&out.buf, &p), S_OK);
      for (int y = 0; y < out.h; ++y)
        for (int x = 0; x < out.w; ++x) {
          const int sx = x - static_cast<int>(m.tx), sy = y - static_cast<int>(m.ty);
          const bool covered = sx >= 0 && sx < obj.w && sy >= 0 && sy < obj.h;
          const uint8_t untouched[4] = {77, 77, 77, 77};
          ASSERT_TRUE(samePixel(out.at(x, y), covered ? obj.at(sx, sy) : untouched))
              << "type " << type << " move " << m.tx << "," << m.ty << " at " << x << "," << y;
        }
    }
}

TEST(GenerateGradientOp, MaskClearsTheObjectWhereItIsZero) {
  COrvel engine;
  buildOpaqueTable(engine);
  std::vector<uint8_t> maskMem(32 * 24, 255);
  for (int y = 0; y < 24; ++y)
    for (int x = 12; x < 20; ++x) maskMem[y * 32 + x] = 0;  // a clear band across the middle
  BufferData mask;
  mask.pBuffer = maskMem.data();
  mask.nWidth = 32;
  mask.nHeight = 24;
  mask.nStride = 32;
  mask.nPixelStep = 1;
  mask.nFormat = FORMAT_GRAY8;
  mask.ROI = IntRect{0, 0, 32, 24};
  GradientParam p = objectParam(0, 32, 24);
  p.pBufMask = &mask;
  const Canvas obj = objectOf(engine, p);
  Canvas out(32, 24, 9);
  ASSERT_EQ(engine.GenerateGradient(&out.buf, &p), S_OK);
  const uint8_t backdrop[4] = {9, 9, 9, 9};
  for (int y = 0; y < 24; ++y)
    for (int x = 0; x < 32; ++x) {
      const bool band = x >= 12 && x < 20;
      ASSERT_TRUE(samePixel(out.at(x, y), band ? backdrop : obj.at(x, y))) << x << "," << y;
    }
  EXPECT_EQ(maskMem[0], 255);  // the host's mask is only read
}

TEST(GenerateGradientOp, DissolveKeepsOrDropsWholePixels) {
  COrvel engine;
  buildOpaqueTable(engine);
  GradientParam p = objectParam(1, 40, 40);
  p.nBlendMode = BLEND_DISSOLVE;
  p.nOpacity = 50;
  p.dissolve_param.nSeed = 7;
  p.dissolve_param.nWidth = 40;  // a table as large as the object
  p.dissolve_param.nHeight = 40;
  const Canvas obj = objectOf(engine, p);
  Canvas out(40, 40, 33);
  ASSERT_EQ(engine.GenerateGradient(&out.buf, &p), S_OK);
  // Dissolve makes each alpha 255 or 0, and the placing then blends at full strength: every
  // pixel is the object's or the backdrop's, and both occur.
  const uint8_t backdrop[4] = {33, 33, 33, 33};
  int kept = 0, dropped = 0;
  for (int y = 0; y < 40; ++y)
    for (int x = 0; x < 40; ++x) {
      if (samePixel(out.at(x, y), obj.at(x, y)))
        ++kept;
      else if (samePixel(out.at(x, y), backdrop))
        ++dropped;
      else
        ADD_FAILURE() << "mixed pixel at " << x << "," << y;
    }
  EXPECT_GT(kept, 600);  // half the noise values lie below 50 x 255 / 100
  EXPECT_GT(dropped, 600);

  // At full opacity an opaque object survives whole.
  p.nOpacity = 100;
  Canvas whole(40, 40, 33);
  ASSERT_EQ(engine.GenerateGradient(&whole.buf, &p), S_OK);
  for (int y = 0; y < 40; ++y)
    for (int x = 0; x < 40; ++x) ASSERT_TRUE(samePixel(whole.at(x, y), obj.at(x, y)));
}

TEST(GenerateGradientOp, RefusalsAndTraces) {
  COrvel engine;
  buildOpaqueTable(engine);
  Canvas out(8, 8, 5);
  GradientParam p = objectParam(0, 8, 8);
  EXPECT_EQ(engine.GenerateGradient(nullptr, &p), E_POINTER);
  EXPECT_EQ(engine.GenerateGradient(&out.buf, nullptr), E_POINTER);
  p.nBlendMode = BLEND_ERASE;
  EXPECT_EQ(engine.GenerateGradient(&out.buf, &p), E_NOTIMPL);
  p.nBlendMode = BLEND_NORMAL;
  p.nWidth = -1;
  EXPECT_EQ(engine.GenerateGradient(&out.buf, &p), E_INVALIDARG);

  TraceCapture trace;
  p = objectParam(9, 8, 8);  // no such shape
  EXPECT_EQ(engine.GenerateGradient(&out.buf, &p), E_INVALIDARG);
  EXPECT_TRUE(
      trace.has("[Assert] m_GradientTool.DrawObject(&BufObj, pParam) , Error! hr=80070057"));
  p = objectParam(0, 8, 8);
  p.TransformMatrix[0] = 0;  // no inverse
  p.TransformMatrix[5] = 0;
  EXPECT_EQ(engine.GenerateGradient(&out.buf, &p), E_FAIL);
  EXPECT_TRUE(
      trace.has("[Assert] m_TransformTool.Process(&BufObj, pBufOut, &p, "
                "pParam->TransformMatrix) , Error! hr=80004005"));
  EXPECT_EQ(out.mem, Canvas(8, 8, 5).mem);
}

TEST(GenerateGradientOp, TimedUnderItsOwnName) {
  COrvel engine;
  buildOpaqueTable(engine);
  engine.SetPerformanceMode(true);
  Canvas out(16, 16, 0);
  GradientParam p = objectParam(4, 16, 16);
  ASSERT_EQ(engine.GenerateGradient(&out.buf, &p), S_OK);
  int32_t count = 0;
  ASSERT_EQ(engine.FillPerformanceData(PERF_GENERATE_GRADIENT, &count, nullptr), S_OK);
  ASSERT_EQ(count, 1);
  PerformanceRecord rec{};
  ASSERT_EQ(engine.FillPerformanceData(PERF_GENERATE_GRADIENT, &count, &rec), S_OK);
  EXPECT_STREQ(rec.szName, "GenerateGradient");
}
