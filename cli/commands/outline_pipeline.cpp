#include "cli/commands/outline_pipeline.h"

namespace kly {
namespace cli {

void RunOutlines(KLY_Geometry& collection, double output_per_build, const SolidJob& job,
                 SolidOptions& options) {
  KLY_Mesh mesh;
  RunMeshJob(mesh, job, options, [&] {
    collection.Update();
    // Four materials an element, in element order.
    collection.CollapseArrayToSingleElement(&mesh);
    const double k = output_per_build;
    mesh.Transform(ORT_Matrix4{{{k, 0, 0, 0}, {0, k, 0, 0}, {0, 0, k, 0}, {0, 0, 0, 1}}}, &mesh);
  });
}

}  // namespace cli
}  // namespace kly
