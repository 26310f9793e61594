// Matrix operations of the maths library. Only the affine part of a matrix is meaningful:
// the fourth column is written as (0, 0, 0, 1) and never read.
#include "kly/host/ort.h"

#include <cmath>

#include "kly/host/nut.h"

namespace {

// Entries 0 to 38 of the maths library's string table; only 38 is used by the library.
const char* const kMathsStrings[39] = {
    "", "", "", "", "", "", "", "", "", "", "", "", "",
    "", "", "", "", "", "", "", "", "", "", "", "", "",
    "", "", "", "", "", "", "", "", "", "", "", "", "Cannot normalize a vector of zero length."};

// Determinant and inverse of the upper 3x3 of `in`; false when the determinant is 0 or not
// finite.
bool Invert3x3(const ORT_Matrix4& in, double out[3][3]) {
  const double(*a)[4] = in.m;
  const double c00 = a[1][1] * a[2][2] - a[1][2] * a[2][1];
  const double c01 = a[1][2] * a[2][0] - a[1][0] * a[2][2];
  const double c02 = a[1][0] * a[2][1] - a[1][1] * a[2][0];
  const double det = a[0][0] * c00 + a[0][1] * c01 + a[0][2] * c02;
  if (det == 0.0 || !std::isfinite(det)) return false;
  const double k = 1.0 / det;
  out[0][0] = c00 * k;
  out[0][1] = (a[0][2] * a[2][1] - a[0][1] * a[2][2]) * k;
  out[0][2] = (a[0][1] * a[1][2] - a[0][2] * a[1][1]) * k;
  out[1][0] = c01 * k;
  out[1][1] = (a[0][0] * a[2][2] - a[0][2] * a[2][0]) * k;
  out[1][2] = (a[0][2] * a[1][0] - a[0][0] * a[1][2]) * k;
  out[2][0] = c02 * k;
  out[2][1] = (a[0][1] * a[2][0] - a[0][0] * a[2][1]) * k;
  out[2][2] = (a[0][0] * a[1][1] - a[0][1] * a[1][0]) * k;
  return true;
}

}  // namespace

const NUT_StringTable ORT_G_zref = {kMathsStrings, 39};

ORT_Matrix4 ORT_Identity4() {
  ORT_Matrix4 m{};
  for (int i = 0; i < 4; ++i) m.m[i][i] = 1.0;
  return m;
}

int32_t ORT_IdentityMatrix4(ORT_Matrix4& matrix) {
  matrix = ORT_Identity4();
  return 0;
}

int32_t ORT_SetIdentityMatrix(ORT_Matrix3& matrix) {
  matrix = ORT_Matrix3{};
  for (int i = 0; i < 3; ++i) matrix.m[i][i] = 1.0;
  return 0;
}

int32_t ORT_Matrix3ToMatrix4(const ORT_Matrix3& in, ORT_Matrix4& out) {
  ORT_Matrix4 r = ORT_Identity4();
  r.m[0][0] = in.m[0][0];
  r.m[0][1] = in.m[0][1];
  r.m[1][0] = in.m[1][0];
  r.m[1][1] = in.m[1][1];
  r.m[3][0] = in.m[2][0];
  r.m[3][1] = in.m[2][1];
  out = r;
  return 0;
}

int32_t ORT_ConcatMatrix4(const ORT_Matrix4& first, const ORT_Matrix4& second, ORT_Matrix4& out) {
  ORT_Matrix4 r{};
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) {
      double sum = 0.0;
      for (int k = 0; k < 4; ++k) sum += first.m[i][k] * second.m[k][j];
      r.m[i][j] = sum;
    }
  out = r;
  return 0;
}

int32_t ORT_TranslateMatrix4(double x, double y, double z, ORT_Matrix4& matrix) {
  matrix.m[3][0] += x;
  matrix.m[3][1] += y;
  matrix.m[3][2] += z;
  return 0;
}

int32_t ORT_InverseMatrix4(const ORT_Matrix4& matrix, ORT_Matrix4& inverse) {
  double inv[3][3];
  if (!Invert3x3(matrix, inv)) return ORT_kErrSingularMatrix;
  ORT_Matrix4 r = ORT_Identity4();
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) r.m[i][j] = inv[i][j];
  // The inverse translation is -t * inverse(A) for row vectors.
  for (int j = 0; j < 3; ++j)
    r.m[3][j] =
        -(matrix.m[3][0] * inv[0][j] + matrix.m[3][1] * inv[1][j] + matrix.m[3][2] * inv[2][j]);
  inverse = r;
  return 0;
}

void ORT_CalcNormalMatrix4Quiet(const ORT_Matrix4& matrix, ORT_Matrix4& normal_matrix,
                                bool* no_inverse) {
  double inv[3][3];
  normal_matrix = ORT_Identity4();
  const bool singular = !Invert3x3(matrix, inv);
  if (no_inverse) *no_inverse = singular;
  if (singular) return;
  // Row-vector normals transform by the transpose of the inverse.
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) normal_matrix.m[i][j] = inv[j][i];
}

bool ORT_EqualMatrixWithinEpsilon(const ORT_Matrix4& a, const ORT_Matrix4& b, double epsilon) {
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      if (!(std::fabs(a.m[i][j] - b.m[i][j]) <= epsilon)) return false;
  return true;
}

int32_t ORT_GetPlaneEquation(const ORT_Vector3T<double>* points, int32_t count, ORT_PlaneEq* plane,
                             ORT_Vector3T<double>* extra) {
  if (points == nullptr || plane == nullptr || count < 3) return ORT_kErrBadPointCount;
  const ORT_Vector3T<double> a = points[1] - points[0];
  const ORT_Vector3T<double> b = points[2] - points[0];
  ORT_Vector3T<double> n{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
  const double length = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
  if (!(length > 0.0) || !std::isfinite(length)) return ORT_kErrDegeneratePlane;
  n = n * (1.0 / length);
  plane->a = n.x;
  plane->b = n.y;
  plane->c = n.z;
  plane->d = -(n.x * points[0].x + n.y * points[0].y + n.z * points[0].z);
  if (extra) {
    ORT_Vector3T<double> sum{0.0, 0.0, 0.0};
    for (int32_t i = 0; i < count; ++i) sum = sum + points[i];
    *extra = sum * (1.0 / count);
  }
  return 0;
}
