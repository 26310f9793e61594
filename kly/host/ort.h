// Vector and matrix arithmetic of the host's maths library.
//
// Matrices act on row vectors: x' = x*M[0][0] + y*M[1][0] + z*M[2][0] + M[3][0], and so on.
// The translation stands in row 3 and the fourth column is never read, so there is no
// homogeneous divide. Every operation that can fail returns an int32_t status, 0 for success.
#pragma once

#include <cstdint>

template <class T>
struct ORT_Vector2T {
  T x, y;
};

template <class T>
struct ORT_Vector3T {
  T x, y, z;
};

template <class T>
inline ORT_Vector3T<T> operator+(const ORT_Vector3T<T>& a, const ORT_Vector3T<T>& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
template <class T>
inline ORT_Vector3T<T> operator-(const ORT_Vector3T<T>& a, const ORT_Vector3T<T>& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
template <class T>
inline ORT_Vector3T<T> operator*(const ORT_Vector3T<T>& a, T s) {
  return {a.x * s, a.y * s, a.z * s};
}
template <class T>
inline bool operator==(const ORT_Vector3T<T>& a, const ORT_Vector3T<T>& b) {
  return a.x == b.x && a.y == b.y && a.z == b.z;
}
template <class T>
inline bool operator!=(const ORT_Vector3T<T>& a, const ORT_Vector3T<T>& b) {
  return !(a == b);
}
template <class T>
inline ORT_Vector2T<T> operator+(const ORT_Vector2T<T>& a, const ORT_Vector2T<T>& b) {
  return {a.x + b.x, a.y + b.y};
}
template <class T>
inline ORT_Vector2T<T> operator-(const ORT_Vector2T<T>& a, const ORT_Vector2T<T>& b) {
  return {a.x - b.x, a.y - b.y};
}
template <class T>
inline ORT_Vector2T<T> operator*(const ORT_Vector2T<T>& a, T s) {
  return {a.x * s, a.y * s};
}
template <class T>
inline bool operator==(const ORT_Vector2T<T>& a, const ORT_Vector2T<T>& b) {
  return a.x == b.x && a.y == b.y;
}
template <class T>
inline bool operator!=(const ORT_Vector2T<T>& a, const ORT_Vector2T<T>& b) {
  return !(a == b);
}

struct ORT_Matrix4 {
  double m[4][4];
};

// A 2D affine matrix acting on row vectors (x, y, 1): the translation stands in row 2.
struct ORT_Matrix3 {
  double m[3][3];
};

struct ORT_PlaneEq {
  double a, b, c, d;
};

// Statuses of the maths library (package 0x11).
constexpr int32_t ORT_kErrSingularMatrix = 0x1101;
constexpr int32_t ORT_kErrDegeneratePlane = 0x1102;
constexpr int32_t ORT_kErrBadPointCount = 0x1103;

// The identity matrix, as a value, for initialising.
ORT_Matrix4 ORT_Identity4();

int32_t ORT_IdentityMatrix4(ORT_Matrix4& matrix);
int32_t ORT_SetIdentityMatrix(ORT_Matrix3& matrix);

// Embeds the 2D affine matrix in the xy plane: z passes through unchanged.
int32_t ORT_Matrix3ToMatrix4(const ORT_Matrix3& in, ORT_Matrix4& out);

// out = first * second: with row vectors, `first` acts before `second`. `out` may alias either.
int32_t ORT_ConcatMatrix4(const ORT_Matrix4& first, const ORT_Matrix4& second, ORT_Matrix4& out);

// Appends a translation: the result moves a point by `matrix` and then by (x, y, z).
int32_t ORT_TranslateMatrix4(double x, double y, double z, ORT_Matrix4& matrix);

// Inverse of the affine map (upper 3x3 and row 3); ORT_kErrSingularMatrix when there is none.
int32_t ORT_InverseMatrix4(const ORT_Matrix4& matrix, ORT_Matrix4& inverse);

// The matrix that carries normals (inverse transpose of the upper 3x3, no translation). Sets
// *no_inverse and leaves the identity in `normal_matrix` when the upper 3x3 is singular.
void ORT_CalcNormalMatrix4Quiet(const ORT_Matrix4& matrix, ORT_Matrix4& normal_matrix,
                                bool* no_inverse);

// Element-wise comparison: true when every |a - b| is at most `epsilon`.
bool ORT_EqualMatrixWithinEpsilon(const ORT_Matrix4& a, const ORT_Matrix4& b, double epsilon);

// Plane through the first three points: (a, b, c) is the unit vector of
// (p1 - p0) x (p2 - p0) and d = -(a, b, c).p0. Collinear points give ORT_kErrDegeneratePlane.
// `extra`, if not null, receives the centroid of the `count` points.
int32_t ORT_GetPlaneEquation(const ORT_Vector3T<double>* points, int32_t count, ORT_PlaneEq* plane,
                             ORT_Vector3T<double>* extra);

// Applies `matrix` to a point by the row-vector rule.
inline ORT_Vector3T<double> ORT_TransformPoint(const ORT_Vector3T<double>& p,
                                               const ORT_Matrix4& M) {
  return {p.x * M.m[0][0] + p.y * M.m[1][0] + p.z * M.m[2][0] + M.m[3][0],
          p.x * M.m[0][1] + p.y * M.m[1][1] + p.z * M.m[2][1] + M.m[3][1],
          p.x * M.m[0][2] + p.y * M.m[1][2] + p.z * M.m[2][2] + M.m[3][2]};
}

int32_t ORT_CheckVersions(uint32_t report_id, uint32_t version);

// The maths library's string table; entry 38 is the zero-vector normalisation message.
struct NUT_StringTable;
extern const NUT_StringTable ORT_G_zref;
