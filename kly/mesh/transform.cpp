// Moving a mesh into another mesh by a matrix, and the remembered transform.
//
// Transform and Project write `out` in two passes, one over the vertices and one over the
// triangles, instead of copying the mesh first and moving it afterwards: the results are the
// same, and a mesh of a million vertices is read and written once.
#include <algorithm>

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

void KLY_Mesh::CopyAllButGeometryTo(KLY_Mesh& out) const {
  out.KLY_Geometry::operator=(*this);
  out.facet = facet;
  out.materials = materials;
  out.transform = transform;
}

template <class MoveVertex>
void KLY_Mesh::WriteMovedMesh(const ORT_Matrix4& matrix, KLY_Mesh& out, MoveVertex move) const {
  const size_t vertex_count = vertices.size();
  if (&out != this) {
    CopyAllButGeometryTo(out);
    out.vertices.resize(vertex_count);
  }
  // dirty is set across the recomputation so that a failing face normal leaves `out` dirty.
  out.dirty = true;
  out.local_bounds.Empty();
  for (size_t i = 0; i < vertex_count; ++i) {
    KLY_Vertex& v = out.vertices[i];
    if (&out != this) v = vertices[i];
    move(v);
    v.pos_w = 1.0;
    out.local_bounds += v.pos;
  }
  if (&out != this) out.triangles.resize(triangles.size());
  for (size_t t = 0; t < triangles.size(); ++t) {
    KLY_Triangle& triangle = out.triangles[t];
    if (&out != this) triangle = triangles[t];
    if (!out.facet) continue;
    try {
      out.ComputeFaceNormal(static_cast<uint32_t>(t));
    } catch (...) {
      // The triangles from the failing one on keep their copied normals.
      if (&out != this)
        std::copy(triangles.begin() + t + 1, triangles.end(), out.triangles.begin() + t + 1);
      throw;
    }
  }
  out.dirty = false;
  out.transform = matrix;
}

void KLY_Mesh::Transform(const ORT_Matrix4& matrix, KLY_Mesh* out) const {
  ORT_Matrix4 normal_matrix;
  bool no_inverse = false;
  ORT_CalcNormalMatrix4Quiet(matrix, normal_matrix, &no_inverse);
  WriteMovedMesh(matrix, *out, [&](KLY_Vertex& v) {
    v.pos = ORT_TransformPoint(v.pos, matrix);
    v.normal =
        no_inverse ? ORT_Vector3T<double>{0.0, 0.0, -1.0} : CarryNormal(v.normal, normal_matrix);
  });
}

void KLY_Mesh::Project(const ORT_Matrix4& matrix, KLY_Mesh& out) const {
  // Emptied first, as a projection into the mesh itself leaves nothing to project.
  out.vertices.clear();
  out.triangles.clear();
  out.dirty = true;
  WriteMovedMesh(matrix, out, [&](KLY_Vertex& v) { v.pos = ORT_TransformPoint(v.pos, matrix); });
}

bool KLY_Mesh::DoesMeshTransformEqual(const ORT_Matrix4& matrix) {
  return ORT_EqualMatrixWithinEpsilon(transform, matrix, 1e-6);
}
