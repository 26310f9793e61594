// The standalone path transform and path playback.
#include "kly/host/path_playback.h"

#include <cmath>

#include "kly/host/nut.h"

namespace kly {
namespace host {

int32_t TransformPath(const HBN_T_NMT::CGFKPath& path, const float matrix[6],
                      std::unique_ptr<HBN_T_NMT::CGFKPath>& result) {
  const float* points = nullptr;
  const int32_t* types = nullptr;
  int32_t count = 0;
  path.GetData(points, types, count);
  const double a = matrix[0], b = matrix[1], c = matrix[2], d = matrix[3];
  const double tx = matrix[4], ty = matrix[5];
  HBN_T_NMT::CPVKBezierPath moved;
  for (int32_t i = 0; i < count; ++i) {
    const double x = points[2 * i];
    const double y = points[2 * i + 1];
    const float mx = static_cast<float>(a * x + c * y + tx);
    const float my = static_cast<float>(b * x + d * y + ty);
    if (!std::isfinite(mx) || !std::isfinite(my)) return NUT_kErrBadArgument;
    moved.Append(mx, my, types[i]);
  }
  result = std::make_unique<HBN_T_NMT::CGFKPath>(moved);
  return 0;
}

void PlayOutlines(const HBN_T_NMT::CGFKPath& path, PLB_OutlinePlayer& player) {
  const float* points = nullptr;
  const int32_t* types = nullptr;
  int32_t count = 0;
  path.GetData(points, types, count);
  int32_t i = 0;
  while (i < count) {
    const float x = points[2 * i];
    const float y = points[2 * i + 1];
    switch (types[i]) {
      case HBN_T_NMT::kPathMove:
        player.MoveTo(x, y);
        break;
      case HBN_T_NMT::kPathLine:
        player.LineTo(x, y);
        break;
      case HBN_T_NMT::kPathCurve:
        // Three curve points make a cubic; a path cut short ends the playback there.
        if (i + 2 >= count || types[i + 1] != HBN_T_NMT::kPathCurve ||
            types[i + 2] != HBN_T_NMT::kPathCurve) {
          i = count;
          continue;
        }
        player.CurveTo(x, y, points[2 * i + 2], points[2 * i + 3], points[2 * i + 4],
                       points[2 * i + 5]);
        i += 3;
        continue;
      default:  // a close: the player closes every subpath itself
        break;
    }
    ++i;
  }
  player.Finish();
}

}  // namespace host
}  // namespace kly
