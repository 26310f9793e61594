// The host's path offset service, interface "GFKOffsetPathInterface", entry "GetOffsetPath",
// version "GFKOffsetPathGetOffsetPathV4", found through the binding layer.
//
// The entry offsets a closed path of lines and cubics by a distance and streams the result,
// point by point, to a callback, in the types of HBN_T_NMT (move, line, curve points, close).
// A positive distance grows the area that each closed subpath encloses, whatever its winding;
// a negative one shrinks it. Joins are mitred, cut off (bevelled) where the miter would reach
// further than `limit` from the corner; curves of the result stay within `tolerance` of the
// exact offset. The result keeps each subpath's winding, and it is made of lines and cubics:
// a straight run comes back as one line, a smooth run as a few cubics, so a caller that builds
// a patch per piece gets about as many pieces as it gave. Where the offset would cross itself
// (a hole shrinking past a narrow neck, a concave corner of a grown outline) the crossing
// parts are cut away, which may leave several subpaths or none.
//
// The entry returns 0, or a non-zero status (nothing usable streamed) for a path it cannot
// offset: non-finite coordinates, a subpath that does not close, a distance that is not
// finite. The standalone service is kly::host::OffsetPath below; the host services' seam
// (services.h, `offset_path`) replaces it: the entry reads the seam at every call, so it may be
// looked up once and kept, and it returns kOffsetPathErrException for an exception that the
// seam's function throws.
#pragma once

#include <cstddef>
#include <cstdint>

// The stream's callback, called once a point; a non-zero return stops the service, which then
// returns that status.
typedef int32_t (*GFKOffsetPathCallback)(void* refcon, int32_t type, float x, float y);

// The entry's signature. The integer words between the named arguments are the host's option
// words; callers pass them as their design gives them and the standalone service ignores them.
// `points`, `types` and `count` are the three values of CGFKPath::GetData.
typedef int32_t (*GFKOffsetPathGetOffsetPathProc)(
    GFKOffsetPathCallback callback, int32_t option0, void* refcon, const float* points,
    const int32_t* types, int32_t count, int32_t option1, float distance, int32_t option2,
    int32_t option3, float limit, int32_t option4, int32_t option5, int32_t option6,
    int32_t option7, float tolerance, int32_t option8, void* context, float option9);

// Looks up an entry of an interface by name and version through the binding layer. Returns
// null when the standalone host has no such entry: it has one, "GFKOffsetPathInterface",
// "GetOffsetPath", "GFKOffsetPathGetOffsetPathV4", a GFKOffsetPathGetOffsetPathProc.
void* HBN_LookupInterfaceEntry(const char* interfaceName, const char* entryName,
                               const char* version);

namespace kly {
namespace host {

// One call of the offset service, as the seam sees it.
struct OffsetPathRequest {
  const float* points = nullptr;  // 2 count floats
  const int32_t* types = nullptr;
  int32_t count = 0;
  float distance = 0.0f;
  float limit = 0.0f;
  float tolerance = 0.0f;
};

// Where a service streams its result: returns 0 to go on, non-zero to stop.
struct OffsetPathSink {
  GFKOffsetPathCallback callback = nullptr;
  void* refcon = nullptr;
  int32_t operator()(int32_t type, float x, float y) const { return callback(refcon, type, x, y); }
};

// Statuses of the standalone service and its entry (nothing is streamed with any of them).
constexpr int32_t kOffsetPathErrBadArgument = 0x0D01;  // no callback
// Fewer than 3 points, a coordinate that is not finite, a type sequence that is not a move,
// lines and curve triples, then a close, or a subpath that does not close.
constexpr int32_t kOffsetPathErrBadPath = 0x0D02;
constexpr int32_t kOffsetPathErrBadValue = 0x0D03;  // distance not finite; limit or tolerance NaN
// The distance is too small against the path's extent to be represented on the offset grid
// (below about 2^-26 of it), or the result does not fit in floats.
constexpr int32_t kOffsetPathErrRange = 0x0D04;
constexpr int32_t kOffsetPathErrException = 0x0D05;  // the seam's service threw (entry only)
constexpr int32_t kOffsetPathErrOutOfMemory = 0x0D06;
// A subpath flattens to more than kOffsetPathMaxPoints points. Clipper resolves the small loops
// that an offset makes at each turn against it in a time that can grow with the square of
// their number (a dense zigzag of 30,000 points takes near a second), so such a subpath is
// refused rather than risk a stall.
constexpr int32_t kOffsetPathErrTooComplex = 0x0D07;
constexpr size_t kOffsetPathMaxPoints = 20000;

// The standalone offset service: Clipper's miter offset of the flattened path, then lines and
// cubics fitted back to the result within `tolerance`.
//
// - Input: subpaths of a move, lines (type 1) and cubics (three points of type 2), and a close
//   (type 3) at the subpath's first point (a close elsewhere adds a line to it first). Each
//   subpath is offset on its own, whatever the others are.
// - The tolerance used is min(tolerance, |distance|) (an offset curve may not stray further
//   than the offset itself), and at least 2^-20 of the path's reach (below).
// - Flattening: chords within the tolerance of the curves, the tangent turning at most 15
//   degrees along a chord (3.75 next to a corner of the path, so that a miter there follows
//   the curve's tangent); a cubic whose controls lie on its chord is one edge, a line. Points
//   within the floats' rounding of their neighbours' edge are dropped.
// - Offset: on Clipper's integer grid, the path centred and scaled so that its half extent plus
//   the longest miter spans 2^29 units. Joins are mitred; Clipper's MiterLimit is
//   clamp(limit / |distance|, 2, 1000), so a miter reaching further than `limit` from its
//   corner (or than 2 |distance|, whichever is more) is squared off at |distance| from the
//   corner, which gives a short bevel line. A subpath is turned counter-clockwise for Clipper
//   and the result turned back, so a positive distance grows the enclosed area for either
//   winding and the result keeps the winding. Slivers of area below tolerance^2 are dropped.
// - Fit: the offset polygon is cut at turns of more than 35 degrees (corners, miters) and at
//   both ends of its edges that lie on the offset of a line of the path (at least a tolerance
//   long); such an edge, or a run within a quarter of the tolerance of its chord, is one line.
//   Each smooth run between is fitted greedily by cubics joined with common tangents, each
//   reaching as far as a cubic within 0.75 of the tolerance of the offset's points (which lie
//   on the exact offset) and of its edges' bowed middles can.
// - Output, for each polygon of the result: a move at its first point, the pieces (a line as
//   its end, type 1; a cubic as three points, type 2), the last ending exactly at the first
//   point, then the first point again as a close. A polygon with no corner starts anywhere.
//   A subpath that collapses gives nothing; an offset that splits gives several subpaths, and
//   one that closes around a gap gives a hole (wound the other way).
// - A zero distance streams the path back unchanged. Statuses as above, all with nothing
//   streamed; a non-zero status of the callback stops the stream and is returned.
// Time: about n log n in the number of chords (Clipper's own union aside, see
// kOffsetPathErrTooComplex); a DejaVu Sans contour at an em of 100 takes about 10 to 15 us.
// Each thread keeps its buffers between calls.
int32_t OffsetPath(const OffsetPathRequest& request, const OffsetPathSink& sink);

}  // namespace host
}  // namespace kly
