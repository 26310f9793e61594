#include "kly/host/svg_walker.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "kly/host/svg_numbers.h"
#include "kly/host/svg_path_data.h"
#include "kly/host/svg_shapes.h"
#include "kly/host/svg_transform.h"

namespace kly {
namespace host {
namespace {

// Elements that define something for others to use and draw nothing where they stand.
constexpr const char* kDefinitions[] = {"defs",     "symbol",         "title",   "desc",
                                        "metadata", "linearGradient", "pattern", "radialGradient",
                                        "clipPath", "mask",           "filter",  "marker"};
constexpr const char* kShapes[] = {"path", "rect",     "circle", "ellipse",
                                   "line", "polyline", "polygon"};

template <size_t N>
bool IsOneOf(const char* name, const char* const (&names)[N]) {
  return std::any_of(names, names + N, [&](const char* n) { return std::strcmp(n, name) == 0; });
}

bool NameIs(pugi::xml_node element, const char* name) {
  return std::strcmp(element.name(), name) == 0;
}

// Text of the file quoted in a message: one line, and not too long to read.
std::string Excerpt(std::string_view text) {
  constexpr size_t kLongest = 40;
  std::string excerpt(text.substr(0, kLongest));
  for (char& c : excerpt) {
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';
  }
  return text.size() > kLongest ? excerpt + "..." : excerpt;
}

// <path id="a">, or <rect> when it has no id.
std::string Describe(pugi::xml_node element) {
  const std::string id = element.attribute("id").value();
  return "<" + Excerpt(element.name()) + (id.empty() ? "" : " id=\"" + Excerpt(id) + "\"") + ">";
}

}  // namespace

SvgWalker::SvgWalker(std::string_view text, const pugi::xml_document& document)
    : root_(document.document_element()) {
  line_starts_.push_back(0);
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n') line_starts_.push_back(i + 1);
  }
  IndexDocument(document);
}

void SvgWalker::IndexDocument(const pugi::xml_document& document) {
  // In document order without recursion, as the nesting is not limited yet. The first element
  // of an id is the one a reference finds.
  pugi::xml_node node = document.first_child();
  while (node) {
    const char* id = node.attribute("id").value();
    if (node.type() == pugi::node_element && *id != '\0') ids_.emplace(id, node);
    if (node.first_child()) {
      node = node.first_child();
      continue;
    }
    while (node && !node.next_sibling()) node = node.parent();
    if (node) node = node.next_sibling();
  }
}

void SvgWalker::Read(SvgDrawing& drawing) {
  drawing_ = &drawing;
  ReadRoot(root_, drawing);
  drawing.warnings = warnings_.Lines();
}

std::string SvgWalker::Line(pugi::xml_node element) const {
  const ptrdiff_t offset = element.offset_debug();
  if (offset < 0) return "an unknown line";
  const auto after =
      std::upper_bound(line_starts_.begin(), line_starts_.end(), static_cast<size_t>(offset));
  return "line " + std::to_string(after - line_starts_.begin());
}

void SvgWalker::Warn(pugi::xml_node element, const std::string& singular,
                     const std::string& plural) {
  warnings_.Add(singular, plural, Line(element));
}

void SvgWalker::Fail(pugi::xml_node element, const std::string& message) const {
  throw SvgError(message + " in " + Describe(element) + " at " + Line(element));
}

void SvgWalker::ReadRoot(pugi::xml_node root, SvgDrawing& drawing) {
  Context context;
  // The viewport's size; auto and percentages have nothing to refer to here and count as
  // missing (-1).
  const auto size = [&](const char* name) {
    const std::string_view value = root.attribute(name).value();
    if (value.empty() || value == "auto" || value.back() == '%') return -1.0;
    const double length = Length(root, name, SvgAxis::kX, context, -1.0);
    if (length < 0.0) Fail(root, std::string("negative ") + name);
    return length;
  };
  double width = size("width");
  double height = size("height");
  const bool empty = width == 0.0 || height == 0.0;
  SvgMatrix fit;
  if (root.attribute("viewBox")) {
    const SvgViewBox box =
        Guarded(root, [&] { return ParseViewBox(root.attribute("viewBox").value()); });
    // A missing side follows the viewBox's proportions.
    if (width < 0.0 && height < 0.0) {
      width = box.width;
      height = box.height;
    } else if (width < 0.0) {
      width = height * box.width / box.height;
    } else if (height < 0.0) {
      height = width * box.height / box.width;
    }
    FitElementViewBox(root, width, height, fit, context.viewport);
  } else {
    width = std::max(width, 0.0);
    height = std::max(height, 0.0);
    context.viewport = {width, height};
  }
  drawing.width = width;
  drawing.height = height;
  // A viewport given an empty size draws nothing.
  if (empty || !Enter(root, context)) return;
  context.matrix = context.matrix * fit;
  int32_t index = 0;
  for (pugi::xml_node child = root.first_child(); child; child = child.next_sibling()) {
    if (child.type() != pugi::node_element) continue;
    Context top = context;
    top.group = index++;
    WalkElement(child, top);
  }
}

void SvgWalker::WalkChildren(pugi::xml_node parent, const Context& context) {
  for (pugi::xml_node child = parent.first_child(); child; child = child.next_sibling()) {
    if (child.type() == pugi::node_element) WalkElement(child, context);
  }
}

void SvgWalker::Step(pugi::xml_node element, Context& context) {
  if (++elements_ > kMaxSvgElements) {
    Fail(element, "more than " + std::to_string(kMaxSvgElements) + " elements to draw");
  }
  if (++context.depth > kMaxSvgDepth) {
    Fail(element, "elements nested deeper than " + std::to_string(kMaxSvgDepth) + " levels");
  }
}

void SvgWalker::WalkElement(pugi::xml_node element, Context context) {
  const char* name = element.name();
  if (std::strchr(name, ':') != nullptr) return;  // another namespace's: an editor's data
  Step(element, context);
  if (IsOneOf(name, kDefinitions)) return;
  if (NameIs(element, "style")) {
    Warn(element, "CSS <style> sheet ignored", "CSS <style> sheets ignored");
    return;
  }
  const bool group = NameIs(element, "g") || NameIs(element, "a") || NameIs(element, "switch");
  const bool shape = IsOneOf(name, kShapes);
  if (!group && !shape && !NameIs(element, "svg") && !NameIs(element, "use")) {
    const std::string tag = "<" + Excerpt(name) + ">";
    Warn(element, tag + " element ignored", tag + " elements ignored");
    return;
  }
  if (!Enter(element, context)) return;
  if (NameIs(element, "switch")) {
    WalkSwitchChoice(element, context);
  } else if (group) {
    WalkChildren(element, context);
  } else if (shape) {
    DrawShape(element, context);
  } else if (NameIs(element, "svg")) {
    WalkNestedSvg(element, context);
  } else {
    WalkUse(element, context);
  }
}

bool SvgWalker::Enter(pugi::xml_node element, Context& context) {
  SvgDeclarations own;
  for (pugi::xml_attribute attribute : element.attributes()) {
    own.Set(attribute.name(), attribute.value());
  }
  own.SetFromStyle(element.attribute("style").value());
  if (own.Get(SvgProperty::kDisplay) == "none") return false;
  std::vector<std::string> unreadable;
  context.style = context.style.Inherit(own, unreadable);
  for (const std::string& property : unreadable) {
    Warn(element, "unreadable " + property + " value ignored",
         "unreadable " + property + " values ignored");
  }
  // Effects a solid cannot show, noted on the element that asks for them.
  const std::string& opacity = own.Get(SvgProperty::kOpacity);
  double value = 1.0;
  if (!opacity.empty() && !(ParseSvgOpacity(opacity, value) && value >= 1.0)) {
    Warn(element, "opacity ignored", "opacity values ignored");
  }
  const std::pair<SvgProperty, const char*> effects[] = {{SvgProperty::kClipPath, "clip-path"},
                                                         {SvgProperty::kMask, "mask"},
                                                         {SvgProperty::kFilter, "filter"}};
  for (const auto& effect : effects) {
    const std::string& declared = own.Get(effect.first);
    if (!declared.empty() && declared != "none") {
      Warn(element, std::string(effect.second) + " ignored",
           std::string(effect.second) + "s ignored");
    }
  }
  const pugi::xml_attribute transform = element.attribute("transform");
  if (transform) {
    context.matrix =
        context.matrix * Guarded(element, [&] { return ParseTransform(transform.value()); });
    if (!context.matrix.IsFinite()) Fail(element, "transform with a non-finite value");
  }
  return true;
}

void SvgWalker::WalkSwitchChoice(pugi::xml_node element, const Context& context) {
  // No extension is supported, so the choice is the first child that asks for none; the
  // language and feature conditions count as met.
  for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
    if (child.type() == pugi::node_element && !child.attribute("requiredExtensions")) {
      WalkElement(child, context);
      return;
    }
  }
}

void SvgWalker::WalkNestedSvg(pugi::xml_node element, Context context) {
  const double x = Length(element, "x", SvgAxis::kX, context, 0.0);
  const double y = Length(element, "y", SvgAxis::kY, context, 0.0);
  const double width = Length(element, "width", SvgAxis::kX, context, context.viewport.width);
  const double height = Length(element, "height", SvgAxis::kY, context, context.viewport.height);
  if (width < 0.0 || height < 0.0) Fail(element, "negative width or height");
  if (width == 0.0 || height == 0.0) return;  // an empty viewport draws nothing
  context.matrix = context.matrix * SvgMatrix::Translate(x, y);
  context.viewport = {width, height};
  SvgMatrix fit;
  if (FitElementViewBox(element, width, height, fit, context.viewport)) {
    context.matrix = context.matrix * fit;
  }
  WalkChildren(element, context);
}

void SvgWalker::WalkUse(pugi::xml_node element, Context context) {
  pugi::xml_attribute href = element.attribute("href");
  if (!href) href = element.attribute("xlink:href");
  const std::string_view reference = href.value();
  const auto found = reference.size() > 1 && reference[0] == '#'
                         ? ids_.find(std::string(reference.substr(1)))
                         : ids_.end();
  if (found == ids_.end()) {
    Warn(element, "<use> of nothing in this file ignored",
         "<use> elements of nothing in this file ignored");
    return;
  }
  const pugi::xml_node target = found->second;
  // Drawing an element that holds this <use>, or that is being drawn through <use> already,
  // would never end.
  bool recursive =
      std::find(use_targets_.begin(), use_targets_.end(), target) != use_targets_.end();
  for (pugi::xml_node up = element; up && !recursive; up = up.parent()) recursive = up == target;
  if (recursive) {
    Warn(element, "<use> inside what it draws ignored",
         "<use> elements inside what they draw ignored");
    return;
  }
  context.matrix =
      context.matrix * SvgMatrix::Translate(Length(element, "x", SvgAxis::kX, context, 0.0),
                                            Length(element, "y", SvgAxis::kY, context, 0.0));
  use_targets_.push_back(target);
  if (NameIs(target, "symbol")) {
    WalkSymbol(target, element, context);
  } else {
    WalkElement(target, context);
  }
  use_targets_.pop_back();
}

void SvgWalker::WalkSymbol(pugi::xml_node symbol, pugi::xml_node use, Context context) {
  Step(symbol, context);
  if (!Enter(symbol, context)) return;
  // The <use> gives the symbol's viewport; its size defaults to the whole of the current one.
  const double width = Length(use, "width", SvgAxis::kX, context, context.viewport.width);
  const double height = Length(use, "height", SvgAxis::kY, context, context.viewport.height);
  SvgMatrix fit;
  if (FitElementViewBox(symbol, width, height, fit, context.viewport)) {
    context.matrix = context.matrix * fit;
  }
  WalkChildren(symbol, context);
}

void SvgWalker::DrawShape(pugi::xml_node element, const Context& context) {
  if (!context.style.visible) return;
  const SvgPath outline = ShapeOutline(element, context);
  if (outline.Empty()) return;
  SvgShape shape;
  const std::string id = element.attribute("id").value();
  shape.label = std::string(element.name()) + (id.empty() ? "" : "#" + Excerpt(id));
  shape.group = context.group;
  shape.orientation_style = context.style.evenodd ? 0 : 1;
  const SvgPaint& fill = context.style.fill;
  shape.has_fill = fill.kind != SvgPaint::kNone;
  if (fill.kind == SvgPaint::kColor) shape.fill = fill.color;
  if (fill.kind == SvgPaint::kCurrentColor) shape.fill = context.style.color;
  if (fill.kind == SvgPaint::kServer) {
    Warn(element, "gradient or pattern fill drawn black", "gradient or pattern fills drawn black");
  }
  if (!shape.has_fill) {
    Warn(element, "shape without fill not built", "shapes without fill not built");
  }
  if (context.style.stroked) Warn(element, "stroke ignored", "strokes ignored");
  if (shape.has_fill && context.style.translucent_fill) {
    Warn(element, "fill-opacity ignored", "fill-opacity values ignored");
  }
  const size_t count = outline.Types().size();
  if (count > kMaxSvgPoints - points_) {
    Fail(element, "more than " + std::to_string(kMaxSvgPoints) + " points in the drawing");
  }
  points_ += static_cast<uint32_t>(count);
  if (!outline.AppendTo(context.matrix, shape.path)) {
    Fail(element, "a coordinate past single precision");
  }
  drawing_->shapes.push_back(std::move(shape));
}

SvgPath SvgWalker::ShapeOutline(pugi::xml_node element, const Context& context) {
  SvgPath outline;
  const auto length = [&](const char* name, SvgAxis axis) {
    return Length(element, name, axis, context, 0.0);
  };
  // rx and ry of <rect> and <ellipse>: missing or auto is -1, for the other's value.
  const auto radius = [&](const char* name, SvgAxis axis) {
    const std::string_view value = element.attribute(name).value();
    if (value.empty() || value == "auto") return -1.0;
    const double r = length(name, axis);
    if (r < 0.0) Fail(element, std::string("negative ") + name);
    return r;
  };
  const auto no_area = [&]() {
    const std::string tag = "<" + std::string(element.name()) + ">";
    Warn(element, tag + " without area not built", tag + " elements without area not built");
  };
  if (NameIs(element, "path")) {
    Guarded(element, [&] { ParsePathData(element.attribute("d").value(), outline); });
  } else if (NameIs(element, "rect")) {
    const double width = length("width", SvgAxis::kX);
    const double height = length("height", SvgAxis::kY);
    if (width < 0.0 || height < 0.0) Fail(element, "negative width or height");
    const double rx = radius("rx", SvgAxis::kX);
    const double ry = radius("ry", SvgAxis::kY);
    if (width > 0.0 && height > 0.0) {
      AppendRect(outline, length("x", SvgAxis::kX), length("y", SvgAxis::kY), width, height, rx,
                 ry);
    }
  } else if (NameIs(element, "circle") || NameIs(element, "ellipse")) {
    const bool circle = NameIs(element, "circle");
    double rx = circle ? radius("r", SvgAxis::kDiagonal) : radius("rx", SvgAxis::kX);
    double ry = circle ? rx : radius("ry", SvgAxis::kY);
    if (rx < 0.0) rx = ry;
    if (ry < 0.0) ry = rx;
    if (rx > 0.0 && ry > 0.0) {
      AppendEllipse(outline, length("cx", SvgAxis::kX), length("cy", SvgAxis::kY), rx, ry);
    }
  } else if (NameIs(element, "line")) {
    no_area();
  } else {
    const std::vector<Vec2> points =
        Guarded(element, [&] { return ParsePoints(element.attribute("points").value()); });
    if (points.size() >= 3) {
      AppendPolygon(outline, points);
    } else if (!points.empty()) {
      no_area();
    }
  }
  return outline;
}

double SvgWalker::Length(pugi::xml_node element, const char* name, SvgAxis axis,
                         const Context& context, double missing) {
  const pugi::xml_attribute attribute = element.attribute(name);
  if (!attribute) return missing;
  double value = 0.0;
  if (!ParseSvgLength(attribute.value(), axis, context.viewport, value)) {
    Fail(element, std::string(name) + " \"" + Excerpt(attribute.value()) + "\" is not a length");
  }
  if (!std::isfinite(value)) Fail(element, std::string(name) + " is not finite");
  return value;
}

bool SvgWalker::FitElementViewBox(pugi::xml_node element, double width, double height,
                                  SvgMatrix& fit, SvgViewport& viewport) {
  const pugi::xml_attribute view_box = element.attribute("viewBox");
  if (!view_box) return false;
  const SvgViewBox box = Guarded(element, [&] { return ParseViewBox(view_box.value()); });
  bool sliced = false;
  fit = Guarded(element, [&] {
    return FitViewBox(box, element.attribute("preserveAspectRatio").value(), width, height, sliced);
  });
  if (!fit.IsFinite()) Fail(element, "viewBox with a non-finite scale");
  if (sliced) {
    Warn(element, "preserveAspectRatio slice not clipped",
         "preserveAspectRatio slices not clipped");
  }
  viewport = {box.width, box.height};
  return true;
}

}  // namespace host
}  // namespace kly
