#include "cli/text/text_layout.h"

#include "cli/text/utf8_text.h"

namespace kly {
namespace cli {

namespace {

bool IsVertical(host::TextDirection direction) {
  return direction == host::TextDirection::kTopToBottom ||
         direction == host::TextDirection::kBottomToTop;
}

// Split at "\n", and at "\r\n" as text from a file written on Windows has it.
std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', start)) {
    const bool crlf = end > start && text[end - 1] == '\r';
    lines.push_back(text.substr(start, end - start - (crlf ? 1 : 0)));
    start = end + 1;
  }
  lines.push_back(text.substr(start));
  return lines;
}

// The shift that aligns a line whose pen ends at `extent` (negative for a line running down).
double AlignShift(double extent, LineAlign align) {
  switch (align) {
    case LineAlign::kStart:
      return 0.0;
    case LineAlign::kCenter:
      return -extent / 2.0;
    case LineAlign::kEnd:
      return -extent;
  }
  return 0.0;
}

// A shaped line placed at `across` (the baseline's y, or the column's x), in ems.
void PlaceLine(const std::string& text, const host::ShapedLine& line, double em_per_unit,
               double across, LineAlign align, std::vector<PlacedGlyph>& out) {
  const bool vertical = IsVertical(line.direction);
  double pen = 0.0;
  for (const host::ShapedGlyph& g : line.glyphs) pen += vertical ? g.y_advance : g.x_advance;
  const double shift = AlignShift(pen * em_per_unit, align);
  double pen_x = vertical ? across : shift;
  double pen_y = vertical ? shift : across;
  for (const host::ShapedGlyph& g : line.glyphs) {
    out.push_back(PlacedGlyph{g.glyph, CharacterAt(text, g.cluster),
                              pen_x + g.x_offset * em_per_unit, pen_y + g.y_offset * em_per_unit,
                              vertical});
    pen_x += g.x_advance * em_per_unit;
    pen_y += g.y_advance * em_per_unit;
  }
}

}  // namespace

std::vector<PlacedGlyph> LayOutText(const std::string& text, const LayoutSettings& settings) {
  const int32_t units_per_em = settings.shaping.font.UnitsPerEm();
  const double em_per_unit = units_per_em > 0 ? 1.0 / units_per_em : 0.0;
  std::vector<PlacedGlyph> placed;
  double across = 0.0;
  for (const std::string& text_line : Lines(text)) {
    host::ShapingRequest request = settings.shaping;
    request.text = text_line;
    const host::ShapedLine line = host::ShapeText(request);
    PlaceLine(text_line, line, em_per_unit, across, settings.align, placed);
    const double spacing = settings.line_height.value_or(
        (line.ascender - line.descender + line.line_gap) * em_per_unit);
    // Lines stack downward; columns from right to left.
    across -= spacing;
  }
  return placed;
}

}  // namespace cli
}  // namespace kly
