#include "kly/text/vector_art_player.h"

#include "kly/text/contour_stream.h"

using kly::text::AppendOutlineCurve;
using kly::text::AppendOutlinePoint;
using kly::text::FinishOutlineContour;

KLY_VectorArtPlayer::~KLY_VectorArtPlayer() = default;

void KLY_VectorArtPlayer::MoveTo(float x, float y) {
  // Through the virtual slot, so that a subpath left open is stored closed as well.
  Finish();
  AppendOutlinePoint(current, x, y, KLY_Contour::kCodeStart);
}

void KLY_VectorArtPlayer::LineTo(float x, float y) {
  AppendOutlinePoint(current, x, y, KLY_Contour::kCodeLine);
}

void KLY_VectorArtPlayer::CurveTo(float x1, float y1, float x2, float y2, float x3, float y3) {
  AppendOutlineCurve(current, x1, y1, x2, y2, x3, y3);
}

void KLY_VectorArtPlayer::Finish() {
  FinishOutlineContour(contours, current);
}
