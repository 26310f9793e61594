#include "kly/curves/patch_blocks.h"

#include "kly/curves/inverse_lengths.h"

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define KLY_X86_64_KERNELS 1
#else
#define KLY_X86_64_KERNELS 0
#endif

// Both kernels are compiled twice from one body: for the baseline processor and for AVX-512.
// The wide copy must not fuse products with sums (AVX-512 has fused multiply-add, and a fused
// operation rounds once where the baseline rounds twice).
#if defined(__GNUC__) || defined(__clang__)
#define KLY_KERNEL_BODY inline __attribute__((always_inline))
#else
#define KLY_KERNEL_BODY inline
#endif
#if defined(__clang__)
#define KLY_NO_FUSION _Pragma("clang fp contract(off)")
#define KLY_WIDE __attribute__((target("avx512f")))
#else
#define KLY_NO_FUSION
#define KLY_WIDE __attribute__((target("avx512f"), optimize("fp-contract=off")))
#endif

namespace kly {
namespace curves {
namespace {

// The arrays of a block never overlap; saying so lets the compiler vectorise without checks.
#if defined(__GNUC__) || defined(__clang__)
#define KLY_RESTRICT __restrict
#else
#define KLY_RESTRICT
#endif

// The Bernstein values of a block, read through pointers the compiler knows to be apart from
// the block's outputs.
struct Bases {
  const double* KLY_RESTRICT cubic0;
  const double* KLY_RESTRICT cubic1;
  const double* KLY_RESTRICT cubic2;
  const double* KLY_RESTRICT cubic3;
  const double* KLY_RESTRICT quadratic0;
  const double* KLY_RESTRICT quadratic1;
  const double* KLY_RESTRICT quadratic2;
};

KLY_KERNEL_BODY void RowBlockOf(const RowCurve& row, Bases u, uint32_t columns, PositionBlock& p,
                                NormalBlock& n) {
  KLY_NO_FUSION
  // A copy, which no store in the loop can touch.
  const RowCurve local = row;
  const ORT_Vector3T<double>* q = local.points;
  const ORT_Vector3T<double>* w = local.vDerivative;
  const ORT_Vector3T<double> d[3] = {q[1] - q[0], q[2] - q[1], q[3] - q[2]};
  double* KLY_RESTRICT px = p.x;
  double* KLY_RESTRICT py = p.y;
  double* KLY_RESTRICT pz = p.z;
  double* KLY_RESTRICT nx = n.x;
  double* KLY_RESTRICT ny = n.y;
  double* KLY_RESTRICT nz = n.z;
  double* KLY_RESTRICT ns = n.s;
  for (uint32_t i = 0; i < columns; ++i) {
    const double b0 = u.cubic0[i], b1 = u.cubic1[i], b2 = u.cubic2[i], b3 = u.cubic3[i];
    const double c0 = u.quadratic0[i], c1 = u.quadratic1[i], c2 = u.quadratic2[i];
    px[i] = 0.0 + q[0].x * b0 + q[1].x * b1 + q[2].x * b2 + q[3].x * b3;
    py[i] = 0.0 + q[0].y * b0 + q[1].y * b1 + q[2].y * b2 + q[3].y * b3;
    pz[i] = 0.0 + q[0].z * b0 + q[1].z * b1 + q[2].z * b2 + q[3].z * b3;
    const double ax = (0.0 + d[0].x * c0 + d[1].x * c1 + d[2].x * c2) * 3.0;
    const double ay = (0.0 + d[0].y * c0 + d[1].y * c1 + d[2].y * c2) * 3.0;
    const double az = (0.0 + d[0].z * c0 + d[1].z * c1 + d[2].z * c2) * 3.0;
    const double bx = (0.0 + w[0].x * b0 + w[1].x * b1 + w[2].x * b2 + w[3].x * b3) * 3.0;
    const double by = (0.0 + w[0].y * b0 + w[1].y * b1 + w[2].y * b2 + w[3].y * b3) * 3.0;
    const double bz = (0.0 + w[0].z * b0 + w[1].z * b1 + w[2].z * b2 + w[3].z * b3) * 3.0;
    const double x = ay * bz - az * by;
    const double y = az * bx - ax * bz;
    const double z = ax * by - ay * bx;
    nx[i] = x;
    ny[i] = y;
    nz[i] = z;
    ns[i] = x * x + y * y + z * z;
  }
}

// The cross product (p2 - p0) x (p1 - p0) of corners p0 = a[i], p1 = b[j], p2 = c[k], written
// at `at`, with its squared length.
struct Corners {
  const double* KLY_RESTRICT x;
  const double* KLY_RESTRICT y;
  const double* KLY_RESTRICT z;
};

KLY_KERNEL_BODY void FaceBlockOf(Corners p0, Corners p1, uint32_t shift1, Corners p2,
                                 uint32_t shift2, uint32_t quads, NormalBlock& n) {
  KLY_NO_FUSION
  double* KLY_RESTRICT nx = n.x;
  double* KLY_RESTRICT ny = n.y;
  double* KLY_RESTRICT nz = n.z;
  double* KLY_RESTRICT ns = n.s;
  for (uint32_t q = 0; q < quads; ++q) {
    const double ax = p1.x[q + shift1] - p0.x[q];
    const double ay = p1.y[q + shift1] - p0.y[q];
    const double az = p1.z[q + shift1] - p0.z[q];
    const double bx = p2.x[q + shift2] - p0.x[q];
    const double by = p2.y[q + shift2] - p0.y[q];
    const double bz = p2.z[q + shift2] - p0.z[q];
    const double x = by * az - bz * ay;
    const double y = bz * ax - bx * az;
    const double z = bx * ay - by * ax;
    nx[q] = x;
    ny[q] = y;
    nz[q] = z;
    ns[q] = x * x + y * y + z * z;
  }
}

KLY_KERNEL_BODY void RowBlockBody(const RowCurve& row, const BasisBlock& u, uint32_t columns,
                                  PositionBlock& p, NormalBlock& n) {
  const Bases bases{u.cubic[0],     u.cubic[1],     u.cubic[2],    u.cubic[3],
                    u.quadratic[0], u.quadratic[1], u.quadratic[2]};
  RowBlockOf(row, bases, columns, p, n);
}

KLY_KERNEL_BODY void FaceBlockBody(const PositionBlock& low, const PositionBlock& high,
                                   uint32_t quads, NormalBlock& first, NormalBlock& second) {
  const Corners lowRow{low.x, low.y, low.z};
  const Corners highRow{high.x, high.y, high.z};
  // (a, a + nu + 1, a + 1) and (a, a + nu, a + nu + 1), a the quad's low left corner.
  FaceBlockOf(lowRow, highRow, 1, lowRow, 1, quads, first);
  FaceBlockOf(lowRow, highRow, 0, highRow, 1, quads, second);
}

void RowBlockBaseline(const RowCurve& row, const BasisBlock& u, uint32_t columns, PositionBlock& p,
                      NormalBlock& n) {
  RowBlockBody(row, u, columns, p, n);
}

void FaceBlockBaseline(const PositionBlock& low, const PositionBlock& high, uint32_t quads,
                       NormalBlock& first, NormalBlock& second) {
  FaceBlockBody(low, high, quads, first, second);
}

struct Kernels {
  void (*rows)(const RowCurve&, const BasisBlock&, uint32_t, PositionBlock&, NormalBlock&);
  void (*faces)(const PositionBlock&, const PositionBlock&, uint32_t, NormalBlock&, NormalBlock&);
};

#if KLY_X86_64_KERNELS
KLY_WIDE void RowBlockWide(const RowCurve& row, const BasisBlock& u, uint32_t columns,
                           PositionBlock& p, NormalBlock& n) {
  RowBlockBody(row, u, columns, p, n);
}

KLY_WIDE void FaceBlockWide(const PositionBlock& low, const PositionBlock& high, uint32_t quads,
                            NormalBlock& first, NormalBlock& second) {
  FaceBlockBody(low, high, quads, first, second);
}

Kernels ChooseKernels() {
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f")) return {RowBlockWide, FaceBlockWide};
  return {RowBlockBaseline, FaceBlockBaseline};
}
#else
Kernels ChooseKernels() {
  return {RowBlockBaseline, FaceBlockBaseline};
}
#endif

const Kernels& TheKernels() {
  static const Kernels kernels = ChooseKernels();
  return kernels;
}

}  // namespace

void EvaluateRowBlock(const RowCurve& row, const BasisBlock& u, uint32_t columns,
                      PositionBlock& points, NormalBlock& normals) {
  TheKernels().rows(row, u, columns, points, normals);
  InverseLengths(normals.s, normals.k, columns);
}

void FaceCrossBlock(const PositionBlock& low, const PositionBlock& high, uint32_t quads,
                    NormalBlock& first, NormalBlock& second) {
  TheKernels().faces(low, high, quads, first, second);
  InverseLengths(first.s, first.k, quads);
  InverseLengths(second.s, second.k, quads);
}

}  // namespace curves
}  // namespace kly
