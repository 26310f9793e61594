// What `kly` tells besides failures, and the write options it passes on: --stats in text and
// JSON, --quiet, --color, --normals and --facet, --ascii.
#include <gtest/gtest.h>

#include <tiny_gltf.h>

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/testing/cli_runner.h"
#include "tests/testing/mesh_files.h"

namespace {

using kly::testing::CliFixture;
using kly::testing::Outcome;
using kly::testing::ReadMesh;
using kly::testing::ReadMeshAs;
using kly::testing::Vec3;

class CliReportTest : public CliFixture {};

// The text form's closing line, whose time varies.
const std::regex kDoneLine("kly: done in [0-9]+\\.[0-9]{3} s\n");

TEST_F(CliReportTest, StatsInTextCountWhatWasWritten) {
  // One division: each face is a quad of 4 corners with the face's own normal, so 6 * 4 = 24
  // vertices and 12 triangles. Every slot has the default grey, so one material. The corners
  // meet in 8 positions and 18 edges, each edge between two triangles: a closed surface.
  const Outcome run = Kly({"cube", "--divisions", "1", "--stats", "-o", "c.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const std::string lines =
      "kly: c.glb: 24 vertices, 12 triangles, 1 material\n"
      "kly: c.glb: bounds x -1 to 1, y -1 to 1, z -1 to 1\n"
      "kly: c.glb: 0 open edges, 0 non-manifold edges\n";
  ASSERT_EQ(run.err.substr(0, lines.size()), lines);
  EXPECT_TRUE(std::regex_match(run.err.substr(lines.size()), kDoneLine)) << run.err;

  // The plane hangs below the origin in the file (y from -1 to 0); an STL holds three vertices
  // a triangle and no materials: 3 * 32 vertices. Its rim of 4 * 4 grid edges is open.
  const Outcome plane = Kly({"plane", "--stats=text", "-o", "-", "--format", "stl"});
  ASSERT_EQ(plane.exit_code, 0) << plane.err;
  EXPECT_EQ(plane.err.substr(0, plane.err.find("kly: done")),
            "kly: standard output: 96 vertices, 32 triangles, 0 materials\n"
            "kly: standard output: bounds x 0 to 1, y -1 to 0, z 0 to 0\n"
            "kly: standard output: 16 open edges, 0 non-manifold edges\n");
}

TEST_F(CliReportTest, StatsInJsonAreOneObject) {
  // A cube of two divisions flattened to z = 0: its four side faces lose their area and are
  // left out; the front and the back fall onto one square, 2 * 2 * 2^2 = 16 triangles (48 STL
  // vertices). The back's grid mirrors the front's, so their quads' diagonals cross, each kept
  // by its own two triangles, while the 2 * 2 * (2 - 1) = 4 inner grid edges now carry two
  // triangles of each face: non-manifold. The rim has one triangle of each face: none is open.
  const Outcome run = Kly({"cube", "--divisions", "2", "--dimensions", "1,1,0", "--stats=json",
                           "-o", "-", "--format", "stl"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  ASSERT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  const nlohmann::json stats = nlohmann::json::parse(run.err);
  EXPECT_GE(stats["seconds"].get<double>(), 0.0);
  ASSERT_EQ(stats["files"].size(), 1u);
  const nlohmann::json& file = stats["files"][0];
  EXPECT_EQ(file["path"], "-");
  EXPECT_EQ(file["triangles"], 16);
  EXPECT_EQ(file["vertices"], 48);
  EXPECT_EQ(file["materials"], 0);
  EXPECT_EQ(file["open_edges"], 0);
  EXPECT_EQ(file["non_manifold_edges"], 4);
  EXPECT_EQ(file["bounds"]["min"], nlohmann::json::parse("[-1.0, -1.0, 0.0]"));
  EXPECT_EQ(file["bounds"]["max"], nlohmann::json::parse("[1.0, 1.0, 0.0]"));
}

TEST_F(CliReportTest, StatsFindTheSphereClosed) {
  // 640 triangles whose 960 edges each join two, once positions are compared rather than the
  // vertices, which the texture seam keeps apart.
  const Outcome run = Kly({"sphere", "--stats=json", "-o", "s.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const nlohmann::json file = nlohmann::json::parse(run.err)["files"][0];
  EXPECT_EQ(file["triangles"], 640);
  EXPECT_EQ(file["open_edges"], 0);
  EXPECT_EQ(file["non_manifold_edges"], 0);
}

TEST_F(CliReportTest, StatsListEveryHalf) {
  // z = 0 runs along the default cube's grid lines: each half has 96 triangles (see cli_test)
  // and an open rim of 4 faces * 4 grid edges where the cut went.
  const Outcome run = Kly({"cube", "--split", "0,0,1,0", "--stats=json", "-o", "c.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const nlohmann::json files = nlohmann::json::parse(run.err)["files"];
  ASSERT_EQ(files.size(), 2u);
  EXPECT_EQ(files[0]["path"], "c.front.glb");
  EXPECT_EQ(files[1]["path"], "c.back.glb");
  for (const auto& file : files) {
    EXPECT_EQ(file["triangles"], 96);
    EXPECT_EQ(file["open_edges"], 16);
    EXPECT_EQ(file["non_manifold_edges"], 0);
  }
  EXPECT_EQ(files[0]["bounds"]["min"], nlohmann::json::parse("[-1.0, -1.0, 0.0]"));
  EXPECT_EQ(files[1]["bounds"]["max"], nlohmann::json::parse("[1.0, 1.0, 0.0]"));
}

TEST_F(CliReportTest, EmptyHalfHasNoBounds) {
  // x + 5 = 0 leaves the whole cube on the front side: the back half is empty.
  const Outcome run = Kly({"cube", "--split", "1,0,0,5", "--stats=json", "-o", "c.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const std::string json = run.err.substr(run.err.find('{'));
  const nlohmann::json back = nlohmann::json::parse(json)["files"][1];
  EXPECT_EQ(back["triangles"], 0);
  EXPECT_TRUE(back["bounds"].is_null());
}

TEST_F(CliReportTest, QuietSilencesNotes) {
  const std::vector<std::string> args = {"cube", "--split", "1,0,0,5", "-o", "c.glb"};
  const Outcome noted = Kly(args);
  ASSERT_EQ(noted.exit_code, 0) << noted.err;
  EXPECT_EQ(noted.err, "kly: note: 'c.back.glb' gets no triangles\n");
  std::vector<std::string> quiet = args;
  quiet.push_back("--quiet");
  const Outcome silent = Kly(quiet);
  ASSERT_EQ(silent.exit_code, 0) << silent.err;
  EXPECT_EQ(silent.err, "");
  // A failure is still told.
  const Outcome failed = Kly({"cube", "--quiet", "-o", "missing/c.glb"});
  EXPECT_EQ(failed.exit_code, 1);
  EXPECT_EQ(failed.err, "kly: cannot write 'missing/c.glb': No such file or directory\n");
}

// The material of a .glb named `name`, or null.
const tinygltf::Material* Material(const tinygltf::Model& model, const std::string& name) {
  for (const tinygltf::Material& material : model.materials) {
    if (material.name == name) return &material;
  }
  return nullptr;
}

TEST_F(CliReportTest, ColoursReachTheFileAsLinearValues) {
  const Outcome run = Kly({"cube", "--color", "top=#ff0000", "--color", "bottom=#808080", "--color",
                           "top=#00ff00", "-o", "c.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  tinygltf::Model model;
  kly::testing::ReadGlb(Contents("c.glb"), &model);
  const tinygltf::Material* top = Material(model, "top");
  const tinygltf::Material* bottom = Material(model, "bottom");
  ASSERT_NE(top, nullptr);
  ASSERT_NE(bottom, nullptr);
  // The later colour of a slot wins: pure green stays pure.
  EXPECT_EQ(top->pbrMetallicRoughness.baseColorFactor, (std::vector<double>{0, 1, 0, 1}));
  // sRGB 0x80 = 128/255 = 0.50196 is light ((0.50196 + 0.055) / 1.055)^2.4 = 0.21586.
  for (int k = 0; k < 3; ++k) {
    EXPECT_NEAR(bottom->pbrMetallicRoughness.baseColorFactor[k], 0.21586, 1e-5);
  }
  // The four side faces keep the default colour, merged into one material: three in all.
  EXPECT_EQ(model.materials.size(), 3u);
}

bool AxisAligned(const Vec3& n) {
  int zeros = 0;
  for (double c : n) zeros += c == 0.0;
  return zeros == 2;
}

TEST_F(CliReportTest, NormalOptionsReachTheWriters) {
  // The cube's faces meet at 90 degrees: a crease of 60 keeps each face's own normal, one of 100
  // smooths across, weighting the three faces at a corner by their triangles' areas, all
  // positive, so no corner normal stays on an axis.
  const std::vector<std::string> cube = {"cube", "--divisions", "1", "--normals", "smooth"};
  std::vector<std::string> sharp = cube;
  sharp.insert(sharp.end(), {"-o", "sharp.ply"});
  std::vector<std::string> round = cube;
  round.insert(round.end(), {"--crease", "100", "-o", "round.ply"});
  ASSERT_EQ(Kly(sharp).exit_code, 0);
  ASSERT_EQ(Kly(round).exit_code, 0);
  for (const Vec3& n : ReadMeshAs(Contents("sharp.ply"), ".ply").normals) {
    EXPECT_TRUE(AxisAligned(n));
  }
  for (const Vec3& n : ReadMeshAs(Contents("round.ply"), ".ply").normals) {
    EXPECT_FALSE(AxisAligned(n));
  }
  // --facet is --normals flat.
  ASSERT_EQ(Kly({"sphere", "--facet", "-o", "facet.glb"}).exit_code, 0);
  ASSERT_EQ(Kly({"sphere", "--normals", "flat", "-o", "flat.glb"}).exit_code, 0);
  EXPECT_EQ(Contents("facet.glb"), Contents("flat.glb"));
  EXPECT_EQ(Kly({"sphere", "--facet", "--normals", "flat", "-o", "both.glb"}).exit_code, 0);
}

TEST_F(CliReportTest, AsciiWritesText) {
  ASSERT_EQ(Kly({"cube", "--divisions", "1", "--ascii", "-o", "c.stl"}).exit_code, 0);
  EXPECT_EQ(Contents("c.stl").rfind("solid ", 0), 0u);
  EXPECT_EQ(ReadMeshAs(Contents("c.stl"), ".stl").triangles.size(), 12u);
  ASSERT_EQ(Kly({"cube", "--divisions", "1", "--ascii", "-o", "c.ply"}).exit_code, 0);
  EXPECT_NE(Contents("c.ply").find("format ascii 1.0\n"), std::string::npos);
  // OBJ is text anyway.
  EXPECT_EQ(Kly({"cube", "--divisions", "1", "--ascii", "-o", "c.obj"}).exit_code, 0);
}

}  // namespace
