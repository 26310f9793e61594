// KLY_Text and KLY_VectorArtCollection: index and material failures, parameters forwarded to
// the elements, bounds, the collapse with four materials an element, the collection's own
// insertion and coplanar groups, and a text of real glyphs.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <vector>

#include "kly/host/nut.h"
#include "kly/host/text_shaping.h"
#include "kly/text/text.h"
#include "kly/text/vector_art_collection.h"
#include "tests/testing/report_capture.h"
#include "tests/testing/text_outlines.h"

namespace {

using kly::testing::Affine;
using kly::testing::Identity3;
using kly::testing::ReportCapture;
using kly::testing::ThrownNumber;

// How a test makes each collection's elements: the square [0, 10]^2 moved by `matrix` (glyph
// or path matrix), or one without contours; and how it reaches them.
struct TextKind {
  using Collection = KLY_Text;
  static constexpr const char* kIndexText = "invalid text index.";
  static KLY_Letter Square(const ORT_Matrix3& m) { return kly::testing::PlayedLetter(m); }
  static KLY_Letter Empty() { return kly::testing::PlayedLetter(Identity3(), Identity3(), false); }
  static void Add(KLY_Text& c, KLY_Letter e) { c.AddLetter(e); }
  static KLY_Letter& At(KLY_Text& c, uint32_t i) { return *c.GetLetter(i); }
  static void Delete(KLY_Text& c, uint32_t i) { c.DeleteLetter(i); }
};

struct ArtKind {
  using Collection = KLY_VectorArtCollection;
  static constexpr const char* kIndexText = "invalid vector art index.";
  static KLY_VectorArt Square(const ORT_Matrix3& m) {
    return KLY_VectorArt(kly::testing::SquarePath(), m, Identity3(), false);
  }
  static KLY_VectorArt Empty() { return Square(Affine(0, 0, 0, 0, 0, 0)); }
  static void Add(KLY_VectorArtCollection& c, KLY_VectorArt e) { c.AddVectorArt(e); }
  static KLY_VectorArt& At(KLY_VectorArtCollection& c, uint32_t i) { return *c.GetVectorArt(i); }
  static void Delete(KLY_VectorArtCollection& c, uint32_t i) { c.DeleteVectorArt(i); }
};

template <class Kind>
class Collection : public ::testing::Test {
 protected:
  Collection() { kly::testing::ScriptGlyphs(capture_.services()); }

  // Squares at x = 0 and x = 20, then an element without contours.
  typename Kind::Collection TwoSquaresAndAnEmpty() {
    typename Kind::Collection c;
    Kind::Add(c, Kind::Square(Identity3()));
    Kind::Add(c, Kind::Square(Affine(1, 0, 0, 1, 20, 0)));
    Kind::Add(c, Kind::Empty());
    return c;
  }

  ReportCapture capture_;
};

using Kinds = ::testing::Types<TextKind, ArtKind>;
TYPED_TEST_SUITE(Collection, Kinds);

TYPED_TEST(Collection, EmptyHasNothingToWalkBoundOrCollapse) {
  typename TypeParam::Collection c;
  EXPECT_FALSE(c.HasArray());
  EXPECT_EQ(0u, c.GetTotalNumberOfPrimitives());
  c.Update();
  KLY_Bounds bounds;
  c.GetLocalBounds(bounds);
  EXPECT_TRUE(bounds.IsEmpty());
  EXPECT_TRUE(c.RecomputeLocalBounds().IsEmpty());
  KLY_Mesh out(3, 1);
  c.CollapseArrayToSingleElement(&out);
  uint32_t type = 0;
  out.GetGeometryType(type);
  EXPECT_EQ(0u, out.GetNumVertices() + out.GetNumTriangles() + out.NumMaterials());
  EXPECT_EQ(1u, type);
}

TYPED_TEST(Collection, IndexAndMaterialFailuresReportThenThrow3) {
  auto c = this->TwoSquaresAndAnEmpty();
  const char* index_text = TypeParam::kIndexText;
  const char* material_text = "invalid extrusion material index.";
  KLY_Material material;
  const std::pair<std::function<void()>, const char*> cases[] = {
      {[&] { TypeParam::At(c, 3); }, index_text},
      {[&] { TypeParam::Delete(c, 3); }, index_text},
      {[&] { c.SetMaterial(4, material); }, material_text},
      {[&] { c.GetMaterial(-1, material); }, material_text},
  };
  for (const auto& f : cases) {
    EXPECT_EQ(3, ThrownNumber(f.first)) << f.second;
    EXPECT_EQ((kly::testing::Report{NUT_kFailedVerificationId, 8, f.second}),
              this->capture_.reports().back());
  }
  EXPECT_EQ(3u, c.GetNumberOfArrayElements());
  // The array protocol answers the same index with null, reporting but not throwing.
  const size_t reports = this->capture_.reports().size();
  EXPECT_EQ(nullptr, c.GetArrayElement(3));
  EXPECT_EQ(reports + 1, this->capture_.reports().size());
  EXPECT_EQ(&TypeParam::At(c, 1), c.GetArrayElement(1));
}

TYPED_TEST(Collection, SettersReachTheElementsPresentOnly) {
  auto c = this->TwoSquaresAndAnEmpty();
  c.SetExtrusionDepth(4.0);
  c.SetBevelDirection(2);
  c.SetOrientationStyle(0);
  c.SetHoleBevelDepth(2.0);
  TypeParam::Add(c, TypeParam::Square(Identity3()));
  auto& first = TypeParam::At(c, 0);
  auto& late = TypeParam::At(c, 3);
  double depth = 0, late_depth = -1, hole = 0;
  uint32_t direction = 0, style = 1;
  first.GetExtrusionDepth(depth);
  first.GetBevelDirection(direction);
  first.GetOrientationStyle(style);
  first.GetHoleBevelDepth(hole);
  late.GetExtrusionDepth(late_depth);
  EXPECT_EQ(4.0, depth);
  EXPECT_EQ(2u, direction);
  EXPECT_EQ(0u, style);
  EXPECT_EQ(2.0, hole);
  EXPECT_EQ(0.0, late_depth);  // added after the setter: the extrusion's default
  c.SetExtrusionDepth(4.0);    // unchanged, yet forwarded
  late.GetExtrusionDepth(late_depth);
  EXPECT_EQ(4.0, late_depth);
  c.SetHoleBevelDepth(-3.0);  // reaches the elements as 0.0
  first.GetHoleBevelDepth(hole);
  EXPECT_EQ(0.0, hole);
  // The three setters above that reach the elements only leave the collection's defaults.
  c.GetBevelDirection(direction);
  c.GetOrientationStyle(style);
  c.GetHoleBevelDepth(hole);
  EXPECT_EQ(0u, direction);
  EXPECT_EQ(1u, style);
  EXPECT_EQ(0.0, hole);

  KLY_Material red, read;
  std::strcpy(red.label, "red");
  c.SetMaterial(2, red);
  late.GetMaterial(2, read);
  EXPECT_STREQ("red", read.label);
}

TYPED_TEST(Collection, UpdateBoundsAreUnplacedRecomputedOnesPlaced) {
  auto c = this->TwoSquaresAndAnEmpty();
  c.SetExtrusionDepth(5.0);
  c.Update();
  KLY_Bounds first, second, sum;
  TypeParam::At(c, 0).GetLocalBounds(first);
  TypeParam::At(c, 1).GetLocalBounds(second);
  c.GetLocalBounds(sum);
  EXPECT_EQ(first.min_x, sum.min_x);
  EXPECT_EQ(second.max_x, sum.max_x);
  // Placement 0 of the second square: the first of its stack (x + 100), not postMatrix.
  TypeParam::At(c, 1).SetPostMatrix(Affine(1, 0, 0, 1, 1000, 0));
  TypeParam::At(c, 1).PushPostMatrix(Affine(1, 0, 0, 1, 100, 0));
  TypeParam::At(c, 1).PushPostMatrix(Affine(1, 0, 0, 1, 10, 0));
  EXPECT_EQ(second.max_x + 100, c.RecomputeLocalBounds().max_x);
  // Deleting sets no flag, yet the next Update leaves the deleted square out.
  TypeParam::Delete(c, 1);
  c.Update();
  c.GetLocalBounds(sum);
  EXPECT_EQ(first.max_x, sum.max_x);
}

TYPED_TEST(Collection, CollapseGivesFourMaterialsAnElementAndRebasesByFour) {
  auto c = this->TwoSquaresAndAnEmpty();
  c.SetExtrusionDepth(5.0);
  c.Update();
  KLY_Material red, read;
  std::strcpy(red.label, "red");
  TypeParam::At(c, 1).SetMaterial(1, red);  // set on the element itself: kept in the collapse
  TypeParam::At(c, 1).SetPostMatrix(Affine(1, 0, 0, 1, 0, 50));
  const auto& a = TypeParam::At(c, 0);
  const auto& b = TypeParam::At(c, 1);
  const uint32_t na = a.GetNumTriangles(), nb = b.GetNumTriangles();
  EXPECT_EQ(na + nb, c.GetTotalNumberOfPrimitives());
  KLY_Mesh out;
  c.CollapseArrayToSingleElement(&out);
  // Element 0 keeps materials 0..3, element 1 gets 4..7, the empty one brings only 8..11.
  ASSERT_EQ(na + nb, out.GetNumTriangles());
  EXPECT_EQ(12u, out.NumMaterials());
  for (uint32_t i = 0; i < nb; ++i)
    EXPECT_EQ(b.beginTriangles()[i].material_index + 4,
              out.beginTriangles()[na + i].material_index);
  out.GetMaterial(5, read);
  EXPECT_STREQ("red", read.label);
  // Element 1's vertices follow element 0's, moved by its postMatrix (y + 50).
  const ORT_Vector3T<double> p = b.beginVerts()->pos;
  EXPECT_EQ((ORT_Vector3T<double>{p.x, p.y + 50, p.z}), out.beginVerts()[a.GetNumVertices()].pos);
  // The triangles of a face keep their element's own indices: nothing is rebased.
  std::vector<KLY_Triangle> all, of_b;
  c.GetTrianglesForFace(KLY_Extrusion::kBackMaterial, all);
  b.GetTrianglesForFace(KLY_Extrusion::kBackMaterial, of_b);
  ASSERT_EQ(2 * of_b.size(), all.size());  // the two squares are alike
  EXPECT_EQ(0, std::memcmp(of_b[0].indices, all[of_b.size()].indices, sizeof of_b[0].indices));
}

TEST(VectorArtCollection, InsertNeedsAnElementAtTheIndex) {
  ReportCapture capture;
  KLY_VectorArtCollection c;
  KLY_VectorArt a = ArtKind::Square(Identity3()), b = ArtKind::Square(Affine(1, 0, 0, 1, 5, 0));
  EXPECT_EQ(3, ThrownNumber([&] { c.InsertVectorArt(0, a); }));
  c.AddVectorArt(a);
  c.AddVectorArt(a);
  EXPECT_EQ(3, ThrownNumber([&] { c.InsertVectorArt(2, b); }));
  EXPECT_EQ("invalid vector art index.", capture.reports().back().text);
  c.InsertVectorArt(1, b);
  ASSERT_EQ(3, c.NumVectorArt());
  EXPECT_EQ(5.0, c.GetVectorArt(1)->beginContours()->beginPoints()->x);  // b starts at x = 5
}

TEST(VectorArtCollection, CoplanarGroupsSitAtGroupTimesStepInEveryPlacement) {
  const std::pair<std::vector<bool>, std::vector<float>> cases[] = {
      {{false, true, false, true}, {0.0f, 0.5f, 0.5f, 1.0f}},  // groups 0, 1, 1, 2
      {{true, false}, {0.0f, 0.0f}},  // element 0 opens group 0 whatever its flag
      {{}, {}},
  };
  ReportCapture capture;
  for (const auto& g : cases) {
    KLY_VectorArtCollection c;
    for (bool start : g.first) {
      KLY_VectorArt a = ArtKind::Square(Identity3());
      a.SetCoplanarGroupStart(start);
      a.SetCoplanarZOffset(9.0f);
      c.AddVectorArt(a);
    }
    c.AdjustPostMatrixCoplanarZ(0.5f);
    std::vector<float> offsets;
    for (int32_t i = 0; i < c.NumVectorArt(); ++i)
      offsets.push_back(c.GetVectorArt(i)->GetCoplanarZOffset());
    EXPECT_EQ(g.second, offsets);
  }
  // Bounds and the collapse carry an element's offset.
  KLY_VectorArtCollection c;
  ArtKind::Add(c, ArtKind::Square(Identity3()));
  c.SetExtrusionDepth(5.0);
  c.Update();
  KLY_Bounds local;
  c.GetLocalBounds(local);
  c.GetVectorArt(0)->SetCoplanarZOffset(2.0f);
  EXPECT_EQ(local.max_z + 2.0, c.RecomputeLocalBounds().max_z);
  KLY_Mesh out;
  c.CollapseArrayToSingleElement(&out);
  EXPECT_EQ(c.GetVectorArt(0)->beginVerts()->pos.z + 2.0, out.beginVerts()->pos.z);
}

TEST(Text, LettersOfDejaVuSansBuildAndCollapse) {
  // "Ob": an outer contour and a hole each, scaled from font units by 0.01 and placed at the
  // pen position by each letter's postMatrix.
  kly::host::ShapingRequest request;
  request.font =
      HBN_T_NMT::CTPKFontDict::FromFile("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf");
  request.text = "Ob";
  const kly::host::ShapedLine line = kly::host::ShapeText(request);
  KLY_Text text;
  double pen = 0.0;
  for (const kly::host::ShapedGlyph& g : line.glyphs) {
    KLY_Letter letter(static_cast<int>(g.glyph), Affine(0.01, 0, 0, 0.01, 0, 0),
                      Affine(1, 0, 0, 1, pen, 0), true, TYE::kGlyphHorizontal, request.font, {});
    text.AddLetter(letter);
    pen += g.x_advance * 0.01;
  }
  text.SetExtrusionDepth(5.0);
  text.SetBevelStyle(KLY_Extrusion::BevelChamfer);
  text.SetBevelDepth(0.3);
  text.Update();
  ASSERT_EQ(2, text.NumLetters());
  for (int32_t i = 0; i < 2; ++i) {
    uint32_t contours = 0;
    text.GetLetter(i)->GetNumContours(contours);
    EXPECT_EQ(2u, contours) << "letter " << i;
    EXPECT_TRUE(text.GetLetter(i)->ClosedTwoManifold());
  }
  KLY_Mesh out;
  text.CollapseArrayToSingleElement(&out);
  EXPECT_EQ(text.GetTotalNumberOfPrimitives(), out.GetNumTriangles());
  EXPECT_EQ(8u, out.NumMaterials());
  for (auto t = out.beginTriangles(); t != out.endTriangles(); ++t) {
    EXPECT_LT(t->material_index, 8u);
    for (uint32_t corner : t->indices) ASSERT_LT(corner, out.GetNumVertices());
  }
  // Side by side the letters span most of the pen's advance; the depth is 5 plus a bevel 0.3
  // deep at the front and at the back.
  const KLY_Bounds placed = text.RecomputeLocalBounds();
  EXPECT_GT(placed.max_x, pen * 0.9);
  EXPECT_NEAR(5.6, placed.max_z - placed.min_z, 1e-9);
}

}  // namespace
