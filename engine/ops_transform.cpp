// The plain transform and the matrix operations (21 to 27). The matrix operations hold no
// state and touch no image: the host builds its matrices with them so that every party agrees
// on one convention.
#include "compositing/matrix_ops.h"
#include "engine/COrvel.h"
#include "engine/call_frame.h"

namespace Orvel {

// 21: places pTransformParam->pBufIn on pBufOut through the matrix, Normal at full opacity.
// The operation has no category of its own in the statistics, so its frame keeps no time;
// it traces a failed tool call like every other frame.
HRESULT COrvel::Transform(BufferData* pBufOut, TransformParam* pTransformParam) {
  if (!pBufOut || !pTransformParam || !pTransformParam->pBufIn) return E_POINTER;
  CallFrame frame(false, m_PerformanceCenter, 0, "Transform");
  BlendParam p;
  p.nBlendMode = BLEND_NORMAL;
  p.nOpacity = 100;
  p.bLegacyFlag = false;
  p.bOverwrite = false;
  HRESULT hr = S_OK;
  ORVEL_CHECK(frame, hr,
              m_TransformTool.Process(pTransformParam->pBufIn, pBufOut, &p,
                                      pTransformParam->TransformMatrix));
  return frame.Finish(hr);
}

// 22: appends a translation to the matrix.
HRESULT COrvel::MatrixTranslate(TransformMatrix* pMatrix, float dx, float dy) {
  if (!pMatrix) return E_POINTER;
  MatrixOps::Translate(*pMatrix, dx, dy);
  return S_OK;
}

// 23: appends a rotation by angle radians about (cx, cy).
HRESULT COrvel::MatrixRotate(TransformMatrix* pMatrix, float angle, float cx, float cy) {
  if (!pMatrix) return E_POINTER;
  MatrixOps::Rotate(*pMatrix, angle, cx, cy);
  return S_OK;
}

// 24: appends a scaling about (cx, cy).
HRESULT COrvel::MatrixScale(TransformMatrix* pMatrix, float sx, float sy, float cx, float cy) {
  if (!pMatrix) return E_POINTER;
  MatrixOps::Scale(*pMatrix, sx, sy, cx, cy);
  return S_OK;
}

// 25: appends the projective map of four source points onto four target points.
HRESULT COrvel::MatrixPerspective(TransformMatrix* pMatrix, const float* pSource,
                                  const float* pTarget, int32_t count) {
  if (!pMatrix) return E_POINTER;
  return MatrixOps::Perspective(*pMatrix, pSource, pTarget, count);
}

// 26: replaces the rectangle by the bounds of its mapped image; 1 for an empty rectangle.
HRESULT COrvel::TransformRect(IntRect* pRect, const TransformMatrix* pMatrix) {
  if (!pRect || !pMatrix) return E_POINTER;
  return MatrixOps::MapRect(*pMatrix, *pRect);
}

// 27: maps the point through the matrix in place.
HRESULT COrvel::TransformPoint(Point* pPoint, const TransformMatrix* pMatrix) {
  if (!pPoint || !pMatrix) return E_POINTER;
  MatrixOps::MapPoint(*pMatrix, pPoint->x, pPoint->y);
  return S_OK;
}

}  // namespace Orvel
