#include "cli/commands/text_command.h"

#include <memory>
#include <set>
#include <stdexcept>

#include "cli/commands/outline_pipeline.h"
#include "cli/options/extrusion_options.h"
#include "cli/options/option_helpers.h"
#include "cli/runtime/failure_text.h"
#include "cli/runtime/notes.h"
#include "cli/text/text_letters.h"
#include "cli/text/text_options.h"
#include "cli/text/utf8_text.h"

namespace kly {
namespace cli {

namespace {

// A letter's four material slots, in the library's order.
const std::vector<std::string> kSlots = {"front", "back", "side", "bevel"};

struct TextSettings {
  TextOptions text;
  ExtrusionOptions extrusion;
  SolidOptions options;
};

void CheckText(const std::string& text) {
  const size_t bad = FirstMalformedByte(text);
  if (bad != std::string::npos) {
    throw std::runtime_error("the text is not UTF-8: byte " + std::to_string(bad + 1) +
                             " starts no character");
  }
}

HBN_T_NMT::CTPKFontDict OpenFont(const TextOptions& options) {
  try {
    return HBN_T_NMT::CTPKFontDict::FromFile(options.font,
                                             static_cast<int32_t>(options.face_index));
  } catch (int32_t number) {
    throw HostFailure("reading the font", number);
  }
}

std::string FontName(const HBN_T_NMT::CTPKFontDict& font, const std::string& path) {
  const std::string family = font.FamilyName();
  return family.empty() ? "'" + path + "'" : family;
}

LayoutSettings Layout(const TextOptions& options, const HBN_T_NMT::CTPKFontDict& font) {
  LayoutSettings layout;
  layout.line_height = options.line_height;
  layout.align = Alignment(options);
  host::ShapingRequest& shaping = layout.shaping;
  shaping.font = font;
  shaping.direction = SettleDirection(options);
  shaping.script = options.script;
  shaping.language = options.language;
  shaping.features = options.features;
  try {
    shaping.variation =
        VariationValues(options.variation, font.Axes(), FontName(font, options.font));
  } catch (const std::invalid_argument& e) {
    throw OptionError("--variation", e.what(), "axes of the font within their ranges");
  }
  return layout;
}

// Glyph 0 is the font's box for a character it lacks: one warning a character.
std::vector<std::string> MissingGlyphWarnings(const std::vector<PlacedGlyph>& glyphs,
                                              const std::string& font_name) {
  std::vector<std::string> warnings;
  std::set<char32_t> named;
  for (const PlacedGlyph& glyph : glyphs) {
    if (glyph.glyph != 0 || !named.insert(glyph.character).second) continue;
    warnings.push_back(font_name + " has no glyph for " + CodePointName(glyph.character) + " '" +
                       Utf8(glyph.character) + "'; its missing-glyph box stands in its place");
  }
  return warnings;
}

bool IsBlank(const std::string& text) {
  return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

// A glyph's part of the mesh is its four slots, named by its character.
std::vector<MeshPart> LetterParts(const std::vector<PlacedGlyph>& glyphs) {
  std::vector<MeshPart> parts;
  for (const PlacedGlyph& glyph : glyphs) {
    parts.push_back(MeshPart{Utf8(glyph.character), static_cast<uint32_t>(kSlots.size())});
  }
  return parts;
}

void CheckPerLetter(const TextOptions& text, const OutputOptions& output) {
  const MeshFormat format = output.write.format;
  if (text.per_letter && (format == MeshFormat::kStl || format == MeshFormat::kPly)) {
    throw OptionError(
        "--per-letter",
        std::string(format == MeshFormat::kStl ? ".stl" : ".ply") + " holds no objects",
        "a .glb or .obj output with it");
  }
}

void BuildText(TextSettings& s) {
  SettleSolidOptions(s.options);
  CheckPerLetter(s.text, s.options.output);
  CheckText(s.text.text);
  const HBN_T_NMT::CTPKFontDict font = OpenFont(s.text);
  const LayoutSettings layout = Layout(s.text, font);
  const std::vector<PlacedGlyph> glyphs = LayOutText(s.text.text, layout);
  KLY_Text text;
  AddLetters(glyphs, font, layout.shaping.variation, text);
  const double output_per_build = s.text.size / kBuildEm;
  ApplyExtrusion(ResolveExtrusion(s.extrusion, s.text.size), 1.0 / output_per_build, text);

  SolidJob job{"text",
               "text (" + std::to_string(glyphs.size()) + " glyphs)",
               {},
               "--size, --depth or --bevel-depth",
               0.0};
  for (size_t i = 0; i < glyphs.size(); ++i) {
    job.slot_names.insert(job.slot_names.end(), kSlots.begin(), kSlots.end());
  }
  if (s.text.per_letter) job.parts = LetterParts(glyphs);
  job.warnings = MissingGlyphWarnings(glyphs, FontName(font, s.text.font));
  RunOutlines(text, output_per_build, job, s.options);
  if (IsBlank(s.text.text)) Note("the text is empty or only blanks: there is nothing to draw");
}

}  // namespace

void AddTextCommand(CLI::App& app) {
  auto settings = std::make_shared<TextSettings>();
  CLI::App* command = app.add_subcommand(
      "text",
      "Text shaped in a font (kerning, ligatures, right-to-left and vertical scripts) and "
      "extruded with bevelled edges, the front face at z = 0 facing +Z; four material slots "
      "(front, back, side, bevel)");
  AddTextOptions(*command, settings->text);
  AddExtrusionOptions(*command, settings->extrusion, "the em");
  AddSolidOptions(*command, settings->options, kSlots);
  command->callback([settings] { BuildText(*settings); });
}

}  // namespace cli
}  // namespace kly
