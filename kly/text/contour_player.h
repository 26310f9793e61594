// The receiver of a glyph's playback: gathers the outline into closed contours, in the order
// played. Internal to the library; a letter makes one on the stack for one extraction.
#pragma once

#include <vector>

#include "kly/curves/contour.h"
#include "kly/host/glyph_playback.h"

class KLY_ContourPlayer : public GLF_OutlinePlayer {
 public:
  KLY_ContourPlayer() = default;
  ~KLY_ContourPlayer() override;

  // Forgets the finished contours and the one being built.
  void Reset() override;
  // Stores the contour being built (closed), if it has points, and starts a new one.
  void MoveTo(double x, double y) override;
  void LineTo(double x, double y) override;
  void CurveTo(double x1, double y1, double x2, double y2, double x3, double y3) override;
  // Marks the contour being built closed; it is stored by the next MoveTo or Finish.
  void ClosePath() override;
  // Stores the contour being built (closed), if it has points. A stream that ends without
  // Finish loses its last contour.
  void Finish() override;

  // Copies the finished contours into `out`.
  void GetContours(std::vector<KLY_Contour>& out) const { out = contours; }

 private:
  std::vector<KLY_Contour> contours;
  KLY_Contour current;
};
