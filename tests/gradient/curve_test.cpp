// The interpolation curve: the pinned rows, its shape, and the reference values.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

#include "gradient/GradientCurve.h"

using namespace Orvel;

namespace {

double halfSmoothstep(int i) {
  const double t = i / 1023.0;
  return 16384.0 * (0.5 * t + 0.5 * (3.0 * t * t - 2.0 * t * t * t));
}

}  // namespace

TEST(GradientCurve, PinnedRowsComeOutExactly) {
  const struct {
    int i;
    int32_t value;
  } rows[] = {{0, 0},      {1, 8},       {2, 16},      {3, 24},      {4, 32},       {5, 40},
              {6, 49},     {64, 606},    {128, 1379},  {256, 3336},  {384, 5678},   {511, 8192},
              {512, 8211}, {640, 10743}, {768, 13080}, {896, 15030}, {1022, 16383}, {1023, 16384}};
  for (const auto& row : rows) EXPECT_EQ(g_Curve[row.i], row.value) << "i=" << row.i;
}

TEST(GradientCurve, RisesStrictlyAndStaysNearTheShape) {
  for (int i = 1; i < kCurveSize; ++i) EXPECT_GT(g_Curve[i], g_Curve[i - 1]) << "i=" << i;
  for (int i = 0; i < kCurveSize; ++i)
    EXPECT_LE(std::fabs(g_Curve[i] - halfSmoothstep(i)), 14.0) << "i=" << i;
}

TEST(GradientCurve, MatchesReferenceValues) {
  std::ifstream in(std::string(ORVEL_TEST_DATA) + "/g_curve.txt");
  ASSERT_TRUE(in.good());
  int count = 0;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream ss(line);
    int i = -1;
    int32_t value = 0;
    ss >> i >> value;
    ASSERT_TRUE(i >= 0 && i < kCurveSize) << line;
    EXPECT_EQ(g_Curve[i], value) << "i=" << i;
    ++count;
  }
  EXPECT_EQ(count, kCurveSize);
}
