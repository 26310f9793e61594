// The style properties the SVG reader uses: read from presentation attributes and from the
// style attribute's declarations (which win), and inherited from parent to child.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kly/host/svg_color.h"

namespace kly {
namespace host {

enum class SvgProperty {
  kFill,
  kFillRule,
  kFillOpacity,
  kColor,
  kVisibility,
  kDisplay,
  kStroke,
  kOpacity,
  kClipPath,
  kMask,
  kFilter,
  kCount
};

// What one element declares for itself.
class SvgDeclarations {
 public:
  // Keeps `value` when `name` is a property above; later calls win.
  void Set(std::string_view name, std::string_view value);
  // The declarations of a style attribute, "name: value; ...", with "!important" dropped.
  void SetFromStyle(std::string_view style);
  // The value declared, trimmed, or "" when none.
  const std::string& Get(SvgProperty property) const { return values_[static_cast<int>(property)]; }

 private:
  std::string values_[static_cast<int>(SvgProperty::kCount)];
};

// An opacity or fill-opacity: a number, or a percentage. False when it is neither.
bool ParseSvgOpacity(std::string_view text, double& value);

// The inherited properties as computed for an element.
struct SvgStyle {
  SvgPaint fill;                  // black by default
  SvgColor color;                 // what currentColor means
  bool evenodd = false;           // fill-rule
  bool visible = true;            // visibility
  bool stroked = false;           // stroke is not none
  bool translucent_fill = false;  // fill-opacity below 1

  // The style of a child that declares `own`: values it does not declare, or declares as
  // "inherit", come from this one. Names the properties whose values could not be read,
  // which then keep the inherited value.
  SvgStyle Inherit(const SvgDeclarations& own, std::vector<std::string>& unreadable) const;
};

}  // namespace host
}  // namespace kly
