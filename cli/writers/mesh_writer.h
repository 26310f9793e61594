// Picks a writer by the output's extension and writes a mesh through it, all or nothing.
#pragma once

#include <ostream>
#include <string>

#include "cli/writers/export_mesh.h"
#include "cli/writers/pending_file.h"

namespace kly {
namespace cli {

enum class MeshFormat { kGlb, kObj, kStl, kPly };

// The format named by the extension of `path`, in any letter case: .glb, .obj, .stl, .ply.
// Throws std::invalid_argument naming the extension and the ones known.
MeshFormat FormatForPath(const std::string& path);

// Writes `mesh` in `format` to `out`.
void WriteMesh(const ExportMesh& mesh, MeshFormat format, std::ostream& out);

// Writes `mesh` into `file` in the format of its path and commits it. Every
// std::runtime_error leaves as "cannot write '<path>': <reason>"; a library failure number
// (4363 for a degenerate triangle of a faceted mesh) passes as it is.
void WriteMeshFile(const KLY_Mesh& mesh, const MeshDescription& description, PendingFile& file);

// The path with `tag` before its extension: ("out/cube.glb", "front") -> "out/cube.front.glb".
std::string TaggedPath(const std::string& path, const std::string& tag);

}  // namespace cli
}  // namespace kly
