// A built text or drawing as one mesh in output units.
#pragma once

#include "kly/core/geometry.h"
#include "kly/mesh/mesh.h"

namespace kly {
namespace cli {

// `mesh` becomes the collection's elements melted together (four materials an element, in
// element order), scaled by `output_per_build` on every axis from the units the collection was
// built in.
void MeltCollection(const KLY_Geometry& collection, double output_per_build, KLY_Mesh& mesh);

}  // namespace cli
}  // namespace kly
