// Matrix operations 21 to 27 through the engine, against the reference file and hand cases.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "compositing/matrix_ops.h"
#include "engine/COrvel.h"
#include "transform_model.h"

using namespace Orvel;

namespace {

TransformMatrix readMatrix(std::istringstream& ss) {
  TransformMatrix m;
  for (float& v : m.m) ss >> v;
  return m;
}

void expectMatrix(const TransformMatrix& got, const TransformMatrix& want,
                  const std::string& where) {
  for (int i = 0; i < 16; ++i) EXPECT_EQ(got.m[i], want.m[i]) << where << " element " << i;
}

}  // namespace

TEST(Matrices, ReferenceFile) {
  COrvel engine;
  IOrvel* api = &engine;
  std::ifstream in(model::dataPath("matrices.txt"));
  ASSERT_TRUE(in.good());
  int counts[6] = {};
  int lineNo = 0;
  for (std::string line; std::getline(in, line);) {
    ++lineNo;
    if (line.empty() || line[0] == '#') continue;
    std::istringstream ss(line);
    std::string kind;
    ss >> kind;
    const std::string where = "line " + std::to_string(lineNo) + " " + kind;
    TransformMatrix m = readMatrix(ss);
    if (kind == "translate") {
      float dx, dy;
      ss >> dx >> dy;
      EXPECT_EQ(api->MatrixTranslate(&m, dx, dy), S_OK);
      expectMatrix(m, readMatrix(ss), where);
      ++counts[0];
    } else if (kind == "rotate") {
      float a, cx, cy;
      ss >> a >> cx >> cy;
      EXPECT_EQ(api->MatrixRotate(&m, a, cx, cy), S_OK);
      expectMatrix(m, readMatrix(ss), where);
      ++counts[1];
    } else if (kind == "scale") {
      float sx, sy, cx, cy;
      ss >> sx >> sy >> cx >> cy;
      EXPECT_EQ(api->MatrixScale(&m, sx, sy, cx, cy), S_OK);
      expectMatrix(m, readMatrix(ss), where);
      ++counts[2];
    } else if (kind == "perspective") {
      int count, status;
      float src[8], dst[8];
      ss >> count;
      for (float& v : src) ss >> v;
      for (float& v : dst) ss >> v;
      ss >> status;
      EXPECT_EQ(api->MatrixPerspective(&m, src, dst, count), status) << where;
      expectMatrix(m, readMatrix(ss), where);
      ++counts[3];
    } else if (kind == "point") {
      Point p;
      float ex, ey;
      ss >> p.x >> p.y >> ex >> ey;
      EXPECT_EQ(api->TransformPoint(&p, &m), S_OK);
      EXPECT_EQ(p.x, ex) << where;
      EXPECT_EQ(p.y, ey) << where;
      ++counts[4];
    } else if (kind == "rect") {
      IntRect rc;
      int status;
      IntRect want;
      ss >> rc.l >> rc.t >> rc.r >> rc.b >> status >> want.l >> want.t >> want.r >> want.b;
      EXPECT_EQ(api->TransformRect(&rc, &m), status) << where;
      EXPECT_EQ(rc.l, want.l) << where;
      EXPECT_EQ(rc.t, want.t) << where;
      EXPECT_EQ(rc.r, want.r) << where;
      EXPECT_EQ(rc.b, want.b) << where;
      ++counts[5];
    } else {
      ADD_FAILURE() << "unknown line kind " << where;
    }
  }
  const int expected[6] = {10, 12, 10, 9, 48, 42};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(counts[i], expected[i]) << "kind " << i;
}

TEST(Matrices, ScaleAndRotateAboutAPoint) {
  COrvel engine;
  IOrvel* api = &engine;
  TransformMatrix m;
  ASSERT_EQ(api->MatrixScale(&m, 2.0f, 3.0f, 10.0f, 10.0f), S_OK);
  Point p{11.0f, 11.0f};
  api->TransformPoint(&p, &m);
  EXPECT_EQ(p.x, 12.0f);
  EXPECT_EQ(p.y, 13.0f);

  // A quarter turn about (cx, cy) leaves the centre in place and turns (cx + 5, cy) onto
  // (cx, cy + 5): the angle is in radians, positive from x toward y.
  TransformMatrix r;
  ASSERT_EQ(api->MatrixRotate(&r, 1.5707963f, 40.0f, -7.0f), S_OK);
  Point c{40.0f, -7.0f};
  api->TransformPoint(&c, &r);
  EXPECT_NEAR(c.x, 40.0f, 1e-4);
  EXPECT_NEAR(c.y, -7.0f, 1e-4);
  Point q{45.0f, -7.0f};
  api->TransformPoint(&q, &r);
  EXPECT_NEAR(q.x, 40.0f, 1e-4);
  EXPECT_NEAR(q.y, -2.0f, 1e-4);
}

TEST(Matrices, PerspectiveCases) {
  COrvel engine;
  IOrvel* api = &engine;
  TransformMatrix start;
  start.m[0] = 0.5f, start.m[5] = 2.0f, start.m[12] = 3.0f;
  const float square[8] = {0, 0, 1, 0, 1, 1, 0, 1};
  const float collinear[8] = {0, 0, 1, 1, 2, 2, 0, 5};
  const float kite[8] = {0, 0, 8, 0, 6, 5, 1, 4};
  struct Case {
    const char* name;
    const float* src;
    const float* dst;
    int count;
    HRESULT status;
  } cases[] = {
      {"square onto itself", square, square, 4, S_OK},
      {"three collinear sources", collinear, square, 4, E_FAIL},
      {"count 3", square, kite, 3, E_INVALIDARG},
      {"no source", nullptr, kite, 4, E_INVALIDARG},
  };
  for (const Case& c : cases) {
    TransformMatrix m = start;
    EXPECT_EQ(api->MatrixPerspective(&m, c.src, c.dst, c.count), c.status) << c.name;
    expectMatrix(m, start, c.name);  // unchanged: by identity, or by the failure
  }
  EXPECT_EQ(api->MatrixPerspective(nullptr, square, square, 4), E_POINTER);

  // The map takes each source point onto its target.
  TransformMatrix m;
  ASSERT_EQ(api->MatrixPerspective(&m, square, kite, 4), S_OK);
  for (int i = 0; i < 4; ++i) {
    Point p{square[2 * i], square[2 * i + 1]};
    api->TransformPoint(&p, &m);
    EXPECT_NEAR(p.x, kite[2 * i], 1e-4) << i;
    EXPECT_NEAR(p.y, kite[2 * i + 1], 1e-4) << i;
  }
  // Fractional points with a common power-of-two scale give the exact affine map.
  const float src[8] = {0.5f, 0.5f, 2.5f, 0.5f, 2.5f, 2.5f, 0.5f, 2.5f};
  const float dst[8] = {1.25f, 0.5f, 5.25f, 0.5f, 5.25f, 1.5f, 1.25f, 1.5f};
  TransformMatrix a;
  ASSERT_EQ(api->MatrixPerspective(&a, src, dst, 4), S_OK);
  const float want[16] = {2, 0, 0, 0, 0, 0.5f, 0, 0, 0, 0, 1, 0, 0.25f, 0.25f, 0, 1};
  for (int i = 0; i < 16; ++i) EXPECT_EQ(a.m[i], want[i]) << i;
}

TEST(Matrices, RectAndPointEdges) {
  COrvel engine;
  IOrvel* api = &engine;
  TransformMatrix h;
  api->MatrixTranslate(&h, -2.5f, 2.5f);
  struct {
    IntRect in;
    HRESULT status;
    IntRect out;
  } rects[] = {
      {{0, 0, 10, 10}, S_OK, {-3, 3, 8, 13}},  // halves round away from zero on both sides
      {{3, 4, 3, 9}, S_FALSE, {3, 4, 3, 9}},   // empty: stays
  };
  for (const auto& c : rects) {
    IntRect rc = c.in;
    EXPECT_EQ(api->TransformRect(&rc, &h), c.status);
    EXPECT_EQ((std::vector<int>{rc.l, rc.t, rc.r, rc.b}),
              (std::vector<int>{c.out.l, c.out.t, c.out.r, c.out.b}));
  }
  // A divisor of zero is not tested: the point becomes no number, the rectangle does not crash.
  TransformMatrix p;
  p.m[3] = 1.0f, p.m[15] = 0.0f;
  Point origin{0.0f, 0.0f};
  api->TransformPoint(&origin, &p);
  EXPECT_TRUE(std::isnan(origin.x));
  IntRect r0{0, 0, 4, 4};
  EXPECT_EQ(api->TransformRect(&r0, &p), S_OK);
  EXPECT_EQ(api->TransformPoint(nullptr, &p), E_POINTER);
  EXPECT_EQ(api->TransformRect(&r0, nullptr), E_POINTER);
}

TEST(Matrices, InverseByCofactors) {
  struct Case {
    double m[16];
    double det;
    double inv[16];
  } cases[] = {
      {{2, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1, 0, 6, -8, 0, 1},
       8,
       {0.5, 0, 0, 0, 0, 0.25, 0, 0, 0, 0, 1, 0, -3, 2, 0, 1}},
      {{0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1},
       1,
       {0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}},
      {{1, 2, 0, 0, 2, 4, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, 0, {}},
  };
  for (const Case& c : cases) {
    double inv[16] = {};
    EXPECT_EQ(MatrixOps::InvertByCofactors(c.m, inv), c.det);
    if (c.det == 0) continue;
    for (int i = 0; i < 16; ++i) EXPECT_EQ(inv[i], c.inv[i]) << i;
  }
}
