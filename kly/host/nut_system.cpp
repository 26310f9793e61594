// Engine memory, the clock and the version check of the utility library.
#include <cstdlib>

#include "kly/host/nut.h"
#include "kly/host/services.h"

void* NUT_AllocatePtrClear(uint32_t bytes, uint32_t tag, const char*) {
  if (!kly::host::Services().allow_allocation(bytes, tag)) return nullptr;
  // calloc of 0 bytes may return null; one byte keeps "null means failure" true.
  return std::calloc(bytes ? bytes : 1, 1);
}

void NUT_FreePtr(void* pointer) {
  std::free(pointer);
}

void NUT_SecondsSinceBoot(double* seconds) {
  *seconds = kly::host::Services().seconds_since_boot();
}

int32_t NUT_CheckVersions(uint32_t, uint32_t) {
  return kly::host::Services().version_status[0];
}
