// The package's version checks: its own header version, and once per process its siblings.
#include <cstdio>

#include "kly/host/bindings.h"
#include "kly/host/nut.h"
#include "kly/host/ort.h"
#include "kly/package/failure.h"
#include "kly/package/package.h"

namespace {

// Set by the first call, before the siblings are asked, and never cleared: a sibling found at
// fault is reported to the first caller only.
bool versions_checked = false;

// The versions of the sibling libraries this package was built against.
constexpr uint32_t kUtilityVersion = 61;
constexpr uint32_t kMathsVersion = 18;
constexpr uint32_t kBezierVersion = 4;
constexpr uint32_t kPathVersion = 0;
constexpr uint32_t kTextOutlineVersion = 23;

int32_t CheckSiblings() {
  const uint32_t id = KLY_kVersionCheckReportId;
  // Every check runs, whatever the ones before it said: each sibling reports its own fault.
  int32_t status = NUT_CheckVersions(id, kUtilityVersion);
  status |= ORT_CheckVersions(id, kMathsVersion);
  status |= SPN_CheckVersions(id, kBezierVersion);
  status |= PLB_CheckVersions(id, kPathVersion);
  status |= GLF_CheckVersions(id, kTextOutlineVersion);
  return status;
}

}  // namespace

int32_t KLY_CheckVersions(uint32_t report_id, uint32_t header_version) {
  int32_t status = 0;
  if (!versions_checked) {
    versions_checked = true;
    status = CheckSiblings();
  }
  if (header_version == KLY_kHeaderVersion) return status != 0 ? KLY_kErrVersion : 0;

  // A caller built against another header is told on every call, under its own report id.
  NUTp_SetThreadLastError(0);
  std::snprintf(NUTp_GetThreadLoggingBuffer(), NUT_kLoggingBufferSize,
                "Plug-in version mismatch detected (did you install over an older version of "
                "Veldrin?). Try uninstalling and re-installing. (%s package v%d != %s.h v%d)",
                "KLY", static_cast<int>(KLY_kHeaderVersion), "KLY",
                static_cast<int>(header_version));
  NUTp_ReportError(report_id, 16);
  return KLY_kErrVersion;
}

uint32_t KLY_PkgObjectVersion() {
  return KLY_kPackageObjectVersion;
}
