// Cost of the engine's exact predicates per call, by the stage that decides them, against the
// floor of the same determinant in plain doubles on the same data.
//
//   Filter*   random points: the first, inline stage decides nearly every call.
//   Adaptive  points within a few ulps of a line or circle: the later stages decide.
//   Exact     cocircular points whose differences all round: only the exact stage can.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "kly/tess/predicates.h"

namespace {

constexpr int kPoints = 4096;  // a power of two, for cheap wrap-around

struct Point {
  double x, y;
};

std::vector<Point> RandomPoints() {
  std::mt19937_64 random(5);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  std::vector<Point> points(kPoints);
  for (Point& p : points) p = {unit(random), unit(random)};
  return points;
}

// Points 0.5 + i ulp on both axes, against the line through (12, 12) and (24, 24).
std::vector<Point> NearLinePoints() {
  std::vector<Point> points(kPoints);
  for (int i = 0; i < kPoints; i++) {
    double x = 0.5, y = 0.5;
    for (int k = 0; k < i % 64; k++) x = std::nextafter(x, 1.0);
    for (int k = 0; k < i / 64; k++) y = std::nextafter(y, 1.0);
    points[i] = {x, y};
  }
  return points;
}

double RawOrient(const double* a, const double* b, const double* c) {
  return (a[0] - c[0]) * (b[1] - c[1]) - (a[1] - c[1]) * (b[0] - c[0]);
}

void BM_OrientFloor(benchmark::State& state) {
  const std::vector<Point> p = RandomPoints();
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        RawOrient(&p[i].x, &p[(i + 1) & (kPoints - 1)].x, &p[(i + 2) & (kPoints - 1)].x));
    i = (i + 1) & (kPoints - 1);
  }
}
BENCHMARK(BM_OrientFloor);

void BM_CounterClockwiseFilter(benchmark::State& state) {
  ExactInit();
  const std::vector<Point> p = RandomPoints();
  TessCounters counters;
  TessSwitches switches;
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(CounterClockwise(
        counters, switches, &p[i].x, &p[(i + 1) & (kPoints - 1)].x, &p[(i + 2) & (kPoints - 1)].x));
    i = (i + 1) & (kPoints - 1);
  }
}
BENCHMARK(BM_CounterClockwiseFilter);

void BM_CounterClockwiseAdaptive(benchmark::State& state) {
  ExactInit();
  const std::vector<Point> p = NearLinePoints();
  const Point q{12, 12}, r{24, 24};
  TessCounters counters;
  TessSwitches switches;
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(CounterClockwise(counters, switches, &p[i].x, &q.x, &r.x));
    i = (i + 1) & (kPoints - 1);
  }
}
BENCHMARK(BM_CounterClockwiseAdaptive);

double RawInCircle(const double* a, const double* b, const double* c, const double* d) {
  const double adx = a[0] - d[0], ady = a[1] - d[1], bdx = b[0] - d[0], bdy = b[1] - d[1],
               cdx = c[0] - d[0], cdy = c[1] - d[1];
  return (adx * adx + ady * ady) * (bdx * cdy - cdx * bdy) +
         (bdx * bdx + bdy * bdy) * (cdx * ady - adx * cdy) +
         (cdx * cdx + cdy * cdy) * (adx * bdy - bdx * ady);
}

void BM_InCircleFloor(benchmark::State& state) {
  const std::vector<Point> p = RandomPoints();
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(RawInCircle(&p[i].x, &p[(i + 1) & (kPoints - 1)].x,
                                         &p[(i + 2) & (kPoints - 1)].x,
                                         &p[(i + 3) & (kPoints - 1)].x));
    i = (i + 1) & (kPoints - 1);
  }
}
BENCHMARK(BM_InCircleFloor);

void BM_InCircleFilter(benchmark::State& state) {
  ExactInit();
  const std::vector<Point> p = RandomPoints();
  TessCounters counters;
  TessSwitches switches;
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(InCircle(counters, switches, &p[i].x, &p[(i + 1) & (kPoints - 1)].x,
                                      &p[(i + 2) & (kPoints - 1)].x,
                                      &p[(i + 3) & (kPoints - 1)].x));
    i = (i + 1) & (kPoints - 1);
  }
}
BENCHMARK(BM_InCircleFilter);

void BM_InCircleExact(benchmark::State& state) {
  ExactInit();
  // x^2 + y^2 = (x + 1)^2 with y = 2^30 + 1, x = 2^30 (2^29 + 1): the points (+-x, +-y) and
  // (+-y, +-x) are cocircular, and x - y needs 59 bits, so every difference has a tail.
  const double y = std::ldexp(1.0, 30) + 1.0;
  const double x = std::ldexp(1.0, 30) * (std::ldexp(1.0, 29) + 1.0);
  const Point a{x, y}, b{y, x}, c{-y, -x}, d{-x, -y};
  TessCounters counters;
  TessSwitches switches;
  for (auto _ : state) {
    benchmark::DoNotOptimize(InCircle(counters, switches, &a.x, &b.x, &c.x, &d.x));
  }
}
BENCHMARK(BM_InCircleExact);

}  // namespace

BENCHMARK_MAIN();
