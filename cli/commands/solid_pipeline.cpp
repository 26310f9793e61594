#include "cli/commands/solid_pipeline.h"

#include <chrono>
#include <cmath>
#include <memory>
#include <stdexcept>

#include "cli/runtime/count_text.h"
#include "cli/runtime/failure_text.h"
#include "cli/runtime/mesh_stats.h"
#include "cli/runtime/notes.h"
#include "cli/runtime/progress.h"
#include "cli/runtime/stats_report.h"
#include "cli/writers/export_mesh.h"
#include "cli/writers/mesh_writer.h"
#include "cli/writers/pending_file.h"

namespace kly {
namespace cli {

namespace {

using Clock = std::chrono::steady_clock;

// One mesh's file, and for an OBJ the material library beside it.
struct OutputFile {
  std::unique_ptr<PendingFile> mesh;
  std::unique_ptr<PendingFile> materials;
};

void CheckSize(const SolidJob& job, const MeshOptions& options) {
  // Each round of subdivision makes four triangles of one; with at most 12 rounds the product
  // stays far inside a double.
  const double triangles = job.triangles * std::pow(4.0, options.subdivide_rounds);
  if (triangles > kMaxTriangles) {
    throw std::runtime_error("this " + job.name + " would have " + CountText(triangles) +
                             " triangles, more than the limit of " + CountText(kMaxTriangles) +
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

OutputFile CreateOutput(const std::string& path, const WriteOptions& write) {
  OutputFile file;
  file.mesh = std::make_unique<PendingFile>(path);
  if (write.format == MeshFormat::kObj && path != kStandardOutput) {
    file.materials = std::make_unique<PendingFile>(MaterialLibraryPath(path));
  }
  return file;
}

std::vector<OutputFile> CreateOutputs(const SolidOptions& options) {
  const std::string& path = options.output.path;
  std::vector<OutputFile> files;
  if (options.mesh.split) {
    files.push_back(CreateOutput(TaggedPath(path, "front"), options.output.write));
    files.push_back(CreateOutput(TaggedPath(path, "back"), options.output.write));
  } else {
    files.push_back(CreateOutput(path, options.output.write));
  }
  return files;
}

MeshStats Encode(const KLY_Mesh& mesh, const SolidJob& job, const SolidOptions& options,
                 OutputFile& file) {
  const WriteOptions& write = options.output.write;
  const std::string& path = file.mesh->Path();
  MeshStats stats;
  RunStage("writing " + (path == kStandardOutput ? "standard output" : path), [&] {
    try {
      const ExportMesh exported(
          mesh,
          MeshDescription{job.name, job.slot_names, job.size_options, job.slot_colors, job.parts},
          write);
      std::ostream* materials = file.materials ? &file.materials->Stream() : nullptr;
      const std::string library = file.materials ? FileName(file.materials->Path()) : "";
      const WriteSummary summary =
          EncodeMesh(exported, write, file.mesh->Stream(), materials, library);
      stats = WrittenCounts(path, summary);
      if (options.report.stats != StatsForm::kNone) MeasureShape(exported, stats);
    } catch (const std::runtime_error& e) {
      throw std::runtime_error("cannot write " + ShownPath(path) + ": " + e.what());
    }
  });
  return stats;
}

void CommitAll(std::vector<OutputFile>& files) {
  std::vector<PendingFile*> pending;
  for (OutputFile& file : files) {
    pending.push_back(file.mesh.get());
    if (file.materials) pending.push_back(file.materials.get());
  }
  PendingFile::CommitTogether(pending);
}

void Build(KLY_Mesh& solid, const SolidJob& job, const MeshOptions& options,
           const std::function<void()>& build) {
  RunStage("building " + job.label, build);
  for (uint32_t round = 1; round <= options.subdivide_rounds; ++round) {
    RunStage("subdividing, round " + std::to_string(round) + " of " +
                 std::to_string(options.subdivide_rounds),
             [&] { solid.Subdivide(); });
  }
  if (options.weld) RunStage("welding", [&] { solid.Weld(options.weld_tolerance); });
}

std::vector<MeshStats> BuildAndEncode(KLY_Mesh& solid, const SolidJob& job,
                                      const SolidOptions& options, std::vector<OutputFile>& files,
                                      const std::function<void()>& build) {
  Build(solid, job, options.mesh, build);
  if (!options.mesh.split) return {Encode(solid, job, options, files[0])};
  KLY_Mesh front;
  KLY_Mesh back;
  RunStage("splitting", [&] {
    KLY_Mesh::SplitMesh(solid, LibraryPlane(options.mesh.split_plane), front, back);
  });
  return {Encode(front, job, options, files[0]), Encode(back, job, options, files[1])};
}

}  // namespace

void RunSolid(KLY_Mesh& solid, const SolidJob& job, SolidOptions& options) {
  RunMeshJob(solid, job, options, [&solid] { solid.Update(); });
}

void RunMeshJob(KLY_Mesh& solid, const SolidJob& job, SolidOptions& options,
                const std::function<void()>& build) {
  SettleSolidOptions(options);
  SetQuiet(options.report.quiet);
  const Clock::time_point start = Clock::now();
  CheckSize(job, options.mesh);
  std::vector<OutputFile> files = CreateOutputs(options);
  const std::vector<MeshStats> stats = BuildAndEncode(solid, job, options, files, build);
  CommitAll(files);
  // Warnings and notes come after the commit, so that a failure stays the run's only line.
  for (const std::string& warning : job.warnings) Warn(warning);
  for (const MeshStats& file : stats) {
    if (file.triangles == 0) Note(ShownPath(file.path) + " gets no triangles");
  }
  if (options.report.stats != StatsForm::kNone) {
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    PrintStats(stats, seconds, options.report.stats);
  }
}

}  // namespace cli
}  // namespace kly
