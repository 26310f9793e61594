// How a failure starts deep in the engine, and the engine's process-wide allocation counter.
//
// TessFail formats "(triangulate) <text>" and throws TriangleFailure holding it; triangulate's
// handlers turn that into the int32_t 10. Should the text formatter itself fail, its non-zero
// status is thrown as an int32_t instead.
#pragma once

#include <atomic>
#include <cstdint>
#include <exception>

#include "kly/host/nut.h"
#include "kly/tess/triangulate.h"

// Live engine allocations: raised by every TessAlloc, lowered by every free. Nothing reads it
// for a decision; it may end below its true value after a failure (the dummies' teardown
// lowers it unconditionally). Atomic only so that concurrent calls do not race formally.
extern std::atomic<int32_t> gTessLiveBlocks;

[[noreturn]] void TessFail(const char* text);

// For the texts with ^L1, e.g. "Triangle ^L1 has an invalid vertex index.".
[[noreturn]] void TessFail(const char* text, int32_t number);

// "out of memory": the word passes through the formatter alone first (128 bytes), then the
// usual format; the route of every allocation that returned null.
[[noreturn]] void TessFailOutOfMemory();

// Gives non-null `block` to NUT_FreePtr and lowers gTessLiveBlocks; null does nothing.
void TessFree(void* block);

// The triangle limit, tested before each creation of a triangle: fails with
// "Max Triangle Count exceeded" when `triangleLimit` is not 0 and is less than the count of
// live triangles (signed). So a limit of n admits n + 1 live triangles, on purpose, and a
// negative limit fails at once.
inline void TessCheckTriangleLimit(int32_t triangleLimit, int32_t liveTriangles) {
  if (triangleLimit != 0 && triangleLimit < liveTriangles) TessFail("Max Triangle Count exceeded");
}

// Runs `body` and returns 0, or the number its failure stands for: 10 for the engine's own
// failures, a thrown int32_t as it is, and a host exception translated (and reported). The
// stages that hold scratch arrays free them after this and then rethrow a non-zero number.
template <class Body>
int32_t TessFailureCode(Body body) {
  try {
    body();
  } catch (const TriangleFailure&) {
    return 10;
  } catch (int32_t number) {
    return number;
  } catch (const std::exception& e) {
    return NUT_TranslateAndReportException(e);
  }
  return 0;
}
