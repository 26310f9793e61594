// KLY_Cylinder: the profile (superellipse, petals, the asymmetric clamp), the side rings and
// their normals, the setters' clamps and dirty rules, and the caps through the engine.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "kly/package/failure.h"
#include "kly/solids/cylinder.h"
#include "tests/testing/mesh_access.h"
#include "tests/testing/report_capture.h"

namespace {

using kly::testing::ReportCapture;
using kly::testing::ThrownNumber;

class TestCylinder : public KLY_Cylinder {
 public:
  using KLY_Cylinder::dirty;
  using KLY_Cylinder::KLY_Cylinder;
  using KLY_Cylinder::triangles;
  using KLY_Cylinder::vertices;
};

using Vec = ORT_Vector3T<double>;

Vec Cross(const Vec& a, const Vec& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// The face normal direction by the library's winding: (p2 - p0) x (p1 - p0).
Vec Facing(const TestCylinder& c, const KLY_Triangle& t) {
  const Vec& p0 = c.vertices[t.indices[0]].pos;
  return Cross(c.vertices[t.indices[2]].pos - p0, c.vertices[t.indices[1]].pos - p0);
}

TestCylinder Uncapped(uint32_t radial, uint32_t height) {
  TestCylinder c;
  c.SetCap(false);
  c.SetDivisions(radial, height);
  return c;
}

TEST(CylinderSide, DefaultWithoutCapCountsAndLayout) {
  TestCylinder c = Uncapped(8, 1);
  c.Update();
  // (m+1)(n+1) = 2 * 9 vertices, 2mn = 16 triangles, all of the side material.
  ASSERT_EQ(18u, c.GetNumVertices());
  ASSERT_EQ(16u, c.GetNumTriangles());
  for (const KLY_Triangle& t : c.triangles) EXPECT_EQ(0u, t.material_index);
  EXPECT_TRUE(c.ClosedTwoManifold());
  uint32_t type = 0;
  c.GetGeometryType(type);
  EXPECT_EQ(4u, type);
  EXPECT_EQ(2u, c.NumMaterials());
  // First quad: (a, a+n+1, a+n+2) and (a+n+2, a+1, a) with a = 0.
  EXPECT_EQ((std::vector<uint32_t>{0, 9, 10}), kly::testing::Indices(c.triangles[0]));
  EXPECT_EQ((std::vector<uint32_t>{10, 1, 0}), kly::testing::Indices(c.triangles[1]));

  std::vector<KLY_Triangle> face;
  c.GetTrianglesForFace(1, face);
  EXPECT_TRUE(face.empty());
  c.GetTrianglesForFace(0, face);
  EXPECT_EQ(16u, face.size());
  c.GetTrianglesForFace(5, face);
  EXPECT_TRUE(face.empty());
}

TEST(CylinderSide, CircleRunsInTheNegativeSense) {
  TestCylinder c = Uncapped(8, 1);
  c.Update();
  const double pi = 3.141592653589793;
  for (uint32_t i = 0; i <= 8; ++i) {
    const Vec& bottom = c.vertices[i].pos;  // ring 0 is at y = -H/2
    EXPECT_NEAR(std::cos(2 * pi * i / 8), bottom.x, 1e-15) << i;
    EXPECT_NEAR(-std::sin(2 * pi * i / 8), bottom.z, 1e-15) << i;
    EXPECT_EQ(-0.5, bottom.y);
    EXPECT_EQ(0.5, c.vertices[9 + i].pos.y);
    EXPECT_EQ(1.0 - i / 8.0, c.vertices[i].uv.x);
  }
  EXPECT_EQ(c.vertices[0].pos.x, c.vertices[8].pos.x);  // the seam closes exactly
  EXPECT_EQ(c.vertices[0].pos.z, c.vertices[8].pos.z);
}

// An independent check of the side on a tapered, superelliptic, rippled tube: every normal is
// horizontal, unit, perpendicular to the chord to the next point and away from the axis; the
// seam point shares point 0's normal; the winding faces outwards.
TEST(CylinderSide, NormalsAndWindingFaceAwayFromTheAxis) {
  TestCylinder c = Uncapped(24, 3);
  c.SetTopRadius(0.5);
  c.SetBottomRadius(1.5);
  c.SetHeight(2.0);
  c.SetRadialPower(0.5);
  c.SetPedalAmplitude(0.3);
  c.SetNumPedals(3);
  c.Update();
  const uint32_t ring = 25;
  ASSERT_EQ(4 * ring, c.GetNumVertices());
  for (uint32_t k = 0; k < 4; ++k) {
    for (uint32_t i = 0; i < 24; ++i) {
      const KLY_Vertex& v = c.vertices[k * ring + i];
      const Vec& next = c.vertices[k * ring + i + 1].pos;
      EXPECT_EQ(0.0, v.normal.y);
      EXPECT_NEAR(1.0, std::hypot(v.normal.x, v.normal.z), 1e-15);
      const double chord_x = next.x - v.pos.x, chord_z = next.z - v.pos.z;
      EXPECT_NEAR(0.0, (v.normal.x * chord_x + v.normal.z * chord_z) / std::hypot(chord_x, chord_z),
                  1e-12);
      const double mid_x = (next.x + v.pos.x) / 2, mid_z = (next.z + v.pos.z) / 2;
      EXPECT_GT(v.normal.x * mid_x + v.normal.z * mid_z, 0.0) << k << " " << i;
    }
    EXPECT_EQ(c.vertices[k * ring].normal, c.vertices[k * ring + 24].normal);
  }
  for (const KLY_Triangle& t : c.triangles) {
    const Vec f = Facing(c, t);
    const Vec& p = c.vertices[t.indices[0]].pos;
    const Vec& q = c.vertices[t.indices[1]].pos;
    EXPECT_GT(f.x * (p.x + q.x) + f.z * (p.z + q.z), 0.0);
  }
  // The radius and V are running sums: the last ring meets 1.5 and V = 1 up to rounding.
  EXPECT_NEAR(1.0, c.vertices[3 * ring].uv.y, 1e-15);
  EXPECT_NEAR(1.0, c.vertices[3 * ring].pos.y, 1e-15);
}

TEST(CylinderSide, SuperellipseAndPetalsOfTheProfile) {
  // RadialPower p: |x|^(2/p) + |z|^(2/p) = cos^2 + sin^2 = 1 on the unit section.
  TestCylinder square = Uncapped(32, 1);
  square.SetRadialPower(0.25);
  square.Update();
  for (uint32_t i = 0; i <= 32; ++i) {
    const Vec& p = square.vertices[i].pos;
    EXPECT_NEAR(1.0, std::pow(std::fabs(p.x), 8.0) + std::pow(std::fabs(p.z), 8.0), 1e-12);
  }
  // Petals on a circle: the radius is 1 + A sin(k 2pi i / n) with PedalPower 1.
  TestCylinder star = Uncapped(30, 1);
  star.SetNumPedals(5);
  star.SetPedalAmplitude(0.4);
  star.Update();
  for (uint32_t i = 0; i < 30; ++i) {
    const Vec& p = star.vertices[i].pos;
    EXPECT_NEAR(1.0 + 0.4 * std::sin(5 * 6.283185307179586 * i / 30), std::hypot(p.x, p.z), 1e-14)
        << i;
  }
}

TEST(CylinderSide, NegativeAmplitudeMeetsTheAsymmetricClamp) {
  // n = 8, two petals, amplitude -10. Point 1: c = -s = 0.707, q = sin(pi/2) = 1, r = -9, so
  // X = -6.4 -> -2 and Z = 6.4 -> 2. Point 5: c = -0.707, s = 0.707, q = sin(5pi/2) = 1,
  // r = -9: X = 6.4 -> 2, and Z = -6.4 is below -2, which becomes +2, not -2.
  TestCylinder c = Uncapped(8, 1);
  c.SetNumPedals(2);
  c.SetPedalAmplitude(-10.0);
  c.Update();
  EXPECT_EQ((Vec{-2.0, -0.5, 2.0}), c.vertices[1].pos);
  EXPECT_EQ((Vec{2.0, -0.5, 2.0}), c.vertices[5].pos);
}

TEST(CylinderSide, DegenerateDivisionsDoNotFailWithoutCap) {
  // No height divisions: ring 0 only and no triangles.
  TestCylinder flat = Uncapped(8, 0);
  EXPECT_EQ(0, ThrownNumber([&] { flat.Update(); }));
  EXPECT_EQ(9u, flat.GetNumVertices());
  EXPECT_EQ(0u, flat.GetNumTriangles());
  // Any radial count works without a cap, none at all included.
  for (uint32_t n : {0u, 1u, 2u}) {
    TestCylinder thin = Uncapped(n, 2);
    EXPECT_EQ(0, ThrownNumber([&] { thin.Update(); })) << n;
    EXPECT_EQ(3 * (n + 1), thin.GetNumVertices()) << n;
    EXPECT_EQ(4 * n, thin.GetNumTriangles()) << n;
  }
}

TEST(CylinderSetters, ClampsAndDirtyRules) {
  TestCylinder c;
  c.Update();
  ASSERT_FALSE(c.dirty);
  double value = 0.0;

  c.SetTopRadius(0.0);  // stored as 1e-5, and dirty every time
  c.GetTopRadius(value);
  EXPECT_EQ(1e-5, value);
  EXPECT_TRUE(c.dirty);
  c.Update();
  c.SetTopRadius(0.0);
  EXPECT_TRUE(c.dirty);
  c.Update();
  c.SetBottomRadius(-4.0);
  c.GetBottomRadius(value);
  EXPECT_EQ(1e-5, value);
  c.Update();
  c.SetBottomRadius(1e-5);
  EXPECT_FALSE(c.dirty);

  struct PowerCase {
    double in, stored;
  } powers[] = {{0.05, 0.1}, {5.0, 1.0}, {0.5, 0.5}, {-1.0, 0.1}};
  for (const PowerCase& p : powers) {
    c.SetRadialPower(p.in);
    c.GetRadialPower(value);
    EXPECT_EQ(p.stored, value);
    c.SetPedalPower(p.in);
    c.GetPedalPower(value);
    EXPECT_EQ(p.stored, value);
  }
  c.Update();
  c.SetRadialPower(0.01);  // clamps to the stored 0.1: not a change
  EXPECT_FALSE(c.dirty);

  uint32_t pedals = 0;
  c.SetNumPedals(0);
  c.GetNumPedals(pedals);
  EXPECT_EQ(1u, pedals);
  EXPECT_FALSE(c.dirty);  // 0 is corrected to the 1 already stored

  c.SetPedalAmplitude(-3.0);  // no lower bound
  c.GetPedalAmplitude(value);
  EXPECT_EQ(-3.0, value);
  c.SetPedalAmplitude(2.0);
  c.GetPedalAmplitude(value);
  EXPECT_EQ(1.0, value);
  c.Update();
  c.SetPedalAmplitude(7.0);
  EXPECT_FALSE(c.dirty);

  c.SetHeight(1.0);
  c.SetCap(true);
  c.SetDivisions(8, 1);
  EXPECT_FALSE(c.dirty);
  c.SetDivisions(8, 2);
  EXPECT_TRUE(c.dirty);
  c.Update();
  c.SetHeight(-2.0);  // no clamp
  c.GetHeight(value);
  EXPECT_EQ(-2.0, value);
  EXPECT_TRUE(c.dirty);
}

TEST(CylinderSetters, DimensionsConstructorIsUnclampedWithSixteenDivisions) {
  ORT_Vector3T<double> dimensions{0.0, 2.0, 3.0};
  TestCylinder c(dimensions);
  double top = 1.0, bottom = 0.0, height = 0.0;
  c.GetTopRadius(top);
  c.GetBottomRadius(bottom);
  c.GetHeight(height);
  EXPECT_EQ((std::vector<double>{0, 2, 3}), (std::vector<double>{top, bottom, height}));
  uint32_t radial = 0, rings = 0;
  c.GetDivisions(radial, rings);
  EXPECT_EQ(16u, radial);
  EXPECT_EQ(1u, rings);
  TestCylinder plain;
  plain.GetDivisions(radial, rings);
  EXPECT_EQ(8u, radial);
}

TEST(CylinderSetters, MaterialIndexBeyondOneIsRefused) {
  ReportCapture capture;
  TestCylinder c;
  KLY_Material m;
  m.values[3] = 0.25;
  c.SetMaterial(1, m);
  KLY_Material out;
  c.GetMaterial(1, out);
  EXPECT_EQ(0.25, out.values[3]);
  EXPECT_EQ(KLY_kErrIndex, ThrownNumber([&] { c.SetMaterial(2, m); }));
  EXPECT_EQ(KLY_kErrIndex, ThrownNumber([&] { c.GetMaterial(7, out); }));
  ASSERT_EQ(2u, capture.reports().size());
  EXPECT_NE(std::string::npos, capture.reports()[0].text.find("invalid cylinder material index."));
}

// The area of the triangles of one material, and the shoelace area of the section at radius r.
double CapArea(const TestCylinder& c, double y) {
  double area = 0.0;
  for (const KLY_Triangle& t : c.triangles) {
    if (t.material_index != 1 || c.vertices[t.indices[0]].pos.y != y) continue;
    area += 0.5 * std::fabs(Facing(c, t).y);
  }
  return area;
}

double SectionArea(const TestCylinder& c, uint32_t first, uint32_t n) {
  double twice = 0.0;
  for (uint32_t i = 0; i < n; ++i) {
    const Vec& p = c.vertices[first + i].pos;
    const Vec& q = c.vertices[first + i + 1].pos;
    twice += p.x * q.z - q.x * p.z;
  }
  return 0.5 * std::fabs(twice);
}

TEST(CylinderCaps, CapsCoverTheSectionAndFaceOutwards) {
  for (double amplitude : {0.0, 0.6, -0.5}) {
    TestCylinder c;
    c.SetDivisions(40, 2);
    c.SetTopRadius(1.0);
    c.SetBottomRadius(2.5);
    c.SetNumPedals(4);
    c.SetPedalAmplitude(amplitude);
    c.Update();
    const uint32_t side_vertices = 3 * 41;
    ASSERT_GT(c.GetNumVertices(), side_vertices);
    const uint32_t cap_vertices = c.GetNumVertices() - side_vertices;
    ASSERT_EQ(0u, cap_vertices % 2);  // the bottom cap is a copy of the top
    const uint32_t top = cap_vertices / 2;
    EXPECT_GE(top, 40u);  // the engine may add points on the outline

    for (uint32_t k = 0; k < top; ++k) {
      const KLY_Vertex& t = c.vertices[k];
      const KLY_Vertex& b = c.vertices[top + k];
      EXPECT_EQ(-0.5, t.pos.y);
      EXPECT_EQ((Vec{0, -1, 0}), t.normal);
      EXPECT_EQ(0.5, b.pos.y);
      EXPECT_EQ((Vec{0, 1, 0}), b.normal);
      EXPECT_NEAR(2.5 * t.pos.x, b.pos.x, 1e-14);  // scaled by B / T
      EXPECT_EQ(t.uv.x, b.uv.x);
      EXPECT_EQ(1.0 - t.uv.y, b.uv.y);  // V mirrored
      EXPECT_GE(t.uv.x, -1e-15);
      EXPECT_LE(t.uv.x, 1.0 + 1e-15);
    }
    for (const KLY_Triangle& t : c.triangles) {
      if (t.material_index != 1) continue;
      const double y = c.vertices[t.indices[0]].pos.y;
      EXPECT_EQ(y < 0 ? -1.0 : 1.0, std::copysign(1.0, Facing(c, t).y));
    }
    // Ring 0 of the side is the section at the top radius, the last ring at the bottom one.
    const double top_area = SectionArea(c, cap_vertices, 40);
    EXPECT_NEAR(top_area, CapArea(c, -0.5), 1e-12 * top_area) << amplitude;
    EXPECT_NEAR(2.5 * 2.5 * top_area, CapArea(c, 0.5), 1e-11 * top_area) << amplitude;

    std::vector<KLY_Triangle> caps;
    c.GetTrianglesForFace(1, caps);
    EXPECT_EQ(c.GetNumTriangles() - 2 * 2 * 40, caps.size());
  }
}

TEST(CylinderCaps, CapWithTooFewPointsIsTheEnginesFailure) {
  TestCylinder c;
  c.SetDivisions(2, 1);
  EXPECT_EQ(KLY_kErrTessellation, ThrownNumber([&] { c.Update(); }));
  EXPECT_EQ(0u, c.GetNumVertices());
  EXPECT_TRUE(c.dirty);
  c.SetCap(false);
  EXPECT_EQ(0, ThrownNumber([&] { c.Update(); }));
}

}  // namespace
