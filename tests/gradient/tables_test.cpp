// The colour tables built from stops: reference values, edge cases, and the two operations.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "engine/COrvel.h"
#include "gradient/CGradientTool.h"
#include "gradient_test_util.h"

using namespace Orvel;
using namespace Orvel::test;

namespace {

struct Entry {
  int i;
  float b, g, r, a;
};

struct TableCase {
  int number = 0;
  std::string name;
  int after = 0;  // 0: a fresh tool
  Stops stops;
  HRESULT status = 0;
  std::vector<Entry> base, ref;
};

std::vector<TableCase> readTableCases() {
  std::vector<TableCase> cases;
  std::ifstream in(std::string(ORVEL_TEST_DATA) + "/gradient_tables.txt");
  TableCase cur;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream ss(line);
    std::string word;
    ss >> word;
    int n = 0;
    if (word == "config") {
      cur = TableCase();
      std::string build;
      ss >> cur.number >> cur.name >> build;
      if (build == "after") ss >> cur.after;
    } else if (word == "colors") {
      ss >> n;
      for (int k = 0; k < n; ++k) {
        Color c;
        ss >> c.b >> c.g >> c.r;
        c.a = 255;
        cur.stops.colors.push_back(c);
      }
    } else if (word == "color_pos" || word == "opacity_pos" || word == "midpoints") {
      std::vector<float>& v = word == "color_pos"     ? cur.stops.colorPos
                              : word == "opacity_pos" ? cur.stops.opacityPos
                                                      : cur.stops.midpoints;
      ss >> n;
      for (int k = 0; k < n; ++k) {
        float f = 0;
        ss >> f;
        v.push_back(f);
      }
    } else if (word == "opacities") {
      ss >> n;
      for (int k = 0; k < n; ++k) {
        int32_t o = 0;
        ss >> o;
        cur.stops.opacities.push_back(o);
      }
    } else if (word == "reverse") {
      int r = 0;
      ss >> r;
      cur.stops.reverse = r != 0;
    } else if (word == "status") {
      ss >> cur.status;
    } else if (word == "base" || word == "ref") {
      Entry e{};
      ss >> e.i >> e.b >> e.g >> e.r >> e.a;
      (word == "base" ? cur.base : cur.ref).push_back(e);
    } else if (word == "end") {
      cases.push_back(cur);
    }
  }
  return cases;
}

void expectEntry(const ColorF& got, const Entry& want, const char* table, const std::string& name) {
  EXPECT_TRUE(got.b == want.b && got.g == want.g && got.r == want.r && got.a == want.a)
      << name << " " << table << "[" << want.i << "] = " << got.b << " " << got.g << " " << got.r
      << " " << got.a << ", want " << want.b << " " << want.g << " " << want.r << " " << want.a;
}

std::vector<ColorF> copyOf(const ColorF* p, int n) { return std::vector<ColorF>(p, p + n); }

bool sameTables(const std::vector<ColorF>& a, const std::vector<ColorF>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(ColorF)) == 0;
}

Stops twoStops(Color c0, Color c1) {
  Stops s;
  s.colors = {c0, c1};
  s.colorPos = {0.0f, 1.0f};
  s.opacities = {255, 255};
  s.opacityPos = {0.0f, 1.0f};
  return s;
}

}  // namespace

// The six builds of the reference file: one colour stop (the alpha past its opacity stop left
// at the previous build's 0), two stops with a midpoint, three stops with midpoints reversed,
// equal positions (hard steps), and two builds on one tool where the second's last opacity
// stop at 0.5 leaves base entries 512..1023 with the first build's alpha.
TEST(GradientTables, ReferenceValues) {
  const std::vector<TableCase> cases = readTableCases();
  ASSERT_EQ(cases.size(), 6u);
  std::map<int, std::unique_ptr<CGradientTool>> tools;
  for (const TableCase& c : cases) {
    std::unique_ptr<CGradientTool> tool;
    if (c.after == 0) {
      tool = std::make_unique<CGradientTool>(nullptr);
    } else {
      ASSERT_TRUE(tools.count(c.after)) << c.name;
      tool = std::move(tools[c.after]);
    }
    const ReferenceParam p = c.stops.param();
    ASSERT_EQ(tool->SetColorReferenceWithAnchor(&p), c.status) << c.name;
    ASSERT_EQ(tool->RefCount(), 3070);
    for (const Entry& e : c.base) expectEntry(tool->BaseTable()[e.i], e, "base", c.name);
    for (const Entry& e : c.ref) expectEntry(tool->RefTable()[e.i], e, "ref", c.name);
    EXPECT_GT(c.base.size() + c.ref.size(), 100u) << c.name;
    tools[c.number] = std::move(tool);
  }
}

TEST(GradientTables, MidpointPlacesTheHalfWayEntry) {
  // Stops at 0 and 1 (indices 0 and 1024): the half-way entry is the first of the second half
  // of the curve, g_Curve[511] = 8192, at trunc(1024 x midpoint).
  const struct {
    float midpoint;
    bool reverse;
    int halfWay;
  } rows[] = {
      {0.5f, false, 512},
      {0.25f, false, 256},
      {0.9f, false, 921},  // 1024 x 0.9f = 921.6
      // Reversed, the midpoint is mirrored: 1 - 0.9f = 0.100000024, 102.4 -> 102.
      {0.9f, true, 102},
  };
  for (const auto& row : rows) {
    Stops s = twoStops(Color(0, 0, 0, 255), Color(100, 200, 40, 255));
    s.midpoints = {row.midpoint};
    s.reverse = row.reverse;
    CGradientTool tool(nullptr);
    const ReferenceParam p = s.param();
    ASSERT_EQ(tool.SetColorReferenceWithAnchor(&p), S_OK);
    // Reversed, the ramp runs from (100, 200, 40) down to black.
    const ColorF& e = tool.BaseTable()[row.halfWay];
    EXPECT_EQ(e.b, 50.0f) << row.midpoint << " " << row.reverse;
    EXPECT_EQ(e.g, 100.0f) << row.midpoint << " " << row.reverse;
    EXPECT_EQ(e.r, 20.0f) << row.midpoint << " " << row.reverse;
    const ColorF& before = tool.BaseTable()[row.halfWay - 1];
    EXPECT_NE(before.g, 100.0f) << row.midpoint << " " << row.reverse;
  }
}

TEST(GradientTables, RefusedStopsLeaveTheTables) {
  Stops good;
  good.colors = {Color(1, 2, 3, 255), Color(4, 5, 6, 255), Color(7, 8, 9, 255)};
  good.colorPos = {0.0f, 0.5f, 1.0f};
  good.opacities = {10, 250};
  good.opacityPos = {0.0f, 1.0f};

  const struct {
    const char* name;
    void (*spoil)(ReferenceParam&);
    HRESULT status;
  } rows[] = {
      {"one midpoint for three stops", [](ReferenceParam& p) { p.nMidpoints = 1; }, E_INVALIDARG},
      {"three midpoints for three stops", [](ReferenceParam& p) { p.nMidpoints = 3; },
       E_INVALIDARG},
      {"no colours", [](ReferenceParam& p) { p.nColors = 0; }, E_INVALIDARG},
      {"no opacities", [](ReferenceParam& p) { p.nOpacities = 0; }, E_INVALIDARG},
      {"negative colours", [](ReferenceParam& p) { p.nColors = -2; }, E_INVALIDARG},
      {"no colour positions", [](ReferenceParam& p) { p.pColorPos = nullptr; }, E_POINTER},
      {"no colours array", [](ReferenceParam& p) { p.pColors = nullptr; }, E_POINTER},
      {"no opacity positions", [](ReferenceParam& p) { p.pOpacityPos = nullptr; }, E_POINTER},
      {"no opacities array", [](ReferenceParam& p) { p.pOpacities = nullptr; }, E_POINTER},
      {"midpoints counted, not given",
       [](ReferenceParam& p) {
         p.nMidpoints = 2;
         p.pMidpoints = nullptr;
       },
       E_POINTER},
  };
  CGradientTool tool(nullptr);
  const ReferenceParam p = good.param();
  ASSERT_EQ(tool.SetColorReferenceWithAnchor(&p), S_OK);
  const std::vector<ColorF> base = copyOf(tool.BaseTable(), 1024);
  const std::vector<ColorF> ref = copyOf(tool.RefTable(), 3070);
  for (const auto& row : rows) {
    ReferenceParam bad = good.param();
    row.spoil(bad);
    EXPECT_EQ(tool.SetColorReferenceWithAnchor(&bad), row.status) << row.name;
    EXPECT_TRUE(sameTables(copyOf(tool.BaseTable(), 1024), base)) << row.name;
    EXPECT_TRUE(sameTables(copyOf(tool.RefTable(), 3070), ref)) << row.name;
    EXPECT_EQ(tool.RefCount(), 3070) << row.name;
  }
  EXPECT_EQ(tool.SetColorReferenceWithAnchor(nullptr), E_POINTER);
}

TEST(GradientTables, FirstRefusedBuildStillMakesEmptyTables) {
  CGradientTool tool(nullptr);
  EXPECT_EQ(tool.RefCount(), 0);
  EXPECT_EQ(tool.RefTable(), nullptr);
  ReferenceParam p;  // no stops at all
  EXPECT_EQ(tool.SetColorReferenceWithAnchor(&p), E_INVALIDARG);
  EXPECT_EQ(tool.RefCount(), 3070);
  ASSERT_NE(tool.RefTable(), nullptr);
  for (int i = 0; i < 3070; ++i) {
    const ColorF& e = tool.RefTable()[i];
    ASSERT_TRUE(e.b == 0 && e.g == 0 && e.r == 0 && e.a == 0) << i;
  }
}

// ---- the two operations ----

TEST(GradientReferenceOps, ChannelArraysBuildTheSameTableAsTheRecord) {
  const float colorPos[] = {0.1f, 0.6f, 0.95f};
  const int32_t red[] = {255, 0, 30}, green[] = {10, 255, 60}, blue[] = {0, 40, 250};
  const float opacityPos[] = {0.0f, 0.4f};
  const int32_t opacities[] = {255, 128};
  COrvel a, b;
  ASSERT_EQ(a.GradientReference(3, colorPos, red, green, blue, 2, opacityPos, opacities, true),
            S_OK);
  const Color colors[] = {Color(0, 10, 255, 0), Color(40, 255, 0, 0), Color(250, 60, 30, 0)};
  ReferenceParam p;
  p.nColors = 3;
  p.pColorPos = colorPos;
  p.pColors = colors;
  p.nOpacities = 2;
  p.pOpacityPos = opacityPos;
  p.pOpacities = opacities;
  p.bReverse = true;
  ASSERT_EQ(b.GradientReference2(&p), S_OK);
  EXPECT_TRUE(sameTables(copyOf(a.m_GradientTool.RefTable(), 3070),
                         copyOf(b.m_GradientTool.RefTable(), 3070)));
}

TEST(GradientReferenceOps, NullPointersAnswerEPointer) {
  const float pos[] = {0.0f};
  const int32_t v[] = {1};
  COrvel e;
  const float* f = pos;
  const int32_t* i = v;
  EXPECT_EQ(e.GradientReference(1, nullptr, i, i, i, 1, f, i, false), E_POINTER);
  EXPECT_EQ(e.GradientReference(1, f, nullptr, i, i, 1, f, i, false), E_POINTER);
  EXPECT_EQ(e.GradientReference(1, f, i, nullptr, i, 1, f, i, false), E_POINTER);
  EXPECT_EQ(e.GradientReference(1, f, i, i, nullptr, 1, f, i, false), E_POINTER);
  EXPECT_EQ(e.GradientReference(1, f, i, i, i, 1, nullptr, i, false), E_POINTER);
  EXPECT_EQ(e.GradientReference(1, f, i, i, i, 1, f, nullptr, false), E_POINTER);
  EXPECT_EQ(e.GradientReference2(nullptr), E_POINTER);
  EXPECT_EQ(e.m_GradientTool.RefTable(), nullptr);  // nothing was built
}

TEST(GradientReferenceOps, FailuresAreTracedAndLeaveNoTimingRecord) {
  const float pos[] = {0.0f, 1.0f};
  const int32_t v[] = {1, 2};
  COrvel e;
  e.SetPerformanceMode(true);
  TraceCapture trace;
  EXPECT_EQ(e.GradientReference(0, pos, v, v, v, 2, pos, v, false), E_INVALIDARG);
  EXPECT_TRUE(
      trace.has("[Assert] m_GradientTool.SetColorReferenceWithAnchor(&referenceParam) , "
                "Error! hr=80070057"));
  ReferenceParam p;
  EXPECT_EQ(e.GradientReference2(&p), E_INVALIDARG);
  EXPECT_TRUE(trace.has(
      "[Assert] m_GradientTool.SetColorReferenceWithAnchor(pParam) , Error! hr=80070057"));
  int32_t count = -1;
  ASSERT_EQ(e.FillPerformanceData(PERF_GRADIENT_REFERENCE, &count, nullptr), S_OK);
  EXPECT_EQ(count, 0);

  ASSERT_EQ(e.GradientReference(2, pos, v, v, v, 2, pos, v, false), S_OK);
  ASSERT_EQ(e.FillPerformanceData(PERF_GRADIENT_REFERENCE, &count, nullptr), S_OK);
  ASSERT_EQ(count, 1);
  PerformanceRecord rec{};
  ASSERT_EQ(e.FillPerformanceData(PERF_GRADIENT_REFERENCE, &count, &rec), S_OK);
  EXPECT_STREQ(rec.szName, "GradientReference");
}
