// KLY_Mesh::Subdivide: every triangle into four at its edge midpoints, then a weld.
//
// The midpoint attributes are kept exactly as the format has always produced them: the second
// midpoint takes the UV and normal of the edge b-c (the a-b values are written and then
// overwritten), and the third midpoint gets neither. The weld keeps the attributes of the
// midpoint seen first, so these values are what a subdivided mesh carries.
#include <cmath>
#include <cstdint>

#include "kly/mesh/mesh.h"

namespace {

// Squared lengths within this of zero are left as they are instead of normalised.
constexpr double kTinySquaredLength = 1e-12;
constexpr double kSubdivideWeldTolerance = 1e-6;

ORT_Vector3T<double> MidPosition(const ORT_Vector3T<double>& p, const ORT_Vector3T<double>& q) {
  return {(p.x + q.x) * 0.5, (p.y + q.y) * 0.5, (p.z + q.z) * 0.5};
}

ORT_Vector2T<double> MidUV(const ORT_Vector2T<double>& p, const ORT_Vector2T<double>& q) {
  return {(p.x + q.x) * 0.5, (p.y + q.y) * 0.5};
}

// The mean of two normals, scaled by 1/length rounded to single precision: such normals are
// unit length only to single precision. Cannot fail.
ORT_Vector3T<double> MidNormal(const ORT_Vector3T<double>& p, const ORT_Vector3T<double>& q) {
  ORT_Vector3T<double> n = MidPosition(p, q);
  const double s = n.x * n.x + n.y * n.y + n.z * n.z;
  if (s < kTinySquaredLength && s > -kTinySquaredLength) return n;
  const double k = static_cast<double>(static_cast<float>(1.0 / std::sqrt(s)));
  return {n.x * k, n.y * k, n.z * k};
}

}  // namespace

void KLY_Mesh::Subdivide() {
  const uint32_t V = GetNumVertices();
  const uint32_t T = GetNumTriangles();
  vertices.resize(static_cast<size_t>(V) + 3u * static_cast<size_t>(T));
  triangles.resize(4u * static_cast<size_t>(T));

  for (uint32_t i = 0; i < T; ++i) {
    KLY_Triangle& old = triangles[i];
    const uint32_t a = old.indices[0];
    const uint32_t b = old.indices[1];
    const uint32_t c = old.indices[2];
    const uint32_t m0 = V + 3 * i;
    const uint32_t m1 = m0 + 1;
    const uint32_t m2 = m0 + 2;
    const KLY_Vertex& va = vertices[a];
    const KLY_Vertex& vb = vertices[b];
    const KLY_Vertex& vc = vertices[c];

    KLY_Vertex& v0 = vertices[m0];
    KLY_Vertex& v1 = vertices[m1];
    KLY_Vertex& v2 = vertices[m2];
    v0.pos = MidPosition(va.pos, vc.pos);
    v1.pos = MidPosition(va.pos, vb.pos);
    v2.pos = MidPosition(vb.pos, vc.pos);
    v0.pos_w = v1.pos_w = v2.pos_w = 1.0;
    v0.uv = MidUV(va.uv, vc.uv);
    v1.uv = MidUV(vb.uv, vc.uv);
    v0.normal = MidNormal(va.normal, vc.normal);
    v1.normal = MidNormal(vb.normal, vc.normal);

    const uint32_t material = old.material_index;
    old.SetIndices(a, m1, m0);
    KLY_Triangle* out = &triangles[T + 3 * static_cast<size_t>(i)];
    out[0].SetIndices(m0, m1, m2);
    out[1].SetIndices(m0, m2, c);
    out[2].SetIndices(m1, b, m2);
    out[0].material_index = out[1].material_index = out[2].material_index = material;
  }

  Weld(kSubdivideWeldTolerance);
  Update();
}
