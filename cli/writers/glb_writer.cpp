#include "cli/writers/glb_writer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

#include <tiny_gltf.h>

namespace kly {
namespace cli {

namespace {

// An index equal to the largest value of its type restarts strips in some APIs, and glTF
// forbids it: 16-bit indices serve up to 65,535 vertices (indices 0 to 65,534).
constexpr size_t kMaxShortIndexedVertices = 65535;

int AddView(tinygltf::Model& model, size_t offset, size_t length, int target) {
  tinygltf::BufferView view;
  view.buffer = 0;
  view.byteOffset = offset;
  view.byteLength = length;
  view.target = target;
  model.bufferViews.push_back(view);
  return static_cast<int>(model.bufferViews.size() - 1);
}

int AddAccessor(tinygltf::Model& model, int view, size_t offset, size_t count, int type,
                int component_type) {
  tinygltf::Accessor accessor;
  accessor.bufferView = view;
  accessor.byteOffset = offset;
  accessor.count = count;
  accessor.type = type;
  accessor.componentType = component_type;
  model.accessors.push_back(accessor);
  return static_cast<int>(model.accessors.size() - 1);
}

tinygltf::Material GltfMaterial(const ExportMesh::Material& material) {
  // Non-metallic and one-sided, so that a wrong winding would show.
  tinygltf::Material out;
  out.name = material.name;
  out.pbrMetallicRoughness.baseColorFactor = {material.rgb[0], material.rgb[1], material.rgb[2],
                                              1.0};
  out.pbrMetallicRoughness.metallicFactor = 0.0;
  out.pbrMetallicRoughness.roughnessFactor = 0.6;
  out.doubleSided = false;
  return out;
}

template <class T>
void Put(unsigned char*& cursor, const T& value) {
  std::memcpy(cursor, &value, sizeof value);
  cursor += sizeof value;
}

// Positions, normals, UVs and indices, one after the other; every part is a multiple of 4
// bytes long but the indices, which end the buffer.
struct BufferLayout {
  size_t positions;
  size_t normals;
  size_t uvs;
  size_t indices;
  size_t index_size;
  size_t Total() const { return positions + normals + uvs + indices; }
};

BufferLayout Layout(const ExportMesh& mesh) {
  const size_t vertex_count = mesh.Vertices().size();
  BufferLayout layout;
  layout.positions = vertex_count * sizeof(Float3);
  layout.normals = vertex_count * sizeof(Float3);
  layout.uvs = vertex_count * sizeof(Float2);
  layout.index_size = vertex_count <= kMaxShortIndexedVertices ? 2 : 4;
  layout.indices = mesh.Indices().size() * layout.index_size;
  // The binary chunk and the whole file carry 32-bit lengths; keep room for the JSON.
  if (layout.Total() > std::numeric_limits<uint32_t>::max() - (1u << 20)) {
    throw std::runtime_error(
        "the mesh would pass the 4 GiB that a .glb file can hold; use fewer divisions or "
        "subdivisions, or .ply or .stl");
  }
  return layout;
}

tinygltf::Buffer FillBuffer(const ExportMesh& mesh, const BufferLayout& layout) {
  tinygltf::Buffer buffer;
  buffer.data.resize(layout.Total());
  unsigned char* cursor = buffer.data.data();
  for (const FileVertex& vertex : mesh.Vertices()) Put(cursor, vertex.position);
  for (const FileVertex& vertex : mesh.Vertices()) Put(cursor, vertex.normal);
  for (const FileVertex& vertex : mesh.Vertices()) Put(cursor, vertex.uv);
  for (uint32_t index : mesh.Indices()) {
    if (layout.index_size == 2) {
      Put(cursor, static_cast<uint16_t>(index));
    } else {
      Put(cursor, index);
    }
  }
  return buffer;
}

// The bounds glTF requires of POSITION: those of the stored floats.
void SetPositionBounds(const ExportMesh& mesh, tinygltf::Accessor& accessor) {
  Float3 min = mesh.Vertices().front().position;
  Float3 max = min;
  for (const FileVertex& vertex : mesh.Vertices()) {
    for (int k = 0; k < 3; ++k) {
      min[k] = std::min(min[k], vertex.position[k]);
      max[k] = std::max(max[k], vertex.position[k]);
    }
  }
  accessor.minValues.assign(min.begin(), min.end());
  accessor.maxValues.assign(max.begin(), max.end());
}

// Vertex attributes shared by every part's primitives, and the view of the indices.
struct SharedAccessors {
  int positions;
  int normals;
  int uvs;
  int index_view;
  int index_type;
  size_t index_size;
};

SharedAccessors AddBuffer(const ExportMesh& mesh, tinygltf::Model& model) {
  const BufferLayout layout = Layout(mesh);
  model.buffers.push_back(FillBuffer(mesh, layout));
  const size_t vertex_count = mesh.Vertices().size();
  SharedAccessors shared;
  shared.positions =
      AddAccessor(model, AddView(model, 0, layout.positions, TINYGLTF_TARGET_ARRAY_BUFFER), 0,
                  vertex_count, TINYGLTF_TYPE_VEC3, TINYGLTF_COMPONENT_TYPE_FLOAT);
  SetPositionBounds(mesh, model.accessors[shared.positions]);
  shared.normals = AddAccessor(
      model, AddView(model, layout.positions, layout.normals, TINYGLTF_TARGET_ARRAY_BUFFER), 0,
      vertex_count, TINYGLTF_TYPE_VEC3, TINYGLTF_COMPONENT_TYPE_FLOAT);
  shared.uvs = AddAccessor(
      model,
      AddView(model, layout.positions + layout.normals, layout.uvs, TINYGLTF_TARGET_ARRAY_BUFFER),
      0, vertex_count, TINYGLTF_TYPE_VEC2, TINYGLTF_COMPONENT_TYPE_FLOAT);
  shared.index_view = AddView(model, layout.positions + layout.normals + layout.uvs, layout.indices,
                              TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER);
  shared.index_size = layout.index_size;
  shared.index_type = layout.index_size == 2 ? TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT
                                             : TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;
  return shared;
}

// One primitive a range of the part.
tinygltf::Mesh PartMesh(const ExportMesh::Part& part, const SharedAccessors& shared,
                        tinygltf::Model& model) {
  tinygltf::Mesh out;
  out.name = part.name;
  for (const ExportMesh::Range& range : part.ranges) {
    tinygltf::Primitive primitive;
    primitive.attributes["POSITION"] = shared.positions;
    primitive.attributes["NORMAL"] = shared.normals;
    primitive.attributes["TEXCOORD_0"] = shared.uvs;
    primitive.indices =
        AddAccessor(model, shared.index_view, 3 * size_t{range.first_triangle} * shared.index_size,
                    3 * size_t{range.triangle_count}, TINYGLTF_TYPE_SCALAR, shared.index_type);
    primitive.material = static_cast<int>(range.material);
    primitive.mode = TINYGLTF_MODE_TRIANGLES;
    out.primitives.push_back(primitive);
  }
  return out;
}

// One mesh and one node a part, all over one buffer.
void AddParts(const ExportMesh& mesh, tinygltf::Model& model, tinygltf::Scene& scene) {
  const SharedAccessors shared = AddBuffer(mesh, model);
  for (const ExportMesh::Material& material : mesh.Materials()) {
    model.materials.push_back(GltfMaterial(material));
  }
  for (const ExportMesh::Part& part : mesh.Parts()) {
    model.meshes.push_back(PartMesh(part, shared, model));
    tinygltf::Node node;
    node.name = part.name;
    node.mesh = static_cast<int>(model.meshes.size() - 1);
    scene.nodes.push_back(static_cast<int>(model.nodes.size()));
    model.nodes.push_back(node);
  }
}

}  // namespace

void WriteGlb(const ExportMesh& mesh, std::ostream& out) {
  tinygltf::Model model;
  model.asset.version = "2.0";
  model.asset.generator = "kly";
  tinygltf::Scene scene;
  scene.name = mesh.Name();
  if (mesh.TriangleCount() > 0) AddParts(mesh, model, scene);
  model.scenes.push_back(scene);
  model.defaultScene = 0;

  tinygltf::TinyGLTF writer;
  writer.WriteGltfSceneToStream(&model, out, false, true);
}

}  // namespace cli
}  // namespace kly
