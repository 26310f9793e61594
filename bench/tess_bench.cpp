// The tessellation engine on large deterministic inputs: time, triangles (or input vertices)
// a second, and the peak memory of one call.
//
// Peak memory is measured in a forked child that makes one call: the growth of its peak
// resident set over its resident set just before the call.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "bench/tess_inputs.h"
#include "kly/tess/triangulate.h"

namespace {

using tess_bench::Graph;

const char* const kDejaVuSans = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

template <class T>
T* CopyIn(uint16_t site, const std::vector<T>& values) {
  if (values.empty()) return nullptr;
  auto* data = static_cast<T*>(TessAlloc(site, static_cast<uint32_t>(values.size() * sizeof(T))));
  std::memcpy(data, values.data(), values.size() * sizeof(T));
  return data;
}

void FillInput(const Graph& g, TessRecord& in) {
  in = TessRecord{};
  in.points = CopyIn<double>(0, g.points);
  in.pointCount = g.PointCount();
  in.segments = CopyIn<int32_t>(1, g.segments);
  in.segmentCount = static_cast<int32_t>(g.segments.size() / 2);
  in.holes = CopyIn<double>(2, g.holes);
  in.holeCount = static_cast<int32_t>(g.holes.size() / 2);
}

long ResidentKilobytes() {
  long pages = 0, resident = 0;
  if (FILE* f = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
    std::fclose(f);
  }
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

long PeakResidentKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// Peak memory of one call in megabytes, measured in a child process: the heap's free memory is
// handed back and the peak resident set reset (clear_refs 5) before the call, so the figure is
// what the call itself brings in. -1 if the measurement failed.
double PeakMegabytes(const char* switches, const Graph& g) {
  int pipe_ends[2];
  if (pipe(pipe_ends) != 0) return -1.0;
  const pid_t child = fork();
  if (child == 0) {
    TessRecord in, out{};
    FillInput(g, in);
    malloc_trim(0);
    long grown = -1024;
    if (FILE* f = std::fopen("/proc/self/clear_refs", "w")) {
      std::fputs("5", f);
      std::fclose(f);
      const long before = ResidentKilobytes();
      triangulate(switches, &in, &out, nullptr);
      grown = PeakResidentKilobytes() - before;
    }
    if (write(pipe_ends[1], &grown, sizeof grown) != sizeof grown) _exit(1);
    _exit(0);
  }
  close(pipe_ends[1]);
  long grown = -1024;
  if (child < 0 || read(pipe_ends[0], &grown, sizeof grown) != sizeof grown) grown = -1024;
  close(pipe_ends[0]);
  if (child > 0) waitpid(child, nullptr, 0);
  return static_cast<double>(grown) / 1024.0;
}

void RunEngine(benchmark::State& state, const char* switches, const Graph& g) {
  int32_t triangles = 0;
  for (auto _ : state) {
    state.PauseTiming();
    TessRecord in, out{};
    FillInput(g, in);
    state.ResumeTiming();
    triangulate(switches, &in, &out, nullptr);
    state.PauseTiming();
    triangles = out.triangleCount;
    TessFreeRecord(&in);
    TessFreeRecord(&out);
    state.ResumeTiming();
  }
  const double iterations = static_cast<double>(state.iterations());
  state.counters["vertices"] = g.PointCount();
  state.counters["triangles"] = triangles;
  state.counters["triangles_per_s"] =
      benchmark::Counter(triangles * iterations, benchmark::Counter::kIsRate);
  state.counters["vertices_per_s"] =
      benchmark::Counter(g.PointCount() * iterations, benchmark::Counter::kIsRate);
  state.counters["peak_MB"] = PeakMegabytes(switches, g);
}

void BM_RandomPointsDelaunay(benchmark::State& state) {
  const Graph g = tess_bench::UniformPoints(static_cast<int32_t>(state.range(0)));
  RunEngine(state, "Qz", g);
}
BENCHMARK(BM_RandomPointsDelaunay)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void BM_PolygonWithHolesConstrained(benchmark::State& state) {
  const Graph g = tess_bench::PolygonWithSquareHoles(100000, 1000);
  RunEngine(state, "Qpz", g);
}
BENCHMARK(BM_PolygonWithHolesConstrained)->Unit(benchmark::kMillisecond);

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
