// The adaptive stages of the predicates. Each stage either proves the sign of the estimate it
// has, against an error bound scaled from the first stage's magnitude, or adds the next order
// of roundoff terms; the last stage is exact. The stage structure and the error bounds are
// those of the published adaptive-precision predicates; the bounds' proofs assume the strict
// double arithmetic that exact_arithmetic.cpp checks for.

// Before the includes, so that the inline expansion arithmetic is covered too.
#if defined(__clang__)
#pragma clang fp contract(off)
#endif

#include "kly/tess/predicates.h"

#include <cmath>
#include <utility>

namespace {

// A running exact sum kept in two alternating arrays of `Capacity` components. The first
// value is written straight into Start(), then its length given to SetLength().
template <int Capacity>
class ExpansionAccumulator {
 public:
  double* Start() { return now_; }
  void SetLength(int32_t length) { length_ = length; }
  void Add(int32_t length, const double* terms) {
    length_ = FastExpansionSumZeroElim(length_, now_, length, terms, other_);
    std::swap(now_, other_);
  }
  double Largest() const { return now_[length_ - 1]; }

 private:
  double first_[Capacity];
  double second_[Capacity];
  double* now_ = first_;
  double* other_ = second_;
  int32_t length_ = 0;
};

// (x3, x2, x1, x0) == a * b - c * d exactly.
void TwoProductDiff(double a, double b, double c, double d, double* x) {
  double s1, s0, t1, t0;
  TwoProduct(a, b, s1, s0);
  TwoProduct(c, d, t1, t0);
  TwoTwoDiff(s1, s0, t1, t0, x[3], x[2], x[1], x[0]);
}

// (x3, x2, x1, x0) == a * b + c * d exactly.
void TwoProductSum(double a, double b, double c, double d, double* x) {
  double s1, s0, t1, t0;
  TwoProduct(a, b, s1, s0);
  TwoProduct(c, d, t1, t0);
  TwoTwoSum(s1, s0, t1, t0, x[3], x[2], x[1], x[0]);
}

// (x3, x2, x1, x0) == a * a + b * b exactly.
void SquareSum(double a, double b, double* x) {
  double a1, a0, b1, b0;
  Square(a, a1, a0);
  Square(b, b1, b0);
  TwoTwoSum(a1, a0, b1, b0, x[3], x[2], x[1], x[0]);
}

}  // namespace

double CounterClockwiseAdapt(const double* a, const double* b, const double* c, double detSum) {
  const TessExactConstants k = ExactConstants();
  const double acx = a[0] - c[0];
  const double bcx = b[0] - c[0];
  const double acy = a[1] - c[1];
  const double bcy = b[1] - c[1];

  double bExp[4];
  TwoProductDiff(acx, bcy, acy, bcx, bExp);
  double det = Estimate(4, bExp);
  double errBound = k.ccwErrBoundB * detSum;
  if (det >= errBound || -det >= errBound) return det;

  const double acxTail = TwoDiffTail(a[0], c[0], acx);
  const double bcxTail = TwoDiffTail(b[0], c[0], bcx);
  const double acyTail = TwoDiffTail(a[1], c[1], acy);
  const double bcyTail = TwoDiffTail(b[1], c[1], bcy);
  if (acxTail == 0.0 && acyTail == 0.0 && bcxTail == 0.0 && bcyTail == 0.0) return det;

  errBound = k.ccwErrBoundC * detSum + k.resultErrBound * std::fabs(det);
  det += (acx * bcyTail + bcy * acxTail) - (acy * bcxTail + bcx * acyTail);
  if (det >= errBound || -det >= errBound) return det;

  double u[4], c1[8], c2[12], d[16];
  TwoProductDiff(acxTail, bcy, acyTail, bcx, u);
  const int32_t c1Len = FastExpansionSumZeroElim(4, bExp, 4, u, c1);
  TwoProductDiff(acx, bcyTail, acy, bcxTail, u);
  const int32_t c2Len = FastExpansionSumZeroElim(c1Len, c1, 4, u, c2);
  TwoProductDiff(acxTail, bcyTail, acyTail, bcxTail, u);
  const int32_t dLen = FastExpansionSumZeroElim(c2Len, c2, 4, u, d);
  return d[dLen - 1];
}

namespace {

// The exact lifted term (dx^2 + dy^2) * cross of the in-circle determinant: 32 components.
int32_t LiftedTerm(const double* cross, double dx, double dy, double* out) {
  double xCross[8], xxCross[16], yCross[8], yyCross[16];
  const int32_t xLen = ScaleExpansionZeroElim(4, cross, dx, xCross);
  const int32_t xxLen = ScaleExpansionZeroElim(xLen, xCross, dx, xxCross);
  const int32_t yLen = ScaleExpansionZeroElim(4, cross, dy, yCross);
  const int32_t yyLen = ScaleExpansionZeroElim(yLen, yCross, dy, yyCross);
  return FastExpansionSumZeroElim(xxLen, xxCross, yyLen, yyCross, out);
}

// One first-order tail term of the in-circle determinant, e.g. for adxtail:
// adxtail * (2 adx * bc + bdy * cc - cdy * bb). `tailCross` receives tail * cross, which the
// second-order terms reuse.
int32_t FirstOrderTail(double tail, const double* cross, double twiceCoordinate,
                       const double* lift1, double factor1, const double* lift2, double factor2,
                       double* tailCross, int32_t& tailCrossLen, double* out) {
  double t16a[16], t16b[16], t16c[16], t8[8], t32[32];
  tailCrossLen = ScaleExpansionZeroElim(4, cross, tail, tailCross);
  const int32_t aLen = ScaleExpansionZeroElim(tailCrossLen, tailCross, twiceCoordinate, t16a);
  int32_t t8Len = ScaleExpansionZeroElim(4, lift1, tail, t8);
  const int32_t bLen = ScaleExpansionZeroElim(t8Len, t8, factor1, t16b);
  t8Len = ScaleExpansionZeroElim(4, lift2, tail, t8);
  const int32_t cLen = ScaleExpansionZeroElim(t8Len, t8, factor2, t16c);
  const int32_t t32Len = FastExpansionSumZeroElim(aLen, t16a, bLen, t16b, t32);
  return FastExpansionSumZeroElim(cLen, t16c, t32Len, t32, out);
}

// The first-order and second-order tails of the cross product of the two other points, e.g.
// for a: bct = bdxtail cdy + bdx cdytail - bdy cdxtail - bdytail cdx, and
// bctt = bdxtail cdytail - cdxtail bdytail.
void CrossTails(double px, double pxTail, double py, double pyTail, double qx, double qxTail,
                double qy, double qyTail, double* ct, int32_t& ctLen, double* ctt,
                int32_t& cttLen) {
  double u[4], v[4];
  TwoProductSum(pxTail, qy, px, qyTail, u);
  TwoProductSum(qxTail, -py, qx, -pyTail, v);
  ctLen = FastExpansionSumZeroElim(4, u, 4, v, ct);
  TwoProductDiff(pxTail, qyTail, qxTail, pyTail, ctt);
  cttLen = 4;
}

// The second-order terms of one tail t of a point with coordinate p, against the first-order
// cross tails ct of the two other points: t^2 * cross + 2 p t * ct. `tailCross` is t * cross.
template <class Sum>
void AddSecondOrderHead(Sum& sum, double tail, double coordinate, const double* tailCross,
                        int32_t tailCrossLen, const double* ct, int32_t ctLen) {
  double t16[16], tailCt[16], t32[32], t48[48];
  const int32_t t16Len = ScaleExpansionZeroElim(tailCrossLen, tailCross, tail, t16);
  const int32_t tailCtLen = ScaleExpansionZeroElim(ctLen, ct, tail, tailCt);
  const int32_t t32Len = ScaleExpansionZeroElim(tailCtLen, tailCt, 2.0 * coordinate, t32);
  sum.Add(FastExpansionSumZeroElim(t16Len, t16, t32Len, t32, t48), t48);
}

// The remaining terms of that tail: t^2 * ct + (2 p t + t^2) * ctt, ctt being the
// second-order cross tail of the two other points.
template <class Sum>
void AddSecondOrderRest(Sum& sum, double tail, double coordinate, const double* ct, int32_t ctLen,
                        const double* ctt, int32_t cttLen) {
  double tailCt[16], t32a[32], tailCtt[8], t16a[16], t16b[16], t32b[32], t64[64];
  const int32_t tailCtLen = ScaleExpansionZeroElim(ctLen, ct, tail, tailCt);
  const int32_t t32aLen = ScaleExpansionZeroElim(tailCtLen, tailCt, tail, t32a);
  const int32_t tailCttLen = ScaleExpansionZeroElim(cttLen, ctt, tail, tailCtt);
  const int32_t t16aLen = ScaleExpansionZeroElim(tailCttLen, tailCtt, 2.0 * coordinate, t16a);
  const int32_t t16bLen = ScaleExpansionZeroElim(tailCttLen, tailCtt, tail, t16b);
  const int32_t t32bLen = FastExpansionSumZeroElim(t16aLen, t16a, t16bLen, t16b, t32b);
  sum.Add(FastExpansionSumZeroElim(t32aLen, t32a, t32bLen, t32b, t64), t64);
}

// lift * xTail * yTail, the product of one point's x tail and another's y tail with the third
// point's lift.
template <class Sum>
void AddMixedLift(Sum& sum, const double* lift, double xTail, double yTail) {
  double t8[8], t16[16];
  const int32_t t8Len = ScaleExpansionZeroElim(4, lift, xTail, t8);
  sum.Add(ScaleExpansionZeroElim(t8Len, t8, yTail, t16), t16);
}

}  // namespace

double InCircleAdapt(const double* a, const double* b, const double* c, const double* d,
                     double permanent) {
  const TessExactConstants k = ExactConstants();
  const double adx = a[0] - d[0];
  const double bdx = b[0] - d[0];
  const double cdx = c[0] - d[0];
  const double ady = a[1] - d[1];
  const double bdy = b[1] - d[1];
  const double cdy = c[1] - d[1];

  double bc[4], ca[4], ab[4];
  TwoProductDiff(bdx, cdy, cdx, bdy, bc);
  TwoProductDiff(cdx, ady, adx, cdy, ca);
  TwoProductDiff(adx, bdy, bdx, ady, ab);
  double aDet[32], bDet[32], cDet[32], abDet[64];
  // The largest frame of the engine, 18 KB; reached only when the filter has failed.
  ExpansionAccumulator<1152> sum;
  double* fin = sum.Start();
  const int32_t aLen = LiftedTerm(bc, adx, ady, aDet);
  const int32_t bLen = LiftedTerm(ca, bdx, bdy, bDet);
  const int32_t cLen = LiftedTerm(ab, cdx, cdy, cDet);
  const int32_t abLen = FastExpansionSumZeroElim(aLen, aDet, bLen, bDet, abDet);
  const int32_t finLen = FastExpansionSumZeroElim(abLen, abDet, cLen, cDet, fin);

  double det = Estimate(finLen, fin);
  double errBound = k.iccErrBoundB * permanent;
  if (det >= errBound || -det >= errBound) return det;

  const double adxTail = TwoDiffTail(a[0], d[0], adx);
  const double adyTail = TwoDiffTail(a[1], d[1], ady);
  const double bdxTail = TwoDiffTail(b[0], d[0], bdx);
  const double bdyTail = TwoDiffTail(b[1], d[1], bdy);
  const double cdxTail = TwoDiffTail(c[0], d[0], cdx);
  const double cdyTail = TwoDiffTail(c[1], d[1], cdy);
  if (adxTail == 0.0 && bdxTail == 0.0 && cdxTail == 0.0 && adyTail == 0.0 && bdyTail == 0.0 &&
      cdyTail == 0.0) {
    return det;
  }

  errBound = k.iccErrBoundC * permanent + k.resultErrBound * std::fabs(det);
  det += ((adx * adx + ady * ady) *
              ((bdx * cdyTail + cdy * bdxTail) - (bdy * cdxTail + cdx * bdyTail)) +
          2.0 * (adx * adxTail + ady * adyTail) * (bdx * cdy - bdy * cdx)) +
         ((bdx * bdx + bdy * bdy) *
              ((cdx * adyTail + ady * cdxTail) - (cdy * adxTail + adx * cdyTail)) +
          2.0 * (bdx * bdxTail + bdy * bdyTail) * (cdx * ady - cdy * adx)) +
         ((cdx * cdx + cdy * cdy) *
              ((adx * bdyTail + bdy * adxTail) - (ady * bdxTail + bdx * adyTail)) +
          2.0 * (cdx * cdxTail + cdy * cdyTail) * (adx * bdy - ady * bdx));
  if (det >= errBound || -det >= errBound) return det;

  // Exact: add every remaining term, skipping those whose tails are 0.
  sum.SetLength(finLen);
  const bool aTails = adxTail != 0.0 || adyTail != 0.0;
  const bool bTails = bdxTail != 0.0 || bdyTail != 0.0;
  const bool cTails = cdxTail != 0.0 || cdyTail != 0.0;
  double aa[4], bb[4], cc[4];
  if (bTails || cTails) SquareSum(adx, ady, aa);
  if (cTails || aTails) SquareSum(bdx, bdy, bb);
  if (aTails || bTails) SquareSum(cdx, cdy, cc);

  double term[48];
  double axtbc[8], aytbc[8], bxtca[8], bytca[8], cxtab[8], cytab[8];
  int32_t axtbcLen = 0, aytbcLen = 0, bxtcaLen = 0, bytcaLen = 0, cxtabLen = 0, cytabLen = 0;
  if (adxTail != 0.0) {
    sum.Add(FirstOrderTail(adxTail, bc, 2.0 * adx, cc, bdy, bb, -cdy, axtbc, axtbcLen, term), term);
  }
  if (adyTail != 0.0) {
    sum.Add(FirstOrderTail(adyTail, bc, 2.0 * ady, bb, cdx, cc, -bdx, aytbc, aytbcLen, term), term);
  }
  if (bdxTail != 0.0) {
    sum.Add(FirstOrderTail(bdxTail, ca, 2.0 * bdx, aa, cdy, cc, -ady, bxtca, bxtcaLen, term), term);
  }
  if (bdyTail != 0.0) {
    sum.Add(FirstOrderTail(bdyTail, ca, 2.0 * bdy, cc, adx, aa, -cdx, bytca, bytcaLen, term), term);
  }
  if (cdxTail != 0.0) {
    sum.Add(FirstOrderTail(cdxTail, ab, 2.0 * cdx, bb, ady, aa, -bdy, cxtab, cxtabLen, term), term);
  }
  if (cdyTail != 0.0) {
    sum.Add(FirstOrderTail(cdyTail, ab, 2.0 * cdy, aa, bdx, bb, -adx, cytab, cytabLen, term), term);
  }

  if (aTails) {
    double bct[8], bctt[4];
    int32_t bctLen = 1, bcttLen = 1;
    bct[0] = bctt[0] = 0.0;
    if (bTails || cTails) {
      CrossTails(bdx, bdxTail, bdy, bdyTail, cdx, cdxTail, cdy, cdyTail, bct, bctLen, bctt,
                 bcttLen);
    }
    if (adxTail != 0.0) {
      AddSecondOrderHead(sum, adxTail, adx, axtbc, axtbcLen, bct, bctLen);
      if (bdyTail != 0.0) AddMixedLift(sum, cc, adxTail, bdyTail);
      if (cdyTail != 0.0) AddMixedLift(sum, bb, -adxTail, cdyTail);
      AddSecondOrderRest(sum, adxTail, adx, bct, bctLen, bctt, bcttLen);
    }
    if (adyTail != 0.0) {
      AddSecondOrderHead(sum, adyTail, ady, aytbc, aytbcLen, bct, bctLen);
      AddSecondOrderRest(sum, adyTail, ady, bct, bctLen, bctt, bcttLen);
    }
  }
  if (bTails) {
    double cat[8], catt[4];
    int32_t catLen = 1, cattLen = 1;
    cat[0] = catt[0] = 0.0;
    if (cTails || aTails) {
      CrossTails(cdx, cdxTail, cdy, cdyTail, adx, adxTail, ady, adyTail, cat, catLen, catt,
                 cattLen);
    }
    if (bdxTail != 0.0) {
      AddSecondOrderHead(sum, bdxTail, bdx, bxtca, bxtcaLen, cat, catLen);
      if (cdyTail != 0.0) AddMixedLift(sum, aa, bdxTail, cdyTail);
      if (adyTail != 0.0) AddMixedLift(sum, cc, -bdxTail, adyTail);
      AddSecondOrderRest(sum, bdxTail, bdx, cat, catLen, catt, cattLen);
    }
    if (bdyTail != 0.0) {
      AddSecondOrderHead(sum, bdyTail, bdy, bytca, bytcaLen, cat, catLen);
      AddSecondOrderRest(sum, bdyTail, bdy, cat, catLen, catt, cattLen);
    }
  }
  if (cTails) {
    double abt[8], abtt[4];
    int32_t abtLen = 1, abttLen = 1;
    abt[0] = abtt[0] = 0.0;
    if (aTails || bTails) {
      CrossTails(adx, adxTail, ady, adyTail, bdx, bdxTail, bdy, bdyTail, abt, abtLen, abtt,
                 abttLen);
    }
    if (cdxTail != 0.0) {
      AddSecondOrderHead(sum, cdxTail, cdx, cxtab, cxtabLen, abt, abtLen);
      if (adyTail != 0.0) AddMixedLift(sum, bb, cdxTail, adyTail);
      if (bdyTail != 0.0) AddMixedLift(sum, aa, -cdxTail, bdyTail);
      AddSecondOrderRest(sum, cdxTail, cdx, abt, abtLen, abtt, abttLen);
    }
    if (cdyTail != 0.0) {
      AddSecondOrderHead(sum, cdyTail, cdy, cytab, cytabLen, abt, abtLen);
      AddSecondOrderRest(sum, cdyTail, cdy, abt, abtLen, abtt, abttLen);
    }
  }
  return sum.Largest();
}

namespace {

// One point's first-order tail products against the other two, for the orient3d stage: with
// p the point with tails, q and r the others, pq = pxTail * qy - pyTail * qx and
// pr = pyTail * rx - pxTail * ry, of 1, 2 or 4 components as the tails allow.
void PointTailCross(double pxTail, double pyTail, double qx, double qy, double rx, double ry,
                    double* pq, int32_t& pqLen, double* pr, int32_t& prLen) {
  if (pxTail == 0.0 && pyTail == 0.0) {
    pq[0] = pr[0] = 0.0;
    pqLen = prLen = 1;
  } else if (pxTail == 0.0) {
    TwoProduct(-pyTail, qx, pq[1], pq[0]);
    TwoProduct(pyTail, rx, pr[1], pr[0]);
    pqLen = prLen = 2;
  } else if (pyTail == 0.0) {
    TwoProduct(pxTail, qy, pq[1], pq[0]);
    TwoProduct(-pxTail, ry, pr[1], pr[0]);
    pqLen = prLen = 2;
  } else {
    TwoProductDiff(pxTail, qy, pyTail, qx, pq);
    TwoProductDiff(pyTail, rx, pxTail, ry, pr);
    pqLen = prLen = 4;
  }
}

// xTail * yTail * (height + heightTail), the products of two tails with a height.
template <class Sum>
void AddTailTailHeight(Sum& sum, double xTail, double yTail, double height, double heightTail) {
  double p1, p0, u[4];
  TwoProduct(xTail, yTail, p1, p0);
  TwoOneProduct(p1, p0, height, u[3], u[2], u[1], u[0]);
  sum.Add(4, u);
  if (heightTail != 0.0) {
    TwoOneProduct(p1, p0, heightTail, u[3], u[2], u[1], u[0]);
    sum.Add(4, u);
  }
}

}  // namespace

double Orient3DAdapt(const double* a, const double* b, const double* c, const double* d,
                     double aHeight, double bHeight, double cHeight, double dHeight,
                     double permanent) {
  const TessExactConstants k = ExactConstants();
  const double adx = a[0] - d[0];
  const double bdx = b[0] - d[0];
  const double cdx = c[0] - d[0];
  const double ady = a[1] - d[1];
  const double bdy = b[1] - d[1];
  const double cdy = c[1] - d[1];
  const double adz = aHeight - dHeight;
  const double bdz = bHeight - dHeight;
  const double cdz = cHeight - dHeight;

  double bc[4], ca[4], ab[4];
  TwoProductDiff(bdx, cdy, cdx, bdy, bc);
  TwoProductDiff(cdx, ady, adx, cdy, ca);
  TwoProductDiff(adx, bdy, bdx, ady, ab);
  double aDet[8], bDet[8], cDet[8], abDet[16];
  const int32_t aLen = ScaleExpansionZeroElim(4, bc, adz, aDet);
  const int32_t bLen = ScaleExpansionZeroElim(4, ca, bdz, bDet);
  const int32_t cLen = ScaleExpansionZeroElim(4, ab, cdz, cDet);
  const int32_t abLen = FastExpansionSumZeroElim(aLen, aDet, bLen, bDet, abDet);
  ExpansionAccumulator<192> sum;
  double* fin = sum.Start();
  const int32_t finLen = FastExpansionSumZeroElim(abLen, abDet, cLen, cDet, fin);
  sum.SetLength(finLen);

  double det = Estimate(finLen, fin);
  double errBound = k.o3dErrBoundB * permanent;
  if (det >= errBound || -det >= errBound) return det;

  const double adxTail = TwoDiffTail(a[0], d[0], adx);
  const double bdxTail = TwoDiffTail(b[0], d[0], bdx);
  const double cdxTail = TwoDiffTail(c[0], d[0], cdx);
  const double adyTail = TwoDiffTail(a[1], d[1], ady);
  const double bdyTail = TwoDiffTail(b[1], d[1], bdy);
  const double cdyTail = TwoDiffTail(c[1], d[1], cdy);
  const double adzTail = TwoDiffTail(aHeight, dHeight, adz);
  const double bdzTail = TwoDiffTail(bHeight, dHeight, bdz);
  const double cdzTail = TwoDiffTail(cHeight, dHeight, cdz);
  if (adxTail == 0.0 && bdxTail == 0.0 && cdxTail == 0.0 && adyTail == 0.0 && bdyTail == 0.0 &&
      cdyTail == 0.0 && adzTail == 0.0 && bdzTail == 0.0 && cdzTail == 0.0) {
    return det;
  }

  errBound = k.o3dErrBoundC * permanent + k.resultErrBound * std::fabs(det);
  det += (adz * ((bdx * cdyTail + cdy * bdxTail) - (bdy * cdxTail + cdx * bdyTail)) +
          adzTail * (bdx * cdy - bdy * cdx)) +
         (bdz * ((cdx * adyTail + ady * cdxTail) - (cdy * adxTail + adx * cdyTail)) +
          bdzTail * (cdx * ady - cdy * adx)) +
         (cdz * ((adx * bdyTail + bdy * adxTail) - (ady * bdxTail + bdx * adyTail)) +
          cdzTail * (adx * bdy - ady * bdx));
  if (det >= errBound || -det >= errBound) return det;

  // Exact. First-order x/y tails of each cross product, times the heights.
  double atB[4], atC[4], btC[4], btA[4], ctA[4], ctB[4];
  int32_t atBLen, atCLen, btCLen, btALen, ctALen, ctBLen;
  PointTailCross(adxTail, adyTail, bdx, bdy, cdx, cdy, atB, atBLen, atC, atCLen);
  PointTailCross(bdxTail, bdyTail, cdx, cdy, adx, ady, btC, btCLen, btA, btALen);
  PointTailCross(cdxTail, cdyTail, adx, ady, bdx, bdy, ctA, ctALen, ctB, ctBLen);

  double bct[8], cat[8], abt[8], w[16];
  const int32_t bctLen = FastExpansionSumZeroElim(btCLen, btC, ctBLen, ctB, bct);
  sum.Add(ScaleExpansionZeroElim(bctLen, bct, adz, w), w);
  const int32_t catLen = FastExpansionSumZeroElim(ctALen, ctA, atCLen, atC, cat);
  sum.Add(ScaleExpansionZeroElim(catLen, cat, bdz, w), w);
  const int32_t abtLen = FastExpansionSumZeroElim(atBLen, atB, btALen, btA, abt);
  sum.Add(ScaleExpansionZeroElim(abtLen, abt, cdz, w), w);

  // Height tails times the rounded cross products.
  double v[8];
  if (adzTail != 0.0) sum.Add(ScaleExpansionZeroElim(4, bc, adzTail, v), v);
  if (bdzTail != 0.0) sum.Add(ScaleExpansionZeroElim(4, ca, bdzTail, v), v);
  if (cdzTail != 0.0) sum.Add(ScaleExpansionZeroElim(4, ab, cdzTail, v), v);

  // Second-order x/y tail products, times the heights and their tails.
  if (adxTail != 0.0) {
    if (bdyTail != 0.0) AddTailTailHeight(sum, adxTail, bdyTail, cdz, cdzTail);
    if (cdyTail != 0.0) AddTailTailHeight(sum, -adxTail, cdyTail, bdz, bdzTail);
  }
  if (bdxTail != 0.0) {
    if (cdyTail != 0.0) AddTailTailHeight(sum, bdxTail, cdyTail, adz, adzTail);
    if (adyTail != 0.0) AddTailTailHeight(sum, -bdxTail, adyTail, cdz, cdzTail);
  }
  if (cdxTail != 0.0) {
    if (adyTail != 0.0) AddTailTailHeight(sum, cdxTail, adyTail, bdz, bdzTail);
    if (bdyTail != 0.0) AddTailTailHeight(sum, -cdxTail, bdyTail, adz, adzTail);
  }

  // Height tails times the first-order cross tails.
  if (adzTail != 0.0) sum.Add(ScaleExpansionZeroElim(bctLen, bct, adzTail, w), w);
  if (bdzTail != 0.0) sum.Add(ScaleExpansionZeroElim(catLen, cat, bdzTail, w), w);
  if (cdzTail != 0.0) sum.Add(ScaleExpansionZeroElim(abtLen, abt, cdzTail, w), w);

  return sum.Largest();
}

namespace {

// An exact difference q - p as an expansion of two components.
struct ExactDifference {
  double terms[2];
  ExactDifference(double q, double p) { TwoDiff(q, p, terms[1], terms[0]); }
};

// h = ux * vy - uy * vx exactly; returns h's length (at most 16).
int32_t ExactCross(const ExactDifference& ux, const ExactDifference& uy, const ExactDifference& vx,
                   const ExactDifference& vy, double* h) {
  double plus[8], minus[8];
  const int32_t plusLen = MultiplyExpansions(2, ux.terms, 2, vy.terms, plus);
  const int32_t minusLen = MultiplyExpansions(2, uy.terms, 2, vx.terms, minus);
  for (int32_t i = 0; i < minusLen; i++) minus[i] = -minus[i];
  return FastExpansionSumZeroElim(plusLen, plus, minusLen, minus, h);
}

// origin + numerator / denominator * (end - origin), with the division the only rounding
// before the last: (origin * denominator + numerator * (end - origin)) / denominator.
double Interpolate(double origin, double end, int32_t numeratorLen, const double* numerator,
                   int32_t denominatorLen, const double* denominator) {
  const ExactDifference run(end, origin);
  double scaledOrigin[32], low[32], high[32], along[64], sum[96];
  const int32_t originLen =
      ScaleExpansionZeroElim(denominatorLen, denominator, origin, scaledOrigin);
  const int32_t lowLen = ScaleExpansionZeroElim(numeratorLen, numerator, run.terms[0], low);
  const int32_t highLen = ScaleExpansionZeroElim(numeratorLen, numerator, run.terms[1], high);
  const int32_t alongLen = FastExpansionSumZeroElim(lowLen, low, highLen, high, along);
  const int32_t sumLen = FastExpansionSumZeroElim(originLen, scaledOrigin, alongLen, along, sum);
  return Estimate(sumLen, sum) / Estimate(denominatorLen, denominator);
}

}  // namespace

void LineCrossing(const double* a, const double* b, const double* c, const double* d,
                  double* crossing, double& fraction) {
  // The crossing is a + t (b - a) with t = cross(c - a, d - c) / cross(b - a, d - c).
  const ExactDifference cax(c[0], a[0]), cay(c[1], a[1]);
  const ExactDifference bax(b[0], a[0]), bay(b[1], a[1]);
  const ExactDifference dcx(d[0], c[0]), dcy(d[1], c[1]);
  double numerator[16], denominator[16];
  const int32_t numeratorLen = ExactCross(cax, cay, dcx, dcy, numerator);
  const int32_t denominatorLen = ExactCross(bax, bay, dcx, dcy, denominator);
  fraction = Estimate(numeratorLen, numerator) / Estimate(denominatorLen, denominator);
  for (int i = 0; i < 2; i++) {
    crossing[i] = Interpolate(a[i], b[i], numeratorLen, numerator, denominatorLen, denominator);
  }
}
