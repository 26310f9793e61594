#include "cli/writers/ply_writer.h"

#include "cli/writers/binary_output.h"

namespace kly {
namespace cli {

void WritePly(const ExportMesh& mesh, std::ostream& out) {
  BinaryOutput bytes(out);
  bytes.Text(
      "ply\n"
      "format binary_little_endian 1.0\n"
      "comment " +
      mesh.Name() +
      ", written by kly: +Y up, +Z toward the viewer, counter-clockwise front faces\n"
      "element vertex " +
      std::to_string(mesh.VertexCount()) +
      "\n"
      "property float x\nproperty float y\nproperty float z\n"
      "property float nx\nproperty float ny\nproperty float nz\n"
      "property float s\nproperty float t\n"
      "element face " +
      std::to_string(mesh.TriangleCount()) +
      "\n"
      "property list uchar uint vertex_indices\n"
      "end_header\n");
  for (uint32_t v = 0; v < mesh.VertexCount(); ++v) {
    const ORT_Vector3T<double> p = mesh.Position(v);
    const ORT_Vector3T<double> n = mesh.Normal(v);
    const ORT_Vector2T<double> uv = mesh.Uv(v);
    bytes.F32(p.x);
    bytes.F32(p.y);
    bytes.F32(p.z);
    bytes.F32(n.x);
    bytes.F32(n.y);
    bytes.F32(n.z);
    bytes.F32(uv.x);
    bytes.F32(1.0 - uv.y);
  }
  for (const ExportMesh::Group& group : mesh.Groups()) {
    for (size_t i = 0; i < group.indices.size(); i += 3) {
      bytes.U8(3);
      bytes.U32(group.indices[i]);
      bytes.U32(group.indices[i + 1]);
      bytes.U32(group.indices[i + 2]);
    }
  }
}

}  // namespace cli
}  // namespace kly
