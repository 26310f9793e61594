// Tells which edges of an offset polygon are straight parts of the outline: those that lie on
// the offset of an edge that came from a line of the source path (not from a curve's chords).
#pragma once

#include <vector>

#include "kly/host/vec2.h"

namespace kly {
namespace host {

class StraightEdges {
 public:
  // The source polygon (grid coordinates) and its flags: lines[i] when the edge from vertex i
  // to vertex i + 1 (cyclic) is a line of the path. Offsetting by `delta` moves every edge by
  // |delta| to its outer side (the right of a counter-clockwise polygon) when delta > 0, to its
  // inner side when delta < 0.
  void Build(const std::vector<Vec2>& polygon, const std::vector<unsigned char>& lines,
             bool clockwise, double delta);

  // flags[i] = 1 when the edge of `offset` from vertex i to vertex i + 1 (cyclic), of length at
  // least `min_length`, lies within `slack` of the offset line of one of the source's lines, in
  // either direction; 0 otherwise.
  void Mark(const std::vector<Vec2>& offset, double min_length, double slack,
            std::vector<unsigned char>& flags) const;

 private:
  struct Line {
    double key;  // the undirected direction as a pseudo-angle in [0, 2)
    Vec2 unit;   // direction
    Vec2 on;     // a point of the offset line
  };
  std::vector<Line> lines_;
};

}  // namespace host
}  // namespace kly
