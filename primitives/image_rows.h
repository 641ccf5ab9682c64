// Shared by the primitives: row addressing, argument checks and work-memory layout.
#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "primitives/ipp_types.h"

namespace Orvel::primitives_detail {

template <typename T>
inline T* rowAt(T* base, int step, int64_t y) {
  using Byte = std::conditional_t<std::is_const_v<T>, const uint8_t, uint8_t>;
  return reinterpret_cast<T*>(reinterpret_cast<Byte*>(base) + y * static_cast<int64_t>(step));
}

inline bool sizeIsValid(IppiSize size) { return size.width > 0 && size.height > 0; }

// A step must hold a whole row and, for wider elements, a whole number of them, so that every
// row starts where an element may start.
inline bool stepIsValid(int step, int width, size_t elementSize) {
  const int64_t element = static_cast<int64_t>(elementSize);
  return step > 0 && step >= static_cast<int64_t>(width) * element && step % element == 0;
}

// Carves aligned arrays out of a caller's work buffer. The same sequence of take() calls sizes
// the buffer (with a null base) and lays it out, so the two can never disagree.
class WorkLayout {
 public:
  static constexpr size_t kAlign = 64;

  explicit WorkLayout(uint8_t* base) : m_base(base) {}

  template <typename T>
  T* take(size_t count) {
    m_used = (m_used + kAlign - 1) / kAlign * kAlign;
    T* p = m_base ? reinterpret_cast<T*>(alignedBase() + m_used) : nullptr;
    m_used += count * sizeof(T);
    return p;
  }

  // Bytes a buffer needs for everything taken so far, including the slack to align its start.
  size_t bytesNeeded() const { return m_used + kAlign; }

 private:
  uint8_t* alignedBase() const {
    const uintptr_t p = reinterpret_cast<uintptr_t>(m_base);
    return m_base + ((kAlign - p % kAlign) % kAlign);
  }

  uint8_t* m_base;
  size_t m_used = 0;
};

// Reports a work size through an int, refusing sizes that an int cannot carry.
inline IppStatus reportSize(size_t bytes, int* pSize) {
  if (bytes > static_cast<size_t>(INT_MAX)) return ippStsSizeErr;
  *pSize = static_cast<int>(bytes);
  return ippStsNoErr;
}

}  // namespace Orvel::primitives_detail
