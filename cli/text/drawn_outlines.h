// Glyph playback without lone points. TrueType fonts may keep a single point as a contour of
// its own (an anchor: 'u' of DejaVu Sans has one, and 92 more of its glyphs). It encloses
// nothing, yet the extrusion refuses any contour of fewer than three points, so a letter that
// received one would fail the whole text. While an object of this class lives, the seam's glyph
// playback passes every contour on but those that have no piece after their start.
#pragma once

#include "kly/host/services.h"

namespace kly {
namespace cli {

class DrawnOutlinesOnly {
 public:
  DrawnOutlinesOnly();

 private:
  host::ScopedServices services_;
};

}  // namespace cli
}  // namespace kly
