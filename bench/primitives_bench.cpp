// Image primitives at 1 MP and 16 MP: distance transform, flood fill, Sobel and Canny, with
// OpenCV doing the same work on the same data where it can, and memcpy of the same bytes as
// the floor. A table of ratios is printed after the runs.
#include <benchmark/benchmark.h>

#include "bench_common.h"
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "primitives/primitives.h"

#ifdef ORVEL_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace Orvel;

// A square binary image: 255 background with a few hundred discs of 0, fixed seed.
std::vector<Ipp8u> blobImage(int side) {
  std::vector<Ipp8u> img(static_cast<size_t>(side) * side, 255);
  std::mt19937 rng(1234);
  const int blobs = side >= 4096 ? 300 : 60;
  std::uniform_int_distribution<int> pos(0, side - 1);
  std::uniform_int_distribution<int> rad(side / 512 + 4, side / 64 + 8);
  for (int b = 0; b < blobs; ++b) {
    const int cx = pos(rng), cy = pos(rng), r = rad(rng);
    for (int y = std::max(0, cy - r); y <= std::min(side - 1, cy + r); ++y)
      for (int x = std::max(0, cx - r); x <= std::min(side - 1, cx + r); ++x)
        if ((x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r)
          img[static_cast<size_t>(y) * side + x] = 0;
  }
  return img;
}

// A seed on the background.
IppiPoint backgroundSeed(const std::vector<Ipp8u>& img, int side) {
  for (int y = 0; y < side; ++y)
    for (int x = 0; x < side; ++x)
      if (img[static_cast<size_t>(y) * side + x] == 255) return {x, y};
  return {0, 0};
}

struct Buffer {
  Ipp8u* p = nullptr;
  explicit Buffer(int size) : p(ippsMalloc_8u(std::max(size, 1))) {}
  ~Buffer() { ippsFree(p); }
};

void pixelsProcessed(benchmark::State& state, int side) {
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(side) * side);
}

// ---- Distance transform -------------------------------------------------------------------

void BM_DistanceTransform_Orvel(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const IppiSize size{side, side};
  const std::vector<Ipp8u> src = blobImage(side);
  int step = 0;
  Ipp32f* dst = ippiMalloc_32f_C1(side, side, &step);
  int bytes = 0;
  ippiTrueDistanceTransformGetBufferSize_8u32f_C1R(size, &bytes);
  Buffer work(bytes);
  for (auto _ : state) {
    ippiTrueDistanceTransform_8u32f_C1R(src.data(), side, dst, step, size, work.p);
    benchmark::DoNotOptimize(dst);
    benchmark::ClobberMemory();
  }
  pixelsProcessed(state, side);
  ippiFree(dst);
}
BENCHMARK(BM_DistanceTransform_Orvel)->Arg(1024)->Arg(4096)->Unit(benchmark::kMillisecond);

#ifdef ORVEL_HAVE_OPENCV
// threads 0: OpenCV's default pool; 1: OpenCV on the calling thread alone.
void BM_DistanceTransform_OpenCV(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const int saved = cv::getNumThreads();
  if (state.range(1) == 1) cv::setNumThreads(1);
  std::vector<Ipp8u> img = blobImage(side);
  cv::Mat src(side, side, CV_8UC1, img.data());
  cv::Mat dst(side, side, CV_32FC1);
  for (auto _ : state) {
    cv::distanceTransform(src, dst, cv::DIST_L2, cv::DIST_MASK_PRECISE, CV_32F);
    benchmark::DoNotOptimize(dst.data);
    benchmark::ClobberMemory();
  }
  pixelsProcessed(state, side);
  cv::setNumThreads(saved);
}
BENCHMARK(BM_DistanceTransform_OpenCV)
    ->Args({1024, 0})
    ->Args({1024, 1})
    ->Args({4096, 0})
    ->Args({4096, 1})
    ->Unit(benchmark::kMillisecond);
#endif

// ---- Flood fill ---------------------------------------------------------------------------

// Fills the background from one seed, alternately to 128 and back to 255: the region is the
// same every time, so no copy of the image is needed between iterations.
void BM_FloodFill_Orvel(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const IppiSize size{side, side};
  std::vector<Ipp8u> img = blobImage(side);
  const IppiPoint seed = backgroundSeed(img, side);
  int bytes = 0;
  ippiFloodFillGetSize(size, &bytes);
  Buffer work(bytes);
  IppiConnectedComp region{};
  Ipp8u value = 128;
  for (auto _ : state) {
    ippiFloodFill_4Con_8u_C1IR(img.data(), side, size, seed, value, &region, work.p);
    value = value == 128 ? 255 : 128;
    benchmark::DoNotOptimize(img.data());
    benchmark::ClobberMemory();
  }
  state.counters["filled"] = region.area / (static_cast<double>(side) * side);
  pixelsProcessed(state, side);
}
BENCHMARK(BM_FloodFill_Orvel)->Arg(1024)->Arg(4096)->Unit(benchmark::kMillisecond);

// ---- Sobel and Canny ----------------------------------------------------------------------

void BM_Sobel_8u16s_Orvel(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const IppiSize size{side, side};
  const std::vector<Ipp8u> src = blobImage(side);
  std::vector<Ipp16s> dx(src.size()), dy(src.size());
  const int step = side * 2;
  for (auto _ : state) {
    ippiFilterSobelNegVertBorder_8u16s_C1R(src.data(), side, dx.data(), step, size, ippMskSize3x3,
                                           ippBorderRepl, 0, nullptr);
    ippiFilterSobelHorizBorder_8u16s_C1R(src.data(), side, dy.data(), step, size, ippMskSize3x3,
                                         ippBorderRepl, 0, nullptr);
    benchmark::DoNotOptimize(dx.data());
    benchmark::DoNotOptimize(dy.data());
    benchmark::ClobberMemory();
  }
  pixelsProcessed(state, side);
}
BENCHMARK(BM_Sobel_8u16s_Orvel)->Arg(1024)->Arg(4096)->Unit(benchmark::kMillisecond);

void BM_Sobel_32f_Orvel(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const IppiSize size{side, side};
  const std::vector<Ipp8u> img = blobImage(side);
  std::vector<Ipp32f> src(img.begin(), img.end()), dx(img.size()), dy(img.size());
  const int step = side * 4;
  for (auto _ : state) {
    ippiFilterSobelNegVertBorder_32f_C1R(src.data(), step, dx.data(), step, size, ippMskSize3x3,
                                         ippBorderRepl, 0.0f, nullptr);
    ippiFilterSobelHorizBorder_32f_C1R(src.data(), step, dy.data(), step, size, ippMskSize3x3,
                                       ippBorderRepl, 0.0f, nullptr);
    benchmark::DoNotOptimize(dx.data());
    benchmark::DoNotOptimize(dy.data());
    benchmark::ClobberMemory();
  }
  pixelsProcessed(state, side);
}
BENCHMARK(BM_Sobel_32f_Orvel)->Arg(1024)->Arg(4096)->Unit(benchmark::kMillisecond);

void BM_Canny_Orvel(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const IppiSize size{side, side};
  const std::vector<Ipp8u> src = blobImage(side);
  std::vector<Ipp16s> dx(src.size()), dy(src.size());
  std::vector<Ipp8u> edges(src.size());
  ippiFilterSobelNegVertBorder_8u16s_C1R(src.data(), side, dx.data(), side * 2, size, ippMskSize3x3,
                                         ippBorderRepl, 0, nullptr);
  ippiFilterSobelHorizBorder_8u16s_C1R(src.data(), side, dy.data(), side * 2, size, ippMskSize3x3,
                                       ippBorderRepl, 0, nullptr);
  int bytes = 0;
  ippiCannyGetSize(size, &bytes);
  Buffer work(bytes);
  for (auto _ : state) {
    ippiCanny_16s8u_C1R(dx.data(), side * 2, dy.data(), side * 2, edges.data(), side, size, 80.0f,
                        100.0f, work.p);
    benchmark::DoNotOptimize(edges.data());
    benchmark::ClobberMemory();
  }
  pixelsProcessed(state, side);
}
BENCHMARK(BM_Canny_Orvel)->Arg(1024)->Arg(4096)->Unit(benchmark::kMillisecond);

#ifdef ORVEL_HAVE_OPENCV
void BM_Sobel_8u16s_OpenCV(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  std::vector<Ipp8u> img = blobImage(side);
  cv::Mat src(side, side, CV_8UC1, img.data()), dx, dy;
  for (auto _ : state) {
    cv::Sobel(src, dx, CV_16S, 1, 0, 3, 1.0, 0.0, cv::BORDER_REPLICATE);
    cv::Sobel(src, dy, CV_16S, 0, 1, 3, 1.0, 0.0, cv::BORDER_REPLICATE);
    benchmark::DoNotOptimize(dx.data);
    benchmark::DoNotOptimize(dy.data);
    benchmark::ClobberMemory();
  }
  pixelsProcessed(state, side);
}
BENCHMARK(BM_Sobel_8u16s_OpenCV)->Arg(1024)->Arg(4096)->Unit(benchmark::kMillisecond);

void BM_Sobel_32f_OpenCV(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  std::vector<Ipp8u> img = blobImage(side);
  cv::Mat src8(side, side, CV_8UC1, img.data()), src, dx, dy;
  src8.convertTo(src, CV_32F);
  for (auto _ : state) {
    cv::Sobel(src, dx, CV_32F, 1, 0, 3, 1.0, 0.0, cv::BORDER_REPLICATE);
    cv::Sobel(src, dy, CV_32F, 0, 1, 3, 1.0, 0.0, cv::BORDER_REPLICATE);
    benchmark::DoNotOptimize(dx.data);
    benchmark::DoNotOptimize(dy.data);
    benchmark::ClobberMemory();
  }
  pixelsProcessed(state, side);
}
BENCHMARK(BM_Sobel_32f_OpenCV)->Arg(1024)->Arg(4096)->Unit(benchmark::kMillisecond);

void BM_Canny_OpenCV(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  std::vector<Ipp8u> img = blobImage(side);
  cv::Mat src(side, side, CV_8UC1, img.data()), dx, dy, edges;
  cv::Sobel(src, dx, CV_16S, 1, 0, 3, 1.0, 0.0, cv::BORDER_REPLICATE);
  cv::Sobel(src, dy, CV_16S, 0, 1, 3, 1.0, 0.0, cv::BORDER_REPLICATE);
  for (auto _ : state) {
    cv::Canny(dx, dy, edges, 80.0, 100.0, true);
    benchmark::DoNotOptimize(edges.data);
    benchmark::ClobberMemory();
  }
  pixelsProcessed(state, side);
}
BENCHMARK(BM_Canny_OpenCV)->Arg(1024)->Arg(4096)->Unit(benchmark::kMillisecond);
#endif

// ---- The floor ----------------------------------------------------------------------------

// memcpy of side x side elements of the given byte size.
void BM_Memcpy(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const size_t bytes = static_cast<size_t>(side) * side * static_cast<size_t>(state.range(1));
  std::vector<uint8_t> a(bytes, 1), b(bytes, 2);
  for (auto _ : state) {
    std::memcpy(b.data(), a.data(), bytes);
    benchmark::DoNotOptimize(b.data());
    benchmark::ClobberMemory();
  }
  pixelsProcessed(state, side);
}
BENCHMARK(BM_Memcpy)->Args({1024, 1})->Args({1024, 4})->Args({4096, 1})->Args({4096, 4})->Unit(
    benchmark::kMillisecond);

// ---- Ratios -------------------------------------------------------------------------------

// Console output as usual; the real time per iteration of every benchmark is kept for the
// summary, the median of the repetitions when there are several.
void printRatio(const std::map<std::string, double>& t, const std::string& ours,
                const std::string& other, const char* label) {
  const auto a = t.find(ours);
  const auto b = t.find(other);
  if (a == t.end() || b == t.end() || b->second <= 0.0) return;
  std::printf("  %-44s %-34s %6.2f\n", ours.c_str(), label, a->second / b->second);
}

void printSummary(const std::map<std::string, double>& t) {
  std::printf("\nRatios (time ours / time other; below 1 is faster)\n");
  for (const char* side : {"1024", "4096"}) {
    const std::string s = side;
    const std::string dt = "BM_DistanceTransform_Orvel/" + s;
    printRatio(t, dt, "BM_DistanceTransform_OpenCV/" + s + "/0", "/ OpenCV (default threads)");
    printRatio(t, dt, "BM_DistanceTransform_OpenCV/" + s + "/1", "/ OpenCV (1 thread)");
    printRatio(t, dt, "BM_Memcpy/" + s + "/4", "/ memcpy of the float image");
    const std::string ff = "BM_FloodFill_Orvel/" + s;
    printRatio(t, ff, "BM_Memcpy/" + s + "/1", "/ memcpy of the 8-bit image");
    printRatio(t, "BM_Sobel_8u16s_Orvel/" + s, "BM_Sobel_8u16s_OpenCV/" + s, "/ OpenCV");
    printRatio(t, "BM_Sobel_32f_Orvel/" + s, "BM_Sobel_32f_OpenCV/" + s, "/ OpenCV");
    printRatio(t, "BM_Canny_Orvel/" + s, "BM_Canny_OpenCV/" + s, "/ OpenCV");
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
