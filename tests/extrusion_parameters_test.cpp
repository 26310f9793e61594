// KLY_Extrusion's parameters: defaults, the dirty rule of every setter, the depth clamps,
// granularities stored uncut, the material slots and their index check, the triangles of a
// face, and copies.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "kly/host/nut.h"
#include "tests/testing/extrusion_access.h"
#include "tests/testing/mesh_access.h"
#include "tests/testing/report_capture.h"

namespace {

using kly::testing::ReportCapture;
using kly::testing::ScriptedOffsetService;
using kly::testing::Square;
using kly::testing::TestExtrusion;
using kly::testing::ThrownNumber;

bool SameMaterial(const KLY_Material& a, const KLY_Material& b) {
  return std::strcmp(a.label, b.label) == 0 && a.flag == b.flag &&
         std::memcmp(a.values, b.values, sizeof a.values) == 0;
}

KLY_Material NamedMaterial(const char* label, double first_value) {
  KLY_Material m;
  std::strcpy(m.label, label);
  m.values[0] = first_value;
  m.flag = true;
  return m;
}

// An extrusion with no contours, built once so that dirty is clear.
TestExtrusion CleanExtrusion() {
  TestExtrusion e;
  e.Update();
  return e;
}

TEST(ExtrusionDefaults, ValuesOfTheConstructor) {
  TestExtrusion e;
  uint32_t type = 0;
  e.GetGeometryType(type);
  EXPECT_EQ(5u, type);
  EXPECT_TRUE(e.dirty);
  ASSERT_EQ(4u, e.NumMaterials());
  for (const KLY_Material& m : e.materials) EXPECT_TRUE(SameMaterial(KLY_Material(), m));

  double depth = -1;
  e.GetExtrusionDepth(depth);
  EXPECT_EQ(0.0, depth);
  e.GetBevelDepth(depth);
  EXPECT_EQ(0.0, depth);
  e.GetHoleBevelDepth(depth);
  EXPECT_EQ(0.0, depth);
  int32_t style = -1;
  e.GetBevelStyle(style);
  EXPECT_EQ(0, style);
  uint32_t value = 99;
  e.GetBevelDirection(value);
  EXPECT_EQ(0u, value);
  e.GetOrientationStyle(value);
  EXPECT_EQ(1u, value);
  e.GetNumContours(value);
  EXPECT_EQ(0u, value);
  uint32_t min = 99, max = 99;
  e.GetFaceGranularity(min, max);
  EXPECT_EQ(0u, min);
  EXPECT_EQ(10u, max);
  e.GetBevelGranularity(min, max);
  EXPECT_EQ(0u, min);
  EXPECT_EQ(10u, max);
  EXPECT_TRUE(e.WorkingFieldsEmpty());
  EXPECT_EQ(0u, e.GetNumVertices());
}

// Each parameter setter sets dirty when the stored value changes and leaves it clear when it
// does not; contour changes always set it; materials never do.
struct DirtyCase {
  const char* name;
  std::function<void(KLY_Extrusion&)> change;
  bool sets_dirty;
};

TEST(ExtrusionDirty, EverySetterFollowsItsRule) {
  const DirtyCase cases[] = {
      {"SetExtrusionDepth(3)", [](KLY_Extrusion& e) { e.SetExtrusionDepth(3); }, true},
      {"SetExtrusionDepth(0) on 0", [](KLY_Extrusion& e) { e.SetExtrusionDepth(0); }, false},
      // -5 is clamped to 0.0, the stored value.
      {"SetExtrusionDepth(-5) on 0", [](KLY_Extrusion& e) { e.SetExtrusionDepth(-5); }, false},
      {"SetBevelDepth(2)", [](KLY_Extrusion& e) { e.SetBevelDepth(2); }, true},
      {"SetBevelDepth(-1) on 0", [](KLY_Extrusion& e) { e.SetBevelDepth(-1); }, false},
      {"SetHoleBevelDepth(1)", [](KLY_Extrusion& e) { e.SetHoleBevelDepth(1); }, true},
      {"SetHoleBevelDepth(0) on 0", [](KLY_Extrusion& e) { e.SetHoleBevelDepth(0); }, false},
      {"SetBevelStyle(2)", [](KLY_Extrusion& e) { e.SetBevelStyle(2); }, true},
      {"SetBevelStyle(0) on 0", [](KLY_Extrusion& e) { e.SetBevelStyle(0); }, false},
      {"SetBevelDirection(1)", [](KLY_Extrusion& e) { e.SetBevelDirection(1); }, true},
      {"SetBevelDirection(0) on 0", [](KLY_Extrusion& e) { e.SetBevelDirection(0); }, false},
      {"SetOrientationStyle(0)", [](KLY_Extrusion& e) { e.SetOrientationStyle(0); }, true},
      {"SetOrientationStyle(1) on 1", [](KLY_Extrusion& e) { e.SetOrientationStyle(1); }, false},
      {"SetFaceGranularity(1, 10)", [](KLY_Extrusion& e) { e.SetFaceGranularity(1, 10); }, true},
      // 11 differs from the stored 10, although a contour would cut it to 10.
      {"SetFaceGranularity(0, 11)", [](KLY_Extrusion& e) { e.SetFaceGranularity(0, 11); }, true},
      {"SetFaceGranularity(0, 10)", [](KLY_Extrusion& e) { e.SetFaceGranularity(0, 10); }, false},
      {"SetBevelGranularity(2, 10)", [](KLY_Extrusion& e) { e.SetBevelGranularity(2, 10); }, true},
      {"SetBevelGranularity(0, 4)", [](KLY_Extrusion& e) { e.SetBevelGranularity(0, 4); }, true},
      {"SetBevelGranularity(0, 10)", [](KLY_Extrusion& e) { e.SetBevelGranularity(0, 10); }, false},
      {"PushContour", [](KLY_Extrusion& e) { e.PushContour(Square(0, 0, 10)); }, true},
      {"ClearContours with none", [](KLY_Extrusion& e) { e.ClearContours(); }, true},
      {"SetMaterial", [](KLY_Extrusion& e) { e.SetMaterial(2, NamedMaterial("wall", 0.9)); },
       false},
      {"ClearGeometry", [](KLY_Extrusion& e) { e.ClearGeometry(); }, true},
  };
  for (const DirtyCase& c : cases) {
    TestExtrusion e = CleanExtrusion();
    ASSERT_FALSE(e.dirty);
    c.change(e);
    EXPECT_EQ(c.sets_dirty, e.dirty) << c.name;
    e.ClearContours();
    e.Update();
    EXPECT_FALSE(e.dirty) << c.name << ": Update clears dirty";
  }
}

TEST(ExtrusionDirty, UpdateOfACleanObjectDoesNotBuild) {
  ReportCapture capture;
  ScriptedOffsetService().InstallIn(capture.services());
  TestExtrusion e;
  e.PushContour(Square(0, 0, 10));
  e.Update();
  const uint32_t built = e.GetNumVertices();
  ASSERT_GT(built, 0u);
  e.Update();
  EXPECT_EQ(built, e.GetNumVertices());
  EXPECT_FALSE(e.dirty);
}

TEST(ExtrusionDepths, AtOrBelowZeroReadsBackZero) {
  struct Case {
    double given, stored;
  };
  const Case cases[] = {{-5.0, 0.0}, {0.0, 0.0}, {-0.0, 0.0}, {2.5, 2.5}, {1e-9, 1e-9}};
  for (const Case& c : cases) {
    TestExtrusion e;
    e.SetExtrusionDepth(7);
    e.SetBevelDepth(7);
    e.SetHoleBevelDepth(7);
    e.SetExtrusionDepth(c.given);
    e.SetBevelDepth(c.given);
    e.SetHoleBevelDepth(c.given);
    double out = -1;
    e.GetExtrusionDepth(out);
    EXPECT_EQ(c.stored, out) << c.given;
    e.GetBevelDepth(out);
    EXPECT_EQ(c.stored, out) << c.given;
    e.GetHoleBevelDepth(out);
    EXPECT_EQ(c.stored, out) << c.given;
  }
  // A clamped value that differs from the stored one still sets dirty: 3 -> -5 stores 0.
  TestExtrusion e = CleanExtrusion();
  e.SetExtrusionDepth(3);
  e.Update();
  e.SetExtrusionDepth(-5);
  EXPECT_TRUE(e.dirty);
}

TEST(ExtrusionParameters, StoredAsGivenAndReadBack) {
  TestExtrusion e;
  // No cut to 10 here: the contour cuts max later.
  e.SetFaceGranularity(3, 99);
  e.SetBevelGranularity(12, 40);
  e.SetBevelStyle(-4);
  e.SetBevelDirection(7);
  e.SetOrientationStyle(2);
  uint32_t min = 0, max = 0, value = 0;
  e.GetFaceGranularity(min, max);
  EXPECT_EQ(3u, min);
  EXPECT_EQ(99u, max);
  e.GetBevelGranularity(min, max);
  EXPECT_EQ(12u, min);
  EXPECT_EQ(40u, max);
  int32_t style = 0;
  e.GetBevelStyle(style);
  EXPECT_EQ(-4, style);
  e.GetBevelDirection(value);
  EXPECT_EQ(7u, value);
  e.GetOrientationStyle(value);
  EXPECT_EQ(2u, value);
}

TEST(ExtrusionContours, PushCountAndClear) {
  TestExtrusion e;
  e.PushContour(Square(0, 0, 10));
  e.PushContour(Square(2, 2, 3, false));
  uint32_t count = 0;
  e.GetNumContours(count);
  EXPECT_EQ(2u, count);
  EXPECT_EQ(2, e.endContours() - e.beginContours());
  // A copy is kept: its second point is the pushed square's (x0 + side, y0).
  ORT_Vector3T<double> p;
  (e.beginContours() + 1)->GetPoint(1, p);
  EXPECT_EQ(2.0, p.x);
  EXPECT_EQ(5.0, p.y);
  e.ClearContours();
  e.GetNumContours(count);
  EXPECT_EQ(0u, count);
}

TEST(ExtrusionMaterials, SlotsZeroToThreeCopyInAndOut) {
  TestExtrusion e = CleanExtrusion();
  for (int32_t i = 0; i < 4; ++i) {
    e.SetMaterial(i, NamedMaterial(std::to_string(i).c_str(), 0.1 * i));
  }
  EXPECT_FALSE(e.dirty);
  for (int32_t i = 0; i < 4; ++i) {
    KLY_Material out;
    e.GetMaterial(i, out);
    EXPECT_TRUE(SameMaterial(NamedMaterial(std::to_string(i).c_str(), 0.1 * i), out)) << i;
  }
}

TEST(ExtrusionMaterials, IndexOutsideTheFourSlotsReportsAndThrowsThree) {
  // NUT_ReportFailedVerification reports its text under its own id with flags 8.
  const kly::testing::Report expected{NUT_kFailedVerificationId, 8,
                                      "invalid extrusion material index."};
  // Past the four slots, and before them: a negative index must not write before the table.
  for (int32_t index : {4, 5, 1000, -1, -1000}) {
    ReportCapture capture;
    TestExtrusion e = CleanExtrusion();
    const KLY_Material given = NamedMaterial("x", 0.5);
    EXPECT_EQ(3, ThrownNumber([&] { e.SetMaterial(index, given); })) << index;
    KLY_Material out;
    EXPECT_EQ(3, ThrownNumber([&] { e.GetMaterial(index, out); })) << index;
    ASSERT_EQ(2u, capture.reports().size());
    EXPECT_EQ(expected, capture.reports()[0]);
    EXPECT_EQ(expected, capture.reports()[1]);
    // Nothing was stored and no slot was added.
    ASSERT_EQ(4u, e.NumMaterials());
    for (const KLY_Material& m : e.materials) EXPECT_TRUE(SameMaterial(KLY_Material(), m));
    EXPECT_FALSE(e.dirty);
  }
}

// The solid of a 10 x 10 square, depth 10, chamfer 2, built with the offset service failing
// so that the outline keeps its shape. Its triangles by material: front 6 and back 6 (eight
// boundary points, 8 - 2 triangles), then per contour cubic (4 of them) a front bevel band of
// 50, a wall band of 90 and a back bevel band of 50 (see extrusion_bevel_test.cpp).
TEST(ExtrusionFaces, GetTrianglesForFaceSelectsOneMaterialInMeshOrder) {
  ReportCapture capture;
  ScriptedOffsetService().InstallIn(capture.services());
  TestExtrusion e;
  e.PushContour(Square(0, 0, 10));
  e.SetExtrusionDepth(10);
  e.SetBevelStyle(KLY_Extrusion::BevelChamfer);
  e.SetBevelDepth(2);
  e.Update();
  ASSERT_EQ(772u, e.GetNumTriangles());

  const uint32_t expected_counts[] = {6, 6, 360, 400};
  for (int32_t face = 0; face < 4; ++face) {
    std::vector<KLY_Triangle> out(3, KLY_Triangle(7, 7, 7));  // emptied first
    e.GetTrianglesForFace(face, out);
    ASSERT_EQ(expected_counts[face], out.size()) << face;
    size_t next = 0;
    for (const KLY_Triangle& t : e.triangles) {
      if (t.material_index != static_cast<uint32_t>(face)) continue;
      EXPECT_EQ(kly::testing::Indices(t), kly::testing::Indices(out[next])) << face << " " << next;
      ++next;
    }
  }
  std::vector<KLY_Triangle> out(2);
  e.GetTrianglesForFace(4, out);
  EXPECT_TRUE(out.empty());
}

TEST(ExtrusionCopy, CopiesEveryParameterContoursMaterialsAndMesh) {
  ReportCapture capture;
  ScriptedOffsetService().InstallIn(capture.services());
  TestExtrusion e;
  e.PushContour(Square(0, 0, 10));
  e.SetExtrusionDepth(4);
  e.SetBevelDepth(1.5);
  e.SetHoleBevelDepth(0.5);
  e.SetBevelStyle(KLY_Extrusion::BevelConvex);
  e.SetBevelDirection(3);
  e.SetOrientationStyle(0);
  e.SetFaceGranularity(1, 6);
  e.SetBevelGranularity(2, 7);
  e.SetMaterial(3, NamedMaterial("bevel", 0.75));
  e.Update();

  TestExtrusion assigned;
  const auto check = [&](const TestExtrusion& c) {
    double d = 0;
    c.GetExtrusionDepth(d);
    EXPECT_EQ(4.0, d);
    c.GetBevelDepth(d);
    EXPECT_EQ(1.5, d);
    c.GetHoleBevelDepth(d);
    EXPECT_EQ(0.5, d);
    int32_t style = 0;
    c.GetBevelStyle(style);
    EXPECT_EQ(3, style);
    uint32_t a = 0, b = 0;
    c.GetBevelDirection(a);
    EXPECT_EQ(3u, a);
    c.GetOrientationStyle(a);
    EXPECT_EQ(0u, a);
    c.GetFaceGranularity(a, b);
    EXPECT_EQ(1u, a);
    EXPECT_EQ(6u, b);
    c.GetBevelGranularity(a, b);
    EXPECT_EQ(2u, a);
    EXPECT_EQ(7u, b);
    KLY_Material m;
    c.GetMaterial(3, m);
    EXPECT_TRUE(SameMaterial(NamedMaterial("bevel", 0.75), m));
    ASSERT_EQ(1u, c.contours.size());
    EXPECT_TRUE(std::equal(e.contours[0].beginPoints(), e.contours[0].endPoints(),
                           c.contours[0].beginPoints(), c.contours[0].endPoints()));
    EXPECT_EQ(e.GetNumVertices(), c.GetNumVertices());
    EXPECT_EQ(e.GetNumTriangles(), c.GetNumTriangles());
    EXPECT_FALSE(c.dirty);
  };
  const TestExtrusion copied(e);
  check(copied);
  assigned = e;
  check(assigned);
}

}  // namespace
