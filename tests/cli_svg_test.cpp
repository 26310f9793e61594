// `kly svg` as a user runs it: drawings written by the test, the files read back, and bad
// drawings refused in one line with nothing left behind. With KLY_GLB_DIR set, every .glb
// written is also copied there for the glTF validator.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/testing/cli_runner.h"
#include "tests/testing/mesh_files.h"

namespace {

namespace fs = std::filesystem;
using kly::testing::CliFixture;
using kly::testing::Outcome;
using kly::testing::ReadMesh;

// A red square and, in a group of its own, a blue one over its right half, on a viewport of
// 100 x 50.
const char* const kTwoGroups =
    "<svg xmlns='http://www.w3.org/2000/svg' width='100' height='50'>"
    "<rect x='0' y='0' width='50' height='50' fill='#ff0000'/>"
    "<g><rect x='50' y='0' width='50' height='50' fill='blue'/></g></svg>";

class CliSvgTest : public CliFixture {
 protected:
  void Write(const std::string& name, const std::string& text) {
    std::ofstream(root_ / name) << text;
  }
  Outcome Svg(const std::string& drawing, std::vector<std::string> args) {
    args.insert(args.begin(), {"svg", (root_ / drawing).string()});
    return Kly(args);
  }
  ReadMesh Read(const std::string& name) const {
    const char* folder = std::getenv("KLY_GLB_DIR");
    if (folder != nullptr && fs::path(name).extension() == ".glb") {
      std::error_code ignored;
      fs::create_directories(folder, ignored);
      fs::copy_file(work_ / name, fs::path(folder) / ("svg_" + name),
                    fs::copy_options::overwrite_existing, ignored);
    }
    return kly::testing::ReadMeshFile((work_ / name).string());
  }
};

// Each shape's four slots take its fill; --color overrides one slot of every shape.
TEST_F(CliSvgTest, ShapesKeepTheirFillColours) {
  Write("two.svg", kTwoGroups);
  Outcome run = Svg("two.svg", {"-o", "two.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  // Both shapes name their slots alike; the blue one's material is numbered apart.
  EXPECT_EQ(Read("two.glb").materials,
            (std::vector<std::string>{"front+back+side+bevel", "front+back+side+bevel_2"}));
  run = Svg("two.svg", {"--color", "front=#00ff00", "-o", "green.obj"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const auto colors = kly::testing::ReadMtl(Contents("green.mtl"));
  ASSERT_EQ(colors.size(), 3u);
  EXPECT_EQ(colors.at("front").at(1), 1.0);
  EXPECT_EQ(colors.at("back+side+bevel").at(0), 1.0);
  EXPECT_EQ(colors.at("back+side+bevel_2").at(2), 1.0);
}

// --size 2 makes the larger side (100) two units and the other one, centred on the origin; the
// extrusion widens every outline alike, so the half extents differ by 1 - 0.5. Without a bevel
// the depth 0.3 reaches z = -0.3; the second group stands --coplanar-step 0.1 nearer the
// viewer, so its front is at z = 0.1 and its back at -0.2.
TEST_F(CliSvgTest, SizeScalesTheDrawingAndGroupsStepTowardTheViewer) {
  Write("two.svg", kTwoGroups);
  const Outcome run = Svg("two.svg", {"--size", "2", "--bevel", "none", "--depth", "0.3",
                                      "--coplanar-step", "0.1", "-o", "two.obj"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const ReadMesh mesh = Read("two.obj");
  ASSERT_FALSE(mesh.positions.empty());
  double least[3] = {1e9, 1e9, 1e9}, most[3] = {-1e9, -1e9, -1e9};
  for (const auto& p : mesh.positions) {
    for (int k = 0; k < 3; ++k) {
      least[k] = std::min(least[k], p[k]);
      most[k] = std::max(most[k], p[k]);
    }
  }
  for (int k = 0; k < 2; ++k) EXPECT_NEAR(least[k], -most[k], 1e-6) << k;
  EXPECT_NEAR(most[0] - most[1], 0.5, 1e-6);
  EXPECT_GE(most[1], 0.5);
  EXPECT_NEAR(least[2], -0.3, 1e-6);
  EXPECT_NEAR(most[2], 0.1, 1e-6);
}

TEST_F(CliSvgTest, ReaderWarningsArePrintedUnlessQuiet) {
  Write("text.svg",
        "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='10'>"
        "<rect width='10' height='10'/><text>hi</text></svg>");
  Outcome run = Svg("text.svg", {"-o", "a.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1);
  EXPECT_EQ(run.err.rfind("kly: warning: ", 0), 0u) << run.err;
  run = Svg("text.svg", {"--quiet", "-o", "b.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.err, "");
}

TEST_F(CliSvgTest, BadDrawingsFailInOneLineLeavingNothing) {
  struct Case {
    std::string drawing;
    std::string words;  // what the one line must say
  };
  const std::string open = "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='10'";
  const std::vector<Case> cases = {
      {"not XML at all", "not an SVG file"},
      // The 'x' is the path data's eleventh character.
      {open + "><path d='M 0 0 L 5 x'/></svg>", "expected a number at character 11"},
      {open + " viewBox='0 0 0 10'><rect width='5' height='5'/></svg>",
       "viewBox has zero width or height"},
      // 1e200 squared overflows a double.
      {open + "><g transform='scale(1e200) scale(1e200)'><rect width='5' height='5'/></g></svg>",
       "transform with a non-finite value"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.drawing);
    Write("bad.svg", c.drawing);
    const Outcome run = Svg("bad.svg", {"-o", "bad.glb"});
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_EQ(run.err.rfind("kly: cannot read '", 0), 0u) << run.err;
    EXPECT_NE(run.err.find(c.words), std::string::npos) << run.err;
    EXPECT_TRUE(Entries().empty());
  }
}

}  // namespace
