// The arithmetic of a patch's grid for a block of columns at a time: each quantity of a block in
// its own array, so that the compiler works on several columns at once, with the widest vectors
// the processor offers (chosen at run time). Every column goes through the same operations in
// the same order as a point-by-point evaluation, and no product is fused with a sum, so the
// results are the same to the last bit whatever the width.
#pragma once

#include <cstdint>

#include "kly/host/ort.h"

namespace kly {
namespace curves {

// Grid columns are worked on in blocks of at most this many.
constexpr uint32_t kBlock = 32;

// The Bernstein values of a block of u parameters, one array a function.
struct BasisBlock {
  double cubic[4][kBlock];
  double quadratic[3][kBlock];
};

struct PositionBlock {
  double x[kBlock], y[kBlock], z[kBlock];
};

// Normals before their scaling: components, squared lengths s and inverse lengths 1 / sqrt(s).
struct NormalBlock {
  double x[kBlock], y[kBlock], z[kBlock], s[kBlock], k[kBlock];
};

// The patch at one v, contracted to a cubic in u: its four control points, and the four control
// points of the v-derivative's curve (without the factor 3).
struct RowCurve {
  ORT_Vector3T<double> points[4];
  ORT_Vector3T<double> vDerivative[4];
};

// The row's points at a block of u, and the cross products of 3 times the u-derivative (from the
// differences of the row's points) and 3 times the v-derivative there.
void EvaluateRowBlock(const RowCurve& row, const BasisBlock& u, uint32_t columns,
                      PositionBlock& points, NormalBlock& normals);

// The face normals of the quads between two rows of a block, by the mesh's rule
// (p2 - p0) x (p1 - p0): `first` for the triangles (a, a + nu + 1, a + 1), `second` for
// (a, a + nu, a + nu + 1).
void FaceCrossBlock(const PositionBlock& low, const PositionBlock& high, uint32_t quads,
                    NormalBlock& first, NormalBlock& second);

}  // namespace curves
}  // namespace kly
