// The standalone glyph source, read against DejaVu Sans (Debian's fonts-dejavu-core).
#include "kly/host/glyph_outlines.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "tests/testing/report_capture.h"

namespace kly {
namespace host {
namespace {

const char* const kDejaVuSans = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

std::unique_ptr<GlyphOutlines> OpenDejaVu() {
  try {
    return std::make_unique<GlyphOutlines>(kDejaVuSans);
  } catch (int32_t) {
    return nullptr;
  }
}

TEST(GlyphOutlines, MissingFontFailsWithFreeTypeStatusAfterOneReport) {
  testing::ReportCapture capture;
  const int32_t number = testing::ThrownNumber([] { GlyphOutlines("/nonexistent/font.ttf"); });
  EXPECT_EQ(number, 1);  // FreeType's "cannot open resource"
  ASSERT_EQ(capture.reports().size(), 1u);
  EXPECT_NE(capture.reports()[0].text.find("/nonexistent/font.ttf"), std::string::npos);
}

// Glyph 0 of DejaVu Sans, the missing-glyph box, is a square ring: the outer rectangle
// (102,-362)-(1126,1444) and the inner (217,-248)-(1012,1329), all on-curve points.
TEST(GlyphOutlines, MissingGlyphBoxIsTwoRectangles) {
  const auto font = OpenDejaVu();
  if (!font) GTEST_SKIP() << "no " << kDejaVuSans;
  EXPECT_GT(font->GlyphCount(), 5000);
  EXPECT_EQ(font->UnitsPerEm(), 2048);
  const auto contours = font->Contours(0);
  ASSERT_EQ(contours.size(), 2u);
  const OutlinePoint outer[] = {{102, -362, OutlinePointKind::kOnCurve},
                                {102, 1444, OutlinePointKind::kOnCurve},
                                {1126, 1444, OutlinePointKind::kOnCurve},
                                {1126, -362, OutlinePointKind::kOnCurve}};
  ASSERT_EQ(contours[0].size(), 4u);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(contours[0][i].x, outer[i].x);
    EXPECT_EQ(contours[0][i].y, outer[i].y);
    EXPECT_EQ(contours[0][i].kind, outer[i].kind);
  }
  // Straight contours flatten to their own points, whatever the tolerance.
  const auto lines = font->Polylines(0, 0.25);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].size(), 4u);
  EXPECT_EQ(lines[1].size(), 4u);
}

// For every glyph: each on-curve point of the stored contours appears in the polylines, a
// finer tolerance never gives fewer points, and no polyline repeats a point in a row or
// closes on its first point.
TEST(GlyphOutlines, PolylinesKeepOnCurvePointsAndRefineWithTolerance) {
  const auto font = OpenDejaVu();
  if (!font) GTEST_SKIP() << "no " << kDejaVuSans;
  for (int32_t glyph = 0; glyph < font->GlyphCount(); glyph += 7) {
    const auto contours = font->Contours(glyph);
    const auto coarse = font->Polylines(glyph, 4.0);
    const auto fine = font->Polylines(glyph, 0.25);
    ASSERT_EQ(coarse.size(), fine.size()) << glyph;
    size_t coarse_points = 0, fine_points = 0;
    for (size_t c = 0; c < fine.size(); ++c) {
      coarse_points += coarse[c].size();
      fine_points += fine[c].size();
      const auto& line = fine[c];
      for (size_t i = 0; i < line.size(); ++i) {
        const auto& next = line[(i + 1) % line.size()];
        EXPECT_FALSE(line[i].x == next.x && line[i].y == next.y) << glyph;
      }
    }
    EXPECT_LE(coarse_points, fine_points) << glyph;
    for (const OutlineContour& contour : contours) {
      // A contour of one place (DejaVu has single-point contours) is dropped.
      bool collapsed = true;
      for (const OutlinePoint& p : contour)
        collapsed = collapsed && p.x == contour[0].x && p.y == contour[0].y;
      if (collapsed) continue;
      for (const OutlinePoint& p : contour) {
        if (p.kind != OutlinePointKind::kOnCurve) continue;
        bool found = false;
        for (const auto& line : fine)
          for (const auto& q : line) found = found || (q.x == p.x && q.y == p.y);
        EXPECT_TRUE(found) << "glyph " << glyph << " point " << p.x << ", " << p.y;
      }
    }
  }
}

}  // namespace
}  // namespace host
}  // namespace kly
