#include "kly/host/text_shaping.h"

#include <memory>
#include <stdexcept>

#include <hb-ft.h>
#include <hb.h>

#include "kly/host/font_face.h"
#include "kly/host/services.h"

namespace kly {
namespace host {

namespace {

struct FontDeleter {
  void operator()(hb_font_t* font) const { hb_font_destroy(font); }
};
struct BufferDeleter {
  void operator()(hb_buffer_t* buffer) const { hb_buffer_destroy(buffer); }
};
using FontHandle = std::unique_ptr<hb_font_t, FontDeleter>;
using BufferHandle = std::unique_ptr<hb_buffer_t, BufferDeleter>;

// HarfBuzz's own OpenType functions over the face's tables, at a scale of one unit a font
// unit. They read the tables through FreeType but never change the shared FT_Face (its size
// and variation stay as playback set them).
FontHandle MakeFont(const ShapingRequest& request) {
  FontFace* face = request.font.Face();
  hb_face_t* hb_face = face ? hb_ft_face_create_referenced(face->face) : hb_face_get_empty();
  FontHandle font(hb_font_create(hb_face));
  hb_face_destroy(hb_face);
  const int upem = static_cast<int>(hb_face_get_upem(hb_font_get_face(font.get())));
  hb_font_set_scale(font.get(), upem, upem);
  if (!request.variation.empty()) {
    hb_font_set_var_coords_design(font.get(), request.variation.data(),
                                  static_cast<unsigned>(request.variation.size()));
  }
  return font;
}

hb_direction_t HarfBuzzDirection(TextDirection direction) {
  switch (direction) {
    case TextDirection::kLeftToRight:
      return HB_DIRECTION_LTR;
    case TextDirection::kRightToLeft:
      return HB_DIRECTION_RTL;
    case TextDirection::kTopToBottom:
      return HB_DIRECTION_TTB;
    case TextDirection::kBottomToTop:
      return HB_DIRECTION_BTT;
    case TextDirection::kAuto:
      break;
  }
  return HB_DIRECTION_INVALID;
}

TextDirection OurDirection(hb_direction_t direction) {
  switch (direction) {
    case HB_DIRECTION_RTL:
      return TextDirection::kRightToLeft;
    case HB_DIRECTION_TTB:
      return TextDirection::kTopToBottom;
    case HB_DIRECTION_BTT:
      return TextDirection::kBottomToTop;
    default:
      return TextDirection::kLeftToRight;
  }
}

BufferHandle FilledBuffer(const ShapingRequest& request) {
  BufferHandle buffer(hb_buffer_create());
  hb_buffer_add_utf8(buffer.get(), request.text.data(), static_cast<int>(request.text.size()), 0,
                     -1);
  hb_buffer_set_direction(buffer.get(), HarfBuzzDirection(request.direction));
  if (!request.script.empty()) {
    hb_buffer_set_script(
        buffer.get(),
        hb_script_from_string(request.script.data(), static_cast<int>(request.script.size())));
  }
  if (!request.language.empty()) {
    hb_buffer_set_language(buffer.get(),
                           hb_language_from_string(request.language.data(),
                                                   static_cast<int>(request.language.size())));
  }
  // What is left unset (direction, script, language) is taken from the text.
  hb_buffer_guess_segment_properties(buffer.get());
  return buffer;
}

std::vector<hb_feature_t> Features(const std::vector<std::string>& texts) {
  std::vector<hb_feature_t> features(texts.size());
  for (size_t i = 0; i < texts.size(); ++i) {
    if (!hb_feature_from_string(texts[i].data(), static_cast<int>(texts[i].size()), &features[i])) {
      throw std::invalid_argument("'" + texts[i] + "' is not a font feature setting");
    }
  }
  return features;
}

void SetExtents(hb_font_t* font, hb_direction_t direction, ShapedLine& line) {
  hb_font_extents_t extents;
  hb_font_get_extents_for_direction(font, direction, &extents);
  line.ascender = extents.ascender;
  line.descender = extents.descender;
  line.line_gap = extents.line_gap;
}

// HarfBuzz gives a vertical glyph's offset from its horizontal origin, which it keeps at
// (-origin) from the pen; adding the origin back makes it an offset from the vertical origin.
void FromVerticalOrigin(hb_font_t* font, ShapedGlyph& glyph) {
  hb_position_t x = 0;
  hb_position_t y = 0;
  hb_font_get_glyph_v_origin(font, glyph.glyph, &x, &y);
  glyph.x_offset += x;
  glyph.y_offset += y;
}

}  // namespace

bool IsFeatureText(const std::string& text) {
  hb_feature_t feature;
  return !text.empty() &&
         hb_feature_from_string(text.data(), static_cast<int>(text.size()), &feature);
}

ShapedLine ShapeText(const ShapingRequest& request) {
  return Services().shape_text(request);
}

ShapedLine ShapeWithHarfBuzz(const ShapingRequest& request) {
  const std::vector<hb_feature_t> features = Features(request.features);
  const FontHandle font = MakeFont(request);
  const BufferHandle buffer = FilledBuffer(request);
  hb_shape(font.get(), buffer.get(), features.data(), static_cast<unsigned>(features.size()));

  const hb_direction_t direction = hb_buffer_get_direction(buffer.get());
  ShapedLine line;
  line.direction = OurDirection(direction);
  SetExtents(font.get(), direction, line);
  unsigned count = 0;
  const hb_glyph_info_t* infos = hb_buffer_get_glyph_infos(buffer.get(), &count);
  const hb_glyph_position_t* positions = hb_buffer_get_glyph_positions(buffer.get(), &count);
  line.glyphs.reserve(count);
  for (unsigned i = 0; i < count; ++i) {
    ShapedGlyph glyph{infos[i].codepoint,     infos[i].cluster,      positions[i].x_advance,
                      positions[i].y_advance, positions[i].x_offset, positions[i].y_offset};
    if (HB_DIRECTION_IS_VERTICAL(direction)) FromVerticalOrigin(font.get(), glyph);
    line.glyphs.push_back(glyph);
  }
  return line;
}

}  // namespace host
}  // namespace kly
