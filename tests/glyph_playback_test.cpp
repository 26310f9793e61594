// Glyph playback on FreeType, read against DejaVu Sans (fonts-dejavu-core) and, for variations,
// Inter's variable font (fonts-inter-variable).
#include "kly/host/glyph_playback.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <ostream>
#include <string>
#include <set>
#include <vector>

#include "kly/host/services.h"
#include "tests/testing/glyph_contours.h"
#include "tests/testing/report_capture.h"

namespace {

using HBN_T_NMT::CTPKFontDict;

const char* const kDejaVuSans = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
const char* const kInterVariable = "/usr/share/fonts/truetype/inter-vf/Inter.var.ttf";
// Glyph ids of DejaVu Sans's cmap: ' ' 3, 'l' 79; of Inter's: 'a' 504.
constexpr int kSpace = 3, kL = 79, kInterA = 504;

struct Call {
  char op;  // R reset, M move, L line, C curve, Z close, F finish
  std::vector<double> at;
  bool operator==(const Call& other) const { return op == other.op && at == other.at; }
};
std::ostream& operator<<(std::ostream& out, const Call& c) {
  out << c.op;
  for (double v : c.at) out << ' ' << v;
  return out;
}
using Calls = std::vector<Call>;

class Recorder : public GLF_OutlinePlayer {
 public:
  Calls calls;
  void Reset() override { calls.push_back({'R', {}}); }
  void MoveTo(double x, double y) override { calls.push_back({'M', {x, y}}); }
  void LineTo(double x, double y) override { calls.push_back({'L', {x, y}}); }
  void CurveTo(double x1, double y1, double x2, double y2, double x3, double y3) override {
    calls.push_back({'C', {x1, y1, x2, y2, x3, y3}});
  }
  void ClosePath() override { calls.push_back({'Z', {}}); }
  void Finish() override { calls.push_back({'F', {}}); }
};

const ORT_Matrix3 kIdentity = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

Calls Play(int glyph, const CTPKFontDict& font, const std::vector<float>& values = {},
           TYE::GlyphOrientation orientation = TYE::kGlyphHorizontal,
           const ORT_Matrix3& first = kIdentity, const ORT_Matrix3& second = kIdentity) {
  Recorder recorder;
  kly::host::PlayCharOutlines(glyph, first, second, orientation, font, values, recorder);
  return recorder.calls;
}

// Four corners played as MoveTo and three LineTo: the closing side is left to ClosePath.
Calls Rectangle(std::vector<std::vector<double>> corners) {
  return {{'R', {}},         {'M', corners[0]}, {'L', corners[1]}, {'L', corners[2]},
          {'L', corners[3]}, {'Z', {}},         {'F', {}}};
}

class DejaVuPlayback : public ::testing::Test {
 protected:
  CTPKFontDict font = CTPKFontDict::FromFile(kDejaVuSans);
};

TEST_F(DejaVuPlayback, PointsArePlacedByTheFirstMatrixThenTheSecond) {
  // 'l' is one contour of four on-curve points: (193,1556) (377,1556) (377,0) (193,0).
  EXPECT_EQ(Play(kL, font), Rectangle({{193, 1556}, {377, 1556}, {377, 0}, {193, 0}}));
  // first: (x, y) -> (2x + 10, 3y + 20); second, a quarter turn: (x, y) -> (-y, x). Together
  // (x, y) -> (-(3y + 20), 2x + 10); the other order would give (-2y + 10, 3x + 20).
  const ORT_Matrix3 first = {{{2, 0, 0}, {0, 3, 0}, {10, 20, 1}}};
  const ORT_Matrix3 second = {{{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}}};
  EXPECT_EQ(Play(kL, font, {}, TYE::kGlyphHorizontal, first, second),
            Rectangle({{-4688, 396}, {-4688, 764}, {-20, 764}, {-20, 396}}));
}

TEST_F(DejaVuPlayback, VerticalGlyphHasItsTopCentreAtTheOrigin) {
  // DejaVu Sans has no vertical metrics, so FreeType makes them up for 'l' (bearings 193, 1556,
  // advance 569, height 1556, vertical advance = typo ascender 1556 - descender -492 = 2048):
  // vertBearingX = 193 - 569 / 2 = -91, vertBearingY = (2048 - 1556) / 2 = 246. The origin is
  // o = (193 - -91, 1556 + 246) = (284, 1802), and each point is played as p - o.
  EXPECT_EQ(Play(kL, font, {}, TYE::kGlyphVertical),
            Rectangle({{-91, -246}, {93, -246}, {93, -1802}, {-91, -1802}}));
}

// Every glyph against the extrusion tests' own reading of FreeType's point lists (quadratics
// raised by the 2/3 rule, exact implied midpoints, the straight closing line left to the closed
// flag; derived by hand in glyph_contours_test.cpp).
TEST_F(DejaVuPlayback, EveryGlyphMatchesItsPointListRaisedToCubics) {
  const kly::host::GlyphOutlines outlines(kDejaVuSans);
  int curves = 0;
  std::set<int> skipped;
  for (int glyph = 0; glyph < font.GlyphCount(); ++glyph) {
    Calls expected = {{'R', {}}};
    for (const KLY_Contour& contour : kly::testing::GlyphContours(outlines, glyph, 1.0)) {
      // A lone point or a single line encloses nothing and is not played.
      if (contour.Size() < 3) {
        skipped.insert(glyph);
        continue;
      }
      auto p = contour.beginPoints();
      for (auto code = contour.beginCodes(); code != contour.endCodes(); ++code, ++p) {
        if (*code != KLY_Contour::kCodeCurve) {
          expected.push_back({*code == KLY_Contour::kCodeStart ? 'M' : 'L', {p->x, p->y}});
          continue;
        }
        expected.push_back({'C', {p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y}});
        code += 2, p += 2, ++curves;
      }
      expected.push_back({'Z', {}});
    }
    expected.push_back({'F', {}});
    ASSERT_EQ(Play(glyph, font), expected) << "glyph " << glyph;
  }
  EXPECT_GT(curves, 10000);
  // The glyphs with an anchor point, as the extrusion sweep over the font counts them.
  EXPECT_EQ(93u, skipped.size());
}

TEST_F(DejaVuPlayback, NothingToDrawPlaysResetAndFinishAlone) {
  const Calls nothing = {{'R', {}}, {'F', {}}};
  kly::testing::ReportCapture capture;
  EXPECT_EQ(Play(0, CTPKFontDict()), nothing);
  EXPECT_EQ(Play(kSpace, font), nothing);
  EXPECT_EQ(Play(-1, font), nothing);
  EXPECT_EQ(Play(font.GlyphCount(), font), nothing);
  EXPECT_TRUE(capture.reports().empty());
  EXPECT_EQ(Play(kL, font, {700.0f, 3.0f}), Play(kL, font));  // no axes: values ignored
}

TEST(GlyphPlaybackSeam, NamedEntryCallsTheServiceInForce) {
  std::string seen;
  kly::host::HostServices services = kly::host::DefaultServices();
  services.play_char_outlines = [&](int glyph, const ORT_Matrix3& first, const ORT_Matrix3& second,
                                    TYE::GlyphOrientation orientation, const CTPKFontDict& font,
                                    const std::vector<float>& values, GLF_OutlinePlayer& player) {
    seen = std::to_string(glyph) + " " + std::to_string(first.m[2][0]) + " " +
           std::to_string(second.m[2][1]) + " " + std::to_string(orientation) + " " +
           std::to_string(font.IsEmpty()) + " " + std::to_string(values.size());
    player.MoveTo(1, 2);
  };
  kly::host::ScopedServices scope(services);
  ORT_Matrix3 first = kIdentity, second = kIdentity;
  first.m[2][0] = 5;
  second.m[2][1] = 7;
  Recorder recorder;
  GLF_PlayCharOutlines(42, first, second, TYE::kGlyphVertical, CTPKFontDict(), {1, 2, 3}, recorder);
  EXPECT_EQ(seen, "42 5.000000 7.000000 1 1 3");
  EXPECT_EQ(recorder.calls, (Calls{{'M', {1, 2}}}));
}

TEST(InterPlayback, WeightChangesTheOutlineAndEveryCallSetsAllAxes) {
  if (!std::filesystem::exists(kInterVariable))
    GTEST_SKIP() << kInterVariable << " is not installed (fonts-inter-variable)";
  const CTPKFontDict font = CTPKFontDict::FromFile(kInterVariable);
  const std::vector<HBN_T_NMT::FontAxis> axes = font.Axes();
  ASSERT_EQ(axes.size(), 2u);
  EXPECT_EQ((std::vector<double>{axes[0].minimum, axes[0].default_value, axes[0].maximum}),
            (std::vector<double>{100, 400, 900}));
  EXPECT_EQ((std::vector<double>{axes[1].minimum, axes[1].default_value, axes[1].maximum}),
            (std::vector<double>{-10, 0, 0}));
  EXPECT_EQ(axes[0].tag + axes[1].tag, "wghtslnt");

  const Calls regular = Play(kInterA, font), bold = Play(kInterA, font, {700});
  EXPECT_NE(bold, regular);
  EXPECT_EQ(Play(kInterA, font, {400, 0}), regular);  // the defaults spelled out
  EXPECT_EQ(Play(kInterA, font, {700, 0}), bold);     // slnt past the values: its default
  EXPECT_NE(Play(kInterA, font, {700, -10}), bold);
  EXPECT_EQ(Play(kInterA, font, {}), regular);  // no call inherits the last one's weight
  EXPECT_EQ(Play(kInterA, font, {std::numeric_limits<float>::quiet_NaN()}), regular);
  EXPECT_EQ(Play(kInterA, font, {2000}), Play(kInterA, font, {900}));  // clamped to the axis
  EXPECT_EQ(Play(kInterA, font, {700, 0, 55}), bold);  // values past the axes are ignored
}

}  // namespace
