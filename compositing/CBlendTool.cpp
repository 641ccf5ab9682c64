#include "compositing/CBlendTool.h"

namespace Orvel {

CBlendTool::CBlendTool(CThreadPool* pPool) : m_pThreadPool(pPool), m_Jobs(pPool) {}
CBlendTool::~CBlendTool() = default;

}  // namespace Orvel
