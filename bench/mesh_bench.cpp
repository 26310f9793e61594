// Cube builds and mesh transforms, each measured beside a floor of the same size (memset,
// array copy) in the same run so that the ratio is read off one report.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "kly/mesh/mesh.h"
#include "kly/solids/cube.h"

namespace {

constexpr uint32_t kCubeDivisions = 512;

// Bytes of a cube's vertex and triangle arrays at n divisions.
size_t CubeBytes(uint32_t n) {
  const size_t vertices = 6ull * (n + 1) * (n + 1);
  const size_t triangles = 12ull * n * n;
  return vertices * sizeof(KLY_Vertex) + triangles * sizeof(KLY_Triangle);
}

void BM_CubeBuild(benchmark::State& state) {
  const uint32_t n = static_cast<uint32_t>(state.range(0));
  KLY_Cube cube;
  cube.SetDivisions(n);
  cube.Update();  // the first build allocates; the timed ones rebuild into the same arrays
  ORT_Vector3T<double> dims{1, 1, 1};
  for (auto _ : state) {
    dims.x = dims.x == 1.0 ? 2.0 : 1.0;  // a parameter change makes every Update rebuild
    cube.SetDimensions(dims);
    cube.Update();
    benchmark::DoNotOptimize(cube.GetNumVertices());
  }
  state.counters["vertices"] = cube.GetNumVertices();
  state.counters["triangles"] = cube.GetNumTriangles();
  state.SetBytesProcessed(state.iterations() * CubeBytes(n));
}
BENCHMARK(BM_CubeBuild)->Arg(kCubeDivisions)->Unit(benchmark::kMillisecond);

void BM_CubeMemsetFloor(benchmark::State& state) {
  const size_t bytes = CubeBytes(static_cast<uint32_t>(state.range(0)));
  std::vector<char> buffer(bytes, 1);
  for (auto _ : state) {
    std::memset(buffer.data(), 0, bytes);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * bytes);
}
BENCHMARK(BM_CubeMemsetFloor)->Arg(kCubeDivisions)->Unit(benchmark::kMillisecond);

// A faceted mesh of about one million vertices: a cube at 408 divisions has 6 * 409^2.
KLY_Mesh MillionVertexMesh() {
  KLY_Cube cube;
  cube.SetDivisions(408);
  cube.SetFacet(true);
  cube.Update();
  return cube;
}

ORT_Matrix4 Turn() {
  ORT_Matrix4 m = ORT_Identity4();
  m.m[0][0] = 0.8;
  m.m[0][1] = 0.6;
  m.m[1][0] = -0.6;
  m.m[1][1] = 0.8;
  m.m[3][2] = 5.0;
  return m;
}

void BM_Transform(benchmark::State& state) {
  const KLY_Mesh source = MillionVertexMesh();
  KLY_Mesh out = source;  // sized once: the timed loop writes into existing arrays
  const ORT_Matrix4 m = Turn();
  for (auto _ : state) {
    source.Transform(m, &out);
    benchmark::DoNotOptimize(out.GetNumVertices());
  }
  state.counters["vertices"] = source.GetNumVertices();
}
BENCHMARK(BM_Transform)->Unit(benchmark::kMillisecond);

void BM_TransformCopyFloor(benchmark::State& state) {
  const KLY_Mesh source = MillionVertexMesh();
  KLY_Mesh out = source;
  for (auto _ : state) {
    out = source;  // copies the vertex, triangle and material arrays
    benchmark::DoNotOptimize(out.GetNumVertices());
  }
  state.counters["vertices"] = source.GetNumVertices();
}
BENCHMARK(BM_TransformCopyFloor)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
