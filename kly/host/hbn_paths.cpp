#include "kly/host/hbn_paths.h"

#include <new>

namespace HBN_T_NMT {

void CPVKBezierPath::Append(float x, float y, int32_t type) {
  if (types_.empty() && type != kPathMove) throw CHBNError("no current point");
  if (types_.size() >= kMaxPoints) throw CHBNError("Math overflow exception");
  try {
    points_.push_back(x);
    points_.push_back(y);
    types_.push_back(type);
  } catch (const std::bad_alloc&) {
    // Keep the two arrays in step, then fail as the binding layer does.
    points_.resize(2 * types_.size());
    throw CHBNError("out of memory");
  }
}

void CPVKBezierPath::Clear() {
  points_.clear();
  types_.clear();
}

void CGFKPath::GetData(const float*& points, const int32_t*& types, int32_t& count) const {
  points = path_.Points();
  types = path_.Types();
  count = static_cast<int32_t>(path_.Count());
}

}  // namespace HBN_T_NMT
