#include "cli/writers/obj_writer.h"

#include "cli/writers/text_output.h"

namespace kly {
namespace cli {

namespace {

void WriteFaces(const ExportMesh& mesh, const ExportMesh::Range& range, TextOutput& text) {
  text << "usemtl " << mesh.Materials()[range.material].name;
  text.EndLine();
  const std::vector<uint32_t>& indices = mesh.Indices();
  const size_t end = 3 * (size_t{range.first_triangle} + range.triangle_count);
  for (size_t i = 3 * size_t{range.first_triangle}; i < end; i += 3) {
    text << "f";
    for (size_t k = 0; k < 3; ++k) {
      // OBJ counts from 1; position, UV and normal share the index.
      const uint32_t index = indices[i + k] + 1;
      text << " " << index << "/" << index << "/" << index;
    }
    text.EndLine();
  }
}

}  // namespace

void WriteObj(const ExportMesh& mesh, const std::string& material_library, std::ostream& out) {
  TextOutput text(out);
  text << "# " << mesh.Name() << ", written by kly: +Y up, +Z toward the viewer, "
       << "counter-clockwise front faces";
  text.EndLine();
  if (!material_library.empty()) {
    text << "mtllib " << material_library;
    text.EndLine();
  }
  for (const FileVertex& vertex : mesh.Vertices()) {
    text << "v";
    text.Floats(vertex.position).EndLine();
  }
  for (const FileVertex& vertex : mesh.Vertices()) {
    text << "vt " << vertex.uv[0] << " " << FileFloat(1.0 - vertex.uv[1]);
    text.EndLine();
  }
  for (const FileVertex& vertex : mesh.Vertices()) {
    text << "vn";
    text.Floats(vertex.normal).EndLine();
  }
  for (const ExportMesh::Part& part : mesh.Parts()) {
    text << "o " << part.name;
    text.EndLine();
    for (const ExportMesh::Range& range : part.ranges) WriteFaces(mesh, range, text);
  }
}

}  // namespace cli
}  // namespace kly
