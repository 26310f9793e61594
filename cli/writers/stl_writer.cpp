#include "cli/writers/stl_writer.h"

#include <string>

#include "cli/writers/binary_output.h"
#include "cli/writers/text_output.h"

namespace kly {
namespace cli {

namespace {

constexpr size_t kHeaderSize = 80;

void WriteBinaryStl(const ExportMesh& mesh, std::ostream& out) {
  BinaryOutput bytes(out);
  // Not "solid ...": readers take a header that starts so for the text form.
  std::string header = "kly " + mesh.Name() + ": +Y up, +Z toward the viewer";
  header.resize(kHeaderSize, ' ');
  bytes.Text(header);
  bytes.U32(mesh.TriangleCount());
  const std::vector<FileVertex>& vertices = mesh.Vertices();
  const std::vector<uint32_t>& indices = mesh.Indices();
  for (uint32_t t = 0; t < mesh.TriangleCount(); ++t) {
    bytes.F32s(mesh.FaceNormals()[t]);
    for (size_t k = 0; k < 3; ++k) bytes.F32s(vertices[indices[3 * t + k]].position);
    bytes.U16(0);
  }
}

void WriteAsciiStl(const ExportMesh& mesh, std::ostream& out) {
  TextOutput text(out);
  text << "solid " << mesh.Name();
  text.EndLine();
  const std::vector<FileVertex>& vertices = mesh.Vertices();
  const std::vector<uint32_t>& indices = mesh.Indices();
  for (uint32_t t = 0; t < mesh.TriangleCount(); ++t) {
    text << "  facet normal";
    text.Floats(mesh.FaceNormals()[t]).EndLine();
    text << "    outer loop";
    text.EndLine();
    for (size_t k = 0; k < 3; ++k) {
      text << "      vertex";
      text.Floats(vertices[indices[3 * t + k]].position).EndLine();
    }
    text << "    endloop";
    text.EndLine();
    text << "  endfacet";
    text.EndLine();
  }
  text << "endsolid " << mesh.Name();
  text.EndLine();
}

}  // namespace

void WriteStl(const ExportMesh& mesh, bool ascii, std::ostream& out) {
  if (ascii) {
    WriteAsciiStl(mesh, out);
  } else {
    WriteBinaryStl(mesh, out);
  }
}

}  // namespace cli
}  // namespace kly
