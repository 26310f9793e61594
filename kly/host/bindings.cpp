// The binding layer of the standalone host. There is no host process to bind to, so the
// look-up procedure resolves nothing; starting and stopping only keep the client's state.
#include "kly/host/bindings.h"

#include "kly/host/ort.h"
#include "kly/host/services.h"

namespace {

bool client_started = false;

void* ResolveNothing(const char*, uint32_t) {
  return nullptr;
}

// The procedures a client binds at start.
const char* const kClientProcedures[] = {"HBNRegisterProcAddress", "HBNReportError",
                                         "HBNUnregisterInterface", "HBNGetUnregisterCountAddr",
                                         "HBNIsMultiThreaded"};

}  // namespace

int32_t PLB_GetHBNAddressProc(HBN_AddressProc* proc) {
  const int32_t status = kly::host::Services().binding_lookup_status;
  if (status == 0) *proc = ResolveNothing;
  return status;
}

void HBN_StartClient(HBN_AddressProc proc) {
  for (const char* name : kClientProcedures) proc(name, 0);
  client_started = true;
}

void HBN_StopClient() {
  client_started = false;
}

bool HBN_ClientStarted() {
  return client_started;
}

int32_t ORT_CheckVersions(uint32_t, uint32_t) {
  return kly::host::Services().version_status[1];
}
int32_t SPN_CheckVersions(uint32_t, uint32_t) {
  return kly::host::Services().version_status[2];
}
int32_t PLB_CheckVersions(uint32_t, uint32_t) {
  return kly::host::Services().version_status[3];
}
int32_t GLF_CheckVersions(uint32_t, uint32_t) {
  return kly::host::Services().version_status[4];
}
