// The faces' quality option: the front and back faces refined with points inside them, their
// outline kept point for point so that the walls still meet them; the option's dirty rule,
// its forwarding by the collections, and the angle the engine refuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <tuple>
#include <vector>

#include "kly/host/glyph_outlines.h"
#include "kly/text/text.h"
#include "kly/text/vector_art_collection.h"
#include "tests/testing/extrusion_access.h"
#include "tests/testing/glyph_contours.h"
#include "tests/testing/report_capture.h"

namespace {

using kly::testing::ReportCapture;
using kly::testing::TestExtrusion;
using kly::testing::ThrownNumber;
using kly::testing::Vec3;

const char* const kDejaVuSans = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
constexpr double kEm = 100.0;
constexpr double kDegrees = 180.0 / 3.141592653589793;

struct FaceSummary {
  std::set<std::tuple<double, double>> points;  // every vertex of the front face
  double area = 0.0;
  size_t triangles = 0;
  size_t under5 = 0;  // triangles whose smallest angle is under 5 degrees
  double smallest = 180.0;
};

double SmallestAngle(const Vec3& a, const Vec3& b, const Vec3& c) {
  const auto angle = [](const Vec3& p, const Vec3& q, const Vec3& r) {
    const double ux = q.x - p.x, uy = q.y - p.y, vx = r.x - p.x, vy = r.y - p.y;
    return std::atan2(std::fabs(ux * vy - uy * vx), ux * vx + uy * vy) * kDegrees;
  };
  return std::min({angle(a, b, c), angle(b, c, a), angle(c, a, b)});
}

// The front face is material 0 and lies at z = 0.
FaceSummary FrontFace(const TestExtrusion& e) {
  FaceSummary s;
  for (const KLY_Triangle& t : e.triangles) {
    if (t.material_index != KLY_Extrusion::kFrontMaterial) continue;
    const Vec3& a = e.vertices[t.indices[0]].pos;
    const Vec3& b = e.vertices[t.indices[1]].pos;
    const Vec3& c = e.vertices[t.indices[2]].pos;
    for (const Vec3* p : {&a, &b, &c}) s.points.insert({p->x, p->y});
    s.area += 0.5 * std::fabs((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x));
    const double smallest = SmallestAngle(a, b, c);
    s.smallest = std::min(s.smallest, smallest);
    s.under5 += smallest < 5.0 ? 1 : 0;
    ++s.triangles;
  }
  return s;
}

size_t WallTriangles(const TestExtrusion& e) {
  return std::count_if(e.triangles.begin(), e.triangles.end(), [](const KLY_Triangle& t) {
    return t.material_index >= KLY_Extrusion::kSideMaterial;
  });
}

TestExtrusion GlyphSolid(const kly::host::GlyphOutlines& font, char character, double quality) {
  TestExtrusion e;
  for (const KLY_Contour& c : kly::testing::GlyphContours(font, character - 29, kEm / 2048))
    e.PushContour(c);
  e.SetExtrusionDepth(10.0);
  e.SetBevelStyle(KLY_Extrusion::BevelConvex);
  e.SetBevelDepth(2.0);
  e.SetFaceQuality(quality);
  e.Update();
  return e;
}

// Refined faces keep every point of the plain face (the outline's), cover the same area, leave
// the walls as they were, and lose their slivers. Glyph ids of DejaVu Sans are the character
// minus 29 for printable ASCII.
TEST(ExtrusionFaceQuality, RefinedFaceKeepsItsOutlineAndLosesItsSlivers) {
  ReportCapture capture;
  const kly::host::GlyphOutlines font(kDejaVuSans);
  size_t plainUnder5 = 0;
  for (char character : {'S', 'e', '8', 'g', 'B', '@'}) {
    const TestExtrusion plain = GlyphSolid(font, character, 0.0);
    const TestExtrusion refined = GlyphSolid(font, character, 25.0);
    const FaceSummary before = FrontFace(plain);
    const FaceSummary after = FrontFace(refined);
    EXPECT_TRUE(std::includes(after.points.begin(), after.points.end(), before.points.begin(),
                              before.points.end()))
        << character;
    EXPECT_GT(after.points.size(), before.points.size()) << character;
    EXPECT_NEAR(before.area, after.area, 1e-9 * before.area) << character;
    EXPECT_EQ(WallTriangles(plain), WallTriangles(refined)) << character;
    // Every triangle of the back face mirrors one of the front.
    EXPECT_EQ(2 * after.triangles + WallTriangles(refined), refined.GetNumTriangles());
    EXPECT_EQ(0u, after.under5) << character << ": smallest " << after.smallest;
    plainUnder5 += before.under5;
  }
  // The plain faces do have slivers, or the test above shows nothing.
  EXPECT_GT(plainUnder5, 20u);
}

// 0, a negative angle and NaN are all stored as 0; only a change sets dirty.
TEST(ExtrusionFaceQuality, StoredNotBelowZeroAndDirtyOnChange) {
  struct Case {
    double given, stored;
    bool dirty;
  };
  const Case cases[] = {{25.0, 25.0, true},
                        {25.0, 25.0, false},
                        {-3.0, 0.0, true},
                        {0.0, 0.0, false},
                        {std::numeric_limits<double>::quiet_NaN(), 0.0, false}};
  TestExtrusion e;
  e.Update();
  for (const Case& c : cases) {
    e.SetFaceQuality(c.given);
    double stored = -1.0;
    e.GetFaceQuality(stored);
    EXPECT_EQ(c.stored, stored) << c.given;
    EXPECT_EQ(c.dirty, e.dirty) << c.given;
    e.Update();
  }
}

// 60 degrees or more cannot be met by any triangle; the engine refuses it and the face fails
// as one that cannot be triangulated: 22531.
TEST(ExtrusionFaceQuality, AngleTheEngineRefusesFailsTheFace) {
  ReportCapture capture;
  const kly::host::GlyphOutlines font(kDejaVuSans);
  for (double angle : {60.0, 1e300}) {
    TestExtrusion e;
    for (const KLY_Contour& c : kly::testing::GlyphContours(font, 'o' - 29, kEm / 2048))
      e.PushContour(c);
    e.SetFaceQuality(angle);
    EXPECT_EQ(22531, ThrownNumber([&] { e.Update(); })) << angle;
    EXPECT_TRUE(e.dirty);
  }
}

// The collections store the angle as given and hand it to every element.
TEST(ExtrusionFaceQuality, CollectionsForwardTheAngle) {
  KLY_Text text;
  KLY_Letter letter(0, {}, {}, false, TYE::kGlyphHorizontal, HBN_T_NMT::CTPKFontDict(), {});
  text.AddLetter(letter);
  text.AddLetter(letter);
  text.SetFaceQuality(30.0);
  double stored = 0.0;
  text.GetFaceQuality(stored);
  EXPECT_EQ(30.0, stored);
  for (int32_t i = 0; i < text.NumLetters(); ++i) {
    double forwarded = 0.0;
    text.GetLetter(i)->GetFaceQuality(forwarded);
    EXPECT_EQ(30.0, forwarded);
  }
  KLY_VectorArtCollection collection;
  collection.SetFaceQuality(-1.0);
  collection.GetFaceQuality(stored);
  EXPECT_EQ(-1.0, stored);  // stored as given; each element clamps for itself
}

}  // namespace
