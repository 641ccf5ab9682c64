// Matrix operations on the 4 x 4 float matrices of the engine: stored row after row, acting on
// the row vector (x, y, z, 1), translation in elements 12 and 13, the divisor from elements 3,
// 7 and 15. Every step is applied on the right of what the matrix already does, so steps
// happen in the order of the calls.
#pragma once

#include "orvel/types.h"

namespace Orvel {
namespace MatrixOps {

// out = a x b in 32-bit floats, each element summed in order of k.
void Product(const float a[16], const float b[16], float out[16]);

void Translate(TransformMatrix& m, float dx, float dy);
// Rotation by angle radians about (cx, cy).
void Rotate(TransformMatrix& m, float angle, float cx, float cy);
// Scaling by (sx, sy) about (cx, cy).
void Scale(TransformMatrix& m, float sx, float sy, float cx, float cy);
// Appends the projective map that takes the four source points onto the four target points
// (x, y pairs). E_INVALIDARG for a missing array or a count other than 4; E_FAIL when the
// points admit no such map (three of them on a line), and then m stays as it was.
HRESULT Perspective(TransformMatrix& m, const float* pSource, const float* pTarget, int count);

// (x, y) through m in 32-bit floats; a divisor of 0 gives the floating-point result.
void MapPoint(const TransformMatrix& m, float& x, float& y);
// The bounds of the mapped rectangle, r and b exclusive. Returns 1 for an empty rectangle,
// which stays as it was.
HRESULT MapRect(const TransformMatrix& m, IntRect& rc);

// Inverse of a 4 x 4 matrix by cofactors in 64-bit floats: the 3 x 3 minors, the determinant
// by expansion along the first row, each cofactor divided by it. Returns the determinant; inv
// is written only when it is a finite number other than zero.
double InvertByCofactors(const double m[16], double inv[16]);

}  // namespace MatrixOps
}  // namespace Orvel
