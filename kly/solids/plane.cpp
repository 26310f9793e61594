#include "kly/solids/plane.h"

#include <cmath>

#include "kly/package/failure.h"

namespace {

// The arc of a bent sheet in its own 2D frame (u along the bent side, w out of the sheet): a
// piece of a circle of radius R about (h, d) that starts at (0, 0) and ends at (2h, 0).
struct Arc {
  bool positive;
  double h;
  double d;
  double step;
};

Arc MakeArc(double curvature, double extent, uint32_t divisions) {
  Arc arc;
  arc.positive = curvature > 0.0;
  const double c = curvature < -1.0 ? -1.0 : (curvature > 1.0 ? 1.0 : curvature);
  arc.h = extent * 0.5;
  const double R = std::fmax(arc.h, arc.h / std::fabs(c));
  arc.d = std::sqrt(R * R - arc.h * arc.h);
  if (arc.positive) arc.d = -arc.d;
  arc.step = (2.0 * std::asin(arc.h / R)) / divisions;
  return arc;
}

// Point k of the arc, and its unnormalised normal, which leans to the -w side either way.
void ArcPoint(const Arc& arc, uint32_t k, double& u, double& w, double& nu, double& nw) {
  const double a = arc.step * k;
  const double b = arc.positive ? -a : a;
  const double p0 = -arc.h;
  const double q0 = -arc.d;
  const double p = p0 * std::cos(b) - q0 * std::sin(b);
  const double q = p0 * std::sin(b) + q0 * std::cos(b);
  u = p + arc.h;
  w = q + arc.d;
  nu = u - arc.h;
  nw = w - arc.d;
  if (arc.positive) {
    nu = -nu;
    nw = -nw;
  }
}

}  // namespace

KLY_Plane::KLY_Plane() {
  materials.resize(1);
  dirty = true;
  geometry_type = KLY_kTypePlane;
}

KLY_Plane::KLY_Plane(ORT_Vector2T<double>& dimensions) : KLY_Plane() {
  Dimensions = dimensions;
}

void KLY_Plane::Update() {
  if (dirty) BuildGeometry();
  KLY_Mesh::Update();
  dirty = false;
}

void KLY_Plane::SetDimensions(ORT_Vector2T<double> dimensions) {
  if (dimensions != Dimensions) dirty = true;
  Dimensions = dimensions;
}

void KLY_Plane::SetDivisionsX(uint32_t divisions) {
  if (divisions != DivisionsX) dirty = true;
  DivisionsX = divisions;
}

void KLY_Plane::SetDivisionsY(uint32_t divisions) {
  if (divisions != DivisionsY) dirty = true;
  DivisionsY = divisions;
}

void KLY_Plane::SetCurvature(double curvature) {
  if (curvature != Curvature) dirty = true;
  Curvature = curvature;
}

void KLY_Plane::SetCurvatureAxis(uint32_t axis) {
  if (axis != CurvatureAxis) dirty = true;
  CurvatureAxis = axis;
}

void KLY_Plane::SetMaterial(const KLY_Material& material) {
  materials[0] = material;
}

void KLY_Plane::GetMaterial(KLY_Material& out) const {
  out = materials[0];
}

void KLY_Plane::BuildGeometry() {
  // A plane never claims to be closed. The sphere section leaves the mesh as it was, even
  // uncleared: it is not implemented, on purpose.
  SetClosedTwoManifold(false);
  if (CurvatureAxis == kAxisX) {
    BuildXCylinder();
  } else if (CurvatureAxis == kAxisSphere) {
    BuildSphereSection();
  } else {
    BuildYCylinder();
  }
}

void KLY_Plane::BuildCylinderSection() {
  if (CurvatureAxis != kAxisX) {
    BuildYCylinder();
  } else {
    BuildXCylinder();
  }
}

void KLY_Plane::VertexGeom(const ORT_Vector3T<double>& position, const ORT_Vector3T<double>& normal,
                           uint32_t i, uint32_t j) {
  const uint32_t n = DivisionsX;
  const uint32_t m = DivisionsY;
  KLY_Vertex& v = vertices[static_cast<size_t>(n + 1) * j + i];
  v.pos = position;
  v.pos_w = 1.0;
  v.uv = {std::fmin(1.0, static_cast<double>(i) / n), std::fmin(1.0, static_cast<double>(j) / m)};
  v.normal = normal;
}

void KLY_Plane::FaceGeom(uint32_t i, uint32_t j) {
  const uint32_t n = DivisionsX;
  const uint32_t a = (n + 1) * j + i;
  const uint32_t c = a + (n + 1);
  const size_t t = 2 * (static_cast<size_t>(j) * n + i);
  triangles[t].SetIndices(a, a + 1, c);
  triangles[t].material_index = 0;
  triangles[t + 1].SetIndices(a + 1, c + 1, c);
  triangles[t + 1].material_index = 0;
}

void KLY_Plane::BuildXCylinder() {
  const uint32_t n = DivisionsX;
  const uint32_t m = DivisionsY;
  const double W = Dimensions.x;
  const double H = Dimensions.y;
  const bool flat = Curvature == 0.0;
  const Arc arc = flat ? Arc{} : MakeArc(Curvature, W, n);

  KLY_Mesh::ClearGeometry();
  vertices.resize(static_cast<size_t>(n + 1) * (m + 1));
  triangles.resize(2 * static_cast<size_t>(n) * m);
  for (uint32_t j = 0; j <= m; ++j) {
    for (uint32_t i = 0; i <= n; ++i) {
      const double y = (H * j) / m;
      if (flat) {
        VertexGeom({(W * i) / n, y, 0.0}, {0.0, 0.0, -1.0}, i, j);
        continue;
      }
      double X, Z, nx, nz;
      ArcPoint(arc, i, X, Z, nx, nz);
      ORT_Vector3T<double> normal{nx, 0.0, nz};
      KLY_Normalize(normal);
      VertexGeom({X, y, Z}, normal, i, j);
    }
  }
  for (uint32_t j = 0; j < m; ++j) {
    for (uint32_t i = 0; i < n; ++i) FaceGeom(i, j);
  }
}

void KLY_Plane::BuildYCylinder() {
  const uint32_t n = DivisionsX;
  const uint32_t m = DivisionsY;
  const double W = Dimensions.x;
  const double H = Dimensions.y;
  const bool flat = Curvature == 0.0;
  const Arc arc = flat ? Arc{} : MakeArc(Curvature, H, m);

  KLY_Mesh::ClearGeometry();
  vertices.resize(static_cast<size_t>(n + 1) * (m + 1));
  triangles.resize(2 * static_cast<size_t>(n) * m);
  for (uint32_t j = 0; j <= m; ++j) {
    for (uint32_t i = 0; i <= n; ++i) {
      const double x = (W * i) / n;
      if (flat) {
        VertexGeom({x, (H * j) / m, 0.0}, {0.0, 0.0, -1.0}, i, j);
        continue;
      }
      double Y, Z, ny, nz;
      ArcPoint(arc, j, Y, Z, ny, nz);
      ORT_Vector3T<double> normal{0.0, ny, nz};
      KLY_Normalize(normal);
      VertexGeom({x, Y, Z}, normal, i, j);
    }
  }
  for (uint32_t j = 0; j < m; ++j) {
    for (uint32_t i = 0; i < n; ++i) FaceGeom(i, j);
  }
}
