// glTF 2.0 binary (.glb) through tinygltf: one buffer holding positions, normals, UVs and the
// indices; one primitive a non-empty material slot, all sharing the vertex attributes; one
// material a slot; one node and one scene. A mesh without triangles is a scene with no nodes.
#pragma once

#include <ostream>

#include "cli/writers/export_mesh.h"

namespace kly {
namespace cli {

// Throws std::runtime_error when the file would pass glTF's 4 GiB limit.
void WriteGlb(const ExportMesh& mesh, std::ostream& out);

}  // namespace cli
}  // namespace kly
