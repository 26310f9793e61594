// One engine call as a benchmark, shared by tess_bench and the peer comparison: input records
// are filled outside the timing, and each benchmark reports the vertices it added (crossings,
// splits, refinement), triangles and input vertices a second and the peak memory of one call.
//
// Peak memory is measured in a forked child that makes one call: the growth of its peak
// resident set over its resident set just before the call, after the heap's free memory is
// handed back and the peak reset (clear_refs 5).
#pragma once

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "bench/tess_inputs.h"
#include "kly/tess/triangulate.h"

namespace tess_bench {

template <class T>
T* CopyIn(uint16_t site, const std::vector<T>& values) {
  if (values.empty()) return nullptr;
  auto* data = static_cast<T*>(TessAlloc(site, static_cast<uint32_t>(values.size() * sizeof(T))));
  std::memcpy(data, values.data(), values.size() * sizeof(T));
  return data;
}

inline void FillInput(const Graph& g, TessRecord& in) {
  in = TessRecord{};
  in.points = CopyIn<double>(0, g.points);
  in.pointCount = g.PointCount();
  in.segments = CopyIn<int32_t>(1, g.segments);
  in.segmentCount = static_cast<int32_t>(g.segments.size() / 2);
  in.holes = CopyIn<double>(2, g.holes);
  in.holeCount = static_cast<int32_t>(g.holes.size() / 2);
}

inline long ResidentKilobytes() {
  long pages = 0, resident = 0;
  if (FILE* f = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
    std::fclose(f);
  }
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

inline long PeakResidentKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// Peak memory of one call in megabytes; -1 if the measurement failed.
inline double PeakMegabytes(const char* switches, const Graph& g) {
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
      triangulate(switches, in, out, nullptr);
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

inline void RunEngine(benchmark::State& state, const char* switches, const Graph& g) {
  int32_t triangles = 0, points = 0;
  for (auto _ : state) {
    state.PauseTiming();
    TessRecord in, out{};
    FillInput(g, in);
    state.ResumeTiming();
    triangulate(switches, in, out, nullptr);
    state.PauseTiming();
    triangles = out.triangleCount;
    points = out.pointCount;
    TessFreeRecord(&in);
    TessFreeRecord(&out);
    state.ResumeTiming();
  }
  const double iterations = static_cast<double>(state.iterations());
  state.counters["vertices"] = g.PointCount();
  state.counters["triangles"] = triangles;
  state.counters["added_vertices"] = points - g.PointCount();
  state.counters["triangles_per_s"] =
      benchmark::Counter(triangles * iterations, benchmark::Counter::kIsRate);
  state.counters["vertices_per_s"] =
      benchmark::Counter(g.PointCount() * iterations, benchmark::Counter::kIsRate);
  state.counters["peak_MB"] = PeakMegabytes(switches, g);
}

}  // namespace tess_bench
