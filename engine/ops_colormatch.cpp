#include "engine/COrvel.h"
#include "engine/call_frame.h"

namespace Orvel {

// 46: gives pBufOut the colour statistics of pBufIn. pColorMatchParam must be given but is not
// read.
HRESULT COrvel::ColorMatch(BufferData* pBufIn, BufferData* pBufOut, void* pColorMatchParam) {
  if (!pBufIn || !pBufOut || !pColorMatchParam) return E_POINTER;
  CallFrame frame(m_bPerformance, m_PerformanceCenter, PERF_COLOR_MATCH, "ColorMatch");
  HRESULT hr;
  ORVEL_CHECK(frame, hr, m_ColorMatch.Process(pBufIn, pBufOut, pColorMatchParam));
  return frame.Finish(hr);
}

}  // namespace Orvel
