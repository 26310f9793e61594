// Which contours bound holes: by winding against the contour with the leftmost point, or by
// even-odd containment.
#include "kly/extrusion/extrusion.h"
#include "kly/extrusion/shoelace.h"

namespace {

using Polygon = std::vector<ORT_Vector3T<double>>;

// Points at or right of this never count as leftmost.
constexpr double kLeftmostStart = 1e6;

size_t LeftmostPolygon(const std::vector<Polygon>& polygons) {
  double leftmost = kLeftmostStart;
  size_t found = 0;
  for (size_t r = 0; r < polygons.size(); ++r)
    for (const ORT_Vector3T<double>& p : polygons[r])
      if (leftmost > p.x) {
        leftmost = p.x;
        found = r;
      }
  return found;
}

// Crossing test over the polygon's own edges; the closing edge is not added (the flattened
// polygons repeat their first point).
bool Contains(const Polygon& polygon, const ORT_Vector3T<double>& t) {
  bool inside = false;
  for (size_t j = 0; j + 1 < polygon.size(); ++j) {
    const ORT_Vector3T<double>& a = polygon[j];
    const ORT_Vector3T<double>& b = polygon[j + 1];
    const bool f0 = t.y <= a.y;
    const bool f1 = t.y <= b.y;
    if (f0 != f1 && (((b.x - t.x) * (a.y - b.y) <= (b.y - t.y) * (a.x - b.x)) == f1))
      inside = !inside;
  }
  return inside;
}

}  // namespace

bool KLY_Extrusion::IsHoleBound(int index, std::vector<Polygon>& polygonList) {
  const Polygon& own = polygonList.at(index);
  if (orientationStyle == 1) {
    const Polygon& leftmost = polygonList[LeftmostPolygon(polygonList)];
    return (kly::extrusion::OpenShoelaceSum(leftmost) >= 0.0) !=
           (kly::extrusion::OpenShoelaceSum(own) >= 0.0);
  }
  if (own.size() < 2) return false;
  const ORT_Vector3T<double> t{(own[0].x + own[1].x) * 0.5, (own[0].y + own[1].y) * 0.5, 0.0};
  size_t enclosing = 0;
  for (size_t k = 0; k < polygonList.size(); ++k)
    if (k != static_cast<size_t>(index) && Contains(polygonList[k], t)) ++enclosing;
  return enclosing % 2 == 1;
}
