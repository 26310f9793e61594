// The front of the sweep construction: a splay tree of front entries, one per ghost of the
// front, ordered left to right by the breakpoints of the beach line. Internal to kly/tess.
#pragma once

#include <cstdint>

#include "kly/tess/mesh_structure.h"

constexpr int32_t kNoEntry = -1;
constexpr int32_t kOutsideTree = -2;  // a parent link: the entry is not in the tree

// The breakpoint of one front ghost in the splay tree, and where its circle event stands in
// the heap.
struct FrontEntry {
  TessWord ghost;   // encoded handle of the ghost's front edge
  int32_t heapPos;  // kNoEntry when it has no circle event
  int32_t left, right, parent;
};

// Whether v, on the sweep line, lies right of the breakpoint where the arc of `left` gives
// way to the arc of `right`; a tie goes left. Exact.
bool RightOfBreakpoint(const double* left, const double* right, const double* v);

// Links live in the entries; the tree holds only the root.
struct FrontTree {
  FrontEntry* entries;
  int32_t root = kNoEntry;

  explicit FrontTree(FrontEntry* entryArray) : entries(entryArray) {}

  void Splay(int32_t x);
  int32_t Leftmost(int32_t node) const;
  // Puts `entry` just after `predecessor`, or first when that is kNoEntry.
  void InsertAfter(int32_t predecessor, int32_t entry);
  void Delete(int32_t entry);
  // The last breakpoint left of v, or kNoEntry when v lies left of them all.
  int32_t Search(const double* v);

 private:
  void Rotate(int32_t x);
  void ReplaceChild(int32_t node, int32_t child);
};
