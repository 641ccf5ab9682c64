#include "shapes/CShapeTool.h"

namespace Orvel {

HRESULT CShapeTool::Init(uint32_t nInstanceId, CThreadPool* pPool) {
  m_nInstanceId = nInstanceId;
  m_pThreadPool = pPool;
  return S_OK;
}

void CShapeTool::Shutdown() {}

void CShapeTool::ReleaseScratch() {}

}  // namespace Orvel
