// Images with guard bytes around their region, and tools shared by the blend tests.
#pragma once

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "compositing/blend_job.h"
#include "compositing/blend_kernels.h"
#include "orvel/types.h"

namespace Orvel::test {

constexpr uint8_t kGuard = 0xA5;

// A BGRA8 buffer of w x h pixels whose ROI sits at (ox, oy) inside a larger memory, with
// padding at the end of every row; everything outside the ROI holds kGuard.
struct GuardedImage {
  std::vector<uint8_t> mem;
  BufferData buf;
  GuardedImage(int w, int h, int ox = 3, int oy = 2, int padBytes = 7) {
    buf.nWidth = w + ox + 2;
    buf.nHeight = h + oy + 2;
    buf.nStride = buf.nWidth * 4 + padBytes;
    mem.assign(size_t(buf.nStride) * buf.nHeight, kGuard);
    buf.pBuffer = mem.data();
    buf.ROI = IntRect{ox, oy, ox + w, oy + h};
  }
  int w() const { return buf.ROI.r - buf.ROI.l; }
  int h() const { return buf.ROI.b - buf.ROI.t; }
  uint8_t* px(int x, int y) {
    return buf.pBuffer + size_t(buf.ROI.t + y) * buf.nStride + size_t(buf.ROI.l + x) * 4;
  }
  void fill(const uint8_t bgra[4]) {
    for (int y = 0; y < h(); ++y)
      for (int x = 0; x < w(); ++x)
        for (int c = 0; c < 4; ++c) px(x, y)[c] = bgra[c];
  }
  // Random colours; alpha is 0, 255 or anything, a third of the time each.
  void randomize(std::mt19937& rng) {
    for (int y = 0; y < h(); ++y)
      for (int x = 0; x < w(); ++x) {
        uint8_t* p = px(x, y);
        for (int c = 0; c < 3; ++c) p[c] = uint8_t(rng());
        const unsigned k = rng() % 3;
        p[3] = k == 0 ? 0 : k == 1 ? 255 : uint8_t(rng());
      }
  }
  std::vector<uint8_t> region() {
    std::vector<uint8_t> out;
    for (int y = 0; y < h(); ++y) out.insert(out.end(), px(0, y), px(0, y) + 4 * w());
    return out;
  }
  // Every byte outside the ROI still holds kGuard.
  bool guardsIntact() {
    for (int y = 0; y < buf.nHeight; ++y)
      for (int x = 0; x < buf.nStride; ++x) {
        const bool inside =
            y >= buf.ROI.t && y < buf.ROI.b && x >= buf.ROI.l * 4 && x < buf.ROI.r * 4;
        if (!inside && mem[size_t(y) * buf.nStride + x] != kGuard) return false;
      }
    return true;
  }
};

// Runs fn once for every instruction set of the fast row, with Highway held to it.
template <class Fn>
void ForEachFastTarget(Fn fn) {
  for (int64_t target : FastBlendTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    SCOPED_TRACE(hwy::TargetName(target));
    EXPECT_STREQ(FastBlendTargetName(), hwy::TargetName(target));
    fn(target);
  }
  hwy::SetSupportedTargetsForTest(0);
}

inline std::string DataPath(const char* name) { return std::string(ORVEL_TEST_DATA) + "/" + name; }

// The modes whose fast blocks are coarser than the portable row on purpose.
inline bool IsCoarseInFastBlocks(int mode) {
  static const std::set<int> kCoarse = {7, 10, 11, 12, 13, 15, 16, 22, 25, 26};
  return kCoarse.count(mode) != 0;
}

}  // namespace Orvel::test
