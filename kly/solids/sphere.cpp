#include "kly/solids/sphere.h"

#include <cmath>
#include <vector>

#include "kly/core/bounds.h"
#include "kly/host/nut.h"
#include "kly/package/failure.h"

namespace {

using Point = ORT_Vector3T<double>;

// An octahedron whose +x corner is doubled: the faces with z < 0 end at (1, 0, -0.00001), those
// with z > 0 at (1, 0, 0), and the slivers 8 and 9 close the gap. The gap is where U wraps.
constexpr double kSeamZ = -0.00001;
const Point kBaseTable[10][3] = {
    {{1, 0, 0}, {0, -1, 0}, {0, 0, 1}},      {{0, 0, 1}, {0, -1, 0}, {-1, 0, 0}},
    {{-1, 0, 0}, {0, -1, 0}, {0, 0, -1}},    {{0, 0, -1}, {0, -1, 0}, {1, 0, kSeamZ}},
    {{1, 0, 0}, {0, 0, 1}, {0, 1, 0}},       {{0, 0, 1}, {-1, 0, 0}, {0, 1, 0}},
    {{-1, 0, 0}, {0, 0, -1}, {0, 1, 0}},     {{0, 0, -1}, {1, 0, kSeamZ}, {0, 1, 0}},
    {{1, 0, kSeamZ}, {0, -1, 0}, {1, 0, 0}}, {{1, 0, kSeamZ}, {1, 0, 0}, {0, 1, 0}}};
constexpr uint32_t kBaseTriangles = 10;

constexpr double kPi = 3.141592653589793;
constexpr double kTwoPi = 6.283185307179586;
// V within this of 0 or 1 marks a pole, where U is 0.
constexpr double kPoleV = 0.000001;
// The seam repair's band, both for "behind" in z and for "U is zero".
constexpr double kSeamBand = 0.000001;
// Exponents below this send a coordinate to the corner of the cube.
constexpr double kMinPower = 0.001;

// The midpoint of an edge pushed out to the unit sphere, with the reciprocal length rounded to
// single precision: points are unit length only to single precision, and that is the shape.
Point EdgePoint(const Point& p, const Point& q) {
  Point m{(p.x + q.x) * 0.5, (p.y + q.y) * 0.5, (p.z + q.z) * 0.5};
  const double s = m.x * m.x + m.y * m.y + m.z * m.z;
  if (s != 0.0) {
    const double k = static_cast<double>(static_cast<float>(1.0 / std::sqrt(s)));
    m = {m.x * k, m.y * k, m.z * k};
  }
  return m;
}

// Triangle (A, B, C) into four, written to out[0..11] in the order of the next level.
void SplitTriangle(const Point& A, const Point& B, const Point& C, Point* out) {
  const Point mac = EdgePoint(A, C);
  const Point mab = EdgePoint(A, B);
  const Point mbc = EdgePoint(C, B);
  out[0] = A, out[1] = mab, out[2] = mac;
  out[3] = mab, out[4] = B, out[5] = mbc;
  out[6] = mac, out[7] = mab, out[8] = mbc;
  out[9] = mac, out[10] = mbc, out[11] = C;
}

// One round: every triangle into four. `next` is sized exactly, once.
std::vector<Point> SubdivideOnce(const std::vector<Point>& points) {
  std::vector<Point> next(points.size() * 4);
  for (size_t t = 0; t < points.size(); t += 3) {
    SplitTriangle(points[t], points[t + 1], points[t + 2], &next[4 * t]);
  }
  return next;
}

double Shape(double c, double p) {
  if (p >= kMinPower) {
    const double sign = c > 0.0 ? 1.0 : (c < 0.0 ? -1.0 : 0.0);
    return sign * std::pow(std::fabs(c), p);
  }
  return c > 0.0 ? 1.0 : -1.0;  // so a zero coordinate goes to -1
}

double Clamp(double v, double lo, double hi) {
  return v < lo ? lo : (v > hi ? hi : v);
}

}  // namespace

KLY_Sphere::KLY_Sphere() {
  materials.resize(1);
  dirty = true;
  geometry_type = KLY_kTypeSphere;
}

KLY_Sphere::KLY_Sphere(ORT_Vector3T<double>& radius, ORT_Vector3T<double>) : KLY_Sphere() {
  Radius = radius;
}

void KLY_Sphere::Update() {
  if (dirty) BuildGeometry();
  KLY_Mesh::Update();
  dirty = false;
}

void KLY_Sphere::SetRadius(ORT_Vector3T<double> radius) {
  if (!KLY_IsNearlyEqual(radius.x, Radius.x) || !KLY_IsNearlyEqual(radius.y, Radius.y) ||
      !KLY_IsNearlyEqual(radius.z, Radius.z)) {
    dirty = true;
  }
  Radius = radius;
}

void KLY_Sphere::SetPower(ORT_Vector3T<double> power) {
  // The raw arguments are compared, so an argument above 1.0 sets dirty every time.
  if (!KLY_IsNearlyEqual(power.x, Power.x) || !KLY_IsNearlyEqual(power.y, Power.y) ||
      !KLY_IsNearlyEqual(power.z, Power.z)) {
    dirty = true;
  }
  Power = {std::fmin(power.x, 1.0), std::fmin(power.y, 1.0), std::fmin(power.z, 1.0)};
}

void KLY_Sphere::SetSubdivisions(uint32_t subdivisions) {
  if (subdivisions != Subdivisions) dirty = true;
  Subdivisions = subdivisions;
}

void KLY_Sphere::SetMaterial(const KLY_Material& material) {
  materials[0] = material;
}

void KLY_Sphere::GetMaterial(KLY_Material& out) const {
  out = materials[0];
}

void KLY_Sphere::BuildGeometry() {
  int32_t failure = 0;
  std::vector<Point> points;
  try {
    KLY_Mesh::ClearGeometry();
    if (Subdivisions > kMaxSubdivisions - 1) Subdivisions = kMaxSubdivisions;

    points.assign(&kBaseTable[0][0], &kBaseTable[0][0] + 3 * kBaseTriangles);
    // All rounds but the last go through arrays; the last one feeds the vertices directly,
    // which spares the largest array (its points are used once, in order).
    for (uint32_t round = 1; round < Subdivisions; ++round) {
      std::vector<Point> next = SubdivideOnce(points);
      points.swap(next);  // the previous level is released here, before the next round
    }

    const bool shaped = Power.x != 1.0 || Power.y != 1.0 || Power.z != 1.0;
    auto append_vertex = [this, shaped](Point p) {
      if (shaped) p = {Shape(p.x, Power.x), Shape(p.y, Power.y), Shape(p.z, Power.z)};
      KLY_Vertex v;
      const double theta = std::acos(Clamp(p.y, -1.0, 1.0));
      const double V = 1.0 - theta / kPi;
      double U = 0.0;
      if (!(V < kPoleV || V > 1.0 - kPoleV)) {
        U = std::acos(Clamp(p.x / std::sin(theta), -1.0, 1.0)) / kTwoPi;
        if (!(p.z >= 0.0)) U = 1.0 - U;
      }
      v.uv = {U, V};
      // The normal of the underlying ellipsoid, also on a shaped solid: deliberate.
      v.normal = {p.x / Radius.x, p.y / Radius.y, p.z / Radius.z};
      KLY_Normalize(v.normal);
      v.pos = {p.x * Radius.x, p.y * Radius.y, p.z * Radius.z};  // pos_w stays 0 here
      vertices.push_back(v);
    };

    const size_t point_count = points.size() * (Subdivisions == 0 ? 1 : 4);
    vertices.reserve(point_count);
    if (Subdivisions == 0) {
      for (const Point& p : points) append_vertex(p);
    } else {
      Point four[12];
      for (size_t t = 0; t < points.size(); t += 3) {
        SplitTriangle(points[t], points[t + 1], points[t + 2], four);
        for (const Point& p : four) append_vertex(p);
      }
    }
    points = std::vector<Point>();

    const uint32_t triangle_count = static_cast<uint32_t>(point_count / 3);
    triangles.reserve(triangle_count);
    for (uint32_t t = 0; t < triangle_count; ++t)
      triangles.emplace_back(3 * t, 3 * t + 1, 3 * t + 2);

    // Seam repair: a triangle behind the seam that touches U = 0 ends at U = 1 instead. No
    // vertex is shared, so this moves one triangle's corner only; poles follow the same rule.
    for (uint32_t t = 0; t < triangle_count; ++t) {
      KLY_Vertex* corner = &vertices[3 * static_cast<size_t>(t)];
      const bool behind = corner[0].pos.z < -kSeamBand || corner[1].pos.z < -kSeamBand ||
                          corner[2].pos.z < -kSeamBand;
      if (!behind) continue;
      for (int c = 0; c < 3; ++c) {
        if (corner[c].uv.x > -kSeamBand && corner[c].uv.x < kSeamBand) corner[c].uv.x = 1.0;
      }
    }
    SetClosedTwoManifold(true);
  } catch (int32_t e) {
    failure = e;
  } catch (std::exception& e) {
    failure = NUT_TranslateAndReportException(e);
  }
  if (failure != 0) {
    points = std::vector<Point>();
    throw failure;
  }
}
