// Test helpers for KLY_Extrusion: a subclass that opens its stored fields and build stages to
// the test, outline builders, and scripted stand-ins for the host's path offset service.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "kly/extrusion/extrusion.h"
#include "kly/host/services.h"

namespace kly {
namespace testing {

class TestExtrusion : public KLY_Extrusion {
 public:
  using KLY_Extrusion::dirty;
  using KLY_Extrusion::materials;
  using KLY_Extrusion::triangles;
  using KLY_Extrusion::vertices;

  using KLY_Extrusion::bevelArcLengths;
  using KLY_Extrusion::bevelCurve;
  using KLY_Extrusion::bezierChains;
  using KLY_Extrusion::contourArcLengths;
  using KLY_Extrusion::contours;
  using KLY_Extrusion::holeBevelArcLengths;
  using KLY_Extrusion::holeBevelCurve;
  using KLY_Extrusion::holeFlags;
  using KLY_Extrusion::orientationFlags;
  using KLY_Extrusion::polygons;

  using KLY_Extrusion::AdjustContoursForBeveling;
  using KLY_Extrusion::BuildBackMesh;
  using KLY_Extrusion::BuildBevelCurve;
  using KLY_Extrusion::BuildFrontMesh;
  using KLY_Extrusion::BuildGeometry;
  using KLY_Extrusion::BuildPatchGeometry;
  using KLY_Extrusion::BuildSideMesh;
  using KLY_Extrusion::IsHoleBound;
  using KLY_Extrusion::OffsetContour;
  using KLY_Extrusion::OptimizeContours;

  // Whether every working field of a build is empty, as it must be outside one.
  bool WorkingFieldsEmpty() const {
    return polygons.empty() && bezierChains.empty() && holeFlags.empty() &&
           orientationFlags.empty() && contourArcLengths.empty() && bevelCurve.Size() == 0 &&
           holeBevelCurve.Size() == 0 && bevelArcLengths.empty() && holeBevelArcLengths.empty();
  }
};

using Vec3 = ORT_Vector3T<double>;

// A closed contour of straight lines through `corners`, in the given order: a move, then a
// line to each further corner; the closing line is left to `closed`.
inline KLY_Contour LineContour(const std::vector<Vec3>& corners) {
  KLY_Contour contour;
  for (size_t i = 0; i < corners.size(); ++i) {
    contour.AppendVertexPosition(corners[i]);
    contour.AppendVertexCode(i == 0 ? KLY_Contour::kCodeStart : KLY_Contour::kCodeLine);
  }
  contour.SetClosed(true);
  contour.SetGranularity(0, 10);
  return contour;
}

// The axis-aligned square [x0, x0 + side] x [y0, y0 + side], starting at its lower left corner,
// counter-clockwise or clockwise.
inline KLY_Contour Square(double x0, double y0, double side, bool counterClockwise = true) {
  const double x1 = x0 + side, y1 = y0 + side;
  if (counterClockwise) return LineContour({{x0, y0, 0}, {x1, y0, 0}, {x1, y1, 0}, {x0, y1, 0}});
  return LineContour({{x0, y0, 0}, {x0, y1, 0}, {x1, y1, 0}, {x1, y0, 0}});
}

// A polygon as PolygonalApprox leaves it: the corners, then the first one again.
inline std::vector<Vec3> ClosedPolygon(std::vector<Vec3> corners) {
  corners.push_back(corners.front());
  return corners;
}

// The indices of the vertices that the triangles of `material` use, ascending, each once.
inline std::vector<uint32_t> VerticesOfMaterial(const TestExtrusion& e, uint32_t material) {
  std::vector<bool> used(e.GetNumVertices(), false);
  for (const KLY_Triangle& t : e.triangles) {
    if (t.material_index != material) continue;
    for (uint32_t corner : t.indices) used[corner] = true;
  }
  std::vector<uint32_t> out;
  for (uint32_t i = 0; i < used.size(); ++i) {
    if (used[i]) out.push_back(i);
  }
  return out;
}

// The area of the triangles of `material`, projected on the XY plane.
inline double ProjectedArea(const TestExtrusion& e, uint32_t material) {
  double sum = 0.0;
  for (const KLY_Triangle& t : e.triangles) {
    if (t.material_index != material) continue;
    const Vec3& a = e.vertices[t.indices[0]].pos;
    const Vec3& b = e.vertices[t.indices[1]].pos;
    const Vec3& c = e.vertices[t.indices[2]].pos;
    const double twice = (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
    sum += 0.5 * (twice < 0 ? -twice : twice);
  }
  return sum;
}

// One call of the offset service, as the service saw it.
struct OffsetCall {
  std::vector<float> points;  // x, y of each path point
  std::vector<int32_t> types;
  float distance;
  float limit;
  float tolerance;
};

// One point of a scripted offset result: a path type (0 move, 1 line, 2 curve, 3 close).
struct PathPoint {
  int32_t type;
  float x;
  float y;
};

// An offset service that records every call; it streams `result` and returns 0, or, with no
// result given, streams nothing and returns a non-zero status, so that every contour keeps its
// shape.
class ScriptedOffsetService {
 public:
  explicit ScriptedOffsetService(std::vector<PathPoint> result = {}, bool succeed = false)
      : calls_(std::make_shared<std::vector<OffsetCall>>()),
        result_(std::move(result)),
        succeed_(succeed || !result_.empty()) {}

  // Installs this service in `services` (typically a ReportCapture's table).
  void InstallIn(host::HostServices& services) const {
    auto calls = calls_;
    auto result = result_;
    const bool succeed = succeed_;
    services.offset_path = [calls, result, succeed](const host::OffsetPathRequest& request,
                                                    const host::OffsetPathSink& sink) {
      OffsetCall call;
      call.points.assign(request.points, request.points + 2 * request.count);
      call.types.assign(request.types, request.types + request.count);
      call.distance = request.distance;
      call.limit = request.limit;
      call.tolerance = request.tolerance;
      calls->push_back(call);
      if (!succeed) return int32_t{1};
      for (const PathPoint& p : result) {
        if (const int32_t status = sink(p.type, p.x, p.y)) return status;
      }
      return int32_t{0};
    };
  }

  const std::vector<OffsetCall>& calls() const { return *calls_; }

 private:
  std::shared_ptr<std::vector<OffsetCall>> calls_;
  std::vector<PathPoint> result_;
  bool succeed_;
};

}  // namespace testing
}  // namespace kly
