// The engine's linked structure: handle encoding and the edge algebra, the block pools, and
// traversal. These are internals of kly/tess, tested here because every stage leans on them.
#include <gtest/gtest.h>

#include <vector>

#include "kly/tess/failure.h"
#include "kly/tess/mesh_structure.h"
#include "kly/tess/triangulate.h"

namespace {

// A mesh with pools and dummies for `vertices` input vertices and the given switches; torn
// down on destruction.
struct MeshFixture {
  TessMesh m;
  TessSwitches sw;
  explicit MeshFixture(int32_t vertices, bool segments = false) {
    MeshZero(m);
    m.inVertices = vertices;
    m.triangleAttributeCount = 0;
    m.triangleLimit = 0;
    sw.useSegments = segments ? 1 : 0;
    InitTriangleSubsegmentPools(m, sw);
  }
  ~MeshFixture() { MeshTearDown(m); }
};

TEST(TessStructure, HandlesEncodeTheirOrientationInTheLowBits) {
  MeshFixture f(3);
  const TriHandle t = MakeTriangle(f.m, f.sw);
  for (uint32_t orient = 0; orient < 3; orient++) {
    const TessWord word = EncodeTri({t.tri, orient});
    EXPECT_EQ(word & 3, orient);
    EXPECT_EQ(DecodeTri(word).tri, t.tri);
    EXPECT_EQ(DecodeTri(word).orient, orient);
  }
  // Lnext and Lprev turn by the tables 1, 2, 0 and 2, 0, 1, and undo each other.
  const uint32_t next[3] = {1, 2, 0};
  for (uint32_t orient = 0; orient < 3; orient++) {
    EXPECT_EQ(Lnext({t.tri, orient}).orient, next[orient]);
    EXPECT_TRUE(SameHandle(Lprev(Lnext({t.tri, orient})), TriHandle{t.tri, orient}));
  }
}

TEST(TessStructure, CornersAndEdgeAlgebraOfTwoBondedTriangles) {
  MeshFixture f(4);
  double a[4] = {0, 0}, b[4] = {1, 0}, c[4] = {0, 1}, d[4] = {1, 1};
  // Triangle (a, b, c) and, across its edge b-c, triangle (c, b, d).
  TriHandle left = MakeTriangle(f.m, f.sw);
  SetOrg(left, a);
  SetDest(left, b);
  SetApex(left, c);
  TriHandle right = MakeTriangle(f.m, f.sw);
  SetOrg(right, c);
  SetDest(right, b);
  SetApex(right, d);
  // Word k of a triangle is the neighbour across from corner k; the apex of orientation 0 is
  // word 3, its origin word 4, its destination word 5.
  EXPECT_EQ(left.tri[3], reinterpret_cast<TessWord>(c));
  EXPECT_EQ(left.tri[4], reinterpret_cast<TessWord>(a));
  EXPECT_EQ(left.tri[5], reinterpret_cast<TessWord>(b));
  const TriHandle bc = Lnext(left);  // b -> c
  EXPECT_EQ(Org(bc), b);
  EXPECT_EQ(Dest(bc), c);
  EXPECT_EQ(Apex(bc), a);
  Bond(bc, right);  // right's orientation 0 runs c -> b
  EXPECT_TRUE(SameHandle(Sym(bc), right));
  EXPECT_TRUE(SameHandle(Sym(right), bc));
  // Oprev turns clockwise about the origin: Sym(b->c) = c->b, then Lnext gives b->d.
  EXPECT_EQ(Dest(Oprev(bc)), d);
  EXPECT_EQ(Org(Oprev(bc)), b);
  // Onext of b -> d is Sym(Lprev(b->d)) = Sym(c->b) = b->c again.
  EXPECT_TRUE(SameHandle(Onext(Oprev(bc)), bc));
  // Unbonded edges name the dummy triangle.
  EXPECT_EQ(Sym(left).tri, f.m.dummyTriangle);
  Dissolve(f.m, bc);
  EXPECT_EQ(Sym(bc).tri, f.m.dummyTriangle);
}

TEST(TessStructure, SubsegmentsBondToTrianglesAndKeepTheInfectionBit) {
  MeshFixture f(3, true);
  TriHandle t = MakeTriangle(f.m, f.sw);
  EXPECT_FALSE(HasSubsegment(f.m, t));
  SubHandle s = MakeSubsegment(f.m);
  Infect(t);
  TSBond(t, s);
  EXPECT_TRUE(Infected(t));
  EXPECT_EQ(SubsegmentOnEdge(t).ss, s.ss);
  EXPECT_TRUE(SameHandle(TriangleBeside(s), t));
  // The symmetric subsegment handle names the other side, still the dummy.
  EXPECT_EQ(TriangleBeside(SSym(s)).tri, f.m.dummyTriangle);
  DetachSubsegment(f.m, t);
  EXPECT_TRUE(Infected(t));
  EXPECT_FALSE(HasSubsegment(f.m, t));
  Uninfect(t);
  EXPECT_FALSE(Infected(t));
  // Two subsegments of one segment linked at a shared origin find each other.
  SubHandle u = MakeSubsegment(f.m);
  SBond(s, u);
  EXPECT_EQ(SPivot(s).ss, u.ss);
  EXPECT_EQ(SPivot(u).ss, s.ss);
  EXPECT_EQ(SNext(SSym(s)).ss, u.ss);
}

TEST(TessStructure, FreedItemsComeBackLastInFirstOut) {
  MeshFixture f(3);
  std::vector<TessWord*> made;
  for (int i = 0; i < 5; i++) made.push_back(MakeTriangle(f.m, f.sw).tri);
  EXPECT_EQ(f.m.triangles.items, 5);
  KillTriangle(f.m, made[1]);
  KillTriangle(f.m, made[3]);
  EXPECT_EQ(f.m.triangles.items, 3);
  EXPECT_EQ(MakeTriangle(f.m, f.sw).tri, made[3]);
  EXPECT_EQ(MakeTriangle(f.m, f.sw).tri, made[1]);
  // Fresh space only when the stack is empty: maxItems counts fresh items alone.
  EXPECT_EQ(f.m.triangles.maxItems, 5);
  EXPECT_EQ(MakeTriangle(f.m, f.sw).tri, made[4] + f.m.triangles.itemBytes / sizeof(TessWord));
}

TEST(TessStructure, TraversalSeesDeadItemsOnlyThroughPlainTraverse) {
  MeshFixture f(3);
  std::vector<TessWord*> made;
  for (int i = 0; i < 4; i++) made.push_back(MakeTriangle(f.m, f.sw).tri);
  KillTriangle(f.m, made[2]);
  TraversalInit(f.m.triangles);
  int all = 0;
  while (Traverse(f.m.triangles) != nullptr) all++;
  EXPECT_EQ(all, 4);
  TraversalInit(f.m.triangles);
  std::vector<TessWord*> live;
  for (TessWord* t = TriangleTraverse(f.m); t != nullptr; t = TriangleTraverse(f.m))
    live.push_back(t);
  EXPECT_EQ(live, (std::vector<TessWord*>{made[0], made[1], made[3]}));
}

TEST(TessStructure, RestartKeepsBlocksAndOrder) {
  TessPool pool;
  PoolZero(pool);
  PoolInit(pool, 24, 4, 3, 0);  // 3 items in the first block, then 4 a block
  std::vector<void*> first;
  for (int i = 0; i < 9; i++) first.push_back(PoolAlloc(pool));
  PoolRestart(pool);
  EXPECT_EQ(pool.items, 0);
  for (int i = 0; i < 9; i++) EXPECT_EQ(PoolAlloc(pool), first[i]) << i;
  // Items of one block are itemBytes apart; the fourth item opens the second block.
  EXPECT_EQ(static_cast<char*>(first[1]) - static_cast<char*>(first[0]), 24);
  EXPECT_EQ(pool.itemBytes, 24u);
  PoolFree(pool);
  EXPECT_EQ(pool.firstBlock, nullptr);
  PoolFree(pool);  // a second free is harmless
}

TEST(TessStructure, TeardownOfAnEmptyMeshFreesNothingAndReleasesAll) {
  const int32_t before = gTessLiveBlocks.load();
  {
    TessMesh m;
    MeshZero(m);
    MeshTearDown(m);
    MeshTearDown(m);
  }
  EXPECT_EQ(gTessLiveBlocks.load(), before);
  {
    MeshFixture f(100000, true);  // triangles, subsegments, two dummies
    for (int i = 0; i < 20000; i++) MakeTriangle(f.m, f.sw);
  }
  EXPECT_EQ(gTessLiveBlocks.load(), before);
}

TEST(TessStructure, TheTriangleLimitAdmitsOneMoreThanItsValue) {
  MeshFixture f(3);
  f.m.triangleLimit = 1;
  MakeTriangle(f.m, f.sw);
  MakeTriangle(f.m, f.sw);  // 1 live: 1 < 1 is false, so this one is made
  EXPECT_THROW(MakeTriangle(f.m, f.sw), TriangleFailure);
  EXPECT_EQ(f.m.triangles.items, 2);
}

}  // namespace
