#include "kly/curves/cubic_bezier_patch.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "kly/curves/cubic_bezier_curve.h"
#include "kly/curves/patch_blocks.h"
#include "kly/mesh/mesh.h"
#include "kly/package/failure.h"

namespace {

using Vec3 = ORT_Vector3T<double>;

// Bernstein values of one parameter, degree 3 and degree 2, computed once and shared by the
// point and both partials.
struct Basis {
  double cubic[4];
  double quadratic[3];
};

void FillBasis(double t, Basis& out) {
  const double s = 1.0 - t;
  out.cubic[0] = s * s * s;
  out.cubic[1] = 3.0 * t * s * s;
  out.cubic[2] = 3.0 * t * t * s;
  out.cubic[3] = t * t * t;
  out.quadratic[0] = s * s;
  out.quadratic[1] = 2.0 * t * s;
  out.quadratic[2] = t * t;
}

// The control net with its forward differences along u and v, formed once per patch.
struct Net {
  Vec3 points[16];
  Vec3 uDifferences[12];  // (r, c) at 3 r + c: point (r, c + 1) - point (r, c)
  Vec3 vDifferences[12];  // (r, c) at 4 r + c: point (r + 1, c) - point (r, c)
};

void FillNet(const Vec3 (&points)[16], Net& net) {
  for (int i = 0; i < 16; ++i) net.points[i] = points[i];
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 3; ++c)
      net.uDifferences[3 * r + c] = points[4 * r + c + 1] - points[4 * r + c];
  }
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 4; ++c)
      net.vDifferences[4 * r + c] = points[4 * r + c + 4] - points[4 * r + c];
  }
}

inline void Accumulate(Vec3& sum, const Vec3& p, double w) {
  sum.x += p.x * w;
  sum.y += p.y * w;
  sum.z += p.z * w;
}

// Sum over rows r and columns c of B3,c(u) B3,r(v) point (r, c).
inline Vec3 PointAt(const Net& net, const Basis& u, const Basis& v) {
  Vec3 sum{0.0, 0.0, 0.0};
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) Accumulate(sum, net.points[4 * r + c], u.cubic[c] * v.cubic[r]);
  }
  return sum;
}

// 3 times the sum over rows r and columns c < 3 of B3,r(v) B2,c(u) (point (r, c+1) - point (r, c)).
inline Vec3 PartialUAt(const Net& net, const Basis& u, const Basis& v) {
  Vec3 sum{0.0, 0.0, 0.0};
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 3; ++c) {
      Accumulate(sum, net.uDifferences[3 * r + c], v.cubic[r] * u.quadratic[c]);
    }
  }
  return sum * 3.0;
}

// 3 times the sum over rows r < 3 and columns c of B2,r(v) B3,c(u) (point (r+1, c) - point (r, c)).
inline Vec3 PartialVAt(const Net& net, const Basis& u, const Basis& v) {
  Vec3 sum{0.0, 0.0, 0.0};
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 4; ++c) {
      Accumulate(sum, net.vDifferences[4 * r + c], v.quadratic[r] * u.cubic[c]);
    }
  }
  return sum * 3.0;
}

// Unit a x b; (0, 0, -1) for an exact zero; 4363 for a vector too short to normalise.
inline Vec3 NormalFromPartials(const Vec3& a, const Vec3& b) {
  Vec3 n{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
  const double s = n.x * n.x + n.y * n.y + n.z * n.z;
  if (s > 0.0) {
    KLY_Normalize(n);
  } else if (s == 0.0) {
    // A collapsed row or column (a point where the patch pinches): face the front.
    n = {0.0, 0.0, -1.0};
  }
  return n;  // NaN coordinates give NaN normals, with no failure
}

inline Vec3 NormalAt(const Net& net, const Basis& u, const Basis& v) {
  return NormalFromPartials(PartialUAt(net, u, v), PartialVAt(net, u, v));
}

// A grid row costs a cubic's evaluation a vertex instead of the whole net's.
using kly::curves::BasisBlock;
using kly::curves::kBlock;
using kly::curves::NormalBlock;
using kly::curves::PositionBlock;
using Row = kly::curves::RowCurve;

void FillRow(const Net& net, const Basis& v, Row& row) {
  for (int c = 0; c < 4; ++c) {
    Vec3 p{0.0, 0.0, 0.0};
    for (int r = 0; r < 4; ++r) Accumulate(p, net.points[4 * r + c], v.cubic[r]);
    Vec3 d{0.0, 0.0, 0.0};
    for (int r = 0; r < 3; ++r) Accumulate(d, net.vDifferences[4 * r + c], v.quadratic[r]);
    row.points[c] = p;
    row.vDerivative[c] = d;
  }
}

void FillBasisBlock(const double* parameters, uint32_t columns, BasisBlock& out) {
  for (uint32_t i = 0; i < columns; ++i) {
    Basis basis;
    FillBasis(parameters[i], basis);
    for (int c = 0; c < 4; ++c) out.cubic[c][i] = basis.cubic[c];
    for (int c = 0; c < 3; ++c) out.quadratic[c][i] = basis.quadratic[c];
  }
}

// Normal `i` of a block finished as NormalFromPartials finishes it.
inline Vec3 FinishNormal(const NormalBlock& n, uint32_t i) {
  const double s = n.s[i];
  if (s > 0.0) {
    if (1e-48 > s) KLY_FailNormalisation();
    return {n.x[i] * n.k[i], n.y[i] * n.k[i], n.z[i] * n.k[i]};
  }
  if (s == 0.0) return {0.0, 0.0, -1.0};
  return {n.x[i], n.y[i], n.z[i]};
}

// The grid's triangles, row by row of quads: (a, a + nu + 1, a + 1), then (a, a + nu,
// a + nu + 1), with a = firstVertex + j nu + i.
void WriteTriangles(uint32_t nu, uint32_t nv, uint32_t firstVertex, uint32_t material,
                    KLY_Triangle* out) {
  for (uint32_t j = 0; j + 1 < nv; ++j) {
    for (uint32_t i = 0; i + 1 < nu; ++i) {
      const uint32_t a = firstVertex + j * nu + i;
      out->SetIndices(a, a + nu + 1, a + 1);
      (out++)->material_index = material;
      out->SetIndices(a, a + nu, a + nu + 1);
      (out++)->material_index = material;
    }
  }
}

// Face normal `i` of a block finished to unit length. A triangle with no area (where a row of
// the grid pinches to a point) takes its first corner's vertex normal instead of failing: the
// grid is sound there, only that sliver is not.
inline Vec3 FinishFaceNormal(const NormalBlock& n, uint32_t i, const Vec3& firstCorner) {
  const double s = n.s[i];
  if (1e-48 > s || !std::isfinite(s)) return firstCorner;
  return {n.x[i] * n.k[i], n.y[i] * n.k[i], n.z[i] * n.k[i]};
}

// One of the evaluations above at a single (u, v), by the same arithmetic as FillMesh's grid.
template <class Evaluation>
Vec3 AtParameters(const Vec3 (&points)[16], double u, double v, Evaluation evaluation) {
  Net net;
  FillNet(points, net);
  Basis uBasis, vBasis;
  FillBasis(u, uBasis);
  FillBasis(v, vBasis);
  return evaluation(net, uBasis, vBasis);
}

}  // namespace

void KLY_CubicBezierPatch::SetCubicGeometry(tagCUBIC_PATCH_PTS& geometry) {
  for (int i = 0; i < 16; ++i) points[i] = geometry.points[i];
}

void KLY_CubicBezierPatch::SetGranularity(uint32_t uMin, uint32_t uMax, uint32_t vMin,
                                          uint32_t vMax) {
  uMinGranularity = uMin;
  uMaxGranularity = uMax;
  vMinGranularity = vMin;
  vMaxGranularity = vMax;
}

void KLY_CubicBezierPatch::GetGranularity(uint32_t& uMin, uint32_t& uMax, uint32_t& vMin,
                                          uint32_t& vMax) {
  uMin = uMinGranularity;
  uMax = uMaxGranularity;
  vMin = vMinGranularity;
  vMax = vMaxGranularity;
}

void KLY_CubicBezierPatch::SetUScaleOffset(double scale, double offset) {
  uScale = scale;
  uOffset = offset;
}

void KLY_CubicBezierPatch::SetVScaleOffset(double scale, double offset) {
  vScale = scale;
  vOffset = offset;
}

void KLY_CubicBezierPatch::MakeParameters(std::vector<double>& uParameters,
                                          std::vector<double>& vParameters) {
  KLY_CubicBezierCurve edge;
  edge.SetControlPts(points[0], points[1], points[2], points[3]);
  uParameters.clear();
  edge.Subdivide(KLY_CubicBezierCurve::kFlatness, uMinGranularity, uMaxGranularity, uParameters);
  edge.SetControlPts(points[0], points[4], points[8], points[12]);
  vParameters.clear();
  edge.Subdivide(KLY_CubicBezierCurve::kFlatness, vMinGranularity, vMaxGranularity, vParameters);
}

void KLY_CubicBezierPatch::GetAdaptiveMeshSize(uint32_t& vertexCount, uint32_t& triangleCount,
                                               std::vector<double>& uParameters,
                                               std::vector<double>& vParameters) {
  MakeParameters(uParameters, vParameters);
  const uint64_t nu = uParameters.size();
  const uint64_t nv = vParameters.size();
  const uint64_t vertices = nu * nv;
  const uint64_t triangles = (2 * nu - 2) * (nv - 1);
  if (vertices > UINT32_MAX || triangles > UINT32_MAX) {
    throw std::length_error("patch grid larger than 32-bit counts");
  }
  vertexCount = static_cast<uint32_t>(vertices);
  triangleCount = static_cast<uint32_t>(triangles);
}

void KLY_CubicBezierPatch::FillMesh(KLY_Mesh& mesh, uint32_t material) {
  std::vector<double> uParameters, vParameters;
  uint32_t vertexCount = 0, triangleCount = 0;
  GetAdaptiveMeshSize(vertexCount, triangleCount, uParameters, vParameters);
  if (mesh.GetNumVertices() < vertexCount || mesh.GetNumTriangles() < triangleCount) {
    throw std::out_of_range("invalid vector<T> subscript");
  }
  const uint32_t nu = static_cast<uint32_t>(uParameters.size());
  const uint32_t nv = static_cast<uint32_t>(vParameters.size());
  WriteVertices(uParameters.data(), nu, vParameters.data(), nv, &*mesh.beginVerts(), nullptr);
  // Indices and material only: the triangles' normals stay as the mesh had them.
  WriteTriangles(nu, nv, 0, material, &*mesh.beginTriangles());
}

void KLY_CubicBezierPatch::AppendGrid(KLY_Mesh& mesh, uint32_t material, const double* uParameters,
                                      uint32_t nu, const double* vParameters, uint32_t nv) {
  const uint32_t firstVertex = mesh.GetNumVertices();
  const uint32_t firstTriangle = mesh.GetNumTriangles();
  const uint64_t vertexCount = uint64_t{nu} * nv;
  const uint64_t triangleCount = (2 * uint64_t{nu} - 2) * (nv - 1);
  if (firstVertex + vertexCount > UINT32_MAX || firstTriangle + triangleCount > UINT32_MAX) {
    throw std::length_error("mesh larger than 32-bit counts");
  }
  // Records are written in place rather than pushed: a record built aside and copied in made
  // every store wait on the one before it.
  mesh.GrowUnwritten(static_cast<uint32_t>(firstVertex + vertexCount),
                     static_cast<uint32_t>(firstTriangle + triangleCount));
  KLY_Vertex* vertices = &*mesh.beginVerts() + firstVertex;
  KLY_Triangle* triangles = &*mesh.beginTriangles() + firstTriangle;
  WriteTriangles(nu, nv, firstVertex, material, triangles);
  try {
    WriteVertices(uParameters, nu, vParameters, nv, vertices, triangles);
  } catch (...) {
    mesh.SetSize(firstVertex, firstTriangle);
    throw;
  }
}

void KLY_CubicBezierPatch::WriteVertices(const double* uParameters, uint32_t nu,
                                         const double* vParameters, uint32_t nv, KLY_Vertex* out,
                                         KLY_Triangle* faces) {
  Net net;
  FillNet(points, net);
  BasisBlock uBases;
  PositionBlock rows[2];
  NormalBlock normals;
  NormalBlock firstFaces;
  NormalBlock secondFaces;
  // Blocks overlap by one column, so that each holds the corners of its quads; the shared
  // column is written twice, with the same values.
  for (uint32_t first = 0;; first += kBlock - 1) {
    const uint32_t columns = std::min(kBlock, nu - first);
    FillBasisBlock(uParameters + first, columns, uBases);
    for (uint32_t j = 0; j < nv; ++j) {
      const double v = vParameters[j];
      Basis vBasis;
      FillBasis(v, vBasis);
      Row row;
      FillRow(net, vBasis, row);
      PositionBlock& positions = rows[j % 2];
      kly::curves::EvaluateRowBlock(row, uBases, columns, positions, normals);
      const double texV = vScale * v + vOffset;
      KLY_Vertex* vertex = out + static_cast<size_t>(j) * nu + first;
      for (uint32_t i = 0; i < columns; ++i) {
        vertex[i].pos = {positions.x[i], positions.y[i], positions.z[i]};
        vertex[i].pos_w = 1.0;
        vertex[i].uv = {uScale * uParameters[first + i] + uOffset, texV};
        vertex[i].normal = FinishNormal(normals, i);
      }
      if (faces == nullptr || j == 0) continue;
      const uint32_t quads = columns - 1;
      kly::curves::FaceCrossBlock(rows[(j - 1) % 2], positions, quads, firstFaces, secondFaces);
      const KLY_Vertex* low = vertex - nu;
      KLY_Triangle* face = faces + 2 * (static_cast<size_t>(j - 1) * (nu - 1) + first);
      for (uint32_t q = 0; q < quads; ++q, face += 2) {
        face[0].normal = FinishFaceNormal(firstFaces, q, low[q].normal);
        face[1].normal = FinishFaceNormal(secondFaces, q, low[q].normal);
      }
    }
    if (first + columns >= nu) break;
  }
}

void KLY_CubicBezierPatch::Eval(double u, double v, Vec3& out) {
  out = AtParameters(points, u, v, PointAt);
}

void KLY_CubicBezierPatch::Partial_u(double u, double v, Vec3& out) {
  out = AtParameters(points, u, v, PartialUAt);
}

void KLY_CubicBezierPatch::Partial_v(double u, double v, Vec3& out) {
  out = AtParameters(points, u, v, PartialVAt);
}

void KLY_CubicBezierPatch::Normal(double u, double v, Vec3& out) {
  out = AtParameters(points, u, v, NormalAt);
}

double KLY_CubicBezierPatch::Bernstein(int degree, int index, double t) {
  if ((degree != 2 && degree != 3) || index < 0 || index > degree) return 0.0;
  Basis basis;
  FillBasis(t, basis);
  return degree == 3 ? basis.cubic[index] : basis.quadratic[index];
}
