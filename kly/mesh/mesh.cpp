// Storage, materials and the simple operations of KLY_Mesh.
#include "kly/mesh/mesh.h"

#include <algorithm>
#include <map>
#include <stdexcept>

#include "kly/package/failure.h"

ORT_Vector3T<double> KLY_FaceNormal(const ORT_Vector3T<double>& p0, const ORT_Vector3T<double>& p1,
                                    const ORT_Vector3T<double>& p2) {
  const ORT_Vector3T<double> a = p1 - p0;
  const ORT_Vector3T<double> b = p2 - p0;
  ORT_Vector3T<double> n{b.y * a.z - b.z * a.y, b.z * a.x - b.x * a.z, b.x * a.y - b.y * a.x};
  KLY_Normalize(n);
  return n;
}

KLY_Mesh::KLY_Mesh() {
  KLY_Check(ORT_IdentityMatrix4(transform));
}

KLY_Mesh::KLY_Mesh(uint32_t num_vertices, uint32_t num_triangles)
    : vertices(num_vertices), triangles(num_triangles), transform(ORT_Identity4()) {
  // The remembered transform is set to the identity although nothing reads it before a
  // Transform writes it: a defined value costs nothing and keeps DoesMeshTransformEqual sane.
  geometry_type = KLY_kTypeSizedMesh;
}

void KLY_Mesh::Update() {
  if (dirty) {
    local_bounds.Empty();
    for (const KLY_Vertex& v : vertices) local_bounds += v.pos;
    if (facet)
      for (uint32_t t = 0; t < triangles.size(); ++t) ComputeFaceNormal(t);
  }
  dirty = false;
}

void KLY_Mesh::ComputeFaceNormal(uint32_t triangle) {
  KLY_Triangle& t = triangles[triangle];
  t.normal = KLY_FaceNormal(vertices[t.indices[0]].pos, vertices[t.indices[1]].pos,
                            vertices[t.indices[2]].pos);
}

void KLY_Mesh::CollapseArrayToSingleElement(KLY_Geometry* out) const {
  KLY_Mesh& mesh = dynamic_cast<KLY_Mesh&>(*out);
  mesh.KLY_Geometry::operator=(*this);
  mesh.vertices = vertices;
  mesh.triangles = triangles;
  mesh.facet = facet;
  mesh.materials = materials;
  mesh.transform = transform;
}

void KLY_Mesh::SetSize(uint32_t num_vertices, uint32_t num_triangles) {
  vertices.resize(num_vertices);
  triangles.resize(num_triangles);
}

namespace {

// The arrays of a mesh destroyed earlier on this thread, for the next Reserve. Arrays above
// this size are not kept: holding on to them would cost more memory than their reuse saves.
constexpr size_t kLargestSpareBytes = size_t{8} << 20;

// Whether this thread's spare exists: made by the first Reserve, gone once the thread's
// storage is torn down (a mesh destroyed after that, a static one at exit, keeps nothing).
enum class SpareState : uint8_t { kUnused, kInUse, kGone };
thread_local SpareState spareState = SpareState::kUnused;

struct SpareArrays {
  ~SpareArrays() { spareState = SpareState::kGone; }
  std::vector<KLY_Vertex> vertices;
  std::vector<KLY_Triangle> triangles;
};

SpareArrays& Spare() {
  thread_local SpareArrays arrays;
  spareState = SpareState::kInUse;
  return arrays;
}

// Keeps `list`'s storage as the spare when it is larger than the spare's and small enough.
template <class T>
void Donate(std::vector<T>& list, std::vector<T>& spareList) {
  const size_t bytes = list.capacity() * sizeof(T);
  if (list.capacity() > spareList.capacity() && bytes <= kLargestSpareBytes) {
    list.clear();
    list.swap(spareList);
  }
}

// Gives `list` room for `count` records, from the spare's storage when that is large enough.
template <class T>
void ReserveFromSpare(std::vector<T>& list, std::vector<T>& spareList, size_t count) {
  if (list.capacity() >= count) return;
  if (spareList.capacity() >= count) {
    spareList.assign(list.begin(), list.end());
    list.swap(spareList);
    return;
  }
  list.reserve(count);
}

// Grown geometrically, as resize would: the walls of an extrusion are added a patch at a time.
template <class T>
void GrowListUnwritten(std::vector<T>& list, size_t count) {
  if (count > list.capacity()) list.reserve(std::max(count, 2 * list.capacity()));
  for (size_t more = count - std::min(count, list.size()); more > 0; --more)
    list.emplace_back(KLY_Unwritten{});
}

}  // namespace

KLY_Mesh::~KLY_Mesh() {
  if (spareState != SpareState::kInUse) return;
  SpareArrays& arrays = Spare();
  Donate(vertices, arrays.vertices);
  Donate(triangles, arrays.triangles);
}

void KLY_Mesh::Reserve(uint32_t num_vertices, uint32_t num_triangles) {
  if (spareState == SpareState::kGone) {
    vertices.reserve(num_vertices);
    triangles.reserve(num_triangles);
    return;
  }
  SpareArrays& arrays = Spare();
  ReserveFromSpare(vertices, arrays.vertices, num_vertices);
  ReserveFromSpare(triangles, arrays.triangles, num_triangles);
}

void KLY_Mesh::GrowUnwritten(uint32_t num_vertices, uint32_t num_triangles) {
  GrowListUnwritten(vertices, num_vertices);
  GrowListUnwritten(triangles, num_triangles);
}

void KLY_Mesh::ClearGeometry() {
  vertices.clear();
  triangles.clear();
  dirty = true;
}

uint32_t KLY_Mesh::AddMaterial(const KLY_Material& material) {
  const KLY_Material copy = material;
  materials.push_back(copy);
  return static_cast<uint32_t>(materials.size() - 1);
}

void KLY_Mesh::GetVerticesForTriangle(const KLY_Triangle& triangle, KLY_Vertex& v0, KLY_Vertex& v1,
                                      KLY_Vertex& v2) const {
  KLY_Vertex* outputs[3] = {&v0, &v1, &v2};
  for (int k = 0; k < 3; ++k) {
    if (triangle.indices[k] >= vertices.size())
      throw std::out_of_range("invalid vector<T> subscript");
    *outputs[k] = vertices[triangle.indices[k]];
  }
}

void KLY_Mesh::GetTrianglesForMaterial(uint32_t material, std::vector<KLY_Triangle>& out) const {
  out.clear();
  for (const KLY_Triangle& t : triangles)
    if (t.material_index == material) out.push_back(t);
}

void KLY_Mesh::AppendTriangleMesh(const KLY_Mesh& other) {
  const uint32_t base = GetNumVertices();
  // Counts taken first so that appending a mesh to itself copies it once.
  const size_t other_vertices = other.vertices.size();
  const size_t other_triangles = other.triangles.size();
  // Grown geometrically: an exact reserve would copy the whole mesh on every one of many small
  // appends (an extrusion appends one patch at a time).
  const auto grow = [](auto& list, size_t more) {
    if (list.size() + more > list.capacity())
      list.reserve(std::max(list.size() + more, 2 * list.capacity()));
  };
  grow(vertices, other_vertices);
  grow(triangles, other_triangles);
  for (size_t i = 0; i < other_vertices; ++i) vertices.push_back(other.vertices[i]);
  for (size_t i = 0; i < other_triangles; ++i) {
    KLY_Triangle t = other.triangles[i];
    for (uint32_t& index : t.indices) index += base;
    triangles.push_back(t);
  }
}

void KLY_Mesh::BuildSingleMaterialMesh(uint32_t material, KLY_Mesh& out) {
  // option_4 and closed_two_manifold stay those of `out` on purpose.
  const int32_t kept_option_4 = out.render_options.option_4;
  out.render_options = render_options;
  out.render_options.option_4 = kept_option_4;
  out.local_bounds = local_bounds;
  out.dirty = dirty;
  out.geometry_type = geometry_type;
  out.facet = facet;
  out.transform = transform;

  out.vertices.clear();
  out.triangles.clear();
  out.dirty = true;
  out.materials.clear();
  // An index past the table gives a default entry rather than reading past the end.
  out.materials.push_back(material < materials.size() ? materials[material] : KLY_Material());

  std::map<uint32_t, uint32_t> new_index;
  uint32_t counter = 0;
  for (const KLY_Triangle& t : triangles) {
    if (t.material_index != material) continue;
    for (uint32_t old : t.indices)
      if (new_index.insert({old, counter}).second) {
        out.vertices.push_back(vertices[old]);
        ++counter;
      }
    out.triangles.push_back(t);
  }
  for (KLY_Triangle& t : out.triangles)
    for (uint32_t& index : t.indices) index = new_index[index];
}

void KLY_Mesh::FlipPoly() {
  for (KLY_Triangle& t : triangles) std::swap(t.indices[0], t.indices[2]);
  Update();
}

void KLY_Mesh::FlipNormals() {
  for (KLY_Vertex& v : vertices) {
    v.normal.x = -v.normal.x;
    v.normal.y = -v.normal.y;
    v.normal.z = -v.normal.z;
  }
}
