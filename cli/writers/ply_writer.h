// PLY, binary little-endian: per vertex x y z nx ny nz s t as 32-bit floats (t = 1 - V, so it
// runs up the image), per face a list of three 32-bit indices. Material slots are not kept.
#pragma once

#include <ostream>

#include "cli/writers/export_mesh.h"

namespace kly {
namespace cli {

void WritePly(const ExportMesh& mesh, std::ostream& out);

}  // namespace cli
}  // namespace kly
