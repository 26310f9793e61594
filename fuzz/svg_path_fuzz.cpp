// libFuzzer target for the SVG path data parser: the input is the d attribute as it stands.
// It may be refused with SvgError; nothing else may happen (no crash, no other exception, no
// hang, no message of more than one line), and what it builds must be a well-formed host path:
// subpaths that start with a move, carry lines and whole cubics, and end with a close at their
// start. An input that starts with '<' is read as a whole drawing instead, under the same rule, so
// that the walk over elements, styles, transforms and references is attacked too.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "kly/host/svg_path_data.h"
#include "kly/host/svg_reader.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

// A failure is told on one line.
void CheckOneLine(const char* message) {
  Check(std::strchr(message, '\n') == nullptr && std::strchr(message, '\r') == nullptr);
}

void CheckWellFormed(const kly::host::SvgPath& path) {
  const auto& types = path.Types();
  const auto& points = path.Points();
  Check(types.size() == points.size());
  size_t start = 0;
  bool open = false;
  for (size_t i = 0; i < types.size(); ++i) {
    switch (types[i]) {
      case HBN_T_NMT::kPathMove:
        Check(!open);
        open = true;
        start = i;
        break;
      case HBN_T_NMT::kPathLine:
        Check(open);
        break;
      case HBN_T_NMT::kPathCurve:
        Check(open && i + 2 < types.size() && types[i + 1] == HBN_T_NMT::kPathCurve &&
              types[i + 2] == HBN_T_NMT::kPathCurve);
        i += 2;
        break;
      case HBN_T_NMT::kPathClose:
        Check(open && i > start + 1);
        // Compared bit for bit, NaN included: the close repeats the start.
        Check(std::memcmp(&points[i], &points[start], sizeof points[i]) == 0);
        open = false;
        break;
      default:
        Check(false);
    }
  }
  Check(!open);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 0 && data[0] == '<') {
    try {
      const kly::host::SvgDrawing drawing =
          kly::host::ReadSvg(std::string(reinterpret_cast<const char*>(data), size));
      for (const kly::host::SvgShape& shape : drawing.shapes) Check(shape.path.Count() > 0);
    } catch (const kly::host::SvgError& error) {
      CheckOneLine(error.what());
    }
    return 0;
  }
  kly::host::SvgPath path;
  try {
    kly::host::ParsePathData(std::string_view(reinterpret_cast<const char*>(data), size), path);
  } catch (const kly::host::SvgError& error) {
    CheckOneLine(error.what());
    Check(path.Empty());  // a refused path keeps nothing
    return 0;
  }
  CheckWellFormed(path);
  return 0;
}
