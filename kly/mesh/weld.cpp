// KLY_Mesh::Weld: one pass through an open-addressed table with linear probing. The hash and
// the table size decide which near-equal vertices ever meet, so both are fixed: changing
// either changes results.
//
// The hash is the truncated sum 103|x| + 107|y| + 97|z|, so a mesh whose coordinates are small
// hashes to few slots and its probe chains grow with the vertex count. A chain that grows long
// is therefore answered by a shortcut with the same result: the first match on the chain is
// the vertex within the box whose slot lies nearest after the first slot, before the first
// free one. A grid of the kept vertices finds the candidates within the box, and a
// union-find over the slots finds the first free slot.
#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "kly/mesh/mesh.h"

namespace {

// Slots per vertex and extra slots: the load factor stays below one third and an empty mesh
// still has a table.
constexpr uint32_t kSlotsPerVertex = 3;
constexpr uint32_t kExtraSlots = 333;
constexpr double kMinTolerance = 1e-6;
constexpr int32_t kFreeSlot = -1;
// Probes walked one by one before the shortcut takes over. Chains of a well spread hash are a
// slot or two long at this load factor; once chains have run long, fewer are tried first.
constexpr uint32_t kShortChain = 48;
constexpr uint32_t kShortChainWithShortcut = 1;

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

// The box test: strictly closer than `box` on each axis, not a distance.
bool WithinBox(const ORT_Vector3T<double>& q, const ORT_Vector3T<double>& p, double box) {
  return box > std::fabs(q.x - p.x) && box > std::fabs(q.y - p.y) && box > std::fabs(q.z - p.z);
}

struct Cell {
  int64_t x, y, z;
  bool operator==(const Cell& o) const { return x == o.x && y == o.y && z == o.z; }
};

uint64_t HashCell(const Cell& c) {
  uint64_t h = static_cast<uint64_t>(c.x) * 0x9E3779B97F4A7C15ull;
  h = (h ^ (h >> 29)) + static_cast<uint64_t>(c.y) * 0xBF58476D1CE4E5B9ull;
  h = (h ^ (h >> 31)) + static_cast<uint64_t>(c.z) * 0x94D049BB133111EBull;
  return h ^ (h >> 32);
}

// Kept vertices by cells eight times as wide as the box. The points within the box of p lie in
// p's cell, or in a neighbour when p is within an eighth of a cell of that side; the margins
// below keep the choice safe from rounding. Where the cell number loses its fraction (huge
// coordinates, and the clamp that keeps the numbers representable), both neighbours are
// visited. Cells live in a flat open-addressed map: on a mesh that needs this shortcut most
// looked-up cells are empty, and a miss then costs one memory access.
class CellGrid {
 public:
  explicit CellGrid(double box) : width_(8.0 * box), slots_(1024) {}

  void Insert(int32_t unique, const ORT_Vector3T<double>& p) {
    if (!IsFinite(p)) return;  // never within any box
    if (next_.size() <= static_cast<size_t>(unique)) next_.resize(unique + 1u, -1);
    if (2 * (used_ + 1) > slots_.size()) Grow();
    Slot& slot = Find(CellOf(p));
    if (slot.head == -1) ++used_;
    next_[unique] = slot.head;
    slot.head = unique;
  }

  template <class Visit>
  void ForEachNear(const ORT_Vector3T<double>& p, Visit visit) {
    if (!IsFinite(p)) return;
    const Cell c = CellOf(p);
    int64_t lo[3], hi[3];
    Neighbours(p.x, lo[0], hi[0]);
    Neighbours(p.y, lo[1], hi[1]);
    Neighbours(p.z, lo[2], hi[2]);
    for (int64_t dx = lo[0]; dx <= hi[0]; ++dx) {
      for (int64_t dy = lo[1]; dy <= hi[1]; ++dy) {
        for (int64_t dz = lo[2]; dz <= hi[2]; ++dz) {
          for (int32_t u = Find(Cell{c.x + dx, c.y + dy, c.z + dz}).head; u != -1; u = next_[u]) {
            visit(u);
          }
        }
      }
    }
  }

 private:
  struct Slot {
    Cell cell;
    int32_t head = -1;  // -1: a free slot
  };

  // Beyond 2^40 cells the fraction of a cell number is no longer trustworthy to the margin.
  static constexpr double kExact = 1099511627776.0;
  static constexpr double kLimit = 4611686018427387904.0;  // 2^62: neighbours stay representable
  static constexpr double kNear = 0.125 + 1.0 / 64;

  static bool IsFinite(const ORT_Vector3T<double>& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
  }
  int64_t CellOf(double v) const {
    const double c = std::floor(v / width_);
    return static_cast<int64_t>(c < -kLimit ? -kLimit : (c > kLimit ? kLimit : c));
  }
  Cell CellOf(const ORT_Vector3T<double>& p) const {
    return {CellOf(p.x), CellOf(p.y), CellOf(p.z)};
  }
  void Neighbours(double v, int64_t& lo, int64_t& hi) const {
    const double scaled = v / width_;
    if (!(std::fabs(scaled) < kExact)) {
      lo = -1;
      hi = 1;
      return;
    }
    const double f = scaled - std::floor(scaled);
    lo = f < kNear ? -1 : 0;
    hi = f > 1.0 - kNear ? 1 : 0;
  }

  // The slot holding `cell`, or the free slot where it belongs.
  Slot& Find(const Cell& cell) {
    const size_t mask = slots_.size() - 1;
    size_t i = static_cast<size_t>(HashCell(cell)) & mask;
    while (slots_[i].head != -1 && !(slots_[i].cell == cell)) i = (i + 1) & mask;
    Slot& slot = slots_[i];
    slot.cell = cell;  // harmless on a free slot: it stays free until a head is stored
    return slot;
  }

  void Grow() {
    std::vector<Slot> old(slots_.size() * 2);
    old.swap(slots_);
    for (const Slot& s : old) {
      if (s.head != -1) Find(s.cell).head = s.head;
    }
  }

  double width_;
  std::vector<Slot> slots_;
  size_t used_ = 0;
  std::vector<int32_t> next_;
};

// The table with its probe order, and the shortcut for long chains, built the first time a
// chain runs long and kept up to date from then on.
class WeldTable {
 public:
  WeldTable(std::vector<KLY_Vertex>& vertices, double box)
      : vertices_(vertices),
        box_(box),
        table_(kSlotsPerVertex * static_cast<uint32_t>(vertices.size()) + kExtraSlots, kFreeSlot) {}

  // The new index of vertex v; a new one compacts the vertex to slot unique_count_, which
  // never lies after v, so no vertex is overwritten before it is read. Vertices are placed in
  // index order, each after a Prefetch of it.
  uint32_t Place(uint32_t v) {
    const ORT_Vector3T<double> p = vertices_[v].pos;
    const uint32_t size = static_cast<uint32_t>(table_.size());
    const uint32_t first = ahead_[v % kRing];
    uint32_t slot = first;
    const uint32_t budget = grid_ ? kShortChainWithShortcut : kShortChain;
    for (uint32_t probes = 0; probes < budget; ++probes) {
      const int32_t e = table_[slot];
      if (e == kFreeSlot) return Occupy(slot, v);
      if (WithinBox(vertices_[e].pos, p, box_)) return static_cast<uint32_t>(e);
      if (++slot == size) slot = 0;
    }
    return PlaceOnLongChain(v, p, first);
  }

  uint32_t UniqueCount() const { return static_cast<uint32_t>(unique_count_); }

  // Hints only, which change no result: the table and the vertices are read at random, so the
  // first slot of vertex w is computed kAhead vertices early and its cache line requested,
  // and half-way there the kept vertex that slot names is requested too.
  void Prefetch(uint32_t w) {
    const uint32_t count = static_cast<uint32_t>(vertices_.size());
    if (w < count) {
      const uint32_t slot = FirstSlot(vertices_[w].pos, static_cast<uint32_t>(table_.size()));
      ahead_[w % kRing] = slot;
      __builtin_prefetch(&table_[slot]);
    }
    const uint32_t half = w - kAhead / 2;
    if (w >= kAhead / 2 && half < count) {
      const int32_t e = table_[ahead_[half % kRing]];
      if (e != kFreeSlot) __builtin_prefetch(&vertices_[e].pos);
    }
  }

  static constexpr uint32_t kAhead = 16;
  // Slots of the vertices from the one being placed to the farthest prefetched.
  static constexpr uint32_t kRing = 2 * kAhead;

 private:
  uint32_t Occupy(uint32_t slot, uint32_t v) {
    const int32_t u = unique_count_++;
    table_[slot] = u;
    vertices_[u] = vertices_[v];
    if (grid_) {
      slot_of_[u] = slot;
      free_after_[slot] = slot + 1 == table_.size() ? 0 : slot + 1;
      grid_->Insert(u, vertices_[u].pos);
    }
    return static_cast<uint32_t>(u);
  }

  uint32_t PlaceOnLongChain(uint32_t v, const ORT_Vector3T<double>& p, uint32_t first) {
    if (!grid_) StartShortcut();
    const uint32_t size = static_cast<uint32_t>(table_.size());
    const uint32_t free = FirstFreeFrom(first);
    const uint32_t span = free >= first ? free - first : free + size - first;
    uint32_t best_distance = span;
    int32_t best = kFreeSlot;
    grid_->ForEachNear(p, [&](int32_t u) {
      if (!WithinBox(vertices_[u].pos, p, box_)) return;
      const uint32_t s = slot_of_[u];
      const uint32_t distance = s >= first ? s - first : s + size - first;
      if (distance < best_distance) {
        best_distance = distance;
        best = u;
      }
    });
    if (best != kFreeSlot) return static_cast<uint32_t>(best);
    return Occupy(free, v);
  }

  void StartShortcut() {
    const uint32_t size = static_cast<uint32_t>(table_.size());
    grid_.reset(new CellGrid(box_));
    slot_of_.assign(vertices_.size(), 0);
    free_after_.resize(size);
    for (uint32_t s = 0; s < size; ++s) {
      const int32_t e = table_[s];
      if (e == kFreeSlot) {
        free_after_[s] = s;
      } else {
        free_after_[s] = s + 1 == size ? 0 : s + 1;
        slot_of_[e] = s;
      }
    }
    for (int32_t u = 0; u < unique_count_; ++u) grid_->Insert(u, vertices_[u].pos);
  }

  // Union-find with path halving: an occupied slot points past itself, a free one to itself.
  // The table always has a free slot, so the walk ends.
  uint32_t FirstFreeFrom(uint32_t s) {
    while (free_after_[s] != s) {
      free_after_[s] = free_after_[free_after_[s]];
      s = free_after_[s];
    }
    return s;
  }

  std::vector<KLY_Vertex>& vertices_;
  const double box_;
  std::vector<int32_t> table_;
  int32_t unique_count_ = 0;
  std::unique_ptr<CellGrid> grid_;
  std::vector<uint32_t> slot_of_;
  std::vector<uint32_t> free_after_;
  uint32_t ahead_[kRing];
};

}  // namespace

void KLY_Mesh::Weld(double tolerance) {
  const double box = tolerance > kMinTolerance ? tolerance : kMinTolerance;
  const uint32_t count = GetNumVertices();
  std::vector<uint32_t> remap(count);
  WeldTable table(vertices, box);
  for (uint32_t w = 0; w < WeldTable::kAhead; ++w) table.Prefetch(w);
  for (uint32_t v = 0; v < count; ++v) {
    table.Prefetch(v + WeldTable::kAhead);
    remap[v] = table.Place(v);
  }
  vertices.resize(table.UniqueCount());

  // Collapsed triangles keep their repeated indices; nothing is removed or recomputed.
  for (KLY_Triangle& t : triangles) {
    t.indices[0] = remap[t.indices[0]];
    t.indices[1] = remap[t.indices[1]];
    t.indices[2] = remap[t.indices[2]];
  }
  Update();
}
