#include "kly/host/svg_style.h"

#include <algorithm>

#include "kly/host/svg_numbers.h"

namespace kly {
namespace host {
namespace {

constexpr const char* kNames[] = {"fill",       "fill-rule", "fill-opacity", "color",
                                  "visibility", "display",   "stroke",       "opacity",
                                  "clip-path",  "mask",      "filter"};
static_assert(sizeof kNames / sizeof kNames[0] == static_cast<int>(SvgProperty::kCount));

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsSvgSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsSvgSpace(text.back())) text.remove_suffix(1);
  return text;
}

// Reads `value` into `style` for the inherited property `property`. False when unreadable.
bool ApplyInherited(SvgProperty property, const std::string& value, SvgStyle& style) {
  switch (property) {
    case SvgProperty::kFill:
      return ParseSvgPaint(value, style.fill);
    case SvgProperty::kFillRule:
      if (value != "evenodd" && value != "nonzero") return false;
      style.evenodd = value == "evenodd";
      return true;
    case SvgProperty::kFillOpacity: {
      double opacity = 1.0;
      if (!ParseSvgOpacity(value, opacity)) return false;
      style.translucent_fill = opacity < 1.0;
      return true;
    }
    case SvgProperty::kColor:
      return ParseSvgColor(value, style.color);
    case SvgProperty::kVisibility:
      if (value != "visible" && value != "hidden" && value != "collapse") return false;
      style.visible = value == "visible";
      return true;
    case SvgProperty::kStroke:
      style.stroked = value != "none";
      return true;
    default:
      return true;  // not inherited: the reader looks at the element's own value
  }
}

}  // namespace

bool ParseSvgOpacity(std::string_view text, double& value) {
  if (!text.empty() && text.back() == '%') {
    if (!ParseSvgNumber(text.substr(0, text.size() - 1), value)) return false;
    value /= 100.0;
    return true;
  }
  return ParseSvgNumber(text, value);
}

void SvgDeclarations::Set(std::string_view name, std::string_view value) {
  for (int i = 0; i < static_cast<int>(SvgProperty::kCount); ++i) {
    if (name == kNames[i]) values_[i] = std::string(Trim(value));
  }
}

void SvgDeclarations::SetFromStyle(std::string_view style) {
  while (!style.empty()) {
    const size_t end = std::min(style.find(';'), style.size());
    const std::string_view declaration = style.substr(0, end);
    style.remove_prefix(std::min(end + 1, style.size()));
    const size_t colon = declaration.find(':');
    if (colon == std::string_view::npos) continue;
    std::string_view value = Trim(declaration.substr(colon + 1));
    const size_t important = value.find("!important");
    if (important != std::string_view::npos) value = Trim(value.substr(0, important));
    Set(Trim(declaration.substr(0, colon)), value);
  }
}

SvgStyle SvgStyle::Inherit(const SvgDeclarations& own, std::vector<std::string>& unreadable) const {
  SvgStyle style = *this;
  for (int i = 0; i < static_cast<int>(SvgProperty::kCount); ++i) {
    const SvgProperty property = static_cast<SvgProperty>(i);
    const std::string& value = own.Get(property);
    if (value.empty() || value == "inherit") continue;
    SvgStyle attempt = style;
    if (ApplyInherited(property, value, attempt)) {
      style = attempt;
    } else {
      unreadable.push_back(kNames[i]);
    }
  }
  return style;
}

}  // namespace host
}  // namespace kly
