// The `kly` program as a user meets it: run as a subprocess in a fresh folder, its exit code,
// its stderr and the files it leaves are checked. Expected counts come from the solids' rules,
// derived in the comments.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "kly/host/nut.h"
#include "kly/host/ort.h"
#include "kly/package/failure.h"
#include "tests/testing/mesh_files.h"

namespace {

namespace fs = std::filesystem;
using kly::testing::Dot;
using kly::testing::FileCross;
using kly::testing::ReadMesh;
using kly::testing::Vec3;

struct Outcome {
  int exit_code;
  std::string out;
  std::string err;
};

std::string Contents(const fs::path& path) {
  return kly::testing::FileContents(path.string());
}

class CliTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "kly_cli_XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    root_ = pattern;
    work_ = root_ / "work";
    fs::create_directory(work_);
  }
  void TearDown() override { fs::remove_all(root_); }

  // Starts kly with `args` in the work folder; its output goes to files beside that folder,
  // so the folder holds only what kly wrote.
  pid_t Start(const std::vector<std::string>& args) {
    const fs::path out = root_ / "stdout";
    const fs::path err = root_ / "stderr";
    const pid_t child = fork();
    if (child == 0) {
      const int out_fd = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      const int err_fd = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      if (out_fd < 0 || err_fd < 0 || dup2(out_fd, 1) < 0 || dup2(err_fd, 2) < 0 ||
          chdir(work_.c_str()) != 0) {
        _exit(127);
      }
      std::vector<char*> argv;
      argv.push_back(const_cast<char*>(KLY_CLI_PATH));
      for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
      argv.push_back(nullptr);
      execv(KLY_CLI_PATH, argv.data());
      _exit(127);
    }
    return child;
  }

  // Waits for `child`; a death by signal s gives the exit code 128 + s, as a shell shows it.
  Outcome Finish(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return Outcome{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
                   Contents(root_ / "stdout"), Contents(root_ / "stderr")};
  }

  Outcome Kly(const std::vector<std::string>& args) { return Finish(Start(args)); }
  ReadMesh Read(const std::string& name) const {
    return kly::testing::ReadMeshFile((work_ / name).string());
  }

  std::vector<std::string> Entries() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(work_)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  fs::path root_;
  fs::path work_;
};

// Whether every corner of every triangle of `mesh` passes `test`.
template <class Test>
bool EveryCorner(const ReadMesh& mesh, Test test) {
  for (const auto& triangle : mesh.triangles)
    for (uint32_t index : triangle)
      if (!test(mesh.positions[index])) return false;
  return true;
}

TEST_F(CliTest, CubeFromTheIssueOpensLitFromOutside) {
  const Outcome run = Kly({"cube", "--dimensions", "1,2,3", "--divisions", "8", "-o", "cube.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(Entries(), std::vector<std::string>{"cube.glb"});
  const ReadMesh cube = Read("cube.glb");
  // n = 8: six faces of 9 x 9 vertices and 2 * 8 * 8 triangles each.
  EXPECT_EQ(cube.positions.size(), 6u * 81u);
  EXPECT_EQ(cube.triangles.size(), 6u * 128u);
  EXPECT_EQ(cube.materials,
            (std::vector<std::string>{"front", "back", "left", "right", "top", "bottom"}));
  for (size_t t = 0; t < cube.triangles.size(); ++t) {
    const Vec3 cross = FileCross(cube, t);
    // Convex about the origin: a front face seen from outside points away from it, and so does
    // each corner's normal.
    EXPECT_GT(Dot(cross, cube.positions[cube.triangles[t][0]]), 0.0);
    for (uint32_t index : cube.triangles[t]) EXPECT_GT(Dot(cross, cube.normals[index]), 0.0);
  }
}

TEST_F(CliTest, HelpListsEveryOptionWithItsDefault) {
  const Outcome top = Kly({"--help"});
  EXPECT_EQ(top.exit_code, 0);
  for (const char* command : {"cube", "sphere", "cylinder", "plane"}) {
    EXPECT_NE(top.out.find(command), std::string::npos) << command;
  }
  // The solids' defaults, as "option TYPE=default"; flags state their default in words.
  const std::vector<std::pair<std::string, std::vector<std::string>>> expected = {
      {"cube", {"--dimensions X,Y,Z=1,1,1", "--divisions N=4"}},
      {"sphere", {"--radius X,Y,Z=1,1,1", "--power X,Y,Z=1,1,1", "--subdivisions N=3"}},
      {"cylinder",
       {"--top-radius NUMBER=1", "--bottom-radius NUMBER=1", "--height NUMBER=1",
        "--radial-divisions N=8", "--height-divisions N=1", "--radial-power NUMBER=1",
        "--petals N=1", "--petal-amplitude NUMBER=0", "--petal-power NUMBER=1", "--no-cap"}},
      {"plane",
       {"--dimensions W,H=1,1", "--divisions-x N=4", "--divisions-y N=4", "--curvature NUMBER=0",
        "--curvature-axis x|y=x"}},
  };
  const std::vector<std::string> mesh_options = {
      "-o,--output PATH", "--weld TOL",          "--subdivide",      "--split A,B,C,D",
      "--facet",          "Default: no welding", "Default: no split"};
  for (const auto& command : expected) {
    const Outcome help = Kly({command.first, "--help"});
    EXPECT_EQ(help.exit_code, 0);
    for (const std::string& option : command.second) {
      EXPECT_NE(help.out.find(option), std::string::npos) << command.first << " " << option;
    }
    for (const std::string& option : mesh_options) {
      EXPECT_NE(help.out.find(option), std::string::npos) << command.first << " " << option;
    }
  }
}

TEST_F(CliTest, BadInputGivesOneLineAndLeavesNoFile) {
  struct Case {
    std::vector<std::string> args;
    const char* message;
    int exit_code;
  };
  const Case cases[] = {
      {{"cube", "--frobnicate", "-o", "x.glb"}, "--frobnicate", 2},
      {{"cube", "--dimensions", "1,x,3", "-o", "x.glb"}, "--dimensions: 'x' is not a number", 2},
      {{"cube", "--dimensions", "1,2", "-o", "x.glb"}, "'1,2' has 2 numbers; expected 3", 2},
      {{"cube", "--dimensions", "1,,3", "-o", "x.glb"}, "has an empty component", 2},
      {{"cube", "--dimensions", "nan,1,1", "-o", "x.glb"}, "'nan' is not a number", 2},
      {{"cube", "--divisions", "-3", "-o", "x.glb"}, "--divisions: '-3' is negative", 2},
      {{"cube", "--divisions", "2.5", "-o", "x.glb"}, "'2.5' is not a whole number", 2},
      {{"cube", "--divisions", "0", "-o", "x.glb"}, "'0' is too small", 2},
      {{"cube", "-o", "x.gltf"}, "use .glb, .obj, .stl or .ply", 2},
      {{"cube"}, "--output is required", 2},
      {{}, "A subcommand is required", 2},
      {{"cube", "--weld", "-1", "-o", "x.glb"}, "--weld: a tolerance must not be negative", 2},
      {{"cube", "--split", "0,0,0,1", "-o", "x.glb"},
       "the plane's normal A,B,C must not be zero",
       2},
      {{"cylinder", "--radial-divisions", "2", "-o", "x.glb"}, "'2' is too small", 2},
      {{"plane", "--curvature-axis", "z", "-o", "x.glb"}, "--curvature-axis", 2},
      {{"cube", "-o", "missing/x.glb"}, "cannot write 'missing/x.glb': No such file", 1},
      // A zero radius divides the normal by zero: no file format can hold what comes out.
      {{"sphere", "--radius", "0,1,1", "-o", "x.glb"},
       "cannot write 'x.glb': vertex 0 has a non-finite normal",
       1},
      {{"cube", "-o", "."}, "no extension", 2},
      // 12 * 5000^2 = 300,000,000 triangles.
      {{"cube", "--divisions", "5000", "-o", "x.glb"}, "would have 300000000 triangles", 1},
      // Radii of 1e30 make every normal's squared length 1e-60, below the library's 1e-48.
      {{"sphere", "--radius", "1e30,1e30,1e30", "-o", "x.glb"},
       "building sphere (3 subdivisions) failed: failure 4363 (a vector of zero length could not "
       "be normalised): ",
       1},
      // Powers below 0.001 send every point to a corner: whole triangles collapse, and a
      // faceted mesh cannot take their face normals.
      {{"sphere", "--facet", "--power", "0.0001,0.0001,0.0001", "-o", "x.glb"}, "failure 4363", 1},
  };
  for (const Case& c : cases) {
    std::string shown;
    for (const std::string& arg : c.args) shown += arg + " ";
    SCOPED_TRACE(shown);
    const Outcome run = Kly(c.args);
    EXPECT_EQ(run.exit_code, c.exit_code);
    EXPECT_EQ(run.err.rfind("kly: ", 0), 0u) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
    EXPECT_EQ(Entries(), std::vector<std::string>{}) << "left behind";
  }
}

TEST_F(CliTest, EverySolidInEveryFormat) {
  struct Case {
    std::vector<std::string> args;
    size_t vertices;
    size_t triangles;
  };
  const Case cases[] = {
      // Divisions 4: 6 * 5^2 vertices, 12 * 4^2 triangles.
      {{"cube"}, 150, 192},
      // 3 rounds: 10 * 4^3 triangles, three vertices of their own each.
      {{"sphere"}, 1920, 640},
      // Superquadric: the same counts as the ellipsoid.
      {{"sphere", "--power", "0.3,0.5,0.3", "--radius", "1,2,1"}, 1920, 640},
      // No caps, 8 x 1 divisions: (1 + 1) * (8 + 1) side vertices, 2 * 8 triangles.
      {{"cylinder", "--no-cap"}, 18, 16},
      // Petals keep the side's counts: 64 x 2 divisions give 3 * 65 vertices, 2 * 128 triangles.
      {{"cylinder", "--no-cap", "--petals", "5", "--petal-amplitude", "0.3", "--radial-divisions",
        "64", "--height-divisions", "2"},
       195,
       256},
      // 4 x 4 quads: 5 * 5 vertices, 32 triangles; bending keeps them.
      {{"plane"}, 25, 32},
      {{"plane", "--curvature", "0.7", "--curvature-axis", "y"}, 25, 32},
  };
  for (const Case& c : cases) {
    for (const char* extension : {".glb", ".obj", ".ply", ".stl"}) {
      SCOPED_TRACE(c.args[0] + extension);
      std::vector<std::string> args = c.args;
      const std::string name = std::string("solid") + extension;
      args.insert(args.end(), {"-o", name});
      const Outcome run = Kly(args);
      ASSERT_EQ(run.exit_code, 0) << run.err;
      const ReadMesh counts = Read(name);
      EXPECT_EQ(counts.triangles.size(), c.triangles);
      if (std::string(extension) != ".stl") {
        EXPECT_EQ(counts.positions.size(), c.vertices);
      }
      fs::remove(work_ / name);
    }
  }
}

TEST_F(CliTest, CappedCylinderHasSideAndCapSlots) {
  const Outcome run = Kly({"cylinder", "--radial-power", "0.4", "-o", "c.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const ReadMesh counts = Read("c.glb");
  EXPECT_EQ(counts.materials, (std::vector<std::string>{"side", "caps"}));
  // The side's 16 triangles, and at least the 6 an octagon needs in each cap.
  EXPECT_GE(counts.triangles.size(), 16u + 2u * 6u);
}

TEST_F(CliTest, SplitWritesBothHalvesUnderTaggedNames) {
  // The default cube's grid lines lie at z = -1, -0.5, 0, 0.5, 1, so the plane z = 0 cuts no
  // triangle: the front half has the +Z face (32) and half of each of the four side faces
  // (4 * 16); the back half the same.
  const Outcome run = Kly({"cube", "--split", "0,0,1,0", "-o", "c.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(Entries(), (std::vector<std::string>{"c.back.glb", "c.front.glb"}));
  const ReadMesh front = Read("c.front.glb");
  const ReadMesh back = Read("c.back.glb");
  EXPECT_EQ(front.triangles.size(), 96u);
  EXPECT_EQ(back.triangles.size(), 96u);
  EXPECT_TRUE(EveryCorner(front, [](const Vec3& p) { return p[2] >= 0.0; }));
  EXPECT_TRUE(EveryCorner(back, [](const Vec3& p) { return p[2] <= 0.0; }));
  // The plane hangs below the origin in the file (y from 0 to -1); y = -0.5 is its middle grid
  // line, so each side keeps two rows of four quads.
  const Outcome plane = Kly({"plane", "--split", "0,1,0,0.5", "-o", "p.obj"});
  ASSERT_EQ(plane.exit_code, 0) << plane.err;
  const ReadMesh upper = Read("p.front.obj");
  EXPECT_EQ(upper.triangles.size(), 16u);
  EXPECT_TRUE(EveryCorner(upper, [](const Vec3& p) { return p[1] >= -0.5; }));
  EXPECT_EQ(Read("p.back.obj").triangles.size(), 16u);
}

TEST_F(CliTest, LibraryFailureCarriesTheLibrarysOwnWords) {
  // The normalisation failure is reported in the maths library's words before 4363 is thrown;
  // the user's one line must end with them.
  const std::string words = NUT_ZLookupLStrCache(ORT_G_zref, KLY_kNormalisationMessageEntry, 0, 0);
  ASSERT_FALSE(words.empty());
  const Outcome run = Kly({"sphere", "--radius", "1e30,1e30,1e30", "-o", "x.glb"});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(run.err,
            "kly: building sphere (3 subdivisions) failed: failure 4363 (a vector of "
            "zero length could not be normalised): " +
                words + "\n");
}

TEST_F(CliTest, MeshOptionsFollowTheLibrarysCounts) {
  struct Case {
    std::vector<std::string> args;
    size_t vertices;
    size_t triangles;
  };
  const Case cases[] = {
      // Welding merges by position alone: the 24 corner vertices of a one-division cube fall
      // onto the 8 corners.
      {{"cube", "--divisions", "1", "--weld", "0.001"}, 8, 12},
      // One round: 4 * 12 triangles. The closing weld merges every equal position, across
      // faces too: 8 corners, 12 edge midpoints and 6 face centres (each face's diagonal).
      {{"cube", "--divisions", "1", "--subdivide"}, 26, 48},
      // Two rounds: 4 * 48 triangles; each face is then a 5 x 5 grid of positions, and the
      // closed surface has 6 * 25 - 12 * 5 + 8 = 98 of them.
      {{"cube", "--divisions", "1", "--subdivide", "--subdivide"}, 98, 192},
      // Flat shading: three corners of its own for each of the 12 triangles.
      {{"cube", "--divisions", "1", "--facet"}, 36, 12},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.args.back());
    std::vector<std::string> args = c.args;
    args.insert(args.end(), {"-o", "m.ply"});
    const Outcome run = Kly(args);
    ASSERT_EQ(run.exit_code, 0) << run.err;
    const ReadMesh counts = Read("m.ply");
    EXPECT_EQ(counts.positions.size(), c.vertices);
    EXPECT_EQ(counts.triangles.size(), c.triangles);
  }
}

TEST_F(CliTest, BentPlaneBulgesAwayFromTheViewer) {
  // Curvature 1 on the default plane: a half cylinder of radius 0.5 whose middle column lies
  // 0.5 behind the corners, away from the viewer, so -0.5 on the file's z; the normals stay on
  // the viewer's side (z >= 0), continuous with the flat sheet's (0, 0, 1).
  const Outcome run = Kly({"plane", "--curvature", "1", "-o", "p.obj"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const ReadMesh plane = Read("p.obj");
  double lowest = 0.0;
  for (const Vec3& p : plane.positions) lowest = std::min(lowest, p[2]);
  EXPECT_NEAR(lowest, -0.5, 1e-6);
  for (const Vec3& n : plane.normals) EXPECT_GE(n[2], -1e-6);
}

TEST_F(CliTest, InterruptedBuildLeavesNoTemporaryBehind) {
  const pid_t child = Start({"sphere", "--subdivisions", "10", "-o", "s.glb"});
  // The temporary is made before the build starts; wait for it, then interrupt the build.
  for (int i = 0; i < 500 && Entries().empty(); ++i) usleep(10000);
  ASSERT_EQ(Entries().size(), 1u);
  EXPECT_EQ(Entries()[0].rfind(".s.glb.", 0), 0u) << Entries()[0];
  kill(child, SIGINT);
  EXPECT_EQ(Finish(child).exit_code, 128 + SIGINT);
  EXPECT_EQ(Entries(), std::vector<std::string>{});
}

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

TEST_F(CliTest, LargestSphereBuildsAndShowsProgress) {
  if (kSanitized) GTEST_SKIP() << "10.5 M triangles take too long under the sanitizers";
  // Rounds above 10 are built as 10: 10 * 4^10 = 10,485,760 triangles.
  const Outcome run = Kly({"sphere", "--subdivisions", "11", "-o", "s.stl"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_NE(run.err.find("kly: building sphere (10 subdivisions)...\n"), std::string::npos)
      << run.err;
  EXPECT_NE(run.err.find("kly: building sphere (10 subdivisions) took "), std::string::npos)
      << run.err;
  EXPECT_EQ(fs::file_size(work_ / "s.stl"), 84u + 50u * 10485760u);
}

}  // namespace
