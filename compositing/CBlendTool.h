// Composites one image region onto another in 28 modes.
#pragma once

#include <memory>

#include "compositing/Noise.h"
#include "compositing/blend_job.h"
#include "engine/base_effect.h"
#include "engine/thread_pool.h"
#include "orvel/compositing_params.h"

namespace Orvel {

class CBlendTool : public CBaseEffect {
 public:
  explicit CBlendTool(CThreadPool* pPool);
  ~CBlendTool() override;
  CBlendTool(const CBlendTool&) = delete;
  CBlendTool& operator=(const CBlendTool&) = delete;

  // Switches to the fast row (bOn) or back to the portable one. The fast row is looked up
  // here, for the best instruction set the processor offers at this moment.
  void SetFastPath(bool bOn);

  // Source pBufIn onto pBufOut, which is backdrop and destination; the region is the whole of
  // pBufOut as far as both ROIs reach.
  HRESULT Process(const BufferData* pBufIn, BufferData* pBufOut, const BlendParam* pBlendParam);

  // The general form. The region covers the smallest width and height of the three ROIs and r,
  // from each buffer's own ROI corner. With bStyle the backdrop is p_dst and p_ref is a second
  // layer composited normally; bClip multiplies the source's alpha by the backdrop's (non-style)
  // or the destination's (style). Returns 0; a mode number outside 0..27 is refused with
  // E_INVALIDARG before any pixel is touched.
  HRESULT Process(const BufferData* p_src, const BufferData* p_ref, BufferData* p_dst,
                  const IntRect& r, const BlendParam* p_param, bool bStyle = false,
                  bool bClip = false);

  // Non-style, clipped by the backdrop's alpha, over (0, 0, p_dst->nWidth, p_dst->nHeight).
  HRESULT Process_Color(const BufferData* p_src, const BufferData* p_ref, BufferData* p_dst,
                        const BlendParam* p_param);

  // Process_Color, then each colour channel of p_src is mixed back toward its value before the
  // call by the alpha of p_ref: result x (a / 255) + original x (255 - a) / 255 in doubles.
  HRESULT Process_Color2(BufferData* p_src, const BufferData* p_ref, BufferData* p_dst,
                         const BlendParam* p_param);

  // Flattens a four-channel image (8-bit, or 16-bit by the high bytes) over a solid colour into
  // a three-channel 8-bit image, over the whole nWidth x nHeight; the ROIs are not used.
  HRESULT BlendWithSingleColor(const BufferData& in, BufferData& out, const Color& color);

  // Dissolve (mode 27): the alpha of buf becomes 255 where noise x 100 is below opacity x
  // alpha (and where alpha is 255 at opacity 100), else 0. Over the whole buffer, whatever its
  // ROI, with a table of dissolve_param.nWidth x nHeight draws from the tool's own generator,
  // which bReseed starts anew from nSeed and which otherwise goes on where it stopped. Returns
  // 0, or E_OUTOFMEMORY with the alpha untouched.
  HRESULT ApplyDissolve(BufferData& buf, int nOpacity, const DissolveParam& dissolve_param,
                        bool bReseed = true);

  // The same over the ROI of buf, with the host's registered pattern as the table. The pattern
  // must exist, hold bytes (nDepth 0) and have the size dissolve_param gives, else
  // E_INVALIDARG before anything is touched.
  HRESULT ApplyDissolveWithNoise(BufferData& buf, int nOpacity,
                                 const DissolveParam& dissolve_param,
                                 const BufferData* mp_NoisePattern);

  // Number of stripes the last Process handed to the pool; 0 when it ran on the calling thread.
  int LastStripeCount() const { return m_nLastStripes; }

  // Regions below this many pixels are blended on the calling thread: a hand-over to the
  // pool costs more than it saves there.
  static constexpr int64_t kPoolThreshold = 4801;

  std::unique_ptr<MinStdRand> m_pDissolveRand;  // made at first need, kept between calls
  WorkFn m_fnBlend[2][kBlendSlots];              // row 0 portable, row 1 fast
  CThreadPool* m_pThreadPool;
  PoolJobs m_Jobs;
  BlendJob m_JobRecords[PoolJobs::kMaxJobs];
  int m_nTableIndex = 0;  // 0 portable row, 1 fast row

 private:
  int m_nLastStripes = 0;
};

}  // namespace Orvel
