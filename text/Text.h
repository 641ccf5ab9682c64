// The engine's one text layout and drawing object, shared by every document.
#pragma once

#include <cstdint>

namespace Orvel {

class CBlendTool;
class CMaskTool;

class Text {
 public:
  Text(uint32_t nInstanceId, CBlendTool* pBlendTool, CMaskTool* pMaskTool);
  virtual ~Text();
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;

  uint32_t m_nTag;           // the engine's instance number, handed on to the renderer
  CBlendTool* m_pBlendTool;  // composites a text drawn with a shadow onto the canvas
  CMaskTool* m_pBlurTool;    // blurs the shadow mask
};

}  // namespace Orvel
