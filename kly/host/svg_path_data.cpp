#include "kly/host/svg_path_data.h"

#include <cstring>

#include "kly/host/svg_arc.h"
#include "kly/host/svg_numbers.h"

namespace kly {
namespace host {
namespace {

constexpr const char* kWhat = "path data";

// How many numbers each command takes, by its upper-case letter.
int Arity(char command) {
  switch (command) {
    case 'M':
    case 'L':
    case 'T':
      return 2;
    case 'H':
    case 'V':
      return 1;
    case 'C':
      return 6;
    case 'S':
    case 'Q':
      return 4;
    case 'A':
      return 7;
    default:
      return 0;
  }
}

class PathDataParser {
 public:
  PathDataParser(std::string_view text, SvgPath& path) : scanner_(text), path_(path) {}

  void Parse() {
    scanner_.SkipSpace();
    if (scanner_.AtEnd()) return;
    if (scanner_.Peek() != 'M' && scanner_.Peek() != 'm') scanner_.Fail(kWhat, "a moveto");
    while (!scanner_.AtEnd()) {
      const char letter = scanner_.Peek();
      if (letter == '\0' || std::strchr("MLHVCSQTAZmlhvcsqtaz", letter) == nullptr) {
        scanner_.Fail(kWhat, "a command");
      }
      scanner_.Advance();
      scanner_.SkipSpace();
      const char command = static_cast<char>(letter & ~0x20);  // upper case
      RunCommand(command, letter != command);
    }
    path_.Close();
  }

 private:
  // One command and all its parameter sets.
  void RunCommand(char command, bool relative) {
    if (command == 'Z') {
      path_.Close();
      last_ = 'Z';
      return;
    }
    for (;;) {
      double values[7];
      ReadValues(command, values);
      Draw(command, relative, values);
      // Pairs after a moveto are linetos.
      if (command == 'M') command = 'L';
      const bool comma = scanner_.SkipCommaSpace();
      if (StartsNumber()) continue;
      if (comma) scanner_.Fail(kWhat, "a number");
      return;
    }
  }

  void ReadValues(char command, double* values) {
    const int arity = Arity(command);
    for (int i = 0; i < arity; ++i) {
      if (i > 0) scanner_.SkipCommaSpace();
      if (command == 'A' && (i == 3 || i == 4)) {
        bool flag = false;
        if (!scanner_.ReadFlag(flag)) scanner_.Fail(kWhat, "a flag (0 or 1)");
        values[i] = flag ? 1.0 : 0.0;
      } else if (!scanner_.ReadNumber(values[i])) {
        scanner_.Fail(kWhat, "a number");
      }
    }
  }

  bool StartsNumber() const {
    const char c = scanner_.Peek();
    return (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+';
  }

  void Draw(char command, bool relative, const double* v) {
    const Vec2 from = path_.Current();
    // The point of values (x, y), relative to the current point for lower-case commands.
    const auto at = [&](double x, double y) {
      return relative ? Vec2{from.x + x, from.y + y} : Vec2{x, y};
    };
    switch (command) {
      case 'M':
        path_.MoveTo(at(v[0], v[1]));
        break;
      case 'L':
        path_.LineTo(at(v[0], v[1]));
        break;
      case 'H':
        path_.LineTo({relative ? from.x + v[0] : v[0], from.y});
        break;
      case 'V':
        path_.LineTo({from.x, relative ? from.y + v[0] : v[0]});
        break;
      case 'C':
        Cubic(at(v[0], v[1]), at(v[2], v[3]), at(v[4], v[5]));
        break;
      case 'S':
        // The first control mirrors the previous cubic's second, else sits on the current point.
        Cubic(last_ == 'C' || last_ == 'S' ? Mirror(from, control_) : from, at(v[0], v[1]),
              at(v[2], v[3]));
        break;
      case 'Q':
        Quadratic(at(v[0], v[1]), at(v[2], v[3]));
        break;
      case 'T':
        Quadratic(last_ == 'Q' || last_ == 'T' ? Mirror(from, control_) : from, at(v[0], v[1]));
        break;
      case 'A':
        AppendArc(path_, v[0], v[1], v[2], v[3] != 0.0, v[4] != 0.0, at(v[5], v[6]));
        break;
    }
    last_ = command;
  }

  void Cubic(Vec2 c1, Vec2 c2, Vec2 end) {
    path_.CubicTo(c1, c2, end);
    control_ = c2;
  }

  // The cubic that draws the same curve: controls two thirds of the way from each end to the
  // quadratic's control.
  void Quadratic(Vec2 control, Vec2 end) {
    const Vec2 from = path_.Current();
    path_.CubicTo(from + (control - from) * (2.0 / 3.0), end + (control - end) * (2.0 / 3.0), end);
    control_ = control;
  }

  static Vec2 Mirror(Vec2 centre, Vec2 p) { return centre * 2.0 - p; }

  SvgScanner scanner_;
  SvgPath& path_;
  char last_ = 'M';         // the previous command, upper case
  Vec2 control_{0.0, 0.0};  // the previous cubic's second control or quadratic's control
};

}  // namespace

void ParsePathData(std::string_view text, SvgPath& path) {
  SvgPath parsed = path;
  PathDataParser(text, parsed).Parse();
  path = std::move(parsed);
}

}  // namespace host
}  // namespace kly
