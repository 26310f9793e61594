// The path bridging library's collector: takes a path streamed point by point by a host
// service (through its static Callback) and fills a Bezier path with it, scaled by a factor.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/host/hbn_paths.h"

class PLB_PathCollector {
 public:
  // `path` must outlive the collector; every coordinate is multiplied by `factor`.
  PLB_PathCollector(double factor, HBN_T_NMT::CPVKBezierPath& path);

  // The stream's callback: `refcon` is the collector. Returns 0, or a non-zero status when the
  // point could not be taken: NUT_kErrBadArgument without a collector, NUT_kErrBadAlloc when
  // it cannot be stored (nothing is thrown: a callback runs inside the host's service and must
  // not throw through it). Points are kept as they come and reach the path at Flush.
  static int32_t Callback(void* refcon, int32_t type, float x, float y);

  // Appends what was streamed to the path, then forgets it. Throws CHBNError as
  // CPVKBezierPath::Append does (a stream that does not begin with a move: "no current point").
  void Flush();

 private:
  struct Pending {
    float x;
    float y;
    int32_t type;
  };
  double factor_;
  HBN_T_NMT::CPVKBezierPath& path_;
  std::vector<Pending> pending_;
};
