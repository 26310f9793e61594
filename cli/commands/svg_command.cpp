#include "cli/commands/svg_command.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include "cli/commands/outline_pipeline.h"
#include "cli/options/color_parse.h"
#include "cli/options/extrusion_options.h"
#include "cli/options/number_parse.h"
#include "cli/options/option_helpers.h"
#include "kly/host/svg_reader.h"
#include "kly/text/vector_art_collection.h"

namespace kly {
namespace cli {

namespace {

// An element's four material slots, in the library's order.
const std::vector<std::string> kSlots = {"front", "back", "side", "bevel"};

// The library flattens curves to a fixed tolerance of 1/128 of a unit, so a drawing is built
// with its larger side 64 units long, where that tolerance is 1/8192 of the side, whatever the
// size asked; the mesh is scaled to that size afterwards.
constexpr double kBuildSide = 64.0;

// A share of the scale between groups when --coplanar-step is not given: enough to keep the
// front faces of overlapping groups apart in a viewer's depth buffer.
constexpr double kDefaultStepShare = 0.002;

constexpr NumberRange kSizes{1e-6, 3.4e38};

struct SvgSettings {
  std::string path;
  std::optional<double> size;
  std::optional<double> coplanar_step;
  ExtrusionOptions extrusion;
  SolidOptions options;
};

struct Box {
  double left, top, width, height;
};

// The viewport, or where a drawing has none, the box of its points.
Box DrawingBox(const host::SvgDrawing& drawing) {
  if (drawing.width > 0.0 && drawing.height > 0.0) {
    return Box{0.0, 0.0, drawing.width, drawing.height};
  }
  double min[2] = {HUGE_VAL, HUGE_VAL};
  double max[2] = {-HUGE_VAL, -HUGE_VAL};
  for (const host::SvgShape& shape : drawing.shapes) {
    const float* points = shape.path.Points();
    for (uint32_t i = 0; i < 2 * shape.path.Count(); ++i) {
      min[i % 2] = std::min<double>(min[i % 2], points[i]);
      max[i % 2] = std::max<double>(max[i % 2], points[i]);
    }
  }
  if (min[0] > max[0]) return Box{0.0, 0.0, 0.0, 0.0};
  return Box{min[0], min[1], max[0] - min[0], max[1] - min[1]};
}

host::SvgDrawing ReadDrawing(const std::string& path) {
  try {
    return host::ReadSvgFile(path);
  } catch (const host::SvgError& e) {
    throw std::runtime_error("cannot read '" + path + "': " + e.what());
  }
}

// Drawing units y down to build units, centred on the origin: the library's frame is y down
// too.
ORT_Matrix3 PathMatrix(const Box& box, double build_per_drawing) {
  const double b = build_per_drawing;
  return ORT_Matrix3{{{b, 0.0, 0.0},
                      {0.0, b, 0.0},
                      {-(box.left + box.width / 2.0) * b, -(box.top + box.height / 2.0) * b, 1.0}}};
}

Float3 FillColor(const host::SvgColor& fill) {
  return Float3{LinearFromSrgb(fill.r), LinearFromSrgb(fill.g), LinearFromSrgb(fill.b)};
}

void BuildSvg(SvgSettings& s) {
  const host::SvgDrawing drawing = ReadDrawing(s.path);
  const Box box = DrawingBox(drawing);
  const double side = std::max(box.width, box.height);
  const double build_per_drawing = side > 0.0 ? kBuildSide / side : 1.0;
  const double output_side = s.size.value_or(side);
  const double output_per_build = side > 0.0 ? output_side / kBuildSide : 1.0;

  const ORT_Matrix3 path_matrix = PathMatrix(box, build_per_drawing);
  const ORT_Matrix3 identity{{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}};
  KLY_VectorArtCollection collection;
  SolidJob job{"svg", "drawing '" + s.path + "'", {}, "--size, --depth or --bevel-depth", 0.0};
  job.warnings = drawing.warnings;
  std::optional<int32_t> group;
  for (const host::SvgShape& shape : drawing.shapes) {
    if (!shape.has_fill) continue;
    KLY_VectorArt art(HBN_T_NMT::CGFKPath(shape.path), path_matrix, identity, true);
    art.SetOrientationStyle(shape.orientation_style);
    art.SetCoplanarGroupStart(group && *group != shape.group);
    group = shape.group;
    collection.AddVectorArt(art);
    job.slot_names.insert(job.slot_names.end(), kSlots.begin(), kSlots.end());
    job.slot_colors.insert(job.slot_colors.end(), kSlots.size(), FillColor(shape.fill));
  }
  ApplyExtrusion(ResolveExtrusion(s.extrusion, output_side), 1.0 / output_per_build, collection);
  // Later groups are painted over earlier ones, so they stand nearer the viewer: toward -z in
  // the library's frame.
  const double step = s.coplanar_step.value_or(kDefaultStepShare * output_side);
  collection.AdjustPostMatrixCoplanarZ(static_cast<float>(-step / output_per_build));
  RunOutlines(collection, output_per_build, job, s.options);
}

}  // namespace

void AddSvgCommand(CLI::App& app) {
  auto settings = std::make_shared<SvgSettings>();
  CLI::App* command = app.add_subcommand(
      "svg",
      "The filled shapes of an SVG drawing, extruded with bevelled edges, each in its fill "
      "colour; the front faces at z = 0 facing +Z, the drawing centred on the origin; four "
      "material slots (front, back, side, bevel) whose --color overrides the fill");
  command->add_option("FILE", settings->path, "The SVG file")->required();
  AddParsedOption(
      *command, "--size", "a number" + RangeText(kSizes),
      [&s = *settings](const std::string& text) { s.size = ParseNumber(text, kSizes); },
      "Length in output units of the drawing's larger side; depths and bevels not given are "
      "shares of it. Default: the drawing's own units")
      ->type_name("NUMBER");
  AddParsedOption(
      *command, "--coplanar-step", "a number" + RangeText(NumberRange{0.0, 3.4e38}),
      [&s = *settings](const std::string& text) {
        s.coplanar_step = ParseNumber(text, NumberRange{0.0, 3.4e38});
      },
      "How much nearer the viewer each top-level group of the drawing stands than the one "
      "before, so that overlapping shapes do not share a plane. Default: " +
          FormatNumber(kDefaultStepShare) + " of the larger side")
      ->type_name("NUMBER");
  AddExtrusionOptions(*command, settings->extrusion, "the drawing's larger side");
  AddSolidOptions(*command, settings->options, kSlots);
  command->callback([settings] { BuildSvg(*settings); });
}

}  // namespace cli
}  // namespace kly
