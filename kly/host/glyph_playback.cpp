// Placeholder until the FreeType playback lands: every font is empty.
#include "kly/host/glyph_playback.h"

namespace kly {
namespace host {

void PlayCharOutlines(int, const ORT_Matrix3&, const ORT_Matrix3&, TYE::GlyphOrientation,
                      const HBN_T_NMT::CTPKFontDict&, const std::vector<float>&,
                      GLF_OutlinePlayer& player) {
  player.Finish();
}

}  // namespace host
}  // namespace kly
