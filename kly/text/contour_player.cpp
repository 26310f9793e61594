#include "kly/text/contour_player.h"

#include "kly/text/contour_stream.h"

using kly::text::AppendOutlineCurve;
using kly::text::AppendOutlinePoint;
using kly::text::FinishOutlineContour;

KLY_ContourPlayer::~KLY_ContourPlayer() = default;

void KLY_ContourPlayer::Reset() {
  contours.clear();
  current.ClearVerticesAndCodes();
}

void KLY_ContourPlayer::MoveTo(double x, double y) {
  FinishOutlineContour(contours, current);
  AppendOutlinePoint(current, x, y, KLY_Contour::kCodeStart);
}

void KLY_ContourPlayer::LineTo(double x, double y) {
  AppendOutlinePoint(current, x, y, KLY_Contour::kCodeLine);
}

void KLY_ContourPlayer::CurveTo(double x1, double y1, double x2, double y2, double x3, double y3) {
  AppendOutlineCurve(current, x1, y1, x2, y2, x3, y3);
}

void KLY_ContourPlayer::ClosePath() {
  if (current.Size() != 0) current.SetClosed(true);
}

void KLY_ContourPlayer::Finish() {
  FinishOutlineContour(contours, current);
}
