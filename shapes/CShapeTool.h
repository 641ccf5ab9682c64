#pragma once

#include <cstdint>

#include "engine/thread_pool.h"
#include "orvel/shape_params.h"

namespace Orvel {

// Draws parametric shapes; made by the engine at first need.
class CShapeTool {
 public:
  virtual ~CShapeTool() = default;

  // Prepares the drawing back end; a failure leaves the tool unusable.
  HRESULT Init(uint32_t nInstanceId, CThreadPool* pPool);
  // Ends the drawing back end.
  void Shutdown();
  // Frees the tool's temporary memory and clears its fields.
  void ReleaseScratch();

  uint32_t m_nInstanceId = 0;
  CThreadPool* m_pThreadPool = nullptr;
};

}  // namespace Orvel
