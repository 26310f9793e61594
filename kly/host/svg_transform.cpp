#include "kly/host/svg_transform.h"

#include <cmath>
#include <string>

#include "kly/host/svg_numbers.h"

namespace kly {
namespace host {
namespace {

constexpr const char* kWhat = "transform";
constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;

struct TransformKind {
  const char* name;
  int min_values, max_values;  // rotate takes 1 or 3: handled where the values are used
};
constexpr TransformKind kKinds[] = {{"matrix", 6, 6}, {"translate", 1, 2}, {"scale", 1, 2},
                                    {"rotate", 1, 3}, {"skewX", 1, 1},     {"skewY", 1, 1}};

SvgMatrix Rotate(double degrees) {
  const double angle = degrees * kRadiansPerDegree;
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  return {c, s, -s, c, 0, 0};
}

SvgMatrix Make(const std::string& name, const double* v, int count) {
  if (name == "matrix") return {v[0], v[1], v[2], v[3], v[4], v[5]};
  if (name == "translate") return SvgMatrix::Translate(v[0], count == 2 ? v[1] : 0.0);
  if (name == "scale") return SvgMatrix::Scale(v[0], count == 2 ? v[1] : v[0]);
  if (name == "rotate") {
    if (count == 1) return Rotate(v[0]);
    // About (cx, cy): move the centre to the origin, turn, move it back.
    return SvgMatrix::Translate(v[1], v[2]) * Rotate(v[0]) * SvgMatrix::Translate(-v[1], -v[2]);
  }
  const double t = std::tan(v[0] * kRadiansPerDegree);
  if (name == "skewX") return {1, 0, t, 1, 0, 0};
  return {1, t, 0, 1, 0, 0};  // skewY
}

const TransformKind* ReadKind(SvgScanner& scanner) {
  for (const TransformKind& kind : kKinds) {
    const std::string_view name(kind.name);
    if (scanner.Rest().substr(0, name.size()) == name) {
      for (size_t i = 0; i < name.size(); ++i) scanner.Advance();
      return &kind;
    }
  }
  return nullptr;
}

SvgMatrix ReadOne(SvgScanner& scanner) {
  const TransformKind* kind = ReadKind(scanner);
  if (kind == nullptr) scanner.Fail(kWhat, "matrix, translate, scale, rotate, skewX or skewY");
  scanner.SkipSpace();
  if (scanner.Peek() != '(') scanner.Fail(kWhat, "'('");
  scanner.Advance();
  scanner.SkipSpace();
  double values[6];
  int count = 0;
  bool comma = false;
  while (count < kind->max_values) {
    if (!scanner.ReadNumber(values[count])) {
      if (comma) scanner.Fail(kWhat, "a number");
      break;
    }
    ++count;
    comma = scanner.SkipCommaSpace();
    if (comma && count == kind->max_values) scanner.Fail(kWhat, "')'");
  }
  const bool rotate_with_centre_missing = std::string(kind->name) == "rotate" && count == 2;
  if (count < kind->min_values || rotate_with_centre_missing) scanner.Fail(kWhat, "a number");
  if (scanner.Peek() != ')') scanner.Fail(kWhat, "')'");
  scanner.Advance();
  for (int i = 0; i < count; ++i) {
    if (!std::isfinite(values[i])) throw SvgError("transform with a non-finite value");
  }
  return Make(kind->name, values, count);
}

}  // namespace

SvgMatrix ParseTransform(std::string_view text) {
  SvgScanner scanner(text);
  SvgMatrix result;
  scanner.SkipSpace();
  while (!scanner.AtEnd()) {
    result = result * ReadOne(scanner);
    scanner.SkipCommaSpace();
  }
  if (!result.IsFinite()) throw SvgError("transform with a non-finite value");
  return result;
}

}  // namespace host
}  // namespace kly
