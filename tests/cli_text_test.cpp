// `kly text`: shaping and layout with the real DejaVu fonts, in-process, then the program as a
// user runs it: the files it writes read back, and bad input refused in one line with nothing
// left behind. With KLY_GLB_DIR set, every .glb written is also copied there for the glTF
// validator.
#include <gtest/gtest.h>

#include <tiny_gltf.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cli/text/text_layout.h"
#include "cli/text/variation_values.h"
#include "kly/host/services.h"
#include "kly/host/text_shaping.h"
#include "tests/testing/cli_runner.h"
#include "tests/testing/mesh_files.h"

namespace {

namespace fs = std::filesystem;
using kly::cli::LayoutSettings;
using kly::cli::LayOutText;
using kly::cli::LineAlign;
using kly::cli::ParseAxisSettings;
using kly::cli::PlacedGlyph;
using kly::cli::VariationValues;
using kly::host::ShapedLine;
using kly::host::ShapeText;
using kly::host::ShapingRequest;
using kly::host::TextDirection;
using kly::testing::CliFixture;
using kly::testing::Outcome;
using kly::testing::ReadMesh;

const char* const kSans = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
const char* const kSerif = "/usr/share/fonts/truetype/dejavu/DejaVuSerif.ttf";
// Package fonts-inter-variable.
const char* const kInter = "/usr/share/fonts/truetype/inter-vf/Inter-roman.var.ttf";

ShapedLine Shape(const char* font, const std::string& text,
                 const std::vector<std::string>& features = {}) {
  ShapingRequest request;
  request.font = HBN_T_NMT::CTPKFontDict::FromFile(font);
  request.text = text;
  request.features = features;
  return ShapeText(request);
}

int32_t Advance(const ShapedLine& line) {
  int32_t sum = 0;
  for (const auto& glyph : line.glyphs) sum += glyph.x_advance;
  return sum;
}

TEST(TextShaping, KerningSetsAVCloserThanItsLettersAlone) {
  const int32_t apart = Advance(Shape(kSans, "A")) + Advance(Shape(kSans, "V"));
  EXPECT_LT(Advance(Shape(kSans, "AV")), apart);
  EXPECT_EQ(Advance(Shape(kSans, "AV", {"kern=0"})), apart);
}

TEST(TextShaping, SerifJoinsFiIntoOneLigature) {
  const ShapedLine joined = Shape(kSerif, "fi");
  ASSERT_EQ(joined.glyphs.size(), 1u);
  EXPECT_EQ(joined.glyphs[0].cluster, 0u);
  EXPECT_EQ(Shape(kSerif, "fi", {"liga=0"}).glyphs.size(), 2u);
}

// Inter's weight axis widens its glyphs: heavier text sets wider. Values past the axis and
// axes the font lacks are refused.
TEST(TextShaping, VariationWeightReachesTheAdvances) {
  const auto font = HBN_T_NMT::CTPKFontDict::FromFile(kInter);
  ShapingRequest request;
  request.font = font;
  request.text = "Bold";
  request.variation = VariationValues(ParseAxisSettings("wght=100"), font.Axes(), "Inter");
  const int32_t light = Advance(ShapeText(request));
  request.variation = VariationValues(ParseAxisSettings("wght=900"), font.Axes(), "Inter");
  EXPECT_GT(Advance(ShapeText(request)), light);
  EXPECT_THROW(VariationValues(ParseAxisSettings("wght=1000"), font.Axes(), "Inter"),
               std::invalid_argument);
  EXPECT_THROW(VariationValues(ParseAxisSettings("xxxx=1"), font.Axes(), "Inter"),
               std::invalid_argument);
}

TEST(TextShaping, ArabicRunsRightToLeft) {
  LayoutSettings settings;
  settings.shaping.font = HBN_T_NMT::CTPKFontDict::FromFile(kSans);
  // "سلام": four letters, of which lam and alef join into one ligature: three glyphs.
  const std::vector<PlacedGlyph> placed = LayOutText("\u0633\u0644\u0627\u0645", settings);
  ASSERT_EQ(placed.size(), 3u);
  const auto rightmost = std::max_element(placed.begin(), placed.end(),
                                          [](const auto& a, const auto& b) { return a.x < b.x; });
  EXPECT_EQ(rightmost->character, U'\u0633');
  EXPECT_EQ(Shape(kSans, "\u0633\u0644\u0627\u0645").direction, TextDirection::kRightToLeft);
}

TEST(TextShaping, VerticalColumnsRunDownFromRightToLeft) {
  LayoutSettings settings;
  settings.shaping.font = HBN_T_NMT::CTPKFontDict::FromFile(kSans);
  settings.shaping.direction = TextDirection::kTopToBottom;
  const std::vector<PlacedGlyph> placed = LayOutText("AB\nC", settings);
  ASSERT_EQ(placed.size(), 3u);
  for (const PlacedGlyph& glyph : placed) EXPECT_TRUE(glyph.vertical);
  EXPECT_EQ(placed[0].y, 0.0);
  EXPECT_LT(placed[1].y, placed[0].y);  // B below A
  EXPECT_EQ(placed[1].x, placed[0].x);
  EXPECT_LT(placed[2].x, placed[0].x);  // the second column left of the first
}

// Scripted shaping gives each character a glyph of 1,024 units, half an em of DejaVu Sans (2,048
// units per em): "ab" is one em wide and "c" half; the second line is 1.5 em down, after a
// "\n" or a "\r\n" alike.
TEST(TextLayout, AlignsEachLineAboutTheOrigin) {
  kly::host::HostServices services = kly::host::DefaultServices();
  services.shape_text = [](const ShapingRequest& request) {
    ShapedLine line;
    for (size_t i = 0; i < request.text.size(); ++i) {
      line.glyphs.push_back({7, static_cast<uint32_t>(i), 1024, 0, 0, 0});
    }
    return line;
  };
  const kly::host::ScopedServices scoped(services);
  struct Case {
    LineAlign align;
    double first_x;  // -(line width) times 0, 1/2, 1
  };
  for (const Case& c : {Case{LineAlign::kStart, 0.0}, Case{LineAlign::kCenter, -0.5},
                        Case{LineAlign::kEnd, -1.0}}) {
    LayoutSettings settings;
    settings.shaping.font = HBN_T_NMT::CTPKFontDict::FromFile(kSans);
    settings.align = c.align;
    settings.line_height = 1.5;
    const std::vector<PlacedGlyph> placed =
        LayOutText(c.align == LineAlign::kEnd ? "ab\r\nc" : "ab\nc", settings);
    ASSERT_EQ(placed.size(), 3u);
    EXPECT_EQ(placed[0].x, c.first_x);
    EXPECT_EQ(placed[1].x, c.first_x + 0.5);
    // The second line, half as wide, one line height down.
    EXPECT_EQ(placed[2].x, c.first_x / 2);
    EXPECT_EQ(placed[2].y, -1.5);
  }
}

class CliTextTest : public CliFixture {
 protected:
  ReadMesh Read(const std::string& name) const {
    KeepGlb(name);
    return kly::testing::ReadMeshFile((work_ / name).string());
  }
  tinygltf::Model LoadGlb(const std::string& name) const {
    KeepGlb(name);
    tinygltf::Model model;
    tinygltf::TinyGLTF loader;
    std::string error, warning;
    EXPECT_TRUE(loader.LoadBinaryFromFile(&model, &error, &warning, (work_ / name).string()))
        << error;
    return model;
  }
  void KeepGlb(const std::string& name) const {
    const char* folder = std::getenv("KLY_GLB_DIR");
    if (folder == nullptr || fs::path(name).extension() != ".glb") return;
    std::error_code ignored;
    fs::create_directories(folder, ignored);
    fs::copy_file(work_ / name, fs::path(folder) / ("text_" + name),
                  fs::copy_options::overwrite_existing, ignored);
  }
};

TEST_F(CliTextTest, AVHasOneMaterialASlotColour) {
  Outcome run = Kly({"text", "AV", "-o", "av.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  // Two letters of four slots collapse to eight materials, all of the default grey: one.
  ReadMesh av = Read("av.glb");
  EXPECT_EQ(av.materials, std::vector<std::string>{"front+back+side+bevel"});
  EXPECT_GT(av.triangles.size(), 0u);
  run =
      Kly({"text", "AV", "--color", "front=#ff0000", "--color", "bevel=#0000ff", "-o", "red.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  av = Read("red.glb");
  EXPECT_EQ(av.materials, (std::vector<std::string>{"front", "back+side", "bevel"}));
}

TEST_F(CliTextTest, PerLetterWritesANodeALetter) {
  Outcome run = Kly({"text", "Hi", "--per-letter", "-o", "hi.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const tinygltf::Model model = LoadGlb("hi.glb");
  ASSERT_EQ(model.nodes.size(), 2u);
  EXPECT_EQ(model.nodes[0].name, "H");
  EXPECT_EQ(model.nodes[1].name, "i");
  EXPECT_EQ(model.materials.size(), 1u);
  // A blank has no triangles and so no object.
  run = Kly({"text", "H i", "--per-letter", "-o", "hi.obj"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const std::string obj = Contents("hi.obj");
  EXPECT_NE(obj.find("\no H\n"), std::string::npos);
  EXPECT_NE(obj.find("\no i\n"), std::string::npos);
  EXPECT_EQ(obj.find("\no  \n"), std::string::npos);
  run = Kly({"text", "Hi", "--per-letter", "-o", "hi.stl"});
  EXPECT_EQ(run.exit_code, 2);
  EXPECT_EQ(run.err,
            "kly: --per-letter: .stl holds no objects; expected a .glb or .obj output with it "
            "(see kly --help)\n");
}

// Every writer holds the same triangles; the depth stands along -Z from the front at z = 0:
// wall 0.5 plus a bevel of 0.05 before and after it reach z = -0.6.
TEST_F(CliTextTest, EveryFormatHoldsTheSameSolid) {
  std::vector<size_t> counts;
  for (const std::string name : {"o.glb", "o.obj", "o.stl", "o.ply"}) {
    const Outcome run = Kly({"text", "o", "--size", "2", "--depth", "0.5", "--bevel-depth", "0.05",
                             "--bevel", "chamfer", "-o", name});
    ASSERT_EQ(run.exit_code, 0) << run.err;
    const ReadMesh mesh = Read(name);
    counts.push_back(mesh.triangles.size());
    double least = 0.0, most = -1.0;
    for (const auto& p : mesh.positions) {
      least = std::min(least, p[2]);
      most = std::max(most, p[2]);
    }
    EXPECT_NEAR(least, -0.6, 1e-6) << name;
    EXPECT_NEAR(most, 0.0, 1e-6) << name;
  }
  EXPECT_GT(counts[0], 0u);
  EXPECT_EQ(std::count(counts.begin(), counts.end(), counts[0]), 4);
}

// 'u' of DejaVu Sans holds an anchor, a contour of a single point, besides its outline. Playback
// leaves it out: the extrusion would refuse it and fail the whole text.
TEST_F(CliTextTest, LonePointOfUDoesNotFailTheText) {
  const Outcome run = Kly({"text", "you", "-o", "you.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_GT(Read("you.glb").triangles.size(), 0u);
}

// --cap-quality refines the front and back faces with points inside them: more triangles over
// the same outline (the same bounds); past 34 degrees refinement may not finish, so it is refused.
TEST_F(CliTextTest, CapQualityAddsPointsInsideTheFaces) {
  ASSERT_EQ(Kly({"text", "e", "-o", "plain.glb"}).exit_code, 0);
  const Outcome run = Kly({"text", "e", "--cap-quality", "25", "-o", "fine.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const ReadMesh plain = Read("plain.glb");
  const ReadMesh fine = Read("fine.glb");
  EXPECT_GT(fine.triangles.size(), plain.triangles.size());
  const auto extent = [](const ReadMesh& mesh) {
    std::array<double, 4> box = {1e30, 1e30, -1e30, -1e30};  // min x, min y, max x, max y
    for (const auto& p : mesh.positions) {
      box = {std::min(box[0], p[0]), std::min(box[1], p[1]), std::max(box[2], p[0]),
             std::max(box[3], p[1])};
    }
    return box;
  };
  EXPECT_EQ(extent(fine), extent(plain));
  const Outcome refused = Kly({"text", "e", "--cap-quality", "40", "-o", "steep.glb"});
  EXPECT_EQ(refused.exit_code, 2);
  EXPECT_EQ(refused.err,
            "kly: --cap-quality: '40' is out of range; expected a number from 0 to 34 (see kly "
            "--help)\n");
  EXPECT_FALSE(fs::exists(work_ / "steep.glb"));
}

TEST_F(CliTextTest, MissingGlyphDrawsItsBoxAndWarns) {
  Outcome run = Kly({"text", "a\u4e2d\u4e2d", "-o", "box.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  // One line for the character, however often it stands.
  EXPECT_EQ(run.err,
            "kly: warning: DejaVu Sans has no glyph for U+4E2D '\u4e2d'; its missing-glyph box "
            "stands in its place\n");
  run = Kly({"text", "a", "-o", "a.glb"});
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_GT(Read("box.glb").triangles.size(), Read("a.glb").triangles.size());
}

TEST_F(CliTextTest, BlankTextWritesAnEmptyFileWithANote) {
  for (const std::string text : {"", "   "}) {
    const Outcome run = Kly({"text", text, "-o", "blank.glb"});
    ASSERT_EQ(run.exit_code, 0) << run.err;
    EXPECT_EQ(run.err,
              "kly: note: 'blank.glb' gets no triangles\n"
              "kly: note: the text is empty or only blanks: there is nothing to draw\n");
    EXPECT_EQ(Read("blank.glb").triangles.size(), 0u);
  }
}

TEST_F(CliTextTest, BadInputFailsInOneLineLeavingNothing) {
  std::ofstream(root_ / "fake.ttf") << "not a font\n";
  struct Case {
    std::vector<std::string> args;
    int exit_code;
    std::string line;
  };
  const std::string fake = (root_ / "fake.ttf").string();
  const std::vector<Case> cases = {
      {{"--font", "missing.ttf"},
       1,
       "kly: reading the font failed: Cannot open font file "
       "\"missing.ttf\": No such file or directory (FreeType error 1)"},
      {{"--font", fake},
       1,
       "kly: reading the font failed: The font file \"" + fake +
           "\" is not a font (FreeType error 2)"},
      {{"--face-index", "1"},
       1,
       "kly: reading the font failed: The font file \"" + std::string(kSans) +
           "\" has 1 face; face 1 does not exist (FreeType error 6)"},
      {{"--variation", "wght=700"},
       2,
       "kly: --variation: 'wght' is not an axis of DejaVu Sans; it has no axes; expected axes "
       "of the font within their ranges (see kly --help)"},
      {{"--features", "kern=x"},
       2,
       "kly: --features: 'kern=x' is not a feature setting; expected settings separated by "
       "commas, as kern=0,liga=0,+smcp (see kly --help)"},
  };
  for (const Case& c : cases) {
    std::vector<std::string> args = {"text", "Hi", "-o", "bad.glb"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    SCOPED_TRACE(kly::testing::Joined(args));
    const Outcome run = Kly(args);
    EXPECT_EQ(run.exit_code, c.exit_code);
    EXPECT_EQ(run.err, c.line + "\n");
    EXPECT_TRUE(Entries().empty());
  }
  const Outcome run = Kly({"text", "a\xff", "-o", "bad.glb"});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(run.err, "kly: the text is not UTF-8: byte 2 starts no character\n");
  EXPECT_TRUE(Entries().empty());
}

}  // namespace
