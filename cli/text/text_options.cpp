#include "cli/text/text_options.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "cli/options/number_parse.h"
#include "cli/options/option_helpers.h"

namespace kly {
namespace cli {

namespace {

const std::vector<std::string> kDirectionNames = {"auto", "ltr", "rtl", "ttb", "btt"};
const std::vector<host::TextDirection> kDirections = {
    host::TextDirection::kAuto, host::TextDirection::kLeftToRight,
    host::TextDirection::kRightToLeft, host::TextDirection::kTopToBottom,
    host::TextDirection::kBottomToTop};
const std::vector<std::string> kAlignNames = {"left", "center", "right"};

constexpr NumberRange kSizes{1e-6, 3.4e38};

void AddFont(CLI::App& app, TextOptions& options) {
  AddParsedOption(
      app, "--font", "a path", [&options](const std::string& text) { options.font = text; },
      "Font file (TrueType, OpenType, a collection)")
      ->type_name("FILE")
      ->default_str(options.font);
  AddCountOption(app, "--face-index", options.face_index, 0, 65535,
                 "Face of a font collection, counted from 0");
  AddNumberOption(app, "--size", options.size,
                  "The em in output units; depths and bevels not given are shares of it", kSizes);
  AddParsedOption(
      app, "--variation", "TAG=VALUE pairs separated by commas, as wght=700,wdth=80",
      [&options](const std::string& text) { options.variation = ParseAxisSettings(text); },
      "Instance of a variable font by its axes; axes not named keep their defaults. Default: "
      "the font's default instance")
      ->type_name("TAG=VALUE,...");
}

void AddShaping(CLI::App& app, TextOptions& options) {
  AddChoiceOption(app, "--direction", options.direction, kDirectionNames,
                  "Direction of each line: auto takes the script's; ttb and btt set the text "
                  "in columns");
  app.add_flag("--vertical", options.vertical,
               "Columns from right to left, glyphs upright: the same as --direction ttb");
  AddParsedOption(
      app, "--script", "an ISO 15924 tag of 4 letters, as Latn or Arab",
      [&options](const std::string& text) {
        if (text.size() != 4 || !std::all_of(text.begin(), text.end(), [](char c) {
              return std::isalpha(static_cast<unsigned char>(c));
            })) {
          throw std::invalid_argument("'" + text + "' is not 4 letters");
        }
        options.script = text;
      },
      "Script of the text. Default: told from the text")
      ->type_name("TAG");
  AddParsedOption(
      app, "--language", "a BCP 47 tag, as en or sr-Latn",
      [&options](const std::string& text) { options.language = text; },
      "Language of the text, for the forms a font keeps for it. Default: none")
      ->type_name("TAG");
  AddParsedOption(
      app, "--features", "settings separated by commas, as kern=0,liga=0,+smcp",
      [&options](const std::string& text) {
        options.features.clear();
        size_t start = 0;
        while (start <= text.size()) {
          const size_t end = std::min(text.find(',', start), text.size());
          const std::string feature = text.substr(start, end - start);
          if (!host::IsFeatureText(feature)) {
            throw std::invalid_argument("'" + feature + "' is not a feature setting");
          }
          options.features.push_back(feature);
          start = end + 1;
        }
      },
      "Font features to turn on or off. Default: the font's own")
      ->type_name("LIST");
}

void AddLayout(CLI::App& app, TextOptions& options) {
  AddParsedOption(
      app, "--line-height", "a number" + RangeText(kSizes),
      [&options](const std::string& text) { options.line_height = ParseNumber(text, kSizes); },
      "Distance between the baselines of lines, or between columns, in ems. "
      "Default: the font's line spacing")
      ->type_name("EMS");
  app.add_flag("--per-letter", options.per_letter,
               "Write each glyph as an object of its own, named by its character: a node in a "
               ".glb, an 'o' in an .obj (.stl and .ply hold no objects)");
  AddChoiceOption(app, "--align", options.align, kAlignNames,
                  "Alignment of each line about x = 0; of a column, top, middle or bottom "
                  "about y = 0. The first line's baseline is y = 0");
}

}  // namespace

void AddTextOptions(CLI::App& app, TextOptions& options) {
  app.add_option("TEXT", options.text, "The text, UTF-8; a line break in it starts a new line")
      ->required();
  AddFont(app, options);
  AddShaping(app, options);
  AddLayout(app, options);
}

host::TextDirection SettleDirection(const TextOptions& options) {
  const host::TextDirection direction =
      kDirections[std::find(kDirectionNames.begin(), kDirectionNames.end(), options.direction) -
                  kDirectionNames.begin()];
  if (!options.vertical) return direction;
  if (direction == host::TextDirection::kAuto) return host::TextDirection::kTopToBottom;
  if (direction == host::TextDirection::kTopToBottom ||
      direction == host::TextDirection::kBottomToTop) {
    return direction;
  }
  throw OptionError("--vertical", "contradicts --direction " + options.direction,
                    "one of them, or --direction ttb or btt");
}

LineAlign Alignment(const TextOptions& options) {
  if (options.align == "center") return LineAlign::kCenter;
  return options.align == "right" ? LineAlign::kEnd : LineAlign::kStart;
}

}  // namespace cli
}  // namespace kly
