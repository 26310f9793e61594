#include "cli/writers/ply_writer.h"

#include "cli/writers/binary_output.h"
#include "cli/writers/text_output.h"

namespace kly {
namespace cli {

namespace {

std::string Header(const ExportMesh& mesh, bool ascii) {
  return std::string("ply\n") +
         (ascii ? "format ascii 1.0\n" : "format binary_little_endian 1.0\n") + "comment " +
         mesh.Name() +
         ", written by kly: +Y up, +Z toward the viewer, counter-clockwise front faces\n"
         "element vertex " +
         std::to_string(mesh.Vertices().size()) +
         "\n"
         "property float x\nproperty float y\nproperty float z\n"
         "property float nx\nproperty float ny\nproperty float nz\n"
         "property float s\nproperty float t\n"
         "element face " +
         std::to_string(mesh.TriangleCount()) +
         "\n"
         "property list uchar uint vertex_indices\n"
         "end_header\n";
}

// PLY's t counts up from the bottom of the image.
Float2 PlyUv(const FileVertex& vertex) {
  return Float2{vertex.uv[0], FileFloat(1.0 - vertex.uv[1])};
}

void WriteBinaryPly(const ExportMesh& mesh, std::ostream& out) {
  BinaryOutput bytes(out);
  bytes.Text(Header(mesh, false));
  for (const FileVertex& vertex : mesh.Vertices()) {
    bytes.F32s(vertex.position);
    bytes.F32s(vertex.normal);
    bytes.F32s(PlyUv(vertex));
  }
  const std::vector<uint32_t>& indices = mesh.Indices();
  for (size_t i = 0; i < indices.size(); i += 3) {
    bytes.U8(3);
    bytes.U32(indices[i]);
    bytes.U32(indices[i + 1]);
    bytes.U32(indices[i + 2]);
  }
}

void WriteAsciiPly(const ExportMesh& mesh, std::ostream& out) {
  TextOutput text(out);
  text << Header(mesh, true);
  for (const FileVertex& vertex : mesh.Vertices()) {
    text << vertex.position[0] << " " << vertex.position[1] << " " << vertex.position[2];
    text.Floats(vertex.normal).Floats(PlyUv(vertex)).EndLine();
  }
  const std::vector<uint32_t>& indices = mesh.Indices();
  for (size_t i = 0; i < indices.size(); i += 3) {
    text << "3 " << indices[i] << " " << indices[i + 1] << " " << indices[i + 2];
    text.EndLine();
  }
}

}  // namespace

void WritePly(const ExportMesh& mesh, bool ascii, std::ostream& out) {
  if (ascii) {
    WriteAsciiPly(mesh, out);
  } else {
    WriteBinaryPly(mesh, out);
  }
}

}  // namespace cli
}  // namespace kly
