#include "cli/runtime/failure_text.h"

#include "kly/host/nut.h"
#include "kly/host/ort.h"
#include "kly/package/failure.h"

namespace kly {
namespace cli {

std::string FailureMeaning(int32_t number) {
  struct Entry {
    int32_t number;
    const char* meaning;
  };
  static const Entry kMeanings[] = {
      {KLY_kErrIndex, "an index was out of range"},
      {KLY_kErrVersion, "a version check failed"},
      {KLY_kErrTessellation, "the tessellation engine failed"},
      {KLY_kErrNormalisation, "a vector of zero length could not be normalised"},
      {KLY_kErrBirth, "the library could not start"},
      {KLY_kErrOutline, "an outline could not be turned into geometry"},
      {KLY_kErrTinyTriangles, "the outline has triangles too small to render"},
      {NUT_kErrStdException, "a standard exception was raised"},
      {NUT_kErrBadAlloc, "out of memory"},
      {ORT_kErrSingularMatrix, "a matrix has no inverse"},
      {ORT_kErrDegeneratePlane, "the points do not fix a plane"},
      {ORT_kErrBadPointCount, "too few points for a plane"},
  };
  for (const Entry& entry : kMeanings) {
    if (entry.number == number) return entry.meaning;
  }
  return "unlisted failure";
}

std::string DescribeFailure(int32_t number, const std::string& report) {
  std::string line = "failure " + std::to_string(number) + " (" + FailureMeaning(number) + ")";
  if (!report.empty()) line += ": " + report;
  return line;
}

}  // namespace cli
}  // namespace kly
