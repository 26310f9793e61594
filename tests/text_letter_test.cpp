// The outline players, KLY_Letter and KLY_VectorArt: what playback leaves as contours, when a
// glyph or path is played at all, the placement rule, and where bounds, the collapse and
// ApplyPostMatrix3D put a placement and the coplanar z offset.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "kly/text/contour_player.h"
#include "kly/text/vector_art.h"
#include "kly/text/vector_art_player.h"
#include "tests/testing/report_capture.h"
#include "tests/testing/text_outlines.h"

namespace {

using kly::testing::Affine;
using kly::testing::Identity3;
using kly::testing::PlayedLetter;
using kly::testing::ReportCapture;
using kly::testing::SquarePath;
using Codes = std::vector<uint32_t>;
using Vec3 = ORT_Vector3T<double>;

// The codes of each contour, each of which must be closed.
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
  return {e.beginContours(), e.endContours()};
}

TEST(OutlinePlayers, StreamsBecomeClosedContours) {
  const struct {
    const char* stream;
    std::vector<Codes> contours;
  } cases[] = {
      {"MLMLF", {{0, 1}, {0, 1}}},  // a move stores the contour before it
      {"MF", {{0}}},                // a lone point is kept
      {"MCF", {{0, 2, 2, 2}}},
      {"MLML", {{0, 1}}},           // without Finish the last contour is lost
      {"MLZ", {}},                  // ClosePath stores nothing
      {"RMLMLRMLLF", {{0, 1, 1}}},  // a second Reset discards what was finished
  };
  for (const auto& c : cases) {
    kly::testing::Outline outline;
    for (const char* op = c.stream; *op; ++op) outline.push_back({*op, {1, 2, 3, 4, 5, 6}});
    KLY_ContourPlayer player;
    kly::testing::PlayOutline(outline, player);
    std::vector<KLY_Contour> contours;
    player.GetContours(contours);
    EXPECT_EQ(c.contours, CodesOf(contours)) << c.stream;
  }
  // The path player closes open subpaths, storing each at the next move.
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

TEST(Letter, PlaysTheGlyphUnderItsMatrixAndTheIdentityUnfiltered) {
  ReportCapture capture;
  auto calls = kly::testing::ScriptGlyphs(capture.services(), {{'M', {0, 0}}, {'F', {}}});
  const ORT_Matrix3 glyph_matrix = Affine(2, 0, 0.5, 2, 3, 4), identity = Identity3();
  KLY_Letter letter(42, glyph_matrix, identity, true, TYE::kGlyphVertical,
                    HBN_T_NMT::CTPKFontDict(), {0.25f, 700.0f});
  ASSERT_EQ(1u, calls->size());
  const kly::testing::GlyphCall& call = calls->front();
  EXPECT_EQ(42, call.glyph);
  EXPECT_EQ(0, std::memcmp(&glyph_matrix, &call.first, sizeof glyph_matrix));
  EXPECT_EQ(0, std::memcmp(&identity, &call.second, sizeof identity));
  EXPECT_EQ(TYE::kGlyphVertical, call.orientation);
  EXPECT_EQ((std::vector<float>{0.25f, 700.0f}), call.values);
  EXPECT_EQ((std::vector<Codes>{{0}}), CodesOf(ContoursOf(letter)));  // one point, kept
  uint32_t type = 0;
  letter.GetGeometryType(type);
  EXPECT_EQ(7u, type);
}

TEST(Letter, PlaysWhenAskedAndBothRowsReach0_0001RendersFrom1_0) {
  // A row (0, r, 0) has length r exactly: sqrt(r * r) gives r back.
  const struct {
    bool extract;
    ORT_Matrix3 matrix;
    size_t contours;
  } cases[] = {
      {false, Identity3(), 0},
      {true, Affine(0, 0.00009, 0, 1, 0, 0), 0},
      {true, Affine(1, 0, 0.00009, 0, 0, 0), 0},
      {true, Affine(0, 0.0001, 0.0001, 0, 0, 0), 1},
  };
  for (const auto& c : cases) {
    ReportCapture capture;
    auto calls = kly::testing::ScriptGlyphs(capture.services());
    const KLY_Letter letter = PlayedLetter(c.matrix, Identity3(), c.extract);
    EXPECT_EQ(c.contours, calls->size());
    EXPECT_EQ(c.contours, ContoursOf(letter).size());
    EXPECT_EQ(c.contours != 0, letter.IsRenderable(Identity3()));
    EXPECT_EQ(c.contours == 0, letter.RecomputeLocalBounds(Identity3()).IsEmpty());
  }
  ReportCapture capture;
  kly::testing::ScriptGlyphs(capture.services());
  const KLY_Letter letter = PlayedLetter();
  EXPECT_TRUE(letter.IsRenderable(Affine(0.6, 0.8, 0, 1, 0, 0)));  // |(0.6, 0.8)| = 1
  EXPECT_FALSE(letter.IsRenderable(Affine(1, 0, 0, 0.99, 0, 0)));
  EXPECT_FALSE(letter.IsRenderable(Affine(std::nan(""), 0, 0, 1, 0, 0)));
}

TEST(Letter, PlacementIndexTakesTheStackThenItsLastThenThePostMatrix) {
  KLY_Letter letter = PlayedLetter(Identity3(), Affine(1, 0, 0, 1, 100, 0), false);
  // The translation x tells which matrix came back.
  auto chosen_x = [&](int32_t index) {
    ORT_Matrix3 m;
    letter.GetPostMatrix(index, m);
    return m.m[2][0];
  };
  EXPECT_EQ(100, chosen_x(0));
  letter.PushPostMatrix(Affine(1, 0, 0, 1, 1, 0));
  letter.PushPostMatrix(Affine(1, 0, 0, 1, 2, 0));
  EXPECT_EQ(1, chosen_x(0));
  EXPECT_EQ(2, chosen_x(7));
  EXPECT_EQ(2, chosen_x(-1));  // widened to 64 bits and compared unsigned: past the end
  letter.SetPostMatrix(Affine(1, 0, 0, 1, 50, 0));
  letter.ClearPostMatrices();
  EXPECT_EQ(50, chosen_x(0));
}

TEST(Letter, BoundsTakeTheGivenMatrixAndTheCollapseThePostMatrix) {
  ReportCapture capture;
  kly::testing::ScriptGlyphs(capture.services());
  KLY_Letter letter = PlayedLetter(Identity3(), Affine(2, 0, 0, 3, 5, -1));
  letter.SetExtrusionDepth(5.0);
  letter.Update();
  letter.PushPostMatrix(Identity3());  // not used by the collapse
  KLY_Bounds local;
  letter.GetLocalBounds(local);
  // (x, y, z) -> (2x + 5, 3y - 1, z) grows along each axis, so corners map to corners.
  const KLY_Bounds placed = letter.RecomputeLocalBounds(Affine(2, 0, 0, 3, 5, -1));
  EXPECT_DOUBLE_EQ(2 * local.min_x + 5, placed.min_x);
  EXPECT_DOUBLE_EQ(3 * local.max_y - 1, placed.max_y);
  EXPECT_EQ(local.max_z, placed.max_z);
  KLY_Mesh out;
  letter.CollapseArrayToSingleElement(&out);
  const Vec3 p = letter.beginVerts()->pos;
  EXPECT_EQ((Vec3{2 * p.x + 5, 3 * p.y - 1, p.z}), out.beginVerts()->pos);
}

TEST(VectorArt, PlaysThroughTransformWhenVisibleAndSkipsDegenerateContours) {
  ReportCapture capture;
  auto seen = std::make_shared<std::vector<std::vector<float>>>();
  capture.services().transform_path = [seen](const HBN_T_NMT::CGFKPath& path, const float m[6],
                                             std::unique_ptr<HBN_T_NMT::CGFKPath>& result) {
    seen->emplace_back(m, m + 6);
    return kly::host::TransformPath(path, m, result);
  };
  // Elements 0, 1, 3, 4, 6, 7 of rows (a, b, 0), (c, d, 0), (tx, ty, 1), each made a float;
  // (10, 10) -> (0.1 * 10 + 0.3 * 10 + 0.5, 0.2 * 10 + 0.4 * 10 + 0.6) = (4.5, 6.6).
  KLY_VectorArt art(SquarePath(), Affine(0.1, 0.2, 0.3, 0.4, 0.5, 0.6), Identity3(), false);
  ASSERT_EQ(1u, seen->size());
  EXPECT_EQ((std::vector<float>{0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f}), seen->front());
  const Vec3 corner = ContoursOf(art).at(0).beginPoints()[2];
  EXPECT_NEAR(4.5, corner.x, 1e-6);
  EXPECT_NEAR(6.6, corner.y, 1e-6);
  EXPECT_TRUE(art.IsRenderable(Affine(0, 0, 0, 0, 0, 0)));  // the matrix is not looked at
  uint32_t type = 0;
  art.GetGeometryType(type);
  EXPECT_EQ(9u, type);

  const ORT_Matrix3 thin = Affine(1, 0, 0, 0.00009, 0, 0);
  EXPECT_FALSE(KLY_VectorArt(SquarePath(), thin, Identity3(), false).IsRenderable(Identity3()));
  EXPECT_EQ(1u, seen->size());  // no transform either
  EXPECT_FALSE(KLY_VectorArt::IsVectorArtVisible(thin));
  EXPECT_TRUE(KLY_VectorArt::IsVectorArtVisible(Affine(1, 0, 0, 0.0001, 0, 0)));

  // The second subpath, closed, walks 10 there and back: half of it, 5, is under 10, and it
  // is collinear, so degenerate.
  const auto path = kly::testing::PolylinePath({{0, 0, 10, 0, 10, 10}, {20, 20, 25, 20}});
  EXPECT_EQ(2u, ContoursOf(KLY_VectorArt(path, Identity3(), Identity3(), false)).size());
  EXPECT_EQ(1u, ContoursOf(KLY_VectorArt(path, Identity3(), Identity3(), true)).size());
}

TEST(VectorArt, AFailedTransformIsTheBindingLayersFailure) {
  ReportCapture capture;
  capture.services().transform_path = [](const HBN_T_NMT::CGFKPath&, const float*,
                                         std::unique_ptr<HBN_T_NMT::CGFKPath>&) { return 5; };
  EXPECT_EQ("the path could not be transformed for extrusion (status 5)",
            kly::testing::ThrownText<HBN_T_NMT::CHBNError>(
                [] { KLY_VectorArt(SquarePath(), Identity3(), Identity3(), false); }));
}

TEST(VectorArt, TheCoplanarOffsetFollowsEveryPlacement) {
  ReportCapture capture;
  KLY_VectorArt art(SquarePath(), Identity3(), Affine(2, 0, 0, 2, 10, 0), false);
  art.SetExtrusionDepth(5.0);
  art.Update();
  art.PushPostMatrix(Identity3());
  // Index 5 takes the one stacked matrix, the identity. A point moves by the given matrix
  // first, a translation (0, 0, 1), then by the placement, then by the offset.
  auto moved = [&](float offset) {
    art.SetCoplanarZOffset(offset);
    ORT_Matrix4 m = ORT_Identity4();
    ORT_TranslateMatrix4(0, 0, 1, m);
    art.ApplyPostMatrix3D(5, m);
    return ORT_TransformPoint({3, 4, 0}, m);
  };
  EXPECT_EQ((Vec3{3, 4, 1}), moved(0.0f));
  EXPECT_EQ((Vec3{3, 4, 1.5}), moved(0.5f));

  KLY_Bounds local;
  art.GetLocalBounds(local);
  EXPECT_EQ(local.max_z + 0.5, art.RecomputeLocalBounds(Identity3()).max_z);
  art.SetCoplanarZOffset(0.0f);
  EXPECT_EQ(local.max_z, art.RecomputeLocalBounds(Identity3()).max_z);
  // The collapse: postMatrix (x -> 2x + 10, y -> 2y), then z + 0.25; the stack is not used.
  art.SetCoplanarZOffset(0.25f);
  KLY_Mesh out;
  art.CollapseArrayToSingleElement(&out);
  const Vec3 p = art.beginVerts()->pos;
  EXPECT_EQ((Vec3{2 * p.x + 10, 2 * p.y, p.z + 0.25}), out.beginVerts()->pos);
}

}  // namespace
