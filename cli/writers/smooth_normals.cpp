#include "cli/writers/corner_normals.h"

#include <cmath>
#include <cstring>

#include "cli/writers/first_index_table.h"
#include "cli/writers/normal_sum.h"

namespace kly {
namespace cli {

namespace {

struct Float3Hash {
  uint64_t operator()(const Float3& f) const {
    uint32_t words[3];
    std::memcpy(words, f.data(), sizeof words);
    return MixWords(words, 3);
  }
};

struct EdgeHash {
  uint64_t operator()(uint64_t edge) const {
    const uint32_t words[2] = {static_cast<uint32_t>(edge), static_cast<uint32_t>(edge >> 32)};
    return MixWords(words, 2);
  }
};

// Disjoint sets of corners, with path halving.
class CornerSets {
 public:
  explicit CornerSets(size_t count) : parent_(count) {
    for (size_t c = 0; c < count; ++c) parent_[c] = static_cast<uint32_t>(c);
  }
  uint32_t Root(uint32_t c) {
    while (parent_[c] != c) c = parent_[c] = parent_[parent_[c]];
    return c;
  }
  void Join(uint32_t a, uint32_t b) {
    a = Root(a);
    b = Root(b);
    if (a < b) parent_[b] = a;
    if (b < a) parent_[a] = b;
  }

 private:
  std::vector<uint32_t> parent_;
};

// One number a distinct file position, for each library vertex a kept triangle uses.
std::vector<uint32_t> WeldedPositions(const FileTriangles& triangles) {
  std::vector<uint32_t> welded(triangles.positions.size(), 0);
  FirstIndexTable<Float3, Float3Hash> table(triangles.corners.size() / 2);
  for (const std::array<uint32_t, 3>& corners : triangles.corners) {
    for (uint32_t v : corners) welded[v] = table.Find(triangles.positions[v]);
  }
  return welded;
}

// Joins the corners at both ends of every edge whose two faces bend by no more than the crease.
void JoinAcrossSmoothEdges(const FileTriangles& triangles, const std::vector<uint32_t>& welded,
                           double crease_degrees, CornerSets& sets) {
  constexpr double kPi = 3.14159265358979323846;
  // Less a little for the rounding of unit normals to floats, so that a crease of 0 still
  // joins faces in one plane.
  const double min_dot = std::cos(crease_degrees * kPi / 180.0) - 1e-6;
  const uint32_t triangle_count = static_cast<uint32_t>(triangles.corners.size());
  FirstIndexTable<uint64_t, EdgeHash> edges(triangle_count * size_t{3} / 2);
  // The first corner (3 * triangle + k) seen on each edge, which starts it at corner k.
  std::vector<uint32_t> first_corner;
  first_corner.reserve(triangle_count * size_t{3} / 2);
  auto position = [&](uint32_t corner) {
    return welded[triangles.corners[corner / 3][corner % 3]];
  };
  auto corner_at = [&](uint32_t triangle, uint32_t at) {
    uint32_t k = 0;
    while (position(3 * triangle + k) != at) ++k;
    return 3 * triangle + k;
  };
  for (uint32_t t = 0; t < triangle_count; ++t) {
    for (uint32_t k = 0; k < 3; ++k) {
      const uint32_t a = position(3 * t + k);
      const uint32_t b = position(3 * t + (k + 1) % 3);
      const uint64_t key = a < b ? (uint64_t{a} << 32 | b) : (uint64_t{b} << 32 | a);
      const uint32_t edge = edges.Find(key);
      if (edge == first_corner.size()) {
        first_corner.push_back(3 * t + k);
        continue;
      }
      // Where more than two triangles share an edge, each later one is judged against the first.
      const uint32_t other = first_corner[edge] / 3;
      const Float3& n = triangles.face_normals[t];
      const Float3& m = triangles.face_normals[other];
      if (double{n[0]} * m[0] + double{n[1]} * m[1] + double{n[2]} * m[2] < min_dot) continue;
      sets.Join(3 * t + k, corner_at(other, a));
      sets.Join(3 * t + (k + 1) % 3, corner_at(other, b));
    }
  }
}

}  // namespace

CornerNormals SmoothNormals(const FileTriangles& triangles, double crease_degrees) {
  const uint32_t corner_count = static_cast<uint32_t>(3 * triangles.corners.size());
  CornerSets sets(corner_count);
  JoinAcrossSmoothEdges(triangles, WeldedPositions(triangles), crease_degrees, sets);
  // Roots come first in their sets (Join keeps the smaller corner), so one pass in corner order
  // numbers every set before any of its other corners is met.
  CornerNormals out;
  out.of_corner.resize(corner_count);
  std::vector<NormalSum> sums;
  for (uint32_t c = 0; c < corner_count; ++c) {
    const uint32_t root = sets.Root(c);
    if (root == c) {
      out.of_corner[c] = static_cast<uint32_t>(sums.size());
      sums.emplace_back();
    } else {
      out.of_corner[c] = out.of_corner[root];
    }
    sums[out.of_corner[c]].Add(triangles, c / 3);
  }
  out.normals.reserve(sums.size());
  for (const NormalSum& sum : sums) out.normals.push_back(sum.Normal(triangles));
  return out;
}

}  // namespace cli
}  // namespace kly
