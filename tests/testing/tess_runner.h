// Runs the tessellation engine on a PlanarGraph the way the library's callers do: zeroed
// records, input arrays from TessAlloc, both records freed afterwards whatever happens.
#pragma once

#include <string>

#include "tests/testing/tess_checker.h"
#include "tests/testing/tess_generators.h"

namespace kly {
namespace testing {

// The engine's output for `in` under `switches` (which must contain z), copied out of the
// record. A failure of the engine leaves as the int32_t it threw.
Triangulation RunEngine(const char* switches, const PlanarGraph& in);

// What a correct result of `switches` on `c` satisfies: conforming with D, constrained with p,
// else Delaunay over the convex hull. Contours that cross or repeat leave the area unchecked.
TessExpectation ExpectationFor(const TessCase& c, const std::string& switches);

// Runs `switches` on `c` and expects the checker to find nothing wrong with the result, which
// goes to `out` when given. Returns the number the engine threw, or 0.
int32_t RunAndCheck(const std::string& switches, const TessCase& c, Triangulation* out = nullptr);

}  // namespace testing
}  // namespace kly
