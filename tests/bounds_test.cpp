// Records and the axis-aligned box.
#include <gtest/gtest.h>

#include <vector>

#include "kly/core/bounds.h"
#include "kly/core/records.h"

namespace {

KLY_Bounds Box(double x0, double y0, double z0, double x1, double y1, double z1) {
  KLY_Bounds b;
  b += ORT_Vector3T<double>{x0, y0, z0};
  b += ORT_Vector3T<double>{x1, y1, z1};
  return b;
}

// Minimum and maximum along x, then y, then z.
std::vector<double> Extents(const tagBounds& t) {
  return {t.min_x, t.max_x, t.min_y, t.max_y, t.min_z, t.max_z};
}

TEST(Records, VertexWeightAndNormalAsSet) {
  KLY_Vertex v;
  EXPECT_EQ(0.0, v.pos_w);
  EXPECT_FALSE(v.singular);
  v.SetPos({1, 2, 3});
  EXPECT_EQ(1.0, v.pos_w);
  v.SetNormal({3, 0, 0});  // stored as given, not normalised
  ORT_Vector3T<double> n;
  v.GetNormal(n);
  EXPECT_EQ(3.0, n.x);
}

TEST(Bounds, EmptyConvention) {
  KLY_Bounds empty;
  EXPECT_TRUE(empty.IsEmpty());
  EXPECT_FALSE(empty.IsThin());
  EXPECT_FALSE(empty.HasArea());
  EXPECT_TRUE(empty.IsEqual(KLY_Bounds()));
  // An empty box has its minimum above its maximum: two empty boxes do not overlap.
  EXPECT_FALSE(empty.IsOverlapped(KLY_Bounds()));
  // Only x is looked at.
  KLY_Bounds half = Box(0, 0, 0, 1, 1, 1);
  half.max_x = -1e10;
  EXPECT_TRUE(half.IsEmpty());
}

TEST(Bounds, FromHalfExtentsAndPoints) {
  KLY_Bounds b;
  b = ORT_Vector3T<double>{-2, 3, 0};
  tagBounds t;
  b.GetBounds(t);
  EXPECT_EQ((std::vector<double>{-2, 2, -3, 3, 0, 0}), Extents(t));

  KLY_Bounds point;
  point += ORT_Vector3T<double>{5, 6, 7};
  EXPECT_FALSE(point.IsEmpty());
  EXPECT_TRUE(point.IsThin());
  EXPECT_FALSE(point.HasArea());
}

TEST(Bounds, ThinnessAndAreaLookAtDifferentAxes) {
  const KLY_Bounds sheet = Box(0, 0, 0, 1, 1, 0);  // 1 x 1 x 0
  EXPECT_TRUE(sheet.HasArea());
  EXPECT_TRUE(sheet.IsThin());
  const KLY_Bounds wall = Box(0, 0, 0, 0, 1, 1);  // no extent in x
  EXPECT_FALSE(wall.HasArea());
  // 1e-6 itself is not thin (strict comparison), and not area either.
  const KLY_Bounds edge = Box(0, 0, 0, 1e-6, 1, 1);
  EXPECT_FALSE(edge.IsThin());
  EXPECT_FALSE(edge.HasArea());
}

TEST(Bounds, TouchingBoxesOverlap) {
  EXPECT_TRUE(Box(0, 0, 0, 1, 1, 1).IsOverlapped(Box(1, 1, 1, 2, 2, 2)));
  EXPECT_FALSE(Box(0, 0, 0, 1, 1, 1).IsOverlapped(Box(1, 1, 1.5, 2, 2, 2)));
}

TEST(Bounds, CornersInTheFixedOrder) {
  tagCorners c;
  Box(0, 10, 20, 1, 11, 21).FillCorners(c);
  // min/max pattern per corner: x, y, z (0 = min, 1 = max).
  const int pattern[8][3] = {{0, 0, 0}, {0, 0, 1}, {0, 1, 0}, {0, 1, 1},
                             {1, 1, 0}, {1, 1, 1}, {1, 0, 0}, {1, 0, 1}};
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(pattern[i][0] + 0.0, c.corners[i].x) << i;
    EXPECT_EQ(pattern[i][1] + 10.0, c.corners[i].y) << i;
    EXPECT_EQ(pattern[i][2] + 20.0, c.corners[i].z) << i;
  }
}

TEST(Bounds, TransformOfAnEmptyBoxIsLargeNotEmpty) {
  ORT_Matrix4 move = ORT_Identity4();
  move.m[3][0] = 1.0;
  KLY_Bounds out;
  KLY_Bounds().Transform(move, out);
  EXPECT_FALSE(out.IsEmpty());
  EXPECT_EQ(-1e10 + 1.0, out.min_x);
  EXPECT_EQ(1e10 + 1.0, out.max_x);

  // A quarter turn about z: (x, y) -> (-y, x) for row vectors with M[0] = (0,1,0), M[1] = (-1,0,0).
  ORT_Matrix4 turn = ORT_Identity4();
  turn.m[0][0] = 0;
  turn.m[0][1] = 1;
  turn.m[1][0] = -1;
  turn.m[1][1] = 0;
  Box(0, 0, 0, 2, 1, 1).Transform(turn, out);
  tagBounds t;
  out.GetBounds(t);
  EXPECT_EQ((std::vector<double>{-1, 0, 0, 2, 0, 1}), Extents(t));
}

TEST(Bounds, IsEqualUsesTheRelativeToleranceAndItsOddFloor) {
  struct Case {
    double a, b;
    bool equal;
  } cases[] = {
      {0.0, 1e-13, true},
      {0.0, 1.1e-12, false},
      // The floor is 1.000088900582341e-12, so a gap of exactly 1e-12 is still equal.
      {0.0, 1e-12, true},
      // Relative part: 1e6 * 1e-12 = 1e-6 allows a gap of 9e-7 but not 2e-6.
      {1e6, 1e6 + 9e-7, true},
      {1e6, 1e6 + 2e-6, false},
      // Negative values are mirrored before the relative tolerance is taken.
      {-1e6, -1e6 - 9e-7, true},
      {-1e6, -1e6 - 2e-6, false},
  };
  for (const Case& c : cases) {
    KLY_Bounds a = Box(0, 0, 0, 1, 1, 1), b = a;
    a.min_x = c.a;
    b.min_x = c.b;
    EXPECT_EQ(c.equal, a.IsEqual(b)) << c.a << " vs " << c.b;
    EXPECT_EQ(c.equal, KLY_IsNearlyEqual(c.a, c.b));
  }
}

}  // namespace
