// The package's start and stop: the binding layer and the geometry cache.
#include <exception>

#include "kly/cache/geometry_cache.h"
#include "kly/host/bindings.h"
#include "kly/host/nut.h"
#include "kly/package/failure.h"
#include "kly/package/package.h"

namespace {

// Set once the binding layer has been started, and never cleared: a later failed birth
// stops the layer again, and every death stops it.
bool bindings_started = false;

}  // namespace

int32_t KLY_Birth() {
  int32_t result = 0;
  try {
    HBN_AddressProc proc = nullptr;
    KLY_Check(PLB_GetHBNAddressProc(&proc));
    HBN_StartClient(proc);
    bindings_started = true;
    KLY_GeometryCache::SetUp();
  } catch (...) {
    // A failed birth is told to the host by its number alone: nothing is reported.
    result = KLY_kErrBirth;
    if (bindings_started) HBN_StopClient();
  }
  return result;
}

int32_t KLY_Death() {
  int32_t result = 0;
  try {
    KLY_GeometryCache::SetDown();
    if (bindings_started) HBN_StopClient();
  } catch (int32_t e) {
    result = e;
  } catch (std::exception& e) {
    result = NUT_TranslateAndReportException(e);
  }
  return result;
}
