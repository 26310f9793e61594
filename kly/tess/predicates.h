// The engine's geometric vocabulary: adaptive exact orientation and in-circle tests.
//
// Each predicate returns a double whose sign is exact and whose magnitude approximates the
// determinant. The first stage, a floating-point evaluation with a proven error bound, is
// inline: it is all that nearly every call needs. Only when the sign is in doubt does a call
// go out of line to the adaptive stages, which end, at worst, in exact expansion arithmetic.
// Points are vertex records: x, y, then the vertex's attributes (NonRegular reads the first).
// ExactInit (exact_arithmetic.h) must have run before any predicate.
#pragma once

#include <cmath>
#include <cstdint>

#include "kly/tess/exact_arithmetic.h"
#include "kly/tess/switches.h"

// The six operation counters of one run, held by the TessMesh in this order.
struct TessCounters {
  int32_t inCircleCount = 0;
  int32_t counterClockwiseCount = 0;
  int32_t orient3dCount = 0;
  int32_t hyperbolaCount = 0;
  int32_t circumcentreCount = 0;
  int32_t circleTopCount = 0;
};

// The adaptive stages, entered only when the first stage's error bound fails. `detSum` and
// `permanent` are the first stage's magnitudes, from which the later bounds are scaled.
double CounterClockwiseAdapt(const double* a, const double* b, const double* c, double detSum);
double InCircleAdapt(const double* a, const double* b, const double* c, const double* d,
                     double permanent);
double Orient3DAdapt(const double* a, const double* b, const double* c, const double* d,
                     double aHeight, double bHeight, double cHeight, double dHeight,
                     double permanent);

// Positive if a, b, c turn counterclockwise, negative if clockwise, 0 if collinear.
inline double CounterClockwise(TessCounters& counters, const TessSwitches& switches,
                               const double* a, const double* b, const double* c) {
  counters.counterClockwiseCount++;
  const double detLeft = (a[0] - c[0]) * (b[1] - c[1]);
  const double detRight = (a[1] - c[1]) * (b[0] - c[0]);
  const double det = detLeft - detRight;
  if (switches.noExactArithmetic) return det;

  double detSum;
  if (detLeft > 0.0) {
    if (detRight <= 0.0) return det;
    detSum = detLeft + detRight;
  } else if (detLeft < 0.0) {
    if (detRight >= 0.0) return det;
    detSum = -detLeft - detRight;
  } else {
    return det;
  }
  const double errBound = tess_exact::Read(tess_exact::ccwErrBoundA) * detSum;
  if (det >= errBound || -det >= errBound) return det;
  return CounterClockwiseAdapt(a, b, c, detSum);
}

// With a, b, c counterclockwise: positive if d lies inside their circumcircle, negative if
// outside, 0 if the four are cocircular.
inline double InCircle(TessCounters& counters, const TessSwitches& switches, const double* a,
                       const double* b, const double* c, const double* d) {
  counters.inCircleCount++;
  const double adx = a[0] - d[0];
  const double bdx = b[0] - d[0];
  const double cdx = c[0] - d[0];
  const double ady = a[1] - d[1];
  const double bdy = b[1] - d[1];
  const double cdy = c[1] - d[1];

  const double bdxcdy = bdx * cdy;
  const double cdxbdy = cdx * bdy;
  const double alift = adx * adx + ady * ady;
  const double cdxady = cdx * ady;
  const double adxcdy = adx * cdy;
  const double blift = bdx * bdx + bdy * bdy;
  const double adxbdy = adx * bdy;
  const double bdxady = bdx * ady;
  const double clift = cdx * cdx + cdy * cdy;

  const double det =
      alift * (bdxcdy - cdxbdy) + blift * (cdxady - adxcdy) + clift * (adxbdy - bdxady);
  if (switches.noExactArithmetic) return det;

  const double permanent = (std::fabs(bdxcdy) + std::fabs(cdxbdy)) * alift +
                           (std::fabs(cdxady) + std::fabs(adxcdy)) * blift +
                           (std::fabs(adxbdy) + std::fabs(bdxady)) * clift;
  const double errBound = tess_exact::Read(tess_exact::iccErrBoundA) * permanent;
  if (det > errBound || -det > errBound) return det;
  return InCircleAdapt(a, b, c, d, permanent);
}

// With a, b, c counterclockwise: positive if d lies below the plane through a, b, c lifted to
// the given heights, negative if above, 0 if on it.
inline double Orient3D(TessCounters& counters, const TessSwitches& switches, const double* a,
                       const double* b, const double* c, const double* d, double aHeight,
                       double bHeight, double cHeight, double dHeight) {
  counters.orient3dCount++;
  const double adx = a[0] - d[0];
  const double bdx = b[0] - d[0];
  const double cdx = c[0] - d[0];
  const double ady = a[1] - d[1];
  const double bdy = b[1] - d[1];
  const double cdy = c[1] - d[1];
  const double adheight = aHeight - dHeight;
  const double bdheight = bHeight - dHeight;
  const double cdheight = cHeight - dHeight;

  const double bdxcdy = bdx * cdy;
  const double cdxbdy = cdx * bdy;
  const double cdxady = cdx * ady;
  const double adxcdy = adx * cdy;
  const double adxbdy = adx * bdy;
  const double bdxady = bdx * ady;

  const double det =
      adheight * (bdxcdy - cdxbdy) + bdheight * (cdxady - adxcdy) + cdheight * (adxbdy - bdxady);
  if (switches.noExactArithmetic) return det;

  const double permanent = (std::fabs(bdxcdy) + std::fabs(cdxbdy)) * std::fabs(adheight) +
                           (std::fabs(cdxady) + std::fabs(adxcdy)) * std::fabs(bdheight) +
                           (std::fabs(adxbdy) + std::fabs(bdxady)) * std::fabs(cdheight);
  const double errBound = tess_exact::Read(tess_exact::o3dErrBoundA) * permanent;
  if (det > errBound || -det > errBound) return det;
  return Orient3DAdapt(a, b, c, d, aHeight, bHeight, cHeight, dHeight, permanent);
}

// The test the triangulators call to decide a flip. weightMode 0: InCircle. 1: Orient3D with
// each vertex's first attribute as its height. 2: height x^2 + y^2 - first attribute.
inline double NonRegular(TessCounters& counters, const TessSwitches& switches, const double* a,
                         const double* b, const double* c, const double* d) {
  if (switches.weightMode == 0) return InCircle(counters, switches, a, b, c, d);
  if (switches.weightMode == 1)
    return Orient3D(counters, switches, a, b, c, d, a[2], b[2], c[2], d[2]);
  return Orient3D(counters, switches, a, b, c, d, a[0] * a[0] + a[1] * a[1] - a[2],
                  b[0] * b[0] + b[1] * b[1] - b[2], c[0] * c[0] + c[1] * c[1] - c[2],
                  d[0] * d[0] + d[1] * d[1] - d[2]);
}

// Where the line through a and b meets the line through c and d, which must not be parallel:
// `crossing` gets the point, each coordinate within a few units in the last place of the exact
// one (from an exact numerator and denominator, divided once), and `fraction` how far along
// from a to b it lies. Interpolating from a errs by a rounding of the distance from a instead,
// too much when ab is far longer than cd and the crossing far from a.
void LineCrossing(const double* a, const double* b, const double* c, const double* d,
                  double* crossing, double& fraction);
