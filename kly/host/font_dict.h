// The type engine's font: one face of a font file, shared by every letter and every shaping
// call that uses it. Copies share the face; a default-constructed font is empty and draws
// nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kly {
namespace host {
// The opened face (FreeType library and face, file path, axes): kly/host/font_face.h, known
// only inside kly/host.
struct FontFace;
}  // namespace host
}  // namespace kly

namespace HBN_T_NMT {

// One design axis of a variable font, in the axis's own units (weight 100 to 900, say).
struct FontAxis {
  std::string tag;  // four characters, "wght", "wdth", "opsz" ...
  double minimum;
  double default_value;
  double maximum;
};

class CTPKFontDict {
 public:
  // An empty font: it has no glyphs, and playback of any glyph draws nothing.
  CTPKFontDict() = default;

  // Opens face `face_index` of the font file at `path` (a collection holds several faces).
  // A missing or unreadable file, a file that is not a font and an index out of range are
  // reported with one line naming the file and the problem, then thrown as a non-zero int32_t:
  // FreeType's status, or its "invalid argument" (6) for an index out of range.
  static CTPKFontDict FromFile(const std::string& path, int32_t face_index = 0);

  bool IsEmpty() const { return face_ == nullptr; }
  // The face for the host's own services (playback, shaping); null when empty.
  kly::host::FontFace* Face() const { return face_.get(); }

  // Font units per em, the scale of every outline coordinate; 0 when empty.
  int32_t UnitsPerEm() const;
  // Glyph ids run from 0 to GlyphCount() - 1; 0 when empty.
  int32_t GlyphCount() const;
  // The family name the font gives itself, for messages; "" when empty or unnamed.
  std::string FamilyName() const;
  // The design axes of a variable font in the font's order, which is the order of playback's
  // variation values; empty for any other font.
  std::vector<FontAxis> Axes() const;

 private:
  explicit CTPKFontDict(std::shared_ptr<kly::host::FontFace> face) : face_(std::move(face)) {}
  std::shared_ptr<kly::host::FontFace> face_;
};

}  // namespace HBN_T_NMT
