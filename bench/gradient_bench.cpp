// Gradient drawing at 1 MP and 16 MP: linear and radial, dithered, on one thread and on the
// engine's pool of 4, beside Cairo's linear and radial gradient fill of the same size with the
// same stops (Cairo does not dither), and a memcpy of the same bytes as the floor. A table of
// ratios is printed after the runs.
#include <benchmark/benchmark.h>

#include "bench_common.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/thread_pool.h"
#include "gradient/CGradientTool.h"

#ifdef ORVEL_HAVE_CAIRO
#include <cairo.h>
#endif

namespace {

using namespace Orvel;

// Three colour stops and a dip in opacity in the middle, the same for both libraries.
constexpr float kColorPos[] = {0.0f, 0.5f, 1.0f};
const Color kColors[] = {Color(30, 60, 240, 255), Color(40, 220, 90, 255),
                         Color(250, 110, 20, 255)};
constexpr float kOpacityPos[] = {0.0f, 0.5f, 1.0f};
constexpr int32_t kOpacities[] = {255, 128, 255};

struct Canvas {
  int side;
  std::vector<uint8_t> mem;
  BufferData buf;
  explicit Canvas(int s) : side(s), mem(static_cast<size_t>(s) * s * 4) {
    buf.pBuffer = mem.data();
    buf.nWidth = s;
    buf.nHeight = s;
    buf.nStride = s * 4;
    buf.ROI = IntRect{0, 0, s, s};
  }
};

// The axis of each shape, relative to the side: a diagonal for the linear one, a circle
// reaching the edges for the radial one.
GradientParam axisFor(int type, int side) {
  GradientParam p;
  p.nGradientType = type;
  if (type == 0) {
    p.ptBegin = Point{side * 0.05f, side * 0.1f};
    p.ptEnd = Point{side * 0.95f, side * 0.9f};
  } else {
    p.ptBegin = Point{side * 0.5f, side * 0.5f};
    p.ptEnd = Point{side * 0.5f, side * 0.02f};
  }
  return p;
}

// args: side, shape (0 linear, 1 radial), pooled (0 or 1)
void BM_Orvel(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const int type = static_cast<int>(state.range(1));
  const bool pooled = state.range(2) != 0;
  CThreadPool pool;
  if (pooled) pool.Init(4);
  CGradientTool tool(pooled ? &pool : nullptr);
  ReferenceParam ref;
  ref.nColors = 3;
  ref.pColorPos = kColorPos;
  ref.pColors = kColors;
  ref.nOpacities = 3;
  ref.pOpacityPos = kOpacityPos;
  ref.pOpacities = kOpacities;
  if (tool.SetColorReferenceWithAnchor(&ref) < 0) state.SkipWithError("table");
  Canvas c(side);
  const GradientParam p = axisFor(type, side);
  for (auto _ : state) {
    if (tool.DrawObject(&c.buf, &p) < 0) state.SkipWithError("draw");
    benchmark::DoNotOptimize(c.mem.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * int64_t{side} * side);
}
BENCHMARK(BM_Orvel)
    ->ArgNames({"side", "shape", "pool"})
    ->ArgsProduct({{1024, 4096}, {0, 1}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->MinTime(0.3)
    ->UseRealTime();

#ifdef ORVEL_HAVE_CAIRO
void BM_Cairo(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  const int type = static_cast<int>(state.range(1));
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, side, side);
  cairo_t* cr = cairo_create(surface);
  const GradientParam p = axisFor(type, side);
  cairo_pattern_t* pattern;
  if (type == 0) {
    pattern = cairo_pattern_create_linear(p.ptBegin.x, p.ptBegin.y, p.ptEnd.x, p.ptEnd.y);
  } else {
    const double radius = p.ptBegin.y - p.ptEnd.y;
    pattern =
        cairo_pattern_create_radial(p.ptBegin.x, p.ptBegin.y, 0, p.ptBegin.x, p.ptBegin.y, radius);
  }
  for (int i = 0; i < 3; ++i)
    cairo_pattern_add_color_stop_rgba(pattern, kColorPos[i], kColors[i].r / 255.0,
                                      kColors[i].g / 255.0, kColors[i].b / 255.0,
                                      kOpacities[i] / 255.0);
  cairo_set_source(cr, pattern);
  cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
  for (auto _ : state) {
    cairo_paint(cr);
    cairo_surface_flush(surface);
    benchmark::DoNotOptimize(cairo_image_surface_get_data(surface));
    benchmark::ClobberMemory();
  }
  cairo_pattern_destroy(pattern);
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
  state.SetItemsProcessed(state.iterations() * int64_t{side} * side);
}
BENCHMARK(BM_Cairo)
    ->ArgNames({"side", "shape"})
    ->ArgsProduct({{1024, 4096}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->MinTime(0.3)
    ->UseRealTime();
#endif

void BM_Memcpy(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  std::vector<uint8_t> a(static_cast<size_t>(side) * side * 4, 1), b(a.size());
  for (auto _ : state) {
    std::memcpy(b.data(), a.data(), a.size());
    benchmark::DoNotOptimize(b.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * int64_t{side} * side);
}
BENCHMARK(BM_Memcpy)
    ->ArgNames({"side"})
    ->Arg(1024)
    ->Arg(4096)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// ---- Ratios -------------------------------------------------------------------------------

void printSummary(const std::map<std::string, double>& t) {
  auto find = [&](const std::string& prefix) {
    for (const auto& [name, time] : t)
      if (name.rfind(prefix, 0) == 0) return time;
    return 0.0;
  };
  std::printf("\nRatios (time ours / time other; below 1 is faster; Cairo does not dither)\n");
  std::printf("  %-28s %10s %10s %10s\n", "form", "ms", "/ Cairo", "/ memcpy");
  for (int side : {1024, 4096})
    for (int shape : {0, 1})
      for (int pool : {0, 1}) {
        const std::string s = "side:" + std::to_string(side);
        const std::string sh = "/shape:" + std::to_string(shape);
        const double ours = find("BM_Orvel/" + s + sh + "/pool:" + std::to_string(pool));
        const double cairo = find("BM_Cairo/" + s + sh);
        const double floor = find("BM_Memcpy/" + s);
        if (ours <= 0.0) continue;
        char label[64];
        std::snprintf(label, sizeof label, "%s %s %s", side == 1024 ? "1 MP" : "16 MP",
                      shape == 0 ? "linear" : "radial", pool ? "pool" : "1 thread");
        std::printf("  %-28s %10.2f %10.2f %10.1f\n", label, ours, cairo > 0 ? ours / cairo : 0.0,
                    floor > 0 ? ours / floor : 0.0);
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
