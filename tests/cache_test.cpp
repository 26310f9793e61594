// The geometry cache: byte accounting, locking, in-use protection, clearing and eviction, on a
// fake clock.
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <boost/weak_ptr.hpp>

#include "kly/cache/geometry_cache.h"
#include "kly/mesh/mesh.h"
#include "tests/testing/report_capture.h"

namespace {

using Cache = KLY_GeometryCache;
using mediabase::utility::Guid;

constexpr uint32_t kLimit = 0x1000000;

// A collection as the cache sees it: `repeats` rounds over its parts, so that large byte
// counts cost little memory.
class Collection : public KLY_Geometry {
 public:
  Collection(std::vector<KLY_Mesh> parts, uint32_t repeats)
      : parts_(std::move(parts)), repeats_(repeats) {}
  void Update() override {}
  bool HasArray() override { return true; }
  KLY_Geometry* GetArrayElement(uint32_t index) override { return &parts_[index % parts_.size()]; }
  uint32_t GetNumberOfArrayElements() override {
    return static_cast<uint32_t>(parts_.size()) * repeats_;
  }
  void CollapseArrayToSingleElement(KLY_Geometry*) const override {}
  uint32_t GetTotalNumberOfPrimitives() override { return 0; }

 private:
  std::vector<KLY_Mesh> parts_;
  uint32_t repeats_;
};

// A geometry that nests another collection: its element is no mesh.
class Nesting : public Collection {
 public:
  Nesting() : Collection({KLY_Mesh(3, 1)}, 1) {}
  KLY_Geometry* GetArrayElement(uint32_t) override { return &inner_; }

 private:
  Collection inner_{{KLY_Mesh(3, 1)}, 1};
};

boost::shared_ptr<KLY_Geometry> Mesh(uint32_t vertices, uint32_t triangles) {
  return boost::shared_ptr<KLY_Geometry>(new KLY_Mesh(vertices, triangles));
}

// A geometry that counts `bytes`, a multiple of 40: that many 40-byte single-triangle meshes.
boost::shared_ptr<KLY_Geometry> OfBytes(uint32_t bytes) {
  return boost::shared_ptr<KLY_Geometry>(new Collection({KLY_Mesh(0, 1)}, bytes / 40));
}

KLY_GeometryCacheKey Key(uint64_t n) {
  return KLY_GeometryCacheKey(Guid(7, n));
}

bool Holds(uint64_t n) {
  // A fetch locks and refreshes the entry, so tests look only once they are done with it.
  KLY_GeometryCacheKey key = Key(n);
  return static_cast<bool>(Cache::GetCachedGeometry(key));
}

class GeometryCacheTest : public ::testing::Test {
 protected:
  void SetUp() override {
    capture_.services().seconds_since_boot = [this] { return now_; };
    Cache::SetDown();
    Cache::SetUp();
  }
  void TearDown() override { Cache::SetDown(); }

  void Insert(uint64_t n, boost::shared_ptr<KLY_Geometry> geometry) {
    KLY_GeometryCacheKey key = Key(n);
    Cache::InsertGeometry(key, std::move(geometry));
  }

  double now_ = 1000.0;
  kly::testing::ReportCapture capture_;
};

TEST_F(GeometryCacheTest, InsertCountsMeshBytesAndWritesTheCallersKey) {
  // 80 bytes a vertex and 40 a triangle: 3 * 80 + 40 = 280.
  KLY_GeometryCacheKey key = Key(1);
  key.byte_size = 5;
  key.locked = true;
  Cache::InsertGeometry(key, Mesh(3, 1));
  EXPECT_EQ(key.byte_size, 280u);
  EXPECT_EQ(key.last_used, 1000.0);
  EXPECT_FALSE(key.locked);  // only the stored entry is locked
  EXPECT_EQ(Cache::GetTotalByteCount(), 280u);
  EXPECT_EQ(Cache::GetUnlockedByteCount(), 0u);
  Cache::UnlockAll();
  EXPECT_EQ(Cache::GetUnlockedByteCount(), 280u);
}

TEST_F(GeometryCacheTest, CollectionCountsEachOfItsElements) {
  // Elements (3 v, 1 t) = 280 and (4 v, 2 t) = 400, twice round: 2 * 680 = 1360. An element
  // that is no mesh counts nothing.
  const struct {
    boost::shared_ptr<KLY_Geometry> geometry;
    uint32_t bytes;
  } cases[] = {
      {boost::shared_ptr<KLY_Geometry>(new Collection({KLY_Mesh(3, 1), KLY_Mesh(4, 2)}, 2)), 1360},
      {boost::shared_ptr<KLY_Geometry>(new Collection({KLY_Mesh(3, 1)}, 0)), 0},
      {boost::shared_ptr<KLY_Geometry>(new Nesting), 0},
      {Mesh(0, 0), 0},
      {boost::shared_ptr<KLY_Geometry>(), 0},
  };
  uint64_t n = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(n);
    KLY_GeometryCacheKey key = Key(++n);
    Cache::InsertGeometry(key, c.geometry);
    EXPECT_EQ(key.byte_size, c.bytes);
  }
  EXPECT_EQ(Cache::GetTotalByteCount(), 1360u);
}

TEST_F(GeometryCacheTest, InsertTwiceKeepsTheFirstGeometryAndCountsItOnce) {
  const boost::shared_ptr<KLY_Geometry> first = Mesh(3, 1);
  const boost::shared_ptr<KLY_Geometry> second = Mesh(10, 10);
  Insert(1, first);
  Cache::UnlockAll();

  now_ = 1001.0;
  KLY_GeometryCacheKey again = Key(1);
  Cache::InsertGeometry(again, second);
  // The caller's key holds the new count (10 * 80 + 10 * 40), the stored entry the old one,
  // and the entry is locked again.
  EXPECT_EQ(again.byte_size, 1200u);
  EXPECT_EQ(Cache::GetTotalByteCount(), 280u);
  EXPECT_EQ(Cache::GetUnlockedByteCount(), 0u);
  EXPECT_EQ(second.use_count(), 1);  // the second pointer was dropped
  KLY_GeometryCacheKey key = Key(1);
  EXPECT_EQ(Cache::GetCachedGeometry(key), first);
  Cache::UnlockAll();
  EXPECT_EQ(Cache::GetUnlockedByteCount(), 280u);
}

TEST_F(GeometryCacheTest, KeyCopyDifferingInOtherFieldsFindsTheSameEntry) {
  const boost::shared_ptr<KLY_Geometry> mesh = Mesh(3, 1);
  KLY_GeometryCacheKey stored = Key(1);
  Cache::InsertGeometry(stored, mesh);

  KLY_GeometryCacheKey copy = stored;
  copy.byte_size = 999;
  copy.last_used = -5.0;
  copy.locked = false;
  EXPECT_EQ(Cache::GetCachedGeometry(copy), mesh);
  // The fetch does not write to the caller's key.
  EXPECT_EQ(copy.byte_size, 999u);
  EXPECT_EQ(copy.last_used, -5.0);
  EXPECT_FALSE(copy.locked);

  KLY_GeometryCacheKey other = Key(2);
  EXPECT_FALSE(Cache::GetCachedGeometry(other));
}

TEST_F(GeometryCacheTest, RemoveDoesNotLowerTheTotal) {
  const boost::shared_ptr<KLY_Geometry> mesh = Mesh(3, 1);
  Insert(1, mesh);
  KLY_GeometryCacheKey absent = Key(2);
  Cache::RemoveCachedGeometry(absent);
  EXPECT_TRUE(Holds(1));

  KLY_GeometryCacheKey key = Key(1);
  Cache::RemoveCachedGeometry(key);
  EXPECT_FALSE(Holds(1));
  EXPECT_EQ(mesh.use_count(), 1);
  // Kept on purpose: the total overstates the cache until the next clear.
  EXPECT_EQ(Cache::GetTotalByteCount(), 280u);
  EXPECT_EQ(Cache::GetUnlockedByteCount(), 0u);
  Cache::Clear();
  EXPECT_EQ(Cache::GetTotalByteCount(), 0u);
}

TEST_F(GeometryCacheTest, ClearUnderInUseKeepsEntriesButZeroesTheTotal) {
  Insert(1, Mesh(3, 1));
  Insert(2, Mesh(4, 2));
  Cache::InUse(true);
  Cache::Clear();
  EXPECT_EQ(Cache::GetTotalByteCount(), 0u);
  Cache::UnlockAll();
  EXPECT_EQ(Cache::GetUnlockedByteCount(), 680u);  // 280 + 400, counted afresh

  Cache::InUse(false);
  Cache::Clear();
  EXPECT_EQ(Cache::GetUnlockedByteCount(), 0u);
  EXPECT_FALSE(Holds(1));
  EXPECT_FALSE(Holds(2));
}

TEST_F(GeometryCacheTest, ClearAllIgnoresInUse) {
  Insert(1, Mesh(3, 1));
  Cache::InUse(true);
  Cache::ClearAll();
  EXPECT_EQ(Cache::GetTotalByteCount(), 0u);
  EXPECT_FALSE(Holds(1));
}

TEST_F(GeometryCacheTest, InUseNeverCountsBelowZero) {
  // Clamped, the count goes 0, 0, 1, 0 and Clear empties the map; unclamped it would end at
  // -2 and Clear would keep the entry.
  Insert(1, Mesh(3, 1));
  Cache::InUse(false);
  Cache::InUse(false);
  Cache::InUse(true);
  Cache::InUse(false);
  Cache::Clear();
  EXPECT_FALSE(Holds(1));
}

TEST_F(GeometryCacheTest, ClearUnlockedDropsUnlockedEntriesAndTheirBytes) {
  Insert(1, Mesh(3, 1));  // 280
  Insert(2, Mesh(4, 2));  // 400
  Insert(3, Mesh(1, 0));  // 80
  Cache::UnlockAll();
  KLY_GeometryCacheKey relock = Key(2);
  Cache::GetCachedGeometry(relock);
  Cache::InUse(true);  // not looked at
  Cache::ClearUnlocked();
  EXPECT_EQ(Cache::GetTotalByteCount(), 400u);
  EXPECT_TRUE(Holds(2));
  EXPECT_FALSE(Holds(1));
  EXPECT_FALSE(Holds(3));
}

TEST_F(GeometryCacheTest, SecondSetUpKeepsEntriesAndRestartsTheTotal) {
  Insert(1, Mesh(3, 1));
  Cache::SetUp();
  EXPECT_EQ(Cache::GetTotalByteCount(), 0u);
  EXPECT_TRUE(Holds(1));
}

TEST_F(GeometryCacheTest, SetDownReleasesEntriesAndTheInUseCount) {
  boost::shared_ptr<KLY_Geometry> mesh = Mesh(3, 1);
  const boost::weak_ptr<KLY_Geometry> watch = mesh;
  Insert(1, std::move(mesh));
  Cache::InUse(true);
  Cache::SetDown();
  EXPECT_TRUE(watch.expired());
  EXPECT_FALSE(Cache::IsSetUp());
  EXPECT_EQ(Cache::GetTotalByteCount(), 0u);

  Cache::SetUp();
  Insert(2, Mesh(3, 1));
  Cache::Clear();  // the count went back to 0, so Clear empties
  EXPECT_FALSE(Holds(2));
}

TEST_F(GeometryCacheTest, WithoutAMapNothingIsKept) {
  Cache::SetDown();
  KLY_GeometryCacheKey key = Key(1);
  Cache::InsertGeometry(key, Mesh(3, 1));
  EXPECT_EQ(key.byte_size, 280u);
  EXPECT_FALSE(Cache::GetCachedGeometry(key));
  EXPECT_EQ(Cache::GetTotalByteCount(), 0u);
  EXPECT_EQ(Cache::GetUnlockedByteCount(), 0u);
  Cache::RemoveCachedGeometry(key);
  Cache::UnlockAll();
  Cache::ClearUnlocked();
  Cache::DeleteOldGeometry();
  Cache::Clear();
  Cache::ClearAll();
  Cache::SetDown();
  EXPECT_FALSE(Cache::IsSetUp());
}

TEST_F(GeometryCacheTest, TotalExactlyAtTheLimitDeletesNothing) {
  // No sum of 40-byte units is 2^24, but an entry's count is an unsigned 32-bit sum: 3280
  // rounds over a mesh of 65536 vertices count 3280 * 80 * 65536 = 17196646400, which is
  // 4 * 2^32 + 2^24.
  Insert(5, boost::shared_ptr<KLY_Geometry>(new Collection({KLY_Mesh(65536, 0)}, 3280)));
  ASSERT_EQ(Cache::GetTotalByteCount(), kLimit);
  Cache::UnlockAll();
  now_ = 2000.0;
  Cache::DeleteOldGeometry();
  EXPECT_EQ(Cache::GetUnlockedByteCount(), kLimit);

  // 40 bytes more, under a smaller guid: that entry goes first, and the walk stops at the
  // limit again.
  now_ = 1000.0;
  Insert(4, OfBytes(40));
  Cache::UnlockAll();
  now_ = 2000.0;
  Cache::DeleteOldGeometry();
  EXPECT_EQ(Cache::GetTotalByteCount(), kLimit);
  EXPECT_EQ(Cache::GetUnlockedByteCount(), kLimit);
}

TEST_F(GeometryCacheTest, EvictionGoesInGuidOrderNotByAge) {
  // Three entries of 40 * 209715 = 8388600 bytes; the total 25165800 is above 2^24 =
  // 16777216, and dropping one leaves 16777200, not above it. Guid 3 is the oldest, yet
  // guid 1 goes.
  const uint32_t third = 8388600;
  now_ = 100.0;
  Insert(3, OfBytes(third));
  now_ = 110.0;
  Insert(1, OfBytes(third));
  now_ = 120.0;
  Insert(2, OfBytes(third));
  Cache::UnlockAll();
  now_ = 1000.0;
  Cache::DeleteOldGeometry();
  EXPECT_EQ(Cache::GetTotalByteCount(), 2 * third);
  EXPECT_FALSE(Holds(1));
  EXPECT_TRUE(Holds(2));
  EXPECT_TRUE(Holds(3));
}

TEST_F(GeometryCacheTest, OldMeansStrictlyMoreThanSixtySecondsEitherWay) {
  // One unlocked entry above the limit (16777240 bytes), last used at 100 s. The difference
  // is absolute, so a clock that reads 61 s earlier also makes it old.
  const struct {
    double now;
    bool evicted;
  } cases[] = {{160.0, false}, {160.000001, true}, {40.0, false}, {39.0, true}, {100.0, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.now);
    Cache::ClearAll();
    now_ = 100.0;
    Insert(1, OfBytes(kLimit + 24));
    Cache::UnlockAll();
    now_ = c.now;
    Cache::DeleteOldGeometry();
    EXPECT_EQ(Cache::GetUnlockedByteCount() == 0, c.evicted);
    EXPECT_EQ(Cache::GetTotalByteCount(), c.evicted ? 0u : kLimit + 24);
  }
}

TEST_F(GeometryCacheTest, LockedEntriesAndUsersHoldEvictionBack) {
  now_ = 0.0;
  Insert(1, OfBytes(kLimit + 24));
  now_ = 500.0;
  Cache::DeleteOldGeometry();  // created locked
  EXPECT_EQ(Cache::GetTotalByteCount(), kLimit + 24);

  Cache::UnlockAll();
  Cache::InUse(true);
  Cache::DeleteOldGeometry();
  EXPECT_EQ(Cache::GetTotalByteCount(), kLimit + 24);

  Cache::InUse(false);
  Cache::DeleteOldGeometry();
  EXPECT_EQ(Cache::GetTotalByteCount(), 0u);
  EXPECT_FALSE(Holds(1));
}

TEST_F(GeometryCacheTest, FetchRefreshesTheAgeAndLocksAgain) {
  now_ = 0.0;
  Insert(1, OfBytes(kLimit + 24));
  Cache::UnlockAll();
  now_ = 50.0;
  KLY_GeometryCacheKey key = Key(1);
  ASSERT_TRUE(Cache::GetCachedGeometry(key));
  EXPECT_EQ(Cache::GetUnlockedByteCount(), 0u);
  Cache::UnlockAll();

  now_ = 100.0;  // 100 s after the insert but 50 s after the fetch
  Cache::DeleteOldGeometry();
  EXPECT_EQ(Cache::GetUnlockedByteCount(), kLimit + 24);
  now_ = 111.0;
  Cache::DeleteOldGeometry();
  EXPECT_EQ(Cache::GetUnlockedByteCount(), 0u);
}

TEST_F(GeometryCacheTest, YoungEntriesStayAboveTheLimit) {
  now_ = 0.0;
  Insert(1, OfBytes(kLimit));
  Insert(2, OfBytes(kLimit));
  Cache::UnlockAll();
  now_ = 60.0;
  Cache::DeleteOldGeometry();
  EXPECT_EQ(Cache::GetTotalByteCount(), 2 * kLimit - 32);  // two counts of 16777200
}

TEST_F(GeometryCacheTest, EvictedGeometryLivesOnForItsHolder) {
  now_ = 0.0;
  boost::shared_ptr<KLY_Geometry> kept = Mesh(3, 1);
  boost::shared_ptr<KLY_Geometry> dropped = Mesh(3, 1);
  const boost::weak_ptr<KLY_Geometry> watch = dropped;
  Insert(1, kept);
  Insert(2, std::move(dropped));
  Insert(3, OfBytes(kLimit));
  Cache::UnlockAll();
  now_ = 100.0;
  // 280 + 280 + 16777200 is above the limit; dropping guid 1 leaves 16777480, still above,
  // so guid 2 goes too, and then the total 16777200 is within it.
  Cache::DeleteOldGeometry();
  EXPECT_FALSE(Holds(1));
  EXPECT_FALSE(Holds(2));
  EXPECT_EQ(kept.use_count(), 1);
  EXPECT_EQ(kept->GetNumberOfArrayElements(), 1u);
  EXPECT_TRUE(watch.expired());
}

}  // namespace
