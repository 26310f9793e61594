// Moving a mesh into another mesh by a matrix, and the remembered transform.
#include "kly/mesh/mesh.h"
#include "kly/package/failure.h"

namespace {

// The normal (nx, ny, nz, 0) carried by `normal_matrix`, normalised unless it is exactly zero.
ORT_Vector3T<double> CarryNormal(const ORT_Vector3T<double>& n, const ORT_Matrix4& M) {
  ORT_Vector3T<double> r{n.x * M.m[0][0] + n.y * M.m[1][0] + n.z * M.m[2][0],
                         n.x * M.m[0][1] + n.y * M.m[1][1] + n.z * M.m[2][1],
                         n.x * M.m[0][2] + n.y * M.m[1][2] + n.z * M.m[2][2]};
  const double s = r.x * r.x + r.y * r.y + r.z * r.z;
  if (s > 0.0) KLY_Normalize(r);
  return r;
}

}  // namespace

void KLY_Mesh::Transform(const ORT_Matrix4& matrix, KLY_Mesh* out) const {
  ORT_Matrix4 normal_matrix;
  bool no_inverse = false;
  ORT_CalcNormalMatrix4Quiet(matrix, normal_matrix, &no_inverse);
  if (out != this) *out = *this;

  const size_t count = vertices.size();
  for (size_t i = 0; i < count; ++i) {
    KLY_Vertex& v = out->vertices[i];
    v.pos = ORT_TransformPoint(v.pos, matrix);
    v.pos_w = 1.0;
    v.normal =
        no_inverse ? ORT_Vector3T<double>{0.0, 0.0, -1.0} : CarryNormal(v.normal, normal_matrix);
  }

  // dirty is set across the recomputation so that a failing face normal leaves `out` dirty.
  out->dirty = true;
  out->local_bounds.Empty();
  for (const KLY_Vertex& v : out->vertices) out->local_bounds += v.pos;
  if (out->facet)
    for (uint32_t t = 0; t < out->triangles.size(); ++t) out->ComputeFaceNormal(t);
  out->dirty = false;
  out->transform = matrix;
}

void KLY_Mesh::Project(const ORT_Matrix4& matrix, KLY_Mesh& out) const {
  out.vertices.clear();
  out.triangles.clear();
  out.dirty = true;
  out = *this;
  for (KLY_Vertex& v : out.vertices) {
    v.pos = ORT_TransformPoint(v.pos, matrix);
    v.pos_w = 1.0;
  }
  out.dirty = true;
  out.local_bounds.Empty();
  for (const KLY_Vertex& v : out.vertices) out.local_bounds += v.pos;
  if (out.facet)
    for (uint32_t t = 0; t < out.triangles.size(); ++t) out.ComputeFaceNormal(t);
  out.dirty = false;
  out.transform = matrix;
}

bool KLY_Mesh::DoesMeshTransformEqual(const ORT_Matrix4& matrix) {
  return ORT_EqualMatrixWithinEpsilon(transform, matrix, 1e-6);
}
