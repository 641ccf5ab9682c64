// Colour match of a 16 MP image (4096 x 4096) to a 4 MP reference (2048 x 2048), in the four
// forms of the tool, beside the usual OpenCV transfer of the same statistics (floats through
// cvtColor to Lab, meanStdDev, scale and shift, back), and memcpy of the image as the floor.
// A table of ratios is printed after the runs.
#include <benchmark/benchmark.h>

#include "bench_common.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "colormatch/CColorMatch.h"
#include "engine/thread_pool.h"

#ifdef ORVEL_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace Orvel;

constexpr int kSrcSide = 4096;
constexpr int kTarSide = 2048;

// A smooth colour field with noise, so that the statistics are those of a photograph rather
// than of white noise; fixed seed.
std::vector<uint8_t> photoLike(int side, uint32_t seed) {
  std::vector<uint8_t> img(static_cast<size_t>(side) * side * 4);
  std::mt19937 rng(seed);
  std::uniform_int_distribution<int> noise(-12, 12);
  const int tint = static_cast<int>(seed % 60);
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      uint8_t* p = &img[(static_cast<size_t>(y) * side + x) * 4];
      const int base[3] = {40 + tint + 120 * x / side, 60 + 140 * y / side,
                           90 + 100 * (x + y) / (2 * side) - tint};
      for (int c = 0; c < 3; ++c) p[c] = static_cast<uint8_t>(std::clamp(base[c] + noise(rng), 0, 255));
      p[3] = 255;
    }
  }
  return img;
}

struct Images {
  std::vector<uint8_t> src = photoLike(kSrcSide, 7);
  std::vector<uint8_t> tar = photoLike(kTarSide, 31);
  std::vector<uint8_t> work = src;
};

Images& images() {
  static Images im;
  return im;
}

BufferData bufferOf(std::vector<uint8_t>& px, int side) {
  BufferData b;
  b.pBuffer = px.data();
  b.nWidth = b.nHeight = side;
  b.nStride = side * 4;
  b.ROI = IntRect{0, 0, side, side};
  return b;
}

void pixelsProcessed(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * int64_t{kSrcSide} * kSrcSide);
}

// Arguments: fast form (0/1), threaded (0/1). Serial means a tool without a pool: both sides
// then stay on the calling thread whatever their size.
void BM_ColorMatch_Orvel(benchmark::State& state) {
  const bool fast = state.range(0) != 0;
  const bool threaded = state.range(1) != 0;
  CThreadPool pool;
  if (threaded) pool.Init(4);  // the engine's pool
  CColorMatch tool(threaded ? &pool : nullptr);
  tool.SetFastPath(fast);
  Images& im = images();
  BufferData tar = bufferOf(im.tar, kTarSide);
  BufferData out = bufferOf(im.work, kSrcSide);
  for (auto _ : state) {
    state.PauseTiming();
    std::memcpy(im.work.data(), im.src.data(), im.src.size());
    state.ResumeTiming();
    if (tool.Process(&tar, &out, nullptr) != S_OK) state.SkipWithError("ColorMatch failed");
    benchmark::ClobberMemory();
  }
  pixelsProcessed(state);
}
BENCHMARK(BM_ColorMatch_Orvel)
    ->ArgNames({"fast", "threaded"})
    ->Args({0, 0})->Args({0, 1})->Args({1, 0})->Args({1, 1})
    ->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

#ifdef ORVEL_HAVE_OPENCV
// The common statistics transfer in OpenCV's own Lab (float, 0..1 input), alpha kept.
void BM_ColorMatch_OpenCV(benchmark::State& state) {
  cv::setNumThreads(state.range(0) ? -1 : 1);
  Images& im = images();
  const cv::Mat tarBgra(kTarSide, kTarSide, CV_8UC4, im.tar.data());
  cv::Mat out(kSrcSide, kSrcSide, CV_8UC4, im.work.data());
  for (auto _ : state) {
    state.PauseTiming();
    std::memcpy(im.work.data(), im.src.data(), im.src.size());
    state.ResumeTiming();
    auto toLab = [](const cv::Mat& bgra) {
      cv::Mat bgr, f, lab;
      cv::cvtColor(bgra, bgr, cv::COLOR_BGRA2BGR);
      bgr.convertTo(f, CV_32F, 1.0 / 255.0);
      cv::cvtColor(f, lab, cv::COLOR_BGR2Lab);
      return lab;
    };
    cv::Mat tl = toLab(tarBgra), sl = toLab(out);
    cv::Scalar tm, ts, sm, ss;
    cv::meanStdDev(tl, tm, ts);
    cv::meanStdDev(sl, sm, ss);
    cv::Scalar scale, shift;
    for (int c = 0; c < 3; ++c) {
      scale[c] = ss[c] > 0 ? ts[c] / ss[c] : 1.0;
      shift[c] = tm[c] - sm[c] * scale[c];
    }
    cv::multiply(sl, scale, sl);
    cv::add(sl, shift, sl);
    cv::Mat bgr, bgr8;
    cv::cvtColor(sl, bgr, cv::COLOR_Lab2BGR);
    bgr.convertTo(bgr8, CV_8U, 255.0);
    const int fromTo[] = {0, 0, 1, 1, 2, 2};
    cv::mixChannels(&bgr8, 1, &out, 1, fromTo, 3);
    benchmark::ClobberMemory();
  }
  cv::setNumThreads(-1);
  pixelsProcessed(state);
}
BENCHMARK(BM_ColorMatch_OpenCV)
    ->ArgNames({"all_threads"})->Arg(0)->Arg(1)
    ->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
#endif

void BM_Memcpy(benchmark::State& state) {
  Images& im = images();
  for (auto _ : state) {
    std::memcpy(im.work.data(), im.src.data(), im.src.size());
    benchmark::DoNotOptimize(im.work.data());
    benchmark::ClobberMemory();
  }
  pixelsProcessed(state);
}
BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond)->Iterations(10)->UseRealTime();

// ---- Ratios -------------------------------------------------------------------------------

// Console output as usual; keeps the time of every run, or the median where repetitions give
// one, for the summary.
void printSummary(const std::map<std::string, double>& t) {
  auto find = [&](const std::string& prefix) {
    for (const auto& [name, time] : t)
      if (name.rfind(prefix, 0) == 0) return time;
    return 0.0;
  };
  const double cvAll = find("BM_ColorMatch_OpenCV/all_threads:1");
  const double cvOne = find("BM_ColorMatch_OpenCV/all_threads:0");
  const double floor = find("BM_Memcpy");
  std::printf("\nRatios (time ours / time other; below 1 is faster)\n");
  std::printf("  %-40s %12s %12s %12s\n", "form", "/ OpenCV", "/ OpenCV 1t", "/ memcpy");
  const char* forms[] = {"fast:0/threaded:0", "fast:0/threaded:1", "fast:1/threaded:0",
                         "fast:1/threaded:1"};
  for (const char* f : forms) {
    const double ours = find(std::string("BM_ColorMatch_Orvel/") + f);
    if (ours <= 0.0) continue;
    std::printf("  %-40s %12.2f %12.2f %12.1f\n", f, cvAll > 0 ? ours / cvAll : 0.0,
                cvOne > 0 ? ours / cvOne : 0.0, floor > 0 ? ours / floor : 0.0);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  OrvelBench::MedianReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  printSummary(reporter.RealTimes());
  return 0;
}
