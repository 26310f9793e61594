// Forcing the input's segments into the mesh: by flips (constrained), or by splitting them at
// midpoints (switch s, conforming).
#include <algorithm>
#include <climits>
#include <cmath>
#include <exception>

#include "kly/host/nut.h"
#include "kly/tess/constraints.h"
#include "kly/tess/construction.h"
#include "kly/tess/failure.h"
#include "kly/tess/triangulate.h"

namespace {

enum Direction { kWithin = 0, kLeftCollinear = 1, kRightCollinear = 2 };

// How far, relative to its length, a crossing vertex may bend a segment off its line. Each
// crossing is measured from the line through the previous one, so the bends add up: a segment
// crossed a thousand times still stays within 1e-9 of its length of its line.
constexpr double kCrossingSlack = 1e-12;
// The sine of the angle below which a piece of a segment counts as along another.
constexpr double kSkewPieces = 1e-6;

struct SegmentInserter {
  TessMesh& m;
  const TessSwitches& sw;
  // Steps left for the segment being inserted. A correct insertion visits each vertex and
  // flips each crossing edge a bounded number of times; rounding in crossing vertices that
  // lie off their segments (a segment given twice after it was crossed, three segments
  // through one point) can send the walk in circles, which this turns into a failure.
  int64_t budget = 0;
  // Whether a dig stopped at a crossing or at a vertex on its way: it then leaves edges next
  // to the stop that no fix-up has tested (see RestoreDelaunay).
  bool stoppedDigs = false;
  // Whether any segment was dug in by flips, which pass through inverted triangles.
  bool dug = false;
  // Whether each crossing is placed before the dig that reaches it (see PrepareDig).
  bool crossingsFirst = false;
  // Whether the piece being inserted puts back a crossed segment (see InsertCrossedPiece).
  bool puttingBackCrossed = false;
  // The ends of the segment being inserted.
  TessVertex segmentStart = nullptr;
  TessVertex segmentEnd = nullptr;

  // A walk that goes on from a crossing vertex, which lies off the segment's line by a
  // rounding, may find a vertex exactly in line that is not on the segment. Bending the
  // segment through an input vertex off its line, or through an added one farther off than a
  // crossing may bend it, would give a wrong result rather than a rounded one.
  bool MayBendThrough(TessVertex w) {
    if (puttingBackCrossed) return false;
    const double lineX = segmentEnd[0] - segmentStart[0];
    const double lineY = segmentEnd[1] - segmentStart[1];
    // Only a vertex between the ends, give or take a rounding: one on the line farther beyond
    // an end would make the segment run out past that end and fold back.
    const double squaredLength = lineX * lineX + lineY * lineY;
    const double along = (w[0] - segmentStart[0]) * lineX + (w[1] - segmentStart[1]) * lineY;
    const double slack = kCrossingSlack * squaredLength;
    if (!(along > -slack && along < squaredLength + slack)) return false;
    if (Ccw(segmentStart, segmentEnd, w) == 0.0) return true;
    return VertexType(m, w) == kSegmentVertex && OffSegmentLine(w) <= slack;
  }

  // |cross(end - start, p - start)| for the segment being inserted: p's distance from its line
  // times its length.
  double OffSegmentLine(const double* p) const {
    const double lineX = segmentEnd[0] - segmentStart[0];
    const double lineY = segmentEnd[1] - segmentStart[1];
    return std::fabs(lineX * (p[1] - segmentStart[1]) - lineY * (p[0] - segmentStart[0]));
  }

  void RequireOnSegment(TessVertex w) {
    if (!MayBendThrough(w)) TessFail("Internal error.");
  }

  // Calls `visit` with each triangle round the origin of `around`, as a handle from it.
  template <class Visit>
  void ForEachAround(TriHandle around, Visit visit) {
    TriHandle t = around;
    do {
      visit(t);
      t = Onext(t);
    } while (t.tri != m.dummyTriangle && !SameHandle(t, around));
    if (t.tri != m.dummyTriangle) return;
    for (t = Oprev(around); t.tri != m.dummyTriangle; t = Oprev(t)) visit(t);
  }

  // Whether p lies within the rounding a crossing vertex may have off the line of the segment
  // being inserted, `unit` being a unit in the last place of its coordinates: half a unit for
  // rounding the exact crossing and a unit for a move that keeps its triangles turned, in each
  // coordinate.
  bool WithinRoundingOfLine(const double* p, double unit) {
    const double lineX = segmentEnd[0] - segmentStart[0];
    const double lineY = segmentEnd[1] - segmentStart[1];
    return OffSegmentLine(p) <= 1.5 * (std::fabs(lineX) + std::fabs(lineY)) * unit;
  }

  // Moves the crossing vertex at the origin of `around` so that the line from it to `other`
  // no longer passes exactly through the input vertex w. Rounded grids put crossings and
  // vertices that are on one line in exact arithmetic within a rounding of it, each a
  // different way, and the walk along a piece of a segment that starts or ends at a crossing
  // can then meet w exactly in line although w is off the segment's true line. The segment
  // may not bend through w, and no straight piece passes it, so the crossing moves along the
  // segment it crosses, which keeps it on that one: by the least that takes w out of line and
  // keeps every triangle round it positively turned, and by no more than half the slack a
  // crossing has on the segment being inserted; `byUnit`, where that slack is less than a unit
  // in the last place, by one unit instead, within the rounding of a crossing off the line of
  // the segment being inserted. The unit is a step of the output grid, which is coarser than
  // the doubles worked in for tiny inputs (see OnOutputGrid). False when no such place exists.
  bool MoveCrossingOffLine(TriHandle around, const double* other, TessVertex w, bool byUnit) {
    TessVertex crossing = Org(around);
    if (puttingBackCrossed || VertexType(m, crossing) != kSegmentVertex) return false;
    const double lineX = segmentEnd[0] - segmentStart[0];
    const double lineY = segmentEnd[1] - segmentStart[1];
    const double length = std::hypot(lineX, lineY);
    // The directions of the crossed segment's pieces: the subsegments at the crossing that are
    // not along the segment being inserted (moving along those would barely turn the line).
    double directions[4][2];
    int count = 0;
    ForEachAround(around, [&](TriHandle t) {
      if (!HasSubsegment(m, t) || count == 4) return;
      const double x = Dest(t)[0] - crossing[0];
      const double y = Dest(t)[1] - crossing[1];
      const double piece = std::hypot(x, y);
      if (std::fabs(x * lineY - y * lineX) <= kSkewPieces * piece * length) return;
      directions[count][0] = x / piece;
      directions[count][1] = y / piece;
      count++;
    });
    const double slack = 0.5 * kCrossingSlack * length;
    const double magnitude = std::max(std::fabs(crossing[0]), std::fabs(crossing[1]));
    const double unit = NextOnOutputGrid(m, magnitude, HUGE_VAL) - magnitude;
    if (byUnit && !(slack < unit)) return false;
    for (double step = unit; step <= (byUnit ? unit : slack); step *= 2.0) {
      for (int k = 0; k < count; k++) {
        double p[2] = {crossing[0] + step * directions[k][0],
                       crossing[1] + step * directions[k][1]};
        PlaceOnOutputGrid(m, p[0], p[1]);
        if (byUnit && !WithinRoundingOfLine(p, unit)) continue;
        if (Ccw(p, other, w) == 0.0) continue;
        bool turned = true;
        ForEachAround(around,
                      [&](TriHandle t) { turned = turned && Ccw(p, Dest(t), Apex(t)) > 0.0; });
        if (!turned) continue;
        crossing[0] = p[0];
        crossing[1] = p[1];
        // The edges round the moved vertex are no longer tested for the Delaunay property.
        stoppedDigs = true;
        return true;
      }
    }
    return false;
  }

  // The walk from the origin of `handle` to `target` met w exactly in line, off the segment:
  // moves whichever end of the walk is a crossing (see MoveCrossingOffLine), within the slack
  // if it can. Far from the origin, where a segment spans a few dozen units in the last place
  // and the slack is less than one, it moves a crossing by a unit, as the rounding of a
  // crossing may; that is left to the retry that places crossings first, which runs only when
  // the first attempt failed, so that every input the slack serves keeps its result.
  bool MoveWalkEndOffLine(TriHandle handle, TessVertex target, TessVertex w) {
    if (MoveEitherWalkEnd(handle, target, w, false)) return true;
    return crossingsFirst && MoveEitherWalkEnd(handle, target, w, true);
  }

  bool MoveEitherWalkEnd(TriHandle handle, TessVertex target, TessVertex w, bool byUnit) {
    if (MoveCrossingOffLine(handle, target, w, byUnit)) return true;
    return VertexType(m, target) == kSegmentVertex &&
           MoveCrossingOffLine(FindEndpoint(target), Org(handle), w, byUnit);
  }

  void RequireMovedOffLine(TriHandle handle, TessVertex target, TessVertex w) {
    if (!MoveWalkEndOffLine(handle, target, w)) TessFail("Internal error.");
  }

  // A crossed segment that is put back meets no other segment in exact arithmetic.
  void RequireNotPuttingBack() {
    if (puttingBackCrossed) TessFail("Internal error.");
  }

  void Spend() {
    if (--budget < 0) TessFail("Internal error.");
  }

  double Ccw(const double* a, const double* b, const double* c) {
    return CounterClockwise(m.counters, sw, a, b, c);
  }

  // Turns `handle` about its origin to the edge or wedge towards `target`. Exact predicates
  // make the turn finite; the step bound only keeps a corrupted structure from spinning.
  Direction FindDirection(TriHandle& handle, const double* target) {
    TessVertex start = Org(handle);
    double leftCcw = Ccw(target, start, Apex(handle));
    bool leftFlag = leftCcw > 0.0;
    double rightCcw = Ccw(start, target, Dest(handle));
    bool rightFlag = rightCcw > 0.0;
    if (leftFlag && rightFlag) {
      // The triangle faces directly away from the target.
      if (Onext(handle).tri == m.dummyTriangle) {
        leftFlag = false;
      } else {
        rightFlag = false;
      }
    }
    int64_t steps = 0;
    const int64_t limit = static_cast<int64_t>(m.triangles.items) + 3;
    while (leftFlag) {
      handle = Onext(handle);
      if (handle.tri == m.dummyTriangle || ++steps > limit) TessFail("Internal error.");
      rightCcw = leftCcw;
      leftCcw = Ccw(target, start, Apex(handle));
      leftFlag = leftCcw > 0.0;
    }
    while (rightFlag) {
      handle = Oprev(handle);
      if (handle.tri == m.dummyTriangle || ++steps > limit) TessFail("Internal error.");
      leftCcw = rightCcw;
      rightCcw = Ccw(start, target, Dest(handle));
      rightFlag = rightCcw > 0.0;
    }
    if (leftCcw == 0.0) return kLeftCollinear;
    if (rightCcw == 0.0) return kRightCollinear;
    return kWithin;
  }

  // Whether a vertex at `p` on the edge of `crossHandle` would leave all four triangles that
  // splitting the edge there makes positively turned, and the flips that restore the Delaunay
  // property round it would turn strictly convex quadrilaterals only. A point placed a few
  // units in the last place off the exact crossing can otherwise be exactly in line with the
  // apex across one of the four outer edges, and the flip leaves a triangle of no area.
  bool FitsCrossedEdge(TriHandle crossHandle, const double* p) {
    TessVertex org = Org(crossHandle);
    TessVertex dest = Dest(crossHandle);
    TessVertex near = Apex(crossHandle);
    const TriHandle across = Sym(crossHandle);
    TessVertex far = across.tri == m.dummyTriangle ? nullptr : Apex(across);
    if (!(Ccw(org, p, near) > 0.0 && Ccw(p, dest, near) > 0.0 &&
          (far == nullptr || (Ccw(dest, p, far) > 0.0 && Ccw(p, org, far) > 0.0)))) {
      return false;
    }
    // Each outer edge from a to b, with p on its left; the apex across it is w.
    const auto flipsSafely = [&](TriHandle outer) {
      const TriHandle beyond = Sym(outer);
      if (beyond.tri == m.dummyTriangle || HasSubsegment(m, outer)) return true;
      TessVertex a = Org(outer);
      TessVertex b = Dest(outer);
      TessVertex w = Apex(beyond);
      if (InCircle(m.counters, sw, p, a, b, w) <= 0.0) return true;
      return Ccw(p, a, w) > 0.0 && Ccw(p, w, b) > 0.0;
    };
    if (!flipsSafely(Lprev(crossHandle)) || !flipsSafely(Lnext(crossHandle))) return false;
    return far == nullptr || (flipsSafely(Lprev(across)) && flipsSafely(Lnext(across)));
  }

  // Whether (x, y) or one of its neighbours one step away on the output grid fits the crossed
  // edge; (x, y) becomes the first that does.
  bool FitNearby(TriHandle crossHandle, double& x, double& y) {
    return TakeFirstNearby(x, y, [&](const double* p) { return FitsCrossedEdge(crossHandle, p); });
  }

  // Of (x, y) and its eight neighbours one step away on the output grid, makes (x, y) the first
  // that `passes`, (x, y) itself first; false, leaving it, when none does.
  template <class Test>
  bool TakeFirstNearby(double& x, double& y, Test passes) {
    const double xs[3] = {x, NextOnOutputGrid(m, x, -HUGE_VAL), NextOnOutputGrid(m, x, HUGE_VAL)};
    const double ys[3] = {y, NextOnOutputGrid(m, y, -HUGE_VAL), NextOnOutputGrid(m, y, HUGE_VAL)};
    for (const double cx : xs) {
      for (const double cy : ys) {
        const double p[2] = {cx, cy};
        if (passes(p)) {
          x = cx;
          y = cy;
          return true;
        }
      }
    }
    return false;
  }

  // The rounded crossing point (x, y), at `split` of the way along the crossed edge, may lie
  // on or beyond an end of the edge, or on the wrong side of one of the four triangles that
  // splitting the edge there would make: a segment that passes within a rounding of a vertex
  // crosses the segments through that vertex within a rounding of it. Looks near (x, y), then
  // at points along the edge ever farther from the crossing, towards the edge's middle, for
  // one that fits and stays within kCrossingSlack of the crossing segment's line (from `end1`
  // to `target`); the crossing vertex then bends that segment by no more than that. False
  // when there is none, and the crossing must go to an end of the edge.
  bool FindSplitPoint(TriHandle crossHandle, const double* end1, const double* target, double split,
                      double& x, double& y) {
    if (split > 0.0 && split < 1.0 && FitNearby(crossHandle, x, y)) return true;
    TessVertex org = Org(crossHandle);
    TessVertex dest = Dest(crossHandle);
    const double lineX = target[0] - end1[0];
    const double lineY = target[1] - end1[1];
    const double slack = kCrossingSlack * std::hypot(lineX, lineY);
    const double start = std::min(std::max(split, 0.0), 1.0);
    for (int halvings = 60; halvings >= 1; halvings--) {
      const double t = start + std::ldexp(0.5 - start, -halvings);
      double cx = org[0] + t * (dest[0] - org[0]);
      double cy = org[1] + t * (dest[1] - org[1]);
      PlaceOnOutputGrid(m, cx, cy);
      if (!FitNearby(crossHandle, cx, cy)) continue;
      // The distance off the line, times the line's length.
      const double off = std::fabs(lineX * (cy - end1[1]) - lineY * (cx - end1[0]));
      if (!(off <= slack * std::hypot(lineX, lineY))) return false;
      x = cx;
      y = cy;
      return true;
    }
    return false;
  }

  // The line from end1 to `target` separates org from dest in every caller, so the crossing
  // lies strictly inside the edge. For a line nearly parallel to the edge the intersection
  // formula cancels and can put it on or beyond an end, or divide by zero: the crossing then
  // went to the wrong end of the edge, beyond the segment's own end, and the segment folded
  // back. The signed areas of org and dest against the line have exact signs, so their ratio
  // falls on the edge; near-parallel lines meet anywhere along their overlap within a
  // rounding of both. False, leaving `split` alone, when the signs do not separate the ends.
  bool SplitFromSides(const double* org, const double* dest, const double* end1,
                      const double* target, double& split) {
    const double orgSide = Ccw(end1, target, org);
    const double destSide = Ccw(end1, target, dest);
    if (!(orgSide > 0.0 ? destSide < 0.0 : orgSide < 0.0 && destSide > 0.0)) return false;
    split = orgSide / (orgSide - destSide);
    return true;
  }

  // Whether p lies within kCrossingSlack of the length of the segment from a to b, and a few
  // units in the last place of `magnitude`, of that segment's line; measured from q, a point on
  // the line within a few units in the last place, whose rounding and p's the few take in.
  static bool NearLine(const double* p, const double* q, const double* a, const double* b,
                       double magnitude) {
    const double lineX = b[0] - a[0];
    const double lineY = b[1] - a[1];
    const double length = std::hypot(lineX, lineY);
    const double off = std::fabs((p[0] - q[0]) * lineY - (p[1] - q[1]) * lineX) / length;
    return off <= kCrossingSlack * length + 8.0 * (std::nextafter(magnitude, HUGE_VAL) - magnitude);
  }

  // (x, y), interpolated `split` of the way along the edge from org to dest, errs by a rounding
  // of its distance from org: when the edge is far longer than the segment from end1 to
  // `target` and the crossing far from org, it can lie off that segment by more than a
  // crossing may bend it. Such a crossing gives way to the exact one, rounded, which errs by a
  // rounding of its own coordinates. One near both lines (see NearLine) is kept as it is, even
  // where it lies farther along them from the exact crossing, as at small angles.
  static void TakeExactCrossingIfOff(const double* org, const double* dest, const double* end1,
                                     const double* target, double& x, double& y, double& split) {
    double exact[2];
    double exactSplit;
    LineCrossing(org, dest, end1, target, exact, exactSplit);
    const double magnitude = std::max(std::fabs(exact[0]), std::fabs(exact[1]));
    const double computed[2] = {x, y};
    if (NearLine(computed, exact, org, dest, magnitude) &&
        NearLine(computed, exact, end1, target, magnitude)) {
      return;
    }
    x = exact[0];
    y = exact[1];
    split = exactSplit;
  }

  // Where the segment from end1 to `target` crosses the edge of `crossHandle`: true with the
  // point in (x, y), `split` of the way along the edge; false when no point fits (see
  // FindSplitPoint), with (x, y) the rounded crossing, and the crossing goes to the nearer end
  // of the edge, its origin when `toOrg`, if the segment may bend through it. Two vertices at
  // one place would leave a zero-length edge and inverted triangles.
  bool CrossingPoint(TriHandle crossHandle, const double* end1, const double* target, double& x,
                     double& y, double& split, bool& toOrg) {
    TessVertex org = Org(crossHandle);
    TessVertex dest = Dest(crossHandle);
    const double tx = dest[0] - org[0];
    const double ty = dest[1] - org[1];
    const double ex = target[0] - end1[0];
    const double ey = target[1] - end1[1];
    const double etx = org[0] - target[0];
    const double ety = org[1] - target[1];
    const double denominator = ty * ex - tx * ey;
    const bool parallel = denominator == 0.0;
    if (!parallel) split = (ey * etx - ex * ety) / denominator;
    // A split on or beyond an end is the formula's rounding (see SplitFromSides).
    const bool onEdge = !parallel && split > 0.0 && split < 1.0;
    if (!onEdge && !SplitFromSides(org, dest, end1, target, split) && parallel)
      TessFail("Internal error.");
    x = org[0] + split * (dest[0] - org[0]);
    y = org[1] + split * (dest[1] - org[1]);
    TakeExactCrossingIfOff(org, dest, end1, target, x, y, split);
    PlaceOnOutputGrid(m, x, y);
    if (FindSplitPoint(crossHandle, end1, target, split, x, y)) return true;
    toOrg = split < 0.5;
    return false;
  }

  // A new crossing vertex at (x, y), `split` of the way along the edge of `crossHandle`, on the
  // segment of `crossSub`; not yet in the mesh.
  TessVertex MakeCrossingVertex(TriHandle crossHandle, SubHandle crossSub, double x, double y,
                                double split) {
    TessVertex org = Org(crossHandle);
    TessVertex dest = Dest(crossHandle);
    TessVertex vertex = MakeVertex(m);
    vertex[0] = x;
    vertex[1] = y;
    for (int i = 2; i < 2 + m.vertexAttributes; i++)
      vertex[i] = org[i] + split * (dest[i] - org[i]);
    VertexMark(m, vertex) = SubsegMark(crossSub);
    VertexType(m, vertex) = kSegmentVertex;
    return vertex;
  }

  // Puts a vertex at (x, y), `split` of the way along the edge of `crossHandle`, and makes the
  // crossed segment two that end at it. On return `crossHandle` has the vertex as its origin.
  TessVertex SplitCrossedSegment(TriHandle& crossHandle, SubHandle crossSub, double x, double y,
                                 double split) {
    TessVertex vertex = MakeCrossingVertex(crossHandle, crossSub, x, y, split);
    if (InsertVertex(m, sw, vertex, crossHandle, &crossSub, false, false) != kInsertSuccess) {
      TessFail("Internal error.");
    }
    if (m.steinerLeft > 0) m.steinerLeft--;

    // The crossed segment becomes two segments that end at the new vertex.
    SubHandle half = SSym(crossSub);
    SubHandle opposite = SPivot(half);
    SDissolve(m, half);
    SDissolve(m, opposite);
    do {
      SetSegOrg(half, vertex);
      half = SNext(half);
    } while (half.ss != m.dummySubsegment);
    do {
      SetSegOrg(opposite, vertex);
      opposite = SNext(opposite);
    } while (opposite.ss != m.dummySubsegment);
    return vertex;
  }

  // Unlinks `sub` from the subsegment of its segment that shares its origin; that one's segment
  // then ends there.
  void DetachAtOrigin(SubHandle sub) {
    SubHandle beyond = SPivot(sub);
    SDissolve(m, sub);
    if (beyond.ss == m.dummySubsegment) return;
    SDissolve(m, beyond);
    for (; beyond.ss != m.dummySubsegment; beyond = SNext(beyond)) SetSegOrg(beyond, SOrg(sub));
  }

  // No point on the crossed edge of `crossed` fits and neither of its ends may take the
  // crossing: a vertex within a rounding of the crossed subsegment leaves a triangle at it too
  // thin for any representable point. The rounded crossing (x, y) then goes in as an ordinary
  // vertex where it lies, the crossed subsegment gives way to a plain edge, and the crossed
  // segment is put back as two pieces through the new vertex, which bend it by the rounding.
  TessVertex InsertCrossingOffEdge(TriHandle crossed, double x, double y, double split) {
    TessVertex org = Org(crossed);
    TessVertex dest = Dest(crossed);
    const SubHandle crossSub = SubsegmentOnEdge(crossed);
    const int32_t mark = SubsegMark(crossSub);
    AvoidLineUps(crossed, x, y);
    TessVertex vertex = MakeCrossingVertex(crossed, crossSub, x, y, split);
    TriHandle search{m.dummyTriangle, 0};
    if (InsertVertex(m, sw, vertex, search, nullptr, false, false) != kInsertSuccess) {
      TessFail("Internal error.");
    }
    if (m.steinerLeft > 0) m.steinerLeft--;
    // The subsegment leaves its edge, and the segments on either side of it end at its ends.
    DetachSubsegment(m, TriangleBeside(crossSub));
    const TriHandle otherSide = TriangleBeside(SSym(crossSub));
    if (otherSide.tri != m.dummyTriangle) DetachSubsegment(m, otherSide);
    DetachAtOrigin(crossSub);
    DetachAtOrigin(SSym(crossSub));
    KillSubsegment(m, crossSub.ss);
    // The old edge and those round the vertex were not tested for the Delaunay property.
    stoppedDigs = true;
    InsertCrossedPiece(org, vertex, mark);
    InsertCrossedPiece(vertex, dest, mark);
    return vertex;
  }

  // Of (x, y) and its neighbours one step away on the output grid, takes the first from which
  // neither piece of the crossed segment to be put back lies exactly in line with a vertex
  // beside the crossed edge (the apexes of its triangles, within a rounding of it when the
  // edge has no room): the piece could not pass that vertex. Keeps (x, y) when none is clear.
  void AvoidLineUps(TriHandle crossed, double& x, double& y) {
    TessVertex org = Org(crossed);
    TessVertex dest = Dest(crossed);
    const TriHandle across = Sym(crossed);
    TessVertex sides[2] = {Apex(crossed), across.tri == m.dummyTriangle ? nullptr : Apex(across)};
    TakeFirstNearby(x, y, [&](const double* p) {
      for (TessVertex w : sides) {
        if (w != nullptr && (Ccw(org, p, w) == 0.0 || Ccw(p, dest, w) == 0.0)) return false;
      }
      return true;
    });
  }

  // Inserts the piece of a crossed segment from `from` to `to` that InsertCrossingOffEdge puts
  // back. The piece runs within a rounding of the old subsegment, so nothing stands in its way
  // in exact arithmetic: a vertex exactly in line or a subsegment across it fails rather than
  // bending the piece further.
  void InsertCrossedPiece(TessVertex from, TessVertex to, int32_t mark) {
    TessVertex start = segmentStart;
    TessVertex end = segmentEnd;
    segmentStart = from;
    segmentEnd = to;
    puttingBackCrossed = true;
    InsertPiece(from, to, mark);
    puttingBackCrossed = false;
    segmentStart = start;
    segmentEnd = end;
  }

  // Puts a vertex where the segment from the apex end1 of `crossHandle` to `target` crosses
  // the subsegment on the handle's edge, and makes the piece from end1 to it a subsegment. On
  // return `crossHandle` has the crossing vertex as its origin. A crossing for which no point
  // fits is the nearer end of the crossed edge.
  void SegmentIntersection(TriHandle& crossHandle, SubHandle crossSub, const double* target,
                           int32_t mark) {
    RequireNotPuttingBack();
    TessVertex end1 = Apex(crossHandle);
    double x = 0.0;
    double y = 0.0;
    double split = 0.0;
    bool toOrg = false;
    if (!CrossingPoint(crossHandle, end1, target, x, y, split, toOrg)) {
      RequireOnSegment(toOrg ? Org(crossHandle) : Dest(crossHandle));
      if (!toOrg) crossHandle = Lnext(crossHandle);
      InsertSubsegment(m, sw, toOrg ? Lprev(crossHandle) : crossHandle, mark);
      return;
    }
    SplitCrossedSegment(crossHandle, crossSub, x, y, split);

    // The insertion may have flipped the edge to end1 away: find it again.
    FindDirection(crossHandle, end1);
    if (SamePoint(Apex(crossHandle), end1)) {
      InsertSubsegment(m, sw, Lprev(crossHandle), mark);
    } else if (SamePoint(Dest(crossHandle), end1)) {
      InsertSubsegment(m, sw, crossHandle, mark);
    } else {
      TessFail("Internal error.");
    }
  }

  // Walks from the handle's origin towards `target` along edges that already exist, making
  // them subsegments. True when the target is reached; false when the way is blocked by an
  // edge that must be dug through, with `handle` at the blocked wedge.
  bool ScoutSegment(TriHandle& handle, TessVertex target, int32_t mark) {
    for (;;) {
      Spend();
      const Direction direction = FindDirection(handle, target);
      TessVertex dest = Dest(handle);
      TessVertex apex = Apex(handle);
      if (SamePoint(apex, target) || SamePoint(dest, target)) {
        if (SamePoint(apex, target)) handle = Lprev(handle);
        InsertSubsegment(m, sw, handle, mark);
        return true;
      }
      if (direction == kLeftCollinear) {
        // A vertex stands on the segment's way: the segment bends through it, or where it may
        // not, a crossing at an end of the walk moves out of line with it.
        if (!MayBendThrough(apex)) {
          RequireMovedOffLine(handle, target, apex);
          continue;
        }
        handle = Lprev(handle);
        InsertSubsegment(m, sw, handle, mark);
        continue;
      }
      if (direction == kRightCollinear) {
        if (!MayBendThrough(dest)) {
          RequireMovedOffLine(handle, target, dest);
          continue;
        }
        InsertSubsegment(m, sw, handle, mark);
        handle = Lnext(handle);
        continue;
      }
      TriHandle cross = Lnext(handle);
      const SubHandle crossSub = SubsegmentOnEdge(cross);
      if (crossSub.ss == m.dummySubsegment) return false;
      // Two segments cross: put a vertex at the crossing and go on from it.
      SegmentIntersection(cross, crossSub, target, mark);
      handle = cross;
    }
  }

  // Restores the Delaunay property on one side of a newly dug edge, flipping where a convex
  // quadrilateral allows; reflex vertices wait for a later call. After a flip `fixup` is turned
  // so that its origin stays the same vertex, for the caller to go on from.
  void DelaunayFixup(TriHandle& fixup, bool leftSide) {
    Spend();
    const TriHandle near = Lnext(fixup);
    TriHandle far = Sym(near);
    if (far.tri == m.dummyTriangle) return;
    if (HasSubsegment(m, near)) return;
    TessVertex nearVertex = Apex(near);
    TessVertex left = Org(near);
    TessVertex right = Dest(near);
    TessVertex farVertex = Apex(far);
    if (leftSide) {
      if (Ccw(nearVertex, left, farVertex) <= 0.0) return;
    } else if (Ccw(farVertex, right, nearVertex) <= 0.0) {
      return;
    }
    if (Ccw(right, left, farVertex) > 0.0 &&
        InCircle(m.counters, sw, left, farVertex, right, nearVertex) <= 0.0) {
      return;
    }
    Flip(m, sw, near);
    fixup = Lprev(fixup);
    DelaunayFixup(fixup, leftSide);
    DelaunayFixup(far, leftSide);
  }

  // Follows the line from the origin of `start`, whose edge opposite crosses it, to `end2`
  // through the triangles it passes. True, with `crossed` at the edge, when it meets a
  // subsegment first; false when it reaches end2 or a vertex on the line, which `onLine` then
  // names.
  bool FirstCrossedSubsegment(TriHandle start, TessVertex end2, TriHandle& crossed,
                              TessVertex& onLine) {
    TessVertex end1 = Org(start);
    // Each edge is held from its end right of the line to its end left of it.
    TriHandle edge = Lnext(start);
    for (;;) {
      Spend();
      if (HasSubsegment(m, edge)) {
        crossed = edge;
        return true;
      }
      const TriHandle beyond = Sym(edge);
      if (beyond.tri == m.dummyTriangle) TessFail("Internal error.");
      TessVertex next = Apex(beyond);
      if (SamePoint(next, end2)) return false;
      const double side = Ccw(end1, end2, next);
      if (side == 0.0) {
        onLine = next;
        return false;
      }
      edge = side > 0.0 ? Lnext(beyond) : Lprev(beyond);
    }
  }

  // A dig that meets a subsegment puts the crossing vertex into a fan of triangles that its
  // flips have not yet made valid: a vertex the dig passed within a rounding of the line can
  // stand inside the fan next to the crossing, and the triangle between them ends up
  // inverted. Rounded grids, whose segments cross within a rounding of grid vertices, do this.
  // So the crossing is placed while the mesh is still valid, and the dig ends at it. Returns
  // the crossing vertex: a new one, or an end of the crossed edge when none fits there and the
  // segment may bend through it, or else one off the edge (see InsertCrossingOffEdge).
  TessVertex PlaceCrossing(TriHandle crossed, const double* end1, const double* end2) {
    RequireNotPuttingBack();
    double x = 0.0;
    double y = 0.0;
    double split = 0.0;
    bool toOrg = false;
    if (!CrossingPoint(crossed, end1, end2, x, y, split, toOrg)) {
      TessVertex nearer = toOrg ? Org(crossed) : Dest(crossed);
      if (MayBendThrough(nearer)) return nearer;
      return InsertCrossingOffEdge(crossed, x, y, split);
    }
    return SplitCrossedSegment(crossed, SubsegmentOnEdge(crossed), x, y, split);
  }

  // Before the dig from the origin of `start` to `end2`, with crossings placed first: places
  // the first crossing on the way and inserts the piece up to it, or moves a crossing at
  // either end off a vertex exactly on the line that the segment may not bend through (see
  // MoveCrossingOffLine), and walks on. True when it did either: `start` then has the vertex
  // the segment has reached as its origin, and `done` tells whether that is end2. False when
  // the dig may go ahead as it is.
  bool PrepareDig(TriHandle& start, TessVertex end2, int32_t mark, bool& done) {
    TriHandle crossed;
    TessVertex onLine = nullptr;
    if (FirstCrossedSubsegment(start, end2, crossed, onLine)) {
      TessVertex end1 = Org(start);
      TessVertex crossing = PlaceCrossing(crossed, end1, end2);
      InsertPiece(end1, crossing, mark);
      start = FindEndpoint(crossing);
    } else if (onLine == nullptr || MayBendThrough(onLine) ||
               !MoveWalkEndOffLine(start, end2, onLine)) {
      return false;
    }
    done = ScoutSegment(start, end2, mark);
    return true;
  }

  // Inserts the piece of the segment from `from` to `to`, both vertices of the mesh.
  void InsertPiece(TessVertex from, TessVertex to, int32_t mark) {
    TriHandle handle = FindEndpoint(from);
    if (ScoutSegment(handle, to, mark)) return;
    ConstrainedEdge(handle, to, mark);
  }

  // Digs a way by flips from the origin of `start` to `end2` and makes it a subsegment.
  void ConstrainedEdge(TriHandle start, TessVertex end2, int32_t mark) {
    dug = true;
    for (;;) {
      Spend();
      TessVertex end1 = Org(start);
      bool done = false;
      if (crossingsFirst && PrepareDig(start, end2, mark, done)) {
        if (done) return;
        continue;
      }
      TriHandle fixup = Lnext(start);
      Flip(m, sw, fixup);
      bool collision = false;
      bool crossed = false;
      for (;;) {
        Spend();
        TessVertex far = Org(fixup);
        if (SamePoint(far, end2)) {
          TriHandle fixup2 = Oprev(fixup);
          DelaunayFixup(fixup, false);
          DelaunayFixup(fixup2, true);
          break;
        }
        const double area = Ccw(end1, end2, far);
        if (area == 0.0) {
          // A vertex stands exactly on the segment.
          RequireOnSegment(far);
          collision = true;
          stoppedDigs = true;
          TriHandle fixup2 = Oprev(fixup);
          DelaunayFixup(fixup, false);
          DelaunayFixup(fixup2, true);
          break;
        }
        if (area > 0.0) {
          TriHandle fixup2 = Oprev(fixup);
          DelaunayFixup(fixup2, true);
          fixup = Lprev(fixup);
        } else {
          DelaunayFixup(fixup, false);
          fixup = Oprev(fixup);
        }
        const SubHandle crossSub = SubsegmentOnEdge(fixup);
        if (crossSub.ss == m.dummySubsegment) {
          Flip(m, sw, fixup);
        } else {
          collision = true;
          stoppedDigs = true;
          crossed = true;
          SegmentIntersection(fixup, crossSub, end2, mark);
          break;
        }
      }
      if (!crossed) InsertSubsegment(m, sw, fixup, mark);
      if (!collision) return;
      // Go on from the vertex that stopped the dig.
      if (ScoutSegment(fixup, end2, mark)) return;
      start = fixup;
    }
  }

  // Switch s: splits the segment at its midpoint until each piece is an edge.
  void ConformingEdge(TessVertex end1, TessVertex end2, int32_t mark) {
    TessVertex vertex = MakeVertex(m);
    for (int i = 0; i < 2 + m.vertexAttributes; i++) vertex[i] = 0.5 * (end1[i] + end2[i]);
    PlaceOnOutputGrid(m, vertex[0], vertex[1]);
    if (SamePoint(vertex, end1) || SamePoint(vertex, end2)) {
      KillVertex(m, vertex);
      TessFail("Precision error.");
    }
    VertexMark(m, vertex) = mark;
    VertexType(m, vertex) = kSegmentVertex;
    TriHandle search1{m.dummyTriangle, 0};
    const InsertResult result = InsertVertex(m, sw, vertex, search1, nullptr, false, false);
    if (result == kInsertDuplicate) {
      KillVertex(m, vertex);
      vertex = Org(search1);
    } else {
      if (result == kInsertForbidden) TessFail("Internal error.");
      if (m.steinerLeft > 0) m.steinerLeft--;
    }
    TriHandle search2 = search1;
    FindDirection(search2, end2);
    if (!ScoutSegment(search1, end1, mark)) ConformingEdge(Org(search1), end1, mark);
    if (!ScoutSegment(search2, end2, mark)) ConformingEdge(Org(search2), end2, mark);
  }

  // Finds a handle whose origin is `end`: from the vertex map, which the operations that move
  // corners keep valid, else by point location from the hull.
  TriHandle FindEndpoint(TessVertex end) {
    const TessWord encoded = VertexToTriangle(m, end);
    if (encoded != 0) {
      const TriHandle handle = DecodeTri(encoded);
      if (!IsDeadTriangle(handle.tri) && Org(handle) == end) return handle;
    }
    TriHandle handle = DummyHullEdge(m);
    if (Locate(m, sw, end, handle) != kOnVertex) TessFail("Internal error.");
    return handle;
  }

  void InsertSegment(TessVertex end1, TessVertex end2, int32_t mark) {
    budget = 8 * (static_cast<int64_t>(m.triangles.items) + m.vertices.items) + 64;
    segmentStart = end1;
    segmentEnd = end2;
    TriHandle search1 = FindEndpoint(end1);
    m.recentTriangle = search1;
    if (ScoutSegment(search1, end2, mark)) return;
    end1 = Org(search1);

    TriHandle search2 = FindEndpoint(end2);
    m.recentTriangle = search2;
    if (ScoutSegment(search2, end1, mark)) return;
    end2 = Org(search2);

    if (sw.splitSegments) {
      ConformingEdge(end1, end2, mark);
    } else {
      ConstrainedEdge(search1, end2, mark);
    }
  }
};

// The live triangles in pool order, as TriangleTraverse gives them, read some way ahead: each
// triangle's neighbours are prefetched when it enters, their apexes half-way, so that a pass
// that tests every edge does not wait on each scattered read in turn. No triangle may be made
// or killed while it runs.
class TriangleLookahead {
 public:
  explicit TriangleLookahead(TessMesh& m) : m_(m) {
    TraversalInit(m.triangles);
    for (uint32_t i = 0; i < kDepth; i++) Push();
  }

  TessWord* Next() {
    TessWord* next = ring_[head_ % kDepth];
    Push();
    PrefetchApexesAcross(ring_[(head_ + kDepth / 2) % kDepth]);
    return next;
  }

 private:
  static constexpr uint32_t kDepth = 64;

  // Replaces the oldest entry with the next live triangle, or nullptr past the end.
  void Push() {
    TessWord* tri = exhausted_ ? nullptr : TriangleTraverse(m_);
    exhausted_ = tri == nullptr;
    ring_[head_ % kDepth] = tri;
    head_++;
    if (tri == nullptr) return;
    for (uint32_t orient = 0; orient < 3; orient++) {
      // The apex word of the neighbour, which PrefetchApexesAcross reads.
      const TriHandle across = DecodeTri(tri[orient]);
      __builtin_prefetch(across.tri + across.orient + 3);
    }
  }

  static void PrefetchApexesAcross(const TessWord* tri) {
    if (tri == nullptr) return;
    for (uint32_t orient = 0; orient < 3; orient++) {
      __builtin_prefetch(Apex(DecodeTri(tri[orient])));
    }
  }

  TessMesh& m_;
  TessWord* ring_[kDepth] = {};
  uint32_t head_ = 0;
  bool exhausted_ = false;
};

}  // namespace

// The digs of ConstrainedEdge that stop at a crossing or at a vertex on the segment leave the
// last triangles they touched untested; near-parallel crossings can leave a non-Delaunay edge
// there. The conforming stage calls this too (see EnforceQuality). Flips preserve validity: an
// edge is turned only when its two triangles and the two the flip makes all turn
// counterclockwise, and exact tests make the passes end; the bound on passes only keeps a
// corrupted structure from spinning.
bool RestoreDelaunay(TessMesh& m, const TessSwitches& sw) {
  constexpr int kMostPasses = 64;
  bool any = false;
  for (int pass = 0; pass < kMostPasses; pass++) {
    bool flipped = false;
    TriangleLookahead triangles(m);
    for (TessWord* tri = triangles.Next(); tri != nullptr; tri = triangles.Next()) {
      for (uint32_t orient = 0; orient < 3; orient++) {
        const TriHandle t{tri, orient};
        const TriHandle across = Sym(t);
        if (across.tri == m.dummyTriangle || HasSubsegment(m, t)) continue;
        TessVertex a = Org(t), b = Dest(t), c = Apex(t), d = Apex(across);
        if (InCircle(m.counters, sw, a, b, c, d) <= 0.0) continue;
        if (CounterClockwise(m.counters, sw, a, b, c) <= 0.0 ||
            CounterClockwise(m.counters, sw, b, a, d) <= 0.0 ||
            CounterClockwise(m.counters, sw, c, a, d) <= 0.0 ||
            CounterClockwise(m.counters, sw, d, b, c) <= 0.0) {
          continue;
        }
        Flip(m, sw, t);
        flipped = true;
      }
    }
    if (!flipped) return any;
    any = true;
  }
  return any;
}

void InsertSubsegment(TessMesh& m, const TessSwitches&, TriHandle handle, int32_t mark) {
  TessVertex org = Org(handle);
  TessVertex dest = Dest(handle);
  if (VertexMark(m, org) == 0) VertexMark(m, org) = mark;
  if (VertexMark(m, dest) == 0) VertexMark(m, dest) = mark;
  SubHandle sub = SubsegmentOnEdge(handle);
  if (sub.ss == m.dummySubsegment) {
    sub = MakeSubsegment(m);
    SetSOrg(sub, dest);
    SetSDest(sub, org);
    SetSegOrg(sub, dest);
    SetSegDest(sub, org);
    TSBond(handle, sub);
    const TriHandle opposite = Sym(handle);
    if (opposite.tri != m.dummyTriangle) TSBond(opposite, SSym(sub));
    SubsegMark(sub) = mark;
  } else if (SubsegMark(sub) == 0) {
    SubsegMark(sub) = mark;
  }
}

namespace {

constexpr uint16_t kSiteSegmentBuckets = 0x1C;
constexpr uint16_t kSiteSegmentOrder = 0x1D;
constexpr uint16_t kSiteSegmentPlan = 0x1E;
constexpr uint16_t kSiteSegmentEnds = 0x1F;
constexpr int64_t kSkipSegment = INT64_MIN;
// How many segments ahead the insertion loop prefetches a start triangle.
constexpr int32_t kSegmentLookahead = 4;

// What to do with each input segment: kSkipSegment, or insert it with the mark given, between
// the vertices `ends` names (0-based; a duplicate input vertex is replaced by the one kept).
// A segment given more than once (either way round, or through duplicate vertices) is inserted
// once, at its first place, with the first non-zero mark of its copies, which is what
// inserting every copy would leave. The copies are not inserted: once crossings have split the
// first one, its pieces lie off the line of the copy by a rounding, and walking that line
// again would cross them anew.
void PlanSegments(TessMesh& m, const TessSwitches& sw, const int32_t* segments,
                  const int32_t* markers, int32_t count, int64_t* plan, int32_t* ends,
                  int32_t* buckets, int32_t* order) {
  const int64_t first = sw.firstIndex;
  const int64_t last = first + m.inVertices - 1;
  const auto canonical = [&](int32_t number) {
    TessVertex v = GetVertex(m, sw, number);
    if (VertexType(m, v) == kRemovedVertex) {
      TriHandle search = DummyHullEdge(m);
      if (Locate(m, sw, v, search) != kOnVertex) TessFail("Internal error.");
      v = Org(search);
    }
    return InputVertexIndex(m, v);
  };
  const auto lower = [&](int32_t i) { return std::min(ends[2 * i], ends[2 * i + 1]); };
  const auto upper = [&](int32_t i) { return std::max(ends[2 * i], ends[2 * i + 1]); };
  // Bucket the valid segments by their lower end (a counting sort), then order each bucket by
  // upper end and input place; copies end up side by side.
  for (int32_t i = 0; i < count; i++) {
    const int64_t end1 = segments[2 * i];
    const int64_t end2 = segments[2 * i + 1];
    plan[i] = kSkipSegment;
    if (end1 < first || end1 > last || end2 < first || end2 > last) continue;
    ends[2 * i] = canonical(segments[2 * i]);
    ends[2 * i + 1] = canonical(segments[2 * i + 1]);
    if (ends[2 * i] == ends[2 * i + 1]) continue;
    plan[i] = markers != nullptr ? markers[i] : 0;
    buckets[lower(i) + 1]++;
  }
  for (int32_t v = 0; v < m.inVertices; v++) buckets[v + 1] += buckets[v];
  for (int32_t i = 0; i < count; i++) {
    if (plan[i] != kSkipSegment) order[buckets[lower(i)]++] = i;
  }
  int32_t begin = 0;
  for (int32_t v = 0; v < m.inVertices; v++) {
    const int32_t end = buckets[v];
    if (end - begin > 1) {
      std::sort(order + begin, order + end, [&](int32_t a, int32_t b) {
        return upper(a) != upper(b) ? upper(a) < upper(b) : a < b;
      });
      for (int32_t k = begin; k < end;) {
        int32_t next = k + 1;
        int64_t mark = plan[order[k]];
        while (next < end && upper(order[next]) == upper(order[k])) {
          if (mark == 0) mark = plan[order[next]];
          plan[order[next]] = kSkipSegment;
          next++;
        }
        plan[order[k]] = mark;
        k = next;
      }
    }
    begin = end;
  }
}

}  // namespace

void InsertSegments(TessMesh& m, const TessSwitches& sw, const int32_t* segments,
                    const int32_t* markers, int32_t count, bool crossingsFirst) {
  m.inSegments = count;
  if (m.triangles.items == 0) return;
  // The vertex map: each vertex names a triangle of which it is the origin. Hole carving reads
  // it too, so it is made even without segments.
  TraversalInit(m.triangles);
  for (TessWord* tri = TriangleTraverse(m); tri != nullptr; tri = TriangleTraverse(m)) {
    for (uint32_t orient = 0; orient < 3; orient++) {
      const TriHandle handle{tri, orient};
      VertexToTriangle(m, Org(handle)) = EncodeTri(handle);
    }
  }
  if (count <= 0) return;

  int64_t* plan = nullptr;
  int32_t* ends = nullptr;
  int32_t* buckets = nullptr;
  int32_t* order = nullptr;
  const int32_t code = TessFailureCode([&] {
    const uint32_t n = static_cast<uint32_t>(count);
    plan = static_cast<int64_t*>(TessAllocArray(kSiteSegmentPlan, n, sizeof(int64_t)));
    ends = static_cast<int32_t*>(TessAllocArray(kSiteSegmentEnds, n, 2 * sizeof(int32_t)));
    buckets = static_cast<int32_t*>(TessAllocArray(
        kSiteSegmentBuckets, static_cast<uint32_t>(m.inVertices) + 1, sizeof(int32_t)));
    order = static_cast<int32_t*>(TessAllocArray(kSiteSegmentOrder, n, sizeof(int32_t)));
    PlanSegments(m, sw, segments, markers, count, plan, ends, buckets, order);
    SegmentInserter inserter{m, sw};
    inserter.crossingsFirst = crossingsFirst;
    // The triangle the map names for a segment's first end is a scattered read that every
    // insertion starts with: ask for it a few segments ahead.
    const auto prefetchStart = [&](int32_t i) {
      if (i >= count || plan[i] == kSkipSegment) return;
      const TessVertex end = GetVertex(m, sw, ends[2 * i] + sw.firstIndex);
      const TessWord* named = DecodeTri(VertexToTriangle(m, end)).tri;
      __builtin_prefetch(named + 1);
      __builtin_prefetch(named + 5);
    };
    for (int32_t i = 0; i < count; i++) {
      if (plan[i] == kSkipSegment) continue;
      prefetchStart(i + kSegmentLookahead);
      TessVertex v1 = GetVertex(m, sw, ends[2 * i] + sw.firstIndex);
      TessVertex v2 = GetVertex(m, sw, ends[2 * i + 1] + sw.firstIndex);
      inserter.InsertSegment(v1, v2, static_cast<int32_t>(plan[i]));
    }
    // A dig past vertices that lie within a rounding of the segment's line can leave a
    // triangle inverted; that mesh is refused rather than returned.
    if (inserter.dug) RequireValidOrientation(m, sw);
    if (inserter.stoppedDigs) RestoreDelaunay(m, sw);
  });
  TessFree(order);
  TessFree(buckets);
  TessFree(ends);
  TessFree(plan);
  if (code != 0) throw code;
}

void MarkHull(TessMesh& m, const TessSwitches& sw) {
  TriHandle hull = DummyHullEdge(m);
  const TriHandle start = hull;
  do {
    InsertSubsegment(m, sw, hull, 1);
    hull = Lnext(hull);
    TriHandle next = Oprev(hull);
    while (next.tri != m.dummyTriangle) {
      hull = next;
      next = Oprev(hull);
    }
  } while (!SameHandle(hull, start));
}
