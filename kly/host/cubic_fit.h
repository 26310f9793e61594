// Fits lines and cubics to a closed polygon within a tolerance: the polygon is cut at its
// corners and at both ends of the edges that the caller marks as straight; such an edge, or a
// run that is nearly straight, becomes one line, and each smooth run between becomes a few
// cubics that join with a common tangent (least squares on chord-length parameters, Newton
// steps on the parameters, end tangents from the neighbours), each reaching as far along the
// run as the tolerance allows.
#pragma once

#include <vector>

#include "kly/host/vec2.h"

namespace kly {
namespace host {

// A line to `end`, or a cubic with controls c1 and c2 to `end`, from the previous piece's end.
struct FitPiece {
  bool cubic;
  Vec2 c1, c2;
  Vec2 end;
};

struct FitOptions {
  // The most a point of the polygon may lie from its piece.
  double tolerance = 1.0;
  // A vertex where the polygon turns by more than this (radians) is a corner.
  double corner_angle = 0.5;
};

// Keeps its working buffers from one fit to the next.
class PolygonFitter {
 public:
  // Fits the closed `polygon` (its first point not repeated at the end, no two consecutive
  // points equal). straight[i] marks the edge from vertex i to the next (cyclic) as a line of
  // its own. Writes where the pieces start and the pieces, the last of which ends exactly at
  // `start`. A polygon of fewer than three points gives no piece. Time: about n log n for n
  // points.
  void FitClosed(const std::vector<Vec2>& polygon, const std::vector<unsigned char>& straight,
                 const FitOptions& options, Vec2& start, std::vector<FitPiece>& pieces);

 private:
  // Fits the run of `edges` edges from vertex `first`; t1 is the tangent along the run at its
  // start, t2 the tangent back into it at its end; a zero tangent is estimated from the run.
  void FitRun(size_t first, size_t edges, Vec2 t1, Vec2 t2);
  void FitGreedily(size_t last, Vec2 t1, Vec2 t2);
  // A line or a cubic from run_[lo] to run_[hi] with the given end tangents, within the
  // tolerance of run_[lo .. hi]; false when there is none. `polish`: improve a fit that is
  // within the tolerance but loose.
  bool TryPiece(size_t lo, size_t hi, Vec2 t1, Vec2 t2, bool polish, FitPiece& piece);
  double CubicError(size_t lo, size_t hi, const Vec2 (&b)[4]) const;
  bool MidpointsClose(size_t lo, size_t hi, const Vec2 (&b)[4]) const;
  Vec2 CenterTangent(size_t i) const;

  FitOptions options_;
  double cos_corner_ = 0.0;
  std::vector<double> lengths_;                  // of edge i, from vertex i to i + 1 (cyclic)
  std::vector<unsigned char> kind_;              // per vertex: corner, start of a long edge, break
  std::vector<Vec2> run_;                        // the points of the run being fitted
  std::vector<double> along_;                    // their arc length from the run's start
  std::vector<double> u_;                        // their parameters on the cubic being fitted
  std::vector<double> turn_;                     // the run's turn at each point
  std::vector<Vec2> bow_;                        // from the middle of each edge to the curve's
  const std::vector<Vec2>* vertices_ = nullptr;  // the polygon being fitted
  std::vector<FitPiece>* pieces_ = nullptr;
};

}  // namespace host
}  // namespace kly
