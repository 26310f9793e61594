// KLY_Mesh::Weld: one pass through an open-addressed table. The hash and the table size decide
// which near-equal vertices ever meet, so both are fixed: changing either changes results.
#include <cmath>
#include <cstdint>
#include <vector>

#include "kly/mesh/mesh.h"

namespace {

// Slots per vertex and extra slots: the load factor stays below one third and an empty mesh
// still has a table.
constexpr uint32_t kSlotsPerVertex = 3;
constexpr uint32_t kExtraSlots = 333;
constexpr double kMinTolerance = 1e-6;
constexpr int32_t kFreeSlot = -1;

// Truncation to a 64-bit integer as the processor does it: a sum too large for 64 bits (or a
// NaN) becomes the integer indefinite value, whose low 32 bits are 0.
uint32_t LowBitsOfTruncation(double h) {
  if (!(h < 9223372036854775808.0)) return 0;
  return static_cast<uint32_t>(static_cast<uint64_t>(static_cast<int64_t>(h)));
}

uint32_t FirstSlot(const ORT_Vector3T<double>& p, uint32_t table_size) {
  // Absolute values make mirror images hash alike; that only lengthens chains.
  const double h = std::fabs(p.x) * 103.0 + std::fabs(p.y) * 107.0 + std::fabs(p.z) * 97.0;
  return LowBitsOfTruncation(h) % table_size;
}

}  // namespace

void KLY_Mesh::Weld(double tolerance) {
  const double box = tolerance > kMinTolerance ? tolerance : kMinTolerance;
  const uint32_t count = GetNumVertices();
  const uint32_t table_size = kSlotsPerVertex * count + kExtraSlots;
  std::vector<int32_t> table(table_size, kFreeSlot);
  std::vector<uint32_t> remap(count);

  // The kept vertices are compacted in place: a vertex's new index never exceeds its old one,
  // so slot unique_count of `vertices` has always been read before it is overwritten.
  int32_t unique_count = 0;
  for (uint32_t v = 0; v < count; ++v) {
    const ORT_Vector3T<double> p = vertices[v].pos;
    uint32_t slot = FirstSlot(p, table_size);
    for (;;) {
      const int32_t e = table[slot];
      if (e == kFreeSlot) {
        table[slot] = unique_count;
        vertices[unique_count] = vertices[v];
        remap[v] = static_cast<uint32_t>(unique_count++);
        break;
      }
      // A box per axis, not a distance; the first vertex of a cluster wins outright.
      const ORT_Vector3T<double>& q = vertices[e].pos;
      if (box > std::fabs(q.x - p.x) && box > std::fabs(q.y - p.y) && box > std::fabs(q.z - p.z)) {
        remap[v] = static_cast<uint32_t>(e);
        break;
      }
      if (++slot == table_size) slot = 0;
    }
  }
  vertices.resize(static_cast<size_t>(unique_count));

  // Collapsed triangles keep their repeated indices; nothing is removed or recomputed.
  for (KLY_Triangle& t : triangles) {
    t.indices[0] = remap[t.indices[0]];
    t.indices[1] = remap[t.indices[1]];
    t.indices[2] = remap[t.indices[2]];
  }
  Update();
}
