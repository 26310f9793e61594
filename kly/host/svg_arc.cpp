#include "kly/host/svg_arc.h"

#include <algorithm>
#include <cmath>

namespace kly {
namespace host {
namespace {

constexpr double kPi = 3.14159265358979323846;

// An ellipse centred at `centre`, radii rx and ry, its x axis turned by the angle whose cosine
// and sine are `cos` and `sin`: maps points of the unit circle onto it.
struct Ellipse {
  Vec2 centre;
  double rx, ry, cos, sin;

  Vec2 Map(Vec2 unit) const {
    const double x = rx * unit.x;
    const double y = ry * unit.y;
    return {cos * x - sin * y + centre.x, sin * x + cos * y + centre.y};
  }
};

// The cubic of the unit circle from angle t1 to t1 + delta (|delta| at most 90 degrees), whose
// controls lie along the tangents at 4/3 tan(delta / 4).
void AppendUnitArc(SvgPath& path, const Ellipse& ellipse, double t1, double delta, Vec2 end) {
  const double t2 = t1 + delta;
  const double k = 4.0 / 3.0 * std::tan(delta / 4.0);
  const Vec2 c1{std::cos(t1) - k * std::sin(t1), std::sin(t1) + k * std::cos(t1)};
  const Vec2 c2{std::cos(t2) + k * std::sin(t2), std::sin(t2) - k * std::cos(t2)};
  path.CubicTo(ellipse.Map(c1), ellipse.Map(c2), end);
}

}  // namespace

void AppendArc(SvgPath& path, double rx, double ry, double rotation, bool large_arc, bool sweep,
               Vec2 end) {
  const Vec2 start = path.Current();
  if (start == end) return;
  rx = std::fabs(rx);
  ry = std::fabs(ry);
  const double phi = std::fmod(rotation, 360.0) * kPi / 180.0;
  Ellipse ellipse{{0.0, 0.0}, rx, ry, std::cos(phi), std::sin(phi)};
  // The half chord in the ellipse's axes, then in units of the radii, where the ellipse is the
  // unit circle; working there keeps squares of large radii from overflowing.
  const double hx = 0.5 * (start.x - end.x);
  const double hy = 0.5 * (start.y - end.y);
  double x = (ellipse.cos * hx + ellipse.sin * hy) / rx;
  double y = (-ellipse.sin * hx + ellipse.cos * hy) / ry;
  double lambda = x * x + y * y;
  if (!(rx > 0.0 && ry > 0.0 && lambda > 0.0 && std::isfinite(lambda))) {
    path.LineTo(end);
    return;
  }
  if (lambda > 1.0) {
    // Radii too small to reach: scaled up until the chord is a diameter.
    const double scale = std::sqrt(lambda);
    ellipse.rx *= scale;
    ellipse.ry *= scale;
    x /= scale;
    y /= scale;
    lambda = 1.0;
  }
  double coefficient = std::sqrt(std::max(0.0, (1.0 - lambda) / lambda));
  if (large_arc == sweep) coefficient = -coefficient;
  const Vec2 centre{coefficient * y, -coefficient * x};  // unit space, about the chord's middle
  ellipse.centre = {ellipse.cos * ellipse.rx * centre.x - ellipse.sin * ellipse.ry * centre.y +
                        0.5 * (start.x + end.x),
                    ellipse.sin * ellipse.rx * centre.x + ellipse.cos * ellipse.ry * centre.y +
                        0.5 * (start.y + end.y)};
  const double t1 = std::atan2(y - centre.y, x - centre.x);
  double sweep_angle = std::atan2(-y - centre.y, -x - centre.x) - t1;
  if (sweep && sweep_angle < 0.0) sweep_angle += 2.0 * kPi;
  if (!sweep && sweep_angle > 0.0) sweep_angle -= 2.0 * kPi;
  // A hair under a quarter turn per part, so that a quarter arc is one cubic.
  const int parts =
      std::max(1, static_cast<int>(std::ceil(std::fabs(sweep_angle) / (0.5 * kPi) - 1e-9)));
  const double delta = sweep_angle / parts;
  for (int i = 0; i < parts; ++i) {
    const double t = t1 + i * delta;
    const Vec2 to = i + 1 == parts ? end : ellipse.Map({std::cos(t + delta), std::sin(t + delta)});
    AppendUnitArc(path, ellipse, t, delta, to);
  }
}

}  // namespace host
}  // namespace kly
