// The material library beside an OBJ file: one `newmtl` a material of the mesh, with its colour
// as Kd.
#pragma once

#include <ostream>

#include "cli/writers/export_mesh.h"

namespace kly {
namespace cli {

void WriteMtl(const ExportMesh& mesh, std::ostream& out);

}  // namespace cli
}  // namespace kly
