#include "kly/host/svg_shapes.h"

#include <algorithm>

#include "kly/host/svg_numbers.h"

namespace kly {
namespace host {
namespace {

// The distance of a quarter circle's controls from its ends, in radii: 4/3 tan(22.5 degrees).
constexpr double kQuarter = 0.55228474983079339840;

// A quarter ellipse from the current point to `end`, both on sides of an axis-aligned box
// whose corner is `corner`: each control lies towards the corner from its end.
void AppendQuarter(SvgPath& path, Vec2 corner, Vec2 end) {
  const Vec2 from = path.Current();
  path.CubicTo(from + (corner - from) * kQuarter, end + (corner - end) * kQuarter, end);
}

void LineToIfMoved(SvgPath& path, Vec2 to) {
  if (path.Current() != to) path.LineTo(to);
}

}  // namespace

void AppendRect(SvgPath& path, double x, double y, double width, double height, double rx,
                double ry) {
  if (rx < 0.0) rx = ry;
  if (ry < 0.0) ry = rx;
  rx = std::clamp(rx, 0.0, 0.5 * width);
  ry = std::clamp(ry, 0.0, 0.5 * height);
  const double right = x + width;
  const double bottom = y + height;
  if (rx == 0.0 || ry == 0.0) {
    path.MoveTo({x, y});
    path.LineTo({right, y});
    path.LineTo({right, bottom});
    path.LineTo({x, bottom});
    path.Close();
    return;
  }
  path.MoveTo({x + rx, y});
  LineToIfMoved(path, {right - rx, y});
  AppendQuarter(path, {right, y}, {right, y + ry});
  LineToIfMoved(path, {right, bottom - ry});
  AppendQuarter(path, {right, bottom}, {right - rx, bottom});
  LineToIfMoved(path, {x + rx, bottom});
  AppendQuarter(path, {x, bottom}, {x, bottom - ry});
  LineToIfMoved(path, {x, y + ry});
  AppendQuarter(path, {x, y}, {x + rx, y});
  path.Close();
}

void AppendEllipse(SvgPath& path, double cx, double cy, double rx, double ry) {
  path.MoveTo({cx + rx, cy});
  AppendQuarter(path, {cx + rx, cy + ry}, {cx, cy + ry});
  AppendQuarter(path, {cx - rx, cy + ry}, {cx - rx, cy});
  AppendQuarter(path, {cx - rx, cy - ry}, {cx, cy - ry});
  AppendQuarter(path, {cx + rx, cy - ry}, {cx + rx, cy});
  path.Close();
}

std::vector<Vec2> ParsePoints(std::string_view text) {
  SvgScanner scanner(text);
  std::vector<double> values;
  scanner.SkipSpace();
  bool comma = false;
  while (!scanner.AtEnd() || comma) {
    double value = 0.0;
    if (!scanner.ReadNumber(value)) scanner.Fail("points", "a number");
    values.push_back(value);
    comma = scanner.SkipCommaSpace();
  }
  if (values.size() % 2 != 0) throw SvgError("points: an odd number of coordinates");
  std::vector<Vec2> points(values.size() / 2);
  for (size_t i = 0; i < points.size(); ++i) points[i] = {values[2 * i], values[2 * i + 1]};
  return points;
}

void AppendPolygon(SvgPath& path, const std::vector<Vec2>& points) {
  if (points.empty()) return;
  path.MoveTo(points[0]);
  for (size_t i = 1; i < points.size(); ++i) path.LineTo(points[i]);
  path.Close();
}

}  // namespace host
}  // namespace kly
