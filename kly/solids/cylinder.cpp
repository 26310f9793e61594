#include "kly/solids/cylinder.h"

#include <cmath>
#include <vector>

#include "kly/core/bounds.h"
#include "kly/host/nut.h"
#include "kly/package/failure.h"
#include "kly/tess/triangulate.h"

namespace {

constexpr double kTwoPi = 6.283185307179586;
constexpr double kMinPower = 0.1;
constexpr double kMaxPower = 1.0;
constexpr double kMaxAmplitude = 1.0;
// The profile's coordinates are held within this of the axis.
constexpr double kProfileLimit = 2.0;
// Conforming Delaunay with segments, quiet but for the statistics pass, numbering from 0.
constexpr const char* kCapSwitches = "VpDz";
constexpr uint16_t kPointsSite = 0;
constexpr uint16_t kSegmentsSite = 1;
constexpr uint32_t kSideMaterial = 0;
constexpr uint32_t kCapMaterial = 1;

double Sign(double v) {
  return v > 0.0 ? 1.0 : (v < 0.0 ? -1.0 : 0.0);
}

double ClampPower(double p) {
  return p < kMinPower ? kMinPower : (p > kMaxPower ? kMaxPower : p);
}

}  // namespace

KLY_Cylinder::KLY_Cylinder() {
  materials.resize(kNumMaterials);
  dirty = true;
  geometry_type = KLY_kTypeCylinder;
}

KLY_Cylinder::KLY_Cylinder(ORT_Vector3T<double>& dimensions) : KLY_Cylinder() {
  TopRadius = dimensions.x;
  BottomRadius = dimensions.y;
  Height = dimensions.z;
  RadialDivisions = 16;  // twice the default constructor's, deliberately
}

void KLY_Cylinder::Update() {
  if (dirty) BuildGeometry();
  KLY_Mesh::Update();
  dirty = false;
}

void KLY_Cylinder::SetTopRadius(double radius) {
  // Compared with the raw argument, so one below the floor sets dirty every time.
  if (TopRadius != radius) dirty = true;
  TopRadius = radius < kMinRadius ? kMinRadius : radius;
}

void KLY_Cylinder::SetBottomRadius(double radius) {
  if (BottomRadius != radius) dirty = true;
  BottomRadius = radius < kMinRadius ? kMinRadius : radius;
}

void KLY_Cylinder::SetHeight(double height) {
  if (Height != height) dirty = true;
  Height = height;
}

void KLY_Cylinder::SetDivisions(uint32_t radial, uint32_t height) {
  if (RadialDivisions != radial || HeightDivisions != height) dirty = true;
  RadialDivisions = radial;
  HeightDivisions = height;
}

void KLY_Cylinder::SetRadialPower(double power) {
  const double clamped = ClampPower(power);
  if (RadialPower != clamped) dirty = true;
  RadialPower = clamped;
}

void KLY_Cylinder::SetPedalPower(double power) {
  const double clamped = ClampPower(power);
  if (PedalPower != clamped) dirty = true;
  PedalPower = clamped;
}

void KLY_Cylinder::SetCap(bool cap) {
  if (Cap != cap) dirty = true;
  Cap = cap;
}

void KLY_Cylinder::SetNumPedals(uint32_t pedals) {
  const uint32_t corrected = pedals == 0 ? 1 : pedals;
  if (NumPedals != corrected) dirty = true;
  NumPedals = corrected;
}

void KLY_Cylinder::SetPedalAmplitude(double amplitude) {
  const double clamped = amplitude > kMaxAmplitude ? kMaxAmplitude : amplitude;
  if (PedalAmplitude != clamped) dirty = true;
  PedalAmplitude = clamped;
}

void KLY_Cylinder::SetMaterial(uint32_t index, const KLY_Material& material) {
  if (index >= kNumMaterials) KLY_FailIndex("invalid cylinder material index.");
  materials[index] = material;
}

void KLY_Cylinder::GetMaterial(uint32_t index, KLY_Material& out) const {
  if (index >= kNumMaterials) KLY_FailIndex("invalid cylinder material index.");
  out = materials[index];
}

void KLY_Cylinder::GetTrianglesForFace(uint32_t face, std::vector<KLY_Triangle>& out) const {
  out.clear();
  for (const KLY_Triangle& t : triangles) {
    if (t.material_index == face) out.push_back(t);
  }
}

void KLY_Cylinder::GetSideNormal(uint32_t i, uint32_t, double radius, double, double y, double dy,
                                 const double* x, const double* z, ORT_Vector3T<double>& normal) {
  // The facet to the right of point i, at one radius: horizontal on a cone too. The seam point
  // wraps to 1, so it shares the normal of point 0.
  const uint32_t j = i < RadialDivisions ? i + 1 : 1;
  const ORT_Vector3T<double> points[3] = {{x[i] * radius, y, z[i] * radius},
                                          {x[j] * radius, y, z[j] * radius},
                                          {x[j] * radius, y + dy, z[j] * radius}};
  // The profile runs in the negative sense, so (p1 - p0) x (p2 - p0) points away from the axis.
  // A degenerate facet (no height, an infinite dy) keeps the zero normal; the status is not
  // looked at.
  ORT_PlaneEq plane{0.0, 0.0, 0.0, 0.0};
  ORT_GetPlaneEquation(points, 3, &plane, nullptr);
  normal = {plane.a, plane.b, plane.c};
}

void KLY_Cylinder::BuildTopCap(double* x, double* z, KLY_Mesh& mesh) {
  const uint32_t n = RadialDivisions;
  const double T = TopRadius;
  const double H = Height;
  TessRecord input{};
  TessRecord output{};
  int32_t failure = 0;
  try {
    input.pointCount = static_cast<int32_t>(n);
    input.segmentCount = static_cast<int32_t>(n);
    input.points = static_cast<double*>(TessAlloc(kPointsSite, 2 * n * sizeof(double)));
    input.segments = static_cast<int32_t*>(TessAlloc(kSegmentsSite, 2 * n * sizeof(int32_t)));
    KLY_Bounds bounds;
    for (uint32_t i = 0; i < n; ++i) {
      input.points[2 * i] = T * x[i];
      input.points[2 * i + 1] = T * z[i];
      input.segments[2 * i] = static_cast<int32_t>(i);
      input.segments[2 * i + 1] = static_cast<int32_t>(i + 1 < n ? i + 1 : 0);
      bounds += ORT_Vector3T<double>{T * x[i], 0.0, T * z[i]};
    }

    // The engine may add points on the outline; the cap keeps them, the side never sees them.
    triangulate(kCapSwitches, input, output, nullptr);
    TessFreeRecord(&input);

    const double su = 1.0 / (bounds.max_x - bounds.min_x);
    const double sv = -1.0 / (bounds.max_z - bounds.min_z);
    for (int32_t k = 0; k < output.pointCount; ++k) {
      const double px = output.points[2 * k];
      const double pz = output.points[2 * k + 1];
      KLY_Vertex v;
      v.pos = {px, -H * 0.5, pz};
      v.pos_w = 1.0;
      v.uv = {(px - bounds.min_x) * su, (pz - bounds.max_z) * sv};
      v.normal = {0.0, -1.0, 0.0};
      mesh.PushVertex(v);
    }
    for (int32_t t = 0; t < output.triangleCount; ++t) {
      const int32_t* c = &output.corners[3 * t];
      KLY_Triangle triangle(static_cast<uint32_t>(c[2]), static_cast<uint32_t>(c[1]),
                            static_cast<uint32_t>(c[0]));
      triangle.material_index = kCapMaterial;
      triangle.normal = {0.0, -1.0, 0.0};
      mesh.PushFace(triangle);
    }
    TessFreeRecord(&output);
  } catch (int32_t e) {
    failure = e;
  } catch (std::exception& e) {
    failure = NUT_TranslateAndReportException(e);
  }
  if (failure != 0) {
    TessFreeRecord(&input);
    TessFreeRecord(&output);
    throw failure;
  }
}

void KLY_Cylinder::BuildBottomCap(KLY_Mesh& mesh) {
  // The top cap turned over and scaled: the engine runs once a build, not once a cap. The
  // setters hold TopRadius at 1e-5 or more, so the division is safe.
  mesh.FlipPoly();
  const double k = BottomRadius / TopRadius;
  for (auto v = mesh.beginVerts(); v != mesh.endVerts(); ++v) {
    v->pos = {v->pos.x * k, Height * 0.5, v->pos.z * k};
    v->pos_w = 1.0;
    v->uv.y = 1.0 - v->uv.y;
    v->normal = {0.0, 1.0, 0.0};
  }
}

void KLY_Cylinder::BuildGeometry() {
  const uint32_t n = RadialDivisions;
  const uint32_t m = HeightDivisions;
  int32_t failure = 0;
  std::vector<double> x;
  std::vector<double> z;
  try {
    KLY_Mesh::ClearGeometry();

    // The unit profile. n is rounded to single precision for the angle (that rounding is part
    // of the shape) and used in full for the petals. One spare entry lets the side normal of
    // a one-point section read "point 1" safely.
    x.resize(static_cast<size_t>(n) + 2);
    z.resize(static_cast<size_t>(n) + 2);
    const double n_single = static_cast<double>(static_cast<float>(n));
    for (uint32_t i = 0; i <= n; ++i) {
      const double theta = (-kTwoPi * i) / n_single;  // the section runs in the negative sense
      const double c = std::cos(theta);
      const double s = std::sin(theta);
      const double C = Sign(c) * std::pow(std::fabs(c), RadialPower);
      const double S = Sign(s) * std::pow(std::fabs(s), RadialPower);
      const double phi = (NumPedals * kTwoPi * i) / n;
      const double q = std::sin(phi);
      const double r = Sign(q) * PedalAmplitude * std::pow(std::fabs(q), PedalPower) + 1.0;
      const double X = C * r;
      const double Z = r * S;
      x[i] = X < -kProfileLimit ? -kProfileLimit : std::fmin(kProfileLimit, X);
      // Not the mirror of the x clamp: below -2 becomes +2. Kept as the format has it; only a
      // negative PedalAmplitude reaches it.
      z[i] = Z < -kProfileLimit ? kProfileLimit : std::fmin(kProfileLimit, Z);
    }
    x[n] = x[0];  // the seam closes exactly, whatever rounding did
    z[n] = z[0];
    x[n + 1] = x[n > 0 ? 1 : 0];
    z[n + 1] = z[n > 0 ? 1 : 0];

    uint32_t cap_vertices = 0;
    uint32_t cap_triangles = 0;
    if (Cap) {
      KLY_Mesh top;
      KLY_Mesh bottom;
      BuildTopCap(x.data(), z.data(), top);
      AppendTriangleMesh(top);
      bottom = top;
      top.ClearGeometry();
      BuildBottomCap(bottom);
      AppendTriangleMesh(bottom);
      bottom.ClearGeometry();
      cap_vertices = GetNumVertices();
      cap_triangles = GetNumTriangles();
    }

    const size_t ring = static_cast<size_t>(n) + 1;
    vertices.resize(cap_vertices + (static_cast<size_t>(m) + 1) * ring);
    triangles.resize(cap_triangles + 2 * static_cast<size_t>(m) * n);

    // y, radius and V are running sums, not products: the last ring meets H/2 and the bottom
    // radius only up to rounding, which can leave a hairline at the bottom cap. Required.
    const double H = Height;
    const double dy = H / m;
    const double dr = (BottomRadius - TopRadius) / m;
    const double dv = 1.0 / m;
    size_t next = cap_vertices;
    auto write_ring = [&](double y, double radius, double V) {
      for (uint32_t i = 0; i <= n; ++i) {
        KLY_Vertex& v = vertices[next++];
        v.pos = {x[i] * radius, y, z[i] * radius};
        v.pos_w = 1.0;
        v.uv = {1.0 - static_cast<double>(i) / n, V};
        GetSideNormal(i, 0, radius, 0.0, y, dy, x.data(), z.data(), v.normal);
      }
    };
    write_ring(-H * 0.5, TopRadius, 0.0);
    double y = -H * 0.5 + dy;
    double radius = TopRadius + dr;
    double V = dv;
    size_t t = cap_triangles;
    for (uint32_t k = 1; k <= m; ++k) {
      write_ring(y, radius, V);
      for (uint32_t i = 0; i < n; ++i) {
        const uint32_t a = cap_vertices + (k - 1) * (n + 1) + i;
        triangles[t].SetIndices(a, a + n + 1, a + n + 2);
        triangles[t++].material_index = kSideMaterial;
        triangles[t].SetIndices(a + n + 2, a + 1, a);
        triangles[t++].material_index = kSideMaterial;
      }
      y += dy;
      radius += dr;
      V += dv;
    }
    SetClosedTwoManifold(true);  // also without caps: the format says so
  } catch (int32_t e) {
    failure = e;
  } catch (std::exception& e) {
    failure = NUT_TranslateAndReportException(e);
  }
  if (failure != 0) {
    x = std::vector<double>();
    z = std::vector<double>();
    throw failure;
  }
}
