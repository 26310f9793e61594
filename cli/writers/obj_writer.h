// Wavefront OBJ: v, vt (V flipped to run up the image), vn, then one `usemtl` block of faces a
// non-empty material slot. No .mtl file is written: the names only group the faces.
#pragma once

#include <ostream>

#include "cli/writers/export_mesh.h"

namespace kly {
namespace cli {

void WriteObj(const ExportMesh& mesh, std::ostream& out);

}  // namespace cli
}  // namespace kly
