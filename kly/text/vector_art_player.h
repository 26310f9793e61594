// The receiver of a path's playback: gathers the outline into closed contours, in the order
// played; open subpaths are closed too. Internal to the library; vector art makes one on the
// stack for one extraction.
#pragma once

#include <vector>

#include "kly/curves/contour.h"
#include "kly/host/path_playback.h"

class KLY_VectorArtPlayer : public PLB_OutlinePlayer {
 public:
  KLY_VectorArtPlayer() = default;
  ~KLY_VectorArtPlayer() override;

  // Finishes the contour being built, then starts a new one.
  void MoveTo(float x, float y) override;
  void LineTo(float x, float y) override;
  void CurveTo(float x1, float y1, float x2, float y2, float x3, float y3) override;
  // Stores the contour being built (closed), if it has points.
  void Finish() override;

  // Copies the finished contours into `out`.
  void GetContours(std::vector<KLY_Contour>& out) const { out = contours; }

 private:
  std::vector<KLY_Contour> contours;
  KLY_Contour current;
};
