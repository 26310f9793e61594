// Writes a library mesh in the format the options name: the export stages decide what the file
// holds (export_mesh.h), then one writer encodes it.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "cli/writers/export_mesh.h"
#include "cli/writers/write_options.h"

namespace kly {
namespace cli {

// What was written, for notes and statistics.
struct WriteSummary {
  // Vertices written after sharing (in STL, three a triangle).
  uint32_t vertices = 0;
  uint32_t triangles = 0;
  // Triangles left out for having no area in the file's floats.
  uint32_t dropped_triangles = 0;
  // Library normals that were zero or not finite and were replaced.
  uint32_t repaired_normals = 0;
  // Materials after merging slots of the same colour (none in STL and PLY).
  uint32_t materials = 0;
};

// The format named by the extension of `path`, in any letter case: .glb, .obj, .stl, .ply.
// Throws std::invalid_argument naming the extension and the ones known.
MeshFormat FormatForPath(const std::string& path);

// Encodes `mesh`, as exported with the same `options`, into `out`, committing nothing. An OBJ's
// materials go to `material_library` when it is given, and the OBJ names the library
// `material_library_name` (a name beside it, such as "cube.mtl") in its `mtllib` line; without
// one (writing to stdout) there is no `mtllib` line. The other formats ignore both. Throws
// std::runtime_error when a .glb would pass 4 GiB.
WriteSummary EncodeMesh(const ExportMesh& mesh, const WriteOptions& options, std::ostream& out,
                        std::ostream* material_library, const std::string& material_library_name);

// Exports and encodes in one: also throws std::runtime_error with a one-line reason, without
// the path, for what no file can hold (see ExportMesh).
WriteSummary WriteMeshStreams(const KLY_Mesh& mesh, const MeshDescription& description,
                              const WriteOptions& options, std::ostream& out,
                              std::ostream* material_library,
                              const std::string& material_library_name);

// The path with `tag` before its extension: ("out/cube.glb", "front") -> "out/cube.front.glb".
std::string TaggedPath(const std::string& path, const std::string& tag);

// The material library beside an OBJ: "out/cube.front.obj" -> "out/cube.front.mtl".
std::string MaterialLibraryPath(const std::string& obj_path);

// The file name of a path without its folders, as an OBJ names its material library.
std::string FileName(const std::string& path);

}  // namespace cli
}  // namespace kly
