#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "colormatch/CColorMatch.h"
#include "colormatch/ColorMatchKernels.h"
#include "colormatch_model.h"
#include "engine/COrvel.h"
#include "engine/trace.h"

using namespace Orvel;
using cmodel::Image;

namespace {

// ---- reference values: bit-pattern functions and two small pairs with every intermediate

struct Pair {
  Image tar, src, out;
  std::map<std::string, std::vector<std::vector<float>>> lines;  // by first word
};

struct Vectors {
  std::vector<std::vector<float>> log, exp;  // v|x, i, result
  std::vector<Pair> pairs;
};

Image blank(int w, int h) {
  Image im;
  im.w = w, im.h = h;
  im.px.assign(static_cast<size_t>(w) * h * 4, 0);
  return im;
}

const Vectors& vectors() {
  static const Vectors vec = [] {
    Vectors v;
    std::ifstream in(std::string(ORVEL_TEST_DATA) + "/colormatch.txt");
    EXPECT_TRUE(in.good()) << "missing colormatch.txt";
    for (std::string line; std::getline(in, line);) {
      if (line.empty() || line[0] == '#') continue;
      std::istringstream ss(line);
      std::string kind;
      ss >> kind;
      std::vector<float> nums;
      for (float f; ss >> f;) nums.push_back(f);
      if (kind == "log" || kind == "exp") {
        (kind == "log" ? v.log : v.exp).push_back(nums);
      } else if (kind == "pair") {
        v.pairs.push_back({blank(int(nums[1]), int(nums[2])), blank(int(nums[3]), int(nums[4])),
                           blank(int(nums[3]), int(nums[4])), {}});
      } else if (kind == "tar" || kind == "src" || kind == "out") {
        Pair& p = v.pairs.back();
        Image& im = kind == "tar" ? p.tar : kind == "src" ? p.src : p.out;
        const int y = int(nums[0]);
        for (int i = 0; i < im.w * 4; ++i) im.at(0, y)[i] = static_cast<uint8_t>(nums[1 + i]);
      } else if (kind != "endpair") {
        v.pairs.back().lines[kind].push_back(nums);
      }
    }
    return v;
  }();
  return vec;
}

// ---- images, buffers and captured trace lines

Image randomImage(int w, int h, uint32_t seed) {
  Image im = blank(w, h);
  std::mt19937 rng(seed);
  for (auto& b : im.px) b = static_cast<uint8_t>(rng() & 0xFF);
  return im;
}

BufferData bufferOf(Image& im) {
  BufferData b;
  b.pBuffer = im.px.data();
  b.nWidth = im.w;
  b.nHeight = im.h;
  b.nStride = im.w * 4;
  b.ROI = IntRect{0, 0, im.w, im.h};
  return b;
}

// Runs the tool on copies; gives the recoloured src.
Image runTool(CColorMatch& tool, Image tar, Image src) {
  BufferData bt = bufferOf(tar), bs = bufferOf(src);
  EXPECT_EQ(tool.Process(&bt, &bs, nullptr), S_OK);
  return src;
}

int maxChannelDiff(const Image& a, const Image& b) {
  int m = 0;
  for (size_t i = 0; i < a.px.size(); ++i) m = std::max(m, std::abs(a.px[i] - b.px[i]));
  return m;
}

bool alphaEqual(const Image& a, const Image& b) {
  for (size_t i = 3; i < a.px.size(); i += 4)
    if (a.px[i] != b.px[i]) return false;
  return true;
}

// Collects trace lines while alive; the switch and the sink are restored afterwards.
struct TraceCapture {
  std::vector<std::string> lines;
  TraceCapture() {
    SetTraceSinkFn([](const char* l, void* u) { static_cast<TraceCapture*>(u)->lines.push_back(l); },
                   this);
    SetTraceSwitch(1);
  }
  ~TraceCapture() {
    SetTraceSwitch(0);
    SetTraceSinkFn(nullptr, nullptr);
  }
  // The texts of the "Time: <seconds> sec - <text>" lines, in order.
  std::vector<std::string> stageTexts() const {
    static const std::regex re(R"(^\[Orvel\] Time: \d+\.\d{6} sec - (.*)\n$)");
    std::vector<std::string> out;
    std::smatch m;
    for (const auto& l : lines)
      if (std::regex_match(l, m, re)) out.push_back(m[1]);
    return out;
  }
};

// A tool on a pool of `threads` workers (the engine has four); without a pool both sides run
// serially whatever their size.
struct Tool {
  CThreadPool pool;
  CColorMatch tool{&pool};
  Tool(bool fast, int threads) {
    if (threads > 0) pool.Init(threads);
    tool.SetFastPath(fast);
  }
};

// Runs fn at each Highway target of the fast form, then gives the processor its own set back.
template <typename Fn>
void forEachFastTarget(Fn fn) {
  for (int64_t target : colormatch::FastTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    SCOPED_TRACE(hwy::TargetName(target));
    fn();
  }
  hwy::SetSupportedTargetsForTest(0);
}

// How a side of this size adds up in the given form, on a pool of four.
cmodel::Order orderOf(bool fast, int w, int h) {
  return {fast, CColorMatch::IsThreaded(w, h, 4) ? 4 : 1};
}

}  // namespace

// ---------------------------------------------------------------- reference values

TEST(ColorMatchKernels, BitPatternLogarithmAndExponent) {
  ASSERT_EQ(vectors().log.size(), 200u);
  ASSERT_EQ(vectors().exp.size(), 200u);
  for (const auto& r : vectors().log) {
    EXPECT_EQ(colormatch::BitLog(r[0]), r[2]) << "log " << r[0];
    EXPECT_EQ(cmodel::logOf(r[0]), r[2]);
  }
  for (const auto& r : vectors().exp) {
    EXPECT_EQ(std::bit_cast<int32_t>(colormatch::BitExp(r[0], false)), int32_t(r[1]));
    EXPECT_EQ(colormatch::BitExp(r[0], false), r[2]) << "exp " << r[0];
    // Rounding moves the bit pattern by at most one.
    const int32_t t = std::bit_cast<int32_t>(colormatch::BitExp(r[0], false));
    EXPECT_LE(std::abs(std::bit_cast<int32_t>(colormatch::BitExp(r[0], true)) - t), 1);
  }
}

// Every stage of the portable kernels, and the model used by the tests below, on both pairs.
TEST(ColorMatchKernels, ReferencePairsStageByStage) {
  for (Pair p : vectors().pairs) {
    BufferData bt = bufferOf(p.tar), bs = bufferOf(p.src);
    std::vector<float> tl(p.tar.px.size()), sl(p.src.px.size()), dl(p.src.px.size());
    colormatch::ConvertRgbToLab(bt, 0, p.tar.h, tl.data());
    colormatch::ConvertRgbToLab(bs, 0, p.src.h, sl.data());
    auto expectLab = [&](const char* kind, const std::vector<float>& lab, int w) {
      for (const auto& l : p.lines[kind])
        for (int c = 0; c < 4; ++c)
          EXPECT_EQ(lab[(size_t(l[1]) * w + size_t(l[0])) * 4 + c], l[2 + c])
              << kind << " " << l[0] << "," << l[1] << " channel " << c;
    };
    expectLab("tar_lab", tl, p.tar.w);
    expectLab("src_lab", sl, p.src.w);

    auto triple = [&](const char* kind) { return p.lines[kind].at(0).data(); };
    auto expect3 = [&](const float* got, const char* kind) {
      for (int c = 0; c < 3; ++c) EXPECT_EQ(got[c], triple(kind)[c]) << kind << " " << c;
    };
    float t[3];
    colormatch::SumLab(tl.data(), p.tar.w, 0, p.tar.h, t);
    expect3(t, "tar_sum");
    colormatch::SumLab(sl.data(), p.src.w, 0, p.src.h, t);
    expect3(t, "src_sum");
    colormatch::SumSquaredDeviations(tl.data(), p.tar.w, 0, p.tar.h, triple("tar_mean"), t);
    expect3(t, "tar_var");
    colormatch::SumSquaredDeviations(sl.data(), p.src.w, 0, p.src.h, triple("src_mean"), t);
    expect3(t, "src_var");
    colormatch::RecolorLab(sl.data(), dl.data(), p.src.w, 0, p.src.h, triple("ratio"),
                           triple("offset"));
    expectLab("dst_lab", dl, p.src.w);
    colormatch::ConvertLabToRgb(dl.data(), bs, 0, p.src.h);
    EXPECT_EQ(p.src.px, p.out.px);
  }
  for (const Pair& p : vectors().pairs) {
    const auto m = cmodel::match(p.tar, p.src, {}, {});
    for (int c = 0; c < 3; ++c) {
      EXPECT_EQ(m.tar.mean[c], p.lines.at("tar_mean")[0][c]);
      EXPECT_EQ(m.src.var[c], p.lines.at("src_var")[0][c]);
      EXPECT_EQ(m.ratio[c], p.lines.at("ratio")[0][c]);
      EXPECT_EQ(m.offset[c], p.lines.at("offset")[0][c]);
    }
    EXPECT_EQ(m.out.px, p.out.px);
  }
}

TEST(ColorMatch, ReferencePairsSerialScalarExactFastWithinOneLevel) {
  for (const Pair& p : vectors().pairs) {
    Tool scalar(false, 0);
    EXPECT_EQ(runTool(scalar.tool, p.tar, p.src).px, p.out.px);
    forEachFastTarget([&] {
      Tool fast(true, 0);
      const Image got = runTool(fast.tool, p.tar, p.src);
      EXPECT_LE(maxChannelDiff(got, p.out), 1);
      EXPECT_EQ(got.px, cmodel::match(p.tar, p.src, {true, 1}, {true, 1}).out.px);
    });
  }
}

// ---------------------------------------------------------------- forms and orders

// Each form against its own order of summation; the two sides choose separately. Odd widths
// leave a row tail after the fast form's four-pixel blocks.
TEST(ColorMatch, EveryFormMatchesItsOwnOrder) {
  const struct {
    const char* name;
    int tw, th, sw, sh;
  } cases[] = {
      {"both serial", 45, 31, 53, 29},
      {"both threaded", 330, 311, 321, 319},
      {"small reference, threaded image", 4, 4, 401, 257},
      {"threaded reference, serial image", 401, 257, 17, 9},
      {"exactly 102400 pixels", 320, 320, 320, 320},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const Image tar = randomImage(c.tw, c.th, 11), src = randomImage(c.sw, c.sh, 12);
    Tool scalar(false, 4);
    EXPECT_EQ(runTool(scalar.tool, tar, src).px,
              cmodel::match(tar, src, orderOf(false, c.tw, c.th), orderOf(false, c.sw, c.sh))
                  .out.px);
    const auto want =
        cmodel::match(tar, src, orderOf(true, c.tw, c.th), orderOf(true, c.sw, c.sh)).out.px;
    forEachFastTarget([&] {
      Tool fast(true, 4);
      EXPECT_EQ(runTool(fast.tool, tar, src).px, want);
    });
  }
}

// Between forms: statistics within rounding, pixels within one level.
TEST(ColorMatch, FormsAgreeWithinOneLevel) {
  const Image tar = randomImage(331, 317, 21), src = randomImage(347, 303, 22);
  Tool serialScalar(false, 0);
  const Image base = runTool(serialScalar.tool, tar, src);
  Tool threadedScalar(false, 4);
  EXPECT_LE(maxChannelDiff(runTool(threadedScalar.tool, tar, src), base), 1);
  forEachFastTarget([&] {
    Tool serialFast(true, 0), threadedFast(true, 4);
    EXPECT_LE(maxChannelDiff(runTool(serialFast.tool, tar, src), base), 1);
    EXPECT_LE(maxChannelDiff(runTool(threadedFast.tool, tar, src), base), 1);
  });
  // The strips keep the src partials of the last run; added in strip order they come within
  // rounding of the serial total.
  const auto serial = cmodel::stats(cmodel::labOf(src), src.w, src.h, {false, 1});
  for (int c = 0; c < 3; ++c) {
    float t = 0.0f;
    for (int i = 0; i < 4; ++i) t += threadedScalar.tool.m_StripParam[i].fSum[c];
    EXPECT_NE(t, 0.0f);
    EXPECT_NEAR(t, serial.sum[c], std::abs(serial.sum[c]) * 1e-5f);
  }
}

TEST(ColorMatch, SidesChooseTheirFormSeparately) {
  const struct {
    int w, h, strips;
    bool threaded;
  } cases[] = {
      {320, 320, 4, true},   {320, 319, 4, false},  {102400, 4, 4, true},    {102400, 3, 4, false},
      {3, 102400, 4, false}, {400, 400, 8, true},   {1000, 1000, 0, false},  {1000, 1000, 1, true},
  };
  for (const auto& c : cases)
    EXPECT_EQ(CColorMatch::IsThreaded(c.w, c.h, c.strips), c.threaded) << c.w << "x" << c.h;

  // Below the threshold a side stays serial even on a pool of eight.
  Tool eight(false, 8);
  TraceCapture cap;
  runTool(eight.tool, randomImage(300, 300, 1), randomImage(320, 320, 2));
  const auto texts = cap.stageTexts();
  ASSERT_EQ(texts.size(), 14u);
  EXPECT_EQ(texts[3], "[ColorMatch] 1. Convert tarRGB to LAlphaBeta ");
  EXPECT_EQ(texts[7], "[ColorMatch Muti] 1. Convert srcRGB to LAlphaBeta ");
  EXPECT_EQ(eight.tool.m_nStrips, 8);
  EXPECT_EQ(eight.tool.m_StripParam[7].nSrcTop, 7 * 40);
}

// ---------------------------------------------------------------- edge cases

TEST(ColorMatch, IdenticalImagesComeBackThroughTheRoundTripOnly) {
  const Image im = randomImage(61, 43, 5);
  Tool tool(false, 0);
  const Image got = runTool(tool.tool, im, im);
  // Means equal, ratios exactly 1, offsets 0: each pixel just goes to l-alpha-beta and back.
  for (int y = 0; y < im.h; ++y)
    for (int x = 0; x < im.w; ++x) {
      uint8_t want[4];
      cmodel::toPixel(cmodel::toLab(im.at(x, y)), want, false);
      ASSERT_EQ(std::memcmp(got.at(x, y), want, 4), 0) << x << "," << y;
    }
  // Over all 2^24 colours the round trip loses two levels at most.
  EXPECT_LE(maxChannelDiff(got, im), 2);
}

TEST(ColorMatch, AlphaIsKeptAndTransparentPixelsStillCount) {
  const Image tar = randomImage(9, 7, 9), src = randomImage(29, 13, 8);
  Image clear = src;
  for (size_t i = 3; i < clear.px.size(); i += 8) clear.px[i] = 0;
  for (bool fast : {false, true}) {
    Tool tool(fast, 0);
    const Image a = runTool(tool.tool, tar, src), b = runTool(tool.tool, tar, clear);
    EXPECT_TRUE(alphaEqual(a, src));
    EXPECT_TRUE(alphaEqual(b, clear));
    for (size_t i = 0; i < a.px.size(); ++i) {
      if (i % 4 == 3) continue;
      ASSERT_EQ(a.px[i], b.px[i]) << i;
    }
  }
}

TEST(ColorMatch, ZeroChannelIsTakenAsOne) {
  Image zeros = randomImage(16, 8, 31), ones = zeros;
  for (size_t i = 0; i < zeros.px.size(); ++i) {
    if (i % 4 == 3 || zeros.px[i] > 1) continue;
    zeros.px[i] = 0;
    ones.px[i] = 1;
  }
  const Image tar = randomImage(8, 8, 32);
  for (bool fast : {false, true}) {
    Tool tool(fast, 0);
    EXPECT_EQ(runTool(tool.tool, tar, zeros).px, runTool(tool.tool, tar, ones).px);
  }
  // Black through identical statistics comes back as 1/255 does, not as 0.
  Image black = blank(4, 1);
  for (int x = 0; x < 4; ++x) black.at(x, 0)[3] = 255;
  black.at(3, 0)[0] = 200;  // some spread, so the ratios are finite
  Tool tool(false, 0);
  const uint8_t one[4] = {1, 1, 1, 255};
  uint8_t want[4];
  cmodel::toPixel(cmodel::toLab(one), want, false);
  EXPECT_EQ(std::memcmp(runTool(tool.tool, black, black).at(0, 0), want, 4), 0);
  EXPECT_GT(want[0] + want[1] + want[2], 0);
}

// A src with no spread divides by zero: the ratios are infinite, the recoloured values not
// numbers, and through the conversions the colour ends at 0. Nothing crashes, alpha stays.
TEST(ColorMatch, UniformSourceGoesToTheLimits) {
  const Image tar = randomImage(8, 8, 41);
  const struct {
    int w, h;
    uint8_t b, g, r;
  } exact[] = {{1, 1, 90, 140, 200}, {2, 2, 30, 60, 90}, {2, 1, 255, 255, 255}, {1, 2, 7, 200, 13}};
  for (const auto& c : exact) {
    Image flat = blank(c.w, c.h);
    std::vector<uint8_t> want;
    for (int i = 0; i < c.w * c.h; ++i) {
      const uint8_t a = static_cast<uint8_t>(70 + i);
      const uint8_t px[4] = {c.b, c.g, c.r, a};
      std::memcpy(&flat.px[4 * i], px, 4);
      want.insert(want.end(), {0, 0, 0, a});
    }
    for (bool fast : {false, true}) {
      Tool tool(fast, 0);
      EXPECT_EQ(runTool(tool.tool, tar, flat).px, want) << c.w << "x" << c.h << " fast " << fast;
    }
  }
}

TEST(ColorMatch, PaddedRowsAreServedAndTheirPaddingKept) {
  const Image tar = randomImage(7, 6, 51);
  Image src = randomImage(13, 5, 52);
  const int row = 13 * 4, stride = row + 12;
  for (bool fast : {false, true}) {
    std::vector<uint8_t> mem(size_t(stride) * 5, 0xA5);
    for (int y = 0; y < 5; ++y) std::memcpy(&mem[y * stride], src.at(0, y), row);
    Image t = tar;
    BufferData bt = bufferOf(t), bs = bufferOf(src);
    bs.pBuffer = mem.data();
    bs.nStride = stride;
    Tool tool(fast, 0);
    ASSERT_EQ(tool.tool.Process(&bt, &bs, nullptr), S_OK);
    const Image want = cmodel::match(tar, src, {fast, 1}, {fast, 1}).out;
    for (int y = 0; y < 5; ++y) {
      EXPECT_EQ(std::memcmp(&mem[y * stride], want.at(0, y), row), 0);
      EXPECT_EQ(std::count(&mem[y * stride + row], &mem[(y + 1) * stride], 0xA5), 12);
    }
  }
}

// ---------------------------------------------------------------- refusals and failures

TEST(ColorMatch, BadInputIsRefusedAndChangesNothing) {
  Image tar = randomImage(5, 5, 61), src = randomImage(6, 4, 62);
  const std::vector<uint8_t> before = src.px;
  const struct {
    const char* name;
    bool onSrc;
    int32_t BufferData::*field;
    int32_t value;
  } cases[] = {
      {"tar format 1", false, &BufferData::nFormat, 1}, {"src format 2", true, &BufferData::nFormat, 2},
      {"src format 4", true, &BufferData::nFormat, 4},  {"tar width 0", false, &BufferData::nWidth, 0},
      {"tar height -1", false, &BufferData::nHeight, -1}, {"src width -3", true, &BufferData::nWidth, -3},
      {"src height 0", true, &BufferData::nHeight, 0},
  };
  for (bool fast : {false, true}) {
    Tool tool(fast, 4);
    for (const auto& c : cases) {
      BufferData bt = bufferOf(tar), bs = bufferOf(src);
      BufferData& edited = c.onSrc ? bs : bt;
      edited.*c.field = c.value;
      EXPECT_EQ(tool.tool.Process(&bt, &bs, nullptr), E_FAIL) << c.name;
    }
    for (int side = 0; side < 2; ++side) {
      BufferData bt = bufferOf(tar), bs = bufferOf(src);
      BufferData& edited = side ? bs : bt;
      edited.pBuffer = nullptr;
      EXPECT_EQ(tool.tool.Process(&bt, &bs, nullptr), E_FAIL);
      EXPECT_EQ(tool.tool.Process(side ? &bt : nullptr, side ? nullptr : &bs, nullptr), E_POINTER);
    }
    EXPECT_EQ(src.px, before);
  }
}

TEST(ColorMatch, WorkBufferOutOfReachIsTracedAndLeavesTheImage) {
  Image tar = randomImage(5, 5, 71), src = randomImage(6, 4, 72);
  const std::vector<uint8_t> before = src.px;
  BufferData bt = bufferOf(tar), bs = bufferOf(src);
  bt.nWidth = bt.nHeight = 1 << 30;  // no size for its buffer; its pixels are never read
  TraceCapture cap;
  Tool tool(false, 0);
  EXPECT_EQ(tool.tool.Process(&bt, &bs, nullptr), E_OUTOFMEMORY);
  EXPECT_EQ(src.px, before);
  // The two src-sized buffers were made, the tar-sized one was not.
  EXPECT_EQ(cap.stageTexts(), std::vector<std::string>(2, "[ColorMatch] 0. Create Buffer "));
  ASSERT_EQ(cap.lines.size(), 3u);
  EXPECT_EQ(cap.lines.back(), "[Orvel]  Error 8007000e\n");
}

// ---------------------------------------------------------------- log lines

TEST(ColorMatch, EveryStageIsTimedWithItsText) {
  // Stage texts of one side; `on` is the strip prefix, `between` the calling thread's.
  auto side = [](const std::string& on, const std::string& between, const std::string& s,
                 bool last) {
    std::vector<std::string> v = {on + "1. Convert " + s + "RGB to LAlphaBeta ",
                                  on + "2. Get " + s + " sum ", between + "3. Get " + s + " mean ",
                                  on + "4. Get " + s + " var "};
    if (last) {
      v.insert(v.end(), {between + "5. Get the ratio of std ", on + "6. Recolor ",
                         on + "7. Convert LAlphaBeta to dstRGB "});
    }
    return v;
  };
  auto all = [&](const std::string& create, std::vector<std::string> tar,
                 const std::vector<std::string>& src) {
    std::vector<std::string> v(3, create + "0. Create Buffer ");
    v.insert(v.end(), tar.begin(), tar.end());
    v.insert(v.end(), src.begin(), src.end());
    return v;
  };
  const std::string s = "[ColorMatch] ", d = "[ColorMatch SIMD] ";
  const std::string m = "[ColorMatch Muti] ", mb = "[ColorMatch     ] ";
  const std::string md = "[ColorMatch Muti SIMD] ", mdb = "[ColorMatch          ] ";
  const struct {
    const char* name;
    bool fast;
    int tw, th, sw, sh;
    std::vector<std::string> want;
  } cases[] = {
      {"serial scalar", false, 9, 9, 9, 9, all(s, side(s, s, "tar", false), side(s, s, "src", true))},
      {"serial SIMD", true, 9, 9, 9, 9, all(d, side(d, d, "tar", false), side(d, d, "src", true))},
      {"threaded scalar", false, 320, 320, 330, 320,
       all(s, side(m, mb, "tar", false), side(m, mb, "src", true))},
      {"threaded SIMD", true, 320, 320, 330, 320,
       all(d, side(md, mdb, "tar", false), side(md, mdb, "src", true))},
      {"threaded tar, serial src", false, 320, 320, 9, 9,
       all(s, side(m, mb, "tar", false), side(s, s, "src", true))},
  };
  for (const auto& c : cases) {
    Tool tool(c.fast, 4);
    TraceCapture cap;
    runTool(tool.tool, randomImage(c.tw, c.th, 3), randomImage(c.sw, c.sh, 4));
    EXPECT_EQ(cap.stageTexts(), c.want) << c.name;
    EXPECT_EQ(cap.lines.size(), c.want.size()) << c.name;
  }
}

// ---------------------------------------------------------------- the interface operation

TEST(ColorMatchOperation, FrameChecksTimesAndTraces) {
  COrvel engine;
  Image tar = randomImage(8, 8, 81), src = randomImage(8, 8, 82);
  BufferData bt = bufferOf(tar), bs = bufferOf(src);
  int param = 0;
  EXPECT_EQ(engine.ColorMatch(nullptr, &bs, &param), E_POINTER);
  EXPECT_EQ(engine.ColorMatch(&bt, nullptr, &param), E_POINTER);
  EXPECT_EQ(engine.ColorMatch(&bt, &bs, nullptr), E_POINTER);

  engine.SetPerformanceMode(true);
  EXPECT_EQ(engine.ColorMatch(&bt, &bs, &param), S_OK);
  int count = 0;
  PerformanceRecord rec{};
  EXPECT_EQ(engine.FillPerformanceData(PERF_COLOR_MATCH, &count, nullptr), S_OK);
  ASSERT_EQ(count, 1);
  engine.FillPerformanceData(PERF_COLOR_MATCH, &count, &rec);
  EXPECT_STREQ(rec.szName, "ColorMatch");

  TraceCapture cap;
  bs.nFormat = 1;
  EXPECT_EQ(engine.ColorMatch(&bt, &bs, &param), E_FAIL);
  ASSERT_EQ(cap.lines.size(), 1u);
  EXPECT_EQ(cap.lines[0],
            "[Orvel] [Assert] m_ColorMatch.Process(pBufIn, pBufOut, pColorMatchParam) , "
            "Error! hr=80004005\n");
  engine.FillPerformanceData(PERF_COLOR_MATCH, &count, nullptr);
  EXPECT_EQ(count, 0);
}
