// STL: triangles with their outward face normals; no UVs, no materials. Binary (an 80-byte
// header, a count and 50 bytes a triangle) or ASCII (`solid`, `facet normal`, `outer loop`).
#pragma once

#include <ostream>

#include "cli/writers/export_mesh.h"

namespace kly {
namespace cli {

void WriteStl(const ExportMesh& mesh, bool ascii, std::ostream& out);

}  // namespace cli
}  // namespace kly
