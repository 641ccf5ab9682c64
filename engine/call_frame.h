// The frame every image operation wears: optional timer, failure trace with the expression
// that failed, the record in the statistics, the optional entry/end lines.
#pragma once

#include <memory>
#include <string>

#include "engine/performance.h"
#include "engine/trace.h"
#include "orvel/types.h"

namespace Orvel {

class CallFrame {
 public:
  // pszQualified non-null: the operation traces "INTERFACE: <name>() >>> entry" now and
  // "... <<< end" when it finishes (and, with bEndOnFailure, when it fails).
  CallFrame(bool bPerformance, CPerformanceCenter& center, uint32_t nCategory, const char* pszName,
            const char* pszQualified = nullptr, bool bEndOnFailure = false);

  // A failed tool call: traces "[Assert] <expression> , Error! hr=<hr>", drops the timer
  // without a record, and hands the status back for the operation to return.
  HRESULT Fail(HRESULT hr, const char* pszExpression);

  // A failure that is returned without an assertion line (for example a format refused).
  HRESULT Refuse(HRESULT hr);

  // The successful end: stops the timer, traces and records the time, returns hr.
  HRESULT Finish(HRESULT hr);

 private:
  void endTrace();

  CPerformanceCenter& m_Center;
  uint32_t m_nCategory;
  std::string m_Name;
  const char* m_pszQualified;
  bool m_bEndOnFailure;
  std::shared_ptr<TimerPerformanceCounter> m_pTimer;
};

}  // namespace Orvel

// Runs a tool call inside a frame; on failure traces the call's text and returns its status.
#define ORVEL_CHECK(frame, hr, ...)                            \
  do {                                                         \
    (hr) = (__VA_ARGS__);                                      \
    if ((hr) < 0) return (frame).Fail((hr), #__VA_ARGS__);    \
  } while (0)
