// The type engine's font: one face of a font file, shared by every letter and every shaping
// call that uses it. Copies share the face; a default-constructed font is empty and draws
// nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace kly {
namespace host {
// The opened face (FreeType face and the bytes it reads from). Known only inside kly/host.
struct FontFace;
}  // namespace host
}  // namespace kly

namespace HBN_T_NMT {

class CTPKFontDict {
 public:
  // An empty font: it has no glyphs, and playback of any glyph draws nothing.
  CTPKFontDict() = default;

  // Opens face `face_index` of the font file at `path` (a collection holds several faces).
  // A missing or unreadable file, a file that is not a font and an index out of range are
  // reported with a line naming the file and the problem, then FreeType's status is thrown
  // as an int32_t.
  static CTPKFontDict FromFile(const std::string& path, int32_t face_index = 0);

  bool IsEmpty() const { return face_ == nullptr; }
  // The face for the host's own services (playback, shaping); null when empty.
  kly::host::FontFace* Face() const { return face_.get(); }

 private:
  explicit CTPKFontDict(std::shared_ptr<kly::host::FontFace> face) : face_(std::move(face)) {}
  std::shared_ptr<kly::host::FontFace> face_;
};

}  // namespace HBN_T_NMT
