// Cutting a mesh by a plane, or by the plane of a placed rectangle, and the cheap box test of
// whether a mesh and a rectangle can touch at all.
#include <cstdint>
#include <vector>

#include "kly/mesh/mesh.h"
#include "kly/package/failure.h"

namespace {

// Distances strictly inside this band count as exactly on the plane; positions never move.
constexpr double kPlaneTolerance = 1e-6;

double SnappedDistance(const ORT_PlaneEq& plane, const ORT_Vector3T<double>& p) {
  const double d = plane.a * p.x + plane.b * p.y + plane.c * p.z + plane.d;
  return (d < kPlaneTolerance && d > -kPlaneTolerance) ? 0.0 : d;
}

// The point where the edge from A to B meets the plane; the normal is interpolated and left
// unnormalised on purpose.
KLY_Vertex CutVertex(const ORT_PlaneEq& plane, const KLY_Vertex& A, const KLY_Vertex& B) {
  const ORT_Vector3T<double> ab = B.pos - A.pos;
  const double denominator = plane.a * ab.x + plane.b * ab.y + plane.c * ab.z;
  double t = 0.0;
  if (denominator != 0.0) {
    t = (-plane.d - plane.a * A.pos.x - plane.b * A.pos.y - plane.c * A.pos.z) / denominator;
  }
  KLY_Vertex v;
  v.pos = A.pos + ab * t;
  v.pos_w = 1.0;
  v.uv = A.uv + (B.uv - A.uv) * t;
  v.normal = A.normal + (B.normal - A.normal) * t;
  v.singular = false;
  return v;
}

}  // namespace

void KLY_Mesh::SplitMesh(const KLY_Mesh& mesh, const ORT_PlaneEq& plane, KLY_Mesh& front,
                         KLY_Mesh& back) {
  // Both outputs take every field of the input, then lose their geometry (which sets dirty)
  // and become plain meshes. Copying field by field spares copying arrays only to clear them.
  for (KLY_Mesh* out : {&front, &back}) {
    out->render_options = mesh.render_options;
    out->local_bounds = mesh.local_bounds;
    out->dirty = mesh.dirty;
    out->closed_two_manifold = mesh.closed_two_manifold;
    out->facet = mesh.facet;
    out->materials = mesh.materials;
    out->transform = mesh.transform;
    out->ClearGeometry();
    out->geometry_type = KLY_kTypeSizedMesh;
    // Both keep the input's vertex indices, and all its vertices, used or not.
    out->vertices = mesh.vertices;
  }

  const std::vector<KLY_Vertex>& in = mesh.vertices;
  const size_t vertex_count = in.size();
  // A vertex's snapped distance depends on it alone, so it is computed once, not per corner.
  std::vector<double> distance(vertex_count);
  for (size_t v = 0; v < vertex_count; ++v) distance[v] = SnappedDistance(plane, in[v].pos);

  std::vector<uint32_t> to_cut;
  for (uint32_t t = 0; t < mesh.GetNumTriangles(); ++t) {
    const KLY_Triangle& tri = mesh.triangles[t];
    const uint32_t* idx = tri.indices;
    if (idx[0] >= vertex_count || idx[1] >= vertex_count || idx[2] >= vertex_count) {
      KLY_Vertex v0, v1, v2;
      mesh.GetVerticesForTriangle(tri, v0, v1, v2);  // raises the container's out_of_range
    }
    const double d0 = distance[idx[0]], d1 = distance[idx[1]], d2 = distance[idx[2]];
    if (d0 >= 0.0 && d1 >= 0.0 && d2 >= 0.0) {
      front.triangles.push_back(tri);  // a triangle in the plane counts as front
    } else if (d0 <= 0.0 && d1 <= 0.0 && d2 <= 0.0) {
      back.triangles.push_back(tri);
    } else {
      to_cut.push_back(t);
    }
  }

  // A new vertex goes to both sides and is made per triangle: a cut edge shared by two
  // triangles gets two vertices.
  auto push_cut = [&](uint32_t from, uint32_t to) {
    const KLY_Vertex v = CutVertex(plane, front.vertices[from], front.vertices[to]);
    front.vertices.push_back(v);
    back.vertices.push_back(v);
    return static_cast<uint32_t>(front.vertices.size() - 1);
  };
  auto piece = [](const KLY_Triangle& source, uint32_t a, uint32_t b, uint32_t c) {
    KLY_Triangle t = source;
    t.SetIndices(a, b, c);
    return t;
  };

  for (uint32_t t : to_cut) {
    const KLY_Triangle& tri = mesh.triangles[t];
    const uint32_t i0 = tri.indices[0], i1 = tri.indices[1], i2 = tri.indices[2];
    const double d0 = distance[i0], d1 = distance[i1], d2 = distance[i2];

    if (d0 == 0.0 || d1 == 0.0 || d2 == 0.0) {
      // Through corner p; the other two lie on opposite sides. Rotations keep the winding.
      uint32_t p = i0, q = i1, r = i2;
      double dq = d1;
      if (d2 == 0.0) {
        p = i2, q = i0, r = i1, dq = d0;
      } else if (d1 == 0.0) {
        p = i1, q = i2, r = i0, dq = d2;
      }
      const uint32_t m = push_cut(q, r);
      const KLY_Triangle A = piece(tri, p, q, m);
      const KLY_Triangle B = piece(tri, p, m, r);
      (dq > 0.0 ? front : back).triangles.push_back(A);
      (dq > 0.0 ? back : front).triangles.push_back(B);
      continue;
    }

    // Across two edges: L is the corner alone on its side, standing between X and Y.
    uint32_t X = i0, L = i1, Y = i2;
    double dL = d1;
    if ((d2 > 0.0) != (d0 > 0.0) && (d2 > 0.0) != (d1 > 0.0)) {
      X = i1, L = i2, Y = i0, dL = d2;
    } else if ((d0 > 0.0) != (d1 > 0.0) && (d0 > 0.0) != (d2 > 0.0)) {
      X = i2, L = i0, Y = i1, dL = d0;
    }
    const uint32_t m1 = push_cut(X, L);
    const uint32_t m2 = push_cut(L, Y);
    KLY_Mesh& lone = dL > 0.0 ? front : back;
    KLY_Mesh& pair = dL > 0.0 ? back : front;
    lone.triangles.push_back(piece(tri, m1, L, m2));
    pair.triangles.push_back(piece(tri, X, m1, Y));
    pair.triangles.push_back(piece(tri, m1, m2, Y));
  }

  // A side without triangles keeps the input's bounds and stays dirty.
  if (front.GetNumTriangles() != 0) front.KLY_Mesh::Update();
  if (back.GetNumTriangles() != 0) back.KLY_Mesh::Update();
}

void KLY_Mesh::SplitMesh(const KLY_Mesh& mesh, const ORT_Matrix4& mesh_matrix,
                         const KLY_Rectangle& rectangle, const ORT_Matrix4& rectangle_matrix,
                         KLY_Mesh& front, KLY_Mesh& back) {
  KLY_Mesh placed;
  mesh.Transform(mesh_matrix, &placed);

  // The rectangle only supplies a plane: its first three corners, whatever its size.
  const ORT_Vector3T<double> corners[4] = {
      ORT_TransformPoint({rectangle.left, rectangle.top, 0.0}, rectangle_matrix),
      ORT_TransformPoint({rectangle.right, rectangle.top, 0.0}, rectangle_matrix),
      ORT_TransformPoint({rectangle.right, rectangle.bottom, 0.0}, rectangle_matrix),
      ORT_TransformPoint({rectangle.left, rectangle.bottom, 0.0}, rectangle_matrix)};
  ORT_PlaneEq plane;
  KLY_Check(ORT_GetPlaneEquation(corners, 3, &plane, nullptr));
  plane = {-plane.a, -plane.b, -plane.c, -plane.d};

  KLY_Mesh placed_front;
  KLY_Mesh placed_back;
  SplitMesh(placed, plane, placed_front, placed_back);

  ORT_Matrix4 inverse;
  KLY_Check(ORT_InverseMatrix4(mesh_matrix, inverse));
  placed_front.Transform(inverse, &front);
  placed_back.Transform(inverse, &back);
  KLY_Check(ORT_IdentityMatrix4(placed_front.transform));
  KLY_Check(ORT_IdentityMatrix4(placed_back.transform));
  front.KLY_Mesh::Update();
  back.KLY_Mesh::Update();
}

bool KLY_Mesh::DoesMeshOverlapRectangle(const KLY_Mesh& mesh, const ORT_Matrix4& mesh_matrix,
                                        const KLY_Rectangle& rectangle,
                                        ORT_Matrix4 rectangle_matrix) {
  KLY_Bounds local;
  mesh.GetLocalBounds(local);
  KLY_Bounds placed_mesh;
  local.Transform(mesh_matrix, placed_mesh);

  KLY_Bounds flat;
  flat += ORT_Vector3T<double>{rectangle.left, rectangle.top, 0.0};
  flat += ORT_Vector3T<double>{rectangle.left, rectangle.bottom, 0.0};
  flat += ORT_Vector3T<double>{rectangle.right, rectangle.bottom, 0.0};
  flat += ORT_Vector3T<double>{rectangle.right, rectangle.top, 0.0};
  KLY_Bounds placed_rectangle;
  flat.Transform(rectangle_matrix, placed_rectangle);
  return placed_mesh.IsOverlapped(placed_rectangle);
}
