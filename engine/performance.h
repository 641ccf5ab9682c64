// Timing records of the call frame, kept per category for the last timed call.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "orvel/types.h"

namespace Orvel {

// Stop-watch of the call frame: frequency, start count, stop count.
struct TimerPerformanceCounter {
  int64_t nFrequency = 0;
  int64_t nStart = 0;
  int64_t nStop = 0;

  TimerPerformanceCounter();
  void Start();
  void Stop();
  double Seconds() const;  // (stop - start) / frequency
};

class CPerformanceCenter {
 public:
  struct Record {
    uint32_t nCategory = 0;
    uint32_t nCount = 0;
    std::string name;
    double dSeconds = 0.0;
  };

  virtual ~CPerformanceCenter() = default;

  HRESULT Clear(uint32_t category);
  HRESULT Add(uint32_t category, uint32_t count, const std::string& name, double seconds);
  HRESULT GetCount(uint32_t category, int* pCount) const;
  HRESULT GetRecords(uint32_t category, std::vector<Record>& out) const;
  void ClearAll() { m_Records.clear(); }

  // The host's two-step query: count first (pRecords null), then the records.
  HRESULT FillPerformanceData(uint32_t category, int* pCount, PerformanceRecord* pRecords) const;

 private:
  std::map<uint32_t, std::vector<Record>> m_Records;
};

}  // namespace Orvel
