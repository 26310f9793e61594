// KLY_Extrusion's contour preparation: telling holes from outer contours under both rules, the
// distance, limit and tolerance handed to the offset service, the path it receives, and how
// its result replaces a contour or, when unusable, leaves the contour as it was.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/testing/extrusion_access.h"
#include "tests/testing/report_capture.h"

namespace {

using kly::testing::ClosedPolygon;
using kly::testing::LineContour;
using kly::testing::OffsetCall;
using kly::testing::PathPoint;
using kly::testing::ProjectedArea;
using kly::testing::ReportCapture;
using kly::testing::ScriptedOffsetService;
using kly::testing::Square;
using kly::testing::TestExtrusion;
using kly::testing::ThrownNumber;
using kly::testing::Vec3;

using Polygon = std::vector<Vec3>;

Polygon Ccw(double x0, double y0, double side) {
  return ClosedPolygon(
      {{x0, y0, 0}, {x0 + side, y0, 0}, {x0 + side, y0 + side, 0}, {x0, y0 + side, 0}});
}
Polygon Cw(double x0, double y0, double side) {
  return ClosedPolygon(
      {{x0, y0, 0}, {x0, y0 + side, 0}, {x0 + side, y0 + side, 0}, {x0 + side, y0, 0}});
}

struct HoleCase {
  const char* name;
  std::vector<Polygon> polygons;
  std::vector<bool> holes;
};

void ExpectHoles(uint32_t orientation_style, const std::vector<HoleCase>& cases) {
  for (const HoleCase& c : cases) {
    TestExtrusion e;
    e.SetOrientationStyle(orientation_style);
    std::vector<Polygon> polygons = c.polygons;
    for (size_t i = 0; i < polygons.size(); ++i) {
      EXPECT_EQ(c.holes[i], e.IsHoleBound(static_cast<int>(i), polygons))
          << "style " << orientation_style << ", " << c.name << ", polygon " << i;
    }
  }
}

// Rule 1: the polygon holding the leftmost point (the first one on a tie; none found left of
// x = 1e6 keeps polygon 0) sets the winding of outer contours; the other winding is a hole.
TEST(ExtrusionHoleBound, ByWindingAgainstTheLeftmostPolygon) {
  ExpectHoles(
      1, {
             {"nested, both counter-clockwise", {Ccw(0, 0, 30), Ccw(10, 10, 10)}, {false, false}},
             {"nested, inner clockwise", {Ccw(0, 0, 30), Cw(10, 10, 10)}, {false, true}},
             {"single clockwise", {Cw(0, 0, 10)}, {false}},
             {"single counter-clockwise", {Ccw(0, 0, 10)}, {false}},
             {"clockwise outer", {Cw(0, 0, 30), Ccw(10, 10, 10)}, {false, true}},
             // Both reach x = 0; the first keeps its place, so the clockwise one is
             // outer.
             {"tie on the leftmost x", {Cw(0, 0, 10), Ccw(0, 20, 10)}, {false, true}},
             // The leftmost is the second polygon, clockwise: the first is the hole.
             {"leftmost polygon second", {Ccw(20, 0, 10), Cw(0, 0, 10)}, {true, false}},
             // Nothing lies left of 1e6, so polygon 0 decides although polygon 1 lies
             // further left.
             {"beyond 1e6", {Ccw(3e6, 0, 10), Cw(2e6, 0, 10)}, {false, true}},
         });
}

// Any other style: a polygon is a hole when the midpoint of its first two points lies inside an
// odd number of the other polygons, whatever the windings.
TEST(ExtrusionHoleBound, ByEvenOddContainment) {
  const std::vector<HoleCase> cases = {
      {"nested, both counter-clockwise", {Ccw(0, 0, 30), Ccw(10, 10, 10)}, {false, true}},
      {"nested, both clockwise", {Cw(0, 0, 30), Cw(10, 10, 10)}, {false, true}},
      // Test points (25, 0), (20, 10), (25, 20): inside 0, 1 and 2 others.
      {"three nested", {Ccw(0, 0, 50), Ccw(10, 10, 30), Ccw(20, 20, 10)}, {false, true, false}},
      {"single clockwise", {Cw(0, 0, 10)}, {false}},
      {"side by side", {Ccw(0, 0, 10), Ccw(20, 0, 10)}, {false, false}},
  };
  ExpectHoles(0, cases);
  ExpectHoles(2, cases);
}

// The rule chosen decides what the front face covers: two nested counter-clockwise squares are
// two outer contours by winding (the 30 x 30 square is covered, 900) and an outer contour with
// a hole by containment (900 - 100).
TEST(ExtrusionHoleBound, TheRuleDecidesWhatTheFrontCovers) {
  for (uint32_t style : {1u, 0u}) {
    ReportCapture capture;
    ScriptedOffsetService().InstallIn(capture.services());
    TestExtrusion e;
    e.SetOrientationStyle(style);
    e.PushContour(Square(0, 0, 30));
    e.PushContour(Square(10, 10, 10));
    e.Update();
    EXPECT_NEAR(style == 1 ? 900.0 : 800.0, ProjectedArea(e, 0), 1e-9) << style;
  }
}

// AdjustContoursForBeveling fills holeFlags and leaves polygons empty.
TEST(ExtrusionHoleBound, AdjustFillsHoleFlags) {
  ReportCapture capture;
  ScriptedOffsetService().InstallIn(capture.services());
  TestExtrusion e;
  e.PushContour(Square(0, 0, 30));
  e.PushContour(Square(10, 10, 10, false));
  e.PushContour(Square(40, 0, 5));
  e.holeFlags.resize(3, 7);
  e.AdjustContoursForBeveling();
  EXPECT_EQ((std::vector<uint32_t>{0, 1, 0}), e.holeFlags);
  EXPECT_TRUE(e.polygons.empty());
}

// What the service receives, per contour: distance = a clamped to [0.2, 1], limit = 10 |distance|,
// tolerance = b clamped to [0.2, 1], where for an outer contour a = 0.1 bevelDepth and
// b = q bevelDepth, for a hole a = -0.1 holeBevelDepth (always clamped up to 0.2) and
// b = q holeBevelDepth, with q = 0.5^(bevelGranularityMax + 2).
struct OffsetCase {
  double bevel, hole_bevel;
  uint32_t granularity_max;
  double outer[3], hole[3];  // distance, limit, tolerance
};

TEST(ExtrusionOffset, DistanceLimitAndToleranceOfEachContour) {
  const OffsetCase cases[] = {
      // A plain extrusion is offset too: 0.2, 2, 0.2.
      {0, 0, 10, {0.2, 2, 0.2}, {0.2, 2, 0.2}},
      // a = 0.1, clamped up; q = 2^-12, b = 2^-12.
      {1, 0, 10, {0.2, 2, 0.2}, {0.2, 2, 0.2}},
      // a = 0.5; b = 5 / 4096.
      {5, 0, 10, {0.5, 5, 0.2}, {0.2, 2, 0.2}},
      // a = 5, clamped down to 1.
      {50, 0, 10, {1.0, 10, 0.2}, {0.2, 2, 0.2}},
      // b = 100 / 4096 = 0.0244, clamped up.
      {100, 0, 10, {1.0, 10, 0.2}, {0.2, 2, 0.2}},
      // q = 0.5^2: outer a = 0.3, b = 0.75; hole a = -0.2 -> 0.2, b = 0.5.
      {3, 2, 0, {0.3, 3, 0.75}, {0.2, 2, 0.5}},
      // q = 0.5^4: outer a = 0.48, b = 0.3; hole b = 8 / 16 = 0.5.
      {4.8, 8, 2, {0.48, 4.8, 0.3}, {0.2, 2, 0.5}},
      // q = 0.5^2: outer a = 2 -> 1, b = 5 -> 1; hole b = 2 * 0.25 = 0.5, a = -0.2 -> 0.2.
      {20, 2, 0, {1.0, 10, 1.0}, {0.2, 2, 0.5}},
  };
  for (const OffsetCase& c : cases) {
    ReportCapture capture;
    ScriptedOffsetService service;
    service.InstallIn(capture.services());
    TestExtrusion e;
    e.PushContour(Square(0, 0, 30));
    e.PushContour(Square(10, 10, 10, false));
    e.SetBevelDepth(c.bevel);
    e.SetHoleBevelDepth(c.hole_bevel);
    e.SetBevelGranularity(0, c.granularity_max);
    e.Update();
    ASSERT_EQ(2u, service.calls().size());
    const double* expected[2] = {c.outer, c.hole};
    for (int i = 0; i < 2; ++i) {
      const OffsetCall& call = service.calls()[i];
      const std::string where =
          "bevel " + std::to_string(c.bevel) + ", contour " + std::to_string(i);
      EXPECT_EQ(static_cast<float>(expected[i][0]), call.distance) << where;
      EXPECT_EQ(static_cast<float>(expected[i][1]), call.limit) << where;
      EXPECT_EQ(static_cast<float>(expected[i][2]), call.tolerance) << where;
    }
  }
}

// Each build asks the service once for every contour, whatever the parameters; a second
// build asks again.
TEST(ExtrusionOffset, EveryContourOfEveryBuildIsOffset) {
  ReportCapture capture;
  ScriptedOffsetService service;
  service.InstallIn(capture.services());
  TestExtrusion e;
  e.PushContour(Square(0, 0, 30));
  e.PushContour(Square(10, 10, 10, false));
  e.Update();
  EXPECT_EQ(2u, service.calls().size());
  e.SetExtrusionDepth(5);
  e.Update();
  EXPECT_EQ(4u, service.calls().size());
}

// The build rewrites the contours, so a second build offsets the result of the first: its path
// starts at the first point the service gave, (-1, -1), not at the square's (0, 0).
TEST(ExtrusionOffset, SecondBuildOffsetsTheRewrittenContour) {
  ReportCapture capture;
  ScriptedOffsetService service({{0, -1, -1}, {1, 11, -1}, {1, 11, 11}, {1, -1, 11}, {3, -1, -1}});
  service.InstallIn(capture.services());
  TestExtrusion e;
  e.PushContour(Square(0, 0, 10));
  e.Update();
  e.SetExtrusionDepth(5);
  e.Update();
  ASSERT_EQ(2u, service.calls().size());
  EXPECT_EQ((std::vector<float>{0, 0}), std::vector<float>(service.calls()[0].points.begin(),
                                                           service.calls()[0].points.begin() + 2));
  EXPECT_EQ(
      (std::vector<float>{-1, -1}),
      std::vector<float>(service.calls()[1].points.begin(), service.calls()[1].points.begin() + 2));
  // A move, four line cubics of three points, a close.
  EXPECT_EQ(14u, service.calls()[1].types.size());
}

// A straight line from a to b as the chain writes it: control points at the single-precision
// thirds, then b.
void AppendLineCubic(const Vec3& a, const Vec3& b, std::vector<Vec3>& out) {
  out.push_back(a * 0.6666666865348816 + b * 0.3333333432674408);
  out.push_back(a * 0.3333333432674408 + b * 0.6666666865348816);
  out.push_back(b);
}

// The source path is the contour's chain of cubics: the first point as a move, every cubic as
// three curve points, the first point again as a close; coordinates as 32-bit floats.
TEST(ExtrusionOffset, SourcePathIsTheChainOfCubics) {
  KLY_Contour curved = LineContour({{0, 0, 0}, {10, 0, 0}});
  for (const Vec3& p : {Vec3{13.1, 3.3, 0}, Vec3{13.1, 6.7, 0}, Vec3{10, 10, 0}}) {
    curved.AppendVertexPosition(p);
    curved.AppendVertexCode(KLY_Contour::kCodeCurve);
  }
  curved.AppendVertexPosition({0.1, 10, 0});
  curved.AppendVertexCode(KLY_Contour::kCodeLine);

  std::vector<Vec3> square_chain = {{0, 0, 0}};
  AppendLineCubic({0, 0, 0}, {10, 0, 0}, square_chain);
  AppendLineCubic({10, 0, 0}, {10, 10, 0}, square_chain);
  AppendLineCubic({10, 10, 0}, {0, 10, 0}, square_chain);
  AppendLineCubic({0, 10, 0}, {0, 0, 0}, square_chain);  // the closing line

  std::vector<Vec3> curved_chain = {{0, 0, 0}};
  AppendLineCubic({0, 0, 0}, {10, 0, 0}, curved_chain);
  curved_chain.insert(curved_chain.end(), {{13.1, 3.3, 0}, {13.1, 6.7, 0}, {10, 10, 0}});
  AppendLineCubic({10, 10, 0}, {0.1, 10, 0}, curved_chain);
  AppendLineCubic({0.1, 10, 0}, {0, 0, 0}, curved_chain);

  struct Case {
    const char* name;
    KLY_Contour contour;
    std::vector<Vec3> chain;
  };
  const Case cases[] = {{"square", Square(0, 0, 10), square_chain},
                        {"line and curve", curved, curved_chain}};
  for (const Case& c : cases) {
    ReportCapture capture;
    ScriptedOffsetService service;
    service.InstallIn(capture.services());
    TestExtrusion e;
    e.PushContour(c.contour);
    e.Update();
    ASSERT_EQ(1u, service.calls().size());
    const OffsetCall& call = service.calls()[0];
    // 13 chain points as a move and 12 curve points, then the close: 14.
    ASSERT_EQ(14u, call.types.size()) << c.name;
    std::vector<int32_t> types(14, 2);
    types.front() = 0;
    types.back() = 3;
    EXPECT_EQ(types, call.types) << c.name;
    for (size_t i = 0; i < 14; ++i) {
      const Vec3& p = c.chain[i == 13 ? 0 : i];
      EXPECT_EQ(static_cast<float>(p.x), call.points[2 * i]) << c.name << " " << i;
      EXPECT_EQ(static_cast<float>(p.y), call.points[2 * i + 1]) << c.name << " " << i;
    }
  }
}

// A usable result replaces the contour: a move gives code 0, a line code 1, curve points code 2,
// z = 0, and the close is skipped. The build goes on with the new outline.
TEST(ExtrusionOffset, UsableResultReplacesTheContour) {
  ReportCapture capture;
  ScriptedOffsetService service(
      {{0, -1, -1}, {1, 11, -1}, {2, 12, 0}, {2, 12, 10}, {2, 11, 11}, {1, -1, 11}, {3, -1, -1}});
  service.InstallIn(capture.services());
  TestExtrusion e;
  e.PushContour(Square(0, 0, 10));
  e.Update();
  ASSERT_EQ(1u, e.contours.size());
  const KLY_Contour& c = e.contours[0];
  const std::vector<Vec3> points = {{-1, -1, 0}, {11, -1, 0}, {12, 0, 0},
                                    {12, 10, 0}, {11, 11, 0}, {-1, 11, 0}};
  EXPECT_EQ(points, std::vector<Vec3>(c.beginPoints(), c.endPoints()));
  EXPECT_EQ((std::vector<uint32_t>{0, 1, 2, 2, 2, 1}),
            std::vector<uint32_t>(c.beginCodes(), c.endCodes()));
  bool closed = false;
  c.GetClosed(closed);
  EXPECT_TRUE(closed);
  // The front face now spans the new outline: x from -1, y from -1 to 11.
  double min_x = 1e9, min_y = 1e9, max_y = -1e9;
  for (const KLY_Vertex& v : e.vertices) {
    min_x = std::min(min_x, v.pos.x);
    min_y = std::min(min_y, v.pos.y);
    max_y = std::max(max_y, v.pos.y);
  }
  EXPECT_EQ(-1.0, min_x);
  EXPECT_EQ(-1.0, min_y);
  EXPECT_EQ(11.0, max_y);
  EXPECT_TRUE(capture.reports().empty());
}

// An unusable result leaves the contour as it was, silently, and the build goes on with it.
TEST(ExtrusionOffset, UnusableResultLeavesTheContourUnchanged) {
  struct Case {
    const char* name;
    ScriptedOffsetService service;
  };
  const Case cases[] = {
      {"service fails", ScriptedOffsetService()},
      {"nothing streamed", ScriptedOffsetService({}, true)},
      // Two points: fewer than three, so the result is empty and fails its test.
      {"two points", ScriptedOffsetService({{0, 0, 0}, {1, 5, 5}})},
      {"two points and a close", ScriptedOffsetService({{0, 0, 0}, {1, 5, 5}, {3, 0, 0}})},
      // Two pieces: a second code 0 fails the contour test.
      {"second move", ScriptedOffsetService({{0, 0, 0},
                                             {1, 4, 0},
                                             {1, 4, 4},
                                             {1, 0, 4},
                                             {3, 0, 0},
                                             {0, 6, 6},
                                             {1, 9, 6},
                                             {1, 9, 9},
                                             {1, 6, 9},
                                             {3, 6, 6}})},
      // A stream that does not begin with a move cannot be collected.
      {"no first move", ScriptedOffsetService({{1, 0, 0}, {1, 4, 0}, {1, 4, 4}, {1, 0, 4}})},
      // All points on a line: no area.
      {"collapsed", ScriptedOffsetService({{0, 0, 0}, {1, 4, 0}, {1, 8, 0}, {1, 2, 0}})},
  };
  const KLY_Contour square = Square(0, 0, 10);
  const std::vector<Vec3> points(square.beginPoints(), square.endPoints());
  const std::vector<uint32_t> codes(square.beginCodes(), square.endCodes());
  for (const Case& c : cases) {
    ReportCapture capture;
    c.service.InstallIn(capture.services());
    TestExtrusion e;
    e.PushContour(square);
    EXPECT_EQ(0, ThrownNumber([&] { e.Update(); })) << c.name;
    EXPECT_EQ(1u, c.service.calls().size()) << c.name;
    EXPECT_EQ(points, std::vector<Vec3>(e.contours[0].beginPoints(), e.contours[0].endPoints()))
        << c.name;
    EXPECT_EQ(codes, std::vector<uint32_t>(e.contours[0].beginCodes(), e.contours[0].endCodes()))
        << c.name;
    EXPECT_NEAR(100.0, ProjectedArea(e, 0), 1e-9) << c.name;
    EXPECT_TRUE(capture.reports().empty()) << c.name;
  }
}

// OffsetContour on its own: a distance strictly below 1e-6 in size copies the input without
// asking the service; any other distance goes to the service as it is, with the limit and the
// tolerance as given. Either way the output takes the face granularity.
TEST(ExtrusionOffset, OffsetContourCopiesOrAsksTheService) {
  struct Case {
    double distance;
    bool asks;
  };
  const Case cases[] = {{0.0, false}, {9e-7, false}, {-9e-7, false}, {1e-6, true}, {-0.5, true}};
  for (const Case& c : cases) {
    ReportCapture capture;
    ScriptedOffsetService service;
    service.InstallIn(capture.services());
    TestExtrusion e;
    e.SetFaceGranularity(2, 7);
    KLY_Contour in = Square(0, 0, 10);
    in.SetGranularity(0, 3);
    KLY_Contour out = Square(50, 50, 1);
    e.OffsetContour(in, c.distance, 3.0, 0.25, out);
    ASSERT_EQ(c.asks ? 1u : 0u, service.calls().size()) << c.distance;
    if (c.asks) {
      EXPECT_EQ(static_cast<float>(c.distance), service.calls()[0].distance);
      EXPECT_EQ(3.0f, service.calls()[0].limit);
      EXPECT_EQ(0.25f, service.calls()[0].tolerance);
    }
    EXPECT_EQ(std::vector<Vec3>(in.beginPoints(), in.endPoints()),
              std::vector<Vec3>(out.beginPoints(), out.endPoints()))
        << c.distance;
    uint32_t min = 0, max = 0;
    out.GetGranularity(min, max);
    EXPECT_EQ(2u, min) << c.distance;
    EXPECT_EQ(7u, max) << c.distance;
  }
}

}  // namespace
