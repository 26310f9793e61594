#include "cli/commands/melt_collection.h"

namespace kly {
namespace cli {

void MeltCollection(const KLY_Geometry& collection, double output_per_build, KLY_Mesh& mesh) {
  collection.CollapseArrayToSingleElement(&mesh);
  const double k = output_per_build;
  mesh.Transform(ORT_Matrix4{{{k, 0, 0, 0}, {0, k, 0, 0}, {0, 0, k, 0}, {0, 0, 0, 1}}}, &mesh);
}

}  // namespace cli
}  // namespace kly
