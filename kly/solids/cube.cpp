#include "kly/solids/cube.h"

#include <algorithm>

#include "kly/package/failure.h"

namespace {

// (2k * extent) / n for k = 0..n: the product first, then the quotient, as every face uses it.
std::vector<double> Steps(double extent, uint32_t n) {
  std::vector<double> steps(n + 1);
  for (uint32_t k = 0; k <= n; ++k) steps[k] = (2.0 * k * extent) / n;
  return steps;
}

}  // namespace

KLY_Cube::KLY_Cube() {
  materials.resize(kNumFaces);
  dirty = true;
  geometry_type = KLY_kTypeCube;
}

KLY_Cube::KLY_Cube(ORT_Vector3T<double>& dimensions) : KLY_Cube() {
  Dimensions = dimensions;
}

void KLY_Cube::Update() {
  if (dirty) BuildGeometry();
  KLY_Mesh::Update();
  dirty = false;
}

void KLY_Cube::SetDimensions(ORT_Vector3T<double> dimensions) {
  if (dimensions != Dimensions) dirty = true;
  Dimensions = dimensions;
}

void KLY_Cube::SetDivisions(uint32_t divisions) {
  if (divisions != Divisions) dirty = true;
  Divisions = divisions;
}

void KLY_Cube::SetMaterial(uint32_t face, const KLY_Material& material) {
  if (face >= kNumFaces) KLY_FailIndex("invalid material index.");
  materials[face] = material;
}

void KLY_Cube::GetMaterial(uint32_t face, KLY_Material& out) const {
  if (face >= kNumFaces) KLY_FailIndex("invalid material index.");
  out = materials[face];
}

void KLY_Cube::GetTrianglesForFace(uint32_t face, std::vector<KLY_Triangle>& out) const {
  const size_t per_face = 2 * static_cast<size_t>(Divisions) * Divisions;
  out.clear();
  out.insert(out.end(), triangles.begin() + face * per_face,
             triangles.begin() + (face + 1) * per_face);
}

void KLY_Cube::VertexGeom(const ORT_Vector3T<double>& position, const ORT_Vector3T<double>& normal,
                          uint32_t i, uint32_t j, uint32_t base) {
  const uint32_t n = Divisions;
  KLY_Vertex& v = vertices[(n + 1) * j + i + base];
  v.pos = position;
  v.pos_w = 1.0;
  // The clamp guards rounding only.
  v.uv = {std::min(1.0, static_cast<double>(i) / n), std::min(1.0, static_cast<double>(j) / n)};
  v.normal = normal;
  v.singular = false;
}

void KLY_Cube::FaceGeom(uint32_t i, uint32_t j, uint32_t triangle, uint32_t base,
                        uint32_t material) {
  const uint32_t a = base + (Divisions + 1) * j + i;
  const uint32_t c = a + (Divisions + 1);
  KLY_Triangle& first = triangles[triangle];
  first.SetIndices(a, a + 1, c);
  first.material_index = material;
  KLY_Triangle& second = triangles[triangle + 1];
  second.SetIndices(a + 1, c + 1, c);
  second.material_index = material;
}

void KLY_Cube::BuildGeometry() {
  const uint32_t n = Divisions;
  // Rebuilt in place rather than cleared and refilled: every vertex and triangle is written
  // in full below (singular included), so the result is that of a fresh build, and a rebuild
  // of the same size touches each array once.
  dirty = true;
  const uint32_t per_face_vertices = (n + 1) * (n + 1);
  const uint32_t per_face_triangles = 2 * n * n;
  vertices.resize(kNumFaces * per_face_vertices);
  triangles.resize(kNumFaces * per_face_triangles);

  // Each face's position at grid point (i, j) and its normal. The directions are chosen so that
  // every face winds alike: (p1 - p0) x (p2 - p0) points into the box.
  struct FaceLayout {
    ORT_Vector3T<double> normal;
    ORT_Vector3T<double> (*at)(const KLY_Cube&, const std::vector<double>* s, uint32_t i,
                               uint32_t j);
  };
  const std::vector<double> steps[3] = {Steps(Dimensions.x, n), Steps(Dimensions.y, n),
                                        Steps(Dimensions.z, n)};
  static const FaceLayout kFaces[kNumFaces] = {
      {{0, 0, -1},
       [](const KLY_Cube& c, const std::vector<double>* s, uint32_t i, uint32_t j) {
         const auto& d = c.Dimensions;
         return ORT_Vector3T<double>{-d.x + s[0][i], -d.y + s[1][j], -d.z};
       }},
      {{0, 0, 1},
       [](const KLY_Cube& c, const std::vector<double>* s, uint32_t i, uint32_t j) {
         const auto& d = c.Dimensions;
         return ORT_Vector3T<double>{d.x - s[0][i], -d.y + s[1][j], d.z};
       }},
      {{-1, 0, 0},
       [](const KLY_Cube& c, const std::vector<double>* s, uint32_t i, uint32_t j) {
         const auto& d = c.Dimensions;
         return ORT_Vector3T<double>{-d.x, -d.y + s[1][j], d.z - s[2][i]};
       }},
      {{1, 0, 0},
       [](const KLY_Cube& c, const std::vector<double>* s, uint32_t i, uint32_t j) {
         const auto& d = c.Dimensions;
         return ORT_Vector3T<double>{d.x, -d.y + s[1][j], -d.z + s[2][i]};
       }},
      {{0, -1, 0},
       [](const KLY_Cube& c, const std::vector<double>* s, uint32_t i, uint32_t j) {
         const auto& d = c.Dimensions;
         return ORT_Vector3T<double>{-d.x + s[0][i], -d.y, d.z - s[2][j]};
       }},
      {{0, 1, 0},
       [](const KLY_Cube& c, const std::vector<double>* s, uint32_t i, uint32_t j) {
         const auto& d = c.Dimensions;
         return ORT_Vector3T<double>{-d.x + s[0][i], d.y, -d.z + s[2][j]};
       }},
  };

  for (uint32_t f = 0; f < kNumFaces; ++f) {
    const uint32_t base = f * per_face_vertices;
    for (uint32_t j = 0; j <= n; ++j)
      for (uint32_t i = 0; i <= n; ++i)
        VertexGeom(kFaces[f].at(*this, steps, i, j), kFaces[f].normal, i, j, base);
    for (uint32_t j = 0; j < n; ++j)
      for (uint32_t i = 0; i < n; ++i)
        FaceGeom(i, j, f * per_face_triangles + 2 * (j * n + i), base, f);
  }
  SetClosedTwoManifold(true);
}
