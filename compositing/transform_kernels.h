// The job of a transform worker, the per-pixel mapping shared by both rows, and the two rows
// of 28 workers.
#pragma once

#include <cstddef>
#include <cstdint>

#include "compositing/CInterpolator.h"
#include "engine/thread_pool.h"
#include "orvel/types.h"

namespace Orvel {

class CTransformTool;

// What one worker receives: one strip of the destination.
struct TransformWorkerParam {
  CTransformTool* pTool = nullptr;
  const BufferData* pBufIn = nullptr;
  BufferData* pBufOut = nullptr;
  IntRect rcStrip;          // the columns and rows this worker writes, destination coordinates
  double Inverse[16] = {};  // destination -> source, row after row
  int32_t nOpacity256 = 0;
  const CInterpolator* pInterpolator = nullptr;
  // The whole clipped rectangle of the operation (left, right, top, bottom); every strip
  // carries the same values, as the local scale is measured across the whole image.
  int32_t nClipL = 0, nClipR = 0, nClipT = 0, nClipB = 0;
};

// A worker: takes a TransformWorkerParam and writes 0 to the status when done.
using TransformBlendFn = WorkFn;

constexpr int kTransformSlots = 28;

// Row 0: pixels one at a time, cubic samples in the integer form.
const TransformBlendFn* PortableTransformRow();
// Row 1: blocks of eight pixels sampled on vectors, cubic samples in single precision.
const TransformBlendFn* FastTransformRow();

// A matrix within 0.0001 of a pure translation in its linear part (elements 12 and 13 free).
inline bool IsTranslation(const double m[16]) {
  auto near = [](double v, double c) { return v > c - 0.0001 && v < c + 0.0001; };
  return near(m[0], 1.0) && near(m[5], 1.0) && near(m[10], 1.0) && near(m[15], 1.0) &&
         near(m[1], 0.0) && near(m[2], 0.0) && near(m[3], 0.0) && near(m[4], 0.0) &&
         near(m[6], 0.0) && near(m[7], 0.0) && near(m[8], 0.0) && near(m[9], 0.0) &&
         near(m[11], 0.0) && near(m[14], 0.0);
}

// Everything a row of the resampling branch needs to map and sample one pixel.
struct TransformSampler {
  const uint8_t* pSrc = nullptr;
  int32_t nStride = 0;
  int32_t nPixelStep = 0;
  IntRect roi;
  double L = 0, T = 0, R = 0, B = 0;  // the source ROI as 64-bit floats
  const double* inv = nullptr;
  const CInterpolator* interp = nullptr;
  int32_t clipL = 0, clipR = 0, clipT = 0, clipB = 0;
  float ratio[4] = {0, 0, 0, 0};
  float scaleDenominator = 1.0f;

  explicit TransformSampler(const TransformWorkerParam& w);

  // The parts of the mapping that stay the same along row y.
  struct Row {
    double divisor, numX, numY;  // M[7] y + M[15], M[4] y + M[12], M[5] y + M[13]
    float scalePart;             // the top and bottom edges' share of the local scale
    int y;
  };
  Row RowAt(int y) const {
    Row r;
    const double yd = y;
    r.divisor = inv[7] * yd + inv[15];
    r.numX = inv[4] * yd + inv[12];
    r.numY = inv[5] * yd + inv[13];
    r.scalePart =
        static_cast<float>(clipB - y) * ratio[2] + static_cast<float>(y - clipT) * ratio[3];
    r.y = y;
    return r;
  }

  // Maps destination column x of the row back into the source, with one divide per pixel,
  // snaps positions within 0.0001 of the region's edges onto them (the far edge onto its last
  // pixel), and answers whether the position lies in the region within 0.001. A divisor of
  // zero gives an infinite or undefined position, which fails.
  bool Map(const Row& row, int x, double& X, double& Y) const {
    const double xd = x;
    const double rD = 1.0 / (row.divisor + inv[3] * xd);
    X = (row.numX + inv[0] * xd) * rD;
    Y = (row.numY + inv[1] * xd) * rD;
    if (X > L - 0.0001 && X < L + 0.0001) X = L;
    if (Y > T - 0.0001 && Y < T + 0.0001) Y = T;
    if (X > R - 0.0001 && X < R + 0.0001) X = R - 1.0;
    if (Y > B - 0.0001 && Y < B + 0.0001) Y = B - 1.0;
    const double lastX = R - 1.0, lastY = B - 1.0;
    return ((X > L - 0.001 && X < L + 0.001) || X > L) &&
           ((X > lastX - 0.001 && X < lastX + 0.001) || X < lastX) &&
           ((Y > T - 0.001 && Y < T + 0.001) || Y > T) &&
           ((Y > lastY - 0.001 && Y < lastY + 0.001) || Y < lastY);
  }

  // The local scale at column x: the edge scales weighted by nearness, so that near an edge
  // of the operation's rectangle that edge's scale counts most.
  float LocalScale(const Row& row, int x) const {
    return (static_cast<float>(clipR - x) * ratio[0] + row.scalePart +
            static_cast<float>(x - clipL) * ratio[1]) /
           scaleDenominator;
  }
};

inline TransformSampler::TransformSampler(const TransformWorkerParam& w) {
  const BufferData& in = *w.pBufIn;
  pSrc = in.pBuffer;
  nStride = in.nStride;
  nPixelStep = in.nPixelStep;
  roi = in.ROI;
  L = roi.l;
  T = roi.t;
  R = roi.r;
  B = roi.b;
  inv = w.Inverse;
  interp = w.pInterpolator;
  clipL = w.nClipL;
  clipR = w.nClipR;
  clipT = w.nClipT;
  clipB = w.nClipB;
  for (int k = 0; k < 4; ++k) ratio[k] = interp->m_fEdgeRatio[k];
  scaleDenominator = static_cast<float>(clipR - clipL + clipB - clipT);
}

// Samples the eight pixels (x .. x + 7, y) of a fast-row block into block (32 bytes, four per
// pixel); a pixel outside the source stays zero.
using TransformBlockSampler = void (*)(const TransformSampler& s, const TransformSampler::Row& row,
                                       int x, uint8_t* block);
// The block sampler of the best instruction set the processor offers at this moment.
TransformBlockSampler FastTransformBlockSampler();

// Normal's composite of a block of eight samples onto eight four-channel destination pixels
// (op is the 0..256 opacity multiplier): the same values as the per-pixel composite.
using TransformBlockComposite = void (*)(const uint8_t* block, uint8_t* dst, int op);
TransformBlockComposite FastNormalBlockComposite();

// For tests: cubic samples in the single-precision form, n positions at once through the
// vector code. off is the byte offset of each block's top-left pixel (ix - 1, iy - 1), rowX and
// rowY the kernel rows; out receives b, g, r, a per position.
void FastCubicProbe(const uint8_t* pSrc, int nStride, int nPixelStep, const CInterpolator& interp,
                    const int32_t* off, const int32_t* rowX, const int32_t* rowY, uint8_t* out,
                    size_t n);

}  // namespace Orvel
