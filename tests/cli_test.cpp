// The `kly` program as a user meets it: run as a subprocess in a fresh folder, its exit code,
// its stderr and the files it leaves are checked. Expected counts come from the solids' rules,
// derived in the comments.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "kly/host/nut.h"
#include "kly/host/ort.h"
#include "kly/package/failure.h"
#include "tests/testing/cli_runner.h"
#include "tests/testing/mesh_files.h"

namespace {

namespace fs = std::filesystem;
using kly::testing::CliFixture;
using kly::testing::Dot;
using kly::testing::FileCross;
using kly::testing::Outcome;
using kly::testing::ReadMesh;
using kly::testing::Vec3;

class CliTest : public CliFixture {
 protected:
  ReadMesh Read(const std::string& name) const {
    return kly::testing::ReadMeshFile((work_ / name).string());
  }
};

// Whether every corner of every triangle of `mesh` passes `test`.
template <class Test>
bool EveryCorner(const ReadMesh& mesh, Test test) {
  for (const auto& triangle : mesh.triangles)
    for (uint32_t index : triangle)
      if (!test(mesh.positions[index])) return false;
  return true;
}

TEST_F(CliTest, MainJobCubeOpensLitFromOutside) {
  const Outcome run = Kly({"cube", "--dimensions", "1,2,3", "--divisions", "8", "-o", "cube.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(Entries(), std::vector<std::string>{"cube.glb"});
  const ReadMesh cube = Read("cube.glb");
  // n = 8: six faces of 9 x 9 vertices and 2 * 8 * 8 triangles each.
  EXPECT_EQ(cube.positions.size(), 6u * 81u);
  EXPECT_EQ(cube.triangles.size(), 6u * 128u);
  // Every slot has the default grey: one material, named after the six slots it serves.
  EXPECT_EQ(cube.materials, std::vector<std::string>{"front+back+left+right+top+bottom"});
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
  // The options every command shares, declared once.
  const std::vector<std::string> shared = {"-o,--output PATH",
                                           "--format glb|obj|stl|ply",
                                           "--ascii",
                                           "--normals library|smooth|flat=library",
                                           "--crease DEGREES=60",
                                           "--facet",
                                           "--color SLOT=#RRGGBB",
                                           "--subdivide [=N]",
                                           "--weld TOL",
                                           "--split A,B,C,D",
                                           "--quiet",
                                           "--stats [=text|json]",
                                           "Default: no welding",
                                           "Default: no split"};
  for (const auto& command : expected) {
    const Outcome help = Kly({command.first, "--help"});
    EXPECT_EQ(help.exit_code, 0);
    for (const std::string& option : command.second) {
      EXPECT_NE(help.out.find(option), std::string::npos) << command.first << " " << option;
    }
    for (const std::string& option : shared) {
      EXPECT_NE(help.out.find(option), std::string::npos) << command.first << " " << option;
    }
  }
}

TEST_F(CliTest, EverySolidInEveryFormat) {
  struct Case {
    std::vector<std::string> args;
    size_t vertices;  // as shared in the file; 0 where not checked
    size_t triangles;
  };
  const Case cases[] = {
      // Divisions 4: 6 * 5^2 vertices (no two faces share a normal), 12 * 4^2 triangles.
      {{"cube"}, 150, 192},
      // 3 rounds: 10 * 4^3 triangles on 640 / 2 + 2 = 322 positions (a closed surface: V - E + F
      // = 2 with E = 3F / 2); the 15 inner points of the meridian where U wraps around carry two
      // UVs each.
      {{"sphere"}, 337, 640},
      // Superquadric: the same triangles; which of its points carry several normals is the
      // export's to decide.
      {{"sphere", "--power", "0.3,0.5,0.3", "--radius", "1,2,1"}, 0, 640},
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
      if (std::string(extension) != ".stl" && c.vertices != 0) {
        EXPECT_EQ(counts.positions.size(), c.vertices);
      }
      fs::remove(work_ / name);
    }
  }
}

TEST_F(CliTest, CappedCylinderHasSideAndCapSlots) {
  // A colour of their own keeps the caps' material apart from the side's.
  const Outcome run =
      Kly({"cylinder", "--radial-power", "0.4", "--color", "caps=#ff0000", "-o", "c.glb"});
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
      // Flat shading: each triangle carries its face's normal, so the two triangles of a face
      // share the face's 4 corners: 6 * 4.
      {{"cube", "--divisions", "1", "--facet"}, 24, 12},
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

TEST_F(CliTest, TinyCurvatureBuildsFlat) {
  // Below 1e-9 in size a bend would move the sheet's middle by less than W / 4e9, which no file
  // float resolves at the sheet's size; near 1e-155 the library's radius squared would overflow
  // to infinite positions. Such sheets are built flat: every z is 0.
  for (const char* curvature : {"1e-160", "-1e-160", "1e-150", "9.9e-10"}) {
    SCOPED_TRACE(curvature);
    const Outcome run = Kly({"plane", "--curvature", curvature, "-o", "p.obj"});
    ASSERT_EQ(run.exit_code, 0) << run.err;
    for (const Vec3& p : Read("p.obj").positions) EXPECT_EQ(p[2], 0.0);
  }
  // Above it the library bends the sheet: at 1e-5 the middle moves away from the viewer by
  // R - sqrt(R^2 - h^2), about h^2 / (2R) = h * c / 2 = 0.5 * 1e-5 / 2.
  const Outcome bent = Kly({"plane", "--curvature", "1e-5", "-o", "p.obj"});
  ASSERT_EQ(bent.exit_code, 0) << bent.err;
  double deepest = 0.0;
  for (const Vec3& p : Read("p.obj").positions) deepest = std::min(deepest, p[2]);
  EXPECT_NEAR(deepest, -2.5e-6, 1e-9);
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
