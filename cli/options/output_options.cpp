#include "cli/options/output_options.h"

#include <algorithm>
#include <stdexcept>

#include "cli/options/color_parse.h"
#include "cli/options/number_parse.h"
#include "cli/options/option_helpers.h"
#include "cli/writers/mesh_writer.h"

namespace kly {
namespace cli {

namespace {

const std::vector<std::string> kFormatNames = {"glb", "obj", "stl", "ply"};
const std::vector<MeshFormat> kFormats = {MeshFormat::kGlb, MeshFormat::kObj, MeshFormat::kStl,
                                          MeshFormat::kPly};
const std::vector<std::string> kNormalNames = {"library", "smooth", "flat"};
const std::vector<NormalMode> kNormalModes = {NormalMode::kLibrary, NormalMode::kSmooth,
                                              NormalMode::kFlat};
constexpr NumberRange kCreaseAngles{0.0, 180.0};

template <class Value>
Value Chosen(const std::vector<std::string>& names, const std::vector<Value>& values,
             const std::string& name) {
  return values[std::find(names.begin(), names.end(), name) - names.begin()];
}

void AddPath(CLI::App& app, OutputOptions& options) {
  AddParsedOption(
      app, "-o,--output", "a path, or - for standard output",
      [&options](const std::string& text) { options.path = text; },
      "File to write; its extension picks the format unless --format is given: .glb (glTF 2.0 "
      "binary), .obj (with a .mtl beside it), .stl or .ply. - writes to standard output and "
      "needs --format. An existing file is replaced, unless it is read-only; a symbolic link "
      "is written through to its target")
      ->required()
      ->type_name("PATH");
}

void AddFormat(CLI::App& app, OutputOptions& options) {
  AddChoiceOption(app, "--format", options.format, kFormatNames,
                  "Format to write, whatever the output's extension. Default: by the extension");
  app.add_flag("--ascii", options.write.ascii,
               "Write STL and PLY as text instead of binary (OBJ is text anyway; .glb has no "
               "text form). Default: binary");
}

void AddNormals(CLI::App& app, OutputOptions& options) {
  AddChoiceOption(app, "--normals", options.normals, kNormalNames,
                  "Normals to write: the library's own (one repaired from its faces where the "
                  "library has none), smooth (area-weighted over equal positions, split at "
                  "creases) or flat (each triangle's own)")
      ->default_str("library");
  AddParsedOption(
      app, "--crease", "a number" + RangeText(kCreaseAngles),
      [&options](const std::string& text) {
        options.write.crease_degrees = ParseNumber(text, kCreaseAngles);
        options.crease_given = true;
      },
      "With --normals smooth: faces meeting at more than this angle keep their own normals "
      "along their edge")
      ->type_name("DEGREES")
      ->default_str(FormatNumber(options.write.crease_degrees));
  app.add_flag("--facet", options.facet, "Shade flat: the same as --normals flat");
}

void AddColors(CLI::App& app, OutputOptions& options, const std::vector<std::string>& slots) {
  const std::string slot_list = ListInWords(slots, "or");
  AddParsedOption(
      app, "--color",
      "SLOT=#RRGGBB with SLOT " + (slots.size() == 1 ? slot_list : "one of " + slot_list),
      [&options, slots](const std::string& text) {
        const SlotColor color = ParseSlotColor(text, slots);
        std::vector<SlotColor>& colors = options.write.colors;
        colors.erase(std::remove_if(colors.begin(), colors.end(),
                                    [&](const SlotColor& c) { return c.slot == color.slot; }),
                     colors.end());
        colors.push_back(color);
      },
      "Colour of a material slot (" + ListInWords(slots, "and") +
          "), as sRGB hex; repeat for more slots. Default: light grey")
      ->type_name("SLOT=#RRGGBB")
      ->trigger_on_parse();
}

MeshFormat FormatOfPath(const std::string& path) {
  if (path == kStandardOutput) {
    throw OptionError("--format", "missing", "glb, obj, stl or ply with -o - (standard output)");
  }
  try {
    return FormatForPath(path);
  } catch (const std::invalid_argument&) {
    throw OptionError("--output", "'" + path + "' has no known extension",
                      "a path ending in .glb, .obj, .stl or .ply, or --format");
  }
}

void SettleNormals(OutputOptions& options) {
  if (options.facet && !options.normals.empty() && options.normals != "flat") {
    throw OptionError("--facet", "contradicts --normals " + options.normals,
                      "one of them, or --normals flat");
  }
  if (options.facet) options.normals = "flat";
  if (options.normals.empty()) options.normals = "library";
  options.write.normals = Chosen(kNormalNames, kNormalModes, options.normals);
  if (options.crease_given && options.write.normals != NormalMode::kSmooth) {
    throw OptionError("--crease", "applies only to smooth normals", "--normals smooth with it");
  }
}

}  // namespace

void AddOutputOptions(CLI::App& app, OutputOptions& options,
                      const std::vector<std::string>& slot_names) {
  AddPath(app, options);
  AddFormat(app, options);
  AddNormals(app, options);
  AddColors(app, options, slot_names);
}

void SettleOutputOptions(OutputOptions& options) {
  options.write.format = options.format.empty() ? FormatOfPath(options.path)
                                                : Chosen(kFormatNames, kFormats, options.format);
  if (options.write.ascii && options.write.format == MeshFormat::kGlb) {
    throw OptionError("--ascii", ".glb has no text form", "an .stl, .ply or .obj output with it");
  }
  SettleNormals(options);
}

}  // namespace cli
}  // namespace kly
