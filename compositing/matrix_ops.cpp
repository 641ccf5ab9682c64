#include "compositing/matrix_ops.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

namespace Orvel {
namespace MatrixOps {

namespace {

void identity(float m[16]) {
  std::memset(m, 0, 16 * sizeof(float));
  m[0] = m[5] = m[10] = m[15] = 1.0f;
}

void applyOnRight(TransformMatrix& m, const float step[16]) {
  float out[16];
  Product(m.m, step, out);
  std::memcpy(m.m, out, sizeof(out));
}

void translateStep(TransformMatrix& m, float dx, float dy) {
  float t[16];
  identity(t);
  t[12] = dx;
  t[13] = dy;
  applyOnRight(m, t);
}

// Rounds half away from zero; held to the 32-bit range, and a value that is not a number
// counts as 0.
int32_t roundToInt(double v) {
  if (v != v) return 0;
  if (v >= 2147483647.0) return INT32_MAX;
  if (v <= -2147483648.0) return INT32_MIN;
  const double r = v < 0.0 ? v - 0.5 : v + 0.5;
  if (r >= 2147483647.0) return INT32_MAX;
  if (r <= -2147483648.0) return INT32_MIN;
  return static_cast<int32_t>(r);
}

// ---- the 8 x 8 system of MatrixPerspective, solved exactly ----
//
// The points are floats, so the system's solution is a rational number; it is formed exactly
// with integers and narrowed to float once, so that the matrix does not depend on the rounding
// of an elimination. Points that are integers after a common power-of-two scale (and not too
// large) take this road; any others are solved by elimination in 64-bit floats.

// Signed integer of fixed capacity, magnitude in 32-bit limbs, least significant first.
struct BigInt {
  static constexpr int kLimbs = 48;
  uint32_t mag[kLimbs] = {};
  int used = 0;  // limbs in use; 0 for zero
  bool neg = false;

  static BigInt from(int64_t v) {
    BigInt b;
    b.neg = v < 0;
    uint64_t u = b.neg ? uint64_t(0) - uint64_t(v) : uint64_t(v);
    while (u) {
      b.mag[b.used++] = uint32_t(u);
      u >>= 32;
    }
    return b;
  }
  bool zero() const { return used == 0; }
  void trim() {
    while (used > 0 && mag[used - 1] == 0) --used;
    if (used == 0) neg = false;
  }
  int bits() const {
    if (used == 0) return 0;
    int b = 32 * (used - 1);
    for (uint32_t top = mag[used - 1]; top; top >>= 1) ++b;
    return b;
  }
};

// Compares magnitudes.
int compareMag(const BigInt& a, const BigInt& b) {
  if (a.used != b.used) return a.used < b.used ? -1 : 1;
  for (int i = a.used - 1; i >= 0; --i)
    if (a.mag[i] != b.mag[i]) return a.mag[i] < b.mag[i] ? -1 : 1;
  return 0;
}

// |a| + |b| or |a| - |b| (|a| >= |b|) into out's magnitude.
void addMag(const BigInt& a, const BigInt& b, BigInt& out, bool& ok) {
  const int n = a.used > b.used ? a.used : b.used;
  uint64_t carry = 0;
  BigInt r;
  for (int i = 0; i < n; ++i) {
    const uint64_t s = uint64_t(i < a.used ? a.mag[i] : 0) + (i < b.used ? b.mag[i] : 0) + carry;
    r.mag[i] = uint32_t(s);
    carry = s >> 32;
  }
  r.used = n;
  if (carry) {
    if (n >= BigInt::kLimbs) {
      ok = false;
      return;
    }
    r.mag[r.used++] = uint32_t(carry);
  }
  r.neg = out.neg;
  out = r;
}

void subMag(const BigInt& a, const BigInt& b, BigInt& out) {
  int64_t borrow = 0;
  BigInt r;
  for (int i = 0; i < a.used; ++i) {
    int64_t d = int64_t(a.mag[i]) - (i < b.used ? b.mag[i] : 0) - borrow;
    borrow = d < 0 ? 1 : 0;
    if (d < 0) d += int64_t(1) << 32;
    r.mag[i] = uint32_t(d);
  }
  r.used = a.used;
  r.neg = out.neg;
  out = r;
}

// a - b.
BigInt subtract(const BigInt& a, const BigInt& b, bool& ok) {
  BigInt out;
  if (a.neg != b.neg) {
    out.neg = a.neg;  // a - (-|b|) or -|a| - |b|
    addMag(a, b, out, ok);
  } else if (compareMag(a, b) >= 0) {
    out.neg = a.neg;
    subMag(a, b, out);
  } else {
    out.neg = !a.neg;
    subMag(b, a, out);
  }
  out.trim();
  return out;
}

BigInt multiply(const BigInt& a, const BigInt& b, bool& ok) {
  BigInt out;
  if (a.zero() || b.zero()) return out;
  if (a.used + b.used > BigInt::kLimbs) {
    ok = false;
    return out;
  }
  for (int i = 0; i < a.used; ++i) {
    uint64_t carry = 0;
    for (int j = 0; j < b.used; ++j) {
      const uint64_t t = uint64_t(a.mag[i]) * b.mag[j] + out.mag[i + j] + carry;
      out.mag[i + j] = uint32_t(t);
      carry = t >> 32;
    }
    out.mag[i + b.used] = uint32_t(carry);
  }
  out.used = a.used + b.used;
  out.neg = a.neg != b.neg;
  out.trim();
  return out;
}

// Shifts the magnitude right by s bits (s < 32 x kLimbs).
void shiftRight(BigInt& a, int s) {
  const int limbs = s / 32, bits = s % 32;
  for (int i = 0; i < a.used; ++i) {
    const int src = i + limbs;
    uint64_t v = src < a.used ? a.mag[src] : 0;
    if (bits && src + 1 < a.used) v |= uint64_t(a.mag[src + 1]) << 32;
    a.mag[i] = uint32_t(v >> bits);
  }
  a.trim();
}

bool shiftLeft(BigInt& a, int s) {
  if (a.zero() || s == 0) return true;
  const int limbs = s / 32, bits = s % 32;
  const int n = a.used + limbs + 1;
  if (n > BigInt::kLimbs) return false;
  BigInt r;
  for (int i = a.used - 1; i >= 0; --i) {
    const uint64_t v = uint64_t(a.mag[i]) << bits;
    r.mag[i + limbs] |= uint32_t(v);
    r.mag[i + limbs + 1] |= uint32_t(v >> 32);
  }
  r.used = n;
  r.neg = a.neg;
  r.trim();
  a = r;
  return true;
}

int trailingZeroBits(const BigInt& a) {
  int n = 0;
  for (int i = 0; i < a.used; ++i) {
    if (a.mag[i] == 0) {
      n += 32;
      continue;
    }
    uint32_t v = a.mag[i];
    while (!(v & 1u)) {
      v >>= 1;
      ++n;
    }
    break;
  }
  return n;
}

// a / b for a b that divides a: the quotient is found limb by limb from the inverse of b's
// lowest limb modulo 2^32, with no trial division. ok turns false if b does not divide a.
BigInt exactDivide(BigInt a, BigInt b, bool& ok) {
  BigInt q;
  if (b.zero()) {
    ok = false;
    return q;
  }
  if (a.zero()) return q;
  const bool neg = a.neg != b.neg;
  const int tz = trailingZeroBits(b);
  if (trailingZeroBits(a) < tz) {
    ok = false;
    return q;
  }
  shiftRight(a, tz);
  shiftRight(b, tz);
  uint32_t inv = b.mag[0];  // Newton's iteration: each step doubles the correct low bits
  for (int i = 0; i < 5; ++i) inv *= 2u - b.mag[0] * inv;
  const int n = a.used;
  for (int i = 0; i < n; ++i) {
    const uint32_t qi = a.mag[i] * inv;
    q.mag[i] = qi;
    if (!qi) continue;
    uint64_t carry = 0, borrow = 0;
    for (int j = 0; i + j < n; ++j) {
      const uint64_t prod = (j < b.used ? uint64_t(qi) * b.mag[j] : 0) + carry;
      carry = prod >> 32;
      const uint64_t diff = uint64_t(a.mag[i + j]) - uint32_t(prod) - borrow;
      a.mag[i + j] = uint32_t(diff);
      borrow = (diff >> 32) ? 1 : 0;
      if (j >= b.used && carry == 0 && borrow == 0) break;
    }
  }
  q.used = n;
  q.neg = neg;
  q.trim();
  // The check of the remainder: a multiple of b leaves nothing behind.
  for (int i = 0; i < n; ++i)
    if (a.mag[i] != 0) ok = false;
  return q;
}

// num / den x 2^e, correctly rounded to float: a quotient of 41 to 43 bits with a sticky bit
// for the rest rounds to float exactly as the rational would.
float rationalToFloat(const BigInt& num, const BigInt& den, int e, bool& ok) {
  if (num.zero()) return 0.0f;
  BigInt n = num, d = den;
  n.neg = d.neg = false;
  const int s = 41 - (n.bits() - d.bits());
  if (s >= 0 ? !shiftLeft(n, s) : !shiftLeft(d, -s)) {
    ok = false;
    return 0.0f;
  }
  uint64_t q = 0;
  for (int bit = 43; bit >= 0; --bit) {
    BigInt shifted = d;
    if (!shiftLeft(shifted, bit)) {
      ok = false;
      return 0.0f;
    }
    if (compareMag(n, shifted) >= 0) {
      subMag(n, shifted, n);
      n.trim();
      q |= uint64_t(1) << bit;
    }
  }
  if (!n.zero()) q |= 1;  // round to odd: the final rounding to float is then exact
  const double v = std::ldexp(static_cast<double>(q), e - s);
  const float f = static_cast<float>(v);
  return (num.neg != den.neg) ? -f : f;
}

// The power of two k (0..24) that makes every value an integer of at most 2^20, or -1.
int integerScale(const float* v, int n) {
  for (int k = 0; k <= 24; ++k) {
    bool fits = true;
    for (int i = 0; i < n && fits; ++i) {
      const double s = std::ldexp(static_cast<double>(v[i]), k);
      fits = std::isfinite(s) && s == std::floor(s) && std::fabs(s) <= 1048576.0;
    }
    if (fits) return k;
  }
  return -1;
}

enum class Solve { kSolved, kSingular, kNotExact };

// Fraction-free Gauss-Jordan elimination on the integer system: every division is exact,
// every entry stays an integer, and at the end row i reads det x h_i = numerator_i.
Solve solveExact(const int64_t A[8][9], int scale, float h[8]) {
  BigInt a[8][9];
  for (int i = 0; i < 8; ++i)
    for (int j = 0; j < 9; ++j) a[i][j] = BigInt::from(A[i][j]);
  bool ok = true;
  BigInt prev = BigInt::from(1);
  for (int k = 0; k < 8; ++k) {
    if (a[k][k].zero()) {
      int p = k + 1;
      while (p < 8 && a[p][k].zero()) ++p;
      if (p == 8) return Solve::kSingular;  // the determinant is exactly zero
      for (int j = 0; j < 9; ++j) std::swap(a[k][j], a[p][j]);
    }
    for (int i = 0; i < 8; ++i) {
      if (i == k) continue;
      for (int j = 0; j < 9; ++j) {
        if (j == k) continue;
        const BigInt t =
            subtract(multiply(a[k][k], a[i][j], ok), multiply(a[i][k], a[k][j], ok), ok);
        a[i][j] = exactDivide(t, prev, ok);
      }
    }
    for (int i = 0; i < 8; ++i)
      if (i != k) a[i][k] = BigInt();
    prev = a[k][k];
    if (!ok) return Solve::kNotExact;
  }
  // The scale of the points moves the translation (h2, h5) and the divisor terms (h6, h7).
  static const int kExponent[8] = {0, 0, -1, 0, 0, -1, 1, 1};
  for (int i = 0; i < 8; ++i) h[i] = rationalToFloat(a[i][8], a[i][i], kExponent[i] * scale, ok);
  return ok ? Solve::kSolved : Solve::kNotExact;
}

// The same system by elimination with partial pivoting in 64-bit floats.
Solve solveDouble(double A[8][9], float h[8]) {
  double det = 1.0;
  for (int k = 0; k < 8; ++k) {
    int p = k;
    for (int i = k + 1; i < 8; ++i)
      if (std::fabs(A[i][k]) > std::fabs(A[p][k])) p = i;
    if (p != k) {
      for (int j = 0; j < 9; ++j) std::swap(A[k][j], A[p][j]);
      det = -det;
    }
    det *= A[k][k];
    if (A[k][k] == 0.0) break;
    for (int i = k + 1; i < 8; ++i) {
      const double f = A[i][k] / A[k][k];
      for (int j = k; j < 9; ++j) A[i][j] -= f * A[k][j];
    }
  }
  if (det == 0.0 || !std::isfinite(det)) return Solve::kSingular;
  double x[8];
  for (int i = 7; i >= 0; --i) {
    double s = A[i][8];
    for (int j = i + 1; j < 8; ++j) s -= A[i][j] * x[j];
    x[i] = s / A[i][i];
  }
  for (int i = 0; i < 8; ++i) h[i] = static_cast<float>(x[i]);
  return Solve::kSolved;
}

double det3(double a, double b, double c, double d, double e, double f, double g, double h,
            double i) {
  return a * (e * i - f * h) - b * (d * i - f * g) + c * (d * h - e * g);
}

}  // namespace

void Product(const float a[16], const float b[16], float out[16]) {
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) {
      float s = 0.0f;
      for (int k = 0; k < 4; ++k) s += a[4 * i + k] * b[4 * k + j];
      out[4 * i + j] = s;
    }
}

void Translate(TransformMatrix& m, float dx, float dy) { translateStep(m, dx, dy); }

void Rotate(TransformMatrix& m, float angle, float cx, float cy) {
  translateStep(m, -cx, -cy);
  float r[16];
  identity(r);
  const float c = std::cos(angle), s = std::sin(angle);
  r[0] = c;
  r[1] = s;
  r[4] = -s;
  r[5] = c;
  applyOnRight(m, r);
  translateStep(m, cx, cy);
}

void Scale(TransformMatrix& m, float sx, float sy, float cx, float cy) {
  translateStep(m, -cx, -cy);
  float s[16];
  identity(s);
  s[0] = sx;
  s[5] = sy;
  applyOnRight(m, s);
  translateStep(m, cx, cy);
}

HRESULT Perspective(TransformMatrix& m, const float* pSource, const float* pTarget, int count) {
  if (!pSource || !pTarget || count != 4) return E_INVALIDARG;
  float h[8];
  Solve result = Solve::kNotExact;

  float all[16];
  std::memcpy(all, pSource, 8 * sizeof(float));
  std::memcpy(all + 8, pTarget, 8 * sizeof(float));
  const int k = integerScale(all, 16);
  if (k >= 0) {
    int64_t A[8][9];
    for (int i = 0; i < 4; ++i) {
      const int64_t x = static_cast<int64_t>(std::ldexp(double(pSource[2 * i]), k));
      const int64_t y = static_cast<int64_t>(std::ldexp(double(pSource[2 * i + 1]), k));
      const int64_t X = static_cast<int64_t>(std::ldexp(double(pTarget[2 * i]), k));
      const int64_t Y = static_cast<int64_t>(std::ldexp(double(pTarget[2 * i + 1]), k));
      const int64_t rowX[9] = {x, y, 1, 0, 0, 0, -x * X, -y * X, X};
      const int64_t rowY[9] = {0, 0, 0, x, y, 1, -x * Y, -y * Y, Y};
      std::memcpy(A[2 * i], rowX, sizeof(rowX));
      std::memcpy(A[2 * i + 1], rowY, sizeof(rowY));
    }
    result = solveExact(A, k, h);
  }
  if (result == Solve::kNotExact) {
    double A[8][9];
    for (int i = 0; i < 4; ++i) {
      const double x = pSource[2 * i], y = pSource[2 * i + 1];
      const double X = pTarget[2 * i], Y = pTarget[2 * i + 1];
      const double rowX[9] = {x, y, 1, 0, 0, 0, -x * X, -y * X, X};
      const double rowY[9] = {0, 0, 0, x, y, 1, -x * Y, -y * Y, Y};
      std::memcpy(A[2 * i], rowX, sizeof(rowX));
      std::memcpy(A[2 * i + 1], rowY, sizeof(rowY));
    }
    result = solveDouble(A, h);
  }
  if (result != Solve::kSolved) return E_FAIL;  // the matrix stays as it was

  float p[16];
  identity(p);
  p[0] = h[0];
  p[1] = h[3];
  p[3] = h[6];
  p[4] = h[1];
  p[5] = h[4];
  p[7] = h[7];
  p[12] = h[2];
  p[13] = h[5];
  applyOnRight(m, p);
  return S_OK;
}

void MapPoint(const TransformMatrix& m, float& x, float& y) {
  const float w = m[3] * x + m[15] + m[7] * y;
  const float nx = (m[0] * x + m[12] + m[4] * y) / w;
  const float ny = (m[1] * x + m[13] + m[5] * y) / w;
  x = nx;
  y = ny;
}

HRESULT MapRect(const TransformMatrix& m, IntRect& rc) {
  if (rc.l == rc.r || rc.t == rc.b) return S_FALSE;
  const float xs[4] = {float(rc.l), float(rc.r - 1), float(rc.l), float(rc.r - 1)};
  const float ys[4] = {float(rc.t), float(rc.t), float(rc.b - 1), float(rc.b - 1)};
  float minX = 0, minY = 0, maxX = 0, maxY = 0;
  for (int i = 0; i < 4; ++i) {
    float x = xs[i], y = ys[i];
    MapPoint(m, x, y);
    if (i == 0 || x < minX) minX = x;
    if (i == 0 || y < minY) minY = y;
    if (i == 0 || x > maxX) maxX = x;
    if (i == 0 || y > maxY) maxY = y;
  }
  const int32_t r = roundToInt(double(maxX)), b = roundToInt(double(maxY));
  rc.l = roundToInt(double(minX));
  rc.t = roundToInt(double(minY));
  rc.r = r < INT32_MAX ? r + 1 : r;
  rc.b = b < INT32_MAX ? b + 1 : b;
  return S_OK;
}

double InvertByCofactors(const double m[16], double inv[16]) {
  // cof[i][j] = (-1)^(i+j) times the minor without row i and column j.
  double cof[16];
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) {
      double e[9];
      int n = 0;
      for (int r = 0; r < 4; ++r) {
        if (r == i) continue;
        for (int c = 0; c < 4; ++c)
          if (c != j) e[n++] = m[4 * r + c];
      }
      const double minor = det3(e[0], e[1], e[2], e[3], e[4], e[5], e[6], e[7], e[8]);
      cof[4 * i + j] = ((i + j) & 1) ? -minor : minor;
    }
  const double det = m[0] * cof[0] + m[1] * cof[1] + m[2] * cof[2] + m[3] * cof[3];
  if (det == 0.0 || !std::isfinite(det)) return det;
  // The inverse is the transposed matrix of cofactors over the determinant.
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) inv[4 * j + i] = cof[4 * i + j] / det;
  return det;
}

}  // namespace MatrixOps
}  // namespace Orvel
