#include "kly/extrusion/contour_paths.h"

namespace kly {
namespace extrusion {

void ChainToPath(const std::vector<ORT_Vector3T<double>>& chain, HBN_T_NMT::CPVKBezierPath& path) {
  const auto narrow = [](double v) { return static_cast<float>(v); };
  path.Append(narrow(chain[0].x), narrow(chain[0].y), HBN_T_NMT::kPathMove);
  for (size_t k = 1; k < chain.size(); ++k)
    path.Append(narrow(chain[k].x), narrow(chain[k].y), HBN_T_NMT::kPathCurve);
  path.Append(narrow(chain[0].x), narrow(chain[0].y), HBN_T_NMT::kPathClose);
}

void PathToContour(const HBN_T_NMT::CPVKBezierPath& path, KLY_Contour& out) {
  if (path.Count() < 3) return;
  const float* xy = path.Points();
  const int32_t* types = path.Types();
  out.AppendVertexPosition({xy[0], xy[1], 0.0});
  out.AppendVertexCode(KLY_Contour::kCodeStart);
  for (uint32_t k = 1; k < path.Count(); ++k) {
    if (types[k] < HBN_T_NMT::kPathMove || types[k] > HBN_T_NMT::kPathCurve) continue;
    out.AppendVertexPosition({xy[2 * k], xy[2 * k + 1], 0.0});
    out.AppendVertexCode(static_cast<uint32_t>(types[k]));
  }
  out.SetClosed(true);
}

}  // namespace extrusion
}  // namespace kly
