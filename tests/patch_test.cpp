// KLY_CubicBezierPatch: Bernstein values, point and partials, normals, the adaptive grid and
// the mesh it writes.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "kly/curves/cubic_bezier_patch.h"
#include "kly/mesh/mesh.h"
#include "kly/package/failure.h"
#include "tests/testing/report_capture.h"

namespace {

using Vec3 = ORT_Vector3T<double>;
using kly::testing::ReportCapture;
using kly::testing::ThrownNumber;

class TestPatch : public KLY_CubicBezierPatch {
 public:
  using KLY_CubicBezierPatch::Bernstein;
  using KLY_CubicBezierPatch::Eval;
  using KLY_CubicBezierPatch::Normal;
  using KLY_CubicBezierPatch::Partial_u;
  using KLY_CubicBezierPatch::Partial_v;
};

// Point (r, c) = f(r, c).
template <class F>
tagCUBIC_PATCH_PTS Net(F f) {
  tagCUBIC_PATCH_PTS net;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) net.points[4 * r + c] = f(r, c);
  }
  return net;
}

// A flat square, evenly spaced: Eval(u, v) = (3u, 3v, 0) and the normal is +Z.
tagCUBIC_PATCH_PTS FlatSquare() {
  return Net([](int r, int c) { return Vec3{double(c), double(r), 0.0}; });
}

// A wavy wall: x along the columns, depth along the rows, bulging in y.
tagCUBIC_PATCH_PTS Wavy() {
  return Net([](int r, int c) {
    return Vec3{10.0 * c, (c == 1 ? 4.0 : c == 2 ? -3.0 : 0.0) + 0.5 * r * r, 5.0 * r};
  });
}

TestPatch Make(tagCUBIC_PATCH_PTS net, uint32_t uMin, uint32_t uMax, uint32_t vMin, uint32_t vMax) {
  TestPatch patch;
  patch.SetCubicGeometry(net);
  patch.SetGranularity(uMin, uMax, vMin, vMax);
  return patch;
}

double Dot(const Vec3& a, const Vec3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

void ExpectNear(const Vec3& expected, const Vec3& actual, double tolerance) {
  EXPECT_NEAR(expected.x, actual.x, tolerance);
  EXPECT_NEAR(expected.y, actual.y, tolerance);
  EXPECT_NEAR(expected.z, actual.z, tolerance);
}

// A mesh of the size the patch's adaptive grid asks for; the grid's parameters in `us`, `vs`.
KLY_Mesh SizedMesh(TestPatch& patch, std::vector<double>& us, std::vector<double>& vs) {
  uint32_t vertices, triangles;
  patch.GetAdaptiveMeshSize(vertices, triangles, us, vs);
  KLY_Mesh mesh;
  mesh.SetSize(vertices, triangles);
  return mesh;
}

TEST(PatchBernstein, ValuesAndOutOfRange) {
  TestPatch patch;
  // At t = 1/2: s = 1/2, so degree 3 gives 1/8, 3/8, 3/8, 1/8 and degree 2 gives 1/4, 1/2, 1/4.
  const double cubic[4] = {0.125, 0.375, 0.375, 0.125};
  const double quadratic[3] = {0.25, 0.5, 0.25};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(cubic[i], patch.Bernstein(3, i, 0.5));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(quadratic[i], patch.Bernstein(2, i, 0.5));
  EXPECT_EQ(0.0, patch.Bernstein(4, 0, 0.3));
  EXPECT_EQ(0.0, patch.Bernstein(3, 5, 0.3));
  EXPECT_EQ(0.0, patch.Bernstein(2, 3, 0.3));
  EXPECT_EQ(0.0, patch.Bernstein(3, -1, 0.3));
  EXPECT_EQ(0.0, patch.Bernstein(1, 0, 0.3));
  // t = 0.3, s = 0.7: 3 t s^2 = 0.441.
  EXPECT_NEAR(0.441, patch.Bernstein(3, 1, 0.3), 1e-15);
}

TEST(PatchEvaluation, CornersFlatSquareAndFiniteDifferences) {
  TestPatch flat = Make(FlatSquare(), 0, 0, 0, 0);
  Vec3 out;
  flat.Eval(0.25, 0.75, out);
  ExpectNear({0.75, 2.25, 0}, out, 1e-15);
  flat.Normal(0.3, 0.6, out);
  ExpectNear({0, 0, 1}, out, 1e-15);

  tagCUBIC_PATCH_PTS net = Wavy();
  TestPatch wavy = Make(net, 0, 0, 0, 0);
  // The corners of the net are on the surface.
  const double corners[4][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
  const int cornerIndex[4] = {0, 3, 12, 15};
  for (int k = 0; k < 4; ++k) {
    wavy.Eval(corners[k][0], corners[k][1], out);
    ExpectNear(net.points[cornerIndex[k]], out, 1e-12);
  }
  // Partials against central differences of Eval; the normal is their unit cross product.
  const double h = 1e-6;
  for (double u : {0.1, 0.5, 0.85}) {
    for (double v : {0.2, 0.7}) {
      Vec3 pu, pv, a, b, c, d, n;
      wavy.Partial_u(u, v, pu);
      wavy.Partial_v(u, v, pv);
      wavy.Eval(u + h, v, a);
      wavy.Eval(u - h, v, b);
      wavy.Eval(u, v + h, c);
      wavy.Eval(u, v - h, d);
      const Vec3 du = (a - b) * (1 / (2 * h)), dv = (c - d) * (1 / (2 * h));
      ExpectNear(du, pu, 1e-6);
      ExpectNear(dv, pv, 1e-6);
      wavy.Normal(u, v, n);
      EXPECT_NEAR(1.0, Dot(n, n), 1e-14);
      EXPECT_NEAR(0.0, Dot(n, pu), 1e-9);
      EXPECT_NEAR(0.0, Dot(n, pv), 1e-9);
      const Vec3 cross{pu.y * pv.z - pu.z * pv.y, pu.z * pv.x - pu.x * pv.z,
                       pu.x * pv.y - pu.y * pv.x};
      EXPECT_GT(Dot(n, cross), 0.0);
    }
  }
}

TEST(PatchNormal, CollapsedRowFacesTheFront) {
  // Row 0 is one point: Partial_u vanishes exactly at v = 0, the cross product is exactly zero.
  tagCUBIC_PATCH_PTS net = FlatSquare();
  for (int c = 0; c < 4; ++c) net.points[c] = {1.5, 0.0, 0.0};
  TestPatch patch = Make(net, 0, 0, 0, 0);
  for (double u : {0.0, 0.4, 1.0}) {
    Vec3 n;
    patch.Normal(u, 0.0, n);
    EXPECT_EQ((Vec3{0, 0, -1}), n);
  }
}

TEST(PatchNormal, TinyNonZeroNormalFailsAfterReport) {
  // A square of side 3e-13: both partials are 3e-13 long, their cross product 9e-26 long, and
  // its squared length 8.1e-51 is above 0 but below 1e-48.
  tagCUBIC_PATCH_PTS net = Net([](int r, int c) { return Vec3{c * 1e-13, r * 1e-13, 0.0}; });
  TestPatch patch = Make(net, 0, 0, 0, 0);
  ReportCapture capture;
  Vec3 n;
  EXPECT_EQ(KLY_kErrNormalisation, ThrownNumber([&] { patch.Normal(0.5, 0.5, n); }));
  EXPECT_EQ(capture.reports(),
            std::vector<kly::testing::Report>{kly::testing::NormalisationReport()});

  std::vector<double> us, vs;
  KLY_Mesh mesh = SizedMesh(patch, us, vs);
  EXPECT_EQ(KLY_kErrNormalisation, ThrownNumber([&] { patch.FillMesh(mesh, 2); }));
}

TEST(PatchGrid, SizesFromTheFirstRowAndColumn) {
  struct Case {
    const char* name;
    tagCUBIC_PATCH_PTS net;
    uint32_t uMin, uMax, vMin, vMax;
    size_t nu, nv;
    uint32_t vertices, triangles;  // nu nv and (2 nu - 2)(nv - 1)
  } cases[] = {
      // Two levels along u (six values), eight leaves of level 3 along v (ten values).
      {"flat 0,0,3,3", FlatSquare(), 0, 0, 3, 3, 6, 10, 60, 90},
      {"flat 0,10,0,10", FlatSquare(), 0, 10, 0, 10, 6, 6, 36, 50},
      // minDepth 10 each way: 1024 leaves plus the ends.
      {"finest", FlatSquare(), 10, 10, 10, 10, 1026, 1026, 1052676, 2 * 1025 * 1025},
  };
  for (Case& c : cases) {
    TestPatch patch = Make(c.net, c.uMin, c.uMax, c.vMin, c.vMax);
    uint32_t vertices = 0, triangles = 0;
    std::vector<double> us = {9.0}, vs = {9.0};  // emptied first
    patch.GetAdaptiveMeshSize(vertices, triangles, us, vs);
    EXPECT_EQ(c.nu, us.size()) << c.name;
    EXPECT_EQ(c.nv, vs.size()) << c.name;
    EXPECT_EQ(c.vertices, vertices) << c.name;
    EXPECT_EQ(c.triangles, triangles) << c.name;
  }

  // Curved only in its last row: the grid stays coarse along u. Curved in its first row: finer.
  tagCUBIC_PATCH_PTS lastRowCurved = FlatSquare();
  lastRowCurved.points[13].y += 40.0;
  lastRowCurved.points[14].y -= 40.0;
  tagCUBIC_PATCH_PTS firstRowCurved = FlatSquare();
  firstRowCurved.points[1].y += 40.0;
  firstRowCurved.points[2].y -= 40.0;
  std::vector<double> us, vs;
  uint32_t vertices, triangles;
  Make(lastRowCurved, 0, 10, 0, 10).GetAdaptiveMeshSize(vertices, triangles, us, vs);
  EXPECT_EQ(6u, us.size());
  Make(firstRowCurved, 0, 10, 0, 10).GetAdaptiveMeshSize(vertices, triangles, us, vs);
  EXPECT_GT(us.size(), 6u);
  EXPECT_EQ(6u, vs.size());
}

TEST(PatchGrid, TooDeepForThirtyTwoBitCountsIsRefused) {
  // 2^17 + 2 samples each way: about 1.7e10 vertices.
  TestPatch patch = Make(FlatSquare(), 17, 17, 17, 17);
  uint32_t vertices, triangles;
  std::vector<double> us, vs;
  EXPECT_THROW(patch.GetAdaptiveMeshSize(vertices, triangles, us, vs), std::length_error);
}

TEST(PatchFillMesh, VerticesTrianglesAndTextureMapping) {
  tagCUBIC_PATCH_PTS net = Wavy();
  TestPatch patch = Make(net, 0, 10, 3, 3);
  patch.SetUScaleOffset(0.25, 0.5);
  patch.SetVScaleOffset(2.0, -1.0);
  std::vector<double> us, vs;
  KLY_Mesh mesh = SizedMesh(patch, us, vs);
  patch.FillMesh(mesh, 3);
  ASSERT_EQ(us.size() * vs.size(), mesh.GetNumVertices());
  const uint32_t nu = us.size(), nv = vs.size();

  // Row by row of v, u within a row; positions and normals by the same arithmetic as Eval
  // and Normal, so bit for bit.
  auto vertex = mesh.beginVerts();
  for (uint32_t j = 0; j < nv; ++j) {
    for (uint32_t i = 0; i < nu; ++i, ++vertex) {
      Vec3 p, n;
      patch.Eval(us[i], vs[j], p);
      patch.Normal(us[i], vs[j], n);
      EXPECT_EQ(p, vertex->pos);
      EXPECT_EQ(n, vertex->normal);
      EXPECT_EQ(1.0, vertex->pos_w);
      // u from 0 to 1 maps into 0.5 to 0.75; v into -1 to 1.
      EXPECT_EQ(0.25 * us[i] + 0.5, vertex->uv.x);
      EXPECT_EQ(2.0 * vs[j] - 1.0, vertex->uv.y);
    }
  }
  EXPECT_EQ(0.5, mesh.beginVerts()->uv.x);
  EXPECT_EQ(0.75, (mesh.beginVerts() + nu - 1)->uv.x);

  // Two triangles a cell: (a, a + nu + 1, a + 1) then (a, a + nu, a + nu + 1).
  auto triangle = mesh.beginTriangles();
  for (uint32_t j = 0; j + 1 < nv; ++j) {
    for (uint32_t i = 0; i + 1 < nu; ++i) {
      const uint32_t a = j * nu + i;
      const uint32_t expected[2][3] = {{a, a + nu + 1, a + 1}, {a, a + nu, a + nu + 1}};
      for (const auto& e : expected) {
        uint32_t x, y, z, material;
        triangle->GetIndices(x, y, z);
        triangle->GetMaterialIndex(material);
        EXPECT_EQ((std::vector<uint32_t>{e[0], e[1], e[2], 3}),
                  (std::vector<uint32_t>{x, y, z, material}));
        ++triangle;
      }
    }
  }
  EXPECT_TRUE(triangle == mesh.endTriangles());
}

TEST(PatchFillMesh, WindingAgreesWithTheFaceNormalRule) {
  // The library's face normal is unit (p2 - p0) x (p1 - p0); on a flat square with normal +Z
  // the grid's triangles must give +Z by that rule.
  TestPatch patch = Make(FlatSquare(), 0, 0, 0, 0);
  std::vector<double> us, vs;
  KLY_Mesh mesh = SizedMesh(patch, us, vs);
  patch.FillMesh(mesh, 2);
  for (auto t = mesh.beginTriangles(); t != mesh.endTriangles(); ++t) {
    const Vec3 p0 = (mesh.beginVerts() + t->indices[0])->pos;
    const Vec3 p1 = (mesh.beginVerts() + t->indices[1])->pos;
    const Vec3 p2 = (mesh.beginVerts() + t->indices[2])->pos;
    const Vec3 a = p2 - p0, b = p1 - p0;
    EXPECT_GT(a.x * b.y - a.y * b.x, 0.0);
  }
}

TEST(PatchFillMesh, MeshSmallerThanTheGridIsRefusedUntouched) {
  TestPatch patch = Make(FlatSquare(), 0, 0, 0, 0);
  KLY_Mesh mesh;
  mesh.SetSize(35, 50);  // the grid needs 36 and 50
  EXPECT_EQ("invalid vector<T> subscript",
            kly::testing::ThrownText<std::out_of_range>([&] { patch.FillMesh(mesh, 2); }));
  EXPECT_EQ(0.0, mesh.beginVerts()->pos_w);  // nothing written
}

TEST(PatchFillMesh, NonFiniteControlPointsGiveNanVerticesWithoutFailure) {
  tagCUBIC_PATCH_PTS net = FlatSquare();
  net.points[5].x = std::numeric_limits<double>::quiet_NaN();
  net.points[10].y = std::numeric_limits<double>::infinity();
  TestPatch patch = Make(net, 0, 10, 0, 10);
  std::vector<double> us, vs;
  KLY_Mesh mesh = SizedMesh(patch, us, vs);
  EXPECT_EQ(36u, mesh.GetNumVertices());  // the first row and column are finite and flat
  ReportCapture capture;
  EXPECT_EQ(0, ThrownNumber([&] { patch.FillMesh(mesh, 2); }));
  EXPECT_TRUE(std::isnan((mesh.beginVerts() + 7)->pos.x));
  EXPECT_TRUE(capture.reports().empty());
}

}  // namespace

namespace {

// The grid appended after `existing` vertices of a mesh with the given u granularity.
KLY_Mesh AppendedGrid(TestPatch& patch, uint32_t existing, std::vector<double>& us,
                      std::vector<double>& vs) {
  uint32_t vertices, triangles;
  patch.GetAdaptiveMeshSize(vertices, triangles, us, vs);
  KLY_Mesh mesh;
  mesh.SetSize(existing, 0);
  patch.AppendGrid(mesh, 2, us.data(), static_cast<uint32_t>(us.size()), vs.data(),
                   static_cast<uint32_t>(vs.size()));
  return mesh;
}

}  // namespace

TEST(PatchAppendGrid, VerticesAndFaceNormalsAcrossColumnBlocks) {
  // uMin 6 gives 64 leaves and 66 columns: the grid is evaluated in blocks of 32 columns that
  // share their edge columns (0-31, 31-62, 62-65), so every block seam is crossed. vMin 2 gives
  // 6 rows. Every vertex must be Eval and Normal at its parameters, every triangle's normal the
  // mesh's face normal of its corners, bit for bit.
  TestPatch patch = Make(Wavy(), 6, 6, 2, 2);
  std::vector<double> us, vs;
  const KLY_Mesh mesh = AppendedGrid(patch, 5, us, vs);
  ASSERT_EQ(66u, us.size());
  ASSERT_EQ(6u, vs.size());
  ASSERT_EQ(5u + 66 * 6, mesh.GetNumVertices());
  ASSERT_EQ(2u * 65 * 5, mesh.GetNumTriangles());
  auto vertex = mesh.beginVerts() + 5;
  for (double v : vs) {
    for (double u : us) {
      Vec3 p, n;
      patch.Eval(u, v, p);
      patch.Normal(u, v, n);
      EXPECT_EQ(p, vertex->pos);
      EXPECT_EQ(n, vertex->normal);
      ++vertex;
    }
  }
  auto t = mesh.beginTriangles();
  EXPECT_EQ(5u, t->indices[0]);  // counted from the vertices already there
  for (; t != mesh.endTriangles(); ++t) {
    const auto at = [&](int k) { return (mesh.beginVerts() + t->indices[k])->pos; };
    EXPECT_EQ(KLY_FaceNormal(at(0), at(1), at(2)), t->normal);
    EXPECT_EQ(2u, t->material_index);
  }
}

TEST(PatchAppendGrid, TriangleWithoutAreaTakesItsFirstCornersNormal) {
  // The first row collapsed to one point: the first triangle of every quad of the first row,
  // (a, a + nu + 1, a + 1), has two corners there and no area.
  tagCUBIC_PATCH_PTS net = Wavy();
  for (int c = 0; c < 4; ++c) net.points[c] = net.points[0];
  TestPatch patch = Make(net, 0, 0, 2, 2);
  std::vector<double> us, vs;
  const KLY_Mesh mesh = AppendedGrid(patch, 0, us, vs);
  auto t = mesh.beginTriangles();
  for (size_t i = 0; i + 1 < us.size(); ++i, t += 2)
    EXPECT_EQ((mesh.beginVerts() + t->indices[0])->normal, t->normal);
}

TEST(PatchAppendGrid, TinyNonZeroNormalFailsAddingNothing) {
  // The square of side 3e-13 of TinyNonZeroNormalFailsAfterReport: every vertex normal fails.
  tagCUBIC_PATCH_PTS net = Net([](int r, int c) { return Vec3{c * 1e-13, r * 1e-13, 0.0}; });
  TestPatch patch = Make(net, 0, 0, 0, 0);
  ReportCapture capture;
  std::vector<double> us, vs;
  uint32_t vertices, triangles;
  patch.GetAdaptiveMeshSize(vertices, triangles, us, vs);
  KLY_Mesh mesh;
  mesh.SetSize(4, 2);
  EXPECT_EQ(KLY_kErrNormalisation, ThrownNumber([&] {
              patch.AppendGrid(mesh, 2, us.data(), static_cast<uint32_t>(us.size()), vs.data(),
                               static_cast<uint32_t>(vs.size()));
            }));
  EXPECT_EQ(4u, mesh.GetNumVertices());
  EXPECT_EQ(2u, mesh.GetNumTriangles());
}
