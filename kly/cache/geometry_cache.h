// A process-wide store of built geometry keyed by Guid, with eviction by age and size.
//
// Entries are created locked, unlocked by UnlockAll, locked again by each fetch, and evicted
// only while unlocked, older than 60 s, with no user InUse and the total above 16 MiB. The
// cache has no lock: the host calls it from one thread at a time.
#pragma once

#include <cstdint>
#include <map>

#include <boost/shared_ptr.hpp>

#include "kly/core/geometry.h"
#include "kly/host/guid.h"

class KLY_GeometryCacheKey {
 public:
  KLY_GeometryCacheKey() = default;
  explicit KLY_GeometryCacheKey(const mediabase::utility::Guid& id) : guid(id) {}

  // Orders by guid only: keys that differ in the other fields are the same key.
  bool operator<(const KLY_GeometryCacheKey& other) const { return guid < other.guid; }

  mediabase::utility::Guid guid;
  double last_used = 0.0;
  uint32_t byte_size = 0;
  bool locked = false;
};

class KLY_GeometryCache {
 public:
  typedef std::map<KLY_GeometryCacheKey, boost::shared_ptr<KLY_Geometry>,
                   std::less<KLY_GeometryCacheKey>>
      Map;

  static constexpr uint32_t kByteLimit = 0x1000000;
  static constexpr double kAgeLimit = 60.0;

  static void SetUp();
  static void SetDown();
  static void Clear();
  static void ClearAll();
  static void ClearUnlocked();
  static void InUse(bool entering);
  static void UnlockAll();
  static uint32_t GetUnlockedByteCount();
  static uint32_t GetTotalByteCount() { return i_total_cache_byte_sizeLu; }
  static void DeleteOldGeometry();
  static void InsertGeometry(KLY_GeometryCacheKey& key, boost::shared_ptr<KLY_Geometry> geometry);
  static boost::shared_ptr<KLY_Geometry> GetCachedGeometry(KLY_GeometryCacheKey& key);
  static void RemoveCachedGeometry(KLY_GeometryCacheKey& key);

  // Whether the map exists (between SetUp and SetDown).
  static bool IsSetUp() { return S_i_geometry_mapP != nullptr; }

 private:
  static Map* S_i_geometry_mapP;
  static uint32_t i_total_cache_byte_sizeLu;
  static int32_t i_in_useL;
};
