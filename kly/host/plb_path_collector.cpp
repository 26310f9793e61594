#include "kly/host/plb_path_collector.h"

#include <exception>

#include "kly/host/nut.h"

PLB_PathCollector::PLB_PathCollector(double factor, HBN_T_NMT::CPVKBezierPath& path)
    : factor_(factor), path_(path) {}

int32_t PLB_PathCollector::Callback(void* refcon, int32_t type, float x, float y) {
  auto* collector = static_cast<PLB_PathCollector*>(refcon);
  if (collector == nullptr) return NUT_kErrBadArgument;
  try {
    collector->pending_.push_back({x, y, type});
  } catch (const std::exception&) {  // bad_alloc or length_error
    return NUT_kErrBadAlloc;
  }
  return 0;
}

void PLB_PathCollector::Flush() {
  // What was streamed is forgotten whether or not the path takes it all.
  std::vector<Pending> pending;
  pending.swap(pending_);
  for (const Pending& p : pending) {
    path_.Append(static_cast<float>(p.x * factor_), static_cast<float>(p.y * factor_), p.type);
  }
}
