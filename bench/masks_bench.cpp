// Masks and merges at 1 MP and 16 MP: the box blur against OpenCV's normalised box filter
// (zero border) on the same 8-bit data, and ApplyMask, Merge and InvertMask against a memcpy
// of the bytes they touch. A table of ratios is printed after the runs.
#include <benchmark/benchmark.h>

#include "bench_common.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "compositing/CMaskTool.h"
#include "compositing/CMergeTool.h"
#include "compositing/mask_kernels.h"
#include "engine/thread_pool.h"

#ifdef ORVEL_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace Orvel;

std::vector<uint8_t> randomBytes(size_t n, uint32_t seed) {
  std::vector<uint8_t> v(n);
  std::mt19937 rng(seed);
  for (auto& b : v) b = static_cast<uint8_t>(rng() >> 24);
  return v;
}

// The engine's pool: four workers, whatever the processor.
CThreadPool& enginePool() {
  static CThreadPool* pool = [] {
    auto* p = new CThreadPool();
    p->Init(4);
    return p;
  }();
  return *pool;
}

// Forms: 0 plain on one thread, 1 fast on one thread, 2 fast on the pool.
std::unique_ptr<CMaskTool> maskTool(int form) {
  auto tool = std::make_unique<CMaskTool>(form == 2 ? &enginePool() : nullptr);
  tool->SetFastPath(form != 0);
  return tool;
}

BufferData describe(uint8_t* p, int w, int h, int step) {
  BufferData b;
  b.pBuffer = p;
  b.nWidth = w;
  b.nHeight = h;
  b.nStride = w * step;
  b.nPixelStep = step;
  b.nFormat = step == 1 ? FORMAT_GRAY8 : FORMAT_BGRA8;
  b.ROI = IntRect{0, 0, w, h};
  return b;
}

void bytesProcessed(benchmark::State& state, size_t bytes) {
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
}

// ---- box blur ----------------------------------------------------------------------------

// Args: side, radius, form.
void BM_BoxBlur8(benchmark::State& state) {
  const int side = int(state.range(0)), r = int(state.range(1));
  auto tool = maskTool(int(state.range(2)));
  std::vector<uint8_t> src = randomBytes(size_t(side) * side, 1), dst(src.size());
  for (auto _ : state) {
    tool->BoxBlur8(src.data(), dst.data(), side, side, side, r);
    benchmark::DoNotOptimize(dst.data());
  }
  bytesProcessed(state, src.size());
}
BENCHMARK(BM_BoxBlur8)
    ->ArgsProduct({{1024, 4096}, {2, 16, 128}, {1, 2}})
    ->Args({4096, 16, 0})
    ->Unit(benchmark::kMillisecond)
    ->MinTime(0.3)
    ->UseRealTime();

#ifdef ORVEL_HAVE_OPENCV
// Args: side, radius.
void BM_BoxFilter_OpenCV(benchmark::State& state) {
  const int side = int(state.range(0)), r = int(state.range(1));
  std::vector<uint8_t> bytes = randomBytes(size_t(side) * side, 1);
  cv::Mat src(side, side, CV_8UC1, bytes.data()), dst(side, side, CV_8UC1);
  for (auto _ : state) {
    cv::boxFilter(src, dst, -1, cv::Size(2 * r + 1, 2 * r + 1), cv::Point(-1, -1), true,
                  cv::BORDER_CONSTANT);
    benchmark::DoNotOptimize(dst.data);
  }
  bytesProcessed(state, bytes.size());
}
BENCHMARK(BM_BoxFilter_OpenCV)
    ->ArgsProduct({{1024, 4096}, {2, 16, 128}})
    ->Unit(benchmark::kMillisecond)
    ->MinTime(0.3)
    ->UseRealTime();
#endif

// ---- the floor ---------------------------------------------------------------------------

// Args: bytes in MiB.
void BM_Memcpy(benchmark::State& state) {
  const size_t n = size_t(state.range(0)) << 20;
  std::vector<uint8_t> a(n, 1), b(n);
  for (auto _ : state) {
    std::memcpy(b.data(), a.data(), n);
    benchmark::DoNotOptimize(b.data());
  }
  bytesProcessed(state, n);
}
BENCHMARK(BM_Memcpy)
    ->Arg(1)
    ->Arg(5)
    ->Arg(8)
    ->Arg(16)
    ->Arg(80)
    ->Arg(128)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(0.3)
    ->UseRealTime();

// ---- ApplyMask, InvertMask, Merge ----------------------------------------------------------

// Args: side, form. A grey mask over a four-channel object of the same size.
void BM_ApplyMask(benchmark::State& state) {
  const int side = int(state.range(0));
  auto tool = maskTool(int(state.range(1)));
  std::vector<uint8_t> obj = randomBytes(size_t(side) * side * 4, 2);
  std::vector<uint8_t> mask = randomBytes(size_t(side) * side, 3);
  BufferData o = describe(obj.data(), side, side, 4), m = describe(mask.data(), side, side, 1);
  const Point origin{0, 0};
  for (auto _ : state) {
    // The alpha only shrinks; after a few rounds it is mostly 0, which costs the same.
    tool->ApplyMask(&o, &origin, &m, true);
    benchmark::DoNotOptimize(obj.data());
  }
  bytesProcessed(state, obj.size() + mask.size());
}
BENCHMARK(BM_ApplyMask)
    ->ArgsProduct({{1024, 4096}, {0, 1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->MinTime(0.3)
    ->UseRealTime();

// Args: side.
void BM_InvertMask(benchmark::State& state) {
  const int side = int(state.range(0));
  auto tool = maskTool(2);
  std::vector<uint8_t> mask = randomBytes(size_t(side) * side, 4);
  BufferData m = describe(mask.data(), side, side, 1);
  for (auto _ : state) {
    tool->InvertMask(&m);
    benchmark::DoNotOptimize(mask.data());
  }
  bytesProcessed(state, mask.size());
}
BENCHMARK(BM_InvertMask)
    ->Arg(1024)
    ->Arg(4096)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(0.3)
    ->UseRealTime();

// Args: side, mode. Half the source is selected, so every branch of a mode is taken.
void BM_Merge(benchmark::State& state) {
  const int side = int(state.range(0));
  CMergeTool tool(&enginePool());
  std::vector<uint8_t> src = randomBytes(size_t(side) * side * 4, 5);
  std::vector<uint8_t> dst = randomBytes(size_t(side) * side * 4, 6);
  for (size_t i = 3; i < src.size(); i += 8) src[i] = 0;
  BufferData s = describe(src.data(), side, side, 4), d = describe(dst.data(), side, side, 4);
  MergeParam p;
  p.nMergeMode = int32_t(state.range(1));
  p.rcMerge = IntRect{0, 0, side, side};
  p.crMerge = Color(10, 20, 30, 255);
  for (auto _ : state) {
    tool.Merge(&s, &d, &p);
    benchmark::DoNotOptimize(dst.data());
  }
  bytesProcessed(state, src.size() + dst.size());
}
BENCHMARK(BM_Merge)
    ->ArgsProduct({{1024, 4096},
                   {MERGE_ADD, MERGE_SUBTRACT, MERGE_INTERSECT, MERGE_EXCLUDE, MERGE_REPLACE}})
    ->Unit(benchmark::kMillisecond)
    ->MinTime(0.3)
    ->UseRealTime();

// ---- the table of ratios -------------------------------------------------------------------

void printRatio(const std::map<std::string, double>& t, const std::string& ours,
                const std::string& other, const char* label) {
  const auto a = t.find(ours);
  const auto b = t.find(other);
  if (a == t.end() || b == t.end() || b->second <= 0.0) return;
  std::printf("  %-34s %7.2f ms  %-36s %6.2f\n", ours.c_str(), a->second, label,
              a->second / b->second);
}

void printSummary(const std::map<std::string, double>& t) {
  std::printf("\nRatios (time ours / time other; below 1 is faster). Fast kernels: %s\n",
              FastMaskTargetName());
  for (const char* side : {"1024", "4096"}) {
    const std::string s = side;
    const bool big = s == "4096";
    const std::string mib = big ? "16" : "1";
    for (const char* r : {"2", "16", "128"}) {
      const std::string cv = "BM_BoxFilter_OpenCV/" + s + "/" + r;
      printRatio(t, "BM_BoxBlur8/" + s + "/" + r + "/2", cv, "/ OpenCV boxFilter (pool)");
      printRatio(t, "BM_BoxBlur8/" + s + "/" + r + "/1", cv, "/ OpenCV boxFilter (1 thread)");
    }
    printRatio(t, "BM_BoxBlur8/" + s + "/128/2", "BM_BoxBlur8/" + s + "/2/2", "r 128 / r 2 (pool)");
    printRatio(t, "BM_BoxBlur8/" + s + "/128/1", "BM_BoxBlur8/" + s + "/2/1",
               "r 128 / r 2 (1 thread)");
    for (const char* form : {"0", "1", "2"})
      printRatio(t, "BM_ApplyMask/" + s + "/" + form, "BM_Memcpy/" + std::string(big ? "80" : "5"),
                 "/ memcpy of object + mask");
    printRatio(t, "BM_InvertMask/" + s, "BM_Memcpy/" + mib, "/ memcpy of the mask");
    for (int mode = 0; mode <= 4; ++mode)
      printRatio(t, "BM_Merge/" + s + "/" + std::to_string(mode),
                 "BM_Memcpy/" + std::string(big ? "128" : "8"), "/ memcpy of source + destination");
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  OrvelBench::MedianReporter reporter(true);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  printSummary(reporter.RealTimes());
  return 0;
}
