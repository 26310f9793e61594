// The opened face behind a CTPKFontDict, for the host's own services (glyph playback, shaping).
// Only kly/host includes this header: it is where FreeType's types are known.
//
// Each face owns its FreeType library, so that faces of different fonts can be used on
// different threads. One face is used by one thread at a time. Glyph playback sets the face's
// variation coordinates before every load; a service that reads the face otherwise (a HarfBuzz
// font made on it) sets its own coordinates rather than trusting those left on the face.
#pragma once

#include <ft2build.h>
#include FT_FREETYPE_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kly/host/font_dict.h"

namespace kly {
namespace host {

struct FontFace {
  FT_Library library = nullptr;
  FT_Face face = nullptr;
  std::string path;
  int32_t face_index = 0;
  // The design axes of a variable font, in the font's order; empty for any other font.
  std::vector<HBN_T_NMT::FontAxis> axes;

  FontFace() = default;
  ~FontFace();
  FontFace(const FontFace&) = delete;
  FontFace& operator=(const FontFace&) = delete;
};

// Opens face `face_index` of the font file at `path`. Failures are reported with one line naming
// the file and the problem, then thrown as a non-zero int32_t (FreeType's status where it has
// one).
std::shared_ptr<FontFace> OpenFontFace(const std::string& path, int32_t face_index);

// Reports `what` with FreeType's status appended and throws the status as an int32_t.
[[noreturn]] void FailFont(FT_Error status, const std::string& what);

}  // namespace host
}  // namespace kly
