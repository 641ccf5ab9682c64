#pragma once

// The noise of the dissolve mode: the minimal standard generator, its two uniform draws, and
// the prepared patterns that a host registers with the engine.

#include <cstdint>

#include "orvel/compositing_params.h"

namespace Orvel {

// x -> (x * 16807) mod 2147483647. The draws below fix the sequence of noise values for a
// seed, so that a document dissolves the same way on every machine and in every release.
class MinStdRand {
 public:
  static constexpr uint32_t kModulus = 2147483647u;

  explicit MinStdRand(uint32_t nSeed = 1) { Seed(nSeed); }

  // s mod 2147483647; a state of 0 would stay 0 for ever, so it becomes 1.
  void Seed(uint32_t nSeed) {
    m_x = nSeed % kModulus;
    if (m_x == 0) m_x = 1;
  }

  uint32_t State() const { return m_x; }

  uint32_t Next() {
    m_x = static_cast<uint32_t>((static_cast<uint64_t>(m_x) * 16807u) % kModulus);
    return m_x;
  }

  // Uniform on 0..255: values above 0x3FFFFFFF are thrown away so that every byte value has
  // the same number of sources.
  int32_t Draw255() {
    uint32_t v;
    do {
      v = Next() - 1;
    } while (v > 0x3FFFFFFFu);
    return static_cast<int32_t>(v % 256u);
  }

  // Uniform on 0..510: 511 does not divide 2^30, so the incomplete last block is thrown away
  // as well.
  int32_t Draw510() {
    uint32_t v;
    do {
      v = Next() - 1;
    } while (v > 0x3FFFFFFFu || v / 511u >= 0x3FFFFFFFu / 511u);
    return static_cast<int32_t>(v % 511u);
  }

 private:
  uint32_t m_x = 1;
};

// Fills host-supplied noise patterns.
class Noise {
 public:
  virtual ~Noise() = default;

  // Fills param.Pattern.pBuffer with nWidth x nHeight draws in row order: bytes on 0..255 for
  // nType 0, 16-bit values on 0..510 for nType 1. With bUseRegion the elements outside
  // rcRegion come from a second generator seeded with nSeed / 2, so the noise inside the
  // region does not change when its surroundings do.
  HRESULT GenerateNoisePattern(NoiseParam& param);
};

}  // namespace Orvel
