#include "engine/performance.h"

#include <chrono>
#include <cstdio>

#include "engine/trace.h"

namespace Orvel {

namespace {
int64_t nowTicks() {
  return std::chrono::steady_clock::now().time_since_epoch().count();
}
}  // namespace

TimerPerformanceCounter::TimerPerformanceCounter() {
  using period = std::chrono::steady_clock::period;
  nFrequency = int64_t(period::den / period::num);
}

void TimerPerformanceCounter::Start() { nStart = nowTicks(); }
void TimerPerformanceCounter::Stop() { nStop = nowTicks(); }
double TimerPerformanceCounter::Seconds() const {
  return double(nStop - nStart) / double(nFrequency);
}

HRESULT CPerformanceCenter::Clear(uint32_t category) {
  // An absent category is not created; a present one is emptied and kept.
  auto it = m_Records.find(category);
  if (it != m_Records.end()) it->second.clear();
  return S_OK;
}

HRESULT CPerformanceCenter::Add(uint32_t category, uint32_t count, const std::string& name,
                                double seconds) {
  m_Records[category].push_back(Record{category, count, name, seconds});
  return S_OK;
}

HRESULT CPerformanceCenter::GetCount(uint32_t category, int* pCount) const {
  if (!pCount) return E_POINTER;
  auto it = m_Records.find(category);
  *pCount = it == m_Records.end() ? 0 : int(it->second.size());
  return S_OK;
}

HRESULT CPerformanceCenter::GetRecords(uint32_t category, std::vector<Record>& out) const {
  auto it = m_Records.find(category);
  if (it == m_Records.end()) {
    out.clear();
  } else {
    out = it->second;
  }
  return S_OK;
}

HRESULT CPerformanceCenter::FillPerformanceData(uint32_t category, int* pCount,
                                                PerformanceRecord* pRecords) const {
  if (!pRecords) return GetCount(category, pCount);

  std::vector<Record> records;
  GetRecords(category, records);
  for (size_t i = 0; i < records.size(); ++i) {
    const Record& rec = records[i];
    PerformanceRecord& out = pRecords[i];
    out.nCount = rec.nCount;
    int n;
    if (rec.name.size() < 257) {
      // A name of exactly 256 characters does not fit with its terminator: the size-limited
      // print reports the failure rather than truncating silently.
      n = rec.name.size() < sizeof(out.szName)
              ? std::snprintf(out.szName, sizeof(out.szName), "%s", rec.name.c_str())
              : -1;
    } else {
      n = std::snprintf(out.szName, sizeof(out.szName), "%s", "Unknown - Too Long");
    }
    if (n < 0) {
      Trace("Fail to fill performance data Err(%d)", n);
      return E_FAIL;
    }
    out.dSeconds = rec.dSeconds;
  }
  return S_OK;
}

}  // namespace Orvel
