// The options of `kly text` that are its own: the text, the font, the size, shaping and layout.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/text/text_layout.h"
#include "cli/text/variation_values.h"

namespace kly {
namespace cli {

inline const std::string kDefaultFont = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

struct TextOptions {
  std::string text;
  std::string font = kDefaultFont;
  uint32_t face_index = 0;
  // The em in output units: a line of capitals stands about 0.73 of it tall in DejaVu Sans.
  double size = 1.0;
  std::vector<AxisSetting> variation;
  std::string direction = "auto";
  bool vertical = false;
  std::string script;
  std::string language;
  std::vector<std::string> features;
  std::optional<double> line_height;
  std::string align = "left";
  bool per_letter = false;
};

void AddTextOptions(CLI::App& app, TextOptions& options);

// After parsing: the direction that --direction and --vertical give together; throws
// CLI::ValidationError when they contradict each other.
host::TextDirection SettleDirection(const TextOptions& options);

LineAlign Alignment(const TextOptions& options);

}  // namespace cli
}  // namespace kly
