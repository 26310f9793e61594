// Wavefront OBJ, text: positions, UVs (V up) and normals, one of each a shared vertex, then an
// object (`o <name>`) a part of the mesh with its faces grouped by `usemtl <material>`.
#pragma once

#include <ostream>
#include <string>

#include "cli/writers/export_mesh.h"

namespace kly {
namespace cli {

// `material_library` names the .mtl beside the file in a `mtllib` line; empty writes none.
void WriteObj(const ExportMesh& mesh, const std::string& material_library, std::ostream& out);

}  // namespace cli
}  // namespace kly
