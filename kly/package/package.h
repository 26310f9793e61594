// The package's six entry points and its place in the host's number space.
#pragma once

#include <cstdint>

constexpr uint32_t KLY_kPackageNumber = 0x58;
constexpr uint32_t KLY_kHeaderVersion = 1;
constexpr uint32_t KLY_kPackageObjectVersion = 0x10000;
constexpr uint32_t KLY_kMessageReportId = 0x580001;
constexpr uint32_t KLY_kVersionCheckReportId = 0x580004;

extern "C" {
// Fetches the binding look-up procedure, starts the binding layer and sets up the geometry
// cache. Returns 0, or 0x5802 when anything failed (nothing is reported then).
int32_t KLY_Birth();
// Tears the geometry cache down and stops the binding layer. Returns 0 or the failure caught.
int32_t KLY_Death();
// Returns 0, or 7 on a header mismatch or when a sibling library's check failed at the first call.
int32_t KLY_CheckVersions(uint32_t report_id, uint32_t header_version);
uint32_t KLY_PkgObjectVersion();
// Reports "KLY: <text>" under 0x580001. Never throws.
void KLY_Message(const char* text);
// Reports "KLY: <text>" under 0x580000 | report_sub, then throws `code` as an int32_t.
[[noreturn]] void KLY_Error(int32_t code, const char* text, uint16_t report_sub);
}
