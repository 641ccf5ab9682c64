#include "compositing/Noise.h"

#include <cstddef>
#include <cstring>

namespace Orvel {

HRESULT Noise::GenerateNoisePattern(NoiseParam& param) {
  if (param.nType != 0 && param.nType != 1) return E_INVALIDARG;
  if (param.nWidth < 0 || param.nHeight < 0) return E_INVALIDARG;
  if (!param.Pattern.pBuffer) return E_POINTER;

  // The seed is a signed field; the generator takes its 32 bits as they are, while the second
  // seed halves the signed value (so -1 gives 0, which the generator turns into 1).
  MinStdRand main(static_cast<uint32_t>(param.nSeed));
  MinStdRand outer(static_cast<uint32_t>(param.nSeed / 2));
  const bool bRegion = param.bUseRegion;
  const IntRect rc = param.rcRegion;

  uint8_t* p = param.Pattern.pBuffer;
  size_t i = 0;
  for (int32_t y = 0; y < param.nHeight; ++y) {
    for (int32_t x = 0; x < param.nWidth; ++x, ++i) {
      bool bOutside = bRegion && (x < rc.l || x >= rc.r || y < rc.t || y >= rc.b);
      MinStdRand& gen = bOutside ? outer : main;
      if (param.nType == 0) {
        p[i] = static_cast<uint8_t>(gen.Draw255());
      } else {
        // The host's memory need not be aligned for 16-bit access.
        uint16_t v = static_cast<uint16_t>(gen.Draw510());
        std::memcpy(p + 2 * i, &v, sizeof v);
      }
    }
  }
  return S_OK;
}

}  // namespace Orvel
