// The engine against its peer in one run: each input of tess_bench goes to the engine and to
// CGAL's Delaunay, constrained Delaunay or conforming Delaunay triangulation, or its Delaunay
// mesher for quality refinement, one benchmark after the other, for the ratio. CGAL's constrained
// runs insert the constraints only; the engine also carves the holes, so its figures include a
// little more work. At the end the ratio of the CPU times, engine over CGAL, is printed for each
// input.
#include <CGAL/Constrained_Delaunay_triangulation_2.h>
#include <CGAL/Delaunay_mesh_face_base_2.h>
#include <CGAL/Delaunay_mesh_size_criteria_2.h>
#include <CGAL/Delaunay_mesh_vertex_base_2.h>
#include <CGAL/Delaunay_mesher_2.h>
#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Triangulation_conformer_2.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <deque>
#include <map>
#include <string>
#include <unordered_map>
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

// Quality refinement to a minimum angle: the engine's switch q against CGAL's Delaunay mesher,
// whose shape bound is the squared sine of the smallest angle, 1 / (4 B^2) for the bound
// B = 1 / (2 sin(angle)) on circumradius over shortest edge. The mesher refines the faces of the
// even-odd interior of the constraints, which is the domain the engine's hole seeds leave.
using MeshVb = CGAL::Delaunay_mesh_vertex_base_2<Kernel>;
using MeshFb = CGAL::Delaunay_mesh_face_base_2<Kernel>;
using MeshTds = CGAL::Triangulation_data_structure_2<MeshVb, MeshFb>;
using MeshCdt =
    CGAL::Constrained_Delaunay_triangulation_2<Kernel, MeshTds, CGAL::Exact_predicates_tag>;
using MeshCriteria = CGAL::Delaunay_mesh_size_criteria_2<MeshCdt>;

// Marks as the domain the faces at an odd depth of constrained edges from the infinite face.
void MarkEvenOddDomain(MeshCdt& cdt) {
  std::unordered_map<const void*, int> depth;
  std::deque<std::pair<MeshCdt::Face_handle, int>> queue{{cdt.infinite_face(), 0}};
  while (!queue.empty()) {
    const auto [face, level] = queue.front();
    queue.pop_front();
    if (!depth.emplace(&*face, level).second) continue;
    face->set_in_domain(level % 2 == 1);
    for (int i = 0; i < 3; ++i) {
      const MeshCdt::Face_handle next = face->neighbor(i);
      if (depth.count(&*next)) continue;
      // Same depth first, so that a face is reached at its smallest depth.
      if (cdt.is_constrained({face, i})) {
        queue.emplace_back(next, level + 1);
      } else {
        queue.emplace_front(next, level);
      }
    }
  }
}

// The mesher is sure to end only up to about 20.7 degrees; above, an input with small angles
// may keep it going for a long time (the glyph row at 33 degrees ran for more than 8 minutes).
// A run that passes this much CPU time is reported as an error instead of a figure.
constexpr double kCgalSecondsLimit = 120.0;

// Refines step by step, as CGAL::refine_Delaunay_mesh_2 does in one go, so that the time limit
// can be checked; false when it was passed.
bool RefineWithinLimit(MeshCdt& cdt, double sine) {
  CGAL::Delaunay_mesher_2<MeshCdt, MeshCriteria> mesher(cdt, MeshCriteria(sine * sine));
  mesher.init(true);
  const std::clock_t start = std::clock();
  for (std::size_t steps = 1; !mesher.is_refinement_done(); ++steps) {
    mesher.step_by_step_refine_mesh();
    if (steps % 65536 == 0 && std::clock() - start > kCgalSecondsLimit * CLOCKS_PER_SEC)
      return false;
  }
  return true;
}

void RunCgalMesher(benchmark::State& state, const tess_bench::Graph& g) {
  const std::vector<Point> points = PointsOf(g);
  const auto segments = SegmentsOf(g);
  const double sine = std::sin(static_cast<double>(state.range(0)) * tess_bench::kPi / 180.0);
  std::size_t added = 0, faces = 0;
  for (auto _ : state) {
    MeshCdt cdt;
    cdt.insert_constraints(points.begin(), points.end(), segments.begin(), segments.end());
    const std::size_t before = cdt.number_of_vertices();
    MarkEvenOddDomain(cdt);
    if (!RefineWithinLimit(cdt, sine)) {
      state.SkipWithError("CGAL's mesher did not finish within the time limit");
      break;
    }
    added = cdt.number_of_vertices() - before;
    faces = 0;
    for (const auto face : cdt.finite_face_handles()) faces += face->is_in_domain() ? 1 : 0;
  }
  Report(state, g, faces);
  state.counters["added_vertices"] = static_cast<double>(added);
}

void RunEngineMesher(benchmark::State& state, const tess_bench::Graph& g) {
  const std::string switches = "Qpzq" + std::to_string(state.range(0));
  tess_bench::RunEngine(state, switches.c_str(), g);
}

void BM_EngineGearRefined(benchmark::State& state) {
  RunEngineMesher(state, tess_bench::Gear(200));
}
BENCHMARK(BM_EngineGearRefined)->Arg(20)->Arg(25)->Arg(30)->Arg(33)->Unit(benchmark::kMillisecond);

void BM_CgalGearRefined(benchmark::State& state) {
  RunCgalMesher(state, tess_bench::Gear(200));
}
BENCHMARK(BM_CgalGearRefined)->Arg(20)->Arg(25)->Arg(30)->Arg(33)->Unit(benchmark::kMillisecond);

void BM_EngineDejaVuGlyphRowRefined(benchmark::State& state) {
  RunEngineMesher(state, tess_bench::GlyphRow(kDejaVuSans));
}
BENCHMARK(BM_EngineDejaVuGlyphRowRefined)
    ->Arg(20)
    ->Arg(25)
    ->Arg(30)
    ->Arg(33)
    ->Unit(benchmark::kMillisecond);

void BM_CgalDejaVuGlyphRowRefined(benchmark::State& state) {
  RunCgalMesher(state, tess_bench::GlyphRow(kDejaVuSans));
}
BENCHMARK(BM_CgalDejaVuGlyphRowRefined)
    ->Arg(20)
    ->Arg(25)
    ->Arg(30)
    ->Arg(33)
    ->Unit(benchmark::kMillisecond);

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
