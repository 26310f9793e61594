// The host's Bezier library: the nearest point of a planar cubic to a given point.
#pragma once

#include <cstdint>

#include "kly/host/ort.h"

// A cubic Bezier curve by reference: the number given as `Dimension` in a 16-bit field, then
// pointers to its four control points, which must outlive the record.
template <int Dimension, class Point>
struct SPN_CurveClass {
  SPN_CurveClass(const Point& p0, const Point& p1, const Point& p2, const Point& p3)
      : dimension(Dimension), controlPoints{&p0, &p1, &p2, &p3} {}

  uint16_t dimension;
  const Point* controlPoints[4];
};

// The parameter in [0, 1] of the point of `curve` nearest to `point`. Both ends and every
// interior stationary point of the squared distance are candidates, and the nearest wins;
// among equally near points the smallest parameter wins. A curve whose derivative vanishes
// everywhere (four equal points) gives 0. Non-finite input gives 0.
double SPN_NearestPointOnCurve(ORT_Vector2T<double> point,
                               const SPN_CurveClass<2, ORT_Vector2T<double>>& curve);
