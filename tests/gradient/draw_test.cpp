// Drawing: the table index of each shape, the error diffusion, strips and the pool, and the
// statuses of DrawObject.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <string>
#include <vector>

#include "engine/thread_pool.h"
#include "gradient/CGradientTool.h"
#include "gradient/GradientDraw.h"
#include "gradient_test_util.h"

using namespace Orvel;
using namespace Orvel::test;

namespace {

constexpr int kM = 3069;  // last entry of the 3070-entry table

// ---- a plain model of the drawing: every step spelled out, one channel at a time ----

// Index of pixel (x, y): the formula of the shape in floats, truncated, then held to [0, M].
int modelIndex(int type, Point b, Point end, int x, int y) {
  const float M = static_cast<float>(kM);
  const float dx = end.x - b.x, dy = end.y - b.y;
  const float L2 = dx * dx + dy * dy;
  const float X = static_cast<float>(x) - b.x, Y = static_cast<float>(y) - b.y;
  const float fx = dx / L2, fy = dy / L2;
  float t = 0;
  switch (type) {
    case 0:
      t = (X * fx + Y * fy) * M;
      break;
    case 1: {
      const float r = 1.0f / sqrtf(L2);
      const float invL = r * -0.5f * (L2 * r * r - 3.0f);
      t = sqrtf(X * X + Y * Y) * invL * M;
      break;
    }
    case 2: {
      const float c = (X * dx + Y * dy) / (sqrtf(X * X + Y * Y) * sqrtf(L2));
      float a = acosf(c);
      if (c > -1.00001f && c < -0.99999f) a = 3.1415927f;
      if (c > 0.99999f && c < 1.00001f) a = 0.0f;
      if (X * dy - Y * dx > 0.0f) a = 6.2831855f - a;
      t = a * 0.15915494f * M;
      break;
    }
    case 3:
      t = fabsf((X * fx + Y * fy) * M);
      if (M < t) t = M;
      break;
    case 4:
      t = (fabsf(X * fx + Y * fy) + fabsf(Y * fx - X * fy)) * M;
      if (t > M) t = M;
      break;
  }
  int i;
  if (t != t)
    i = 0;
  else if (t >= 2147483648.0f)
    i = INT_MAX;
  else if (t < -2147483648.0f)
    i = INT_MIN;
  else
    i = static_cast<int>(t);
  return i < 0 ? 0 : (i > kM ? kM : i);
}

// The random bits, one per call: splitmix64 seeded with the strip number, each output read
// from its lowest bit up.
struct ModelBits {
  uint64_t state;
  uint64_t word = 0;
  int left = 0;
  explicit ModelBits(uint64_t seed) : state(seed) {}
  int next() {
    if (left == 0) {
      uint64_t z = (state += 0x9E3779B97F4A7C15ull);
      z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
      z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
      word = z ^ (z >> 31);
      left = 64;
    }
    int bit = static_cast<int>(word & 1);
    word >>= 1;
    --left;
    return bit;
  }
};

// Floyd-Steinberg over one strip, channel by channel, with error rows of width + 1 entries.
void modelStrip(const ColorF* T, int type, Point b, Point e, uint8_t* mem, int stride, IntRect roi,
                int y0, int y1, int strip) {
  const int w = roi.r - roi.l;
  std::vector<float> errCur((w + 1) * 4, 0.0f), errNext((w + 1) * 4, 0.0f);
  ModelBits bits(static_cast<uint64_t>(strip));
  for (int y = y0; y < y1; ++y) {
    errCur = errNext;
    std::fill(errNext.begin(), errNext.end(), 0.0f);
    for (int x = 0; x < w; ++x) {
      const ColorF& t = T[modelIndex(type, b, e, roi.l + x, y)];
      const float tc[4] = {t.b, t.g, t.r, t.a};
      for (int c = 0; c < 4; ++c) {
        const float err = x == 0 ? 0.0f : errCur[x * 4 + c];
        float v = static_cast<float>(bits.next()) + tc[c] + err;
        if (!(v >= 0.0f)) v = 0.0f;
        if (v > 255.0f) v = 255.0f;
        const int o = static_cast<int>(v);
        mem[y * stride + (roi.l + x) * 4 + c] = static_cast<uint8_t>(o);
        const float spread = tc[c] - static_cast<float>(o) + err;
        if (x < w - 1) errCur[(x + 1) * 4 + c] += 0.4375 * spread;
        if (y < y1 - 1) {
          if (x > 0) errNext[(x - 1) * 4 + c] += 0.1875 * spread;
          errNext[x * 4 + c] += 0.3125 * spread;
          if (x < w - 1) errNext[(x + 1) * 4 + c] += 0.0625 * spread;
        }
      }
    }
  }
}

void modelPicture(const ColorF* T, int type, Point b, Point e, std::vector<uint8_t>& mem,
                  int stride, IntRect roi, int strips) {
  const int rows = roi.b - roi.t;
  for (int i = 0; i < strips; ++i) {
    const int slice = rows / strips;
    const int y0 = roi.t + i * slice;
    const int y1 = i == strips - 1 ? roi.b : y0 + slice;
    modelStrip(T, type, b, e, mem.data(), stride, roi, y0, y1, i);
  }
}

void buildRainbow(CGradientTool& tool) {
  const Stops stops = rainbowStops();
  const ReferenceParam p = stops.param();
  ASSERT_EQ(tool.SetColorReferenceWithAnchor(&p), S_OK);
}

GradientParam shapeParam(int type, Point b, Point e) {
  GradientParam p;
  p.nGradientType = type;
  p.ptBegin = b;
  p.ptEnd = e;
  return p;
}

}  // namespace

TEST(GradientIndex, HandComputedPixels) {
  const struct {
    int type;
    Point b, e;
    int x, y;
    int index;
  } rows[] = {
      // Linear from (0, 0) to (10, 0): the projection on the axis, 0 before, M beyond.
      {0, {0, 0}, {10, 0}, 5, 3, 1534},  // 0.5 x 3069
      {0, {0, 0}, {10, 0}, 10, 7, 3069},
      {0, {0, 0}, {10, 0}, -3, 0, 0},
      {0, {0, 0}, {10, 0}, 40, 0, 3069},
      {0, {2, 2}, {2, 12}, 0, 4, 613},  // 0.2 x 3069 = 613.8
      // Radial around (4, 4) with radius 10.
      {1, {4, 4}, {4, 14}, 10, 12, 3069},
      {1, {4, 4}, {4, 14}, 7, 8, 1534},
      {1, {4, 4}, {4, 14}, 4, 4, 0},
      {1, {4, 4}, {4, 14}, 30, 30, 3069},
      // Angle from the axis (1, 0), the turn going through negative y first.
      {2, {0, 0}, {10, 0}, 5, 0, 0},
      {2, {0, 0}, {10, 0}, 0, 5, 767},    // a quarter turn: 767.25
      {2, {0, 0}, {10, 0}, -5, 0, 1534},  // half a turn
      {2, {0, 0}, {10, 0}, 0, -5, 2301},  // three quarters: 2301.75
      // Reflected: the linear distance on both sides.
      {3, {0, 0}, {10, 0}, 5, 0, 1534},
      {3, {0, 0}, {10, 0}, -5, 7, 1534},
      {3, {0, 0}, {10, 0}, -30, 0, 3069},
      // Diamond: the sum of both distances, 0.3 + 0.4 = 0.7 x 3069 = 2148.3.
      {4, {0, 0}, {10, 0}, 3, 4, 2148},
      {4, {0, 0}, {10, 0}, -3, -4, 2148},
      {4, {0, 0}, {10, 0}, -2, -9, 3069},
  };
  for (const auto& row : rows) {
    IndexRowFn fn = GetIndexRowFn(row.type);
    ASSERT_NE(fn, nullptr);
    const GradientAxis axis = MakeGradientAxis(row.b, row.e, 3070);
    int32_t idx = -1;
    fn(axis, row.y, row.x, 1, &idx);
    EXPECT_EQ(idx, row.index) << "type " << row.type << " at " << row.x << "," << row.y;
    EXPECT_EQ(modelIndex(row.type, row.b, row.e, row.x, row.y), row.index)
        << "model, type " << row.type << " at " << row.x << "," << row.y;
  }
  EXPECT_EQ(GetIndexRowFn(-1), nullptr);
  EXPECT_EQ(GetIndexRowFn(5), nullptr);
}

TEST(GradientIndex, RowsMatchThePlainModel) {
  const struct {
    Point b, e;
  } axes[] = {
      {{3.25f, 7.5f}, {41.0f, 29.75f}},  {{20.0f, 20.0f}, {19.0f, 60.0f}},
      {{-5.5f, 30.0f}, {70.0f, -12.0f}}, {{30.0f, 30.0f}, {30.0f, 30.0f}},  // no length
      {{0.0f, 0.0f}, {0.001f, 0.0f}},                                       // almost none
  };
  std::vector<int32_t> idx(64);
  for (int type = 0; type < 5; ++type)
    for (const auto& a : axes) {
      const GradientAxis axis = MakeGradientAxis(a.b, a.e, 3070);
      for (int y = -3; y < 61; y += 4) {
        GetIndexRowFn(type)(axis, y, -2, 64, idx.data());
        for (int k = 0; k < 64; ++k)
          ASSERT_EQ(idx[k], modelIndex(type, a.b, a.e, k - 2, y))
              << "type " << type << " at " << k - 2 << "," << y << " axis " << a.b.x << "," << a.b.y
              << " " << a.e.x << "," << a.e.y;
      }
    }
}

// Both builds of the pixel loop (baseline and, where the processor has it, AVX2) must draw
// the model's bytes.
class GradientDrawKernels : public ::testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    if (!SetDitherKernelForTest(GetParam())) GTEST_SKIP() << "processor lacks this build";
  }
  void TearDown() override { SetDitherKernelForTest(-1); }
};

INSTANTIATE_TEST_SUITE_P(Builds, GradientDrawKernels, ::testing::Values(0, 1),
                         [](const ::testing::TestParamInfo<int>& info) {
                           return info.param == 0 ? std::string("Baseline") : std::string("Avx2");
                         });

// Pictures against the model, with the region somewhere inside a padded buffer (its bytes
// outside must stay as they were), one strip on the calling thread or strips on a pool.
TEST_P(GradientDrawKernels, PicturesMatchTheModelInEveryStrip) {
  const struct {
    int threads;
    int w, h;
    IntRect roi;
  } rows[] = {
      {1, 44, 33, {3, 2, 40, 31}}, {2, 50, 41, {0, 0, 50, 41}},
      {3, 37, 29, {5, 1, 37, 28}}, {4, 64, 64, {0, 0, 64, 64}},
      {8, 23, 70, {1, 3, 20, 70}}, {4, 16, 3, {0, 0, 16, 3}},  // fewer rows than strips
      {1, 1, 7, {0, 0, 1, 7}},  // rows narrower than the stagger of the rows drawn together
      {1, 4, 10, {1, 0, 3, 10}},   {2, 5, 13, {0, 0, 5, 13}},
  };
  for (const auto& row : rows) {
    CThreadPool pool;
    pool.Init(row.threads);
    CGradientTool tool(&pool);
    buildRainbow(tool);
    for (int type = 0; type < 5; ++type) {
      const GradientParam p = shapeParam(type, {row.roi.l + 4.0f, row.roi.t + 6.0f},
                                         {row.roi.r - 3.5f, row.roi.b - 1.0f});
      Canvas first(row.w, row.h, row.roi), again(row.w, row.h, row.roi),
          want(row.w, row.h, row.roi);
      ASSERT_EQ(tool.DrawObject(&first.buf, &p), S_OK);
      ASSERT_EQ(tool.DrawObject(&again.buf, &p), S_OK);
      modelPicture(tool.RefTable(), type, p.ptBegin, p.ptEnd, want.mem, want.stride, row.roi,
                   row.threads);
      EXPECT_EQ(first.mem, again.mem) << row.threads << " threads, type " << type;
      EXPECT_EQ(first.mem, want.mem) << row.threads << " threads, type " << type;
    }
  }
}

TEST(GradientDraw, DitheringKeepsTheMeanOfAGentleRamp) {
  // Three levels over 256 columns: almost every table value has a fraction, which truncation
  // alone would lose (about half a level) and a bit kept in the error would add.
  const float colorPos[] = {0.0f, 1.0f};
  const Color colors[] = {Color(10, 100, 200, 0), Color(13, 97, 202, 0)};
  const float opacityPos[] = {0.0f, 1.0f};
  const int32_t opacities[] = {60, 62};
  ReferenceParam ref;
  ref.nColors = 2;
  ref.pColorPos = colorPos;
  ref.pColors = colors;
  ref.nOpacities = 2;
  ref.pOpacityPos = opacityPos;
  ref.pOpacities = opacities;
  CGradientTool tool(nullptr);
  ASSERT_EQ(tool.SetColorReferenceWithAnchor(&ref), S_OK);
  Canvas c(256, 128);
  const GradientParam p = shapeParam(0, {0.0f, 0.0f}, {255.0f, 0.0f});
  ASSERT_EQ(tool.DrawObject(&c.buf, &p), S_OK);
  // Column bands of 32: the mean of the bytes against the mean of the table entries.
  for (int band = 0; band < 8; ++band) {
    double got[4] = {}, want[4] = {};
    for (int y = 0; y < 128; ++y)
      for (int x = band * 32; x < band * 32 + 32; ++x) {
        const ColorF& t = tool.RefTable()[modelIndex(0, p.ptBegin, p.ptEnd, x, y)];
        const float tc[4] = {t.b, t.g, t.r, t.a};
        for (int ch = 0; ch < 4; ++ch) {
          got[ch] += c.mem[y * c.stride + x * 4 + ch];
          want[ch] += tc[ch];
        }
      }
    for (int ch = 0; ch < 4; ++ch)
      EXPECT_NEAR(got[ch] / 4096, want[ch] / 4096, 0.05) << "band " << band << " channel " << ch;
  }
}

TEST(GradientDraw, AxisOfNoLengthDrawsTheFirstEntry) {
  CGradientTool tool(nullptr);
  buildRainbow(tool);
  for (int type = 0; type < 5; ++type) {
    Canvas got(9, 7), want(9, 7);
    const GradientParam p = shapeParam(type, {4.0f, 3.0f}, {4.0f, 3.0f});
    EXPECT_EQ(tool.DrawObject(&got.buf, &p), S_OK) << type;
    modelPicture(tool.RefTable(), type, p.ptBegin, p.ptEnd, want.mem, want.stride,
                 IntRect{0, 0, 9, 7}, 1);
    EXPECT_EQ(got.mem, want.mem) << type;
    for (int i = 0; i < 9 * 7; ++i)
      EXPECT_NEAR(got.mem[(i / 9) * got.stride + (i % 9) * 4], 250, 1);
  }
}

TEST(GradientDraw, Statuses) {
  CThreadPool pool;
  pool.Init(3);
  CGradientTool tool(&pool), empty(&pool);
  buildRainbow(tool);
  const GradientParam linear = shapeParam(0, {0, 0}, {5, 5});
  {
    Canvas c(6, 6);
    EXPECT_EQ(empty.DrawObject(&c.buf, &linear), E_FAIL);  // never built a table
    EXPECT_EQ(c.mem, Canvas(6, 6).mem);
  }
  const struct {
    const char* name;
    int type;
    Point b, e;
    void (*spoil)(BufferData&);
    HRESULT status;
    bool drawn;
  } rows[] = {
      {"unknown type 5", 5, {0, 0}, {5, 5}, nullptr, E_INVALIDARG, false},
      {"unknown type -1", -1, {0, 0}, {5, 5}, nullptr, E_INVALIDARG, false},
      {"unknown type, no axis", 7, {2, 2}, {2, 2}, nullptr, E_INVALIDARG, false},
      {"16-bit buffer", 0, {0, 0}, {5, 5}, [](BufferData& b) { b.nDepth = 1; }, E_NOTIMPL, false},
      {"grey buffer",
       0,
       {0, 0},
       {5, 5},
       [](BufferData& b) {
         b.nFormat = FORMAT_GRAY8;
         b.nPixelStep = 1;
       },
       E_NOTIMPL,
       false},
      {"no pixels",
       0,
       {0, 0},
       {5, 5},
       [](BufferData& b) { b.pBuffer = nullptr; },
       E_POINTER,
       false},
      {"region beyond the buffer",
       0,
       {0, 0},
       {5, 5},
       [](BufferData& b) { b.ROI.r = 7; },
       E_INVALIDARG,
       false},
      {"empty region",
       0,
       {0, 0},
       {5, 5},
       [](BufferData& b) {
         b.ROI = IntRect{2, 2, 2, 5};
       },
       S_OK,
       false},
      {"diamond", 4, {0, 0}, {5, 5}, nullptr, S_OK, true},
  };
  for (const auto& row : rows) {
    Canvas c(6, 6);
    BufferData buf = c.buf;
    if (row.spoil) row.spoil(buf);
    const GradientParam p = shapeParam(row.type, row.b, row.e);
    EXPECT_EQ(tool.DrawObject(&buf, &p), row.status) << row.name;
    EXPECT_EQ(c.mem != Canvas(6, 6).mem, row.drawn) << row.name;
  }
  Canvas c(6, 6);
  EXPECT_EQ(tool.DrawObject(nullptr, &linear), E_POINTER);
  EXPECT_EQ(tool.DrawObject(&c.buf, nullptr), E_POINTER);
}
