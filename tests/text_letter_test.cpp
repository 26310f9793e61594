// The outline players, KLY_Letter and KLY_VectorArt: what playback leaves as contours, when a
// glyph or path is played at all, the placement rule, and where bounds, the collapse and
// ApplyPostMatrix3D put a placement and the coplanar z offset.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "kly/text/contour_player.h"
#include "kly/text/letter.h"
#include "kly/text/vector_art.h"
#include "kly/text/vector_art_player.h"
#include "tests/testing/report_capture.h"
#include "tests/testing/text_outlines.h"

namespace {

using kly::testing::Affine;
using kly::testing::Identity3;
using kly::testing::Outline;
using kly::testing::OutlineStep;
using kly::testing::PlayedLetter;
using kly::testing::PolylinePath;
using kly::testing::ReportCapture;
using kly::testing::ScriptedGlyphs;
using kly::testing::SquareOutline;
using kly::testing::ThrownText;
using Codes = std::vector<uint32_t>;
using Vec3 = ORT_Vector3T<double>;

// Codes of each stored contour, and whether every one is closed.
std::vector<Codes> CodesOf(const std::vector<KLY_Contour>& contours) {
  std::vector<Codes> out;
  for (const KLY_Contour& c : contours) {
    bool closed = false;
    c.GetClosed(closed);
    EXPECT_TRUE(closed);
    out.emplace_back(c.beginCodes(), c.endCodes());
  }
  return out;
}

std::vector<KLY_Contour> ContoursOf(const KLY_Extrusion& e) {
  return std::vector<KLY_Contour>(e.beginContours(), e.endContours());
}

TEST(ContourPlayer, StreamsBecomeClosedContours) {
  const OutlineStep reset{OutlineStep::kReset, {}}, finish{OutlineStep::kFinish, {}};
  const OutlineStep move{OutlineStep::kMove, {0, 0}}, line{OutlineStep::kLine, {1, 0}};
  const OutlineStep close{OutlineStep::kClose, {}};
  const OutlineStep curve{OutlineStep::kCurve, {1, 1, 2, 1, 2, 0}};
  const struct {
    const char* name;
    Outline stream;
    std::vector<Codes> contours;
  } cases[] = {
      {"a move stores the contour before it", {move, line, move, line, finish}, {{0, 1}, {0, 1}}},
      {"a lone point is kept", {move, finish}, {{0}}},
      {"a curve is three points of code 2", {move, curve, finish}, {{0, 2, 2, 2}}},
      {"without Finish the last contour is lost", {move, line, move, line}, {{0, 1}}},
      {"ClosePath stores nothing", {move, line, close}, {}},
      {"a second Reset discards what was finished",
       {reset, move, line, move, line, reset, move, line, line, finish},
       {{0, 1, 1}}},
  };
  for (const auto& c : cases) {
    KLY_ContourPlayer player;
    kly::testing::PlayOutline(c.stream, player);
    std::vector<KLY_Contour> contours;
    player.GetContours(contours);
    EXPECT_EQ(c.contours, CodesOf(contours)) << c.name;
  }
}

TEST(VectorArtPlayer, ClosesOpenPathsAndStoresAtEachMove) {
  KLY_VectorArtPlayer player;
  player.MoveTo(0.5f, 1.5f);
  player.LineTo(2, 0);
  player.LineTo(2, 2);
  player.MoveTo(5, 5);
  player.CurveTo(6, 5, 6, 6, 5, 6);
  player.Finish();
  std::vector<KLY_Contour> contours;
  player.GetContours(contours);
  EXPECT_EQ((std::vector<Codes>{{0, 1, 1}, {0, 2, 2, 2}}), CodesOf(contours));
  EXPECT_EQ((Vec3{0.5, 1.5, 0.0}), *contours[0].beginPoints());
}

TEST(Letter, PlaysTheGlyphOnceUnderItsMatrixAndTheIdentity) {
  ReportCapture capture;
  ScriptedGlyphs glyphs({{OutlineStep::kMove, {0, 0}}, {OutlineStep::kFinish, {}}});
  glyphs.InstallIn(capture.services());
  const ORT_Matrix3 glyph_matrix = Affine(2, 0, 0.5, 2, 3, 4);
  KLY_Letter letter(42, glyph_matrix, Identity3(), true, TYE::kGlyphVertical,
                    HBN_T_NMT::CTPKFontDict(), {0.25f, 700.0f});
  ASSERT_EQ(1u, glyphs.calls().size());
  const kly::testing::GlyphCall& call = glyphs.calls()[0];
  EXPECT_EQ(42, call.glyph);
  EXPECT_EQ(0, std::memcmp(&glyph_matrix, &call.first, sizeof glyph_matrix));
  const ORT_Matrix3 identity = Identity3();
  EXPECT_EQ(0, std::memcmp(&identity, &call.second, sizeof identity));
  EXPECT_EQ(TYE::kGlyphVertical, call.orientation);
  EXPECT_EQ((std::vector<float>{0.25f, 700.0f}), call.values);
  // The degenerate one-point contour is not filtered out.
  EXPECT_EQ((std::vector<Codes>{{0}}), CodesOf(ContoursOf(letter)));
  uint32_t type = 0;
  letter.GetGeometryType(type);
  EXPECT_EQ(7u, type);
}

TEST(Letter, PlaysOnlyWhenAskedAndBothRowsReach0_0001) {
  // A row (0, r, 0) has length r exactly (sqrt of r * r gives r back).
  const struct {
    bool extract;
    ORT_Matrix3 matrix;
    size_t calls;
  } cases[] = {
      {false, Identity3(), 0},
      {true, Affine(0, 0.00009, 0, 1, 0, 0), 0},
      {true, Affine(1, 0, 0.00009, 0, 0, 0), 0},
      {true, Affine(0, 0.0001, 0.0001, 0, 0, 0), 1},
  };
  for (const auto& c : cases) {
    ReportCapture capture;
    ScriptedGlyphs glyphs(SquareOutline(0, 0, 10));
    glyphs.InstallIn(capture.services());
    KLY_Letter letter = PlayedLetter(c.matrix, Identity3(), c.extract);
    EXPECT_EQ(c.calls, glyphs.calls().size());
    uint32_t contours = 0;
    letter.GetNumContours(contours);
    EXPECT_EQ(c.calls, contours);
    if (c.calls == 0) {
      EXPECT_FALSE(letter.IsRenderable(Identity3()));
      EXPECT_TRUE(letter.RecomputeLocalBounds(Identity3()).IsEmpty());
    }
  }
}

TEST(Letter, RenderableFromRowsOfLength1) {
  ReportCapture capture;
  ScriptedGlyphs(SquareOutline(0, 0, 10)).InstallIn(capture.services());
  const KLY_Letter letter = PlayedLetter();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(letter.IsRenderable(Affine(0.6, 0.8, 0, 1, 0, 0)));  // |(0.6, 0.8)| = 1
  EXPECT_FALSE(letter.IsRenderable(Affine(0.99, 0, 0, 1, 0, 0)));
  EXPECT_FALSE(letter.IsRenderable(Affine(1, 0, 0, 0.99, 0, 0)));
  EXPECT_FALSE(letter.IsRenderable(Affine(nan, 0, 0, 1, 0, 0)));
}

TEST(Placements, IndexTakesTheStackThenItsLastThenThePostMatrix) {
  ReportCapture capture;
  const ORT_Matrix3 post = Affine(1, 0, 0, 1, 100, 0), a = Affine(1, 0, 0, 1, 1, 0),
                    b = Affine(1, 0, 0, 1, 2, 0);
  KLY_Letter letter = PlayedLetter(Identity3(), post, false);
  KLY_VectorArt art(PolylinePath({}), Identity3(), post, false);
  // The translation x picks out which matrix came back.
  auto chosen_x = [&](int32_t index) {
    ORT_Matrix3 from_letter, from_art;
    letter.GetPostMatrix(index, from_letter);
    art.GetPostMatrix(index, from_art);
    EXPECT_EQ(from_letter.m[2][0], from_art.m[2][0]);
    return from_letter.m[2][0];
  };
  EXPECT_EQ(100, chosen_x(0));
  EXPECT_EQ(100, chosen_x(-1));
  for (auto* m : {&a, &b}) {
    letter.PushPostMatrix(*m);
    art.PushPostMatrix(*m);
  }
  EXPECT_EQ(1, chosen_x(0));
  EXPECT_EQ(2, chosen_x(1));
  EXPECT_EQ(2, chosen_x(7));
  EXPECT_EQ(2, chosen_x(-1));  // -1 widened and compared unsigned is past the end
  letter.SetPostMatrix(Affine(1, 0, 0, 1, 50, 0));
  art.SetPostMatrix(Affine(1, 0, 0, 1, 50, 0));
  letter.ClearPostMatrices();
  art.ClearPostMatrices();
  EXPECT_EQ(50, chosen_x(3));
}

// Square [0, 10]^2 pushed through playback and built 5 deep.
template <class Element>
void BuildSquare(Element& element) {
  element.SetExtrusionDepth(5.0);
  element.Update();
}

TEST(Letter, BoundsAndCollapseUseTheGivenMatrixAndThePostMatrix) {
  ReportCapture capture;
  ScriptedGlyphs(SquareOutline(0, 0, 10)).InstallIn(capture.services());
  KLY_Letter letter = PlayedLetter(Identity3(), Affine(2, 0, 0, 3, 5, -1));
  BuildSquare(letter);
  letter.PushPostMatrix(Identity3());  // the collapse ignores the stack
  KLY_Bounds local;
  letter.GetLocalBounds(local);
  // (x, y, z) -> (2x + 5, 3y - 1, z), increasing in each axis, so the box maps corner to corner.
  const KLY_Bounds placed = letter.RecomputeLocalBounds(Affine(2, 0, 0, 3, 5, -1));
  EXPECT_DOUBLE_EQ(2 * local.min_x + 5, placed.min_x);
  EXPECT_DOUBLE_EQ(3 * local.max_y - 1, placed.max_y);
  EXPECT_EQ(local.max_z, placed.max_z);
  KLY_Mesh out;
  letter.CollapseArrayToSingleElement(&out);
  ASSERT_EQ(letter.GetNumVertices(), out.GetNumVertices());
  const Vec3 p = letter.beginVerts()->pos, q = out.beginVerts()->pos;
  EXPECT_EQ((Vec3{2 * p.x + 5, 3 * p.y - 1, p.z}), q);
}

// A closed square [0, 10]^2 as a host path.
HBN_T_NMT::CGFKPath SquarePath() {
  return PolylinePath({{0, 0, 10, 0, 10, 10, 0, 10}});
}

TEST(VectorArt, TransformGetsTheMatrixAsSixFloats) {
  ReportCapture capture;
  auto seen = std::make_shared<std::vector<float>>();
  capture.services().transform_path = [seen](const HBN_T_NMT::CGFKPath& path, const float m[6],
                                             std::unique_ptr<HBN_T_NMT::CGFKPath>& result) {
    seen->assign(m, m + 6);
    return kly::host::TransformPath(path, m, result);
  };
  // Elements 0, 1, 3, 4, 6, 7 of the rows (a, b, 0), (c, d, 0), (tx, ty, 1), each to float.
  KLY_VectorArt art(SquarePath(), Affine(0.1, 0.2, 0.3, 0.4, 0.5, 0.6), Identity3(), false);
  EXPECT_EQ((std::vector<float>{0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f}), *seen);
  // (10, 10) -> (0.1 * 10 + 0.3 * 10 + 0.5, 0.2 * 10 + 0.4 * 10 + 0.6) = (4.5, 6.6) in floats.
  const std::vector<KLY_Contour> contours = ContoursOf(art);
  ASSERT_EQ(1u, contours.size());
  const Vec3 corner = contours[0].beginPoints()[2];
  EXPECT_NEAR(4.5, corner.x, 1e-6);
  EXPECT_NEAR(6.6, corner.y, 1e-6);
  uint32_t type = 0;
  art.GetGeometryType(type);
  EXPECT_EQ(9u, type);
}

TEST(VectorArt, AVanishingRowPlaysNothing) {
  ReportCapture capture;
  int transforms = 0;
  capture.services().transform_path = [&](const HBN_T_NMT::CGFKPath& path, const float m[6],
                                          std::unique_ptr<HBN_T_NMT::CGFKPath>& result) {
    ++transforms;
    return kly::host::TransformPath(path, m, result);
  };
  const ORT_Matrix3 thin = Affine(1, 0, 0, 0.00009, 0, 0);
  KLY_VectorArt art(SquarePath(), thin, Identity3(), false);
  EXPECT_EQ(0, transforms);
  EXPECT_FALSE(art.IsRenderable(Identity3()));
  EXPECT_FALSE(KLY_VectorArt::IsVectorArtVisible(thin));
  EXPECT_TRUE(KLY_VectorArt::IsVectorArtVisible(Affine(1, 0, 0, 0.0001, 0, 0)));
  KLY_VectorArt played(SquarePath(), Identity3(), Identity3(), false);
  EXPECT_EQ(1, transforms);
  EXPECT_TRUE(played.IsRenderable(Affine(0, 0, 0, 0, 0, 0)));  // the matrix is not looked at
}

TEST(VectorArt, SkipDegenerateDropsThinContours) {
  ReportCapture capture;
  // The second subpath, closed, walks 10 there and back: half is 5, under 10, and collinear.
  const HBN_T_NMT::CGFKPath path = PolylinePath({{0, 0, 10, 0, 10, 10, 0, 10}, {20, 20, 25, 20}});
  EXPECT_EQ(2u, ContoursOf(KLY_VectorArt(path, Identity3(), Identity3(), false)).size());
  EXPECT_EQ(1u, ContoursOf(KLY_VectorArt(path, Identity3(), Identity3(), true)).size());
}

TEST(VectorArt, AFailedTransformIsTheBindingLayersFailure) {
  ReportCapture capture;
  capture.services().transform_path = [](const HBN_T_NMT::CGFKPath&, const float*,
                                         std::unique_ptr<HBN_T_NMT::CGFKPath>&) { return 5; };
  const std::string text = ThrownText<HBN_T_NMT::CHBNError>(
      [] { KLY_VectorArt(SquarePath(), Identity3(), Identity3(), false); });
  EXPECT_NE(std::string::npos, text.find("transformed")) << text;
  EXPECT_NE(std::string::npos, text.find("status 5")) << text;
}

TEST(VectorArt, TheCoplanarOffsetFollowsEveryPlacement) {
  ReportCapture capture;
  KLY_VectorArt art(SquarePath(), Identity3(), Affine(2, 0, 0, 2, 10, 0), false);
  BuildSquare(art);
  art.PushPostMatrix(Affine(1, 0, 0, 1, 0, 0));
  // ApplyPostMatrix3D(5) takes the one stacked matrix (the identity); a point moves by the
  // given matrix first, a translation (0, 0, 1), then by the placement, then by the offset.
  auto apply = [&](float offset) {
    art.SetCoplanarZOffset(offset);
    ORT_Matrix4 m = ORT_Identity4();
    ORT_TranslateMatrix4(0, 0, 1, m);
    art.ApplyPostMatrix3D(5, m);
    return ORT_TransformPoint({3, 4, 0}, m);
  };
  EXPECT_EQ((Vec3{3, 4, 1}), apply(0.0f));
  EXPECT_EQ((Vec3{3, 4, 1.5}), apply(0.5f));

  KLY_Bounds local;
  art.GetLocalBounds(local);
  art.SetCoplanarZOffset(0.0f);
  const KLY_Bounds plain = art.RecomputeLocalBounds(Identity3());
  art.SetCoplanarZOffset(0.5f);
  const KLY_Bounds offset = art.RecomputeLocalBounds(Identity3());
  EXPECT_EQ(local.min_z, plain.min_z);
  EXPECT_EQ(local.min_z + 0.5, offset.min_z);
  EXPECT_EQ(local.max_z + 0.5, offset.max_z);
  // The collapse: postMatrix (x -> 2x + 10, y -> 2y), then z + 0.5; the stack is ignored.
  KLY_Mesh out;
  art.CollapseArrayToSingleElement(&out);
  const Vec3 p = art.beginVerts()->pos;
  EXPECT_EQ((Vec3{2 * p.x + 10, 2 * p.y, p.z + 0.5}), out.beginVerts()->pos);
}

}  // namespace
