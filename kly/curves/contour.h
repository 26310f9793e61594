// The outline record: one continuous run of points with a code per point.
//
// Codes: 0 starts the outline (one point); 1 is a straight line from the point before (one
// point); 2 is a cubic from the point before, owning three points that all carry code 2 (two
// control points and the end point). A walk reads the code at index i and moves on by one for
// codes 0 and 1, by three for code 2. A well-formed contour has code 0 at index 0 only.
// `closed` is a flag beside the points: the first point need not be repeated at the end.
//
// Malformed input never reads past the vectors: the walks stop at the shorter of `points` and
// `codes`; PolygonalApprox flattens a line or curve with no point before it as a start, a curve
// cut short by the end as lines, and any other code as a line; PureBezier refuses all of these
// with its BadContour failure.
//
// NaN or infinite coordinates never hang or fail an operation: every comparison with NaN is
// false, so such points are neither merged nor dropped, their curves are sampled at the floor
// of two levels, a NaN segment is skipped by the collinearity walk, and lengths come out NaN.
// A minimum granularity above 20 levels is refused by the curve with std::length_error.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/core/bounds.h"
#include "kly/host/ort.h"

class KLY_Contour {
 public:
  enum : uint32_t { kCodeStart = 0, kCodeLine = 1, kCodeCurve = 2 };

  // Callers set granularity and `closed` before reading them; until then they hold the values a
  // destroyed contour is left with (0, 10, open), so that nothing reads indeterminate memory.
  KLY_Contour() {}
  KLY_Contour(const KLY_Contour&) = default;
  KLY_Contour& operator=(const KLY_Contour&) = default;
  virtual ~KLY_Contour();

  // `max` is cut to 10, the deepest level a curve is flattened to.
  void SetGranularity(uint32_t min, uint32_t max);
  void GetGranularity(uint32_t& min, uint32_t& max) const;
  uint32_t Size() const { return static_cast<uint32_t>(points.size()); }
  void SetClosed(bool value) { closed = value; }
  void GetClosed(bool& out) const { out = closed; }

  // Always called in pairs by producers; nothing checks that the vectors stay of one length.
  void AppendVertexPosition(const ORT_Vector3T<double>& point) { points.push_back(point); }
  void AppendVertexCode(const uint32_t& code) { codes.push_back(code); }
  // Empties points and codes; the saved copies, `closed` and the granularity stay.
  void ClearVerticesAndCodes();

  std::vector<ORT_Vector3T<double>>::iterator beginPoints() { return points.begin(); }
  std::vector<ORT_Vector3T<double>>::iterator endPoints() { return points.end(); }
  std::vector<ORT_Vector3T<double>>::const_iterator beginPoints() const { return points.begin(); }
  std::vector<ORT_Vector3T<double>>::const_iterator endPoints() const { return points.end(); }
  std::vector<uint32_t>::iterator beginCodes() { return codes.begin(); }
  std::vector<uint32_t>::iterator endCodes() { return codes.end(); }
  std::vector<uint32_t>::const_iterator beginCodes() const { return codes.begin(); }
  std::vector<uint32_t>::const_iterator endCodes() const { return codes.end(); }

  // Both raise std::out_of_range("invalid vector<T> subscript") past the end.
  void GetPoint(uint32_t index, ORT_Vector3T<double>& out);
  void GetCode(uint32_t index, uint32_t& out);

  // A polygon: every line becomes two segments (its midpoint is added), every curve is sampled
  // adaptively at 2^-7; a closed contour gets its closing line; then consecutive points within
  // 1e-6 in x and y are merged (the later one stays).
  void PolygonalApprox(std::vector<ORT_Vector3T<double>>& out) const;
  // A chain of cubics, 3k + 1 points: lines become cubics with control points at the thirds, a
  // closed contour gets its closing cubic, and cubics with coinciding ends are dropped.
  // Fails through KLY_Error with 0x5803 (BadContour, BadBezier).
  void PureBezier(std::vector<ORT_Vector3T<double>>& out) const;
  // Reverses points and codes position by position, then puts 0 first and 1 last. Exact for a
  // contour of lines only or of curves only; a curve next to a line gets its code moved by one
  // point. Kept so on purpose: the extrusion does not call it, other callers have seen it so.
  void ReverseOrientation();
  // Whether this contour's first point lies within 1e-6 (per coordinate) of any point of
  // `other`. Not symmetrical.
  bool IsDuplicate(KLY_Contour& other);
  // Three points or more, one start only, bounds with area, and a non-vanishing shoelace sum.
  bool TestContour();

  // Points become M applied to the saved base (saved from the points first if there is none),
  // so repeated calls do not add up.
  void ApplyTransform(const ORT_Matrix4& matrix);
  // Points are transformed further; the base is saved first if there is none.
  void AppendTransform(const ORT_Matrix4& matrix);
  // Back to the saved base, which is then dropped; nothing happens without one.
  void RevertTransform();
  void SaveToOriginal();
  // Back to the saved points and codes, which are then dropped. Unguarded on purpose: with
  // nothing saved the contour ends up empty.
  void RevertToOriginal();

  // Arc lengths of the cubics of a chain (3s to 3s + 3), summed into `cumulativeLengths`, which
  // is sized to n / 3. Returns the total; 0.0 with `cumulativeLengths` untouched for no points.
  // A chain of 3k points lacks the end of its last cubic: std::out_of_range then.
  double GetBezierArcLength(std::vector<ORT_Vector3T<double>>& bezierPoints,
                            std::vector<double>& cumulativeLengths);
  // Whether every segment of some length is within `tolerance` (1 - |cos|) of the direction of
  // the first one. `length` is the walked length, halved for a closed contour.
  bool IsColinear(double tolerance, double& length);
  // Collinear within 0.02 and shorter than 10 (half the walked length when closed).
  bool IsDegenerateContour();
  void GetOriginalBoundingBox(KLY_Bounds& out);

 protected:
  std::vector<ORT_Vector3T<double>> points;
  // Base of the transforms and saved state of SaveToOriginal; empty means nothing is saved.
  std::vector<ORT_Vector3T<double>> originalPoints;
  std::vector<uint32_t> codes;
  std::vector<uint32_t> originalCodes;
  uint32_t minGranularity = 0;
  uint32_t maxGranularity = 10;
  bool closed = false;
};
