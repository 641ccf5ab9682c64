// The transform tool on a 16 MP image (4096 x 4096, four channels): a rotation of 17 degrees,
// a reduction to 0.4 (the softened cubic), a reduction to 0.2 (box averages) and a
// perspective, each in the portable and the fast row, on the calling thread and on a pool of
// four workers as the engine starts it. OpenCV's cubic warpPerspective and pixman's bilinear
// OVER do the same placement on the same data where they are found; a memcpy of the image is
// the floor. A table of ratios is printed after the runs.
#include <benchmark/benchmark.h>

#include "bench_common.h"
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "compositing/CBlendTool.h"
#include "compositing/CTransformTool.h"
#include "compositing/matrix_ops.h"

#ifdef ORVEL_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif
#ifdef ORVEL_HAVE_PIXMAN
#include <pixman.h>
#endif

namespace {

using namespace Orvel;

constexpr int kSide = 4096;
const char* const kCaseNames[] = {"rotate17", "scale0.4", "scale0.2-box", "perspective"};
constexpr int kCases = 4;

// A smooth picture with some detail, opaque, so every filter does its full work.
struct Images {
  std::vector<uint8_t> src, dst;
  Images() : src(size_t(kSide) * kSide * 4), dst(size_t(kSide) * kSide * 4) {
    std::mt19937 rng(77);
    for (int y = 0; y < kSide; ++y)
      for (int x = 0; x < kSide; ++x) {
        uint8_t* p = &src[(size_t(y) * kSide + x) * 4];
        p[0] = uint8_t((x >> 4) + (rng() & 15));
        p[1] = uint8_t((y >> 4) + (rng() & 15));
        p[2] = uint8_t(((x + y) >> 5) + (rng() & 15));
        p[3] = 255;
        uint8_t* d = &dst[(size_t(y) * kSide + x) * 4];
        d[0] = d[1] = d[2] = 128;
        d[3] = 255;
      }
  }
};

Images& images() {
  static Images img;
  return img;
}

BufferData bufferOf(std::vector<uint8_t>& px) {
  BufferData b;
  b.pBuffer = px.data();
  b.nWidth = kSide;
  b.nHeight = kSide;
  b.nStride = kSide * 4;
  b.ROI = IntRect{0, 0, kSide, kSide};
  return b;
}

TransformMatrix matrixOf(int which) {
  TransformMatrix m;
  const float c = kSide / 2.0f;
  switch (which) {
    case 0:
      MatrixOps::Rotate(m, 17.0f * 3.14159265f / 180.0f, c, c);
      break;
    case 1:
      MatrixOps::Scale(m, 0.4f, 0.4f, c, c);
      break;
    case 2:
      MatrixOps::Scale(m, 0.2f, 0.2f, c, c);
      break;
    default: {
      const float s = float(kSide);
      const float from[8] = {0, 0, s, 0, s, s, 0, s};
      const float to[8] = {300, 200, s - 200, 0, s, s - 100, 0, s - 400};
      MatrixOps::Perspective(m, from, to, 4);
    }
  }
  return m;
}

void pixelsProcessed(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * int64_t(kSide) * kSide);
}

// Args: case, row (0 portable, 1 fast), pool threads (1: the calling thread).
void BM_Transform_Orvel(benchmark::State& state) {
  Images& img = images();
  CThreadPool pool;
  pool.Init(int(state.range(2)));
  CBlendTool blend(&pool);
  CTransformTool tool(&pool, &blend);
  tool.SetFastPath(state.range(1) == 1);
  BufferData in = bufferOf(img.src), out = bufferOf(img.dst);
  BlendParam p;
  p.bLegacyFlag = false;
  const TransformMatrix m = matrixOf(int(state.range(0)));
  for (auto _ : state) {
    if (tool.Process(&in, &out, &p, &m) != S_OK) state.SkipWithError("transform failed");
    benchmark::ClobberMemory();
  }
  state.SetLabel(kCaseNames[state.range(0)]);
  pixelsProcessed(state);
}
BENCHMARK(BM_Transform_Orvel)
    ->ArgsProduct({{0, 1, 2, 3}, {0, 1}, {1, 4}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

#ifdef ORVEL_HAVE_OPENCV
// The same forward matrix as a 3 x 3 for column vectors; pixels outside the warped image stay.
void BM_Transform_OpenCV(benchmark::State& state) {
  Images& img = images();
  cv::setNumThreads(state.range(1) == 1 ? 1 : -1);
  cv::Mat src(kSide, kSide, CV_8UC4, img.src.data()), dst(kSide, kSide, CV_8UC4, img.dst.data());
  const TransformMatrix m = matrixOf(int(state.range(0)));
  const cv::Matx33d h(m.m[0], m.m[4], m.m[12], m.m[1], m.m[5], m.m[13], m.m[3], m.m[7], m.m[15]);
  for (auto _ : state) {
    cv::warpPerspective(src, dst, h, dst.size(), cv::INTER_CUBIC, cv::BORDER_TRANSPARENT);
    benchmark::ClobberMemory();
  }
  cv::setNumThreads(-1);
  state.SetLabel(kCaseNames[state.range(0)]);
  pixelsProcessed(state);
}
BENCHMARK(BM_Transform_OpenCV)
    ->ArgsProduct({{0, 1, 2, 3}, {1, 4}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();
#endif

#ifdef ORVEL_HAVE_PIXMAN
// Bilinear sampling through the inverse (destination to source) in 16.16, composited with
// OVER; pixman runs on one thread.
void BM_Transform_Pixman(benchmark::State& state) {
  Images& img = images();
  const TransformMatrix m = matrixOf(int(state.range(0)));
  double fwd[16], inv[16];
  for (int i = 0; i < 16; ++i) fwd[i] = m.m[i];
  MatrixOps::InvertByCofactors(fwd, inv);
  pixman_transform_t t;
  const double rows[3][3] = {
      {inv[0], inv[4], inv[12]}, {inv[1], inv[5], inv[13]}, {inv[3], inv[7], inv[15]}};
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) t.matrix[r][c] = pixman_double_to_fixed(rows[r][c]);
  pixman_image_t* src = pixman_image_create_bits(
      PIXMAN_a8r8g8b8, kSide, kSide, reinterpret_cast<uint32_t*>(img.src.data()), kSide * 4);
  pixman_image_t* dst = pixman_image_create_bits(
      PIXMAN_a8r8g8b8, kSide, kSide, reinterpret_cast<uint32_t*>(img.dst.data()), kSide * 4);
  pixman_image_set_transform(src, &t);
  pixman_image_set_filter(src, PIXMAN_FILTER_BILINEAR, nullptr, 0);
  pixman_image_set_repeat(src, PIXMAN_REPEAT_NONE);
  for (auto _ : state) {
    pixman_image_composite32(PIXMAN_OP_OVER, src, nullptr, dst, 0, 0, 0, 0, 0, 0, kSide, kSide);
    benchmark::ClobberMemory();
  }
  pixman_image_unref(src);
  pixman_image_unref(dst);
  state.SetLabel(kCaseNames[state.range(0)]);
  pixelsProcessed(state);
}
BENCHMARK(BM_Transform_Pixman)
    ->DenseRange(0, 3)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();
#endif

void BM_Memcpy(benchmark::State& state) {
  Images& img = images();
  for (auto _ : state) {
    std::memcpy(img.dst.data(), img.src.data(), img.src.size());
    benchmark::ClobberMemory();
  }
  pixelsProcessed(state);
}
BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();

// ---- Ratios -------------------------------------------------------------------------------

// Console output as usual; the real and the process CPU time per iteration of every benchmark
// are kept for the summary, the medians of the repetitions when there are several.
using TimeTable = std::map<std::string, OrvelBench::RunTimes>;
constexpr const char* kSuffix = "/process_time/real_time";

void printRatio(const TimeTable& t, const std::string& ours, const std::string& other,
                const std::string& label) {
  const auto a = t.find(ours + kSuffix);
  const auto b = t.find(other + kSuffix);
  if (a == t.end() || b == t.end() || b->second.real <= 0.0 || b->second.cpu <= 0.0) return;
  std::printf("  %-24s %-46s %6.2f %6.2f\n", ours.c_str(), label.c_str(),
              a->second.real / b->second.real, a->second.cpu / b->second.cpu);
}

void printSummary(const TimeTable& t) {
  std::printf("\nRatios (time ours / time other; below 1 is faster): real, process CPU\n");
  for (int c = 0; c < kCases; ++c) {
    const std::string cs = std::to_string(c);
    std::printf(" %s\n", kCaseNames[c]);
    for (const char* row : {"0", "1"})
      for (const char* threads : {"1", "4"}) {
        const std::string ours = "BM_Transform_Orvel/" + cs + "/" + row + "/" + threads;
        const std::string tag = std::string(row[0] == '0' ? "portable" : "fast") + ", " +
                                (threads[0] == '1' ? "1 thread" : "pool");
        printRatio(
            t, ours, "BM_Transform_OpenCV/" + cs + "/" + threads,
            "(" + tag + ") / OpenCV cubic, " + (threads[0] == '1' ? "1 thread" : "its pool"));
        printRatio(t, ours, "BM_Transform_Pixman/" + cs, "(" + tag + ") / pixman bilinear OVER");
        printRatio(t, ours, "BM_Memcpy", "(" + tag + ") / memcpy");
      }
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  OrvelBench::MedianReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  printSummary(reporter.Times());
  return 0;
}
