// Runs the tessellation engine on a PlanarGraph the way the library's callers do: zeroed
// records, input arrays from TessAlloc, both records freed afterwards whatever happens.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "kly/tess/triangulate.h"

#include "tests/testing/tess_checker.h"
#include "tests/testing/tess_generators.h"

namespace kly {
namespace testing {

// The engine's output for `in` under `switches` (which must contain z), copied out of the
// record. A failure of the engine leaves as the int32_t it threw.
Triangulation RunEngine(const char* switches, const PlanarGraph& in, int32_t triangle_limit = 0);

// `values` copied into a block of the engine's allocator tagged with `site`; null when empty.
template <class T>
T* CopyIn(uint16_t site, const std::vector<T>& values) {
  if (values.empty()) return nullptr;
  auto* data = static_cast<T*>(TessAlloc(site, static_cast<uint32_t>(values.size() * sizeof(T))));
  std::memcpy(data, values.data(), values.size() * sizeof(T));
  return data;
}

// Whether every array of `r` is null and every count zero, as a freed record is.
bool RecordIsEmpty(const TessRecord& r);

// What a correct result of `switches` on `c` satisfies: refined with q, a or u, conforming with
// D, constrained with p, else Delaunay; over the convex hull without p. Contours that cross or
// repeat leave the area unchecked.
TessExpectation ExpectationFor(const TessCase& c, const std::string& switches);

// Runs `switches` on `c` and expects the checker to find nothing wrong with the result, which
// goes to `out` when given. Returns the number the engine threw, or 0.
int32_t RunAndCheck(const std::string& switches, const TessCase& c, Triangulation* out = nullptr);

}  // namespace testing
}  // namespace kly
