#include "kly/host/clipper_offset.h"

#include <polyclipping/clipper.hpp>

#include <cmath>
#include <exception>

namespace kly {
namespace host {
namespace {

// Clipper's buffers, kept by each thread from one call to the next.
struct Workspace {
  ClipperLib::ClipperOffset offset;
  ClipperLib::Path path;
  ClipperLib::Paths solution;
};

Workspace& ThreadWorkspace() {
  thread_local Workspace workspace;
  return workspace;
}

}  // namespace

bool OffsetOnGrid(const std::vector<Vec2>& polygon, double delta, double miter_limit,
                  std::vector<std::vector<Vec2>>& result) {
  Workspace& w = ThreadWorkspace();
  w.path.clear();
  w.path.reserve(polygon.size());
  for (const Vec2& p : polygon) {
    if (!(std::fabs(p.x) <= kGridRange && std::fabs(p.y) <= kGridRange)) {
      result.clear();
      return false;
    }
    w.path.emplace_back(static_cast<ClipperLib::cInt>(std::llround(p.x)),
                        static_cast<ClipperLib::cInt>(std::llround(p.y)));
  }
  try {
    w.offset.Clear();
    w.offset.MiterLimit = miter_limit;
    w.offset.AddPath(w.path, ClipperLib::jtMiter, ClipperLib::etClosedPolygon);
    w.offset.Execute(w.solution, delta);
  } catch (const std::exception&) {  // clipperException: a coordinate out of range
    w.offset.Clear();
    result.clear();
    return false;
  }
  w.offset.Clear();
  // Resized, not cleared: the polygons kept keep their buffers for the next call.
  result.resize(w.solution.size());
  for (size_t i = 0; i < w.solution.size(); ++i) {
    std::vector<Vec2>& out = result[i];
    out.clear();
    out.reserve(w.solution[i].size());
    for (const ClipperLib::IntPoint& p : w.solution[i]) {
      out.push_back({static_cast<double>(p.X), static_cast<double>(p.Y)});
    }
  }
  return true;
}

}  // namespace host
}  // namespace kly
