#include "tests/testing/extrusion_checker.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace kly {
namespace testing {
namespace {

using Vec3 = ORT_Vector3T<double>;
using Polygon = std::vector<Vec3>;
using VertexAt = std::vector<KLY_Vertex>::const_iterator;
using TriangleAt = std::vector<KLY_Triangle>::const_iterator;

constexpr uint32_t kFront = 0, kBack = 1, kWall = 2, kBevel = 3;
// Sums of many triangle areas agree with the outline's area to this share of it.
constexpr double kAreaAgreement = 1e-9;
constexpr double kUnitLength = 1e-9;
// A patch's normal where its two partial derivatives are parallel or vanish (a cubic whose
// control point sits on its end point): the direction of the front face, not of the surface.
const Vec3 kStandIn{0.0, 0.0, -1.0};
// The flattening tolerance of contours and patches, 2^-7.
constexpr double kFlatness = 0.0078125;
// Twice the flattening tolerance, once for each direction of a patch's grid.
constexpr double kChordRise = 2.0 * kFlatness;
// The least cosine of a corner's miter: a corner moves out by at most 1 / 0.6 of the outset.
constexpr double kLeastMiterCosine = 0.6;

double Dot(const Vec3& a, const Vec3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vec3 Cross(const Vec3& a, const Vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double Length(const Vec3& v) {
  return std::sqrt(Dot(v, v));
}

// Broken invariants by kind: the first case of each, and how many there were.
class FaultLog {
 public:
  void Add(const char* kind, const std::string& firstCase) {
    for (Entry& entry : entries_)
      if (entry.kind == kind) {
        ++entry.count;
        return;
      }
    entries_.push_back({kind, firstCase, 1});
  }

  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    for (const Entry& entry : entries_)
      lines.push_back(entry.count == 1 ? entry.firstCase
                                       : entry.firstCase + " (and " +
                                             std::to_string(entry.count - 1) + " more)");
    return lines;
  }

 private:
  struct Entry {
    const char* kind;
    std::string firstCase;
    size_t count;
  };
  std::vector<Entry> entries_;
};

// What a check finds, and the faults it logs on the way.
struct Checking {
  SolidFindings findings;
  FaultLog faults;
};

template <class... Parts>
std::string Text(const Parts&... parts) {
  std::ostringstream out;
  out.precision(17);
  (out << ... << parts);
  return out.str();
}

struct MeshView {
  VertexAt vertices;
  size_t vertexCount;
  TriangleAt triangles;
  size_t triangleCount;

  const KLY_Vertex& Corner(const KLY_Triangle& t, int k) const { return vertices[t.indices[k]]; }
  // (p2 - p0) x (p1 - p0): along the face normal by the library's winding, twice the area long.
  Vec3 OutwardCross(const KLY_Triangle& t) const {
    const Vec3& p0 = Corner(t, 0).pos;
    return Cross(Corner(t, 2).pos - p0, Corner(t, 1).pos - p0);
  }
};

bool IndicesInRange(const MeshView& mesh, Checking& checking) {
  for (size_t k = 0; k < mesh.triangleCount; ++k)
    for (uint32_t index : mesh.triangles[k].indices)
      if (index >= mesh.vertexCount) {
        checking.faults.Add(
            "index", Text("triangle ", k, " names vertex ", index, " of ", mesh.vertexCount));
        return false;
      }
  return true;
}

void CheckMaterials(const MeshView& mesh, const SolidExpectation& expected, Checking& checking) {
  size_t counts[4] = {0, 0, 0, 0};
  for (size_t k = 0; k < mesh.triangleCount; ++k) {
    const uint32_t material = mesh.triangles[k].material_index;
    if (material < 4)
      ++counts[material];
    else
      checking.faults.Add("material", Text("triangle ", k, " has material ", material));
  }
  if (counts[kFront] == 0) checking.faults.Add("no front", "no front triangles");
  if (counts[kBack] != counts[kFront])
    checking.faults.Add("back count",
                        Text(counts[kBack], " back triangles for ", counts[kFront], " front ones"));
  if ((counts[kBevel] > 0) != expected.bevels)
    checking.faults.Add("bevel count", Text(counts[kBevel], " bevel triangles, expected ",
                                            expected.bevels ? "some" : "none"));
  if ((counts[kWall] > 0) != expected.straightWalls)
    checking.faults.Add("wall count", Text(counts[kWall], " side wall triangles, expected ",
                                           expected.straightWalls ? "some" : "none"));
}

bool IsUnit(const Vec3& n) {
  return std::isfinite(n.x) && std::isfinite(n.y) && std::isfinite(n.z) &&
         std::fabs(Length(n) - 1.0) <= kUnitLength;
}

void CheckVertexNormals(const MeshView& mesh, Checking& checking) {
  for (size_t k = 0; k < mesh.vertexCount; ++k) {
    const Vec3& n = mesh.vertices[k].normal;
    if (!IsUnit(n))
      checking.faults.Add("normal length",
                          Text("vertex ", k, " has normal ", n.x, " ", n.y, " ", n.z));
  }
}

bool InUnitRange(double t) {
  return t >= 0.0 && t <= 1.0;
}

// A cap: every corner at depth `z` with vertex normal (0, 0, `normalZ`) and UVs in [0, 1],
// every triangle with normal (0, 0, -1) and a positive area seen along its vertex normal.
// Returns the sum of the areas.
double CheckCap(const MeshView& mesh, uint32_t material, double z, double normalZ,
                Checking& checking) {
  const char* name = material == kFront ? "front" : "back";
  const Vec3 capNormal{0.0, 0.0, normalZ};
  const Vec3 minusZ{0.0, 0.0, -1.0};
  double sum = 0.0;
  for (size_t k = 0; k < mesh.triangleCount; ++k) {
    const KLY_Triangle& t = mesh.triangles[k];
    if (t.material_index != material) continue;
    if (t.normal != minusZ)
      checking.faults.Add("cap triangle normal",
                          Text(name, " triangle ", k, " has another normal"));
    for (int c = 0; c < 3; ++c) {
      const KLY_Vertex& v = mesh.Corner(t, c);
      if (v.pos.z != z)
        checking.faults.Add("cap depth", Text(name, " vertex at z = ", v.pos.z, ", not ", z));
      if (v.normal != capNormal)
        checking.faults.Add("cap normal", Text(name, " vertex with another normal"));
      if (!InUnitRange(v.uv.x) || !InUnitRange(v.uv.y))
        checking.faults.Add("cap uv", Text(name, " vertex with UV ", v.uv.x, " ", v.uv.y));
    }
    // The library's face normal of a cap triangle is -Z; its own side is along normalZ.
    const double area = 0.5 * normalZ * mesh.OutwardCross(t).z;
    if (!(area > 0.0))
      checking.faults.Add("cap area", Text(name, " triangle ", k, " has area ", area));
    sum += area;
  }
  return sum;
}

bool IsWall(const KLY_Triangle& t) {
  return t.material_index == kWall || t.material_index == kBevel;
}

// Every wall corner between the front face and the deepest wall. Returns the highest z found.
double CheckWallDepths(const MeshView& mesh, const SolidExpectation& expected, Checking& checking) {
  const double top = std::max(expected.backDepth, expected.holeWallDepth);
  const double rounding = 1e-9 * (1.0 + top);
  double highest = 0.0;
  for (size_t k = 0; k < mesh.triangleCount; ++k) {
    if (!IsWall(mesh.triangles[k])) continue;
    for (int c = 0; c < 3; ++c) {
      const double z = mesh.Corner(mesh.triangles[k], c).pos.z;
      if (!(z >= -rounding && z <= top + rounding))
        checking.faults.Add("wall depth", Text("wall vertex at z = ", z, " outside 0 .. ", top));
      highest = std::max(highest, z);
    }
  }
  return highest;
}

// Wall triangles carry the face normal of the library's rule, unit (p2 - p0) x (p1 - p0); one
// of no area (a squared cross product below 1e-48) takes a vertex normal instead, which must
// be of unit length all the same. The direction is compared where the cross product is well
// clear of that limit, so that the two computations cannot fall on either side of it.
void CheckWallTriangleNormals(const MeshView& mesh, Checking& checking) {
  for (size_t k = 0; k < mesh.triangleCount; ++k) {
    const KLY_Triangle& t = mesh.triangles[k];
    if (!IsWall(t)) continue;
    if (!IsUnit(t.normal)) {
      checking.faults.Add(
          "wall triangle normal length",
          Text("wall triangle ", k, " has normal ", t.normal.x, " ", t.normal.y, " ", t.normal.z));
      continue;
    }
    const Vec3 cross = mesh.OutwardCross(t);
    const double length = Length(cross);
    if (!(length * length > 1e-40)) continue;
    const Vec3 unit = cross * (1.0 / length);
    if (!(Length(unit - t.normal) <= kUnitLength))
      checking.faults.Add("wall triangle normal",
                          Text("wall triangle ", k, " has normal ", t.normal.x, " ", t.normal.y,
                               " ", t.normal.z, ", not its face normal"));
  }
}

bool TurnsOver(const MeshView& mesh, const KLY_Triangle& t) {
  for (int c = 0; c < 3; ++c)
    if (!(Dot(mesh.Corner(t, c).normal, mesh.Corner(t, (c + 1) % 3).normal) > 0.0)) return true;
  return false;
}

enum class Facing { kUnjudged, kWithNormals, kOnFold, kAgainstNormals };

// How a wall triangle's plane faces, by the library's winding, against its corners' normals.
Facing JudgeFacing(const MeshView& mesh, const KLY_Triangle& t, Checking& checking) {
  const Vec3 cross = mesh.OutwardCross(t);
  const Vec3& p0 = mesh.Corner(t, 0).pos;
  const Vec3& p1 = mesh.Corner(t, 1).pos;
  const Vec3& p2 = mesh.Corner(t, 2).pos;
  const double longest = std::max({Length(p1 - p0), Length(p2 - p1), Length(p0 - p2)});
  // The grid's chords stand up to the flattening tolerance off the patch, along u and along v:
  // a triangle no taller than that across its longest edge may tilt either way, and its plane
  // says nothing about the surface's side.
  if (!(Length(cross) / longest > kChordRise)) return Facing::kUnjudged;
  int agreeing = 0, disagreeing = 0;
  for (int c = 0; c < 3; ++c) {
    const Vec3& normal = mesh.Corner(t, c).normal;
    if (Dot(normal, cross) > 0.0)
      ++agreeing;
    else if (normal == kStandIn)
      ++checking.findings.standInNormals;
    else
      ++disagreeing;
  }
  if (disagreeing == 0) return Facing::kWithNormals;
  // Corners that disagree among themselves, or a surface turning by a right angle or more
  // between two corners: no flat triangle follows the surface there.
  if (agreeing > 0 || TurnsOver(mesh, t)) return Facing::kOnFold;
  return Facing::kAgainstNormals;
}

// A wall patch whose grid is wound against its normals faces against them everywhere. Where a
// patch folds (a bevel wider than the radius of a concave curve turns it over), a fold
// narrower than the grid can leave a triangle with all its corners on the turned part and its
// plane on the other: such triangles come with the fold's straddling triangles, and fewer.
void CheckWallFacing(const MeshView& mesh, Checking& checking) {
  size_t firstAgainst = 0;
  for (size_t k = 0; k < mesh.triangleCount; ++k) {
    if (!IsWall(mesh.triangles[k])) continue;
    const Facing facing = JudgeFacing(mesh, mesh.triangles[k], checking);
    if (facing == Facing::kOnFold) ++checking.findings.foldTriangles;
    if (facing != Facing::kAgainstNormals) continue;
    if (checking.findings.againstTriangles++ == 0) firstAgainst = k;
  }
  if (checking.findings.againstTriangles > checking.findings.foldTriangles)
    checking.faults.Add("facing",
                        Text(checking.findings.againstTriangles, " wall triangles (the first ",
                             firstAgainst, ") face against their normals, beside ",
                             checking.findings.foldTriangles, " on folds"));
}

Polygon Flattened(const KLY_Contour& contour, const SolidExpectation& expected) {
  KLY_Contour copy = contour;
  copy.SetGranularity(expected.faceGranularityMin, expected.faceGranularityMax);
  copy.SetClosed(true);
  Polygon polygon;
  copy.PolygonalApprox(polygon);
  // The closing line ends on the first point again: one copy will do.
  if (polygon.size() > 1 && polygon.back() == polygon.front()) polygon.pop_back();
  return polygon;
}

// Twice the signed area of a closed polygon (the closing edge included), and its length.
void ShoelaceAndLength(const Polygon& polygon, double& twiceArea, double& length) {
  twiceArea = 0.0;
  length = 0.0;
  for (size_t j = 0; j < polygon.size(); ++j) {
    const Vec3& a = polygon[j];
    const Vec3& b = polygon[(j + 1) % polygon.size()];
    twiceArea += a.x * b.y - a.y * b.x;
    length += std::hypot(b.x - a.x, b.y - a.y);
  }
}

struct Segment {
  Vec3 a, b;
  size_t polygon, index;
};

double Orientation(const Vec3& a, const Vec3& b, const Vec3& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool Neighbours(const Segment& s, const Segment& t, const std::vector<Polygon>& polygons) {
  if (s.polygon != t.polygon) return false;
  const size_t n = polygons[s.polygon].size();
  const size_t gap = s.index > t.index ? s.index - t.index : t.index - s.index;
  return gap <= 1 || gap == n - 1;
}

// Whether `p`, on the line through a and b, lies between them.
bool Between(const Vec3& a, const Vec3& b, const Vec3& p) {
  return std::min(a.x, b.x) <= p.x && p.x <= std::max(a.x, b.x) && std::min(a.y, b.y) <= p.y &&
         p.y <= std::max(a.y, b.y);
}

// Whether two closed segments have a point in common: they cross, touch, or run over each
// other.
bool Meet(const Segment& s, const Segment& t) {
  const double o1 = Orientation(s.a, s.b, t.a), o2 = Orientation(s.a, s.b, t.b);
  const double o3 = Orientation(t.a, t.b, s.a), o4 = Orientation(t.a, t.b, s.b);
  if (((o1 > 0 && o2 < 0) || (o1 < 0 && o2 > 0)) && ((o3 > 0 && o4 < 0) || (o3 < 0 && o4 > 0)))
    return true;
  return (o1 == 0 && Between(s.a, s.b, t.a)) || (o2 == 0 && Between(s.a, s.b, t.b)) ||
         (o3 == 0 && Between(t.a, t.b, s.a)) || (o4 == 0 && Between(t.a, t.b, s.b));
}

// Whether two edges of the polygons meet, other than neighbours at their common end: the
// contours cross, touch or run over each other or themselves. Edges are swept in order of
// their smallest x.
bool AnyEdgesMeet(const std::vector<Polygon>& polygons) {
  std::vector<Segment> segments;
  for (size_t p = 0; p < polygons.size(); ++p)
    for (size_t j = 0; j < polygons[p].size(); ++j)
      segments.push_back({polygons[p][j], polygons[p][(j + 1) % polygons[p].size()], p, j});
  const auto left = [](const Segment& s) { return std::min(s.a.x, s.b.x); };
  const auto right = [](const Segment& s) { return std::max(s.a.x, s.b.x); };
  std::sort(segments.begin(), segments.end(),
            [&](const Segment& s, const Segment& t) { return left(s) < left(t); });
  for (size_t i = 0; i < segments.size(); ++i)
    for (size_t j = i + 1; j < segments.size() && left(segments[j]) <= right(segments[i]); ++j)
      if (!Neighbours(segments[i], segments[j], polygons) && Meet(segments[i], segments[j]))
        return true;
  return false;
}

// Even-odd containment of `point` in `polygon`, by a ray towards +x.
bool Contains(const Polygon& polygon, const Vec3& point) {
  bool inside = false;
  for (size_t j = 0; j < polygon.size(); ++j) {
    const Vec3& a = polygon[j];
    const Vec3& b = polygon[(j + 1) % polygon.size()];
    if ((a.y > point.y) == (b.y > point.y)) continue;
    const double x = a.x + (point.y - a.y) / (b.y - a.y) * (b.x - a.x);
    if (x > point.x) inside = !inside;
  }
  return inside;
}

// Whether some polygon lies inside two others: an island in a hole of an outer contour.
bool AnyIslandInHole(const std::vector<Polygon>& polygons) {
  for (size_t i = 0; i < polygons.size(); ++i) {
    if (polygons[i].empty()) continue;
    int depth = 0;
    for (size_t j = 0; j < polygons.size(); ++j)
      if (j != i && Contains(polygons[j], polygons[i][0])) ++depth;
    if (depth >= 2) return true;
  }
  return false;
}

// The area the flattened contours enclose, outer ones counting positive and holes negative as
// the font's windings say (nested contours turn opposite ways), and their length.
void MeasureOutline(const std::vector<Polygon>& polygons, Checking& checking) {
  double twiceArea = 0.0;
  for (const Polygon& polygon : polygons) {
    double area = 0.0, length = 0.0;
    ShoelaceAndLength(polygon, area, length);
    twiceArea += area;
    checking.findings.perimeter += length;
  }
  checking.findings.outlineArea = 0.5 * std::fabs(twiceArea);
}

// Sum over triangles of (p0 - origin) . (outward cross) / 6: the enclosed volume when every
// triangle faces out, by the divergence theorem. The origin sits on the front face, where the
// seams between caps and walls then add nothing.
double DivergenceVolume(const MeshView& mesh, const Vec3& origin) {
  double sum = 0.0;
  for (size_t k = 0; k < mesh.triangleCount; ++k) {
    const KLY_Triangle& t = mesh.triangles[k];
    sum += Dot(mesh.Corner(t, 0).pos - origin, mesh.OutwardCross(t));
  }
  return sum / 6.0;
}

// The volume lies between the prism of the outline's area and that prism grown by the bevels.
// The caps follow the flattened outline and the walls the curves themselves, each sampled to
// within the flattening tolerance: the seams between them may leave or overlap a strip that
// wide along the outline, over the whole depth. A bevel moves a wall outwards only, by at most
// the largest outset over the miter's least cosine (0.6); by Steiner's formula for the area of
// a parallel curve, a section moved out by r grows by the outline's length times r plus at most
// pi r^2 for each contour.
void CheckVolume(size_t contourCount, const SolidExpectation& expected, Checking& checking) {
  const double depth = expected.backDepth;
  const double prism = checking.findings.outlineArea * depth;
  const double seams = checking.findings.perimeter * kFlatness * depth;
  const double reach = expected.largestOutset / kLeastMiterCosine;
  const double growth = (checking.findings.perimeter * reach +
                         static_cast<double>(contourCount) * M_PI * reach * reach) *
                        depth;
  checking.findings.volumeLowest = prism - seams;
  checking.findings.volumeHighest = prism + growth + seams;
  if (!(checking.findings.volume >= checking.findings.volumeLowest &&
        checking.findings.volume <= checking.findings.volumeHighest))
    checking.faults.Add(
        "volume", Text("volume ", checking.findings.volume, " outside ",
                       checking.findings.volumeLowest, " .. ", checking.findings.volumeHighest));
}

Vec3 CentreOf(const std::vector<Polygon>& polygons) {
  double lo_x = HUGE_VAL, hi_x = -HUGE_VAL, lo_y = HUGE_VAL, hi_y = -HUGE_VAL;
  for (const Polygon& polygon : polygons)
    for (const Vec3& p : polygon) {
      lo_x = std::min(lo_x, p.x);
      hi_x = std::max(hi_x, p.x);
      lo_y = std::min(lo_y, p.y);
      hi_y = std::max(hi_y, p.y);
    }
  return {0.5 * (lo_x + hi_x), 0.5 * (lo_y + hi_y), 0.0};
}

}  // namespace

SolidFindings CheckSolid(const KLY_Mesh& mesh, const std::vector<KLY_Contour>& contours,
                         const SolidExpectation& expected) {
  Checking checking;
  SolidFindings& findings = checking.findings;
  const MeshView view{mesh.beginVerts(), mesh.GetNumVertices(), mesh.beginTriangles(),
                      mesh.GetNumTriangles()};
  if (!IndicesInRange(view, checking)) {
    findings.faults = checking.faults.Lines();
    return findings;
  }
  CheckMaterials(view, expected, checking);
  CheckVertexNormals(view, checking);
  findings.frontArea = CheckCap(view, kFront, 0.0, -1.0, checking);
  const double backArea = CheckCap(view, kBack, expected.backDepth, 1.0, checking);
  if (!(std::fabs(backArea - findings.frontArea) <= kAreaAgreement * findings.frontArea))
    checking.faults.Add("back area",
                        Text("back area ", backArea, " for a front area of ", findings.frontArea));
  const double highestWall = CheckWallDepths(view, expected, checking);
  CheckWallTriangleNormals(view, checking);
  CheckWallFacing(view, checking);

  std::vector<Polygon> polygons;
  for (const KLY_Contour& contour : contours) polygons.push_back(Flattened(contour, expected));
  MeasureOutline(polygons, checking);
  const double missing = std::fabs(findings.frontArea - findings.outlineArea);
  if (!(missing <= kAreaAgreement * findings.outlineArea)) {
    findings.crossingOutlines = AnyEdgesMeet(polygons);
    findings.islandInHole = !findings.crossingOutlines && AnyIslandInHole(polygons);
    if (!findings.crossingOutlines && !findings.islandInHole)
      checking.faults.Add("front area", Text("front area ", findings.frontArea,
                                             " for an outline area of ", findings.outlineArea));
  }
  findings.volume = DivergenceVolume(view, CentreOf(polygons));
  // Hole walls that pass the back face leave the surface open, and the theorem silent.
  const bool closed = highestWall <= expected.backDepth * (1.0 + 1e-9);
  if (closed && !findings.crossingOutlines && !findings.islandInHole)
    CheckVolume(polygons.size(), expected, checking);
  findings.faults = checking.faults.Lines();
  return findings;
}

}  // namespace testing
}  // namespace kly
