// Binary STL: an 80-byte header, the triangle count, and per triangle its outward unit normal
// and three corners as 32-bit floats. STL has neither UVs, shared vertices nor materials.
#pragma once

#include <ostream>

#include "cli/writers/export_mesh.h"

namespace kly {
namespace cli {

void WriteStl(const ExportMesh& mesh, std::ostream& out);

}  // namespace cli
}  // namespace kly
