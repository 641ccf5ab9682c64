#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "engine/performance.h"

using namespace Orvel;

TEST(PerformanceCenter, ClearDoesNotCreateAndAddAppends) {
  CPerformanceCenter center;
  int count = -1;
  center.Clear(7);
  ASSERT_EQ(center.GetCount(7, &count), S_OK);
  EXPECT_EQ(count, 0);
  center.Add(7, 1, "a", 0.5);
  center.Add(7, 1, "b", 0.25);
  center.GetCount(7, &count);
  EXPECT_EQ(count, 2);
  std::vector<CPerformanceCenter::Record> records;
  center.GetRecords(7, records);
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[1].name, "b");
  center.Clear(7);
  center.GetCount(7, &count);
  EXPECT_EQ(count, 0);
}

TEST(PerformanceCenter, FillCountsThenCopies) {
  CPerformanceCenter center;
  int count = -1;
  ASSERT_EQ(center.FillPerformanceData(3, &count, nullptr), S_OK);
  EXPECT_EQ(count, 0);

  center.Add(3, 1, "Fill", 1.5);
  center.Add(3, 1, std::string(255, 'x'), 2.5);
  center.Add(3, 1, std::string(257, 'y'), 3.5);
  ASSERT_EQ(center.FillPerformanceData(3, &count, nullptr), S_OK);
  ASSERT_EQ(count, 3);

  PerformanceRecord out[3];
  std::memset(out, 0, sizeof(out));
  int untouched = 99;
  ASSERT_EQ(center.FillPerformanceData(3, &untouched, out), S_OK);
  EXPECT_EQ(untouched, 99);  // the count is not written in the second form
  EXPECT_STREQ(out[0].szName, "Fill");
  EXPECT_EQ(out[0].dSeconds, 1.5);
  EXPECT_EQ(out[0].nCount, 1u);
  EXPECT_EQ(std::string(out[1].szName), std::string(255, 'x'));
  EXPECT_STREQ(out[2].szName, "Unknown - Too Long");
  EXPECT_EQ(out[2].dSeconds, 3.5);
}

TEST(PerformanceCenter, NameOf256CharactersFailsAfterEarlierRecords) {
  CPerformanceCenter center;
  center.Add(4, 1, "first", 1.0);
  center.Add(4, 1, std::string(256, 'z'), 2.0);
  center.Add(4, 1, "third", 3.0);
  PerformanceRecord out[3];
  std::memset(out, 0, sizeof(out));
  int count = 0;
  EXPECT_EQ(center.FillPerformanceData(4, &count, out), E_FAIL);
  EXPECT_STREQ(out[0].szName, "first");  // copied before the failure stays
  EXPECT_EQ(out[2].dSeconds, 0.0);       // the loop stopped
}

TEST(PerformanceCenter, TimerMeasuresForward) {
  TimerPerformanceCounter timer;
  EXPECT_GT(timer.nFrequency, 0);
  timer.Start();
  timer.Stop();
  EXPECT_GE(timer.Seconds(), 0.0);
}
