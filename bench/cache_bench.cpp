// Geometry cache: insert and fetch of 100,000 small meshes, against a plain std::map of the same
// keys and pointers as the floor. "per_op" is the time of one insert or fetch.
#include <cstdint>
#include <map>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/shared_ptr.hpp>

#include "kly/cache/geometry_cache.h"
#include "kly/mesh/mesh.h"

namespace {

using Cache = KLY_GeometryCache;
using mediabase::utility::Guid;

constexpr int kGeometries = 100000;

uint64_t SplitMix64(uint64_t& state) {
  uint64_t z = (state += 0x9E3779B97F4A7C15ull);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

// Made once, outside every timed loop: triangle meshes of 3 vertices and random guids, so the
// map's order differs from the order of the calls.
struct Inputs {
  Inputs() {
    uint64_t seed = 42;
    for (int i = 0; i < kGeometries; ++i) {
      const uint64_t high = SplitMix64(seed);
      keys.emplace_back(Guid(high, SplitMix64(seed)));
      meshes.emplace_back(new KLY_Mesh(3, 1));
    }
  }
  std::vector<KLY_GeometryCacheKey> keys;
  std::vector<boost::shared_ptr<KLY_Geometry>> meshes;
};

Inputs& TheInputs() {
  static Inputs inputs;
  return inputs;
}

void SetPerOp(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * kGeometries);
  state.counters["per_op"] = benchmark::Counter(
      kGeometries, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_CacheInsert(benchmark::State& state) {
  Inputs& in = TheInputs();
  Cache::SetUp();
  for (auto _ : state) {
    for (int i = 0; i < kGeometries; ++i) Cache::InsertGeometry(in.keys[i], in.meshes[i]);
    state.PauseTiming();
    Cache::ClearAll();
    state.ResumeTiming();
  }
  Cache::SetDown();
  SetPerOp(state);
}
BENCHMARK(BM_CacheInsert)->Unit(benchmark::kMillisecond);

void BM_CacheFetch(benchmark::State& state) {
  Inputs& in = TheInputs();
  Cache::SetUp();
  for (int i = 0; i < kGeometries; ++i) Cache::InsertGeometry(in.keys[i], in.meshes[i]);
  for (auto _ : state) {
    for (int i = 0; i < kGeometries; ++i) {
      boost::shared_ptr<KLY_Geometry> found = Cache::GetCachedGeometry(in.keys[i]);
      benchmark::DoNotOptimize(found.get());
    }
  }
  Cache::SetDown();
  SetPerOp(state);
}
BENCHMARK(BM_CacheFetch)->Unit(benchmark::kMillisecond);

// The floor: the same keys and pointers in a bare map, without the clock, byte counting or
// entry marks.
typedef std::map<Guid, boost::shared_ptr<KLY_Geometry>> BareMap;

void BM_BareMapInsert(benchmark::State& state) {
  Inputs& in = TheInputs();
  BareMap map;
  for (auto _ : state) {
    for (int i = 0; i < kGeometries; ++i) map.emplace(in.keys[i].guid, in.meshes[i]);
    state.PauseTiming();
    map.clear();
    state.ResumeTiming();
  }
  SetPerOp(state);
}
BENCHMARK(BM_BareMapInsert)->Unit(benchmark::kMillisecond);

void BM_BareMapFetch(benchmark::State& state) {
  Inputs& in = TheInputs();
  BareMap map;
  for (int i = 0; i < kGeometries; ++i) map.emplace(in.keys[i].guid, in.meshes[i]);
  for (auto _ : state) {
    for (int i = 0; i < kGeometries; ++i) {
      const auto it = map.find(in.keys[i].guid);
      boost::shared_ptr<KLY_Geometry> found = it->second;
      benchmark::DoNotOptimize(found.get());
    }
  }
  SetPerOp(state);
}
BENCHMARK(BM_BareMapFetch)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
