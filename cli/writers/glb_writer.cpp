#include "cli/writers/glb_writer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

#include <tiny_gltf.h>

namespace kly {
namespace cli {

namespace {

// glTF has no double attributes: positions, normals and UVs are 32-bit floats.
void PutFloat(unsigned char*& cursor, double value) {
  const float f = static_cast<float>(value);
  std::memcpy(cursor, &f, sizeof f);
  cursor += sizeof f;
}

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

tinygltf::Material SlotMaterial(const std::string& name) {
  // The library's material records hold a renderer's values with no glTF meaning; each slot
  // gets a plain light grey, non-metallic and one-sided, so that a wrong winding would show.
  tinygltf::Material material;
  material.name = name;
  material.pbrMetallicRoughness.baseColorFactor = {0.8, 0.8, 0.8, 1.0};
  material.pbrMetallicRoughness.metallicFactor = 0.0;
  material.pbrMetallicRoughness.roughnessFactor = 0.6;
  material.doubleSided = false;
  return material;
}

}  // namespace

void WriteGlb(const ExportMesh& mesh, std::ostream& out) {
  tinygltf::Model model;
  model.asset.version = "2.0";
  model.asset.generator = "kly";
  for (uint32_t slot = 0; slot < mesh.SlotCount(); ++slot) {
    model.materials.push_back(SlotMaterial(mesh.SlotName(slot)));
  }
  tinygltf::Scene scene;
  scene.name = mesh.Name();

  const size_t vertex_count = mesh.VertexCount();
  if (vertex_count > 0) {
    const size_t position_bytes = vertex_count * 12;
    const size_t normal_bytes = vertex_count * 12;
    const size_t uv_bytes = vertex_count * 8;
    const size_t index_bytes = static_cast<size_t>(mesh.TriangleCount()) * 12;
    const size_t total = position_bytes + normal_bytes + uv_bytes + index_bytes;
    // The binary chunk and the whole file carry 32-bit lengths; keep room for the JSON.
    if (total > std::numeric_limits<uint32_t>::max() - (1u << 20)) {
      throw std::runtime_error("the mesh is too large for a .glb file (4 GiB at most)");
    }

    tinygltf::Buffer buffer;
    buffer.data.resize(total);
    unsigned char* cursor = buffer.data.data();
    double min[3] = {std::numeric_limits<double>::max(), std::numeric_limits<double>::max(),
                     std::numeric_limits<double>::max()};
    double max[3] = {std::numeric_limits<double>::lowest(), std::numeric_limits<double>::lowest(),
                     std::numeric_limits<double>::lowest()};
    for (uint32_t v = 0; v < vertex_count; ++v) {
      const ORT_Vector3T<double> p = mesh.Position(v);
      const double c[3] = {p.x, p.y, p.z};
      for (int k = 0; k < 3; ++k) {
        // The bounds are those of the stored floats, as glTF validators compute them.
        const double stored = static_cast<float>(c[k]);
        min[k] = std::min(min[k], stored);
        max[k] = std::max(max[k], stored);
        PutFloat(cursor, c[k]);
      }
    }
    for (uint32_t v = 0; v < vertex_count; ++v) {
      const ORT_Vector3T<double> n = mesh.Normal(v);
      PutFloat(cursor, n.x);
      PutFloat(cursor, n.y);
      PutFloat(cursor, n.z);
    }
    for (uint32_t v = 0; v < vertex_count; ++v) {
      const ORT_Vector2T<double> uv = mesh.Uv(v);
      PutFloat(cursor, uv.x);
      PutFloat(cursor, uv.y);
    }
    for (const ExportMesh::Group& group : mesh.Groups()) {
      std::memcpy(cursor, group.indices.data(), group.indices.size() * sizeof(uint32_t));
      cursor += group.indices.size() * sizeof(uint32_t);
    }
    model.buffers.push_back(std::move(buffer));

    const int positions =
        AddAccessor(model, AddView(model, 0, position_bytes, TINYGLTF_TARGET_ARRAY_BUFFER), 0,
                    vertex_count, TINYGLTF_TYPE_VEC3, TINYGLTF_COMPONENT_TYPE_FLOAT);
    model.accessors[positions].minValues.assign(min, min + 3);
    model.accessors[positions].maxValues.assign(max, max + 3);
    const int normals = AddAccessor(
        model, AddView(model, position_bytes, normal_bytes, TINYGLTF_TARGET_ARRAY_BUFFER), 0,
        vertex_count, TINYGLTF_TYPE_VEC3, TINYGLTF_COMPONENT_TYPE_FLOAT);
    const int uvs = AddAccessor(
        model,
        AddView(model, position_bytes + normal_bytes, uv_bytes, TINYGLTF_TARGET_ARRAY_BUFFER), 0,
        vertex_count, TINYGLTF_TYPE_VEC2, TINYGLTF_COMPONENT_TYPE_FLOAT);
    const int index_view = AddView(model, position_bytes + normal_bytes + uv_bytes, index_bytes,
                                   TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER);

    tinygltf::Mesh gltf_mesh;
    gltf_mesh.name = mesh.Name();
    size_t index_offset = 0;
    for (const ExportMesh::Group& group : mesh.Groups()) {
      tinygltf::Primitive primitive;
      primitive.attributes["POSITION"] = positions;
      primitive.attributes["NORMAL"] = normals;
      primitive.attributes["TEXCOORD_0"] = uvs;
      primitive.indices = AddAccessor(model, index_view, index_offset, group.indices.size(),
                                      TINYGLTF_TYPE_SCALAR, TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT);
      primitive.material = static_cast<int>(group.slot);
      primitive.mode = TINYGLTF_MODE_TRIANGLES;
      gltf_mesh.primitives.push_back(primitive);
      index_offset += group.indices.size() * sizeof(uint32_t);
    }
    model.meshes.push_back(gltf_mesh);

    tinygltf::Node node;
    node.name = mesh.Name();
    node.mesh = 0;
    model.nodes.push_back(node);
    scene.nodes.push_back(0);
  }
  model.scenes.push_back(scene);
  model.defaultScene = 0;

  tinygltf::TinyGLTF writer;
  writer.WriteGltfSceneToStream(&model, out, false, true);
}

}  // namespace cli
}  // namespace kly
