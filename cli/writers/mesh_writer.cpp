#include "cli/writers/mesh_writer.h"

#include <cctype>
#include <stdexcept>

#include "cli/writers/glb_writer.h"
#include "cli/writers/obj_writer.h"
#include "cli/writers/ply_writer.h"
#include "cli/writers/stl_writer.h"

namespace kly {
namespace cli {

namespace {

// Where the extension's dot stands, or npos when the file name has none.
size_t ExtensionDot(const std::string& path) {
  const size_t name_start = path.rfind('/') == std::string::npos ? 0 : path.rfind('/') + 1;
  const size_t dot = path.rfind('.');
  // A leading dot starts a hidden name, not an extension.
  if (dot == std::string::npos || dot <= name_start) return std::string::npos;
  return dot;
}

}  // namespace

MeshFormat FormatForPath(const std::string& path) {
  const size_t dot = ExtensionDot(path);
  std::string extension = dot == std::string::npos ? "" : path.substr(dot);
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (extension == ".glb") return MeshFormat::kGlb;
  if (extension == ".obj") return MeshFormat::kObj;
  if (extension == ".stl") return MeshFormat::kStl;
  if (extension == ".ply") return MeshFormat::kPly;
  const std::string shown = extension.empty() ? "no extension" : "'" + extension + "'";
  throw std::invalid_argument("'" + path + "' has " + shown + "; use .glb, .obj, .stl or .ply");
}

void WriteMesh(const ExportMesh& mesh, MeshFormat format, std::ostream& out) {
  switch (format) {
    case MeshFormat::kGlb:
      WriteGlb(mesh, out);
      return;
    case MeshFormat::kObj:
      WriteObj(mesh, out);
      return;
    case MeshFormat::kStl:
      WriteStl(mesh, out);
      return;
    case MeshFormat::kPly:
      WritePly(mesh, out);
      return;
  }
}

void WriteMeshFile(const KLY_Mesh& mesh, const MeshDescription& description, PendingFile& file) {
  const MeshFormat format = FormatForPath(file.Path());
  try {
    WriteMesh(ExportMesh(mesh, description), format, file.Stream());
  } catch (const std::runtime_error& e) {
    throw std::runtime_error("cannot write '" + file.Path() + "': " + e.what());
  }
  file.Commit();
}

std::string TaggedPath(const std::string& path, const std::string& tag) {
  const size_t dot = ExtensionDot(path);
  if (dot == std::string::npos) return path + "." + tag;
  return path.substr(0, dot) + "." + tag + path.substr(dot);
}

}  // namespace cli
}  // namespace kly
