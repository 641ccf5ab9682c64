// Scalar types, records, constants and status codes of the image primitives.
#pragma once

#include <cstdint>

namespace Orvel {

typedef uint8_t Ipp8u;
typedef int8_t Ipp8s;
typedef uint16_t Ipp16u;
typedef int16_t Ipp16s;
typedef uint32_t Ipp32u;
typedef int32_t Ipp32s;
typedef int64_t Ipp64s;
typedef float Ipp32f;
typedef double Ipp64f;

// 0 is success and every failure is negative. A primitive that fails has written nothing.
typedef int32_t IppStatus;

enum : IppStatus {
  ippStsNoErr = 0,
  ippStsBadArgErr = -5,       // an argument outside its domain (thresholds out of order, NaN)
  ippStsSizeErr = -6,         // a size of 0 or less, or too large for the work memory to be sized
  ippStsNullPtrErr = -8,      // a required pointer is null
  ippStsDivByZeroErr = -10,   // a divisor of 0
  ippStsOutOfRangeErr = -11,  // a point outside the image
  ippStsStepErr = -14,        // a row step shorter than a row, or not a whole number of elements
  ippStsMaskSizeErr = -33,    // a filter mask other than 3 x 3
  ippStsBorderErr = -225,     // a border type other than replication
};

struct IppiSize {
  int32_t width;
  int32_t height;
};

struct IppiPoint {
  int32_t x;
  int32_t y;
};

struct IppiRect {
  int32_t x;
  int32_t y;
  int32_t width;
  int32_t height;
};

// What a flood fill reports about the region it painted.
struct IppiConnectedComp {
  Ipp64f area;      // number of pixels painted
  Ipp64f value[3];  // the new value, in the first element
  IppiRect rect;    // bounding box of the painted pixels
};

enum IppiMaskSize : int32_t {
  ippMskSize3x3 = 33,
};

enum IppiBorderType : int32_t {
  ippBorderRepl = 1,  // pixels beyond the image repeat the nearest image pixel
};

}  // namespace Orvel
