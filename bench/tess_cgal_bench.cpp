// The engine against its peer in one run: each input of tess_bench goes to the engine and to
// CGAL's Delaunay, constrained Delaunay or conforming Delaunay triangulation, one benchmark
// after the other, for the ratio. CGAL's constrained runs insert the constraints only; the
// engine also carves the holes, so its figures include a little more work. At the end the
// ratio of the CPU times, engine over CGAL, is printed for each input.
#include <CGAL/Constrained_Delaunay_triangulation_2.h>
#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Triangulation_conformer_2.h>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "bench/tess_engine_run.h"
#include "bench/tess_inputs.h"

namespace {

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using Point = Kernel::Point_2;
using Delaunay = CGAL::Delaunay_triangulation_2<Kernel>;
using Vb = CGAL::Triangulation_vertex_base_2<Kernel>;
using Fb = CGAL::Constrained_triangulation_face_base_2<Kernel>;
using Tds = CGAL::Triangulation_data_structure_2<Vb, Fb>;
using Cdt = CGAL::Constrained_Delaunay_triangulation_2<Kernel, Tds, CGAL::Exact_predicates_tag>;

const char* const kDejaVuSans = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

std::vector<Point> PointsOf(const tess_bench::Graph& g) {
  std::vector<Point> points;
  for (int32_t i = 0; i < g.PointCount(); ++i)
    points.emplace_back(g.points[2 * i], g.points[2 * i + 1]);
  return points;
}

std::vector<std::pair<std::size_t, std::size_t>> SegmentsOf(const tess_bench::Graph& g) {
  std::vector<std::pair<std::size_t, std::size_t>> segments;
  for (size_t s = 0; s + 1 < g.segments.size(); s += 2)
    segments.emplace_back(g.segments[s], g.segments[s + 1]);
  return segments;
}

void Report(benchmark::State& state, const tess_bench::Graph& g, std::size_t faces) {
  const double iterations = static_cast<double>(state.iterations());
  state.counters["vertices"] = g.PointCount();
  state.counters["triangles"] = static_cast<double>(faces);
  state.counters["triangles_per_s"] =
      benchmark::Counter(static_cast<double>(faces) * iterations, benchmark::Counter::kIsRate);
  state.counters["vertices_per_s"] =
      benchmark::Counter(g.PointCount() * iterations, benchmark::Counter::kIsRate);
}

void BM_EngineRandomPointsDelaunay(benchmark::State& state) {
  tess_bench::RunEngine(state, "Qz",
                        tess_bench::UniformPoints(static_cast<int32_t>(state.range(0))));
}
BENCHMARK(BM_EngineRandomPointsDelaunay)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void BM_CgalRandomPointsDelaunay(benchmark::State& state) {
  const tess_bench::Graph g = tess_bench::UniformPoints(static_cast<int32_t>(state.range(0)));
  const std::vector<Point> points = PointsOf(g);
  std::size_t faces = 0;
  for (auto _ : state) {
    Delaunay dt(points.begin(), points.end());
    faces = dt.number_of_faces();
  }
  Report(state, g, faces);
}
BENCHMARK(BM_CgalRandomPointsDelaunay)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void RunConstrained(benchmark::State& state, const tess_bench::Graph& g, bool conforming) {
  const std::vector<Point> points = PointsOf(g);
  const auto segments = SegmentsOf(g);
  std::size_t faces = 0;
  for (auto _ : state) {
    Cdt cdt;
    cdt.insert_constraints(points.begin(), points.end(), segments.begin(), segments.end());
    if (conforming) CGAL::make_conforming_Delaunay_2(cdt);
    faces = cdt.number_of_faces();
  }
  Report(state, g, faces);
}

void BM_EnginePolygonWithHolesConstrained(benchmark::State& state) {
  tess_bench::RunEngine(state, "Qpz", tess_bench::PolygonWithSquareHoles(100000, 1000));
}
BENCHMARK(BM_EnginePolygonWithHolesConstrained)->Unit(benchmark::kMillisecond);

void BM_CgalPolygonWithHolesConstrained(benchmark::State& state) {
  RunConstrained(state, tess_bench::PolygonWithSquareHoles(100000, 1000), false);
}
BENCHMARK(BM_CgalPolygonWithHolesConstrained)->Unit(benchmark::kMillisecond);

void BM_EngineLobedPolygonWithHolesConstrained(benchmark::State& state) {
  tess_bench::RunEngine(state, "Qpz", tess_bench::LobedPolygonWithSquareHoles(100000, 1000));
}
BENCHMARK(BM_EngineLobedPolygonWithHolesConstrained)->Unit(benchmark::kMillisecond);

void BM_CgalLobedPolygonWithHolesConstrained(benchmark::State& state) {
  RunConstrained(state, tess_bench::LobedPolygonWithSquareHoles(100000, 1000), false);
}
BENCHMARK(BM_CgalLobedPolygonWithHolesConstrained)->Unit(benchmark::kMillisecond);

void BM_EngineDejaVuGlyphRowConstrained(benchmark::State& state) {
  tess_bench::RunEngine(state, "Qpz", tess_bench::GlyphRow(kDejaVuSans));
}
BENCHMARK(BM_EngineDejaVuGlyphRowConstrained)->Unit(benchmark::kMillisecond);

void BM_CgalDejaVuGlyphRowConstrained(benchmark::State& state) {
  RunConstrained(state, tess_bench::GlyphRow(kDejaVuSans), false);
}
BENCHMARK(BM_CgalDejaVuGlyphRowConstrained)->Unit(benchmark::kMillisecond);

void BM_EngineStarConforming(benchmark::State& state) {
  tess_bench::RunEngine(state, "VpDz", tess_bench::StarPolygon(10000));
}
BENCHMARK(BM_EngineStarConforming)->Unit(benchmark::kMillisecond);

void BM_CgalStarConforming(benchmark::State& state) {
  RunConstrained(state, tess_bench::StarPolygon(10000), true);
}
BENCHMARK(BM_CgalStarConforming)->Unit(benchmark::kMillisecond);

// The console table, then the engine's CPU time over CGAL's for each input run by both
// (BM_Engine<Input> and BM_Cgal<Input>): below 1 means the engine is faster.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  RatioReporter() : ConsoleReporter(OO_Tabular) {}
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      // Single runs, or the median of repetitions, which comes after them.
      const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
      if ((run.run_type != Run::RT_Iteration && !median) || run.error_occurred) continue;
      const std::string name = run.run_name.str();
      for (const char* side : {"BM_Engine", "BM_Cgal"}) {
        const std::string prefix = side;
        if (name.compare(0, prefix.size(), prefix) != 0) continue;
        // The last run of a name wins.
        seconds_[prefix == "BM_Engine"][name.substr(prefix.size())] = run.GetAdjustedCPUTime();
      }
    }
  }
  void Finalize() override {
    ConsoleReporter::Finalize();
    for (const auto& [input, engine] : seconds_[1]) {
      const auto cgal = seconds_[0].find(input);
      if (cgal == seconds_[0].end() || cgal->second <= 0.0) continue;
      std::printf("engine/CGAL %-40s %.2f\n", input.c_str(), engine / cgal->second);
    }
  }

 private:
  std::map<std::string, double> seconds_[2];  // [0] CGAL, [1] engine, by input name
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
