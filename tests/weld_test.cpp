// KLY_Mesh::Weld: the fixed hash, the box tolerance, first-vertex-wins and the probe chain.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "kly/mesh/mesh.h"
#include "tests/testing/mesh_access.h"

namespace {

using kly::testing::Indices;
using kly::testing::TestMesh;

KLY_Vertex At(double x, double y, double z, double u = 0.0) {
  KLY_Vertex v;
  v.SetPos({x, y, z});
  v.SetUV({u, 0.0});
  return v;
}

TestMesh MeshOf(const std::vector<KLY_Vertex>& vertices) {
  TestMesh mesh;
  for (const KLY_Vertex& v : vertices) mesh.PushVertex(v);
  return mesh;
}

TEST(Weld, EmptyMeshStaysEmpty) {
  TestMesh mesh;
  mesh.Weld(1.0);
  EXPECT_EQ(0u, mesh.GetNumVertices());
  EXPECT_EQ(0u, mesh.GetNumTriangles());
}

TEST(Weld, FirstVertexOfAClusterWinsAndCollapsedTrianglesStay) {
  // Three vertices at one place with three UVs: one vertex, the first UV, indices 0, 0, 0.
  TestMesh mesh = MeshOf({At(1, 2, 3, 0.1), At(1, 2, 3, 0.2), At(1, 2, 3, 0.3)});
  mesh.PushFace(KLY_Triangle(0, 1, 2));
  mesh.Weld(1e-6);
  ASSERT_EQ(1u, mesh.GetNumVertices());
  EXPECT_EQ(0.1, mesh.vertices[0].uv.x);
  ASSERT_EQ(1u, mesh.GetNumTriangles());
  EXPECT_EQ((std::vector<uint32_t>{0, 0, 0}), Indices(mesh.triangles[0]));
}

TEST(Weld, SurvivorsKeepTheOrderOfFirstAppearance) {
  TestMesh mesh =
      MeshOf({At(5, 0, 0, 1), At(0, 7, 0, 2), At(5, 0, 0, 3), At(0, 0, 9, 4), At(0, 7, 0, 5)});
  mesh.PushFace(KLY_Triangle(2, 4, 3));
  mesh.Weld(1e-6);
  ASSERT_EQ(3u, mesh.GetNumVertices());
  const std::vector<double> us = {mesh.vertices[0].uv.x, mesh.vertices[1].uv.x,
                                  mesh.vertices[2].uv.x};
  EXPECT_EQ((std::vector<double>{1, 2, 4}), us);
  // Old 2, 4, 3 are the first copies 0, 1 and the lone vertex 2.
  EXPECT_EQ((std::vector<uint32_t>{0, 1, 2}), Indices(mesh.triangles[0]));
}

// Each case: two positions, the tolerance passed, and whether they merge.
struct PairCase {
  const char* why;
  ORT_Vector3T<double> a, b;
  double tolerance;
  bool merge;
};

TEST(Weld, WhichPairsMerge) {
  const PairCase cases[] = {
      // Sums 103 and 103.0000515 truncate alike, and 5e-7 < 1e-6.
      {"same slot, within tolerance", {1, 0, 0}, {1.0 + 5e-7, 0, 0}, 1e-6, true},
      // Weld(0) welds with 1e-6 all the same.
      {"zero tolerance means 1e-6", {1, 0, 0}, {1.0 + 5e-7, 0, 0}, 0.0, true},
      // 2e-6 apart: beyond 1e-6, within 1e-5; both sums truncate to 103.
      {"beyond the floor", {1, 0, 0}, {1.0 + 2e-6, 0, 0}, 0.0, false},
      {"within a wider tolerance", {1, 0, 0}, {1.0 + 2e-6, 0, 0}, 1e-5, true},
      // Sums 102.999999 and 103.000001 land in different slots: closer than the tolerance,
      // yet never compared.
      {"neighbouring slots stay apart", {0.99999999, 0, 0}, {1.00000001, 0, 0}, 1e-6, false},
      // Mirror images hash alike and are compared, but are far apart.
      {"mirror images", {1, 2, 3}, {-1, 2, 3}, 1e-6, false},
      // A box per axis, not a distance: 0.9e-6 on each axis is 1.56e-6 away, yet merges.
      {"box, not sphere", {1, 1, 1}, {1 + 0.9e-6, 1 + 0.9e-6, 1 + 0.9e-6}, 1e-6, true},
      // The comparison is strict: exactly the tolerance apart (2^-10, both sums truncate to
      // 103) does not merge; twice that tolerance does.
      {"strict box", {1, 0, 0}, {1.0 + 0x1p-10, 0, 0}, 0x1p-10, false},
      {"strict box, wider", {1, 0, 0}, {1.0 + 0x1p-10, 0, 0}, 0x1p-9, true},
  };
  for (const PairCase& c : cases) {
    TestMesh mesh = MeshOf({At(c.a.x, c.a.y, c.a.z), At(c.b.x, c.b.y, c.b.z)});
    mesh.Weld(c.tolerance);
    EXPECT_EQ(c.merge ? 1u : 2u, mesh.GetNumVertices()) << c.why;
    EXPECT_EQ(c.a, mesh.vertices[0].pos) << c.why;
  }
}

TEST(Weld, ProbeChainWrapsFromTheLastSlotToTheFirst) {
  // Three vertices: 342 slots. 103 * 3.3155 truncates to 341, the last slot. The mirror image
  // finds it taken and wraps to slot 0; its copy must follow the same chain to find it there.
  const double x = 341.5 / 103.0;
  TestMesh mesh = MeshOf({At(x, 0, 0), At(-x, 0, 0), At(-x, 0, 0)});
  mesh.PushFace(KLY_Triangle(0, 1, 2));
  mesh.Weld(1e-6);
  ASSERT_EQ(2u, mesh.GetNumVertices());
  EXPECT_EQ(-x, mesh.vertices[1].pos.x);
  EXPECT_EQ(1u, mesh.triangles[0].indices[2]);
}

TEST(Weld, HugeAndNonFiniteCoordinatesDoNotBreakTheTable) {
  // Sums beyond 64 bits (and NaN) truncate to the integer indefinite value, slot 0.
  TestMesh mesh = MeshOf({At(1e300, 0, 0), At(NAN, 0, 0), At(1e300, 0, 0), At(INFINITY, 0, 0)});
  mesh.Weld(1e-6);
  // The two 1e300 merge; NaN never compares within the box; inf - inf is NaN too.
  EXPECT_EQ(3u, mesh.GetNumVertices());
}

TEST(Weld, DoesNotDirtyACleanMesh) {
  TestMesh mesh = MeshOf({At(0, 0, 0), At(0, 0, 0)});
  mesh.Update();
  mesh.Weld(1e-6);
  EXPECT_FALSE(mesh.dirty);
}

// The table as a plain walk of linear probing, written apart from the library's code, to
// compare with. Coordinates within +-1 hash to a few hundred slots, so thousands of vertices
// share one chain (the library's long-chain shortcut); within +-1e4 chains stay short.
std::vector<uint32_t> ReferenceRemap(const std::vector<KLY_Vertex>& in, double tolerance,
                                     std::vector<ORT_Vector3T<double>>& kept) {
  const double box = std::max(tolerance, 1e-6);
  const size_t size = 3 * in.size() + 333;
  std::vector<int32_t> table(size, -1);
  std::vector<uint32_t> remap;
  for (const KLY_Vertex& v : in) {
    const auto& p = v.pos;
    const double h = std::fabs(p.x) * 103.0 + std::fabs(p.y) * 107.0 + std::fabs(p.z) * 97.0;
    const uint32_t low = h < 9.2e18 ? static_cast<uint32_t>(static_cast<int64_t>(h)) : 0u;
    size_t slot = low % size;
    for (;;) {
      if (table[slot] < 0) {
        table[slot] = static_cast<int32_t>(kept.size());
        remap.push_back(static_cast<uint32_t>(kept.size()));
        kept.push_back(p);
        break;
      }
      const auto& q = kept[table[slot]];
      if (std::fabs(q.x - p.x) < box && std::fabs(q.y - p.y) < box && std::fabs(q.z - p.z) < box) {
        remap.push_back(static_cast<uint32_t>(table[slot]));
        break;
      }
      slot = (slot + 1) % size;
    }
  }
  return remap;
}

TEST(Weld, GivesTheResultOfPlainProbing) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  for (double tolerance : {1e-6, 1e-3, 0.05, 2.0}) {
    const double extent = tolerance == 2.0 ? 1e4 : 1.0;
    // Clusters of points closer and farther than the tolerance, exact copies, and a few
    // non-finite positions, in one small box.
    std::vector<KLY_Vertex> input;
    for (int i = 0; i < 1500; ++i) {
      const ORT_Vector3T<double> c{extent * unit(random), extent * unit(random),
                                   extent * unit(random)};
      input.push_back(At(c.x, c.y, c.z, i));
      input.push_back(At(c.x + 0.6 * tolerance * unit(random), c.y, c.z - 0.6 * tolerance, i));
      input.push_back(At(c.x + 2.0 * tolerance, c.y, c.z, i));
      if (i % 3 == 0) input.push_back(At(-c.x, c.y, c.z, i));
      if (i % 5 == 0) input.push_back(input[input.size() - 3]);
      if (i % 500 == 0) input.push_back(At(NAN, c.y, INFINITY, i));
    }
    std::shuffle(input.begin(), input.end(), random);
    std::vector<ORT_Vector3T<double>> kept;
    const std::vector<uint32_t> expected = ReferenceRemap(input, tolerance, kept);

    TestMesh mesh = MeshOf(input);
    for (uint32_t t = 0; t + 2 < input.size(); t += 3) mesh.PushFace(KLY_Triangle(t, t + 1, t + 2));
    mesh.Weld(tolerance);
    ASSERT_EQ(kept.size(), mesh.GetNumVertices()) << tolerance;
    for (size_t i = 0; i < kept.size(); ++i) {
      const auto& p = mesh.vertices[i].pos;
      EXPECT_TRUE(p == kept[i] || (std::isnan(p.x) && std::isnan(kept[i].x))) << i;
    }
    std::vector<uint32_t> indices;
    for (const KLY_Triangle& t : mesh.triangles)
      indices.insert(indices.end(), t.indices, t.indices + 3);
    ASSERT_LE(indices.size(), expected.size());
    EXPECT_EQ(std::vector<uint32_t>(expected.begin(), expected.begin() + indices.size()), indices)
        << tolerance;
  }
}

}  // namespace
