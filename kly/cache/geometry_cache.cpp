// The geometry cache: a map from key to shared geometry, a running byte total and an in-use
// count, all process-wide and without a lock.
//
// Before SetUp and after SetDown there is no map. The operations that would look into it then
// behave as on an empty cache (InsertGeometry keeps nothing) rather than dereference nothing.
#include "kly/cache/geometry_cache.h"

#include <cmath>
#include <utility>

#include "kly/host/nut.h"
#include "kly/mesh/mesh.h"

KLY_GeometryCache::Map* KLY_GeometryCache::S_i_geometry_mapP = nullptr;
uint32_t KLY_GeometryCache::i_total_cache_byte_sizeLu = 0;
int32_t KLY_GeometryCache::i_in_useL = 0;

namespace {

double Now() {
  double seconds = 0.0;
  NUT_SecondsSinceBoot(&seconds);
  return seconds;
}

// Each element of the geometry's array counts its own mesh bytes: a mesh is its own single
// element, a collection counts its elements. An element that is not a mesh holds nothing of
// its own to count.
uint32_t CountBytes(KLY_Geometry& geometry) {
  uint32_t bytes = 0;
  const uint32_t n = geometry.GetNumberOfArrayElements();
  for (uint32_t i = 0; i < n; ++i) {
    if (const KLY_Mesh* mesh = dynamic_cast<const KLY_Mesh*>(geometry.GetArrayElement(i)))
      bytes += mesh->GetByteSize();
  }
  return bytes;
}

}  // namespace

void KLY_GeometryCache::SetUp() {
  if (S_i_geometry_mapP == nullptr) S_i_geometry_mapP = new Map;
  // Kept on purpose: a second SetUp keeps the entries, yet the total restarts from 0.
  i_total_cache_byte_sizeLu = 0;
}

void KLY_GeometryCache::SetDown() {
  if (S_i_geometry_mapP == nullptr) return;
  i_in_useL = 0;
  delete S_i_geometry_mapP;
  S_i_geometry_mapP = nullptr;
  i_total_cache_byte_sizeLu = 0;
}

void KLY_GeometryCache::Clear() {
  if (S_i_geometry_mapP != nullptr && i_in_useL == 0) S_i_geometry_mapP->clear();
  // Kept on purpose: under a user the entries stay, but the total still restarts from 0.
  i_total_cache_byte_sizeLu = 0;
}

void KLY_GeometryCache::ClearAll() {
  if (S_i_geometry_mapP != nullptr) S_i_geometry_mapP->clear();
  i_total_cache_byte_sizeLu = 0;
}

void KLY_GeometryCache::ClearUnlocked() {
  if (S_i_geometry_mapP == nullptr) return;
  // Erasing each unlocked entry in key order is what restarting the walk after every erase
  // would do: the entries before it stay locked, and nothing else changes in between.
  for (auto it = S_i_geometry_mapP->begin(); it != S_i_geometry_mapP->end();) {
    if (it->first.locked) {
      ++it;
      continue;
    }
    i_total_cache_byte_sizeLu -= it->first.byte_size;
    it = S_i_geometry_mapP->erase(it);
  }
}

void KLY_GeometryCache::InUse(bool entering) {
  const int32_t count = entering ? i_in_useL + 1 : i_in_useL - 1;
  // An unmatched leave does no harm.
  i_in_useL = count > 0 ? count : 0;
}

void KLY_GeometryCache::UnlockAll() {
  if (S_i_geometry_mapP == nullptr) return;
  // Ordering looks at the guid only, so the stored key's other fields may change in place.
  for (auto& entry : *S_i_geometry_mapP)
    const_cast<KLY_GeometryCacheKey&>(entry.first).locked = false;
}

uint32_t KLY_GeometryCache::GetUnlockedByteCount() {
  if (S_i_geometry_mapP == nullptr) return 0;
  // Counted afresh: the running total may disagree after Clear under a user or a Remove.
  uint32_t bytes = 0;
  for (const auto& entry : *S_i_geometry_mapP)
    if (!entry.first.locked) bytes += entry.first.byte_size;
  return bytes;
}

void KLY_GeometryCache::DeleteOldGeometry() {
  const double now = Now();
  if (i_in_useL != 0 || S_i_geometry_mapP == nullptr) return;
  // Eviction goes in key order, not by age: the first old unlocked entry by guid goes first.
  // One pass does what restarting the walk after each erase would, since the clock is read
  // once and the entries already passed cannot become old or unlocked meanwhile.
  for (auto it = S_i_geometry_mapP->begin();
       i_total_cache_byte_sizeLu > kByteLimit && it != S_i_geometry_mapP->end();) {
    const KLY_GeometryCacheKey& key = it->first;
    if (key.locked || !(std::fabs(now - key.last_used) > kAgeLimit)) {
      ++it;
      continue;
    }
    i_total_cache_byte_sizeLu -= key.byte_size;
    it = S_i_geometry_mapP->erase(it);
  }
}

void KLY_GeometryCache::InsertGeometry(KLY_GeometryCacheKey& key,
                                       boost::shared_ptr<KLY_Geometry> geometry) {
  key.last_used = Now();
  key.byte_size = 0;
  key.locked = false;
  if (geometry) key.byte_size = CountBytes(*geometry);
  if (S_i_geometry_mapP == nullptr) return;

  // A key already present keeps its old geometry and its old count: the new pointer is
  // dropped, and the total is not touched.
  const auto inserted = S_i_geometry_mapP->insert(Map::value_type(key, std::move(geometry)));
  const_cast<KLY_GeometryCacheKey&>(inserted.first->first).locked = true;
  if (inserted.second) i_total_cache_byte_sizeLu += key.byte_size;
}

boost::shared_ptr<KLY_Geometry> KLY_GeometryCache::GetCachedGeometry(KLY_GeometryCacheKey& key) {
  if (S_i_geometry_mapP == nullptr) return boost::shared_ptr<KLY_Geometry>();
  const auto it = S_i_geometry_mapP->find(key);
  if (it == S_i_geometry_mapP->end()) return boost::shared_ptr<KLY_Geometry>();
  KLY_GeometryCacheKey& stored = const_cast<KLY_GeometryCacheKey&>(it->first);
  stored.last_used = Now();
  stored.locked = true;
  return it->second;
}

void KLY_GeometryCache::RemoveCachedGeometry(KLY_GeometryCacheKey& key) {
  if (S_i_geometry_mapP == nullptr) return;
  // Kept on purpose: the total is not lowered, and overstates the cache until the next clear.
  S_i_geometry_mapP->erase(key);
}
