// Extrusion of real glyphs: the 94 printable ASCII glyphs of DejaVu Sans ('!' to '~') at an em
// of 100 units, repeated to 1,000 glyphs, each extruded on its own (a fresh KLY_Extrusion a
// glyph) with depth 20, a convex bevel of 4 and default granularities, single-threaded.
//
// Where the time of a build goes, each share measured on the library's own code:
// - offset service: a timer around the standalone service, through the host's seam (the
//   service's callbacks into the library's path collector count with it);
// - engine: BuildFrontMesh alone (filling the engine's arrays, the engine, writing the face),
//   on the polygons that the pipeline's first steps make, reproduced by a subclass; its front
//   triangles are checked against a full build's;
// - walls: a full build minus a flat one of the same glyphs (style 0 at depth 0 keeps the
//   bevel depth, hence the same offsets and front face, and makes no back face and no walls),
//   minus BuildBackMesh timed alone: the bevel profiles, the patches and their grids;
// - the rest: contour tests, hole tests, flattening, the back face, appending.
// A summary after the run gives the figures for 1,000 glyphs, the triangles of a build whose
// offset service always fails (every contour then stays as it is), and the share of front
// triangles with a smallest angle under 5 degrees.
#include <benchmark/benchmark.h>

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

#include "kly/extrusion/extrusion.h"
#include "kly/host/glyph_outlines.h"
#include "kly/host/services.h"
#include "tests/testing/glyph_contours.h"

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;
using Glyph = std::vector<KLY_Contour>;
using Vec3 = ORT_Vector3T<double>;

const char* const kDejaVuSans = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
constexpr int kGlyphCount = 1000;
constexpr size_t kDistinctGlyphs = '~' - '!' + 1;
constexpr double kEm = 100.0;
constexpr double kDepth = 20.0;
constexpr double kBevel = 4.0;
constexpr double kThinDegrees = 5.0;

// The font's glyph index of every printable ASCII character, through its character map.
std::vector<int32_t> AsciiGlyphIndices() {
  std::vector<int32_t> indices;
  FT_Library library = nullptr;
  FT_Face face = nullptr;
  if (FT_Init_FreeType(&library) != 0) return indices;
  if (FT_New_Face(library, kDejaVuSans, 0, &face) == 0) {
    for (FT_ULong c = '!'; c <= '~'; ++c)
      indices.push_back(static_cast<int32_t>(FT_Get_Char_Index(face, c)));
    FT_Done_Face(face);
  }
  FT_Done_FreeType(library);
  return indices;
}

// A glyph's contours without those of fewer than three points: 'u' of DejaVu Sans carries a
// contour of a single point (an anchor), which fails the contour test and so the whole build.
Glyph WithoutPointContours(Glyph contours) {
  contours.erase(std::remove_if(contours.begin(), contours.end(),
                                [](const KLY_Contour& c) { return c.Size() < 3; }),
                 contours.end());
  return contours;
}

// The 1,000 glyphs of the workload, the 94 characters over and over.
const std::vector<Glyph>& Workload() {
  static const std::vector<Glyph> glyphs = [] {
    const std::vector<int32_t> ascii = AsciiGlyphIndices();
    std::vector<Glyph> all;
    if (ascii.empty()) return all;
    const kly::host::GlyphOutlines font(kDejaVuSans);
    std::vector<Glyph> distinct;
    for (int32_t index : ascii)
      distinct.push_back(
          WithoutPointContours(kly::testing::GlyphContours(font, index, kEm / font.UnitsPerEm())));
    for (int k = 0; k < kGlyphCount; ++k) all.push_back(distinct[k % distinct.size()]);
    return all;
  }();
  return glyphs;
}

void SetUp(KLY_Extrusion& extrusion, const Glyph& glyph, bool flat) {
  extrusion.SetExtrusionDepth(flat ? 0.0 : kDepth);
  extrusion.SetBevelStyle(flat ? KLY_Extrusion::BevelNone : KLY_Extrusion::BevelConvex);
  extrusion.SetBevelDepth(kBevel);
  for (const KLY_Contour& contour : glyph) extrusion.PushContour(contour);
}

// The host's services with an offset service of our own choosing.
kly::host::HostServices WithOffsetService(
    std::function<int32_t(const kly::host::OffsetPathRequest&, const kly::host::OffsetPathSink&)>
        service) {
  kly::host::HostServices services = kly::host::Services();
  services.offset_path = std::move(service);
  return services;
}

// What a benchmark measured for the 1,000 glyphs, averaged over its iterations.
struct Figures {
  double seconds = 0.0;        // the whole loop
  double offsetSeconds = 0.0;  // inside the offset service
  double frontSeconds = 0.0;   // BuildFrontMesh
  double backSeconds = 0.0;    // BuildBackMesh
  double triangles = 0.0;
  double vertices = 0.0;
  double frontTriangles = 0.0;
  double thinFrontTriangles = 0.0;  // smallest angle under 5 degrees
};

Figures solid, flat, failingService, faces;

void Report(benchmark::State& state, Figures& figures, const Figures& sum) {
  const double n = static_cast<double>(state.iterations());
  figures = {sum.seconds / n,        sum.offsetSeconds / n,     sum.frontSeconds / n,
             sum.backSeconds / n,    sum.triangles / n,         sum.vertices / n,
             sum.frontTriangles / n, sum.thinFrontTriangles / n};
  state.counters["glyphs/s"] = benchmark::Counter(n * kGlyphCount, benchmark::Counter::kIsRate);
}

double Angle(const Vec3& at, const Vec3& a, const Vec3& b) {
  const Vec3 u = a - at, w = b - at;
  const double cross = u.x * w.y - u.y * w.x;
  return std::atan2(std::fabs(cross), u.x * w.x + u.y * w.y);
}

// Front triangles, and those with a smallest angle under 5 degrees.
void CountFrontTriangles(const KLY_Extrusion& extrusion, Figures& sum) {
  std::vector<KLY_Triangle> front;
  extrusion.GetTrianglesForFace(KLY_Extrusion::kFrontMaterial, front);
  const auto vertices = extrusion.beginVerts();
  const double thin = kThinDegrees * M_PI / 180.0;
  for (const KLY_Triangle& t : front) {
    const Vec3& p0 = vertices[t.indices[0]].pos;
    const Vec3& p1 = vertices[t.indices[1]].pos;
    const Vec3& p2 = vertices[t.indices[2]].pos;
    const double smallest = std::min({Angle(p0, p1, p2), Angle(p1, p2, p0), Angle(p2, p0, p1)});
    sum.thinFrontTriangles += smallest < thin ? 1 : 0;
  }
  sum.frontTriangles += static_cast<double>(front.size());
}

// Builds the 1,000 glyphs once an iteration, `offsetSeconds` counting time in the service.
void RunBuilds(
    benchmark::State& state, bool flat, Figures& figures,
    std::function<int32_t(const kly::host::OffsetPathRequest&, const kly::host::OffsetPathSink&)>
        service) {
  const std::vector<Glyph>& glyphs = Workload();
  if (glyphs.empty()) return state.SkipWithError("no DejaVu Sans");
  Figures sum;
  const kly::host::ScopedServices scope(WithOffsetService(
      [&](const kly::host::OffsetPathRequest& request, const kly::host::OffsetPathSink& sink) {
        const Clock::time_point start = Clock::now();
        const int32_t status = service(request, sink);
        sum.offsetSeconds += Seconds(Clock::now() - start).count();
        return status;
      }));
  for (auto _ : state) {
    const Clock::time_point start = Clock::now();
    for (const Glyph& glyph : glyphs) {
      KLY_Extrusion extrusion;
      SetUp(extrusion, glyph, flat);
      extrusion.Update();
      sum.triangles += extrusion.GetNumTriangles();
      sum.vertices += extrusion.GetNumVertices();
    }
    sum.seconds += Seconds(Clock::now() - start).count();
  }
  Report(state, figures, sum);
  state.counters["triangles"] = figures.triangles;
  state.counters["vertices"] = figures.vertices;
}

void BM_ExtrudeGlyphs(benchmark::State& state) {
  RunBuilds(state, false, solid, kly::host::OffsetPath);
}
BENCHMARK(BM_ExtrudeGlyphs)->Unit(benchmark::kMillisecond)->MinTime(1.0);

void BM_ExtrudeGlyphsFlat(benchmark::State& state) {
  RunBuilds(state, true, flat, kly::host::OffsetPath);
}
BENCHMARK(BM_ExtrudeGlyphsFlat)->Unit(benchmark::kMillisecond)->MinTime(1.0);

void BM_ExtrudeGlyphsFailingOffsetService(benchmark::State& state) {
  RunBuilds(state, false, failingService,
            [](const kly::host::OffsetPathRequest&, const kly::host::OffsetPathSink&) {
              return int32_t{1};
            });
}
BENCHMARK(BM_ExtrudeGlyphsFailingOffsetService)->Unit(benchmark::kMillisecond)->MinTime(1.0);

// The pipeline's steps up to the faces, as BuildGeometry takes them, with the two face stages
// timed alone.
class StagedExtrusion : public KLY_Extrusion {
 public:
  // Returns the front face's triangles.
  uint32_t TimeFaces(double& frontSeconds, double& backSeconds) {
    const size_t n = contours.size();
    holeFlags.resize(n);
    AdjustContoursForBeveling();
    polygons.resize(n);
    bezierChains.resize(n);
    for (size_t i = 0; i < n; ++i) {
      contours[i].SetGranularity(faceGranularityMin, faceGranularityMax);
      contours[i].SetClosed(true);
      contours[i].PolygonalApprox(polygons[i]);
    }
    // Outer polygons counter-clockwise, holes clockwise.
    for (size_t i = 0; i < n; ++i)
      if ((OpenShoelace(polygons[i]) >= 0.0) == (holeFlags[i] == 1))
        std::reverse(polygons[i].begin(), polygons[i].end());
    KLY_Mesh face;
    const Clock::time_point start = Clock::now();
    BuildFrontMesh(face);
    const Clock::time_point frontDone = Clock::now();
    const uint32_t frontTriangles = face.GetNumTriangles();
    BuildBackMesh(face);
    frontSeconds += Seconds(frontDone - start).count();
    backSeconds += Seconds(Clock::now() - frontDone).count();
    return frontTriangles;
  }

 private:
  static double OpenShoelace(const std::vector<Vec3>& polygon) {
    double sum = 0.0;
    for (size_t j = 0; j + 1 < polygon.size(); ++j)
      sum += polygon[j].x * polygon[j + 1].y - polygon[j].y * polygon[j + 1].x;
    return sum;
  }
};

// The face stages timed alone, after checking that they give a full build's front face for
// each of the 94 glyphs.
void BM_FaceStages(benchmark::State& state) {
  const std::vector<Glyph>& glyphs = Workload();
  if (glyphs.size() < kDistinctGlyphs) return state.SkipWithError("no DejaVu Sans");
  for (size_t k = 0; k < kDistinctGlyphs; ++k) {
    const Glyph& glyph = glyphs[k];
    KLY_Extrusion full;
    StagedExtrusion staged;
    SetUp(full, glyph, false);
    SetUp(staged, glyph, false);
    full.Update();
    double ignored = 0.0;
    std::vector<KLY_Triangle> front;
    full.GetTrianglesForFace(KLY_Extrusion::kFrontMaterial, front);
    if (staged.TimeFaces(ignored, ignored) != front.size())
      return state.SkipWithError("the staged faces differ from a full build's");
  }
  Figures sum;
  for (auto _ : state) {
    const Clock::time_point start = Clock::now();
    for (const Glyph& glyph : glyphs) {
      StagedExtrusion staged;
      SetUp(staged, glyph, false);
      sum.frontTriangles += staged.TimeFaces(sum.frontSeconds, sum.backSeconds);
    }
    sum.seconds += Seconds(Clock::now() - start).count();
  }
  Report(state, faces, sum);
  state.counters["front triangles"] = faces.frontTriangles;
}
BENCHMARK(BM_FaceStages)->Unit(benchmark::kMillisecond)->MinTime(1.0);

// The thin front triangles of one full build of the workload.
void CountThinTriangles() {
  Figures sum;
  for (const Glyph& glyph : Workload()) {
    KLY_Extrusion extrusion;
    SetUp(extrusion, glyph, false);
    extrusion.Update();
    CountFrontTriangles(extrusion, sum);
  }
  solid.frontTriangles = sum.frontTriangles;
  solid.thinFrontTriangles = sum.thinFrontTriangles;
}

void PrintShare(const char* name, double seconds, double total) {
  std::printf("  %-34s %8.1f ms  %5.1f %%\n", name, 1e3 * seconds, 100.0 * seconds / total);
}

void PrintSummary() {
  if (solid.seconds <= 0.0 || flat.seconds <= 0.0 || faces.seconds <= 0.0 ||
      failingService.seconds <= 0.0)
    return;  // a filter left some benchmark out
  CountThinTriangles();
  const double total = solid.seconds;
  const double walls = solid.seconds - flat.seconds - faces.backSeconds;
  const double rest = total - solid.offsetSeconds - faces.frontSeconds - walls;
  std::printf(
      "\n%d glyphs (94 printable ASCII glyphs of DejaVu Sans, em 100), depth %g, convex "
      "bevel %g:\n",
      kGlyphCount, kDepth, kBevel);
  std::printf("  %-34s %8.1f ms  (target < 250 ms)\n", "total, single thread", 1e3 * total);
  PrintShare("offset service", solid.offsetSeconds, total);
  PrintShare("engine (BuildFrontMesh)", faces.frontSeconds, total);
  PrintShare("walls (profiles, patches, grids)", walls, total);
  PrintShare("rest", rest, total);
  std::printf("  triangles %.0f, vertices %.0f\n", solid.triangles, solid.vertices);
  std::printf(
      "  triangles with the offset service / with a failing one: %.0f / %.0f = %.3f "
      "(target <= 1.25)\n",
      solid.triangles, failingService.triangles, solid.triangles / failingService.triangles);
  std::printf("  front triangles with a smallest angle under %g degrees: %.0f of %.0f (%.2f %%)\n",
              kThinDegrees, solid.thinFrontTriangles, solid.frontTriangles,
              100.0 * solid.thinFrontTriangles / solid.frontTriangles);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  PrintSummary();
  benchmark::Shutdown();
  return 0;
}
