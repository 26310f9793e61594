// Flattens a closed subpath of lines and cubics (path_reader.h) into a polygon, in a scaled and
// shifted frame: lines stay single edges, cubics become chords that stay close to the curve
// and turn little from one to the next.
#pragma once

#include <vector>

#include "kly/host/path_reader.h"
#include "kly/host/vec2.h"

namespace kly {
namespace host {

struct FlattenOptions {
  // The frame: a point p of the path becomes (p - origin) * scale.
  Vec2 origin{0.0, 0.0};
  double scale = 1.0;
  // All lengths below are in the scaled frame.
  // The most a chord may stray from its arc of the curve.
  double flatness = 1.0;
  // The most the curve's tangent may turn along one chord, in radians (below pi / 2).
  double max_turn = 0.2;
  // A cubic whose controls lie within this of its chord, between its ends, is a line.
  double line_epsilon = 0.0;
  // Points that lie within this of the edge that would join their neighbours are dropped (the
  // floats' rounding makes dense outlines zigzag, which an offset turns into many small loops).
  double noise = 0.0;
};

// Writes to `polygon` the closed polygon of `subpath`: its start, then the ends of the chords;
// the first point is not repeated at the end and no two consecutive points are equal.
// lines[i] tells whether the edge from polygon[i] to the next point (cyclic) is a line of the
// path (a line, or a cubic that is one) rather than a chord of a curve. Every dropped point
// lies within `noise` of the edge that replaces it.
void FlattenSubpath(const ClosedPath& path, const Subpath& subpath, const FlattenOptions& options,
                    std::vector<Vec2>& polygon, std::vector<unsigned char>& lines);

}  // namespace host
}  // namespace kly
