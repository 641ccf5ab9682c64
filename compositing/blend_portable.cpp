// Row 0 of the blend workers: one worker per mode, a plain loop over the job's region that
// composites pixel by pixel. The mode and the flags are fixed once per job by templates, so
// the loops never branch on them per pixel.
#include "compositing/blend_job.h"
#include "compositing/blend_modes.h"

namespace Orvel {

namespace {

using namespace BlendMath;

template <class Mode, bool kClip, bool kOverwrite>
void blendRegion(const BlendJob& job) {
  const BufferData& S = *job.pSrc;
  const BufferData& R = *job.pRef;
  const BufferData& T = *job.pDst;
  const IntRect& rc = job.rcRegion;
  const int op = job.nOpacity256;
  for (int y = rc.t; y < rc.b; ++y) {
    const uint8_t* s = PixelAddress(S, rc.l, y);
    const uint8_t* r = PixelAddress(R, rc.l, y);
    uint8_t* d = PixelAddress(T, rc.l, y);
    for (int x = rc.l; x < rc.r; ++x) {
      CompositePixel<Mode, kClip, kOverwrite>(s, r, d, op);
      s += S.nPixelStep;
      r += R.nPixelStep;
      d += T.nPixelStep;
    }
  }
}

template <class Mode, bool kClip>
void styleRegion(const BlendJob& job) {
  const BufferData& S = *job.pSrc;
  const BufferData& Y = *job.pRef;
  const BufferData& T = *job.pDst;
  const IntRect& rc = job.rcRegion;
  const int op = job.nOpacity256;
  for (int y = rc.t; y < rc.b; ++y) {
    const uint8_t* s = PixelAddress(S, rc.l, y);
    const uint8_t* l2 = PixelAddress(Y, rc.l, y);
    uint8_t* d = PixelAddress(T, rc.l, y);
    for (int x = rc.l; x < rc.r; ++x) {
      CompositeStylePixel<Mode, kClip>(s, l2, d, op);
      s += S.nPixelStep;
      l2 += Y.nPixelStep;
      d += T.nPixelStep;
    }
  }
}

// The job entry the pool calls: resolves the flags once, then runs the monomorphic loop.
template <class Mode>
void blendWorker(void* pJob, HRESULT* pStatus) {
  const BlendJob& job = *static_cast<const BlendJob*>(pJob);
  if (job.bStyle) {
    if (job.bClip)
      styleRegion<Mode, true>(job);
    else
      styleRegion<Mode, false>(job);
  } else if (job.bClip) {
    if (job.bOverwrite)
      blendRegion<Mode, true, true>(job);
    else
      blendRegion<Mode, true, false>(job);
  } else {
    if (job.bOverwrite)
      blendRegion<Mode, false, true>(job);
    else
      blendRegion<Mode, false, false>(job);
  }
  if (pStatus) *pStatus = S_OK;
}

#define ORVEL_PORTABLE_ENTRY(Mode) &blendWorker<Mode>,
constexpr WorkFn kPortableRow[kBlendSlots] = {ORVEL_BLEND_MODE_LIST(ORVEL_PORTABLE_ENTRY)};
#undef ORVEL_PORTABLE_ENTRY

}  // namespace

const WorkFn* PortableBlendRow() { return kPortableRow; }

}  // namespace Orvel
