#include "text/Text.h"

namespace Orvel {

Text::Text(uint32_t nInstanceId, CBlendTool* pBlendTool, CMaskTool* pMaskTool)
    : m_nTag(nInstanceId), m_pBlendTool(pBlendTool), m_pBlurTool(pMaskTool) {}

Text::~Text() = default;

}  // namespace Orvel
