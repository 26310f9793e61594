// The path bridging library's playback: streams a host path's outline to a player.
#pragma once

#include "kly/host/hbn_paths.h"

// Receives a path's outline as points of single precision.
class PLB_OutlinePlayer {
 public:
  virtual ~PLB_OutlinePlayer() = default;
  virtual void MoveTo(float x, float y) = 0;
  virtual void LineTo(float x, float y) = 0;
  virtual void CurveTo(float x1, float y1, float x2, float y2, float x3, float y3) = 0;
  // The current subpath is complete.
  virtual void Finish() = 0;
};

// Plays `path` on `player`: each subpath is MoveTo followed by its lines and cubics (a close
// adds nothing: the player closes every subpath), and the playback ends with Finish. Calls the
// seam's `play_outlines` (services.h).
void PLB_PlayOutlines(const HBN_T_NMT::CGFKPath& path, PLB_OutlinePlayer& player);

namespace kly {
namespace host {
// The standalone playback, the seam's default.
void PlayOutlines(const HBN_T_NMT::CGFKPath& path, PLB_OutlinePlayer& player);
}  // namespace host
}  // namespace kly
