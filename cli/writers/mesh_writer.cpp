#include "cli/writers/mesh_writer.h"

#include <cctype>
#include <stdexcept>

#include "cli/writers/glb_writer.h"
#include "cli/writers/mtl_writer.h"
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

WriteSummary Summary(const ExportMesh& mesh, MeshFormat format) {
  WriteSummary summary;
  summary.triangles = mesh.TriangleCount();
  summary.vertices = format == MeshFormat::kStl ? 3 * summary.triangles
                                                : static_cast<uint32_t>(mesh.Vertices().size());
  summary.dropped_triangles = mesh.DroppedTriangles();
  summary.repaired_normals = mesh.RepairedNormals();
  const bool has_materials = format == MeshFormat::kGlb || format == MeshFormat::kObj;
  summary.materials = has_materials ? static_cast<uint32_t>(mesh.Materials().size()) : 0;
  return summary;
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

WriteSummary EncodeMesh(const ExportMesh& file_mesh, const WriteOptions& options, std::ostream& out,
                        std::ostream* material_library, const std::string& material_library_name) {
  switch (options.format) {
    case MeshFormat::kGlb:
      WriteGlb(file_mesh, out);
      break;
    case MeshFormat::kObj:
      WriteObj(file_mesh, material_library ? material_library_name : "", out);
      if (material_library) WriteMtl(file_mesh, *material_library);
      break;
    case MeshFormat::kStl:
      WriteStl(file_mesh, options.ascii, out);
      break;
    case MeshFormat::kPly:
      WritePly(file_mesh, options.ascii, out);
      break;
  }
  return Summary(file_mesh, options.format);
}

WriteSummary WriteMeshStreams(const KLY_Mesh& mesh, const MeshDescription& description,
                              const WriteOptions& options, std::ostream& out,
                              std::ostream* material_library,
                              const std::string& material_library_name) {
  return EncodeMesh(ExportMesh(mesh, description, options), options, out, material_library,
                    material_library_name);
}

std::string TaggedPath(const std::string& path, const std::string& tag) {
  const size_t dot = ExtensionDot(path);
  if (dot == std::string::npos) return path + "." + tag;
  return path.substr(0, dot) + "." + tag + path.substr(dot);
}

std::string MaterialLibraryPath(const std::string& obj_path) {
  const size_t dot = ExtensionDot(obj_path);
  return (dot == std::string::npos ? obj_path : obj_path.substr(0, dot)) + ".mtl";
}

std::string FileName(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace cli
}  // namespace kly
