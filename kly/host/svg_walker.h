// The walk over an SVG document's elements that turns each drawn shape into an SvgShape, with
// the transforms, viewports, styles and <use> references on the way to it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <pugixml.hpp>

#include "kly/host/svg_geometry.h"
#include "kly/host/svg_reader.h"
#include "kly/host/svg_style.h"
#include "kly/host/svg_viewport.h"
#include "kly/host/svg_warnings.h"

namespace kly {
namespace host {

class SvgWalker {
 public:
  // `text` is the document's source, for line numbers.
  SvgWalker(std::string_view text, const pugi::xml_document& document);

  // Walks the root <svg> element into `drawing`. Throws SvgError.
  void Read(SvgDrawing& drawing);

 private:
  // What an element inherits from where it is drawn.
  struct Context {
    SvgMatrix matrix;  // its user units to the drawing's
    SvgStyle style;
    SvgViewport viewport;  // what its percentages refer to
    int32_t group = 0;
    int depth = 0;
  };

  void IndexDocument(const pugi::xml_document& document);
  void ReadRoot(pugi::xml_node root, SvgDrawing& drawing);
  void WalkChildren(pugi::xml_node parent, const Context& context);
  void WalkElement(pugi::xml_node element, Context context);
  // Counts the element against kMaxSvgElements and its depth against kMaxSvgDepth.
  void Step(pugi::xml_node element, Context& context);
  // Applies the element's display, style and transform to `context`. False when it is hidden.
  bool Enter(pugi::xml_node element, Context& context);
  // <switch> draws one of its children.
  void WalkSwitchChoice(pugi::xml_node element, const Context& context);
  void WalkNestedSvg(pugi::xml_node element, Context context);
  void WalkUse(pugi::xml_node element, Context context);
  void WalkSymbol(pugi::xml_node symbol, pugi::xml_node use, Context context);
  void DrawShape(pugi::xml_node element, const Context& context);
  // The outline of a shape element in its own units; empty when it draws nothing.
  SvgPath ShapeOutline(pugi::xml_node element, const Context& context);

  double Length(pugi::xml_node element, const char* name, SvgAxis axis, const Context& context,
                double missing);
  // The viewBox of `element` fitted into width by height, or false when it has none.
  bool FitElementViewBox(pugi::xml_node element, double width, double height, SvgMatrix& fit,
                         SvgViewport& viewport);
  void Warn(pugi::xml_node element, const std::string& singular, const std::string& plural);
  // The result of `parse`, whose SvgError is told again naming `element` and its line.
  template <class Parse>
  auto Guarded(pugi::xml_node element, Parse parse) -> decltype(parse()) {
    try {
      return parse();
    } catch (const SvgError& error) {
      Fail(element, error.what());
    }
  }
  [[noreturn]] void Fail(pugi::xml_node element, const std::string& message) const;
  std::string Line(pugi::xml_node element) const;

  pugi::xml_node root_;
  std::vector<size_t> line_starts_;  // offsets in the source where each line starts
  std::unordered_map<std::string, pugi::xml_node> ids_;
  std::vector<pugi::xml_node> use_targets_;  // those being drawn through <use>, innermost last
  uint32_t elements_ = 0;
  uint32_t points_ = 0;
  SvgWarnings warnings_;
  SvgDrawing* drawing_ = nullptr;
};

}  // namespace host
}  // namespace kly
