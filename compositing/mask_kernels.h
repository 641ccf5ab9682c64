#pragma once

// The line kernels of the box blur and the fast workers of the mask tool.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Orvel {

// One line of the box blur, the reference form: out[i] = trunc(S(i) x (1.0 / (2r + 1)) + 0.5) in
// doubles, with S the running sum of in[i - r .. i + r] and elements beyond the line counting
// 0, so the divisor stays 2r + 1 at the ends. Needs n >= 2r + 1 (the radius shrink sees to it).
template <class T>
void BlurLinePlain(const T* in, ptrdiff_t inStep, T* out, ptrdiff_t outStep, int n, int r) {
  const double k = 1.0 / (2 * r + 1);
  auto put = [&](int i, uint32_t s) {
    out[i * outStep] = static_cast<T>(static_cast<int64_t>(s * k + 0.5));
  };
  uint32_t s = 0;
  for (int i = 0; i < r; ++i) s += in[i * inStep];
  int i = 0;
  for (; i <= r; ++i) {  // one enters at the head
    s += in[(i + r) * inStep];
    put(i, s);
  }
  for (; i < n - r; ++i) {  // one enters, one leaves
    s += in[(i + r) * inStep];
    s -= in[(i - r - 1) * inStep];
    put(i, s);
  }
  for (; i < n; ++i) {  // one only leaves
    s -= in[(i - r - 1) * inStep];
    put(i, s);
  }
}

// Exact rounding division by an odd d for the fast blur. Since d is odd, S / d is never a
// half, so trunc(S / d + 0.5) (which the double formula gives exactly for these magnitudes)
// equals floor((S + r) / d); that quotient is (N x M) >> 47 with M = ceil(2^47 / d), exact
// for N < 2^47 / d, which covers 16-bit sums when d <= kMaxExactDivisor.
struct BlurDivider {
  static constexpr int kShift = 47;
  static constexpr int kMaxExactDivisor = 46340;
  uint64_t M = 0;
  explicit BlurDivider(int d) : M(((uint64_t(1) << kShift) + uint64_t(d) - 1) / uint64_t(d)) {}
  uint32_t operator()(uint64_t n) const { return static_cast<uint32_t>((n * M) >> kShift); }
};

// The fast row pass with its copy, rows [y0, y1) of w elements with a pitch of `stride`
// elements: afterwards src holds the row pass of its former rows and dst has their padding;
// the rest of dst is left to the column pass, which writes all of it. Gives the values of
// BlurLinePlain: 8-bit rows go sideways in bands of 16 on vectors, the others run four rows
// side by side.
void FastBlurRowPass8(uint8_t* src, uint8_t* dst, ptrdiff_t stride, int w, int y0, int y1, int r);
void FastBlurRowPass16(uint16_t* src, uint16_t* dst, ptrdiff_t stride, int w, int y0, int y1,
                       int r);

// The fast column pass: columns [x0, x1) of h elements, one vector of columns at a time.
// Gives the values of BlurLinePlain.
void FastBlurColumns8(const uint8_t* in, uint8_t* out, ptrdiff_t stride, int x0, int x1, int h,
                      int r);
void FastBlurColumns16(const uint16_t* in, uint16_t* out, ptrdiff_t stride, int x0, int x1, int h,
                       int r);

// The fast ApplyMask worker for four-byte object pixels with alpha in the top byte: `rows`
// rows of `width` pixels; maskStep 1 (grey mask) or 4 (colour mask with alpha).
void FastApplyMaskRows(uint8_t* obj, ptrdiff_t objStride, const uint8_t* mask, ptrdiff_t maskStride,
                       int width, int rows, int maskStep);

// Instruction sets the fast kernels were compiled for and that this processor runs, and the
// name of the one in use (for tests and benchmarks).
std::vector<int64_t> FastMaskTargets();
const char* FastMaskTargetName();

}  // namespace Orvel
