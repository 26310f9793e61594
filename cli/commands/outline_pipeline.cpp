#include "cli/commands/outline_pipeline.h"

#include "cli/commands/melt_collection.h"

namespace kly {
namespace cli {

void RunOutlines(KLY_Geometry& collection, double output_per_build, const SolidJob& job,
                 SolidOptions& options) {
  KLY_Mesh mesh;
  RunMeshJob(mesh, job, options, [&] {
    collection.Update();
    MeltCollection(collection, output_per_build, mesh);
  });
}

}  // namespace cli
}  // namespace kly
