// The blend tool's rows, stripes and regions, and the exactness of the fast row's arithmetic.
#include <algorithm>
#include <cmath>

#include "blend_test_util.h"
#include "compositing/CBlendTool.h"
#include "engine/thread_pool.h"

using namespace Orvel;
using namespace Orvel::test;

namespace {

struct Scene {
  GuardedImage src, ref, dst;
  Scene(int w, int h, uint32_t seed, bool opaqueRef = false)
      : src(w, h, 1, 3, 5), ref(w, h, 4, 1, 0), dst(w, h, 2, 2, 9) {
    std::mt19937 rng(seed);
    src.randomize(rng);
    ref.randomize(rng);
    dst.randomize(rng);
    for (int y = 0; opaqueRef && y < h; ++y)
      for (int x = 0; x < w; ++x) ref.px(x, y)[3] = 255;
  }
};

struct Flags {
  bool style, clip, overwrite;
  int opacity;
  bool opaqueRef;
};
const Flags kFlagSets[] = {{false, false, false, 100, false}, {false, true, false, 73, false},
                           {false, false, true, 50, false},   {false, true, true, 100, false},
                           {true, false, false, 100, false},  {true, true, false, 37, false},
                           {false, false, false, 100, true},  {false, true, false, 61, true}};

std::vector<uint8_t> RunScene(CBlendTool& tool, int mode, const Flags& f, int w, int h,
                              uint32_t seed, int* stripes = nullptr) {
  Scene sc(w, h, seed, f.opaqueRef);
  BlendParam prm;
  prm.nBlendMode = mode;
  prm.nOpacity = f.opacity;
  prm.bOverwrite = f.overwrite;
  EXPECT_EQ(tool.Process(&sc.src.buf, &sc.ref.buf, &sc.dst.buf, IntRect{0, 0, w, h}, &prm, f.style,
                         f.clip),
            S_OK);
  EXPECT_TRUE(sc.dst.guardsIntact() && sc.src.guardsIntact() && sc.ref.guardsIntact());
  if (stripes) *stripes = tool.LastStripeCount();
  return sc.dst.region();
}

}  // namespace

// Outside the modes that are coarser on purpose the fast row equals the portable row; in those
// modes the rest of each row after the last block of eight still does, and so does the style path.
TEST(BlendTool, FastRowMatchesPortableRowOnEveryTarget) {
  constexpr int w = 61, h = 5;  // seven blocks and five pixels of remainder per row
  CBlendTool portable(nullptr);
  ForEachFastTarget([&](int64_t) {
    CBlendTool fast(nullptr);
    fast.SetFastPath(true);
    for (int mode = 0; mode < 28; ++mode)
      for (const Flags& f : kFlagSets) {
        const uint32_t seed = 1000 + mode;
        const auto want = RunScene(portable, mode, f, w, h, seed);
        const auto got = RunScene(fast, mode, f, w, h, seed);
        const bool coarse = IsCoarseInFastBlocks(mode) && !f.style;
        for (int y = 0; y < h; ++y)
          for (int x = coarse ? 56 : 0; x < w; ++x)
            for (int c = 0; c < 4; ++c) {
              const size_t i = (size_t(y) * w + x) * 4 + c;
              ASSERT_EQ(got[i], want[i])
                  << "mode " << mode << " style " << f.style << " clip " << f.clip << " overwrite "
                  << f.overwrite << " at (" << x << ", " << y << ") channel " << c;
            }
      }
  });
}

TEST(BlendTool, PooledEqualsCallingThread) {
  CThreadPool pool;
  pool.Init(4);
  CBlendTool alone(nullptr), pooled(&pool);
  for (int row = 0; row < 2; ++row) {
    alone.SetFastPath(row == 1);
    pooled.SetFastPath(row == 1);
    for (int mode = 0; mode < 28; ++mode) {
      if (row == 1 && IsCoarseInFastBlocks(mode)) continue;  // blocks restart at each stripe
      for (const Flags& f : {kFlagSets[1], kFlagSets[5]}) {
        int stripes = -1;
        const auto want = RunScene(alone, mode, f, 123, 41, 7 + mode);
        const auto got = RunScene(pooled, mode, f, 123, 41, 7 + mode, &stripes);
        EXPECT_EQ(stripes, 4);
        ASSERT_EQ(got, want) << "row " << row << " mode " << mode;
      }
    }
  }
}

TEST(BlendTool, CallingThreadBelow4801PixelsAndStripesFromThere) {
  CThreadPool pool;
  pool.Init(4);
  CBlendTool tool(&pool);
  struct Case {
    int w, h, stripes;
  } cases[] = {{80, 60, 0}, {4800, 1, 0}, {4801, 1, 4}, {5, 1000, 4}, {3, 2000, 4}};
  for (const Case& c : cases) {
    int stripes = -1;
    RunScene(tool, BLEND_MULTIPLY, kFlagSets[0], c.w, c.h, 3, &stripes);
    EXPECT_EQ(stripes, c.stripes) << c.w << " x " << c.h;
  }
  // 5 columns on 4 workers: 1, 1, 1 and 2 columns, all rows each.
  RunScene(tool, BLEND_NORMAL, kFlagSets[0], 5, 1000, 3);
  const int edges[][2] = {{0, 1}, {1, 2}, {2, 3}, {3, 5}};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(tool.m_JobRecords[i].rcRegion.l, edges[i][0]);
    EXPECT_EQ(tool.m_JobRecords[i].rcRegion.r, edges[i][1]);
    EXPECT_EQ(tool.m_JobRecords[i].rcRegion.t, 0);
    EXPECT_EQ(tool.m_JobRecords[i].rcRegion.b, 1000);
  }
  CBlendTool alone(nullptr);
  EXPECT_EQ(RunScene(tool, BLEND_SCREEN, kFlagSets[1], 5, 1000, 9),
            RunScene(alone, BLEND_SCREEN, kFlagSets[1], 5, 1000, 9));
}

// Opaque grey 101 over opaque grey 100 in Overlay: D(2 x 101 x 100) = 79 portably, while a
// block gives 2 x D(101 x 100) = 78. Four stripes of nine columns each end in one pixel of
// remainder, so every ninth column takes the portable value.
TEST(BlendTool, FastBlocksStartAtEachStripesLeftEdge) {
  CThreadPool pool;
  pool.Init(4);
  CBlendTool tool(&pool);
  tool.SetFastPath(true);
  constexpr int w = 36, h = 150;
  GuardedImage src(w, h), dst(w, h);
  const uint8_t s[4] = {101, 101, 101, 255}, b[4] = {100, 100, 100, 255};
  src.fill(s);
  dst.fill(b);
  BlendParam prm;
  prm.nBlendMode = BLEND_OVERLAY;
  ASSERT_EQ(tool.Process(&src.buf, &dst.buf, &prm), S_OK);
  ASSERT_EQ(tool.LastStripeCount(), 4);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) ASSERT_EQ(dst.px(x, y)[0], x % 9 == 8 ? 79 : 78) << x << ", " << y;
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BlendTool, RegionIsTheSmallestOfTheThreeRoisAndR) {
  CBlendTool tool(nullptr);
  GuardedImage src(9, 7), ref(6, 8), dst(10, 10);
  const uint8_t red[4] = {0, 0, 255, 255}, grey[4] = {50, 50, 50, 255};
  src.fill(red);
  ref.fill(grey);
  dst.fill(grey);
  BlendParam prm;
  ASSERT_EQ(tool.Process(&src.buf, &ref.buf, &dst.buf, IntRect{2, 2, 7, 9}, &prm), S_OK);
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 10; ++x)
      EXPECT_EQ(dst.px(x, y)[2], x < 5 && y < 7 ? 255 : 50) << x << ", " << y;
  // Empty regions: nothing is written and the answer is 0.
  const std::vector<uint8_t> before = dst.mem;
  EXPECT_EQ(tool.Process(&src.buf, &ref.buf, &dst.buf, IntRect{4, 0, 4, 9}, &prm), S_OK);
  EXPECT_EQ(tool.Process(&src.buf, &ref.buf, &dst.buf, IntRect{0, 5, 9, 2}, &prm), S_OK);
  prm.nOpacity = 0;
  EXPECT_EQ(tool.Process(&src.buf, &ref.buf, &dst.buf, IntRect{0, 0, 9, 9}, &prm), S_OK);
  EXPECT_EQ(dst.mem, before);
  prm.nBlendMode = 28;
  EXPECT_EQ(tool.Process(&src.buf, &ref.buf, &dst.buf, IntRect{0, 0, 9, 9}, &prm), E_INVALIDARG);
  EXPECT_EQ(dst.mem, before);
}

TEST(BlendTool, Process_Color2MixesTowardTheOriginalByTheReferenceAlpha) {
  CBlendTool tool(nullptr);
  Scene sc(13, 4, 42), copy(13, 4, 42);
  BlendParam prm;
  prm.nBlendMode = BLEND_MULTIPLY;
  ASSERT_EQ(tool.Process_Color(&copy.src.buf, &copy.ref.buf, &copy.src.buf, &prm), S_OK);
  ASSERT_EQ(tool.Process_Color2(&sc.src.buf, &sc.ref.buf, &sc.src.buf, &prm), S_OK);
  Scene orig(13, 4, 42);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 13; ++x) {
      const int a = sc.ref.px(x, y)[3];
      for (int c = 0; c < 3; ++c) {
        const double blended = copy.src.px(x, y)[c], was = orig.src.px(x, y)[c];
        EXPECT_EQ(sc.src.px(x, y)[c], int(blended * (a / 255.0) + (was * (255 - a)) / 255.0));
      }
      EXPECT_EQ(sc.src.px(x, y)[3], copy.src.px(x, y)[3]);
    }
  EXPECT_TRUE(sc.src.guardsIntact());
  GuardedImage narrow(12, 4);
  EXPECT_EQ(tool.Process_Color2(&narrow.buf, &sc.ref.buf, &narrow.buf, &prm), E_INVALIDARG);
}

// Four forms: (c x a + colour x (255 - a)) / 255 portably, >> 8 on the fast row; 16-bit input
// by its high bytes, with portable rows advancing an even number of elements.
TEST(BlendTool, BlendWithSingleColorInItsFourForms) {
  constexpr int w = 37, h = 3;
  const Color colour(10, 20, 30, 99);
  std::mt19937 rng(5);
  for (int depth = 0; depth < 2; ++depth)
    for (int row = 0; row < 2; ++row) {
      CBlendTool tool(nullptr);
      tool.SetFastPath(row == 1);
      const int elem = depth ? 2 : 1;
      BufferData in, out;
      in.nWidth = out.nWidth = w;
      in.nHeight = out.nHeight = h;
      in.nDepth = depth;
      in.nStride = w * 4 * elem + 2;  // an odd number of elements per row at 16 bits
      out.nStride = w * 3 + 5;
      std::vector<uint8_t> inMem(size_t(in.nStride) * h), outMem(size_t(out.nStride) * h, kGuard);
      for (auto& v : inMem) v = uint8_t(rng());
      in.pBuffer = inMem.data();
      out.pBuffer = outMem.data();
      ASSERT_EQ(tool.BlendWithSingleColor(in, out, colour), S_OK);
      const int rowElems =
          depth == 0 ? in.nStride : (row == 0 ? (in.nStride / 2) & ~1 : in.nStride / 2);
      const int col[3] = {10, 20, 30};
      for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
          auto channel = [&](int c) {
            if (depth == 0) return int(inMem[size_t(y) * rowElems + 4 * x + c]);
            return int(inMem[(size_t(y) * rowElems + 4 * x + c) * 2 + 1]);  // high byte
          };
          const int a = channel(3);
          for (int c = 0; c < 3; ++c) {
            const int sum = channel(c) * a + col[c] * (255 - a);
            ASSERT_EQ(outMem[size_t(y) * out.nStride + 3 * x + c], row == 0 ? sum / 255 : sum >> 8)
                << "depth " << depth << " row " << row << " at " << x << ", " << y;
          }
        }
      for (int y = 0; y < h; ++y)
        for (int k = w * 3; k < out.nStride; ++k)
          ASSERT_EQ(outMem[size_t(y) * out.nStride + k], kGuard);
      in.nDepth = 2;
      EXPECT_EQ(tool.BlendWithSingleColor(in, out, colour), E_NOTIMPL);
    }
}

// D(x) = (x x 0x8081) >> 23 for every 16-bit x, and both vector divisions for every 16-bit
// numerator and every divisor 1..255, on every instruction set.
TEST(BlendTool, FastDivisionsAreExactForEveryCase) {
  std::vector<int32_t> x(65536), q(65536);
  for (int i = 0; i < 65536; ++i) x[i] = i;
  std::vector<int32_t> num(65536), den(65536), out(65536);
  for (int i = 0; i <= 65535; ++i) num[i] = i;
  ForEachFastTarget([&](int64_t) {
    FastDiv255Probe(x.data(), q.data(), x.size());
    for (int i = 0; i < 65536; ++i) ASSERT_EQ(q[i], i / 255) << i;
    for (int d = 1; d <= 255; ++d) {
      std::fill(den.begin(), den.end(), d);
      FastDivideProbe(num.data(), den.data(), out.data(), num.size());
      for (int i = 0; i <= 65535; ++i) ASSERT_EQ(out[i], i / d) << i << " / " << d;
    }
  });
}

// SoftLight blocks take G = trunc(sqrt(b) x 16.0) in single precision for b >= 64. Opaque
// s = 200 over every opaque backdrop 64..255 gives M = D(2b x 55) + D(G x 145).
TEST(BlendTool, SoftLightBlocksUseTheSingleRootForEveryBackdrop) {
  ForEachFastTarget([&](int64_t) {
    CBlendTool fast(nullptr);
    fast.SetFastPath(true);
    GuardedImage src(192, 1), dst(192, 1);
    for (int x = 0; x < 192; ++x) {
      const uint8_t s[4] = {200, 200, 200, 255}, b[4] = {uint8_t(64 + x), 0, 255, 255};
      std::copy(s, s + 4, src.px(x, 0));
      std::copy(b, b + 4, dst.px(x, 0));
    }
    BlendParam prm;
    prm.nBlendMode = BLEND_SOFT_LIGHT;
    ASSERT_EQ(fast.Process(&src.buf, &dst.buf, &prm), S_OK);
    for (int x = 0; x < 192; ++x) {
      const int b = 64 + x, G = int(std::sqrt(float(b)) * 16.0f);
      EXPECT_EQ(dst.px(x, 0)[0], (2 * b * 55) / 255 + (G * 145) / 255) << "b " << b;
    }
  });
}
