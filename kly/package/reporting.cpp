// The package's two report routes: a plain message, and a report followed by a failure.
#include "kly/host/nut.h"
#include "kly/package/package.h"

namespace {

// Both texts live on the caller's stack, so either may be called from any thread.
constexpr uint32_t kReportBufferSize = 1000;
constexpr uint32_t kReportFlags = 8;

// "KLY: <text>", cut to the buffer. A cut is not a failure, so the status is not looked at.
void FormatReport(char (&buffer)[kReportBufferSize], const char* text) {
  NUT_SubString(buffer, kReportBufferSize, "^1: ^2", "KLY", text);
}

}  // namespace

void KLY_Message(const char* text) {
  char buffer[kReportBufferSize];
  FormatReport(buffer, text);
  NUTp_ReportErrString(KLY_kMessageReportId, kReportFlags, buffer);
}

void KLY_Error(int32_t code, const char* text, uint16_t report_sub) {
  char buffer[kReportBufferSize];
  FormatReport(buffer, text);
  // The report id and the thrown number are independent: callers pick each.
  NUTp_ReportErrString((KLY_kPackageNumber << 16) | report_sub, kReportFlags, buffer);
  throw code;
}
