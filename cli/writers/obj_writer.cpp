#include "cli/writers/obj_writer.h"

#include <charconv>
#include <string>

namespace kly {
namespace cli {

namespace {

// Lines gather in a buffer that goes to the stream in large pieces: a stream write a number
// would be far slower on meshes of millions of vertices.
class LineBuffer {
 public:
  explicit LineBuffer(std::ostream& out) : out_(out) { text_.reserve(kFlushSize + 256); }
  ~LineBuffer() { Flush(); }

  LineBuffer& operator<<(const char* text) {
    text_ += text;
    return *this;
  }
  LineBuffer& operator<<(const std::string& text) {
    text_ += text;
    return *this;
  }
  // Floats in their shortest exact form: the values are 32-bit like every other format's.
  LineBuffer& Number(double value) {
    char digits[32];
    const auto result = std::to_chars(digits, digits + sizeof digits, static_cast<float>(value));
    text_.append(digits, result.ptr);
    return *this;
  }
  LineBuffer& Index(uint32_t value) {
    char digits[16];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    text_.append(digits, result.ptr);
    return *this;
  }
  void EndLine() {
    text_ += '\n';
    if (text_.size() >= kFlushSize) Flush();
  }

 private:
  static constexpr size_t kFlushSize = 1 << 20;
  void Flush() {
    out_.write(text_.data(), static_cast<std::streamsize>(text_.size()));
    text_.clear();
  }

  std::ostream& out_;
  std::string text_;
};

}  // namespace

void WriteObj(const ExportMesh& mesh, std::ostream& out) {
  LineBuffer lines(out);
  lines << "# " << mesh.Name() << ", written by kly: +Y up, +Z toward the viewer, "
        << "counter-clockwise front faces";
  lines.EndLine();
  lines << "o " << mesh.Name();
  lines.EndLine();
  for (uint32_t v = 0; v < mesh.VertexCount(); ++v) {
    const ORT_Vector3T<double> p = mesh.Position(v);
    lines << "v ";
    lines.Number(p.x) << " ";
    lines.Number(p.y) << " ";
    lines.Number(p.z);
    lines.EndLine();
  }
  for (uint32_t v = 0; v < mesh.VertexCount(); ++v) {
    const ORT_Vector2T<double> uv = mesh.Uv(v);
    lines << "vt ";
    lines.Number(uv.x) << " ";
    lines.Number(1.0 - uv.y);
    lines.EndLine();
  }
  for (uint32_t v = 0; v < mesh.VertexCount(); ++v) {
    const ORT_Vector3T<double> n = mesh.Normal(v);
    lines << "vn ";
    lines.Number(n.x) << " ";
    lines.Number(n.y) << " ";
    lines.Number(n.z);
    lines.EndLine();
  }
  for (const ExportMesh::Group& group : mesh.Groups()) {
    lines << "usemtl " << mesh.SlotName(group.slot);
    lines.EndLine();
    for (size_t i = 0; i < group.indices.size(); i += 3) {
      lines << "f";
      for (size_t k = 0; k < 3; ++k) {
        // OBJ counts from 1; position, UV and normal share the index.
        const uint32_t index = group.indices[i + k] + 1;
        lines << " ";
        lines.Index(index) << "/";
        lines.Index(index) << "/";
        lines.Index(index);
      }
      lines.EndLine();
    }
  }
}

}  // namespace cli
}  // namespace kly
