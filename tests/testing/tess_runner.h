// Runs the tessellation engine on a PlanarGraph the way the library's callers do: zeroed
// records, input arrays from TessAlloc, both records freed afterwards whatever happens.
#pragma once

#include "tests/testing/tess_checker.h"

namespace kly {
namespace testing {

// The engine's output for `in` under `switches` (which must contain z), copied out of the
// record. A failure of the engine leaves as the int32_t it threw.
Triangulation RunEngine(const char* switches, const PlanarGraph& in);

}  // namespace testing
}  // namespace kly
