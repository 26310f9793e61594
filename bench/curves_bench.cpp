// Speed of the curve layer: the patch's grid fill at its finest granularity, against a floor
// that only writes the same vertex records, and the two walks of a 10,000-point contour.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "kly/curves/contour.h"
#include "kly/curves/cubic_bezier_patch.h"
#include "kly/mesh/mesh.h"

namespace {

using Vec3 = ORT_Vector3T<double>;

// A bevel-like wall: a curved contour cubic along u, a rounded profile down v.
tagCUBIC_PATCH_PTS WallPatch() {
  const double profile[4][2] = {{0, 0}, {0.55, 0}, {1, 0.45}, {1, 1}};  // (outset, depth)
  const Vec3 contour[4] = {{0, 0, 0}, {30, 20, 0}, {70, -20, 0}, {100, 0, 0}};
  tagCUBIC_PATCH_PTS net;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      net.points[4 * r + c] = {contour[c].x, contour[c].y - 5 * profile[r][0], 10 * profile[r][1]};
    }
  }
  return net;
}

void BM_PatchFillMeshFinest(benchmark::State& state) {
  tagCUBIC_PATCH_PTS net = WallPatch();
  KLY_CubicBezierPatch patch;
  patch.SetCubicGeometry(net);
  patch.SetUScaleOffset(0.5, 0.25);
  patch.SetVScaleOffset(1.0, 0.0);
  patch.SetGranularity(10, 10, 10, 10);  // the finest the granularity allows: 1026 x 1026
  uint32_t vertexCount, triangleCount;
  std::vector<double> us, vs;
  patch.GetAdaptiveMeshSize(vertexCount, triangleCount, us, vs);
  KLY_Mesh mesh;
  mesh.SetSize(vertexCount, triangleCount);
  for (auto _ : state) {
    patch.FillMesh(mesh, 2);
    benchmark::DoNotOptimize(&*mesh.beginVerts());
    benchmark::ClobberMemory();
  }
  state.counters["vertices/s"] =
      benchmark::Counter(vertexCount, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["vertices"] = vertexCount;
}
BENCHMARK(BM_PatchFillMeshFinest)->Unit(benchmark::kMillisecond);

// The floor: storing the same vertex and triangle records with no evaluation at all.
void BM_PatchFillMeshFloor(benchmark::State& state) {
  const uint32_t nu = 1026, nv = 1026;
  KLY_Mesh mesh;
  mesh.SetSize(nu * nv, 2 * (nu - 1) * (nv - 1));
  for (auto _ : state) {
    auto vertex = mesh.beginVerts();
    for (uint32_t j = 0; j < nv; ++j) {
      for (uint32_t i = 0; i < nu; ++i, ++vertex) {
        vertex->pos = {double(i), double(j), 0.0};
        vertex->pos_w = 1.0;
        vertex->normal = {0.0, 0.0, 1.0};
        vertex->uv = {double(i), double(j)};
      }
    }
    auto triangle = mesh.beginTriangles();
    for (uint32_t j = 0; j + 1 < nv; ++j) {
      for (uint32_t i = 0; i + 1 < nu; ++i) {
        const uint32_t a = j * nu + i;
        triangle->SetIndices(a, a + nu + 1, a + 1);
        triangle->material_index = 2;
        ++triangle;
        triangle->SetIndices(a, a + nu, a + nu + 1);
        triangle->material_index = 2;
        ++triangle;
      }
    }
    benchmark::DoNotOptimize(&*mesh.beginVerts());
    benchmark::ClobberMemory();
  }
  state.counters["vertices/s"] =
      benchmark::Counter(nu * nv, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_PatchFillMeshFloor)->Unit(benchmark::kMillisecond);

// A closed wavy outline of 3333 cubics, 10,000 points: a start and three points a curve.
KLY_Contour WavyContour() {
  KLY_Contour contour;
  contour.SetClosed(true);
  contour.SetGranularity(0, 10);
  const int curves = 3333;
  const double pi = std::acos(-1.0);
  auto at = [&](double k) {
    const double angle = 2 * pi * k / (3 * curves);
    const double radius = 1000 + 40 * std::sin(37 * angle);
    return Vec3{radius * std::cos(angle), radius * std::sin(angle), 0.0};
  };
  contour.AppendVertexPosition(at(0));
  contour.AppendVertexCode(KLY_Contour::kCodeStart);
  for (int k = 1; k < 3 * curves + 1; ++k) {
    contour.AppendVertexPosition(at(k));
    contour.AppendVertexCode(KLY_Contour::kCodeCurve);
  }
  return contour;
}

void BM_ContourPolygonalApprox(benchmark::State& state) {
  const KLY_Contour contour = WavyContour();
  std::vector<Vec3> out;
  for (auto _ : state) {
    contour.PolygonalApprox(out);
    benchmark::DoNotOptimize(out.data());
  }
  state.counters["points/s"] =
      benchmark::Counter(contour.Size(), benchmark::Counter::kIsIterationInvariantRate);
  state.counters["points out"] = out.size();
}
BENCHMARK(BM_ContourPolygonalApprox)->Unit(benchmark::kMillisecond);

void BM_ContourPureBezier(benchmark::State& state) {
  const KLY_Contour contour = WavyContour();
  std::vector<Vec3> out;
  for (auto _ : state) {
    contour.PureBezier(out);
    benchmark::DoNotOptimize(out.data());
  }
  state.counters["points/s"] =
      benchmark::Counter(contour.Size(), benchmark::Counter::kIsIterationInvariantRate);
  state.counters["points out"] = out.size();
}
BENCHMARK(BM_ContourPureBezier)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
