#include "kly/host/cubic_fit.h"

#include <algorithm>
#include <cmath>

namespace kly {
namespace host {
namespace {

// Flags of a vertex.
enum : unsigned char {
  kCorner = 1,    // the polygon turns sharply here
  kLongEdge = 2,  // the edge that starts here is a line of its own
  kBreak = 4,     // a piece ends here
};

// A run that stays within this share of the tolerance from its chord is one line.
constexpr double kLineShare = 0.25;
// Errors up to this many tolerances first try Newton steps on the parameters.
constexpr double kRetryFactor = 4.0;
constexpr int kNewtonRounds = 4;
// A fit within this share of the tolerance is taken at once; a looser one first tries the
// Newton steps for a closer fit.
constexpr double kGoodShare = 0.25;
// A run whose chord is shorter than this share of its length (most of a loop) is not tried:
// one cubic cannot follow it.
constexpr double kShortChordShare = 0.3;
// A cubic may pass this share of an edge's bow further from the bowed middle (the bow is
// only estimated).
constexpr double kBowSlack = 0.25;
// Newton steps that find the cubic's point nearest an edge's bowed middle.
constexpr int kMiddleSteps = 2;
// Control arms are kept within this many chords.
constexpr double kMaxArm = 1.5;

Vec2 Bezier(const Vec2 (&b)[4], double u) {
  const double s = 1.0 - u;
  const double b0 = s * s * s, b1 = 3.0 * s * s * u, b2 = 3.0 * s * u * u, b3 = u * u * u;
  return {b0 * b[0].x + b1 * b[1].x + b2 * b[2].x + b3 * b[3].x,
          b0 * b[0].y + b1 * b[1].y + b2 * b[2].y + b3 * b[3].y};
}

// One Newton step from parameter `u` towards the cubic's nearest point to `target`, within
// [lo, hi].
double NewtonStep(const Vec2 (&b)[4], double u, Vec2 target, double lo, double hi) {
  const double s = 1.0 - u;
  const Vec2 d = Bezier(b, u) - target;
  const Vec2 d1 =
      (b[1] - b[0]) * (3.0 * s * s) + (b[2] - b[1]) * (6.0 * s * u) + (b[3] - b[2]) * (3.0 * u * u);
  const Vec2 d2 = (b[2] - b[1] * 2.0 + b[0]) * (6.0 * s) + (b[3] - b[2] * 2.0 + b[1]) * (6.0 * u);
  const double denominator = Dot(d1, d1) + Dot(d, d2);
  return denominator > 0.0 ? std::clamp(u - Dot(d, d1) / denominator, lo, hi) : u;
}

// Tangent at `b` (from a towards c) of the parabola through a, b, c on chord-length parameters.
Vec2 MiddleTangent(Vec2 a, Vec2 b, Vec2 c) {
  const double l1 = Length(b - a), l2 = Length(c - b), l = l1 + l2;
  if (l1 == 0.0 || l2 == 0.0) return Unit(c - a);
  const Vec2 t = a * (-l2 / (l1 * l)) + b * ((l2 - l1) / (l1 * l2)) + c * (l1 / (l * l2));
  const Vec2 unit = Unit(t);
  return (unit.x != 0.0 || unit.y != 0.0) ? unit : Unit(c - a);
}

}  // namespace

void PolygonFitter::FitClosed(const std::vector<Vec2>& polygon,
                              const std::vector<unsigned char>& straight, const FitOptions& options,
                              Vec2& start, std::vector<FitPiece>& pieces) {
  pieces.clear();
  pieces_ = &pieces;
  vertices_ = &polygon;
  options_ = options;
  cos_corner_ = std::cos(options.corner_angle);
  start = polygon.empty() ? Vec2{0.0, 0.0} : polygon.front();
  const size_t n = polygon.size();
  if (n < 3) return;
  const std::vector<Vec2>& v = polygon;

  const auto next = [n](size_t i) { return i + 1 == n ? 0 : i + 1; };
  const auto prev = [n](size_t i) { return i == 0 ? n - 1 : i - 1; };
  lengths_.resize(n);
  for (size_t i = 0; i < n; ++i) lengths_[i] = Length(v[next(i)] - v[i]);
  kind_.assign(n, 0);
  size_t breaks = 0;
  for (size_t i = 0; i < n; ++i) {
    const size_t p = prev(i);
    const Vec2 in = v[i] - v[p], out = v[next(i)] - v[i];
    if (Dot(in, out) < cos_corner_ * lengths_[p] * lengths_[i]) kind_[i] |= kCorner;
    if (straight[i]) kind_[i] |= kLongEdge;
  }
  for (size_t i = 0; i < n; ++i) {
    if ((kind_[i] & (kCorner | kLongEdge)) || (kind_[prev(i)] & kLongEdge)) {
      kind_[i] |= kBreak;
      ++breaks;
    }
  }
  // A smooth loop is one run from its first point round to it again.
  if (breaks == 0) kind_[0] |= kBreak;

  size_t first = 0;
  while (!(kind_[first] & kBreak)) ++first;
  start = v[first];
  size_t i = first, done = 0;
  while (done < n) {
    if (kind_[i] & kLongEdge) {
      i = next(i);
      pieces.push_back({false, {}, {}, v[i]});
      ++done;
      continue;
    }
    size_t j = next(i), edges = 1;
    while (!(kind_[j] & kBreak)) {
      j = next(j);
      ++edges;
    }
    // Tangents along the run at its start, and back into it at its end; zero: estimate from
    // the run's own points (at a corner).
    Vec2 t1{0.0, 0.0}, t2{0.0, 0.0};
    if (!(kind_[i] & kCorner)) {
      t1 = (kind_[prev(i)] & kLongEdge) ? Unit(v[i] - v[prev(i)]) : CenterTangent(i);
    }
    if (!(kind_[j] & kCorner)) {
      t2 = (kind_[j] & kLongEdge) ? Unit(v[j] - v[next(j)]) : CenterTangent(j) * -1.0;
    }
    FitRun(i, edges, t1, t2);
    i = j;
    done += edges;
  }
  pieces_ = nullptr;
  vertices_ = nullptr;
}

Vec2 PolygonFitter::CenterTangent(size_t i) const {
  const std::vector<Vec2>& v = *vertices_;
  const size_t n = v.size();
  return MiddleTangent(v[i == 0 ? n - 1 : i - 1], v[i], v[i + 1 == n ? 0 : i + 1]);
}

void PolygonFitter::FitRun(size_t first, size_t edges, Vec2 t1, Vec2 t2) {
  const std::vector<Vec2>& v = *vertices_;
  const size_t n = v.size();
  run_.resize(edges + 1);
  along_.resize(edges + 1);
  u_.resize(edges + 1);
  double along = 0.0;
  for (size_t k = 0, at = first; k <= edges; ++k, at = (at + 1 == n ? 0 : at + 1)) {
    run_[k] = v[at];
    along_[k] = along;
    along += lengths_[at];
  }
  // The run's turn at each point (the sine of it); none at an end that is a corner, so that
  // an edge there bows by the half that its other end tells (a bow too large would let the
  // cubic stray). Then each edge's bow.
  const auto turn = [](Vec2 a, Vec2 b) { return Cross(a, b) / (Length(a) * Length(b)); };
  turn_.assign(edges + 1, 0.0);
  for (size_t k = 1; k < edges; ++k) turn_[k] = turn(run_[k] - run_[k - 1], run_[k + 1] - run_[k]);
  const size_t last = first + edges >= n ? first + edges - n : first + edges;
  if (!(kind_[first] & kCorner)) {
    turn_[0] = turn(run_[0] - v[first == 0 ? n - 1 : first - 1], run_[1] - run_[0]);
  }
  if (!(kind_[last] & kCorner)) {
    turn_[edges] =
        turn(run_[edges] - run_[edges - 1], v[last + 1 == n ? 0 : last + 1] - run_[edges]);
  }
  bow_.resize(edges);
  for (size_t k = 0; k < edges; ++k) {
    const Vec2 e = run_[k + 1] - run_[k];
    // A left turn (positive) bows the curve out to the edge's right.
    bow_[k] = Vec2{e.y, -e.x} * (0.0625 * (turn_[k] + turn_[k + 1]));
  }
  // At a corner, the run leaves along its first edge: the offset of the chord that the path's
  // flattening laid along the curve's tangent there.
  if (t1.x == 0.0 && t1.y == 0.0) t1 = Unit(run_[1] - run_[0]);
  if (t2.x == 0.0 && t2.y == 0.0) t2 = Unit(run_[edges - 1] - run_[edges]);
  FitGreedily(edges, t1, t2);
}

// From the run's start, each piece reaches as far along the run as a piece within the
// tolerance can, and the next starts where it ends, with its tangent. The reach is found by
// doubling it from one edge until a piece fails, then halving the span between the last reach
// that fits and the first that does not. The tries for a piece of k edges cost about k log k,
// so a run of n points takes about n log n, however short its pieces.
void PolygonFitter::FitGreedily(size_t last, Vec2 t1, Vec2 t2) {
  std::vector<FitPiece>& pieces = *pieces_;
  // The tangent back into the piece at its end j.
  const auto back_at = [&](size_t j) {
    return j == last ? t2 : MiddleTangent(run_[j - 1], run_[j], run_[j + 1]) * -1.0;
  };
  size_t lo = 0;
  Vec2 start_tangent = t1;
  FitPiece piece{};
  size_t span_guess = 2;  // pieces of a run tend to be alike: start from the last one's span
  while (lo < last) {
    // A single edge always fits, as a line. `bad` past `last`: no failed reach yet.
    size_t good = lo + 1, bad = last + 1;
    for (size_t span = span_guess; good < last; span *= 2) {
      const size_t j = std::min(lo + span, last);
      if (!TryPiece(lo, j, start_tangent, back_at(j), false, piece)) {
        bad = j;
        break;
      }
      good = j;
    }
    while (bad <= last && bad - good > 1) {
      const size_t j = good + (bad - good) / 2;
      if (TryPiece(lo, j, start_tangent, back_at(j), false, piece)) {
        good = j;
      } else {
        bad = j;
      }
    }
    const Vec2 end_tangent = back_at(good);
    TryPiece(lo, good, start_tangent, end_tangent, true, piece);
    pieces.push_back(piece);
    span_guess = std::max<size_t>(2, good - lo);
    start_tangent = end_tangent * -1.0;
    lo = good;
  }
}

// The largest squared distance of a point of the run from the cubic at its parameter.
double PolygonFitter::CubicError(size_t lo, size_t hi, const Vec2 (&b)[4]) const {
  double max_error = 0.0;
  for (size_t i = lo + 1; i < hi; ++i) {
    const Vec2 d = Bezier(b, u_[i]) - run_[i];
    max_error = std::max(max_error, Dot(d, d));
  }
  return max_error;
}

// An edge of a smooth run is a chord of the curve that the run samples; the curve passes
// beside the edge's middle, bowed out by about the edge's length times its turn over 8 (the
// turn told by the run's turns at the edge's ends). The cubic must pass within the tolerance
// of that point too, which catches a cubic that bulges or loops between the run's points.
bool PolygonFitter::MidpointsClose(size_t lo, size_t hi, const Vec2 (&b)[4]) const {
  for (size_t i = lo; i < hi; ++i) {
    const Vec2 arc_middle = Mid(run_[i], run_[i + 1]) + bow_[i];
    const double allowed = options_.tolerance + kBowSlack * Length(bow_[i]);
    // The cubic's point at the middle parameter, or failing that the one nearest the arc's
    // middle between the edge's ends.
    double u = 0.5 * (u_[i] + u_[i + 1]);
    Vec2 d = Bezier(b, u) - arc_middle;
    if (Dot(d, d) <= allowed * allowed) continue;
    const double u_lo = std::min(u_[i], u_[i + 1]), u_hi = std::max(u_[i], u_[i + 1]);
    for (int step = 0; step < kMiddleSteps; ++step) u = NewtonStep(b, u, arc_middle, u_lo, u_hi);
    d = Bezier(b, u) - arc_middle;
    if (Dot(d, d) > allowed * allowed) return false;
  }
  return true;
}

bool PolygonFitter::TryPiece(size_t lo, size_t hi, Vec2 t1, Vec2 t2, bool polish, FitPiece& piece) {
  const Vec2 p0 = run_[lo], p3 = run_[hi];
  if (hi - lo == 1) {
    piece = {false, {}, {}, p3};
    return true;
  }
  const double tolerance = options_.tolerance;
  const double arc = along_[hi] - along_[lo];
  const Vec2 chord_vector = p3 - p0;
  const double chord = Length(chord_vector);

  if (!(chord >= kShortChordShare * arc && arc > 0.0)) return false;
  {
    // Nearly straight: one line.
    double off = 0.0;
    for (size_t i = lo + 1; i < hi; ++i) {
      off = std::max(off, std::fabs(Cross(chord_vector, run_[i] - p0)));
    }
    if (off <= kLineShare * tolerance * chord) {
      piece = {false, {}, {}, p3};
      return true;
    }

    for (size_t i = lo; i <= hi; ++i) u_[i] = (along_[i] - along_[lo]) / arc;
    const double retry = kRetryFactor * kRetryFactor * tolerance * tolerance;
    const double good = kGoodShare * kGoodShare * tolerance * tolerance;
    double best_error = 0.0;
    Vec2 best[4] = {};
    bool have_best = false;
    for (int round = 0;; ++round) {
      // Least squares for the arm lengths along the two tangents (Schneider).
      double c00 = 0.0, c01 = 0.0, c11 = 0.0, x0 = 0.0, x1 = 0.0;
      for (size_t i = lo; i <= hi; ++i) {
        const double u = u_[i], s = 1.0 - u;
        const double b0 = s * s * s, b1 = 3.0 * s * s * u, b2 = 3.0 * s * u * u, b3 = u * u * u;
        const Vec2 a1 = t1 * b1, a2 = t2 * b2;
        c00 += Dot(a1, a1);
        c01 += Dot(a1, a2);
        c11 += Dot(a2, a2);
        const Vec2 rest = run_[i] - (p0 * (b0 + b1) + p3 * (b2 + b3));
        x0 += Dot(a1, rest);
        x1 += Dot(a2, rest);
      }
      const double det = c00 * c11 - c01 * c01;
      double arm1 = 0.0, arm2 = 0.0;
      if (std::fabs(det) > 1e-12 * c00 * c11) {
        arm1 = (x0 * c11 - x1 * c01) / det;
        arm2 = (c00 * x1 - c01 * x0) / det;
      }
      const double least = 1e-6 * chord;
      if (!(arm1 >= least && arm2 >= least)) arm1 = arm2 = chord / 3.0;
      arm1 = std::min(arm1, kMaxArm * chord);
      arm2 = std::min(arm2, kMaxArm * chord);
      const Vec2 b[4] = {p0, p0 + t1 * arm1, p3 + t2 * arm2, p3};

      const double error = CubicError(lo, hi, b);
      if (error <= tolerance * tolerance && (!have_best || error < best_error) &&
          MidpointsClose(lo, hi, b)) {
        std::copy(b, b + 4, best);
        best_error = error;
        have_best = true;
      }
      // Within the tolerance and close (or not polishing): done. Within it but loose, or a
      // little outside: Newton steps on the parameters for a closer fit with the same pieces.
      if (have_best && (!polish || best_error <= good)) break;
      if (error > retry || round == kNewtonRounds) break;
      // Newton steps: each parameter moves towards the cubic's nearest point to its point.
      for (size_t i = lo + 1; i < hi; ++i) u_[i] = NewtonStep(b, u_[i], run_[i], 0.0, 1.0);
    }
    if (have_best) piece = {true, best[1], best[2], p3};
    return have_best;
  }
}

}  // namespace host
}  // namespace kly
