#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/call_frame.h"

using namespace Orvel;

namespace {

// Collects trace lines while alive; the switch is restored afterwards.
struct TraceCapture {
  std::vector<std::string> lines;
  TraceCapture() {
    SetTraceSinkFn([](const char* line, void* user) {
      static_cast<TraceCapture*>(user)->lines.emplace_back(line);
    }, this);
    SetTraceSwitch(1);
  }
  ~TraceCapture() {
    SetTraceSwitch(0);
    SetTraceSinkFn(nullptr, nullptr);
  }
};

HRESULT failingTool(int) { return E_INVALIDARG; }
HRESULT goodTool(int) { return S_OK; }

HRESULT runOperation(bool bPerformance, CPerformanceCenter& center, bool bFail) {
  CallFrame frame(bPerformance, center, 1, "Blend");
  HRESULT hr;
  int pBufIn = 0;
  if (bFail) {
    ORVEL_CHECK(frame, hr, failingTool(pBufIn));
  } else {
    ORVEL_CHECK(frame, hr, goodTool(pBufIn));
  }
  return frame.Finish(hr);
}

}  // namespace

TEST(Trace, LineIsPrefixedTerminatedAndTruncatedTo512) {
  TraceCapture cap;
  Trace("value %d", 42);
  ASSERT_EQ(cap.lines.size(), 1u);
  EXPECT_EQ(cap.lines[0], "[Orvel] value 42\n");
  std::string longText(1000, 'q');
  Trace("%s", longText.c_str());
  ASSERT_EQ(cap.lines.size(), 2u);
  EXPECT_EQ(cap.lines[1], "[Orvel] " + std::string(511, 'q') + "\n");
}

TEST(Trace, SwitchOffFormatsNothing) {
  std::vector<std::string> lines;
  SetTraceSinkFn([](const char* line, void* user) {
    static_cast<std::vector<std::string>*>(user)->emplace_back(line);
  }, &lines);
  Trace("hidden %d", 1);
  SetTraceSinkFn(nullptr, nullptr);
  EXPECT_TRUE(lines.empty());
}

TEST(CallFrame, FailureTracesExpressionAndLeavesCategoryEmpty) {
  TraceCapture cap;
  CPerformanceCenter center;
  center.Add(1, 1, "older", 1.0);
  EXPECT_EQ(runOperation(true, center, true), E_INVALIDARG);
  ASSERT_EQ(cap.lines.size(), 1u);
  EXPECT_EQ(cap.lines[0], "[Orvel] [Assert] failingTool(pBufIn) , Error! hr=80070057\n");
  int count = -1;
  center.GetCount(1, &count);
  EXPECT_EQ(count, 0);
}

TEST(CallFrame, TwoTimedCallsKeepOnlyTheLastRecord) {
  TraceCapture cap;
  CPerformanceCenter center;
  EXPECT_EQ(runOperation(true, center, false), S_OK);
  EXPECT_EQ(runOperation(true, center, false), S_OK);
  std::vector<CPerformanceCenter::Record> records;
  center.GetRecords(1, records);
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].name, "Blend");
  EXPECT_EQ(records[0].nCount, 1u);
  ASSERT_EQ(cap.lines.size(), 2u);
  EXPECT_EQ(cap.lines[1].rfind("[Orvel] Blend: ", 0), 0u);
}

TEST(CallFrame, WithoutPerformanceNothingIsRecorded) {
  CPerformanceCenter center;
  EXPECT_EQ(runOperation(false, center, false), S_OK);
  int count = -1;
  center.GetCount(1, &count);
  EXPECT_EQ(count, 0);
}

TEST(CallFrame, EntryAndEndLines) {
  TraceCapture cap;
  CPerformanceCenter center;
  {
    CallFrame frame(false, center, 17, "Bevel", "COrvel::Bevel");
    frame.Finish(S_OK);
  }
  {
    CallFrame frame(false, center, 17, "Bevel", "COrvel::Bevel");
    frame.Fail(E_FAIL, "m_BevelTool.Process()");
  }
  {
    CallFrame frame(false, center, 0, "Selection", "COrvel::Selection", true);
    frame.Refuse(E_FAIL);
  }
  std::vector<std::string> expected = {
      "[Orvel] INTERFACE: COrvel::Bevel() >>> entry\n",
      "[Orvel] INTERFACE: COrvel::Bevel() <<< end\n",
      "[Orvel] INTERFACE: COrvel::Bevel() >>> entry\n",
      "[Orvel] [Assert] m_BevelTool.Process() , Error! hr=80004005\n",
      "[Orvel] INTERFACE: COrvel::Selection() >>> entry\n",
      "[Orvel] INTERFACE: COrvel::Selection() <<< end\n",
  };
  EXPECT_EQ(cap.lines, expected);
}
