// What every benchmark program shares: a console reporter that keeps one time per benchmark
// (the median when repetitions ran, else the run itself), so that a program can print its
// ratios against memcpy and the peer libraries at the end of the run.
#pragma once

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <map>
#include <string>
#include <vector>

namespace OrvelBench {

struct RunTimes {
  double real = 0.0;
  double cpu = 0.0;
};

class MedianReporter : public benchmark::ConsoleReporter {
 public:
  // bKeyWithoutOptions: key runs by name and arguments only, leaving out run options such as
  // "/real_time", so that lookups need not spell them.
  explicit MedianReporter(bool bKeyWithoutOptions = false)
      : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_ColorTabular : OO_Tabular),
        m_bKeyWithoutOptions(bKeyWithoutOptions) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      std::string key = run.run_name.str();
      if (m_bKeyWithoutOptions) {
        key = run.run_name.function_name;
        if (!run.run_name.args.empty()) key += "/" + run.run_name.args;
      }
      const RunTimes t{run.GetAdjustedRealTime(), run.GetAdjustedCPUTime()};
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
        m_Medians[key] = t;
      else if (run.run_type == Run::RT_Iteration && run.iterations > 0)
        m_Runs[key] = t;
    }
    ConsoleReporter::ReportRuns(runs);
  }

  std::map<std::string, RunTimes> Times() const {
    std::map<std::string, RunTimes> t = m_Runs;
    for (const auto& [name, time] : m_Medians) t[name] = time;
    return t;
  }

  std::map<std::string, double> RealTimes() const {
    std::map<std::string, double> t;
    for (const auto& [name, time] : Times()) t[name] = time.real;
    return t;
  }

 private:
  bool m_bKeyWithoutOptions;
  std::map<std::string, RunTimes> m_Runs;
  std::map<std::string, RunTimes> m_Medians;
};

}  // namespace OrvelBench
