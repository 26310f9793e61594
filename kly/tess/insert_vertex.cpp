// Edge flips and the insertion of one vertex with Delaunay restoration round it (Lawson).
#include "kly/tess/constraints.h"
#include "kly/tess/construction.h"
#include "kly/tess/failure.h"
#include "kly/tess/flip_stack.h"
#include "kly/tess/refine.h"

namespace {

// The two triangles of a flipped edge share their attributes.
void AverageAttributes(TessMesh& m, TriHandle a, TriHandle b) {
  for (int i = 0; i < m.triangleAttributeCount; i++) {
    const double value = 0.5 * (ElemAttribute(m, a, i) + ElemAttribute(m, b, i));
    ElemAttribute(m, a, i) = value;
    ElemAttribute(m, b, i) = value;
  }
}

void CopyAttributes(TessMesh& m, TriHandle from, TriHandle to) {
  for (int i = 0; i < m.triangleAttributeCount; i++)
    ElemAttribute(m, to, i) = ElemAttribute(m, from, i);
}

inline bool IsBoundingVertex(const TessMesh& m, TessVertex v) {
  return v == m.boundingVertex1 || v == m.boundingVertex2 || v == m.boundingVertex3;
}

}  // namespace

InsertResult InsertVertex(TessMesh& m, const TessSwitches& sw, TessVertex vertex,
                          TriHandle& searchTriangle, const SubHandle* splitSubsegment,
                          bool segmentFlaws, bool triangleFlaws) {
  TriHandle horiz;
  LocateResult where;
  if (splitSubsegment != nullptr) {
    horiz = searchTriangle;
    where = kOnEdge;
  } else if (searchTriangle.tri == m.dummyTriangle) {
    horiz = DummyHullEdge(m);
    where = Locate(m, sw, vertex, horiz);
  } else {
    horiz = searchTriangle;
    where = PreciseLocate(m, sw, vertex, horiz, true);
  }

  if (where == kOnVertex) {
    searchTriangle = horiz;
    m.recentTriangle = horiz;
    return kInsertDuplicate;
  }

  if (where == kOnEdge || where == kOutside) {
    if (m.checkSegments && splitSubsegment == nullptr) {
      const SubHandle broken = SubsegmentOnEdge(horiz);
      if (broken.ss != m.dummySubsegment) {
        if (segmentFlaws) {
          bool enqueue = sw.noBoundarySplits != 2;
          if (enqueue && sw.noBoundarySplits == 1) enqueue = Sym(horiz).tri != m.dummyTriangle;
          if (enqueue) {
            BadSubsegment* bad = static_cast<BadSubsegment*>(PoolAlloc(m.badSubsegments));
            bad->encodedSubsegment = EncodeSub(broken);
            bad->subsegOrg = SOrg(broken);
            bad->subsegDest = SDest(broken);
          }
        }
        searchTriangle = horiz;
        m.recentTriangle = horiz;
        return kInsertForbidden;
      }
    }
    // On an edge: one triangle becomes two, or, inside the mesh, two become four.
    const TriHandle botRight = Lprev(horiz);
    const TriHandle botRightNeighbor = Sym(botRight);
    TriHandle topRight = Sym(horiz);
    const bool mirror = topRight.tri != m.dummyTriangle;
    TriHandle topRightNeighbor{}, newTopRight{};
    if (mirror) {
      topRight = Lnext(topRight);
      topRightNeighbor = Sym(topRight);
      newTopRight = MakeTriangle(m, sw);
    } else {
      m.hullSize++;
    }
    TriHandle newBotRight = MakeTriangle(m, sw);
    TessVertex right = Org(horiz);
    TessVertex bot = Apex(horiz);
    SetOrg(newBotRight, bot);
    SetDest(newBotRight, right);
    SetApex(newBotRight, vertex);
    SetOrg(horiz, vertex);
    CopyAttributes(m, botRight, newBotRight);
    if (mirror) {
      TessVertex top = Dest(topRight);
      SetOrg(newTopRight, right);
      SetDest(newTopRight, top);
      SetApex(newTopRight, vertex);
      SetOrg(topRight, vertex);
      CopyAttributes(m, topRight, newTopRight);
    }
    if (m.checkSegments) {
      const SubHandle botRightSub = SubsegmentOnEdge(botRight);
      if (botRightSub.ss != m.dummySubsegment) {
        DetachSubsegment(m, botRight);
        TSBond(newBotRight, botRightSub);
      }
      if (mirror) {
        const SubHandle topRightSub = SubsegmentOnEdge(topRight);
        if (topRightSub.ss != m.dummySubsegment) {
          DetachSubsegment(m, topRight);
          TSBond(newTopRight, topRightSub);
        }
      }
    }
    Bond(newBotRight, botRightNeighbor);
    newBotRight = Lprev(newBotRight);
    Bond(newBotRight, botRight);
    newBotRight = Lprev(newBotRight);
    if (mirror) {
      Bond(newTopRight, topRightNeighbor);
      newTopRight = Lnext(newTopRight);
      Bond(newTopRight, topRight);
      newTopRight = Lnext(newTopRight);
      Bond(newTopRight, newBotRight);
      RememberCorners(m, newTopRight.tri);
      RememberCorners(m, topRight.tri);
    }
    RememberCorners(m, newBotRight.tri);
    RememberCorners(m, horiz.tri);
    if (splitSubsegment != nullptr) {
      // The subsegment splits too: the old one keeps the part towards its origin, a new one
      // takes the rest; both keep the segment's ends and mark.
      SubHandle split = *splitSubsegment;
      SetSDest(split, vertex);
      TessVertex segmentOrg = SegOrg(split);
      TessVertex segmentDest = SegDest(split);
      split = SSym(split);
      const SubHandle rightSub = SPivot(split);
      InsertSubsegment(m, sw, newBotRight, SubsegMark(split));
      SubHandle newSub = SubsegmentOnEdge(newBotRight);
      SetSegOrg(newSub, segmentOrg);
      SetSegDest(newSub, segmentDest);
      SBond(split, newSub);
      newSub = SSym(newSub);
      SBond(newSub, rightSub);
      split = SSym(split);
      if (VertexMark(m, vertex) == 0) VertexMark(m, vertex) = SubsegMark(split);
    }
    if (m.checkQuality) BeginFlipStack(m, horiz, InsertionSplit::kOnEdge);
    horiz = Lnext(horiz);
  } else {
    // In a triangle: split in three.
    const TriHandle botLeft = Lnext(horiz);
    const TriHandle botRight = Lprev(horiz);
    const TriHandle botLeftNeighbor = Sym(botLeft);
    const TriHandle botRightNeighbor = Sym(botRight);
    TriHandle newBotLeft = MakeTriangle(m, sw);
    TriHandle newBotRight = MakeTriangle(m, sw);
    TessVertex right = Org(horiz);
    TessVertex left = Dest(horiz);
    TessVertex bot = Apex(horiz);
    SetOrg(newBotLeft, left);
    SetDest(newBotLeft, bot);
    SetApex(newBotLeft, vertex);
    SetOrg(newBotRight, bot);
    SetDest(newBotRight, right);
    SetApex(newBotRight, vertex);
    SetApex(horiz, vertex);
    CopyAttributes(m, horiz, newBotLeft);
    CopyAttributes(m, horiz, newBotRight);
    if (m.checkSegments) {
      const SubHandle botLeftSub = SubsegmentOnEdge(botLeft);
      if (botLeftSub.ss != m.dummySubsegment) {
        DetachSubsegment(m, botLeft);
        TSBond(newBotLeft, botLeftSub);
      }
      const SubHandle botRightSub = SubsegmentOnEdge(botRight);
      if (botRightSub.ss != m.dummySubsegment) {
        DetachSubsegment(m, botRight);
        TSBond(newBotRight, botRightSub);
      }
    }
    Bond(newBotLeft, botLeftNeighbor);
    Bond(newBotRight, botRightNeighbor);
    newBotLeft = Lnext(newBotLeft);
    newBotRight = Lprev(newBotRight);
    Bond(newBotLeft, newBotRight);
    newBotLeft = Lnext(newBotLeft);
    Bond(botLeft, newBotLeft);
    newBotRight = Lprev(newBotRight);
    Bond(botRight, newBotRight);
    RememberCorners(m, horiz.tri);
    RememberCorners(m, newBotLeft.tri);
    RememberCorners(m, newBotRight.tri);
    if (m.checkQuality) BeginFlipStack(m, horiz, InsertionSplit::kInTriangle);
  }

  // Walk round the new vertex; flip each edge opposite it that fails the circle test.
  InsertResult result = kInsertSuccess;
  TessVertex first = Org(horiz);
  TessVertex right = first;
  TessVertex left = Dest(horiz);
  // A valid star is flipped and walked in fewer steps than twice the triangles: every flip
  // adds an edge at the vertex. Split vertices rounded off their subsegments can leave an
  // inverted triangle in the star, round which the walk would circle for ever.
  const int64_t limit = 2 * static_cast<int64_t>(m.triangles.items) + 8;
  for (int64_t steps = 0;; steps++) {
    if (steps > limit) TessFail("Internal error.");
    bool doFlip = true;
    if (m.checkSegments) {
      const SubHandle check = SubsegmentOnEdge(horiz);
      if (check.ss != m.dummySubsegment) {
        doFlip = false;
        if (segmentFlaws && CheckSegmentForEncroachment(m, sw, check) != 0) {
          result = kInsertEncroaches;
        }
      }
    }
    if (doFlip) {
      const TriHandle top = Sym(horiz);
      if (top.tri == m.dummyTriangle) {
        doFlip = false;
      } else {
        TessVertex far = Apex(top);
        // The corners of the incremental path's bounding triangle stand for points at
        // infinity.
        if (IsBoundingVertex(m, left)) {
          doFlip = CounterClockwise(m.counters, sw, vertex, right, far) > 0.0;
        } else if (IsBoundingVertex(m, right)) {
          doFlip = CounterClockwise(m.counters, sw, far, left, vertex) > 0.0;
        } else if (IsBoundingVertex(m, far)) {
          doFlip = false;
        } else {
          doFlip = NonRegular(m.counters, sw, left, vertex, right, far) > 0.0;
        }
        if (doFlip) {
          Flip(m, sw, horiz);
          AverageAttributes(m, horiz, top);
          if (m.checkQuality) PushFlip(m, horiz);
          horiz = Lprev(horiz);
          left = far;
        }
      }
    }
    if (!doFlip) {
      // This triangle of the star is final: later flips turn only edges of the others.
      if (triangleFlaws) TestTriangle(m, sw, horiz);
      horiz = Lnext(horiz);
      const TriHandle test = Sym(horiz);
      if (left == first || test.tri == m.dummyTriangle) {
        searchTriangle = Lnext(horiz);
        m.recentTriangle = searchTriangle;
        return result;
      }
      horiz = Lnext(test);
      right = left;
      left = Dest(horiz);
    }
  }
}
