// The options of every command that extrudes outlines (text, svg), declared once: depth, bevel
// style and sizes, and the sampling granularities. Sizes are in output units; a size not given
// is a fixed share of the command's own scale (the em of text, the larger side of a drawing),
// so that the defaults suit any size.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

namespace kly {
namespace cli {

struct ExtrusionOptions {
  std::optional<double> depth;
  std::string bevel = "convex";
  std::optional<double> bevel_depth;
  // Without it, holes get the bevel of outer contours.
  std::optional<double> hole_bevel_depth;
  uint32_t face_granularity[2] = {1, 10};
  uint32_t bevel_granularity[2] = {1, 10};
  // Smallest angle the caps' triangles keep, in degrees; 0 leaves the caps unrefined.
  double cap_quality = 0.0;
};

// The values the library takes, in output units.
struct ExtrusionParameters {
  double depth;
  int32_t bevel_style;
  double bevel_depth;
  double hole_bevel_depth;
  uint32_t face_granularity[2];
  uint32_t bevel_granularity[2];
  double cap_quality;
};

// Shares of the scale taken by a depth and a bevel not given.
constexpr double kDefaultDepthShare = 0.2;
constexpr double kDefaultBevelShare = 0.02;

// `scale_name` says what the defaults are shares of ("the em").
void AddExtrusionOptions(CLI::App& app, ExtrusionOptions& options, const std::string& scale_name);

ExtrusionParameters ResolveExtrusion(const ExtrusionOptions& options, double scale);

// Sets the parameters on a KLY_Text or a KLY_VectorArtCollection, whose setters reach the
// elements it holds: so it comes after the elements are added. `build_per_output` turns the
// sizes into the units the collection is built in.
template <class Collection>
void ApplyExtrusion(const ExtrusionParameters& p, double build_per_output, Collection& collection) {
  collection.SetExtrusionDepth(p.depth * build_per_output);
  collection.SetBevelStyle(p.bevel_style);
  collection.SetBevelDepth(p.bevel_depth * build_per_output);
  collection.SetHoleBevelDepth(p.hole_bevel_depth * build_per_output);
  collection.SetFaceGranularity(p.face_granularity[0], p.face_granularity[1]);
  collection.SetBevelGranularity(p.bevel_granularity[0], p.bevel_granularity[1]);
  collection.SetFaceQuality(p.cap_quality);
}

}  // namespace cli
}  // namespace kly
