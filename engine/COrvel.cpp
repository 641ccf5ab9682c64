#include "engine/COrvel.h"

#include <cstring>
#include <new>

#include "engine/call_frame.h"
#include "engine/cpu.h"

namespace Orvel {

std::atomic<uint32_t> g_nInstanceCounter{0};
std::atomic<int32_t> g_nLiveEngines{0};

namespace {
uint32_t nextInstanceId() { return g_nInstanceCounter.fetch_add(1) + 1; }
}  // namespace

COrvel::COrvel()
    : m_nInstanceId(nextInstanceId()),
      m_ThreadPool(),
      m_MergeTool(&m_ThreadPool),
      m_BlendTool(&m_ThreadPool),
      m_GradientTool(&m_ThreadPool),
      m_BrushTool(&m_ThreadPool, &m_BlendTool),
      m_FillTool(&m_ThreadPool),
      m_TransformTool(&m_ThreadPool, &m_BlendTool),
      m_MaskTool(&m_ThreadPool),
      m_Text(m_nInstanceId, &m_BlendTool, &m_MaskTool),
      m_TextEditor(m_nInstanceId, m_Text),
      m_LayerStylesTool(&m_ThreadPool, &m_BlendTool, &m_MaskTool, &m_TransformTool,
                        &m_GradientTool),
      m_BevelTool(&m_ThreadPool, &m_BlendTool, &m_MaskTool),
      m_ColorMatch(&m_ThreadPool) {
  g_nLiveEngines.fetch_add(1);
  m_ThreadPool.Init(4);
  m_nProcessorLevel = GetProcessorLevel();
  if (m_nProcessorLevel >= kFastPathLevel) SetFastPaths(true);
}

COrvel::~COrvel() {
  if (m_pShapeTool) {
    m_pShapeTool->Shutdown();
    delete m_pShapeTool;
    m_pShapeTool = nullptr;
  }
  // The registered pattern is the host's memory (a record inside its NoiseParam): it is
  // forgotten here, never freed.
  mp_NoisePattern = nullptr;
  g_nLiveEngines.fetch_sub(1);
  ReleaseScratchBlock(m_ScratchB);
  ReleaseScratchBlock(m_ScratchA);
  m_PerformanceCenter.ClearAll();
  // The members then go in reverse order of construction; the pool, built first, goes last
  // and joins its workers.
}

void COrvel::SetFastPaths(bool bOn) {
  m_BlendTool.SetFastPath(bOn);
  m_BrushTool.SetFastPath(bOn);
  m_FillTool.m_magic_wand.SetFastPath(bOn);
  m_MaskTool.SetFastPath(bOn);
  m_TransformTool.SetFastPath(bOn);
  m_LayerStylesTool.SetFastPath(bOn);
  m_BevelTool.SetFastPath(bOn);
  m_ColorMatch.SetFastPath(bOn);
}

CShapeTool* COrvel::GetShapeTool() {
  if (m_pShapeTool) return m_pShapeTool;
  auto* tool = new (std::nothrow) CShapeTool();
  if (!tool) return nullptr;
  if (tool->Init(m_nInstanceId, &m_ThreadPool) < 0) {
    tool->Shutdown();
    delete tool;
    return nullptr;
  }
  m_pShapeTool = tool;
  return m_pShapeTool;
}

// ---- operations complete in the engine itself ----

HRESULT COrvel::Reserved20() { return S_OK; }

HRESULT COrvel::FillPerformanceData(uint32_t category, int* pCount, PerformanceRecord* pRecords) {
  if (!pRecords && !pCount) return E_POINTER;
  return m_PerformanceCenter.FillPerformanceData(category, pCount, pRecords);
}

HRESULT COrvel::SetPerformanceMode(bool bPerformance) {
  m_bPerformance = bPerformance;
  return S_OK;
}

HRESULT COrvel::Reserved53(...) { return E_FAIL; }

// The engine keeps the host's record, not a copy: the host unregisters (null) before it frees
// the record or deletes the engine.
HRESULT COrvel::SetNoisePattern(NoiseParam* pParam) {
  mp_NoisePattern = pParam ? &pParam->Pattern : nullptr;
  return S_OK;
}

HRESULT COrvel::ReleaseScratch() {
  if (m_pShapeTool) m_pShapeTool->ReleaseScratch();
  ReleaseScratchBlock(m_ScratchA);
  return S_OK;
}

}  // namespace Orvel
