// Aligned allocation for vectors and images.
#include <cstdlib>

#include "primitives/primitives.h"

namespace Orvel {

namespace {

constexpr size_t kRowAlign = 32;

void* allocateAligned(size_t bytes) {
  // aligned_alloc wants a whole number of alignment units.
  const size_t rounded = (bytes + kRowAlign - 1) / kRowAlign * kRowAlign;
  return std::aligned_alloc(kRowAlign, rounded);
}

template <typename T>
T* allocateImage(int widthPixels, int heightPixels, int* pStepBytes) {
  if (pStepBytes == nullptr || widthPixels <= 0 || heightPixels <= 0) return nullptr;
  const size_t rowBytes = static_cast<size_t>(widthPixels) * sizeof(T);
  const size_t step = (rowBytes + kRowAlign - 1) / kRowAlign * kRowAlign;
  if (step > static_cast<size_t>(INT32_MAX)) return nullptr;
  T* p = static_cast<T*>(allocateAligned(step * static_cast<size_t>(heightPixels)));
  if (p != nullptr) *pStepBytes = static_cast<int>(step);
  return p;
}

}  // namespace

Ipp8u* ippsMalloc_8u(int len) {
  if (len <= 0) return nullptr;
  return static_cast<Ipp8u*>(allocateAligned(static_cast<size_t>(len)));
}

void ippsFree(void* ptr) { std::free(ptr); }

Ipp32f* ippiMalloc_32f_C1(int widthPixels, int heightPixels, int* pStepBytes) {
  return allocateImage<Ipp32f>(widthPixels, heightPixels, pStepBytes);
}

Ipp16s* ippiMalloc_16s_C1(int widthPixels, int heightPixels, int* pStepBytes) {
  return allocateImage<Ipp16s>(widthPixels, heightPixels, pStepBytes);
}

void ippiFree(void* ptr) { std::free(ptr); }

}  // namespace Orvel
