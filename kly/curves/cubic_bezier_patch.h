// A bicubic Bezier patch: sixteen control points, an adaptive grid chosen from two of its
// edges, and the writing of that grid into a mesh as vertices with normals and texture
// coordinates, and triangles of one material. Every wall and bevel of a solid is made of these.
//
// Calling order: SetCubicGeometry, SetUScaleOffset, SetVScaleOffset, SetGranularity,
// GetAdaptiveMeshSize, KLY_Mesh::SetSize with its two counts, FillMesh.
//
// NaN or infinite control points give NaN positions and normals, without a failure; an edge
// that holds one is sampled at its minimum depth only (two levels at the least).
#pragma once

#include <cstdint>
#include <vector>

#include "kly/host/ort.h"

class KLY_Mesh;
class KLY_Triangle;
class KLY_Vertex;

// Sixteen control points in four rows of four: point (row, column) at index 4 row + column.
// u runs along a row (the column index), v down a column (the row index).
struct tagCUBIC_PATCH_PTS {
  ORT_Vector3T<double> points[16];
};

class KLY_CubicBezierPatch {
 public:
  // vMaxGranularity and the points are left unset: callers always set them.
  KLY_CubicBezierPatch() {}
  ~KLY_CubicBezierPatch() {}

  void SetCubicGeometry(tagCUBIC_PATCH_PTS& geometry);
  void SetGranularity(uint32_t uMin, uint32_t uMax, uint32_t vMin, uint32_t vMax);
  void GetGranularity(uint32_t& uMin, uint32_t& uMax, uint32_t& vMin, uint32_t& vMax);
  // Texture coordinates are (uScale u + uOffset, vScale v + vOffset).
  void SetUScaleOffset(double scale, double offset);
  void SetVScaleOffset(double scale, double offset);

  // The grid: u samples from the first row, v samples from the first column, each by the
  // curve's adaptive Subdivide at tolerance 2^-7. Only those two edges decide it.
  // Fails with std::length_error when the grid would not fit 32-bit counts.
  void GetAdaptiveMeshSize(uint32_t& vertexCount, uint32_t& triangleCount,
                           std::vector<double>& uParameters, std::vector<double>& vParameters);
  // Writes the grid's vertices and triangles at the front of `mesh`, which must already have
  // at least the counts of GetAdaptiveMeshSize (std::out_of_range "invalid vector<T>
  // subscript" otherwise, with nothing written). Triangle normals are not written.
  void FillMesh(KLY_Mesh& mesh, uint32_t material);
  // The grid of the nu u and nv v parameters GetAdaptiveMeshSize worked out, appended to `mesh`
  // with its triangles' indices counted from the mesh's vertex count: lets a caller lay many
  // patches into one mesh (reserved once) without copying each. Unlike FillMesh it writes
  // triangle normals, the face normals of the mesh's rule (a triangle of no area takes its first
  // corner's vertex normal). Fails with std::length_error past 32-bit counts, and with 4363 for
  // a vertex normal too short to normalise; either way it adds nothing.
  void AppendGrid(KLY_Mesh& mesh, uint32_t material, const double* uParameters, uint32_t nu,
                  const double* vParameters, uint32_t nv);

 protected:
  void Eval(double u, double v, ORT_Vector3T<double>& out);
  void Partial_u(double u, double v, ORT_Vector3T<double>& out);
  void Partial_v(double u, double v, ORT_Vector3T<double>& out);
  // Unit Partial_u x Partial_v; (0, 0, -1), the front face's direction, when the cross product
  // is exactly zero; 4363 when it is shorter than the normalisation limit.
  void Normal(double u, double v, ORT_Vector3T<double>& out);
  // Degree 2 or 3 Bernstein polynomial; 0.0 for any other degree or index.
  double Bernstein(int degree, int index, double t);

  uint32_t uMinGranularity = 1;
  // 10 levels by default across v, more than the cap along u; kept as it always was.
  uint32_t vMinGranularity = 10;
  uint32_t uMaxGranularity = 10;
  uint32_t vMaxGranularity;
  double uOffset = 0.0;
  double vOffset = 0.0;
  double uScale = 1.0;
  double vScale = 1.0;
  ORT_Vector3T<double> points[16];

 private:
  // Writes the grid's vertices in row order from `out` on: position, weight 1, normal and
  // texture coordinates; `singular` is left as it is. With `faces`, the normals of the grid's
  // triangles as WriteTriangles orders them too.
  void WriteVertices(const double* uParameters, uint32_t nu, const double* vParameters, uint32_t nv,
                     KLY_Vertex* out, KLY_Triangle* faces);
  void MakeParameters(std::vector<double>& uParameters, std::vector<double>& vParameters);
};
