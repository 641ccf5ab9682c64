// Everything a host needs: value types, parameter records, the engine and text editor
// interfaces, and the library's exported functions.
//
// Typical use:
//   void* pEngine = nullptr;
//   CreateInstance(&pEngine);
//   auto* pOrvel = static_cast<Orvel::IOrvel4*>(QueryInterface("IOrvel4", pEngine));
//   ... operations ...
//   DeleteInstance(&pEngine);
#pragma once

#include "orvel/compositing_params.h"
#include "orvel/gradient_params.h"
#include "orvel/iorvel.h"
#include "orvel/itexteditor.h"
#include "orvel/paint_params.h"
#include "orvel/shape_params.h"
#include "orvel/styles_params.h"
#include "orvel/text_engine_params.h"
#include "orvel/text_params.h"
#include "orvel/types.h"

#if defined(__GNUC__) || defined(__clang__)
#define ORVEL_API __attribute__((visibility("default")))
#else
#define ORVEL_API
#endif

extern "C" {

// Makes an engine, stores it in *ppOut (when ppOut is not null) and returns it; null when
// memory is exhausted. The engine is the pointer that QueryInterface and DeleteInstance take.
ORVEL_API void* CreateInstance(void** ppOut);

// Destroys the engine in *ppInstance and stores null there; a null engine is left alone.
// A noise pattern registered with SetNoisePattern is unregistered first by the host.
ORVEL_API void DeleteInstance(void** ppInstance);

// The interface of the given name, compared exactly: "IOrvel" .. "IOrvel4" give the engine
// itself (as IOrvel4*), "ITextEditor" .. "ITextEditor3" its text editor (as ITextEditor3*).
// Any other name, or a null argument, gives null. The result lives as long as the engine.
ORVEL_API void* QueryInterface(const char* pszName, void* pEngine);

// Process-wide trace switch; 0 (the start value) turns tracing off and makes it cost one test.
ORVEL_API void OrvelSetTraceSwitch(int nValue);

// Receives each trace line ("[Orvel] " + text + "\n"); a null sink sends lines to stderr.
// The sink may be called from the engine's worker threads.
ORVEL_API void OrvelSetTraceSink(void (*pfnSink)(const char* line, void* user), void* user);

}  // extern "C"
