#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <memory>

#include "compositing/CMaskTool.h"
#include "compositing/mask_kernels.h"
#include "engine/COrvel.h"
#include "masks_test_util.h"

using namespace Orvel;
using masks_test::Image;
using masks_test::readLines;

namespace {

struct BlurCase {
  std::string name;
  int depth = 0, width = 0, height = 0, stride = 0, radius = 0;
  std::vector<int> input, boxblur, boxsrc, blurmask;  // stride x height each
};

std::vector<BlurCase> loadCases() {
  std::vector<BlurCase> cases;
  for (const auto& w : readLines("boxblur.txt")) {
    if (w[0] == "case") {
      BlurCase c;
      c.name = w[1];
      c.depth = std::stoi(w[2]);
      c.width = std::stoi(w[3]);
      c.height = std::stoi(w[4]);
      c.stride = std::stoi(w[5]);
      c.radius = std::stoi(w[6]);
      cases.push_back(c);
      continue;
    }
    BlurCase& c = cases.back();
    std::vector<int>* block = w[0] == "input"     ? &c.input
                              : w[0] == "boxblur" ? &c.boxblur
                              : w[0] == "boxsrc"  ? &c.boxsrc
                                                  : &c.blurmask;
    for (size_t i = 2; i < w.size(); ++i) block->push_back(std::stoi(w[i]));
  }
  return cases;
}

template <class T>
std::vector<int> asInts(const std::vector<T>& v) {
  return std::vector<int>(v.begin(), v.end());
}

// The box blur by its definition: the window summed anew for every element, elements beyond
// the line counting 0, divided by 2r + 1 with the double rounding of the definition.
template <class T>
void boxModel(const T* in, T* out, int w, int h, int stride, int r) {
  const int shortest = std::min(w, h);
  if (2 * r >= shortest) r = (shortest - 1) / 2;
  const double k = 1.0 / (2 * r + 1);
  std::vector<T> rows(in, in + size_t(stride) * h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int64_t s = 0;
      for (int i = x - r; i <= x + r; ++i)
        if (i >= 0 && i < w) s += in[y * stride + i];
      rows[y * stride + x] = T(int64_t(s * k + 0.5));
    }
  std::copy(rows.begin(), rows.end(), out);
  for (int x = 0; x < w; ++x)
    for (int y = 0; y < h; ++y) {
      int64_t s = 0;
      for (int i = y - r; i <= y + r; ++i)
        if (i >= 0 && i < h) s += rows[i * stride + x];
      out[y * stride + x] = T(int64_t(s * k + 0.5));
    }
}

// The four ways a blur can run: one thread or the pool, plain or fast.
struct Forms {
  std::unique_ptr<COrvel> engine = std::make_unique<COrvel>();
  CMaskTool single{nullptr};
  std::vector<std::pair<CMaskTool*, bool>> all() {
    return {{&single, false},
            {&single, true},
            {&engine->m_MaskTool, false},
            {&engine->m_MaskTool, true}};
  }
};

template <class T>
HRESULT boxBlur(CMaskTool& tool, T* src, T* dst, int w, int h, int stride, int r) {
  if constexpr (sizeof(T) == 1)
    return tool.BoxBlur8(src, dst, w, h, stride, r);
  else
    return tool.BoxBlur16(src, dst, w, h, stride, r);
}

template <class T>
void checkReferenceCase(const BlurCase& c, CMaskTool& tool) {
  Image<T> src(c.width, c.height, 1, c.stride);
  for (size_t i = 0; i < src.mem.size(); ++i) src.mem[i] = T(c.input[i]);
  Image<T> dst(c.width, c.height, 1, c.stride);
  std::fill(dst.mem.begin(), dst.mem.end(), T(77));
  ASSERT_EQ(boxBlur(tool, src.mem.data(), dst.mem.data(), c.width, c.height, c.stride, c.radius),
            S_OK);
  EXPECT_EQ(asInts(dst.mem), c.boxblur);
  EXPECT_EQ(asInts(src.mem), c.boxsrc);

  Image<T> mask(c.width, c.height, 1, c.stride);
  for (size_t i = 0; i < mask.mem.size(); ++i) mask.mem[i] = T(c.input[i]);
  int r = c.radius;
  ASSERT_EQ(tool.BlurMask(&mask.buf, &r), S_OK);
  EXPECT_EQ(asInts(mask.mem), c.blurmask);

  // One pass in place leaves what BoxBlur leaves in pDst.
  Image<T> once(c.width, c.height, 1, c.stride);
  for (size_t i = 0; i < once.mem.size(); ++i) once.mem[i] = T(c.input[i]);
  ASSERT_EQ(tool.Blur(once.buf, &r), S_OK);
  EXPECT_EQ(asInts(once.mem), c.boxblur);
}

}  // namespace

TEST(BoxBlur, ReferenceCasesInEveryForm) {
  const auto cases = loadCases();
  ASSERT_EQ(cases.size(), 8u);
  Forms forms;
  for (const BlurCase& c : cases)
    for (auto [tool, bFast] : forms.all()) {
      SCOPED_TRACE(c.name + (bFast ? " fast" : " plain"));
      tool->SetFastPath(bFast);
      if (c.depth == 0)
        checkReferenceCase<uint8_t>(c, *tool);
      else
        checkReferenceCase<uint16_t>(c, *tool);
    }
}

// Larger images against the definition: the running sum, the radius shrink, the stripes and
// bands of the pool and the fast form all give the same values. (The fast form would be
// allowed one level of difference; it divides exactly, so none is expected.)
TEST(BoxBlur, AllFormsMatchTheDefinition) {
  struct Case {
    int w, h, stride, radius;
  } cases[] = {{517, 389, 520, 0}, {517, 389, 517, 1}, {517, 389, 530, 6}, {300, 211, 301, 40},
               {97, 60, 97, 300},  {9, 400, 12, 7},    {4, 4, 4, 1},       {1, 50, 1, 3}};
  Forms forms;
  for (const Case& c : cases) {
    Image<uint8_t> in8(c.w, c.h, 1, c.stride);
    in8.fillRandom(c.w + c.radius);
    Image<uint16_t> in16(c.w, c.h, 1, c.stride);
    in16.fillRandom(c.h + c.radius);
    Image<uint8_t> want8(in8);
    boxModel(in8.mem.data(), want8.mem.data(), c.w, c.h, c.stride, c.radius);
    Image<uint16_t> want16(in16);
    boxModel(in16.mem.data(), want16.mem.data(), c.w, c.h, c.stride, c.radius);
    for (auto [tool, bFast] : forms.all()) {
      SCOPED_TRACE(std::to_string(c.w) + "x" + std::to_string(c.h) + " r" +
                   std::to_string(c.radius) + (bFast ? " fast" : " plain"));
      tool->SetFastPath(bFast);
      Image<uint8_t> s8(in8), d8(in8);
      ASSERT_EQ(tool->BoxBlur8(s8.mem.data(), d8.mem.data(), c.w, c.h, c.stride, c.radius), S_OK);
      EXPECT_EQ(d8.mem, want8.mem);
      Image<uint16_t> s16(in16), d16(in16);
      ASSERT_EQ(tool->BoxBlur16(s16.mem.data(), d16.mem.data(), c.w, c.h, c.stride, c.radius),
                S_OK);
      EXPECT_EQ(d16.mem, want16.mem);
    }
  }
  EXPECT_EQ(forms.engine->m_MaskTool.LastStripeCount(), 0);  // the last case is 1 wide
}

TEST(BoxBlur, BandsAndStripesGoToThePool) {
  Forms forms;
  CMaskTool& tool = forms.engine->m_MaskTool;
  struct Case {
    int w, h, stripes;
  } cases[] = {{4, 4, 4}, {3, 100, 0}, {100, 3, 0}, {5, 1000, 4}};
  for (const Case& c : cases) {
    Image<> s(c.w, c.h, 1), d(c.w, c.h, 1);
    s.fillRandom(1);
    ASSERT_EQ(tool.BoxBlur8(s.mem.data(), d.mem.data(), c.w, c.h, c.w, 1), S_OK);
    EXPECT_EQ(tool.LastStripeCount(), c.stripes) << c.w << "x" << c.h;
  }
}

TEST(BlurMask, RadiusBelowOneAndRefusals) {
  Forms forms;
  Image<> buf(20, 10, 1);
  buf.fillRandom(5);
  const auto before = buf.mem;
  CMaskTool& tool = forms.engine->m_MaskTool;
  for (int r : {0, -1, -1000}) {
    EXPECT_EQ(tool.BlurMask(&buf.buf, &r), S_OK);
    EXPECT_EQ(tool.Blur(buf.buf, &r), S_FALSE);
  }
  EXPECT_EQ(buf.mem, before);

  int r = 2;
  EXPECT_EQ(forms.engine->BlurMask(&buf.buf, nullptr), E_POINTER);
  EXPECT_EQ(forms.engine->BlurMask(nullptr, &r), E_POINTER);
  EXPECT_EQ(tool.Blur(buf.buf, nullptr), E_POINTER);
  BufferData deep = buf.buf;
  deep.nDepth = 2;
  EXPECT_EQ(forms.engine->BlurMask(&deep, &r), E_NOTIMPL);
  EXPECT_EQ(tool.Blur(deep, &r), E_NOTIMPL);
  BufferData empty = buf.buf;
  empty.pBuffer = nullptr;
  EXPECT_EQ(forms.engine->BlurMask(&empty, &r), E_POINTER);
  EXPECT_EQ(tool.BoxBlur8(nullptr, buf.mem.data(), 20, 10, 20, 2), E_POINTER);
  EXPECT_EQ(tool.BoxBlur8(buf.mem.data(), buf.mem.data(), 20, 10, 20, 2), E_INVALIDARG);
  EXPECT_EQ(buf.mem, before);
}

// The fast kernels at every instruction set they were compiled for, not only the best one of
// this machine: wider vectors and the few columns left over must give the same values.
TEST(BoxBlur, EveryCompiledTargetGivesTheDefinition) {
  const std::vector<int64_t> targets = FastMaskTargets();
  ASSERT_FALSE(targets.empty());
  Image<uint8_t> in8(203, 77, 1, 211);
  in8.fillRandom(21);
  Image<uint16_t> in16(203, 77, 1, 211);
  in16.fillRandom(22);
  Image<uint8_t> want8(in8);
  boxModel(in8.mem.data(), want8.mem.data(), 203, 77, 211, 9);
  Image<uint16_t> want16(in16);
  boxModel(in16.mem.data(), want16.mem.data(), 203, 77, 211, 9);
  CMaskTool tool(nullptr);
  tool.SetFastPath(true);
  for (int64_t target : targets) {
    hwy::SetSupportedTargetsForTest(target);
    SCOPED_TRACE(hwy::TargetName(target));
    Image<uint8_t> s8(in8), d8(in8);
    ASSERT_EQ(tool.BoxBlur8(s8.mem.data(), d8.mem.data(), 203, 77, 211, 9), S_OK);
    EXPECT_EQ(d8.mem, want8.mem);
    Image<uint16_t> s16(in16), d16(in16);
    ASSERT_EQ(tool.BoxBlur16(s16.mem.data(), d16.mem.data(), 203, 77, 211, 9), S_OK);
    EXPECT_EQ(d16.mem, want16.mem);
  }
  hwy::SetSupportedTargetsForTest(0);
}
