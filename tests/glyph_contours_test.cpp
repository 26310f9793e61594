// Glyph outlines as the extrusion's contours (tests/testing/glyph_contours.h): arcs raised to
// cubics, implied on-curve points, where a contour starts and how it closes; and, over every
// glyph of DejaVu Sans, the area enclosed by the contours against FreeType's own flattening.
#include "tests/testing/glyph_contours.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

namespace {

using kly::host::OutlineContour;
using kly::host::OutlinePointKind;
using kly::testing::ContourOfOutline;
using Vec3 = ORT_Vector3T<double>;

constexpr OutlinePointKind kOn = OutlinePointKind::kOnCurve;
constexpr OutlinePointKind kConic = OutlinePointKind::kConic;
constexpr OutlinePointKind kCubic = OutlinePointKind::kCubic;
const char* const kDejaVuSans = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

struct Expected {
  double x, y;
  uint32_t code;
};

void ExpectContour(const KLY_Contour& contour, const std::vector<Expected>& expected) {
  ASSERT_EQ(contour.Size(), expected.size());
  auto point = contour.beginPoints();
  auto code = contour.beginCodes();
  for (size_t i = 0; i < expected.size(); ++i, ++point, ++code) {
    EXPECT_NEAR(point->x, expected[i].x, 1e-12) << "point " << i;
    EXPECT_NEAR(point->y, expected[i].y, 1e-12) << "point " << i;
    EXPECT_EQ(point->z, 0.0) << "point " << i;
    EXPECT_EQ(*code, expected[i].code) << "point " << i;
  }
  bool closed = false;
  contour.GetClosed(closed);
  EXPECT_TRUE(closed);
}

TEST(GlyphContours, StraightContourLeavesItsClosingLineToTheClosedFlag) {
  // A square scaled by 0.5: four points, a start and three lines; the fourth side is the
  // closing line.
  const OutlineContour square = {{0, 0, kOn}, {0, 20, kOn}, {20, 20, kOn}, {20, 0, kOn}};
  ExpectContour(ContourOfOutline(square, 0.5), {{0, 0, 0}, {0, 10, 1}, {10, 10, 1}, {10, 0, 1}});
}

TEST(GlyphContours, ConicsBecomeCubicsWithImpliedMidpointsFromTheFirstOnCurvePoint) {
  // Stored from a conic; read from P = (10, 10). C1 (20, 10) and C2 (20, 0) imply the point
  // (20, 5) between them. Each arc A, C, B becomes A, A + 2/3 (C - A), B + 2/3 (C - B), B:
  //   P, C1, (20, 5):  (16.67, 10), (20, 8.33), (20, 5)
  //   (20, 5), C2, Q:  (20, 1.67), (16.67, 0), (10, 0)
  //   Q, C0, P:        (3.33, 6.67), (3.33, 10), (10, 10), the closing arc, written out.
  const OutlineContour outline = {
      {0, 10, kConic}, {10, 10, kOn}, {20, 10, kConic}, {20, 0, kConic}, {10, 0, kOn}};
  const double third = 10.0 / 3.0;
  ExpectContour(ContourOfOutline(outline, 1.0), {{10, 10, 0},
                                                 {10 + 2 * third, 10, 2},
                                                 {20, 5 + third, 2},
                                                 {20, 5, 2},
                                                 {20, 5 - third, 2},
                                                 {10 + 2 * third, 0, 2},
                                                 {10, 0, 2},
                                                 {third, 2 * third, 2},
                                                 {third, 10, 2},
                                                 {10, 10, 2}});
}

TEST(GlyphContours, ContourOfConicsOnlyStartsBetweenItsLastAndFirstControl) {
  // Four conics round a diamond's corners: every on-curve point is implied, the first being
  // the midpoint (5, 0) of the last control (10, 0) and the first (0, 0).
  const OutlineContour outline = {
      {0, 0, kConic}, {0, 10, kConic}, {10, 10, kConic}, {10, 0, kConic}};
  const KLY_Contour contour = ContourOfOutline(outline, 1.0);
  ASSERT_EQ(contour.Size(), 13u);  // a start and four cubics
  EXPECT_EQ(contour.beginPoints()[0], (Vec3{5, 0, 0}));
  EXPECT_EQ(contour.beginPoints()[3], (Vec3{0, 5, 0}));  // between (0, 0) and (0, 10)
  EXPECT_EQ(contour.beginPoints()[12], (Vec3{5, 0, 0}));
}

TEST(GlyphContours, CubicControlsPairUpAndAContourMayStartAtOne) {
  const OutlineContour arch = {{0, 0, kOn}, {0, 10, kCubic}, {10, 10, kCubic}, {10, 0, kOn}};
  ExpectContour(ContourOfOutline(arch, 1.0), {{0, 0, 0}, {0, 10, 2}, {10, 10, 2}, {10, 0, 2}});
  // The same arch stored from its first control: read from (10, 0); the cubic closes it.
  const OutlineContour rotated = {{0, 10, kCubic}, {10, 10, kCubic}, {10, 0, kOn}, {0, 0, kOn}};
  ExpectContour(ContourOfOutline(rotated, 1.0),
                {{10, 0, 0}, {0, 0, 1}, {0, 10, 2}, {10, 10, 2}, {10, 0, 2}});
}

TEST(GlyphContours, SinglePointStaysASinglePoint) {
  ExpectContour(ContourOfOutline({{3, 4, kOn}}, 2.0), {{6, 8, 0}});
  EXPECT_EQ(ContourOfOutline({}, 1.0).Size(), 0u);
}

// Twice the signed area of a closed polyline.
template <class Points>
double TwiceArea(const Points& points) {
  double sum = 0.0;
  for (size_t j = 0; j < points.size(); ++j) {
    const auto& a = points[j];
    const auto& b = points[(j + 1) % points.size()];
    sum += a.x * b.y - a.y * b.x;
  }
  return sum;
}

template <class Points>
double LengthOf(const Points& points) {
  double sum = 0.0;
  for (size_t j = 0; j < points.size(); ++j) {
    const auto& a = points[j];
    const auto& b = points[(j + 1) % points.size()];
    sum += std::hypot(b.x - a.x, b.y - a.y);
  }
  return sum;
}

// For every glyph, the contours flattened by KLY_Contour (to within 2^-7 of the curves) and
// FreeType's polylines of the stored outline (to within 0.1 font units, scaled) enclose the
// same signed area, up to the outline's length times the two tolerances: each flattening
// moves the boundary by at most its tolerance.
TEST(GlyphContours, EveryGlyphEnclosesTheAreaOfFreeTypesFlattening) {
  std::unique_ptr<kly::host::GlyphOutlines> font;
  try {
    font = std::make_unique<kly::host::GlyphOutlines>(kDejaVuSans);
  } catch (int32_t) {
    GTEST_SKIP() << "no " << kDejaVuSans;
  }
  const double fontTolerance = 0.1;
  const double scale = 100.0 / font->UnitsPerEm();
  for (int32_t glyph = 0; glyph < font->GlyphCount(); ++glyph) {
    double ours = 0.0, length = 0.0;
    for (KLY_Contour& contour : kly::testing::GlyphContours(*font, glyph, scale)) {
      contour.SetGranularity(0, 10);
      std::vector<Vec3> polygon;
      contour.PolygonalApprox(polygon);
      ours += TwiceArea(polygon);
      length += LengthOf(polygon);
    }
    double theirs = 0.0;
    for (const auto& polyline : font->Polylines(glyph, fontTolerance)) {
      std::vector<Vec3> scaled;
      for (const auto& p : polyline) scaled.push_back({p.x * scale, p.y * scale, 0.0});
      theirs += TwiceArea(scaled);
    }
    const double slack = length * (0.0078125 + fontTolerance * scale);
    EXPECT_NEAR(0.5 * ours, 0.5 * theirs, slack) << "glyph " << glyph;
  }
}

}  // namespace
