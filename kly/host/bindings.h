// The host binding layer's start and stop, and the sibling libraries' version checks.
#pragma once

#include <cstdint>

// The binding layer's look-up procedure: resolves a procedure by name and version.
typedef void* (*HBN_AddressProc)(const char* name, uint32_t version);

// Writes the look-up procedure; the status comes from the host services (default 0).
int32_t PLB_GetHBNAddressProc(HBN_AddressProc* proc);

// Resolve the binding layer's own procedures through `proc`, and release them again.
void HBN_StartClient(HBN_AddressProc proc);
void HBN_StopClient();
// Whether the client side is started, for tests and embedders.
bool HBN_ClientStarted();

int32_t SPN_CheckVersions(uint32_t report_id, uint32_t version);
int32_t PLB_CheckVersions(uint32_t report_id, uint32_t version);
int32_t GLF_CheckVersions(uint32_t report_id, uint32_t version);
