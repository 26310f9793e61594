// PLY, binary little-endian or ASCII: one vertex element of positions, normals and UVs (`s`,
// `t`, with V up), and one face element of index triples; no materials.
#pragma once

#include <ostream>

#include "cli/writers/export_mesh.h"

namespace kly {
namespace cli {

void WritePly(const ExportMesh& mesh, bool ascii, std::ostream& out);

}  // namespace cli
}  // namespace kly
