#include "kly/host/path_reader.h"

#include <algorithm>
#include <cmath>

#include "kly/host/hbn_paths.h"

namespace kly {
namespace host {

PathReadStatus ReadClosedPath(const float* points, const int32_t* types, int32_t count,
                              ClosedPath& out) {
  out.segments.clear();
  out.subpaths.clear();
  out.min_x = out.min_y = out.max_x = out.max_y = 0.0;
  if (points == nullptr || types == nullptr || count < 3) return PathReadStatus::kTooFewPoints;

  const size_t n = static_cast<size_t>(count);
  for (size_t i = 0; i < 2 * n; ++i) {
    if (!std::isfinite(points[i])) return PathReadStatus::kNotFinite;
  }
  out.min_x = out.max_x = points[0];
  out.min_y = out.max_y = points[1];
  for (size_t i = 1; i < n; ++i) {
    out.min_x = std::min<double>(out.min_x, points[2 * i]);
    out.max_x = std::max<double>(out.max_x, points[2 * i]);
    out.min_y = std::min<double>(out.min_y, points[2 * i + 1]);
    out.max_y = std::max<double>(out.max_y, points[2 * i + 1]);
  }

  bool open = false;  // inside a subpath that has not closed yet
  Subpath subpath{};
  Vec2 current{0.0, 0.0};
  Vec2 controls[2];
  int curve_points = 0;  // curve points of the cubic being read
  const auto finish = [&]() {
    if (current != subpath.start) out.segments.push_back({false, {}, {}, subpath.start});
    subpath.count = out.segments.size() - subpath.first;
    if (subpath.count > 0) out.subpaths.push_back(subpath);
    open = false;
  };
  for (size_t i = 0; i < n; ++i) {
    const Vec2 p{points[2 * i], points[2 * i + 1]};
    const int32_t type = types[i];
    if (type == HBN_T_NMT::kPathMove) {
      if (open) return PathReadStatus::kNotClosed;
      open = true;
      subpath = {p, out.segments.size(), 0};
      current = p;
      continue;
    }
    if (!open) return PathReadStatus::kMalformed;  // a piece without a move before it
    switch (type) {
      case HBN_T_NMT::kPathLine:
        if (curve_points != 0) return PathReadStatus::kMalformed;
        out.segments.push_back({false, {}, {}, p});
        current = p;
        break;
      case HBN_T_NMT::kPathCurve:
        if (curve_points < 2) {
          controls[curve_points++] = p;
        } else {
          out.segments.push_back({true, controls[0], controls[1], p});
          curve_points = 0;
          current = p;
        }
        break;
      case HBN_T_NMT::kPathClose:
        if (curve_points != 0) return PathReadStatus::kMalformed;
        if (p != current) {
          out.segments.push_back({false, {}, {}, p});
          current = p;
        }
        finish();
        break;
      default:
        return PathReadStatus::kMalformed;
    }
  }
  if (open) return PathReadStatus::kNotClosed;
  return PathReadStatus::kOk;
}

}  // namespace host
}  // namespace kly
