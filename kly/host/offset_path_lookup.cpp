// The binding layer's look-up of interface entries: the standalone host has one, the path
// offset service, reached through a trampoline that reads the host services' seam at every
// call, so that a caller may keep the entry for the process and a replaced service still
// takes effect.
#include <cstring>
#include <exception>

#include "kly/host/offset_path.h"
#include "kly/host/services.h"

namespace {

int32_t GetOffsetPathTrampoline(GFKOffsetPathCallback callback, int32_t, void* refcon,
                                const float* points, const int32_t* types, int32_t count, int32_t,
                                float distance, int32_t, int32_t, float limit, int32_t, int32_t,
                                int32_t, int32_t, float tolerance, int32_t, void*, float) {
  // A plain C entry of the host: nothing may be thrown through it.
  try {
    kly::host::OffsetPathRequest request;
    request.points = points;
    request.types = types;
    request.count = count;
    request.distance = distance;
    request.limit = limit;
    request.tolerance = tolerance;
    kly::host::OffsetPathSink sink;
    sink.callback = callback;
    sink.refcon = refcon;
    if (callback == nullptr) return kly::host::kOffsetPathErrBadArgument;
    return kly::host::Services().offset_path(request, sink);
  } catch (...) {
    return kly::host::kOffsetPathErrException;
  }
}

bool Equal(const char* a, const char* b) {
  return a != nullptr && std::strcmp(a, b) == 0;
}

}  // namespace

void* HBN_LookupInterfaceEntry(const char* interfaceName, const char* entryName,
                               const char* version) {
  if (Equal(interfaceName, "GFKOffsetPathInterface") && Equal(entryName, "GetOffsetPath") &&
      Equal(version, "GFKOffsetPathGetOffsetPathV4")) {
    GFKOffsetPathGetOffsetPathProc entry = GetOffsetPathTrampoline;
    return reinterpret_cast<void*>(entry);
  }
  return nullptr;
}
