// glTF 2.0 binary (.glb) through tinygltf: one buffer holding positions, normals, UVs and the
// indices (16-bit where the vertices allow, else 32-bit); one glTF mesh and one node, named
// alike, a part of the mesh (ExportMesh::Parts), each with one primitive a material of the part;
// all primitives share the vertex attributes and the materials; one scene. A mesh without
// triangles is a scene with no nodes, and no buffer.
#pragma once

#include <ostream>

#include "cli/writers/export_mesh.h"

namespace kly {
namespace cli {

// Throws std::runtime_error when the file would pass glTF's 4 GiB limit.
void WriteGlb(const ExportMesh& mesh, std::ostream& out);

}  // namespace cli
}  // namespace kly
