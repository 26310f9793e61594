#include "cli/options/extrusion_options.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "cli/options/number_parse.h"
#include "cli/options/option_helpers.h"

namespace kly {
namespace cli {

namespace {

// In the library's numbering: 0 none, 1 chamfer, 2 concave, 3 convex.
const std::vector<std::string> kBevelNames = {"none", "chamfer", "concave", "convex"};

// The library cuts granularities to 10 recursion levels.
constexpr uint32_t kMostGranularity = 10;

constexpr NumberRange kSizes{0.0, 3.4e38};
// Refinement is known to finish for smallest angles up to about 34 degrees.
constexpr NumberRange kCapAngles{0.0, 34.0};

void AddSize(CLI::App& app, const std::string& name, std::optional<double>& target,
             const std::string& description) {
  AddParsedOption(
      app, name, "a number" + RangeText(kSizes),
      [&target](const std::string& text) { target = ParseNumber(text, kSizes); }, description)
      ->type_name("NUMBER");
}

void AddGranularity(CLI::App& app, const std::string& name, uint32_t (&target)[2],
                    const std::string& description) {
  const std::string expected = "MIN,MAX: two whole numbers from 0 to " +
                               std::to_string(kMostGranularity) + ", MIN not above MAX";
  AddParsedOption(
      app, name, expected,
      [&target](const std::string& text) {
        const size_t comma = text.find(',');
        if (comma == std::string::npos) throw std::invalid_argument("'" + text + "' has no ','");
        const uint32_t min = ParseCount(text.substr(0, comma), 0, kMostGranularity);
        const uint32_t max = ParseCount(text.substr(comma + 1), 0, kMostGranularity);
        if (min > max) throw std::invalid_argument("MIN " + std::to_string(min) + " is above MAX");
        target[0] = min;
        target[1] = max;
      },
      description)
      ->type_name("MIN,MAX")
      ->default_str(std::to_string(target[0]) + "," + std::to_string(target[1]));
}

}  // namespace

void AddExtrusionOptions(CLI::App& app, ExtrusionOptions& options, const std::string& scale_name) {
  AddSize(app, "--depth", options.depth,
          "Depth of the straight wall, along -Z from the front face at z = 0. Default: " +
              FormatNumber(kDefaultDepthShare) + " of " + scale_name);
  AddChoiceOption(app, "--bevel", options.bevel, kBevelNames,
                  "Profile of the edge between the front and back faces and the wall; each "
                  "bevel adds its depth before and after the wall");
  AddSize(app, "--bevel-depth", options.bevel_depth,
          "Size of the bevel of outer contours, inward along Z and outward in the plane. "
          "Default: " +
              FormatNumber(kDefaultBevelShare) + " of " + scale_name);
  AddSize(app, "--hole-bevel-depth", options.hole_bevel_depth,
          "Size of the bevel of holes. Default: the --bevel-depth");
  AddGranularity(app, "--face-granularity", options.face_granularity,
                 "Least and most rounds of halving that sample each curve of an outline");
  AddGranularity(app, "--bevel-granularity", options.bevel_granularity,
                 "Least and most rounds of halving that sample the bevel's profile");
  AddNumberOption(app, "--cap-quality", options.cap_quality,
                  "Smallest angle, in degrees, that the triangles of the front and back faces "
                  "keep: the faces get points inside them, their outlines stay as they are. 0 "
                  "leaves them as the outline's points alone make them",
                  kCapAngles);
}

ExtrusionParameters ResolveExtrusion(const ExtrusionOptions& options, double scale) {
  ExtrusionParameters p;
  p.depth = options.depth.value_or(kDefaultDepthShare * scale);
  p.bevel_style = static_cast<int32_t>(
      std::find(kBevelNames.begin(), kBevelNames.end(), options.bevel) - kBevelNames.begin());
  p.bevel_depth = options.bevel_depth.value_or(kDefaultBevelShare * scale);
  p.hole_bevel_depth = options.hole_bevel_depth.value_or(p.bevel_depth);
  std::copy(options.face_granularity, options.face_granularity + 2, p.face_granularity);
  std::copy(options.bevel_granularity, options.bevel_granularity + 2, p.bevel_granularity);
  p.cap_quality = options.cap_quality;
  return p;
}

}  // namespace cli
}  // namespace kly
