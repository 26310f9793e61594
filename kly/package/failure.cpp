// The two failures that many subsystems of the library raise in the same shape.
#include "kly/package/failure.h"

#include "kly/host/nut.h"
#include "kly/host/ort.h"

namespace {

constexpr uint32_t kReportFlags = 8;
// NUT_ReportFailedVerification wants a source line; the report gives it no meaning, so every
// index failure names this one.
constexpr int32_t kIndexCheckLine = 1;

}  // namespace

void KLY_FailNormalisation() {
  // The words are the maths library's own, under its report id: a zero vector is its fault.
  const char* text = NUT_ZLookupLStrCache(ORT_G_zref, KLY_kNormalisationMessageEntry, 0, 0);
  NUTp_ReportErrString(KLY_kNormalisationReportId, kReportFlags, text);
  throw KLY_kErrNormalisation;
}

void KLY_FailIndex(const char* message) {
  NUT_ReportFailedVerification(0, kIndexCheckLine, 0, message);
  throw KLY_kErrIndex;
}
