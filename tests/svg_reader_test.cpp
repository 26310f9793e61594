// The SVG reader (svg_reader.h) on the hand-made drawings of tests/data/svg, and its errors.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <string>

#include "kly/host/svg_color.h"
#include "kly/host/svg_reader.h"
#include "kly/host/svg_viewport.h"

namespace {

using kly::host::ReadSvg;
using kly::host::ReadSvgFile;
using kly::host::SvgDrawing;
using kly::host::SvgError;
using kly::host::SvgShape;

std::string DataFile(const std::string& name) {
  const std::string source = __FILE__;
  return source.substr(0, source.rfind('/')) + "/data/svg/" + name;
}

std::string Pair(const float* p) {
  // Rounded to 4 decimals, so that float noise and -0 read as 0.
  const auto round = [](double v) { return std::round(v * 1e4) / 1e4 + 0.0; };
  char text[64];
  std::snprintf(text, sizeof text, "%.10g,%.10g", round(p[0]), round(p[1]));
  return text;
}

// "M0,0 L1,0 C1,1 2,2 3,0 Z".
std::string Describe(const HBN_T_NMT::CPVKBezierPath& path) {
  std::string text;
  for (uint32_t i = 0; i < path.Count(); ++i) {
    const float* p = path.Points() + 2 * i;
    if (!text.empty()) text += ' ';
    switch (path.Types()[i]) {
      case HBN_T_NMT::kPathMove:
        text += "M" + Pair(p);
        break;
      case HBN_T_NMT::kPathLine:
        text += "L" + Pair(p);
        break;
      case HBN_T_NMT::kPathCurve:
        text += "C" + Pair(p) + " " + Pair(p + 2) + " " + Pair(p + 4);
        i += 2;
        break;
      default:
        text += "Z";
    }
  }
  return text;
}

// The paths of a drawing's shapes by label, and their order.
std::map<std::string, std::string> Paths(const SvgDrawing& drawing) {
  std::map<std::string, std::string> paths;
  for (const SvgShape& shape : drawing.shapes) paths[shape.label] = Describe(shape.path);
  return paths;
}

std::string Labels(const SvgDrawing& drawing) {
  std::string labels;
  for (const SvgShape& shape : drawing.shapes) labels += (labels.empty() ? "" : " ") + shape.label;
  return labels;
}

TEST(SvgReader, PathCommands) {
  const std::map<std::string, std::string> expected = {
      // m is relative to the current point (3,4); its pair after is a lineto, relative too.
      {"path#moveto", "M1,2 L3,4 Z M4,5 L5,5 Z"},
      {"path#lineto", "M0,0 L10,0 L10,10 L0,10 L5,10 L5,20 L5,15 Z"},
      // c from (5,6); S mirrors (7,6) about (7,8) to (7,10); s from (10,10) mirrors (9,9) to
      // (11,11) and takes (1,1) and (2,0) from there.
      {"path#cubic", "M0,0 C1,2 3,4 5,6 C6,6 7,6 7,8 C7,10 9,9 10,10 C11,11 11,11 12,10 Z"},
      // A quadratic p0, q, p1 is the cubic p0 + 2/3 (q - p0), p1 + 2/3 (q - p1), p1:
      // Q3,3 6,0 gives (2,2) (4,2); T mirrors (3,3) about (6,0) to (9,-3): (8,-2) (10,-2);
      // q from (12,0) has its control at (15,-3); t mirrors it about (18,0) to (21,3).
      {"path#quadratic", "M0,0 C2,2 4,2 6,0 C8,-2 10,-2 12,0 C14,-2 16,-2 18,0 C20,2 22,2 24,0 Z"},
      // Quarter circles of radius 1: the first about (1,0), the way back about (0,1); the
      // controls sit along the tangents at 4/3 tan(22.5 degrees) = 0.5523.
      {"path#arc", "M0,0 C0,0.5523 0.4477,1 1,1 C1,0.4477 0.5523,0 0,0 Z"},
  };
  EXPECT_EQ(Paths(ReadSvgFile(DataFile("commands.svg"))), expected);
}

TEST(SvgReader, BasicShapes) {
  const SvgDrawing drawing = ReadSvgFile(DataFile("shapes.svg"));
  const std::map<std::string, std::string> expected = {
      {"rect#plain", "M1,2 L4,2 L4,6 L1,6 Z"},
      // rx 3 with ry auto is 3 too, then clamped to half the height, 2; k = 0.5523 of a radius
      // from each corner's ends: 7 + 3k = 8.6569, 2 - 2k = 0.8954. The sides of length 0
      // between the right and left corners are left out.
      {"rect#rounded",
       "M3,0 L7,0 C8.6569,0 10,0.8954 10,2 C10,3.1046 8.6569,4 7,4 L3,4 C1.3431,4 0,3.1046 0,2 "
       "C0,0.8954 1.3431,0 3,0 Z"},
      // Four quarters from (cx + r, cy), down first; 2k = 1.1046.
      {"circle#circle",
       "M12,10 C12,11.1046 11.1046,12 10,12 C8.8954,12 8,11.1046 8,10 C8,8.8954 8.8954,8 10,8 "
       "C11.1046,8 12,8.8954 12,10 Z"},
      // 4k = 2.2091, 2k = 1.1046.
      {"ellipse#ellipse",
       "M4,0 C4,1.1046 2.2091,2 0,2 C-2.2091,2 -4,1.1046 -4,0 C-4,-1.1046 -2.2091,-2 0,-2 "
       "C2.2091,-2 4,-1.1046 4,0 Z"},
      {"polygon#polygon", "M0,0 L4,0 L4,3 Z"},
      // A filled polyline is closed as a polygon.
      {"polyline#polyline", "M0,0 L1,0 L1,1 L0,1 Z"},
  };
  EXPECT_EQ(Paths(drawing), expected);
  // Each top-level shape is a group of its own, counted among all the root's elements.
  std::vector<int32_t> groups;
  for (const SvgShape& shape : drawing.shapes) groups.push_back(shape.group);
  EXPECT_EQ(groups, (std::vector<int32_t>{0, 1, 3, 4, 5, 6}));
  EXPECT_EQ(drawing.warnings, std::vector<std::string>{"<line> without area not built at line 9"});
}

TEST(SvgReader, TransformsViewportsAndUnits) {
  const SvgDrawing drawing = ReadSvgFile(DataFile("transforms.svg"));
  // 2in by 1in is 192 by 96; the 48 square viewBox meets it at scale 2, centred: x' = 2x + 48,
  // y' = 2y. Every rect below is the unit square unless said.
  EXPECT_EQ(drawing.width, 192.0);
  EXPECT_EQ(drawing.height, 96.0);
  EXPECT_EQ(Labels(drawing),
            "rect#plain rect#nested rect#rotate rect#skew rect#matrix "
            "rect#viewport rect#plain rect#units rect#percent rect#in-symbol");
  const char* expected[] = {
      "M48,0 L50,0 L50,2 L48,2 Z",
      // translate(10 5) of scale(2): (2x + 10, 2y + 5), so (4x + 68, 4y + 10).
      "M68,10 L72,10 L72,14 L68,14 Z",
      // rotate(90 1 1): (x, y) - (1, 1) turns to (1 - y, x - 1), back by (1, 1): (2 - y, x).
      "M52,0 L52,2 L50,2 L50,0 Z",
      // skewX(45) after skewY(45): (x, x + y), then (x + (x + y), x + y) = (2x + y, x + y).
      "M48,0 L52,2 L54,4 L50,2 Z",
      // matrix(1 2 3 4 5 6): (x + 3y + 5, 2x + 4y + 6).
      "M58,12 L60,16 L66,24 L64,20 Z",
      // The unit viewBox meets 20 by 10 at scale 10, centred (+5), moved by x = 10: (10x + 15,
      // 10y), so (20x + 78, 20y).
      "M78,0 L98,0 L98,20 L78,20 Z",
      // <use> scale(2), then x 3, y 4: (2x + 6, 2y + 8), so (4x + 60, 4y + 16).
      "M60,16 L64,16 L64,20 L60,20 Z",
      // 1in, 2.54cm, 25.4mm and 6pc are all 96: from (96,96) to (192,192), so 240 to 432 and
      // 192 to 384.
      "M240,192 L432,192 L432,384 L240,384 Z",
      // 50% and 25% of the 48 square viewBox: 24 by 12.
      "M48,0 L96,0 L96,24 L48,24 Z",
      // The symbol's 2 square viewBox fits the <use>'s 4 by 4 at scale 2, moved by x = 1:
      // (2x + 1, 2y), so (4x + 50, 4y).
      "M50,0 L54,0 L54,4 L50,4 Z",
  };
  ASSERT_EQ(drawing.shapes.size(), std::size(expected));
  for (size_t i = 0; i < drawing.shapes.size(); ++i) {
    EXPECT_EQ(Describe(drawing.shapes[i].path), expected[i]) << drawing.shapes[i].label;
  }
  EXPECT_EQ(drawing.shapes[1].group, 1);  // inside the second top-level element, a <g>
  EXPECT_TRUE(drawing.warnings.empty());
}

TEST(SvgReader, FillsRulesAndReferences) {
  const SvgDrawing drawing = ReadSvgFile(DataFile("styles.svg"));
  const struct {
    const char* label;
    int32_t group;
    uint32_t orientation_style;  // evenodd 0, nonzero 1
    bool has_fill;
    int r, g, b;
  } kExpected[] = {
      // The group's fill-rule attribute says evenodd, its style nonzero: the style wins.
      {"rect#inherits", 1, 1, true, 255, 0, 0},
      {"rect#evenodd", 1, 0, true, 0xaa, 0xbb, 0xcc},
      {"rect#current", 1, 1, true, 0x12, 0x34, 0x56},
      // 50% of 255 is 127.5, rounded to 128.
      {"rect#percent", 1, 1, true, 255, 128, 0},
      {"rect#named", 1, 1, true, 100, 149, 237},
      // A hidden group's child may be visible again; display:none hides all below it.
      {"rect#shown", 1, 1, true, 255, 0, 0},
      {"rect#unfilled", 1, 1, false, 0, 0, 0},
      {"rect#top", 2, 1, true, 0, 0, 0},
      // <use> of a group from <defs>: its children inherit from it, the inner <use> too.
      {"rect#a", 3, 1, true, 0, 255, 0},
      {"rect#unit", 3, 1, true, 0, 255, 0},
      // <switch> draws its first child that needs no extension.
      {"rect#chosen", 5, 1, true, 0, 0, 0},
  };
  ASSERT_EQ(drawing.shapes.size(), std::size(kExpected));
  for (size_t i = 0; i < drawing.shapes.size(); ++i) {
    const SvgShape& shape = drawing.shapes[i];
    const auto& e = kExpected[i];
    EXPECT_EQ(shape.label, e.label);
    EXPECT_EQ(shape.group, e.group) << e.label;
    EXPECT_EQ(shape.orientation_style, e.orientation_style) << e.label;
    EXPECT_EQ(shape.has_fill, e.has_fill) << e.label;
    EXPECT_EQ((std::vector<int>{shape.fill.r, shape.fill.g, shape.fill.b}),
              (std::vector<int>{e.r, e.g, e.b}))
        << e.label;
  }
  // The <use> moves by x = 5, and the inner one by 2 more.
  EXPECT_EQ(Describe(drawing.shapes[8].path), "M5,0 L6,0 L6,1 L5,1 Z");
  EXPECT_EQ(Describe(drawing.shapes[9].path), "M7,0 L8,0 L8,1 L7,1 Z");
  EXPECT_EQ(drawing.warnings, (std::vector<std::string>{
                                  "shape without fill not built at line 15",
                                  "<use> inside what it draws ignored at line 19",
                              }));
}

TEST(SvgReader, UnsupportedFeaturesWarnOnceAKind) {
  const SvgDrawing drawing = ReadSvgFile(DataFile("warnings.svg"));
  EXPECT_EQ(drawing.warnings, (std::vector<std::string>{
                                  "CSS <style> sheet ignored at line 2",
                                  "3 <text> elements ignored, the first at line 3",
                                  "<image> element ignored at line 5",
                                  "opacity ignored at line 8",
                                  "clip-path ignored at line 8",
                                  "mask ignored at line 8",
                                  "filter ignored at line 8",
                                  "gradient or pattern fill drawn black at line 8",
                                  "2 strokes ignored, the first at line 8",
                                  "unreadable fill value ignored at line 9",
                                  "<foo> element ignored at line 10",
                                  "<line> without area not built at line 11",
                                  "<use> of nothing in this file ignored at line 12",
                                  "shape without fill not built at line 13",
                              }));
  // The rest is still built: both filled rects black, the unfilled one kept but marked.
  ASSERT_EQ(drawing.shapes.size(), 3u);
  EXPECT_EQ(drawing.shapes[0].fill.r, 0);
  EXPECT_EQ(drawing.shapes[1].fill.r, 0);
  EXPECT_FALSE(drawing.shapes[2].has_fill);

  // 70 unknown element names, 71 elements: 64 kinds get their line, the other 7 one more.
  std::string many = "<svg>";
  for (int i = 0; i < 70; ++i) many += "<e" + std::to_string(i) + "/>";
  const std::vector<std::string> lines = ReadSvg(many + "<e69/></svg>").warnings;
  ASSERT_EQ(lines.size(), 65u);
  EXPECT_EQ(lines[63], "<e63> element ignored at line 1");
  EXPECT_EQ(lines[64], "7 more warnings");
}

TEST(SvgReader, ErrorsAreOneLineNamingTheElement) {
  const struct {
    std::string text;
    std::string message;
  } kCases[] = {
      {"", "not an SVG file: No document element found at offset 0"},
      {"<svg><g></svg>", "not an SVG file: Start-end tags mismatch at offset 10"},
      {"<html/>", "not an SVG file: the root element is <html>, not <svg>"},
      {"<svg>\n<path id=\"p\" d=\"M 10 10 L 20 20 L\"/></svg>",
       "path data: expected a number at character 18 in <path id=\"p\"> at line 2"},
      {"<svg><g id=\"g\" transform=\"scale(1e999)\"/></svg>",
       "transform with a non-finite value in <g id=\"g\"> at line 1"},
      // Finite alone, infinite together.
      {"<svg><g transform=\"scale(1e200)\"><g id=\"in\" transform=\"scale(1e200)\"/></g></svg>",
       "transform with a non-finite value in <g id=\"in\"> at line 1"},
      {"<svg><g transform=\"rotate(10 1)\"/></svg>",
       "transform: expected a number at character 12 in <g> at line 1"},
      {"<svg viewBox=\"0 0 0 10\"/>", "viewBox has zero width or height in <svg> at line 1"},
      {"<svg><rect width=\"-1\" height=\"1\"/></svg>",
       "negative width or height in <rect> at line 1"},
      {"<svg><rect width=\"1\nem\" height=\"1\"/></svg>",
       "width \"1 em\" is not a length in <rect> at line 1"},
      {"<svg><polygon points=\"1 2 3\"/></svg>",
       "points: an odd number of coordinates in <polygon> at line 1"},
      {"<svg><path d=\"M1e39 0 L0 0\"/></svg>",
       "a coordinate past single precision in <path> at line 1"},
  };
  for (const auto& c : kCases) {
    try {
      ReadSvg(c.text);
      ADD_FAILURE() << c.text << " was read";
    } catch (const SvgError& error) {
      EXPECT_EQ(error.what(), c.message) << c.text;
    }
  }
  // A directory opens, and fails only when read.
  const std::string folder = DataFile("");
  const std::pair<std::string, std::string> kFiles[] = {
      {"/nonexistent/drawing.svg", "No such file or directory"},
      {folder, "Is a directory"},
  };
  for (const auto& [path, message] : kFiles) {
    try {
      ReadSvgFile(path);
      ADD_FAILURE() << path << " was read";
    } catch (const SvgError& error) {
      EXPECT_EQ(error.what(), message);
    }
  }
}

TEST(SvgReader, HostileNestingAndReferencesStop) {
  // Far deeper than the walk goes: refused at depth kMaxSvgDepth + 1, without a crash.
  std::string deep = "<svg>";
  for (int i = 0; i < 10000; ++i) deep += "<g>";
  for (int i = 0; i < 10000; ++i) deep += "</g>";
  EXPECT_THROW(
      {
        try {
          ReadSvg(deep + "</svg>");
        } catch (const SvgError& error) {
          EXPECT_STREQ(error.what(), "elements nested deeper than 256 levels in <g> at line 1");
          throw;
        }
      },
      SvgError);
  // Ten levels of ten <use> each would walk 10^10 elements.
  std::string bomb = "<svg><defs><g id=\"l0\"/>";
  for (int level = 1; level <= 10; ++level) {
    bomb += "<g id=\"l" + std::to_string(level) + "\">";
    for (int i = 0; i < 10; ++i) bomb += "<use href=\"#l" + std::to_string(level - 1) + "\"/>";
    bomb += "</g>";
  }
  bomb += "</defs><use href=\"#l10\"/></svg>";
  try {
    ReadSvg(bomb);
    ADD_FAILURE() << "the <use> bomb was read";
  } catch (const SvgError& error) {
    EXPECT_EQ(std::string(error.what()).rfind("more than 1000000 elements to draw in <", 0), 0u)
        << error.what();
  }
}

TEST(SvgViewBox, PreserveAspectRatio) {
  using kly::host::FitViewBox;
  using kly::host::SvgViewBox;
  const struct {
    SvgViewBox box;
    const char* aspect;
    double a, d, e, f;  // scale x, scale y, translation
    bool sliced;
  } kCases[] = {
      // 10 square into 20 by 10: meet scales by min(2, 1) = 1, slice by max = 2.
      {{0, 0, 10, 10}, "", 1, 1, 5, 0, false},  // xMid: (20 - 10) / 2
      {{0, 0, 10, 10}, "xMinYMin meet", 1, 1, 0, 0, false},
      {{0, 0, 10, 10}, "xMaxYMax slice", 2, 2, 0, -10, true},  // yMax: 10 - 20
      {{0, 0, 10, 10}, "none", 2, 1, 0, 0, false},
      // The box's origin moves to the viewport's: -5 scaled by 1, then centred.
      {{5, 5, 10, 10}, "xMidYMid", 1, 1, 0, -5, false},
  };
  for (const auto& c : kCases) {
    bool sliced = !c.sliced;
    const kly::host::SvgMatrix m = FitViewBox(c.box, c.aspect, 20, 10, sliced);
    EXPECT_EQ((std::vector<double>{m.a, m.b, m.c, m.d, m.e, m.f}),
              (std::vector<double>{c.a, 0, 0, c.d, c.e, c.f}))
        << c.aspect;
    EXPECT_EQ(sliced, c.sliced) << c.aspect;
  }
  bool sliced = false;
  try {
    FitViewBox({0, 0, 1, 1}, "xMidYMid cover", 1, 1, sliced);
    ADD_FAILURE() << "cover was taken";
  } catch (const SvgError& error) {
    EXPECT_STREQ(error.what(),
                 "preserveAspectRatio: expected none or xMinYMin to xMaxYMax, then meet or slice");
  }
}

TEST(SvgColor, Forms) {
  const struct {
    const char* text;
    bool valid;
    int r, g, b;
  } kCases[] = {
      {"#f80", true, 255, 136, 0},  // one digit a channel, doubled
      {"#FF8800", true, 255, 136, 0},
      {"#ff880080", true, 255, 136, 0},  // alpha dropped
      {" rgb(1, 2, 3) ", true, 1, 2, 3},
      {"rgb(1 2 3 / 50%)", true, 1, 2, 3},
      {"RGBA(300,-2,3,0.5)", true, 255, 0, 3},  // clamped
      {"Red", true, 255, 0, 0},
      {"rebeccapurple", true, 0x66, 0x33, 0x99},
      // Not colours: the colour keeps its 7, 7, 7.
      {"#12345", false, 7, 7, 7},
      {"rgb(1,2)", false, 7, 7, 7},
      {"rgb(1,2,3", false, 7, 7, 7},
      {"reddish", false, 7, 7, 7},
  };
  for (const auto& c : kCases) {
    kly::host::SvgColor color{7, 7, 7};
    EXPECT_EQ(kly::host::ParseSvgColor(c.text, color), c.valid) << c.text;
    EXPECT_EQ((std::vector<int>{color.r, color.g, color.b}), (std::vector<int>{c.r, c.g, c.b}))
        << c.text;
  }
}

}  // namespace
