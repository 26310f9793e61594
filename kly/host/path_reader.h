// Reads a host path (hbn_paths.h: 32-bit float points, each with a type) into closed subpaths
// of lines and cubics in doubles, refusing what a path service cannot take.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "kly/host/vec2.h"

namespace kly {
namespace host {

// One piece of a subpath, from the end of the previous piece (or the subpath's start).
struct PathSegment {
  bool cubic;
  Vec2 c1, c2;  // the controls of a cubic; unused for a line
  Vec2 end;
};

// segments[first .. first + count) of the path, from `start` back to `start`.
struct Subpath {
  Vec2 start;
  size_t first;
  size_t count;
};

struct ClosedPath {
  std::vector<PathSegment> segments;
  std::vector<Subpath> subpaths;
  // Every coordinate of the path, controls included, is within these.
  double min_x, min_y, max_x, max_y;
};

enum class PathReadStatus {
  kOk,
  kTooFewPoints,  // fewer than 3 points, or no arrays
  kNotFinite,     // a coordinate is NaN or infinite
  kMalformed,     // a sequence that is not move, lines and curve triples, close
  kNotClosed,     // a subpath ends without a close
};

// The sequence a path must have: each subpath is a move, then lines (one point of type 1) and
// cubics (three points of type 2: two controls, then the end), then a close (type 3). The
// close's point should be the subpath's first point; when it is not, a line to it is taken
// before the subpath closes. A subpath whose last point is not its first is closed by a line.
// Subpaths that end where they start with no piece (a move and a close) are dropped.
PathReadStatus ReadClosedPath(const float* points, const int32_t* types, int32_t count,
                              ClosedPath& out);

}  // namespace host
}  // namespace kly
