#include "cli/commands/solid_pipeline.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>

#include "cli/runtime/failure_text.h"
#include "cli/runtime/progress.h"
#include "cli/writers/mesh_writer.h"
#include "cli/writers/pending_file.h"

namespace kly {
namespace cli {

namespace {

void CheckSize(const SolidJob& job, const MeshOptions& options) {
  // Each round of subdivision makes four triangles of one.
  const double triangles = job.triangles * std::pow(4.0, options.subdivide_rounds);
  if (triangles > kMaxTriangles) {
    char text[96];
    std::snprintf(text, sizeof text, "would have %.0f triangles, more than the limit of %.0f",
                  triangles, kMaxTriangles);
    throw std::runtime_error("this " + job.name + " " + text +
                             "; use fewer divisions or subdivisions");
  }
}

// Runs one stage under a progress note; a library failure leaves it tagged with the stage.
template <class Body>
void RunStage(const std::string& stage, Body body) {
  StageProgress progress(stage);
  try {
    body();
  } catch (int32_t number) {
    throw LibraryFailure(stage, number);
  }
}

void Write(const KLY_Mesh& mesh, const SolidJob& job, PendingFile& file) {
  if (mesh.GetNumTriangles() == 0) {
    std::fprintf(stderr, "kly: note: '%s' gets no triangles\n", file.Path().c_str());
  }
  MeshDescription description;
  description.name = job.name;
  description.slot_names = job.slot_names;
  RunStage("writing " + file.Path(), [&] { WriteMeshFile(mesh, description, file); });
}

}  // namespace

void RunSolid(KLY_Mesh& solid, const SolidJob& job, const MeshOptions& options) {
  CheckSize(job, options);
  std::unique_ptr<PendingFile> whole;
  std::unique_ptr<PendingFile> front_file;
  std::unique_ptr<PendingFile> back_file;
  if (options.split) {
    front_file = std::make_unique<PendingFile>(TaggedPath(options.output, "front"));
    back_file = std::make_unique<PendingFile>(TaggedPath(options.output, "back"));
  } else {
    whole = std::make_unique<PendingFile>(options.output);
  }

  // Set before the build, so the build's own update computes the face normals (and reports a
  // degenerate triangle as the library does for any faceted mesh).
  solid.SetFacet(options.facet);
  RunStage("building " + job.label, [&] { solid.Update(); });
  for (uint32_t round = 1; round <= options.subdivide_rounds; ++round) {
    RunStage("subdividing, round " + std::to_string(round) + " of " +
                 std::to_string(options.subdivide_rounds),
             [&] { solid.Subdivide(); });
  }
  if (options.weld) RunStage("welding", [&] { solid.Weld(options.weld_tolerance); });
  if (!options.split) {
    Write(solid, job, *whole);
    return;
  }
  KLY_Mesh front;
  KLY_Mesh back;
  RunStage("splitting",
           [&] { KLY_Mesh::SplitMesh(solid, LibraryPlane(options.split_plane), front, back); });
  Write(front, job, *front_file);
  Write(back, job, *back_file);
}

}  // namespace cli
}  // namespace kly
