// The sphere build, Weld, Subdivide, SplitMesh and the capped cylinder, with floors measured
// in the same run: a memcpy of the arrays concerned, and the engine alone on the cylinder's
// cap (its share of the capped build is the ratio of the two times).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "kly/mesh/mesh.h"
#include "kly/solids/cylinder.h"
#include "kly/solids/plane.h"
#include "kly/solids/sphere.h"
#include "kly/tess/triangulate.h"

namespace {

void BM_SphereBuild(benchmark::State& state) {
  KLY_Sphere sphere;
  sphere.SetSubdivisions(static_cast<uint32_t>(state.range(0)));
  ORT_Vector3T<double> radius{1, 1, 1};
  for (auto _ : state) {
    radius.x = radius.x == 1.0 ? 2.0 : 1.0;  // a parameter change makes every Update rebuild
    sphere.SetRadius(radius);
    sphere.Update();
    benchmark::DoNotOptimize(sphere.GetNumVertices());
  }
  state.counters["triangles"] = sphere.GetNumTriangles();
}
BENCHMARK(BM_SphereBuild)->Arg(8)->Unit(benchmark::kMillisecond);

// A mesh of `count` vertices in which every distinct random point appears twice, in a random
// order, and one triangle a three vertices; coordinates within +-extent.
KLY_Mesh HalfDuplicated(uint32_t count, double extent) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> u(-extent, extent);
  std::vector<KLY_Vertex> distinct(count / 2);
  for (KLY_Vertex& v : distinct) v.SetPos({u(random), u(random), u(random)});
  std::vector<uint32_t> order(count);
  for (uint32_t i = 0; i < count; ++i) order[i] = i / 2;
  std::shuffle(order.begin(), order.end(), random);
  KLY_Mesh mesh;
  for (uint32_t i : order) mesh.PushVertex(distinct[i]);
  for (uint32_t t = 0; t + 2 < count; t += 3) mesh.PushFace(KLY_Triangle(t, t + 1, t + 2));
  return mesh;
}

// Weld of 2^20 vertices, half of them copies. The hash is the integer part of a weighted sum
// of |x|, |y|, |z|: with coordinates within +-1e5 it spreads over the table; within +-1 all
// vertices share a few hundred first slots and the long-chain shortcut does the work.
void BM_Weld(benchmark::State& state) {
  const double extent = static_cast<double>(state.range(1));
  const KLY_Mesh prototype = HalfDuplicated(static_cast<uint32_t>(state.range(0)), extent);
  for (auto _ : state) {
    state.PauseTiming();
    KLY_Mesh mesh = prototype;
    state.ResumeTiming();
    mesh.Weld(1e-6);
    benchmark::DoNotOptimize(mesh.GetNumVertices());
    state.PauseTiming();
    mesh = KLY_Mesh();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_Weld)->Args({1 << 20, 100000})->Args({1 << 20, 1})->Unit(benchmark::kMillisecond);

// Floor for Weld: one copy of the vertex array it compacts.
void BM_WeldMemcpyFloor(benchmark::State& state) {
  const size_t bytes = static_cast<size_t>(state.range(0)) * sizeof(KLY_Vertex);
  std::vector<char> from(bytes, 1), to(bytes, 0);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), bytes);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_WeldMemcpyFloor)->Arg(1 << 20)->Unit(benchmark::kMillisecond);

// A flat grid of n x m quads: 2nm triangles with shared vertices.
KLY_Mesh Grid(uint32_t n, uint32_t m) {
  ORT_Vector2T<double> size{1.0, 1.0};
  KLY_Plane plane(size);
  plane.SetDivisionsX(n);
  plane.SetDivisionsY(m);
  plane.Update();
  KLY_Mesh mesh;
  plane.CollapseArrayToSingleElement(&mesh);
  return mesh;
}

void BM_Subdivide(benchmark::State& state) {
  const KLY_Mesh prototype = Grid(250, 200);  // 100,000 triangles
  for (auto _ : state) {
    state.PauseTiming();
    KLY_Mesh mesh = prototype;
    state.ResumeTiming();
    mesh.Subdivide();
    benchmark::DoNotOptimize(mesh.GetNumTriangles());
  }
  state.counters["triangles_in"] = prototype.GetNumTriangles();
}
BENCHMARK(BM_Subdivide)->Unit(benchmark::kMillisecond);

void BM_SplitMesh(benchmark::State& state) {
  const KLY_Mesh mesh = Grid(1000, 500);  // 1,000,000 triangles
  // A tilted plane through the middle of the unit square, x + 0.3y = 0.65.
  const double k = 1.0 / std::sqrt(1.09);
  const ORT_PlaneEq plane{k, 0.3 * k, 0.0, -0.65 * k};
  KLY_Mesh front, back;
  for (auto _ : state) {
    KLY_Mesh::SplitMesh(mesh, plane, front, back);
    benchmark::DoNotOptimize(front.GetNumTriangles());
  }
  state.counters["front"] = front.GetNumTriangles();
  state.counters["back"] = back.GetNumTriangles();
}
BENCHMARK(BM_SplitMesh)->Unit(benchmark::kMillisecond);

// Floor for SplitMesh: copying the input's vertex and triangle arrays once.
void BM_SplitMemcpyFloor(benchmark::State& state) {
  const size_t bytes = 501501 * sizeof(KLY_Vertex) + 1000000 * sizeof(KLY_Triangle);
  std::vector<char> from(bytes, 1), to(bytes, 0);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), bytes);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_SplitMemcpyFloor)->Unit(benchmark::kMillisecond);

constexpr uint32_t kRadial = 1024;
constexpr uint32_t kHeight = 256;

void BM_Cylinder(benchmark::State& state) {
  KLY_Cylinder cylinder;
  cylinder.SetDivisions(kRadial, kHeight);
  cylinder.SetCap(state.range(0) != 0);
  double height = 1.0;
  for (auto _ : state) {
    height = height == 1.0 ? 2.0 : 1.0;
    cylinder.SetHeight(height);
    cylinder.Update();
    benchmark::DoNotOptimize(cylinder.GetNumTriangles());
  }
  state.counters["triangles"] = cylinder.GetNumTriangles();
}
BENCHMARK(BM_Cylinder)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

// The engine alone on the capped cylinder's section: the 1024-gon of the unit circle with the
// cylinder's angles, under the cylinder's switches.
void BM_CylinderCapEngineOnly(benchmark::State& state) {
  const int32_t n = kRadial;
  const double n_single = static_cast<double>(static_cast<float>(n));
  for (auto _ : state) {
    TessRecord input{}, output{};
    input.pointCount = n;
    input.segmentCount = n;
    input.points = static_cast<double*>(TessAlloc(0, 2 * n * sizeof(double)));
    input.segments = static_cast<int32_t*>(TessAlloc(1, 2 * n * sizeof(int32_t)));
    for (int32_t i = 0; i < n; ++i) {
      const double theta = (-6.283185307179586 * i) / n_single;
      input.points[2 * i] = std::cos(theta);
      input.points[2 * i + 1] = std::sin(theta);
      input.segments[2 * i] = i;
      input.segments[2 * i + 1] = i + 1 < n ? i + 1 : 0;
    }
    triangulate("VpDz", input, output, nullptr);
    benchmark::DoNotOptimize(output.triangleCount);
    TessFreeRecord(&input);
    TessFreeRecord(&output);
  }
}
BENCHMARK(BM_CylinderCapEngineOnly)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
