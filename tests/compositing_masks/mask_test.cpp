#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cmath>
#include <memory>

#include "compositing/CMaskTool.h"
#include "compositing/mask_kernels.h"
#include "engine/COrvel.h"
#include "masks_test_util.h"

using namespace Orvel;
using masks_test::Image;

namespace {

// ApplyMask by its definition, one object pixel at a time.
void applyMaskModel(Image<>& obj, const Image<>& mask, Point origin, bool bUseRoi) {
  const IntRect objRect{
      int(std::trunc(std::max(origin.x, 0.0f))), int(std::trunc(std::max(origin.y, 0.0f))),
      int(std::trunc(origin.x + obj.buf.nWidth)), int(std::trunc(origin.y + obj.buf.nHeight))};
  IntRect maskRect = mask.buf.ROI;
  if (!bUseRoi) {
    maskRect = IntRect{1 << 30, 1 << 30, -1, -1};
    for (int y = 0; y < mask.buf.nHeight; ++y)
      for (int x = 0; x < mask.buf.nWidth; ++x)
        if (mask.at(x, y) != 0)
          maskRect = IntRect{std::min(maskRect.l, x), std::min(maskRect.t, y),
                             std::max(maskRect.r, x + 1), std::max(maskRect.b, y + 1)};
  }
  const int tx = int(std::trunc(origin.x)), ty = int(std::trunc(origin.y));
  for (int oy = 0; oy < obj.buf.nHeight; ++oy)
    for (int ox = 0; ox < obj.buf.nWidth; ++ox) {
      int mx = ox + tx, my = oy + ty;
      bool in = mx >= objRect.l && mx < objRect.r && my >= objRect.t && my < objRect.b &&
                mx >= maskRect.l && mx < maskRect.r && my >= maskRect.t && my < maskRect.b;
      if (!in) continue;
      uint8_t& a = obj.at(ox, oy, 3);
      if (mask.buf.nPixelStep == 1) {
        a = uint8_t(a * mask.at(mx, my) / 255);
      } else {
        int g = (mask.at(mx, my, 0) + mask.at(mx, my, 1) + mask.at(mx, my, 2)) / 3;
        int ma = mask.at(mx, my, 3);
        a = uint8_t(a * (g * ma / 255 - ma + 255) / 255);
      }
    }
}

Image<> solidObject(int w, int h, uint8_t alpha) {
  Image<> obj(w, h, 4);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      obj.at(x, y, 0) = 10;
      obj.at(x, y, 1) = 20;
      obj.at(x, y, 2) = 30;
      obj.at(x, y, 3) = alpha;
    }
  return obj;
}

}  // namespace

// Small cases worked out by hand: object 4 x 3 of alpha 200 on a 6 x 5 grey mask.
TEST(ApplyMask, HandCases) {
  struct Case {
    const char* name;
    Point origin;
    bool bUseRoi;
    IntRect roi;
    int maskValue;  // every mask pixel
    HRESULT status;
    // Expected alpha of each object pixel, row by row; -1 is "untouched" (200).
    int alpha[12];
  } cases[] = {
      {"inside",
       {1, 1},
       true,
       {0, 0, 6, 5},
       128,
       S_OK,
       {100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 100}},
      {"no overlap",
       {10, 10},
       true,
       {0, 0, 6, 5},
       128,
       S_FALSE,
       {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}},
      {"negative origin",
       {-2, 0},
       true,
       {0, 0, 6, 5},
       128,
       S_OK,
       {-1, -1, 100, 100, -1, -1, 100, 100, -1, -1, 100, 100}},
      {"fraction -0.5 keeps the first column",
       {-0.5f, 0},
       true,
       {0, 0, 6, 5},
       0,
       S_OK,
       {0, 0, 0, -1, 0, 0, 0, -1, 0, 0, 0, -1}},
      {"fraction 0.7",
       {0.7f, 0.2f},
       true,
       {0, 0, 6, 5},
       0,
       S_OK,
       {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {"mask roi",
       {0, 0},
       true,
       {2, 1, 4, 3},
       0,
       S_OK,
       {-1, -1, -1, -1, -1, -1, 0, 0, -1, -1, 0, 0}},
      {"empty roi",
       {0, 0},
       true,
       {2, 1, 2, 3},
       0,
       S_FALSE,
       {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}},
      {"zero mask, roi", {0, 0}, true, {0, 0, 6, 5}, 0, S_OK, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {"zero mask, bounds",
       {0, 0},
       false,
       {0, 0, 6, 5},
       0,
       S_FALSE,
       {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}},
      {"full mask, bounds",
       {0, 0},
       false,
       {0, 0, 0, 0},
       255,
       S_OK,
       {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Image<> obj = solidObject(4, 3, 200);
    Image<> mask(6, 5, 1);
    std::fill(mask.mem.begin(), mask.mem.end(), uint8_t(c.maskValue));
    mask.buf.ROI = c.roi;
    CMaskTool tool(nullptr);
    EXPECT_EQ(tool.ApplyMask(&obj.buf, &c.origin, &mask.buf, c.bUseRoi), c.status);
    for (int i = 0; i < 12; ++i) {
      int x = i % 4, y = i / 4;
      EXPECT_EQ(obj.at(x, y, 3), c.alpha[i] < 0 ? 200 : c.alpha[i]) << "x " << x << " y " << y;
      EXPECT_EQ(obj.at(x, y, 0), 10);
      EXPECT_EQ(obj.at(x, y, 2), 30);
    }
  }
}

// Without the ROI the mask's rectangle is the box around its non-zero pixels: pixels inside
// the box are multiplied (zeros included), pixels outside it are left alone.
TEST(ApplyMask, BoundingBoxOfNonZeroPixels) {
  Image<> obj = solidObject(6, 5, 200);
  Image<> mask(6, 5, 1);
  mask.at(1, 1) = 255;
  mask.at(3, 2) = 51;
  Point origin{0, 0};
  CMaskTool tool(nullptr);
  ASSERT_EQ(tool.ApplyMask(&obj.buf, &origin, &mask.buf, false), S_OK);
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 6; ++x) {
      int expected = 200;
      if (x >= 1 && x <= 3 && y >= 1 && y <= 2) expected = 0;  // inside the box
      if (x == 1 && y == 1) expected = 200;
      if (x == 3 && y == 2) expected = 40;  // 200 x 51 / 255
      EXPECT_EQ(obj.at(x, y, 3), expected) << x << "," << y;
    }
}

TEST(ApplyMask, ColourMaskHandCases) {
  struct Case {
    uint8_t b, g, r, a;
    int alpha;
  } cases[] = {
      {30, 60, 90, 200, 80},  // g 60: 12000 / 255 = 47, 47 - 200 + 255 = 102, 200 x 102 / 255
      {0, 0, 0, 255, 0},      // opaque black hides
      {12, 99, 250, 0, 200},  // transparent passes
      {255, 255, 255, 255, 200},
      {1, 1, 2, 128, 99},  // g 1: 0 - 128 + 255 = 127, 200 x 127 / 255 = 99.6
  };
  for (bool bFast : {false, true}) {
    Image<> obj = solidObject(16, 1, 200);
    Image<> mask(16, 1, 4);
    for (int x = 0; x < 16; ++x) {
      const Case& c = cases[x % 5];
      mask.at(x, 0, 0) = c.b;
      mask.at(x, 0, 1) = c.g;
      mask.at(x, 0, 2) = c.r;
      mask.at(x, 0, 3) = c.a;
    }
    CMaskTool tool(nullptr);
    tool.SetFastPath(bFast);
    Point origin{0, 0};
    ASSERT_EQ(tool.ApplyMask(&obj.buf, &origin, &mask.buf, true), S_OK);
    for (int x = 0; x < 16; ++x)
      EXPECT_EQ(obj.at(x, 0, 3), cases[x % 5].alpha) << x << " fast " << bFast;
  }
}

TEST(ApplyMask, RefusalsAndOtherMaskSteps) {
  Image<> obj = solidObject(4, 4, 200);
  Image<> mask(4, 4, 2);
  Point origin{0, 0};
  CMaskTool tool(nullptr);
  EXPECT_EQ(tool.ApplyMask(&obj.buf, &origin, &mask.buf, true), S_OK);  // step 2: nothing done
  EXPECT_EQ(obj.at(3, 3, 3), 200);
  EXPECT_EQ(tool.ApplyMask(nullptr, &origin, &mask.buf, true), E_POINTER);
  EXPECT_EQ(tool.ApplyMask(&obj.buf, nullptr, &mask.buf, true), E_POINTER);
  BufferData noPixels = mask.buf;
  noPixels.pBuffer = nullptr;
  EXPECT_EQ(tool.ApplyMask(&obj.buf, &origin, &noPixels, true), E_POINTER);
  BufferData deep = mask.buf;
  deep.nDepth = 1;
  EXPECT_EQ(tool.ApplyMask(&obj.buf, &origin, &deep, true), E_NOTIMPL);
}

// Striped and fast forms against the model, on a region large enough for the pool.
TEST(ApplyMask, AllFormsMatchTheModel) {
  auto engine = std::make_unique<COrvel>();
  CMaskTool single(nullptr);
  struct Form {
    CMaskTool* tool;
    bool bFast;
  } forms[] = {
      {&single, false}, {&single, true}, {&engine->m_MaskTool, false}, {&engine->m_MaskTool, true}};
  struct Place {
    Point origin;
    bool bUseRoi;
    int maskStep;
  } places[] = {{{-13.6f, 21.3f}, true, 1},
                {{40.2f, -7.9f}, false, 1},
                {{5, 9}, true, 4},
                {{-3.5f, -3.5f}, false, 4}};
  for (const Place& pl : places) {
    Image<> objIn(301, 203, 4);
    objIn.fillRandom(7);
    Image<> mask(333, 250, pl.maskStep);
    mask.fillRandom(8);
    // A border of zeros, so that the box of non-zero pixels is not the whole mask.
    for (int y = 0; y < 250; ++y)
      for (int x = 0; x < 333; ++x)
        if (x < 20 || y < 11 || x > 300 || y > 230)
          for (int c = 0; c < pl.maskStep; ++c) mask.at(x, y, c) = 0;
    mask.buf.ROI = IntRect{7, 5, 290, 222};
    Image<> expected(objIn);
    applyMaskModel(expected, mask, pl.origin, pl.bUseRoi);
    for (const Form& f : forms) {
      Image<> obj(objIn);
      f.tool->SetFastPath(f.bFast);
      ASSERT_EQ(f.tool->ApplyMask(&obj.buf, &pl.origin, &mask.buf, pl.bUseRoi), S_OK);
      EXPECT_EQ(obj.mem, expected.mem) << "origin " << pl.origin.x << " fast " << f.bFast
                                       << " stripes " << f.tool->LastStripeCount();
    }
    EXPECT_EQ(engine->m_MaskTool.LastStripeCount(), 4);
  }
}

TEST(ApplyMask, EveryCompiledTargetMatchesTheModel) {
  CMaskTool tool(nullptr);
  tool.SetFastPath(true);
  for (int maskStep : {1, 4}) {
    Image<> objIn(67, 23, 4);
    objIn.fillRandom(31);
    Image<> mask(70, 30, maskStep);
    mask.fillRandom(32);
    const Point origin{1.5f, 2.25f};
    Image<> expected(objIn);
    applyMaskModel(expected, mask, origin, true);
    for (int64_t target : FastMaskTargets()) {
      hwy::SetSupportedTargetsForTest(target);
      Image<> obj(objIn);
      ASSERT_EQ(tool.ApplyMask(&obj.buf, &origin, &mask.buf, true), S_OK);
      EXPECT_EQ(obj.mem, expected.mem) << hwy::TargetName(target) << " mask step " << maskStep;
    }
    hwy::SetSupportedTargetsForTest(0);
  }
}

// Operation 11 always uses the mask's ROI.
TEST(ApplyMask, OperationUsesTheMaskRoi) {
  auto engine = std::make_unique<COrvel>();
  Image<> obj = solidObject(4, 4, 200);
  Image<> mask(4, 4, 1);  // all zero
  mask.buf.ROI = IntRect{0, 0, 2, 4};
  Point origin{0, 0};
  EXPECT_EQ(engine->ApplyMask(&obj.buf, &mask.buf, &origin), S_OK);
  EXPECT_EQ(obj.at(1, 3, 3), 0);
  EXPECT_EQ(obj.at(2, 0, 3), 200);
  EXPECT_EQ(engine->ApplyMask(&obj.buf, &mask.buf, nullptr), E_POINTER);
  origin = Point{9, 9};
  EXPECT_EQ(engine->ApplyMask(&obj.buf, &mask.buf, &origin), S_FALSE);
}

TEST(InvertMask, ComplementsTheFirstElementInTheRoi) {
  auto engine = std::make_unique<COrvel>();
  CMaskTool single(nullptr);
  for (CMaskTool* tool : {&single, &engine->m_MaskTool}) {
    Image<> four(90, 40, 4);
    four.fillRandom(3);
    four.buf.ROI = IntRect{5, 3, 80, 37};
    Image<> expected(four);
    for (int y = 3; y < 37; ++y)
      for (int x = 5; x < 80; ++x) expected.at(x, y, 0) = uint8_t(255 - expected.at(x, y, 0));
    ASSERT_EQ(tool->InvertMask(&four.buf), S_OK);
    EXPECT_EQ(four.mem, expected.mem);

    Image<uint16_t> grey(50, 30, 1, 53);
    grey.fillRandom(4);
    grey.buf.ROI = IntRect{10, 0, 50, 29};
    Image<uint16_t> expected16(grey);
    for (int y = 0; y < 29; ++y)
      for (int x = 10; x < 50; ++x) expected16.at(x, y) = uint16_t(65535 - expected16.at(x, y));
    ASSERT_EQ(tool->InvertMask(&grey.buf), S_OK);
    EXPECT_EQ(grey.mem, expected16.mem);
  }
  EXPECT_EQ(engine->m_MaskTool.LastStripeCount(), 4);

  Image<> small(3, 3, 1);
  small.buf.ROI = IntRect{0, 0, 3, 3};  // 4 stripes would exceed ROI.r: one thread
  ASSERT_EQ(engine->m_MaskTool.InvertMask(&small.buf), S_OK);
  EXPECT_EQ(engine->m_MaskTool.LastStripeCount(), 0);
  EXPECT_EQ(small.mem, std::vector<uint8_t>(9, 255));

  small.buf.nDepth = 2;
  EXPECT_EQ(engine->InvertMask(&small.buf), E_NOTIMPL);
  EXPECT_EQ(engine->InvertMask(nullptr), E_POINTER);
}
