// glTF 2.0 binary (.glb) through tinygltf: one buffer holding positions, normals, UVs and the
// indices (16-bit where the vertices allow, else 32-bit); one primitive a material, all sharing
// the vertex attributes; one node and one scene. A mesh without triangles is a scene with no
// nodes, and no buffer.
#pragma once

#include <ostream>

#include "cli/writers/export_mesh.h"

namespace kly {
namespace cli {

// Throws std::runtime_error when the file would pass glTF's 4 GiB limit.
void WriteGlb(const ExportMesh& mesh, std::ostream& out);

}  // namespace cli
}  // namespace kly
