// The host's path clean-up applied to every contour, in the frame of the offset: exported for
// callers that want sounder outlines; the build itself does not use it.
#include "kly/extrusion/contour_paths.h"
#include "kly/extrusion/extrusion.h"
#include "kly/host/hbn_paths.h"
#include "kly/host/path_rework.h"
#include "kly/host/plb_path_collector.h"

void KLY_Extrusion::OptimizeContours() {
  FlattenContours();
  holeFlags.resize(contours.size());
  std::vector<KLY_Contour> results(contours.size());
  for (size_t i = 0; i < contours.size(); ++i) {
    holeFlags[i] = IsHoleBound(static_cast<int>(i), polygons) ? 1 : 0;
    ReworkContour(contours[i], results[i]);
  }
  ReplaceContours(results);
}

void KLY_Extrusion::ReworkContour(KLY_Contour& in, KLY_Contour& out) {
  std::vector<ORT_Vector3T<double>> chain;
  in.PureBezier(chain);
  try {
    HBN_T_NMT::CPVKBezierPath source;
    kly::extrusion::ChainToPath(chain, source);
    const HBN_T_NMT::CGFKPath hostPath(source);
    HBN_T_NMT::CPVKBezierPath result;
    PLB_PathCollector collector(1.0, result);
    if (GFK_ReworkPath(hostPath, PLB_PathCollector::Callback, &collector) != 0)
      throw HBN_T_NMT::CHBNError("the path clean-up failed");
    collector.Flush();
    out.ClearVerticesAndCodes();
    kly::extrusion::PathToContour(result, out);
  } catch (...) {
    out = in;  // whatever the clean-up did wrong, the contour keeps its shape
  }
  if (!out.TestContour()) out = in;
  uint32_t min = 0;
  uint32_t max = 0;
  in.GetGranularity(min, max);
  out.SetGranularity(min, max);
}
