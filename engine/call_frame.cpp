#include "engine/call_frame.h"

#include <new>

namespace Orvel {

CallFrame::CallFrame(bool bPerformance, CPerformanceCenter& center, uint32_t nCategory,
                     const char* pszName, const char* pszQualified, bool bEndOnFailure)
    : m_Center(center),
      m_nCategory(nCategory),
      m_Name(pszName),
      m_pszQualified(pszQualified),
      m_bEndOnFailure(bEndOnFailure) {
  if (m_pszQualified) Trace("INTERFACE: %s%s", m_pszQualified, "() >>> entry");
  if (bPerformance) {
    m_Center.Clear(m_nCategory);
    // A timer that cannot be made leaves the operation untimed; it still runs.
    auto* p = new (std::nothrow) TimerPerformanceCounter();
    if (p) {
      try {
        m_pTimer.reset(p);
      } catch (...) {
        m_pTimer.reset();
      }
      if (m_pTimer) m_pTimer->Start();
    }
  }
}

void CallFrame::endTrace() {
  if (m_pszQualified) Trace("INTERFACE: %s%s", m_pszQualified, "() <<< end");
}

HRESULT CallFrame::Fail(HRESULT hr, const char* pszExpression) {
  Trace("[Assert] %s , Error! hr=%x", pszExpression, static_cast<unsigned>(hr));
  return Refuse(hr);
}

HRESULT CallFrame::Refuse(HRESULT hr) {
  m_pTimer.reset();
  if (m_bEndOnFailure) endTrace();
  return hr;
}

HRESULT CallFrame::Finish(HRESULT hr) {
  if (m_pTimer) {
    m_pTimer->Stop();
    double seconds = m_pTimer->Seconds();
    Trace("%s: %f ", m_Name.c_str(), seconds);
    m_Center.Add(m_nCategory, 1, m_Name, seconds);
    m_pTimer.reset();
  }
  endTrace();
  return hr;
}

}  // namespace Orvel
