// The blend tool at 1 MP and 16 MP: every mode, portable and fast row, on the calling thread
// and on the engine's pool of four workers. Side by side on the same 16 MP images: memcpy of
// the bytes a blend reads and writes (the floor), and pixman's OVER on a8r8g8b8 (a peer that
// does less: premultiplied, no modes, no division). The table at the end prints the ratios.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#ifdef ORVEL_HAVE_PIXMAN
#include <pixman.h>
#endif

#include "compositing/CBlendTool.h"
#include "engine/thread_pool.h"

using namespace Orvel;

namespace {

const char* const kModeNames[28] = {
    "Normal",      "Darken",      "Multiply",     "LinearBurn", "Lighten",   "Screen",
    "LinearDodge", "Overlay",     "LinearLight",  "Difference", "Exclusion", "Hue",
    "Saturation",  "Luminosity",  "Erase",        "HardLight",  "SoftLight", "ColorBurn",
    "ColorDodge",  "VividLight",  "PinLight",     "HardMix",    "Color",     "Subtract",
    "Divide",      "DarkerColor", "LighterColor", "Dissolve"};

struct Image {
  std::vector<uint8_t> mem;
  BufferData buf;
  Image(int side, uint32_t seed, bool opaque) : mem(size_t(side) * side * 4) {
    std::mt19937 rng(seed);
    for (size_t i = 0; i < mem.size(); i += 4) {
      const uint32_t v = rng();
      mem[i] = uint8_t(v), mem[i + 1] = uint8_t(v >> 8), mem[i + 2] = uint8_t(v >> 16);
      mem[i + 3] = opaque ? 255 : uint8_t(v >> 24);
    }
    buf.pBuffer = mem.data();
    buf.nWidth = buf.nHeight = side;
    buf.nStride = side * 4;
    buf.ROI = IntRect{0, 0, side, side};
  }
};

// A layer with random colour and alpha over a backdrop, made once per size: an opaque one (a
// layer on a canvas, the usual case) or one with random alpha too (layers between layers).
struct Pair {
  Image src, dst;
  std::vector<uint8_t> backdrop;
  Pair(int side, bool opaque) : src(side, 1, false), dst(side, 2, opaque), backdrop(dst.mem) {}
  // Every measurement starts from the same backdrop: Erase, for one, would leave it clear.
  void reset() { std::memcpy(dst.mem.data(), backdrop.data(), backdrop.size()); }
};
Pair& pairOf(int side, bool opaque = true) {
  static std::map<std::pair<int, bool>, std::unique_ptr<Pair>> pairs;
  auto& p = pairs[{side, opaque}];
  if (!p) p = std::make_unique<Pair>(side, opaque);
  return *p;
}

CThreadPool& pool() {
  static CThreadPool* p = [] {
    auto* pl = new CThreadPool();
    pl->Init(4);
    return pl;
  }();
  return *p;
}

void blend(benchmark::State& state, int mode, bool fast, bool pooled, int side, bool opaque) {
  CBlendTool tool(pooled ? &pool() : nullptr);
  tool.SetFastPath(fast);
  Pair& p = pairOf(side, opaque);
  p.reset();
  BlendParam prm;
  prm.nBlendMode = mode;
  for (auto _ : state) {
    tool.Process(&p.src.buf, &p.dst.buf, &prm);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * side * side * 4 * 3);
}

void copyFloor(benchmark::State& state, int side) {
  Pair& p = pairOf(side);
  for (auto _ : state) {
    std::memcpy(p.dst.mem.data(), p.src.mem.data(), p.src.mem.size());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * side * side * 4 * 2);
}

#ifdef ORVEL_HAVE_PIXMAN
void pixmanOver(benchmark::State& state, int side) {
  Pair& p = pairOf(side);
  p.reset();
  pixman_image_t* s = pixman_image_create_bits(
      PIXMAN_a8r8g8b8, side, side, reinterpret_cast<uint32_t*>(p.src.mem.data()), side * 4);
  pixman_image_t* d = pixman_image_create_bits(
      PIXMAN_a8r8g8b8, side, side, reinterpret_cast<uint32_t*>(p.dst.mem.data()), side * 4);
  for (auto _ : state) {
    pixman_image_composite32(PIXMAN_OP_OVER, s, nullptr, d, 0, 0, 0, 0, 0, 0, side, side);
    benchmark::ClobberMemory();
  }
  pixman_image_unref(s);
  pixman_image_unref(d);
}
#endif

// Keeps the best real time of every benchmark, over its repetitions, for the table of ratios:
// on a shared machine the fastest run is the one least disturbed by others.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  std::map<std::string, double> seconds;
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs) {
      if (r.run_type != Run::RT_Iteration) continue;
      const double s = r.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(r.time_unit);
      auto it = seconds.find(r.run_name.str());
      if (it == seconds.end() || s < it->second) seconds[r.run_name.str()] = s;
    }
    ConsoleReporter::ReportRuns(runs);
  }
};

std::string name(int mode, bool fast, bool pooled, int side) {
  return std::string("blend/") + kModeNames[mode] + (fast ? "/fast" : "/portable") +
         (pooled ? "/pool" : "/single") + (side == 1024 ? "/1MP" : "/16MP");
}

// Seconds of the run of that name (benchmark names carry a "/real_time" suffix), or 0.
double lookup(const RatioReporter& rep, const std::string& name) {
  const auto it = rep.seconds.find(name + "/real_time");
  return it == rep.seconds.end() ? 0.0 : it->second;
}

}  // namespace

int main(int argc, char** argv) {
  const int sides[] = {1024, 4096};
  for (int side : sides)
    for (int mode = 0; mode < 28; ++mode)
      for (bool fast : {true, false})
        for (bool pooled : {false, true})
          benchmark::RegisterBenchmark(name(mode, fast, pooled, side).c_str(), blend, mode, fast,
                                       pooled, side, true)
              ->Unit(benchmark::kMillisecond)
              ->UseRealTime();
  for (bool pooled : {false, true})
    benchmark::RegisterBenchmark((name(0, true, pooled, 4096) + "/translucent").c_str(), blend, 0,
                                 true, pooled, 4096, false)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
  benchmark::RegisterBenchmark("memcpy/16MP", copyFloor, 4096)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
#ifdef ORVEL_HAVE_PIXMAN
  benchmark::RegisterBenchmark("pixman_over/16MP", pixmanOver, 4096)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
#endif
  benchmark::Initialize(&argc, argv);
  RatioReporter rep;
  benchmark::RunSpecifiedBenchmarks(&rep);

  std::printf("\nfast row on %s\n", FastBlendTargetName());
  const double copy = lookup(rep, "memcpy/16MP");
  const double peer = lookup(rep, "pixman_over/16MP");
  std::printf("memcpy 16MP %.2f ms, pixman OVER 16MP %.2f ms\n", copy * 1e3, peer * 1e3);
  std::printf("%-13s %9s %9s %9s %9s %9s %9s %9s\n", "16 MP", "fast/pool", "fast/1", "port/1",
              "/memcpy", "1/pixman", "/Normal", "1/Normal");
  const double normalPool = lookup(rep, name(0, true, true, 4096));
  const double normalOne = lookup(rep, name(0, true, false, 4096));
  for (int mode = 0; mode < 28; ++mode) {
    const double fp = lookup(rep, name(mode, true, true, 4096));
    const double f1 = lookup(rep, name(mode, true, false, 4096));
    const double p1 = lookup(rep, name(mode, false, false, 4096));
    if (fp == 0.0) continue;
    std::printf("%-13s %7.2fms %7.2fms %7.2fms %9.2f %9.2f %9.2f %9.2f\n", kModeNames[mode],
                fp * 1e3, f1 * 1e3, p1 * 1e3, copy > 0 ? fp / copy : 0.0,
                peer > 0 ? f1 / peer : 0.0, normalPool > 0 ? fp / normalPool : 0.0,
                normalOne > 0 ? f1 / normalOne : 0.0);
  }
  const double tp = lookup(rep, name(0, true, true, 4096) + "/translucent");
  const double t1 = lookup(rep, name(0, true, false, 4096) + "/translucent");
  if (tp > 0.0)
    std::printf("%-13s %7.2fms %7.2fms %9s %9.2f %9.2f   (Normal over a backdrop with alpha)\n",
                "Normal/transl", tp * 1e3, t1 * 1e3, "", copy > 0 ? tp / copy : 0.0,
                peer > 0 ? t1 / peer : 0.0);
  benchmark::Shutdown();
  return 0;
}
