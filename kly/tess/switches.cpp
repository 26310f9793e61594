#include "kly/tess/switches.h"

#include <climits>
#include <cmath>
#include <cstdlib>
#include <string>

#include "kly/tess/failure.h"

namespace {

// Letters that only set fields to fixed values. D and L, and u, set two fields each.
struct FlagLetter {
  char letter;
  int32_t TessSwitches::*field;
  int32_t value;
};
constexpr FlagLetter kFlagLetters[] = {
    {'p', &TessSwitches::pslgInput, 1},         {'r', &TessSwitches::refineInput, 1},
    {'u', &TessSwitches::qualityMesh, 1},       {'u', &TessSwitches::userTest, 1},
    {'A', &TessSwitches::regionAttributes, 1},  {'c', &TessSwitches::convexHullSegments, 1},
    {'w', &TessSwitches::weightMode, 1},        {'W', &TessSwitches::weightMode, 2},
    {'j', &TessSwitches::dropUnused, 1},        {'z', &TessSwitches::firstIndex, 0},
    {'e', &TessSwitches::writeEdges, 1},        {'v', &TessSwitches::writeDual, 1},
    {'n', &TessSwitches::writeNeighbors, 1},    {'g', &TessSwitches::geomview, 1},
    {'B', &TessSwitches::noBoundaryMarkers, 1}, {'P', &TessSwitches::noSegmentOutput, 1},
    {'N', &TessSwitches::noPointOutput, 1},     {'E', &TessSwitches::noTriangleOutput, 1},
    {'O', &TessSwitches::ignoreHoles, 1},       {'X', &TessSwitches::noExactArithmetic, 1},
    {'D', &TessSwitches::qualityMesh, 1},       {'D', &TessSwitches::conformingDelaunay, 1},
    {'L', &TessSwitches::qualityMesh, 1},       {'L', &TessSwitches::conformingDelaunay, 1},
    {'i', &TessSwitches::incrementalBuild, 1},  {'F', &TessSwitches::sweepBuild, 1},
    {'l', &TessSwitches::alternatingCuts, 0},   {'s', &TessSwitches::splitSegments, 1},
    {'C', &TessSwitches::checkResult, 1},       {'Q', &TessSwitches::quiet, 1},
};

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// The run of digits and points directly behind a letter, or "" if there is none. `at` is left
// on the run's last character, so that the caller's step moves past it.
std::string NumberRun(const char*& at) {
  const char* start = at + 1;
  const char* end = start;
  while (IsDigit(*end) || *end == '.') end++;
  at = end - 1;
  return std::string(start, end);
}

// Decimal digits behind S. Saturates at the largest int32_t: a limit beyond it is no limit in
// practice, and a wrapped value would turn a large limit into a negative one.
int32_t DigitsValue(const char*& at) {
  int64_t value = 0;
  while (IsDigit(at[1])) {
    at++;
    value = value * 10 + (*at - '0');
    if (value > INT32_MAX) value = INT32_MAX;
  }
  return static_cast<int32_t>(value);
}

void SettleDerived(TessSwitches& s) {
  s.useSegments = (s.pslgInput || s.refineInput || s.qualityMesh || s.convexHullSegments) ? 1 : 0;

  const double c = std::cos(s.minAngle * 3.141592653589793 / 180.0);
  s.offCenter = (c != 1.0) ? 0.475 * std::sqrt((1.0 + c) / (1.0 - c)) : 0.0;
  s.goodAngle = c * c;

  if (s.refineInput) {
    if (s.noIterationNumber)
      TessFail("You cannot use the -I switch when refining a triangulation.");
    s.regionAttributes = 0;
  } else if (!s.pslgInput) {
    s.areaPerTriangle = 0;
    s.regionAttributes = 0;
  }
  if (s.pslgInput || s.qualityMesh) s.weightMode = 0;
}

}  // namespace

void ParseSwitches(const char* text, TessSwitches& s) {
  s = TessSwitches();
  for (const char* at = text ? text : ""; *at != '\0'; at++) {
    bool plainFlag = false;
    for (const FlagLetter& flag : kFlagLetters) {
      if (flag.letter != *at) continue;
      s.*flag.field = flag.value;
      plainFlag = true;
    }
    if (plainFlag) continue;

    switch (*at) {
      case 'q': {
        s.qualityMesh = 1;
        const std::string number = NumberRun(at);
        s.minAngle = number.empty() ? 20.0 : std::strtod(number.c_str(), nullptr);
        break;
      }
      case 'a': {
        s.qualityMesh = 1;
        const std::string number = NumberRun(at);
        if (number.empty()) {
          s.areaPerTriangle = 1;
        } else {
          s.fixedArea = 1;
          s.maxArea = std::strtod(number.c_str(), nullptr);
          if (s.maxArea <= 0.0) TessFail("Maximum area must be greater than zero.");
        }
        break;
      }
      case 'V':
        s.verbosity++;
        break;
      case 'Y':
        s.noBoundarySplits++;
        break;
      case 'o':
        if (at[1] == '2') {
          s.elementOrder = 2;
          at++;
        }
        break;
      case 'S':
        s.steinerLimit = DigitsValue(at);
        break;
      default:
        break;  // dashes and unknown characters mean nothing
    }
  }
  SettleDerived(s);
}
