// KLY_Text and KLY_VectorArtCollection: index and material failures, parameters forwarded to
// the elements, bounds, the triangles of a face, the collapse with four materials an element,
// and the collection's own insertion and coplanar groups.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
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
using kly::testing::Report;
using kly::testing::ReportCapture;
using kly::testing::ThrownNumber;

// How each collection names its element operations, and how a test makes its elements: a
// square [0, 10]^2 moved by `matrix` (the glyph or path matrix), or an element without
// contours.
struct TextKind {
  using Collection = KLY_Text;
  using Element = KLY_Letter;
  static constexpr const char* kIndexText = "invalid text index.";
  static Element Square(const ORT_Matrix3& matrix) { return kly::testing::PlayedLetter(matrix); }
  static Element Empty() { return kly::testing::PlayedLetter(Identity3(), Identity3(), false); }
  static void Add(Collection& c, Element& e) { c.AddLetter(e); }
  static Element& At(Collection& c, uint32_t i) { return *c.GetLetter(i); }
  static void Delete(Collection& c, uint32_t i) { c.DeleteLetter(i); }
  static int32_t Count(const Collection& c) { return c.NumLetters(); }
};

struct ArtKind {
  using Collection = KLY_VectorArtCollection;
  using Element = KLY_VectorArt;
  static constexpr const char* kIndexText = "invalid vector art index.";
  static Element Square(const ORT_Matrix3& matrix) {
    return KLY_VectorArt(kly::testing::PolylinePath({{0, 0, 10, 0, 10, 10, 0, 10}}), matrix,
                         Identity3(), false);
  }
  static Element Empty() {
    return KLY_VectorArt(kly::testing::PolylinePath({}), Identity3(), Identity3(), false);
  }
  static void Add(Collection& c, Element& e) { c.AddVectorArt(e); }
  static Element& At(Collection& c, uint32_t i) { return *c.GetVectorArt(i); }
  static void Delete(Collection& c, uint32_t i) { c.DeleteVectorArt(i); }
  static int32_t Count(const Collection& c) { return c.NumVectorArt(); }
};

template <class Kind>
class Collection : public ::testing::Test {
 protected:
  using C = typename Kind::Collection;
  using E = typename Kind::Element;

  Collection() : glyphs_(kly::testing::SquareOutline(0, 0, 10)) {
    glyphs_.InstallIn(capture_.services());
  }

  // Squares at x = 0 and x = 20, then one without contours.
  C TwoSquaresAndAnEmpty() {
    C c;
    E elements[] = {Kind::Square(Identity3()), Kind::Square(Affine(1, 0, 0, 1, 20, 0)),
                    Kind::Empty()};
    for (E& e : elements) Kind::Add(c, e);
    return c;
  }

  Report IndexReport(const char* text) { return {NUT_kFailedVerificationId, 8, text}; }

  ReportCapture capture_;
  kly::testing::ScriptedGlyphs glyphs_;
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
  const struct {
    std::function<void()> call;
    const char* text;
  } cases[] = {
      {[&] { TypeParam::At(c, 3); }, index_text},
      {[&] { TypeParam::Delete(c, 3); }, index_text},
      {[&] { c.SetMaterial(4, material); }, material_text},
      {[&] { c.GetMaterial(-1, material); }, material_text},
  };
  for (const auto& f : cases) {
    const size_t before = this->capture_.reports().size();
    EXPECT_EQ(3, ThrownNumber(f.call)) << f.text;
    ASSERT_EQ(before + 1, this->capture_.reports().size());
    EXPECT_EQ(this->IndexReport(f.text), this->capture_.reports().back());
  }
  EXPECT_EQ(3, TypeParam::Count(c));
  // The array protocol answers the same index with null, reporting but not throwing.
  EXPECT_EQ(nullptr, c.GetArrayElement(3));
  EXPECT_EQ(this->IndexReport(index_text), this->capture_.reports().back());
  EXPECT_EQ(&TypeParam::At(c, 1), c.GetArrayElement(1));
}

TYPED_TEST(Collection, SettersReachTheElementsPresent) {
  auto c = this->TwoSquaresAndAnEmpty();
  c.SetExtrusionDepth(4.0);
  c.SetFaceGranularity(2, 7);
  c.SetBevelDirection(2);
  c.SetOrientationStyle(0);
  c.SetHoleBevelDepth(2.0);
  auto late = TypeParam::Square(Identity3());
  TypeParam::Add(c, late);
  for (int32_t i = 0; i < 3; ++i) {
    auto& e = TypeParam::At(c, i);
    double depth = 0;
    uint32_t direction = 0, style = 1, min = 0, max = 0;
    e.GetExtrusionDepth(depth);
    e.GetBevelDirection(direction);
    e.GetOrientationStyle(style);
    e.GetFaceGranularity(min, max);
    EXPECT_EQ(4.0, depth);
    EXPECT_EQ(2u, direction);
    EXPECT_EQ(0u, style);
    EXPECT_EQ(2u, min);
    EXPECT_EQ(7u, max);
  }
  // Three setters reach the elements only: the collection's own fields keep their defaults.
  uint32_t direction = 9, style = 9;
  double hole = 9;
  c.GetBevelDirection(direction);
  c.GetOrientationStyle(style);
  c.GetHoleBevelDepth(hole);
  EXPECT_EQ(0u, direction);
  EXPECT_EQ(1u, style);
  EXPECT_EQ(0.0, hole);
  // The late element keeps the extrusion's default until a setter runs again, unchanged.
  double depth = -1;
  TypeParam::At(c, 3).GetExtrusionDepth(depth);
  EXPECT_EQ(0.0, depth);
  c.SetExtrusionDepth(4.0);
  TypeParam::At(c, 3).GetExtrusionDepth(depth);
  EXPECT_EQ(4.0, depth);
  // -3 reaches the elements as 0.0 (after 2.0 had reached them).
  c.SetHoleBevelDepth(-3.0);
  TypeParam::At(c, 0).GetHoleBevelDepth(hole);
  EXPECT_EQ(0.0, hole);

  KLY_Material red;
  std::strcpy(red.label, "red");
  c.SetMaterial(2, red);
  KLY_Material read;
  TypeParam::At(c, 3).GetMaterial(2, read);
  EXPECT_STREQ("red", read.label);
  c.GetMaterial(2, read);
  EXPECT_STREQ("red", read.label);
}

TYPED_TEST(Collection, BoundsOfUpdateAreUnplacedAndRecomputedOnesPlaced) {
  auto c = this->TwoSquaresAndAnEmpty();
  c.SetExtrusionDepth(5.0);
  c.Update();
  KLY_Bounds first, second, sum;
  TypeParam::At(c, 0).GetLocalBounds(first);
  TypeParam::At(c, 1).GetLocalBounds(second);
  c.GetLocalBounds(sum);
  // The second square lies 20 to the right of the first; the empty element adds nothing.
  EXPECT_EQ(first.min_x, sum.min_x);
  EXPECT_EQ(second.max_x, sum.max_x);
  // The offset service works on a grid of its own, so the two squares agree to about 1e-6.
  EXPECT_NEAR(first.max_x + 20, second.max_x, 1e-5);
  // Placement 0 of the second: the first of its stack (x + 100), not its postMatrix (x + 1000).
  TypeParam::At(c, 1).SetPostMatrix(Affine(1, 0, 0, 1, 1000, 0));
  TypeParam::At(c, 1).PushPostMatrix(Affine(1, 0, 0, 1, 100, 0));
  TypeParam::At(c, 1).PushPostMatrix(Affine(1, 0, 0, 1, 10, 0));
  EXPECT_EQ(second.max_x + 100, c.RecomputeLocalBounds().max_x);
  c.GetLocalBounds(sum);
  EXPECT_EQ(second.max_x + 100, sum.max_x);
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
  KLY_Material red;
  std::strcpy(red.label, "red");
  TypeParam::At(c, 1).SetMaterial(1, red);  // directly, after adding: kept in the collapse
  TypeParam::At(c, 1).SetPostMatrix(Affine(1, 0, 0, 1, 0, 50));
  const auto& a = TypeParam::At(c, 0);
  const auto& b = TypeParam::At(c, 1);
  const uint32_t na = a.GetNumTriangles(), nb = b.GetNumTriangles();
  ASSERT_GT(na, 0u);
  EXPECT_EQ(na + nb, c.GetTotalNumberOfPrimitives());

  KLY_Mesh out;
  c.CollapseArrayToSingleElement(&out);
  // Triangles of element 0 keep their materials 0..3, those of element 1 get 4..7; the empty
  // element brings no triangles but its four materials: 12 in all.
  ASSERT_EQ(na + nb, out.GetNumTriangles());
  EXPECT_EQ(12u, out.NumMaterials());
  for (uint32_t i = 0; i < nb; ++i)
    EXPECT_EQ(b.beginTriangles()[i].material_index + 4,
              out.beginTriangles()[na + i].material_index);
  EXPECT_EQ(a.beginTriangles()[0].material_index, out.beginTriangles()[0].material_index);
  KLY_Material read;
  out.GetMaterial(5, read);
  EXPECT_STREQ("red", read.label);
  // Element 1's vertices come after element 0's, moved by its postMatrix (y + 50).
  const ORT_Vector3T<double> p = b.beginVerts()->pos;
  EXPECT_EQ((ORT_Vector3T<double>{p.x, p.y + 50, p.z}), out.beginVerts()[a.GetNumVertices()].pos);

  // Triangles of a face keep their element's own indices.
  std::vector<KLY_Triangle> faces, ofB;
  c.GetTrianglesForFace(KLY_Extrusion::kBackMaterial, faces);
  b.GetTrianglesForFace(KLY_Extrusion::kBackMaterial, ofB);
  ASSERT_FALSE(ofB.empty());
  EXPECT_EQ(2 * ofB.size(), faces.size());  // the two squares are alike
  EXPECT_EQ(0, std::memcmp(ofB[0].indices, faces[ofB.size()].indices, sizeof ofB[0].indices));
}

TEST(VectorArtCollection, InsertNeedsAnElementAtTheIndex) {
  ReportCapture capture;
  KLY_VectorArtCollection c;
  KLY_VectorArt a = ArtKind::Square(Identity3()), b = ArtKind::Square(Affine(1, 0, 0, 1, 5, 0));
  EXPECT_EQ(3, ThrownNumber([&] { c.InsertVectorArt(0, a); }));
  EXPECT_EQ("invalid vector art index.", capture.reports().back().text);
  c.AddVectorArt(a);
  c.AddVectorArt(a);
  EXPECT_EQ(3, ThrownNumber([&] { c.InsertVectorArt(2, b); }));
  c.InsertVectorArt(1, b);
  ASSERT_EQ(3, c.NumVectorArt());
  // b is the one whose contour starts at x = 5.
  EXPECT_EQ(5.0, c.GetVectorArt(1)->beginContours()->beginPoints()->x);
}

TEST(VectorArtCollection, CoplanarGroupsSitAtGroupTimesStep) {
  const struct {
    std::vector<bool> starts;
    std::vector<float> offsets;
  } cases[] = {
      // Groups 0, 1, 1, 2 at step 0.5.
      {{false, true, false, true}, {0.0f, 0.5f, 0.5f, 1.0f}},
      // Element 0 opens group 0 whatever its flag.
      {{true, false}, {0.0f, 0.0f}},
      {{}, {}},
  };
  ReportCapture capture;
  for (const auto& g : cases) {
    KLY_VectorArtCollection c;
    for (bool start : g.starts) {
      KLY_VectorArt a = ArtKind::Empty();
      a.SetCoplanarGroupStart(start);
      a.SetCoplanarZOffset(9.0f);
      c.AddVectorArt(a);
    }
    c.AdjustPostMatrixCoplanarZ(0.5f);
    std::vector<float> offsets;
    for (int32_t i = 0; i < c.NumVectorArt(); ++i)
      offsets.push_back(c.GetVectorArt(i)->GetCoplanarZOffset());
    EXPECT_EQ(g.offsets, offsets);
  }
}

TEST(VectorArtCollection, BoundsAndCollapseCarryTheCoplanarOffset) {
  ReportCapture capture;
  KLY_VectorArtCollection c;
  KLY_VectorArt a = ArtKind::Square(Identity3());
  c.AddVectorArt(a);
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

}  // namespace

TEST(Text, LettersOfDejaVuSansBuildAndCollapse) {
  // "Ob": an outer contour and a hole each. Font units scaled by 0.01, each letter placed at
  // its pen position by its postMatrix.
  kly::host::ShapingRequest request;
  request.font =
      HBN_T_NMT::CTPKFontDict::FromFile("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf");
  request.text = "Ob";
  const kly::host::ShapedLine line = kly::host::ShapeText(request);
  ASSERT_EQ(2u, line.glyphs.size());
  const double scale = 0.01;
  KLY_Text text;
  double pen = 0.0;
  for (const kly::host::ShapedGlyph& g : line.glyphs) {
    KLY_Letter letter(static_cast<int>(g.glyph), Affine(scale, 0, 0, scale, 0, 0),
                      Affine(1, 0, 0, 1, pen, 0), true, TYE::kGlyphHorizontal, request.font, {});
    text.AddLetter(letter);
    pen += g.x_advance * scale;
  }
  text.SetExtrusionDepth(5.0);
  text.SetBevelStyle(KLY_Extrusion::BevelChamfer);
  text.SetBevelDepth(0.3);
  text.Update();

  uint32_t triangles = 0;
  for (int32_t i = 0; i < text.NumLetters(); ++i) {
    uint32_t contours = 0;
    text.GetLetter(i)->GetNumContours(contours);
    EXPECT_EQ(2u, contours) << "letter " << i;
    EXPECT_TRUE(text.GetLetter(i)->ClosedTwoManifold());
    triangles += text.GetLetter(i)->GetNumTriangles();
  }
  KLY_Mesh out;
  text.CollapseArrayToSingleElement(&out);
  EXPECT_EQ(triangles, out.GetNumTriangles());
  EXPECT_EQ(8u, out.NumMaterials());
  for (auto t = out.beginTriangles(); t != out.endTriangles(); ++t) {
    EXPECT_LT(t->material_index, 8u);
    for (uint32_t corner : t->indices) ASSERT_LT(corner, out.GetNumVertices());
  }
  // Placed, the two letters side by side span the pen's advance; depth 5 plus a bevel 0.3 deep
  // at front and back.
  const KLY_Bounds placed = text.RecomputeLocalBounds();
  EXPECT_GT(placed.max_x, pen * 0.9);
  EXPECT_NEAR(5.6, placed.max_z - placed.min_z, 1e-9);
}
