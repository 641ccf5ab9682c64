// The library's entry points: the only symbols a host sees.
#include <cstring>
#include <new>

#include "engine/COrvel.h"
#include "engine/trace.h"
#include "orvel/orvel.h"

using Orvel::COrvel;

extern "C" {

ORVEL_API void* CreateInstance(void** ppOut) {
  COrvel* p = new (std::nothrow) COrvel();
  if (ppOut) *ppOut = p;
  return p;
}

ORVEL_API void DeleteInstance(void** ppInstance) {
  if (!ppInstance || !*ppInstance) return;
  delete static_cast<COrvel*>(*ppInstance);
  *ppInstance = nullptr;
}

ORVEL_API void* QueryInterface(const char* pszName, void* pEngine) {
  if (!pszName || !pEngine) return nullptr;
  auto* engine = static_cast<COrvel*>(pEngine);
  static const char* const kEngineNames[] = {"IOrvel", "IOrvel2", "IOrvel3", "IOrvel4"};
  static const char* const kTextNames[] = {"ITextEditor", "ITextEditor2", "ITextEditor3"};
  for (const char* name : kEngineNames)
    if (std::strcmp(pszName, name) == 0) return static_cast<Orvel::IOrvel4*>(engine);
  for (const char* name : kTextNames)
    if (std::strcmp(pszName, name) == 0)
      return static_cast<Orvel::ITextEditor3*>(&engine->m_TextEditor);
  return nullptr;
}

ORVEL_API void OrvelSetTraceSwitch(int nValue) { Orvel::SetTraceSwitch(nValue); }

ORVEL_API void OrvelSetTraceSink(void (*pfnSink)(const char* line, void* user), void* user) {
  Orvel::SetTraceSinkFn(pfnSink, user);
}

}  // extern "C"
