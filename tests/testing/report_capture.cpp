#include "tests/testing/report_capture.h"

#include "kly/host/nut.h"
#include "kly/host/ort.h"

namespace kly {
namespace testing {

namespace {
host::HostServices CapturingServices(std::shared_ptr<std::vector<Report>> sink) {
  host::HostServices services = host::Services();
  services.report = [sink](uint32_t id, uint32_t flags, const char* text) {
    sink->push_back({id, flags, text ? text : ""});
  };
  return services;
}
}  // namespace

Report NormalisationReport() {
  return {0x110034, 8, NUT_ZLookupLStrCache(ORT_G_zref, 38, 0, 0)};
}

ReportCapture::ReportCapture()
    : reports_(std::make_shared<std::vector<Report>>()), scope_(CapturingServices(reports_)) {}

}  // namespace testing
}  // namespace kly
