// The SVG path data parser (svg_path_data.h) and its arcs (svg_arc.h).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>

#include "kly/host/svg_path_data.h"
#include "kly/host/svg_reader.h"

namespace {

using kly::host::ParsePathData;
using kly::host::SvgError;
using kly::host::SvgPath;
using kly::host::Vec2;

std::string Pair(Vec2 p) {
  // Rounded to 4 decimals, so that 1e-17 noise and -0 read as 0.
  const auto round = [](double v) { return std::round(v * 1e4) / 1e4 + 0.0; };
  char text[64];
  std::snprintf(text, sizeof text, "%.10g,%.10g", round(p.x), round(p.y));
  return text;
}

// "M0,0 L1,0 C1,1 2,2 3,0 Z".
std::string Describe(const SvgPath& path) {
  std::string text;
  const auto& points = path.Points();
  for (size_t i = 0; i < points.size(); ++i) {
    if (!text.empty()) text += ' ';
    switch (path.Types()[i]) {
      case HBN_T_NMT::kPathMove:
        text += "M" + Pair(points[i]);
        break;
      case HBN_T_NMT::kPathLine:
        text += "L" + Pair(points[i]);
        break;
      case HBN_T_NMT::kPathCurve:
        text += "C" + Pair(points[i]) + " " + Pair(points[i + 1]) + " " + Pair(points[i + 2]);
        i += 2;
        break;
      default:
        text += "Z";
    }
  }
  return text;
}

std::string Parse(const std::string& data) {
  SvgPath path;
  ParsePathData(data, path);
  return Describe(path);
}

// The commands themselves are checked through files (svg_reader_test.cpp); here the syntax.
TEST(SvgPathData, NumbersSeparatorsAndRepeats) {
  const struct {
    const char* data;
    const char* expected;
  } kCases[] = {
      {"", ""},
      {" \t\n", ""},
      // Fractions start a new number at their second point: 1.5 .5, then 2 -3.
      {"M1.5.5L2-3", "M1.5,0.5 L2,-3 Z"},
      // 1e-3 and -2; 1E1 is 10.
      {"M1e-3-2 l1E1,0", "M0.001,-2 L10.001,-2 Z"},
      {"M+1-.5e1L0 0", "M1,-5 L0,0 Z"},
      {"M1.,2.L3,4", "M1,2 L3,4 Z"},
      // Past the range of a double: infinite above it, 0 below, whatever the exponent's size.
      {"M1e999-1e99999999999999999999L1e-999 0.0001e-99999999999999999999", "Minf,-inf L0,0 Z"},
      // Pairs after a moveto are linetos, relative after m.
      {"M 1,2 3,4 5 6", "M1,2 L3,4 L5,6 Z"},
      {"m1 2 3 4", "M1,2 L4,6 Z"},
      {"M0 0 H5 V5 h-1 v-1 2", "M0,0 L5,0 L5,5 L4,5 L4,4 L4,6 Z"},
      // A lone moveto draws nothing; m after z is relative to the closed subpath's start.
      {"M0 0 L1 1 M5 5", "M0,0 L1,1 Z"},
      {"M0 0 Z m 2 2 l1 0", "M2,2 L3,2 Z"},
      // A piece after z starts at the closed subpath's start.
      {"M0 0 10 0Z l0 5", "M0,0 L10,0 Z M0,0 L0,5 Z"},
      // Flags of arcs take one character: "00" are both flags, and so are "1" "1" of "11".
      {"M0 0a1 1 0 00 1 1", "M0,0 C0,0.5523 0.4477,1 1,1 Z"},
      {"M0 0a1,1,0,0,0,1,1", "M0,0 C0,0.5523 0.4477,1 1,1 Z"},
      // Half the unit circle, sweeping through (0, 1).
      {"M1 0A1 1 0 11-1 0", "M1,0 C1,0.5523 0.5523,1 0,1 C-0.5523,1 -1,0.5523 -1,0 Z"},
  };
  for (const auto& c : kCases) EXPECT_EQ(Parse(c.data), c.expected) << c.data;
}

TEST(SvgPathData, MalformedDataNamesTheCharacter) {
  const struct {
    const char* data;
    const char* message;
  } kCases[] = {
      {"L1 2", "path data: expected a moveto at character 1"},
      {"M 10 10 L 20 20 L", "path data: expected a number at character 18"},
      {"M1,2,L3 4", "path data: expected a number at character 6"},
      {"M1 2 X3", "path data: expected a command at character 6"},
      {"M0 0 Z 5", "path data: expected a command at character 8"},
      {"M 1 2 L 3 , , 4", "path data: expected a number at character 13"},
      {"M0 0 A1 1 0 2 0 5 5", "path data: expected a flag (0 or 1) at character 13"},
      // "1e" has no exponent: the number is 1, and 'e' is no command.
      {"M1 1e", "path data: expected a command at character 5"},
      {"M.", "path data: expected a number at character 2"},
  };
  for (const auto& c : kCases) {
    SvgPath path;
    ParsePathData("M7 7 L8 8", path);
    try {
      ParsePathData(c.data, path);
      ADD_FAILURE() << c.data << " parsed";
    } catch (const SvgError& error) {
      EXPECT_STREQ(error.what(), c.message) << c.data;
    }
    EXPECT_EQ(Describe(path), "M7,7 L8,8 Z") << c.data << ": the path lost what it had";
  }
}

// Arcs: every cubic's end points and midpoint lie on the ellipse, each cubic spans at most 90
// degrees, and the last one ends exactly at the arc's end.
TEST(SvgPathData, ArcsFollowTheirEllipse) {
  const struct {
    const char* data;
    double cx, cy, rx, ry, degrees;  // the ellipse, found by hand from the end points
    size_t cubics;
    Vec2 end;
  } kCases[] = {
      // Half circle from (0,0) to (10,0): centre halfway, radius 5; 180 degrees, 2 cubics.
      {"M0 0 A5 5 0 0 1 10 0", 5, 0, 5, 5, 0, 2, {10, 0}},
      // Radius 1 cannot reach 10 away: scaled up to 5, the same half circle.
      {"M0 0 A1 1 0 0 1 10 0", 5, 0, 5, 5, 0, 2, {10, 0}},
      // Large arc of radius 5 from (0,0) to (5,5): the centre (0,5) leaves 270 degrees.
      {"M0 0 A5 5 0 1 0 5 5", 0, 5, 5, 5, 0, 3, {5, 5}},
      // A quarter circle is one cubic.
      {"M5 0 A5 5 0 0 1 0 5", 0, 0, 5, 5, 0, 1, {0, 5}},
      // Ellipse 10 by 5 turned 30 degrees, from one end of its major axis to the other.
      {"M8.660254 5 A10 5 30 0 1 -8.660254 -5", 0, 0, 10, 5, 30, 2, {-8.660254, -5}},
  };
  for (const auto& c : kCases) {
    SvgPath path;
    ParsePathData(c.data, path);
    const double angle = c.degrees * 3.14159265358979323846 / 180.0;
    // The ellipse's implicit form: 0 on it, in its own turned axes.
    const auto error = [&](Vec2 p) {
      const double dx = p.x - c.cx;
      const double dy = p.y - c.cy;
      const double u = (std::cos(angle) * dx + std::sin(angle) * dy) / c.rx;
      const double v = (-std::sin(angle) * dx + std::cos(angle) * dy) / c.ry;
      return std::fabs(std::sqrt(u * u + v * v) - 1.0);
    };
    const auto& points = path.Points();
    ASSERT_EQ(points.size(), 2 + 3 * c.cubics) << c.data;  // move, cubics, close
    for (size_t i = 0; i < c.cubics; ++i) {
      const Vec2 p0 = points[3 * i], p1 = points[3 * i + 1], p2 = points[3 * i + 2],
                 p3 = points[3 * i + 3];
      const Vec2 middle = (p0 + p3) * 0.125 + (p1 + p2) * 0.375;  // the cubic at t = 1/2
      EXPECT_LT(error(p3), 1e-3) << c.data << " cubic " << i;
      EXPECT_LT(error(middle), 1e-3) << c.data << " cubic " << i;
      // At most 90 degrees: the chord is no longer than a quarter's, r root 2.
      EXPECT_LE(std::hypot(p3.x - p0.x, p3.y - p0.y), std::max(c.rx, c.ry) * std::sqrt(2.0) + 1e-9);
    }
    EXPECT_EQ(points[3 * c.cubics], c.end) << c.data;
  }
}

TEST(SvgPathData, DegenerateArcs) {
  // A zero radius draws a line; an arc ending where it starts draws nothing.
  EXPECT_EQ(Parse("M0 0A0 5 0 0 1 10 0"), "M0,0 L10,0 Z");
  EXPECT_EQ(Parse("M0 0A5 5 0 0 1 0 0 L1 0"), "M0,0 L1,0 Z");
}

}  // namespace
