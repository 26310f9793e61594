#include "kly/host/font_dict.h"

#include "kly/host/font_face.h"

namespace HBN_T_NMT {

CTPKFontDict CTPKFontDict::FromFile(const std::string& path, int32_t face_index) {
  return CTPKFontDict(kly::host::OpenFontFace(path, face_index));
}

int32_t CTPKFontDict::UnitsPerEm() const {
  return face_ ? face_->face->units_per_EM : 0;
}

int32_t CTPKFontDict::GlyphCount() const {
  return face_ ? static_cast<int32_t>(face_->face->num_glyphs) : 0;
}

std::string CTPKFontDict::FamilyName() const {
  if (!face_ || !face_->face->family_name) return "";
  return face_->face->family_name;
}

std::vector<FontAxis> CTPKFontDict::Axes() const {
  return face_ ? face_->axes : std::vector<FontAxis>();
}

}  // namespace HBN_T_NMT
