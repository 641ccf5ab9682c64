#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "compositing/CMaskTool.h"
#include "compositing/CMergeTool.h"
#include "compositing/mask_kernels.h"
#include "engine/COrvel.h"
#include "engine/trace.h"
#include "masks_test_util.h"

using namespace Orvel;
using masks_test::Image;
using masks_test::TraceCapture;

namespace {

template <class T>
Image<T> greyRow(std::initializer_list<int> values) {
  Image<T> img(int(values.size()), 1, 1);
  int i = 0;
  for (int v : values) img.mem[i++] = T(v);
  return img;
}

template <class T>
std::vector<int> ints(const Image<T>& img) {
  return std::vector<int>(img.mem.begin(), img.mem.end());
}

}  // namespace

TEST(MergeMask, ModesPerElement) {
  struct Case {
    int depth, mode;
    std::initializer_list<int> d, s;
    std::vector<int> expected;
  } cases[] = {
      {0, MERGE_ADD, {0, 255, 100, 200, 7}, {50, 50, 0, 100, 1}, {50, 255, 100, 255, 8}},
      {0, MERGE_SUBTRACT, {0, 255, 100, 30, 7}, {50, 50, 0, 100, 1}, {0, 205, 100, 0, 6}},
      {0, MERGE_INTERSECT, {0, 255, 100, 200, 7}, {50, 50, 0, 100, 255}, {0, 50, 0, 45, 7}},
      // 16-bit: the sum of an addition is still capped at 255.
      {1, MERGE_ADD, {0, 65535, 100, 200, 1000}, {50, 50, 0, 100, 1}, {50, 65535, 100, 255, 255}},
      {1, MERGE_SUBTRACT, {0, 65535, 100, 30, 7}, {50, 50, 0, 100, 1}, {0, 65485, 100, 0, 6}},
      {1, MERGE_INTERSECT, {0, 65535, 100, 60000, 7}, {50, 50, 0, 6000, 65535}, {0, 50, 0, 465, 7}},
  };
  auto engine = std::make_unique<COrvel>();
  CMaskTool single(nullptr);
  for (const Case& c : cases)
    for (CMaskTool* tool : {&single, &engine->m_MaskTool}) {
      SCOPED_TRACE("depth " + std::to_string(c.depth) + " mode " + std::to_string(c.mode));
      MaskMergeParam p;
      p.nMergeMode = c.mode;
      p.rcMerge = IntRect{0, 0, 5, 1};
      if (c.depth == 0) {
        auto d = greyRow<uint8_t>(c.d), s = greyRow<uint8_t>(c.s);
        ASSERT_EQ(tool->MergeMask(&d.buf, &s.buf, &p), S_OK);
        EXPECT_EQ(ints(d), c.expected);
      } else {
        auto d = greyRow<uint16_t>(c.d), s = greyRow<uint16_t>(c.s);
        ASSERT_EQ(tool->MergeMask(&d.buf, &s.buf, &p), S_OK);
        EXPECT_EQ(ints(d), c.expected);
      }
    }
}

// The source is read shifted by rcMerge's corner; the intersection clears the destination's
// ROI outside rcMerge and leaves the rest of the buffer alone.
TEST(MergeMask, SourceShiftAndIntersectionOutside) {
  // Large enough that the addition's stop at the source's size does not come into play.
  Image<> src(6, 4, 1);
  std::fill(src.mem.begin(), src.mem.end(), uint8_t(255));
  src.at(0, 0) = 40;
  MaskMergeParam p;
  p.rcMerge = IntRect{2, 1, 5, 3};
  CMaskTool tool(nullptr);

  Image<> add(6, 4, 1);
  p.nMergeMode = MERGE_ADD;
  ASSERT_EQ(tool.MergeMask(&add.buf, &src.buf, &p), S_OK);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 6; ++x) {
      int want = (x >= 2 && x < 5 && y >= 1 && y < 3) ? 255 : 0;
      if (x == 2 && y == 1) want = 40;
      EXPECT_EQ(add.at(x, y), want) << x << "," << y;
    }

  Image<> inter(6, 4, 1);
  std::fill(inter.mem.begin(), inter.mem.end(), uint8_t(200));
  inter.buf.ROI = IntRect{0, 0, 5, 4};
  p.nMergeMode = MERGE_INTERSECT;
  ASSERT_EQ(tool.MergeMask(&inter.buf, &src.buf, &p), S_OK);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 6; ++x) {
      int want = (x >= 2 && x < 5 && y >= 1 && y < 3) ? 200 : 0;
      if (x == 2 && y == 1) want = 0;  // 200 - 255 + 40 < 0
      if (x == 5) want = 200;          // outside the ROI
      EXPECT_EQ(inter.at(x, y), want) << x << "," << y;
    }
}

// An addition whose stripe reaches past the source's size stops its rows at the source's
// height and skips stripes that start at or past its width, both compared in destination
// coordinates. So the result depends on the cut into stripes.
TEST(MergeMask, AdditionStopsAtTheSourceSizeUnshifted) {
  Image<> src(4, 4, 1);
  std::fill(src.mem.begin(), src.mem.end(), uint8_t(10));
  MaskMergeParam p;
  p.nMergeMode = MERGE_ADD;
  p.rcMerge = IntRect{2, 2, 8, 8};
  auto engine = std::make_unique<COrvel>();
  CMaskTool single(nullptr);
  struct Form {
    CMaskTool* tool;
    int lastColumn;  // columns 2 .. lastColumn of rows 2 and 3 are added
  } forms[] = {
      // One stripe, (2..8): rows 2 and 3 only; columns 6 and 7 have no source (x - 2 >= 4).
      {&single, 5},
      // Four stripes of width 1, 1, 1, 3: those from column 4 on start at the source's width.
      {&engine->m_MaskTool, 3},
  };
  for (const Form& f : forms) {
    Image<> dst(8, 8, 1);
    ASSERT_EQ(f.tool->MergeMask(&dst.buf, &src.buf, &p), S_OK);
    for (int y = 0; y < 8; ++y)
      for (int x = 0; x < 8; ++x) {
        int want = (y >= 2 && y < 4 && x >= 2 && x <= f.lastColumn) ? 10 : 0;
        EXPECT_EQ(dst.at(x, y), want) << x << "," << y << " last column " << f.lastColumn;
      }
  }
}

TEST(MergeMask, RefusalsAndUnknownModes) {
  auto engine = std::make_unique<COrvel>();
  Image<> d(16, 16, 1), s(16, 16, 1);
  Image<uint16_t> d16(16, 16, 1);
  MaskMergeParam p;
  p.rcMerge = IntRect{0, 0, 16, 16};
  EXPECT_EQ(engine->MergeMask(&d.buf, &d16.buf, &p), E_NOTIMPL);
  BufferData deep = d.buf, deepSrc = s.buf;
  deep.nDepth = deepSrc.nDepth = 2;
  EXPECT_EQ(engine->MergeMask(&deep, &deepSrc, &p), E_NOTIMPL);
  EXPECT_EQ(engine->MergeMask(&d.buf, &s.buf, nullptr), E_POINTER);
  BufferData noPixels = s.buf;
  noPixels.pBuffer = nullptr;
  EXPECT_EQ(engine->MergeMask(&d.buf, &noPixels, &p), E_INVALIDARG);
  {
    TraceCapture capture;
    p.nMergeMode = MERGE_EXCLUDE;  // not a mask mode
    EXPECT_EQ(engine->MergeMask(&d.buf, &s.buf, &p), E_NOTIMPL);
    const auto& lines = TraceCapture::lines();
    ASSERT_EQ(lines.size(), 5u);  // once per stripe, then the frame's line
    for (int i = 0; i < 4; ++i) EXPECT_EQ(lines[i], "[Orvel] MergeMode(3) is not supported!!!\n");
    EXPECT_EQ(lines[4],
              "[Orvel] [Assert] m_MaskTool.MergeMask(pDst, pSrc, pParam) , Error! hr=80004001\n");
  }
}

namespace {

// One pixel pair per case: source alpha, destination alpha, the expected alpha and whether
// the destination's colour becomes crMerge (1, 2, 3); otherwise it stays (9, 9, 9).
struct MergeCase {
  int mode, sa, da, alpha;
  bool bColour;
};

template <class T>
void runMergeCases(const std::vector<MergeCase>& cases, CMergeTool& tool) {
  for (int mode = MERGE_ADD; mode <= MERGE_REPLACE; ++mode) {
    std::vector<const MergeCase*> rows;
    for (const MergeCase& c : cases)
      if (c.mode == mode) rows.push_back(&c);
    const int n = int(rows.size());
    Image<T> src(n, 1, 4), dst(n, 1, 4);
    for (int x = 0; x < n; ++x) {
      for (int ch = 0; ch < 3; ++ch) {
        src.at(x, 0, ch) = 5;
        dst.at(x, 0, ch) = 9;
      }
      src.at(x, 0, 3) = T(rows[x]->sa);
      dst.at(x, 0, 3) = T(rows[x]->da);
    }
    MergeParam p;
    p.nMergeMode = mode;
    p.rcMerge = IntRect{0, 0, n, 1};
    p.crMerge = Color(1, 2, 3, 4);
    ASSERT_EQ(tool.Merge(&src.buf, &dst.buf, &p), S_OK);
    for (int x = 0; x < n; ++x) {
      const MergeCase& c = *rows[x];
      SCOPED_TRACE("mode " + std::to_string(mode) + " s.a " + std::to_string(c.sa) + " d.a " +
                   std::to_string(c.da));
      EXPECT_EQ(dst.at(x, 0, 3), c.alpha);
      EXPECT_EQ(dst.at(x, 0, 0), c.bColour ? 1 : 9);
      EXPECT_EQ(dst.at(x, 0, 1), c.bColour ? 2 : 9);
      EXPECT_EQ(dst.at(x, 0, 2), c.bColour ? 3 : 9);
      EXPECT_EQ(src.at(x, 0, 3), c.sa);
    }
  }
}

}  // namespace

TEST(Merge, ModesPerPixel8) {
  const std::vector<MergeCase> cases = {
      {MERGE_ADD, 0, 0, 0, false},
      {MERGE_ADD, 0, 100, 100, false},
      {MERGE_ADD, 100, 0, 100, true},
      {MERGE_ADD, 100, 255, 255, false},
      {MERGE_ADD, 100, 150, 150, true},
      {MERGE_ADD, 200, 150, 200, true},
      {MERGE_SUBTRACT, 0, 100, 100, false},
      {MERGE_SUBTRACT, 100, 0, 0, false},
      {MERGE_SUBTRACT, 100, 255, 155, false},
      {MERGE_SUBTRACT, 100, 150, 50, false},
      {MERGE_SUBTRACT, 200, 150, 0, false},
      {MERGE_INTERSECT, 0, 100, 0, false},
      {MERGE_INTERSECT, 100, 0, 0, false},
      {MERGE_INTERSECT, 100, 255, 100, false},
      {MERGE_INTERSECT, 100, 150, 0, false},
      {MERGE_INTERSECT, 200, 150, 95, false},
      {MERGE_EXCLUDE, 0, 100, 100, false},
      {MERGE_EXCLUDE, 100, 0, 100, true},
      {MERGE_EXCLUDE, 100, 255, 155, false},
      {MERGE_EXCLUDE, 100, 150, 50, false},
      {MERGE_EXCLUDE, 200, 150, 50, false},
      {MERGE_REPLACE, 0, 100, 100, false},
      {MERGE_REPLACE, 100, 0, 100, true},
      {MERGE_REPLACE, 100, 255, 100, true},
      {MERGE_REPLACE, 200, 150, 200, true},
  };
  auto engine = std::make_unique<COrvel>();
  CMergeTool single(nullptr);
  runMergeCases<uint8_t>(cases, engine->m_MergeTool);
  runMergeCases<uint8_t>(cases, single);
}

// 16-bit: the full scale is the source's nMaxValue (65535) and crMerge is written as it is.
TEST(Merge, ModesPerPixel16) {
  const std::vector<MergeCase> cases = {
      {MERGE_ADD, 0, 100, 100, false},
      {MERGE_ADD, 100, 0, 100, true},
      {MERGE_ADD, 100, 65535, 65535, false},
      {MERGE_ADD, 30000, 60000, 60000, true},
      {MERGE_ADD, 60000, 150, 60000, true},
      {MERGE_SUBTRACT, 100, 65535, 65435, false},
      {MERGE_SUBTRACT, 60000, 150, 0, false},
      {MERGE_SUBTRACT, 30000, 60000, 30000, false},
      {MERGE_INTERSECT, 0, 100, 0, false},
      {MERGE_INTERSECT, 100, 65535, 100, false},
      {MERGE_INTERSECT, 60000, 150, 0, false},
      {MERGE_INTERSECT, 30000, 60000, 24465, false},
      {MERGE_EXCLUDE, 100, 0, 100, true},
      {MERGE_EXCLUDE, 60000, 150, 59850, false},
      {MERGE_EXCLUDE, 30000, 60000, 30000, false},
      {MERGE_REPLACE, 0, 7, 7, false},
      {MERGE_REPLACE, 40000, 7, 40000, true},
  };
  auto engine = std::make_unique<COrvel>();
  runMergeCases<uint16_t>(cases, engine->m_MergeTool);
}

TEST(Merge, RefusalsAndUnknownModes) {
  auto engine = std::make_unique<COrvel>();
  Image<> s(8, 8, 4), d(8, 8, 4);
  Image<uint16_t> d16(8, 8, 4);
  MergeParam p;
  p.rcMerge = IntRect{0, 0, 8, 8};
  EXPECT_EQ(engine->Merge(&s.buf, &d16.buf, &p), E_NOTIMPL);
  EXPECT_EQ(engine->Merge(&s.buf, nullptr, &p), E_POINTER);
  BufferData noPixels = d.buf;
  noPixels.pBuffer = nullptr;
  EXPECT_EQ(engine->Merge(&s.buf, &noPixels, &p), E_INVALIDARG);
  {
    // Even a tiny merge goes to the pool: four stripes, four lines.
    TraceCapture capture;
    p.nMergeMode = 5;
    p.rcMerge = IntRect{0, 0, 2, 1};
    EXPECT_EQ(engine->Merge(&s.buf, &d.buf, &p), E_NOTIMPL);
    const auto& lines = TraceCapture::lines();
    ASSERT_EQ(lines.size(), 5u);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(lines[i], "[Orvel] MergeMode(5) is not supported!!!\n");
    EXPECT_EQ(lines[4],
              "[Orvel] [Assert] m_MergeTool.Merge(pSrc, pDst, pParam) , Error! hr=80004001\n");
  }
  EXPECT_EQ(d.mem, std::vector<uint8_t>(d.mem.size(), 0));
}

namespace {

// Merge of one 8-bit pixel pair by definition, for the comparison below.
void mergePixelModel(int mode, const uint8_t* s, uint8_t* d, bool bInMerge, int M) {
  auto colour = [&] { d[0] = 1, d[1] = 2, d[2] = 3; };
  switch (mode) {
    case MERGE_ADD:
      if (d[3] != M && s[3] != 0) colour(), d[3] = std::max(d[3], s[3]);
      break;
    case MERGE_SUBTRACT:
      if (d[3] != 0 && s[3] != 0) d[3] = uint8_t(std::max(d[3] - s[3], 0));
      break;
    case MERGE_INTERSECT:
      if (!bInMerge)
        d[3] = 0;
      else if (d[3] != 0)
        d[3] = s[3] != 0 ? uint8_t(std::max(d[3] - M + s[3], 0)) : 0;
      break;
    case MERGE_EXCLUDE:
      if (s[3] != 0) {
        if (d[3] != 0)
          d[3] = uint8_t(std::abs(d[3] - s[3]));
        else
          colour(), d[3] = s[3];
      }
      break;
    case MERGE_REPLACE:
      if (s[3] != 0) colour(), d[3] = s[3];
      break;
  }
}

}  // namespace

// The vector workers at every instruction set compiled, against the definition pixel by pixel, on
// random selections with many zero and full alphas; stripes of the pool included.
TEST(Merge, EveryCompiledTargetMatchesTheDefinition) {
  auto engine = std::make_unique<COrvel>();
  Image<> src(61, 9, 4), dstIn(61, 9, 4);
  src.fillRandom(41);
  dstIn.fillRandom(42);
  for (int i = 0; i < 61 * 9; ++i) {
    if (i % 3 == 0) src.mem[i * 4 + 3] = 0;
    if (i % 5 == 0) dstIn.mem[i * 4 + 3] = (i % 2) ? 0 : 255;
  }
  dstIn.buf.ROI = IntRect{2, 1, 59, 9};
  const IntRect rc{7, 2, 50, 8};
  for (int mode = MERGE_ADD; mode <= MERGE_REPLACE; ++mode) {
    Image<> expected(dstIn);
    const IntRect walk = mode == MERGE_INTERSECT ? dstIn.buf.ROI : rc;
    for (int y = walk.t; y < walk.b; ++y)
      for (int x = walk.l; x < walk.r; ++x) {
        bool inMerge = x >= rc.l && x < rc.r && y >= rc.t && y < rc.b;
        mergePixelModel(mode, &src.at(x, y, 0), &expected.at(x, y, 0), inMerge, 255);
      }
    MergeParam p;
    p.nMergeMode = mode;
    p.rcMerge = rc;
    p.crMerge = Color(1, 2, 3, 99);
    for (int64_t target : FastMaskTargets()) {
      hwy::SetSupportedTargetsForTest(target);
      Image<> dst(dstIn);
      ASSERT_EQ(engine->Merge(&src.buf, &dst.buf, &p), S_OK);
      EXPECT_EQ(dst.mem, expected.mem) << "mode " << mode << " " << hwy::TargetName(target);
    }
    hwy::SetSupportedTargetsForTest(0);
  }
}
