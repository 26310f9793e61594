// Undoing an insertion: each flip is turned back by the inverse rotation, then the split
// triangles are merged into the records they came from.
#include "kly/tess/flip_stack.h"

namespace {

struct FlipRecord {
  TessWord flippedTriangle;
  const FlipRecord* previous;
};

// The bottoms of a stack: the split record's `previous` names how the vertex entered.
const FlipRecord kSplitInTriangle{0, nullptr};
const FlipRecord kSplitOnEdge{0, nullptr};

// The subsegment (or the dummy) of `from`'s edge, written on `to`'s edge.
void MoveSubsegment(const TessMesh& m, TriHandle from, TriHandle to) {
  if (m.dummySubsegment == nullptr) return;
  const SubHandle sub = SubsegmentOnEdge(from);
  if (sub.ss == m.dummySubsegment) {
    DetachSubsegment(m, to);
  } else {
    TSBond(to, sub);
  }
}

// Gives `to` the neighbour and the subsegment of `from`'s edge.
void TakeOverEdge(const TessMesh& m, TriHandle from, TriHandle to) {
  const TriHandle neighbor = Sym(from);
  MoveSubsegment(m, from, to);
  Bond(to, neighbor);
}

// The inverse of Flip. `edge` is the flipped handle: origin far, destination bot, apex right;
// its Sym has apex left. Afterwards `edge` is right to left with apex bot again, and its Sym
// left to right with apex far, in the same records and orientations as before the flip.
void Unflip(TessMesh& m, TriHandle edge) {
  const TriHandle top = Sym(edge);
  TessVertex far = Org(edge);
  TessVertex bot = Dest(edge);
  TessVertex right = Apex(edge);
  TessVertex left = Apex(top);
  // Each outer edge slot goes back a quarter turn: botLeft takes topLeft's, and so on round.
  const TriHandle botLeft = Lnext(edge), botRight = Lprev(edge);
  const TriHandle topLeft = Lprev(top), topRight = Lnext(top);
  const TriHandle botLeftNeighbor = Sym(topLeft), botRightNeighbor = Sym(botLeft);
  const TriHandle topRightNeighbor = Sym(botRight), topLeftNeighbor = Sym(topRight);
  SubHandle subs[4] = {};
  const bool segments = m.checkSegments && m.dummySubsegment != nullptr;
  if (segments) {
    subs[0] = SubsegmentOnEdge(topLeft);
    subs[1] = SubsegmentOnEdge(botLeft);
    subs[2] = SubsegmentOnEdge(botRight);
    subs[3] = SubsegmentOnEdge(topRight);
  }
  Bond(botLeft, botLeftNeighbor);
  Bond(botRight, botRightNeighbor);
  Bond(topRight, topRightNeighbor);
  Bond(topLeft, topLeftNeighbor);
  if (segments) {
    const TriHandle slots[4] = {botLeft, botRight, topRight, topLeft};
    for (int i = 0; i < 4; i++) {
      if (subs[i].ss == m.dummySubsegment) {
        DetachSubsegment(m, slots[i]);
      } else {
        TSBond(slots[i], subs[i]);
      }
    }
  }
  SetOrg(edge, right);
  SetDest(edge, left);
  SetApex(edge, bot);
  SetOrg(top, left);
  SetDest(top, right);
  SetApex(top, far);
  RememberCorners(m, edge.tri);
  RememberCorners(m, top.tri);
}

// `split` has origin right, destination left and the vertex as apex; the two triangles beside
// its other edges came from the same triangle and go.
void MergeSplitInTriangle(TessMesh& m, TriHandle split) {
  const TriHandle leftPart = Sym(Lnext(split));   // vertex, left, bot
  const TriHandle rightPart = Sym(Lprev(split));  // right, vertex, bot
  SetApex(split, Apex(leftPart));
  TakeOverEdge(m, Lnext(leftPart), Lnext(split));
  TakeOverEdge(m, Lprev(rightPart), Lprev(split));
  KillTriangle(m, leftPart.tri);
  KillTriangle(m, rightPart.tri);
  RememberCorners(m, split.tri);
}

// `split` has the vertex as origin, destination left and apex bot. Beyond its edge, when the
// split edge was inside the mesh, lies the other half of the old top triangle.
void MergeSplitOnEdge(TessMesh& m, TriHandle split) {
  const TriHandle botPart = Sym(Lprev(split));  // vertex, bot, right
  const TriHandle top = Sym(split);             // left, vertex, top apex
  SetOrg(split, Apex(botPart));
  TakeOverEdge(m, Lnext(botPart), Lprev(split));
  KillTriangle(m, botPart.tri);
  if (top.tri == m.dummyTriangle) {
    m.hullSize--;
  } else {
    const TriHandle topPart = Sym(Lnext(top));  // top apex, vertex, right
    SetDest(top, Apex(topPart));
    TakeOverEdge(m, Lprev(topPart), Lnext(top));
    KillTriangle(m, topPart.tri);
    RememberCorners(m, top.tri);
  }
  RememberCorners(m, split.tri);
}

FlipRecord* PushRecord(TessMesh& m, TriHandle t, const FlipRecord* previous) {
  FlipRecord* record = static_cast<FlipRecord*>(PoolAlloc(m.flipStackers));
  record->flippedTriangle = EncodeTri(t);
  record->previous = previous;
  m.lastFlip = record;
  return record;
}

}  // namespace

void InitFlipStackPool(TessMesh& m) {
  PoolInit(m.flipStackers, sizeof(FlipRecord), kFlipStackersPerBlock, kFlipStackersPerBlock, 0);
}

void BeginFlipStack(TessMesh& m, TriHandle split, InsertionSplit kind) {
  PoolRestart(m.flipStackers);
  PushRecord(m, split, kind == InsertionSplit::kInTriangle ? &kSplitInTriangle : &kSplitOnEdge);
}

void PushFlip(TessMesh& m, TriHandle flipped) {
  PushRecord(m, flipped, static_cast<const FlipRecord*>(m.lastFlip));
}

void UndoInsertion(TessMesh& m) {
  const FlipRecord* record = static_cast<const FlipRecord*>(m.lastFlip);
  while (record != nullptr) {
    const TriHandle t = DecodeTri(record->flippedTriangle);
    if (record->previous == &kSplitInTriangle) {
      MergeSplitInTriangle(m, t);
      break;
    }
    if (record->previous == &kSplitOnEdge) {
      MergeSplitOnEdge(m, t);
      break;
    }
    Unflip(m, t);
    record = record->previous;
  }
  m.lastFlip = nullptr;
  PoolRestart(m.flipStackers);
}
