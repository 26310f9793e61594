// The tessellation engine on large deterministic inputs: time, triangles (or input vertices)
// a second, and the peak memory of one call (see tess_engine_run.h), against a sorting floor.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "bench/tess_engine_run.h"
#include "bench/tess_inputs.h"

namespace {

using tess_bench::Graph;
using tess_bench::RunEngine;

const char* const kDejaVuSans = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

void BM_RandomPointsDelaunay(benchmark::State& state) {
  const Graph g = tess_bench::UniformPoints(static_cast<int32_t>(state.range(0)));
  RunEngine(state, "Qz", g);
}
BENCHMARK(BM_RandomPointsDelaunay)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void BM_RandomPointsSweepDelaunay(benchmark::State& state) {
  const Graph g = tess_bench::UniformPoints(static_cast<int32_t>(state.range(0)));
  RunEngine(state, "QzF", g);
}
BENCHMARK(BM_RandomPointsSweepDelaunay)->Arg(1000000)->Unit(benchmark::kMillisecond);

void BM_PolygonWithHolesConstrained(benchmark::State& state) {
  const Graph g = tess_bench::PolygonWithSquareHoles(100000, 1000);
  RunEngine(state, "Qpz", g);
}
BENCHMARK(BM_PolygonWithHolesConstrained)->Unit(benchmark::kMillisecond);

void BM_LobedPolygonWithHolesConstrained(benchmark::State& state) {
  const Graph g = tess_bench::LobedPolygonWithSquareHoles(100000, 1000);
  RunEngine(state, "Qpz", g);
}
BENCHMARK(BM_LobedPolygonWithHolesConstrained)->Unit(benchmark::kMillisecond);

void BM_DejaVuGlyphRowConstrained(benchmark::State& state) {
  const Graph g = tess_bench::GlyphRow(kDejaVuSans);
  RunEngine(state, "Qpz", g);
}
BENCHMARK(BM_DejaVuGlyphRowConstrained)->Unit(benchmark::kMillisecond);

void BM_StarConforming(benchmark::State& state) {
  const Graph g = tess_bench::StarPolygon(10000);
  RunEngine(state, "VpDz", g);
}
BENCHMARK(BM_StarConforming)->Unit(benchmark::kMillisecond);

// Floor: sorting the same points by x, which any sweep or divide and conquer must beat.
void BM_SortFloor(benchmark::State& state) {
  const Graph g = tess_bench::UniformPoints(static_cast<int32_t>(state.range(0)));
  std::vector<std::pair<double, double>> points(g.PointCount());
  for (auto _ : state) {
    state.PauseTiming();
    for (int32_t i = 0; i < g.PointCount(); ++i) points[i] = {g.points[2 * i], g.points[2 * i + 1]};
    state.ResumeTiming();
    std::sort(points.begin(), points.end());
    benchmark::DoNotOptimize(points.data());
  }
}
BENCHMARK(BM_SortFloor)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
