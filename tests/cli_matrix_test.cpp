// The command line over a matrix of solids, formats and mesh options. Every valid run must
// succeed and every file it writes must pass a checker that reads the formats on its own; every
// invalid run must fail with one line on stderr and the right exit code, writing nothing. With
// KLY_GLB_DIR set, every .glb written is also copied there for the glTF validator.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "tests/testing/cli_runner.h"
#include "tests/testing/mesh_file_check.h"

namespace {

namespace fs = std::filesystem;
using kly::testing::CheckMeshFile;
using kly::testing::CliFixture;
using kly::testing::Joined;
using kly::testing::Outcome;
using kly::testing::WrittenFile;
using Args = std::vector<std::string>;

// A solid's options, with its triangle count where the rules give it.
struct Solid {
  Args args;
  std::optional<size_t> triangles;
  // Features finer than --weld's 1e-5 (a cone's tip of radius 1e-5), which a weld may collapse.
  bool finer_than_weld = false;
};

// How a run writes: the format, --ascii, and standard output instead of a file.
struct Output {
  std::string extension;
  bool ascii = false;
  bool to_stdout = false;
};

// A mesh option set; `rounds` of --subdivide multiply the triangles by 4 each.
struct MeshOptions {
  Args args;
  int rounds = 0;
  bool split = false;
  bool color = false;  // --color for the solid's slot
  bool weld = false;
};

struct Command {
  std::string name;
  std::string slot;
  std::vector<Solid> solids;
};

// Counts: a cube of N divisions has 6 faces of N * N quads, 12 N^2 triangles; a plane 2 X Y.
// A cylinder of R radial and H height divisions has 2 R H wall triangles and two convex R-gon
// caps of R - 2 each; at height 0 its walls have no area and are left out. A sphere's count is
// the library's own, so only the checker's rules apply to it.
const std::vector<Command> kCommands = {
    {"cube",
     "top",
     {{{"--divisions", "1"}, 12},
      {{"--divisions", "2", "--dimensions", "1,2,3"}, 48},
      {{"--divisions", "1", "--dimensions", "-1,1,1"}, 12}}},
    {"sphere",
     "surface",
     {{{"--subdivisions", "1"}, std::nullopt},
      {{"--subdivisions", "2", "--radius", "0,1,1"}, std::nullopt},
      {{"--subdivisions", "1", "--power", "0.3,0.3,0.3"}, std::nullopt}}},
    {"cylinder",
     "caps",
     {{{"--radial-divisions", "5"}, 2 * 5 + 2 * 3},
      {{"--radial-divisions", "6", "--height", "0"}, 2 * 4},
      {{"--radial-divisions", "6", "--top-radius", "0", "--height-divisions", "2"},
       2 * 6 * 2 + 2 * 4,
       true},
      {{"--radial-divisions", "6", "--no-cap", "--petals", "3", "--petal-amplitude", "0.3"},
       2 * 6}}},
    {"plane",
     "sheet",
     {{{"--divisions-x", "2", "--divisions-y", "3"}, 2 * 2 * 3},
      {{"--curvature", "1", "--divisions-x", "3", "--divisions-y", "1"}, 2 * 3 * 1},
      {{"--curvature", "-0.4", "--curvature-axis", "y", "--divisions-y", "2", "--divisions-x", "1"},
       2 * 1 * 2}}},
};

const std::vector<Output> kOutputs = {
    {".glb"},
    {".obj"},
    {".stl"},
    {".stl", true},
    {".ply"},
    {".ply", true},
    {".glb", false, true},
    {".obj", false, true},
    {".stl", true, true},
    {".ply", false, true},
};

// Eleven sets, prime to the ten outputs, so that the rotation below pairs each set with each
// output.
const std::vector<MeshOptions> kMeshOptions = {
    {{}},
    {{"--subdivide"}, 1},
    {{"--subdivide=2", "--normals", "smooth"}, 2},
    {{"--weld", "1e-5"}, 0, false, false, true},
    {{"--split", "0,0,1,0"}, 0, true},
    {{"--facet"}},
    {{"--normals", "library"}, 0, false, true},
    {{"--normals", "smooth", "--crease", "80"}},
    {{"--normals", "flat", "--weld", "1e-5", "--subdivide"}, 1, false, false, true},
    {{"--split", "1,1,0,0.1", "--subdivide", "--normals", "smooth"}, 1, true, true},
    {{"--subdivide", "--subdivide", "--weld", "1e-5"}, 2, false, true, true},
};

std::string Format(const Output& output) {
  return output.extension.substr(1);
}

class CliMatrixTest : public CliFixture {
 protected:
  // Runs every solid of the command with every output, each with two mesh option sets taken in
  // turn: 260 runs in all, where the full product would be 1,430. The turn goes on from one
  // command to the next, and the 20 runs of a solid shift the sets by 9 of 11 for each output:
  // every output meets every set, and every command meets every set.
  void RunMatrix(size_t index) {
    size_t turn = 0;
    for (size_t c = 0; c < index; ++c) turn += 2 * kOutputs.size() * kCommands[c].solids.size();
    const Command& command = kCommands[index];
    for (const Solid& solid : command.solids) {
      for (const Output& output : kOutputs) {
        for (size_t k = 0; k < 2; ++k, ++turn) {
          RunValid(command, solid, output, kMeshOptions[turn % kMeshOptions.size()]);
        }
      }
    }
  }

  void RunValid(const Command& command, const Solid& solid, const Output& output,
                const MeshOptions& mesh);
  void CheckFiles(const Outcome& run, const Solid& solid, const Output& output,
                  const MeshOptions& mesh, const std::string& trace);
  size_t CheckOne(const Outcome& run, const WrittenFile& file, const std::string& name);
  void KeepGlb(const std::string& bytes, const std::string& name);
  void ClearWork() {
    for (const auto& entry : fs::directory_iterator(work_)) fs::remove_all(entry.path());
  }

  size_t runs_ = 0;
};

Args RunArgs(const Command& command, const Solid& solid, const Output& output,
             const MeshOptions& mesh) {
  Args args = {command.name};
  args.insert(args.end(), solid.args.begin(), solid.args.end());
  args.insert(args.end(), mesh.args.begin(), mesh.args.end());
  if (mesh.color) args.insert(args.end(), {"--color", command.slot + "=#d04020"});
  if (output.ascii) args.push_back("--ascii");
  if (output.to_stdout) {
    args.insert(args.end(), {"-o", "-", "--format", Format(output)});
  } else {
    args.insert(args.end(), {"-o", "mesh" + output.extension});
  }
  return args;
}

void CliMatrixTest::RunValid(const Command& command, const Solid& solid, const Output& output,
                             const MeshOptions& mesh) {
  ClearWork();
  const Args args = RunArgs(command, solid, output, mesh);
  SCOPED_TRACE(Joined(args));
  ++runs_;
  const Outcome run = Kly(args);
  if (mesh.split && output.to_stdout) {
    // Two halves cannot share standard output: a refusal, checked as any other.
    EXPECT_EQ(run.exit_code, 2);
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(Entries().empty());
    return;
  }
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const std::string trace = command.name + "-" + std::to_string(runs_);
  CheckFiles(run, solid, output, mesh, trace);
}

// The names a run leaves: the file, or the two halves of --split; each .obj with its .mtl.
std::vector<std::string> ExpectedEntries(const Output& output, const MeshOptions& mesh) {
  if (output.to_stdout) return {};
  std::vector<std::string> stems = {"mesh"};
  if (mesh.split) stems = {"mesh.back", "mesh.front"};
  std::vector<std::string> names;
  for (const std::string& stem : stems) {
    names.push_back(stem + output.extension);
    if (output.extension == ".obj") names.push_back(stem + ".mtl");
  }
  std::sort(names.begin(), names.end());
  return names;
}

void CliMatrixTest::CheckFiles(const Outcome& run, const Solid& solid, const Output& output,
                               const MeshOptions& mesh, const std::string& trace) {
  ASSERT_EQ(Entries(), ExpectedEntries(output, mesh));
  size_t triangles = 0;
  if (output.to_stdout) {
    triangles = CheckOne(run, {run.out, output.extension, output.ascii, {}}, "standard output");
    KeepGlb(run.out, trace + "-stdout" + output.extension);
  } else {
    EXPECT_EQ(run.out, "");
    for (const std::string& name : Entries()) {
      if (name.substr(name.size() - 4) == ".mtl") continue;
      triangles += CheckOne(run, {Contents(name), output.extension, output.ascii, work_}, name);
      KeepGlb(Contents(name), trace + "-" + name);
    }
  }
  if (!solid.triangles || (solid.finer_than_weld && mesh.weld)) return;
  // Each round of --subdivide splits every triangle in four; a split cuts some triangles in
  // two or three and keeps the rest, so both halves together hold at least as many.
  const size_t expected = *solid.triangles << (2 * mesh.rounds);
  if (mesh.split) {
    EXPECT_GE(triangles, expected);
  } else {
    EXPECT_EQ(triangles, expected);
  }
}

// A file without triangles is valid only where the run says so.
size_t CliMatrixTest::CheckOne(const Outcome& run, const WrittenFile& file,
                               const std::string& name) {
  SCOPED_TRACE(name);
  const size_t triangles = CheckMeshFile(file);
  if (triangles == 0) {
    EXPECT_NE(run.err.find("kly: note: '" + name + "' gets no triangles"), std::string::npos)
        << "an empty file without its note: " << run.err;
  }
  return triangles;
}

void CliMatrixTest::KeepGlb(const std::string& bytes, const std::string& name) {
  const char* folder = std::getenv("KLY_GLB_DIR");
  if (folder == nullptr || name.substr(name.size() - 4) != ".glb") return;
  std::error_code ignored;  // the commands' tests may run at once and race to create it
  fs::create_directories(folder, ignored);
  std::ofstream(fs::path(folder) / name, std::ios::binary) << bytes;
}

// Refusals: the arguments after the command (`-o bad.glb` is added where they name no output),
// and the exit code: 2 for a command line that does not parse or contradicts itself, 1 for a
// failure after that.
struct Refusal {
  Args args;
  int exit_code;
};

// The shared options, refused alike by every command.
const std::vector<Refusal> kSharedRefusals = {
    {{"--subdivide=13"}, 2},
    {{"--subdivide=-1"}, 2},
    {{"--weld", "1e-7"}, 2},
    {{"--weld", "abc"}, 2},
    {{"--weld"}, 2},
    {{"--split", "0,0,1"}, 2},
    {{"--split", "0,0,0,1"}, 2},
    {{"--normals", "shiny"}, 2},
    {{"--crease", "80"}, 2},
    {{"--normals", "smooth", "--crease", "200"}, 2},
    {{"--facet", "--normals", "smooth"}, 2},
    {{"--color", "nowhere=#ffffff"}, 2},
    {{"--format", "fbx"}, 2},
    {{"--ascii"}, 2},
    {{"--frobnicate"}, 2},
    {{"-o", "bad.xyz"}, 2},
    {{"-o", "-"}, 2},
    {{"-o", "-", "--format", "stl", "--split", "0,0,1,0"}, 2},
    {{"--stats=xml"}, 2},
    {{"-o", "missing/bad.glb"}, 1},
};

// Each command's own parameters: bad values, out-of-range numbers, a build over the limit.
const std::vector<std::pair<std::string, Refusal>> kSolidRefusals = {
    {"cube", {{"--divisions", "0"}, 2}},
    {"cube", {{"--divisions", "-3"}, 2}},
    {"cube", {{"--divisions", "1.5"}, 2}},
    {"cube", {{"--divisions", "1000001"}, 2}},
    {"cube", {{"--dimensions", "1e39,1,1"}, 2}},
    {"cube", {{"--dimensions", "1,2"}, 2}},
    {"cube", {{"--color", "surface=#ffffff"}, 2}},
    {"cube", {{"--divisions", "2000", "--subdivide=2"}, 1}},
    {"sphere", {{"--subdivisions", "-1"}, 2}},
    {"sphere", {{"--radius", "1,1"}, 2}},
    {"sphere", {{"--radius", "1,nan,1"}, 2}},
    {"sphere", {{"--power", "a,b,c"}, 2}},
    {"sphere", {{"--subdivisions", "10", "--subdivide=6"}, 1}},
    {"cylinder", {{"--radial-divisions", "2"}, 2}},
    {"cylinder", {{"--height-divisions", "0"}, 2}},
    {"cylinder", {{"--height", "1e39"}, 2}},
    {"cylinder", {{"--top-radius", "nan"}, 2}},
    {"cylinder", {{"--petals", "x"}, 2}},
    {"plane", {{"--curvature-axis", "z"}, 2}},
    {"plane", {{"--curvature", "inf"}, 2}},
    {"plane", {{"--divisions-x", "0"}, 2}},
    {"plane", {{"--dimensions", "1,2,3"}, 2}},
    {"torus", {{}, 2}},
};

class CliMatrixRefusalTest : public CliFixture {
 protected:
  // One line on stderr, nothing on stdout, and the work folder as it was.
  void ExpectRefused(const std::string& command, const Refusal& refusal) {
    Args args = {command};
    args.insert(args.end(), refusal.args.begin(), refusal.args.end());
    if (std::find(args.begin(), args.end(), "-o") == args.end()) {
      args.insert(args.end(), {"-o", "bad.glb"});
    }
    SCOPED_TRACE(Joined(args));
    const std::vector<std::string> before = Entries();
    const Outcome run = Kly(args);
    EXPECT_EQ(run.exit_code, refusal.exit_code) << run.err;
    ExpectOneLine(run.err);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(Entries(), before);
  }

  static void ExpectOneLine(const std::string& err) {
    EXPECT_EQ(err.rfind("kly: ", 0), 0u) << err;
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
    EXPECT_TRUE(!err.empty() && err.back() == '\n') << err;
  }
};

TEST_F(CliMatrixRefusalTest, SharedOptionsAreRefusedByEveryCommand) {
  for (const Command& command : kCommands) {
    for (const Refusal& refusal : kSharedRefusals) ExpectRefused(command.name, refusal);
  }
}

TEST_F(CliMatrixRefusalTest, SolidParametersAreRefused) {
  for (const auto& [command, refusal] : kSolidRefusals) ExpectRefused(command, refusal);
}

// A read-only file is kept as it was, in every format and with --split's halves alike.
TEST_F(CliMatrixRefusalTest, ReadOnlyOutputsAreKept) {
  for (const Output& output : kOutputs) {
    if (output.to_stdout) continue;
    const std::string name = "kept" + output.extension;
    std::ofstream(work_ / name) << "old";
    fs::permissions(work_ / name, fs::perms::owner_read | fs::perms::group_read);
    Refusal refusal{{"--divisions", "1", "-o", name}, 1};
    if (output.ascii) refusal.args.push_back("--ascii");
    ExpectRefused("cube", refusal);
    EXPECT_EQ(Contents(name), "old");
  }
  std::ofstream(work_ / "half.front.stl") << "old";
  fs::permissions(work_ / "half.front.stl", fs::perms::owner_read);
  ExpectRefused("cube", {{"--split", "0,0,1,0", "-o", "half.stl"}, 1});
  EXPECT_EQ(Contents("half.front.stl"), "old");
}

TEST_F(CliMatrixTest, Cube) {
  RunMatrix(0);
}
TEST_F(CliMatrixTest, Sphere) {
  RunMatrix(1);
}
TEST_F(CliMatrixTest, Cylinder) {
  RunMatrix(2);
}
TEST_F(CliMatrixTest, Plane) {
  RunMatrix(3);
}

}  // namespace
