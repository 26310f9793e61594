// The named entries of the text outline library, the path bridging library and the path
// interface: each reads the host services' seam at every call, so that a replaced service
// takes effect at once.
#include "kly/host/glyph_playback.h"
#include "kly/host/hbn_paths.h"
#include "kly/host/path_playback.h"
#include "kly/host/services.h"

void GLF_PlayCharOutlines(int glyph, const ORT_Matrix3& first, const ORT_Matrix3& second,
                          TYE::GlyphOrientation orientation, const HBN_T_NMT::CTPKFontDict& font,
                          const std::vector<float>& values, GLF_OutlinePlayer& player) {
  kly::host::Services().play_char_outlines(glyph, first, second, orientation, font, values, player);
}

void PLB_PlayOutlines(const HBN_T_NMT::CGFKPath& path, PLB_OutlinePlayer& player) {
  kly::host::Services().play_outlines(path, player);
}

namespace HBN_T_NMT {

int32_t CGFKPath::Transform(const float matrix[6], std::unique_ptr<CGFKPath>& result) const {
  return kly::host::Services().transform_path(*this, matrix, result);
}

}  // namespace HBN_T_NMT
