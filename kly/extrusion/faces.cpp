// The front face, triangulated by the engine from the flattened outlines, and the back face,
// turned round from a copy of it.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include "kly/core/bounds.h"
#include "kly/extrusion/extrusion.h"
#include "kly/host/nut.h"
#include "kly/package/failure.h"
#include "kly/package/package.h"
#include "kly/tess/triangulate.h"

namespace {

using Vec3 = ORT_Vector3T<double>;
using Polygon = std::vector<Vec3>;

const char kBuildFaceTriangulation[] =
    "$$$/VD/KLY/BuildFaceTriangulation=Triangulation of front face failed. Outline may be self "
    "intersecting.";
constexpr uint16_t kBuildFaceTriangulationSub = 2;
// Quiet, a planar graph with segments and holes, numbers from 0.
constexpr const char* kFrontSwitches = "Qpz";
// Refinement keeps every segment whole (YY), so the face's outline is the walls' outline.
constexpr const char* kRefinedFrontSwitches = "QpzYYq";
constexpr uint16_t kPointsSite = 0;
constexpr uint16_t kSegmentsSite = 1;
constexpr uint16_t kHolesSite = 2;
// Twice a corner's area below which it cannot hold a hole's seed.
constexpr double kFlatCorner = 0.001;
constexpr double kThird = 0.3333333333333333;
// The most points whose engine arrays (16 bytes a point) fit the engine's 32-bit sizes.
constexpr uint32_t kMostEnginePoints = 0x7FFFFFFF / 16;

// Twice the signed area of the triangle a, b, c, in the order of terms the seed rule uses.
double CornerArea(const Vec3& a, const Vec3& b, const Vec3& c) {
  return a.x * b.y - a.y * b.x + a.y * c.x - a.x * c.y + b.x * c.y - b.y * c.x;
}

// A point inside a clockwise hole: the centroid of its first corner that has area and is
// convex seen from inside the hole, else the mean of its points (not tested any further: on a
// hole with a thin spike it may stand outside).
Vec3 HoleSeed(const Polygon& hole) {
  for (size_t k = 0; k + 2 < hole.size(); ++k) {
    const Vec3& a = hole[k];
    const Vec3& b = hole[k + 1];
    const Vec3& c = hole[k + 2];
    if (std::fabs(CornerArea(a, b, c)) < kFlatCorner) continue;
    const Vec3 g = (a + b + c) * kThird;
    if (CornerArea(a, b, g) < 0.0) return g;
  }
  Vec3 mean{0.0, 0.0, 0.0};
  const size_t count = hole.size() - 1;
  for (size_t k = 0; k < count; ++k) mean = mean + hole[k];
  return mean * (1.0 / static_cast<double>(count));
}

// The engine's switches for a face whose triangles keep at least `minAngle` degrees (0: none).
std::string FrontSwitches(double minAngle) {
  if (!(minAngle > 0.0)) return kFrontSwitches;
  // The engine reads digits and a point. Any angle past a right angle is refused as 90 is,
  // and the cap keeps the text short.
  char angle[32];
  std::snprintf(angle, sizeof angle, "%.9f", std::min(minAngle, 90.0));
  return std::string(kRefinedFrontSwitches) + angle;
}

}  // namespace

void KLY_Extrusion::BuildFrontMesh(KLY_Mesh& mesh) {
  if (polygons.empty()) return;
  uint64_t points = 0;
  for (const Polygon& polygon : polygons) points += polygon.size() - (polygon.empty() ? 0 : 1);
  if (points < 3) return;
  if (points > kMostEnginePoints) throw std::length_error("outline too large for the engine");
  const uint32_t pointTotal = static_cast<uint32_t>(points);
  uint32_t holeTotal = 0;
  for (uint32_t flag : holeFlags) holeTotal += flag == 1 ? 1 : 0;

  TessRecord in{};
  TessRecord out{};
  int32_t failure = 0;
  try {
    in.pointCount = static_cast<int32_t>(pointTotal);
    in.points = static_cast<double*>(TessAlloc(kPointsSite, 16 * pointTotal));
    in.segmentCount = static_cast<int32_t>(pointTotal);
    in.segments = static_cast<int32_t*>(TessAlloc(kSegmentsSite, 8 * pointTotal));
    in.holeCount = static_cast<int32_t>(holeTotal);
    in.holes = static_cast<double*>(TessAlloc(kHolesSite, 16 * holeTotal));
    FillEngineInput(in);
    try {
      triangulate(FrontSwitches(faceQuality).c_str(), in, out, nullptr);
    } catch (...) {
      TessFreeRecord(&in);
      KLY_Error(KLY_kErrOutline, NUT_ZStringToMBString(kBuildFaceTriangulation).c_str(),
                kBuildFaceTriangulationSub);
    }
    TessFreeRecord(&in);
    WriteFrontFace(out, mesh);
  } catch (int32_t number) {
    failure = number;
  } catch (std::exception& e) {
    failure = NUT_TranslateAndReportException(e);
  }
  TessFreeRecord(&in);
  TessFreeRecord(&out);
  if (failure != 0) throw failure;
}

void KLY_Extrusion::FillEngineInput(TessRecord& in) const {
  int32_t p = 0;
  for (const Polygon& polygon : polygons) {
    const int32_t first = p;
    if (polygon.size() < 2) continue;
    // The last point repeats the first and is left out; the last segment closes the loop.
    for (size_t j = 0; j + 1 < polygon.size(); ++j, ++p) {
      in.points[2 * p] = polygon[j].x;
      in.points[2 * p + 1] = polygon[j].y;
      in.segments[2 * p] = p;
      in.segments[2 * p + 1] = j + 2 < polygon.size() ? p + 1 : first;
    }
  }
  int32_t h = 0;
  for (size_t i = 0; i < polygons.size(); ++i) {
    if (i >= holeFlags.size() || holeFlags[i] != 1) continue;
    const Vec3 seed = HoleSeed(polygons[i]);
    in.holes[2 * h] = seed.x;
    in.holes[2 * h + 1] = seed.y;
    ++h;
  }
}

void KLY_Extrusion::WriteFrontFace(const TessRecord& out, KLY_Mesh& mesh) const {
  KLY_Bounds bounds;
  bounds.Empty();
  for (const Polygon& polygon : polygons)
    for (const Vec3& point : polygon) bounds += point;
  tagBounds box;
  bounds.GetBounds(box);
  const double ru = 1.0 / (box.max_x - box.min_x);
  const double rv = 1.0 / (box.max_y - box.min_y);

  mesh.ClearGeometry();
  for (int32_t k = 0; k < out.pointCount; ++k) {
    const double x = out.points[2 * k];
    const double y = out.points[2 * k + 1];
    KLY_Vertex v;
    v.pos = {x, y, 0.0};
    v.pos_w = 1.0;
    v.uv = {(x - box.min_x) * ru, (y - box.min_y) * rv};
    v.normal = {0.0, 0.0, -1.0};
    v.singular = false;
    mesh.PushVertex(v);
  }
  for (int32_t t = 0; t < out.triangleCount; ++t) {
    const int32_t* c = out.corners + 3 * t;
    KLY_Triangle triangle(static_cast<uint32_t>(c[0]), static_cast<uint32_t>(c[1]),
                          static_cast<uint32_t>(c[2]));
    triangle.material_index = kFrontMaterial;
    triangle.normal = {0.0, 0.0, -1.0};
    mesh.PushFace(triangle);
  }
}

void KLY_Extrusion::BuildBackMesh(KLY_Mesh& mesh) {
  mesh.FlipPoly();
  double z = extrusionDepth;
  if (bevelStyle != BevelNone) z += 2.0 * bevelDepth;
  for (auto v = mesh.beginVerts(); v != mesh.endVerts(); ++v) {
    v->pos.z = z;
    v->pos_w = 1.0;
    v->normal.z = -v->normal.z;
    v->uv.x = 1.0 - v->uv.x;
  }
  // The back face's triangle normal stays -Z like the front's; only the vertex normals turn.
  // A faceted mesh gets its triangle normals recomputed by Update.
  for (auto t = mesh.beginTriangles(); t != mesh.endTriangles(); ++t) {
    t->material_index = kBackMaterial;
    t->normal = {0.0, 0.0, -1.0};
  }
}
