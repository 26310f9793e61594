#include "cli/runtime/library_session.h"

#include <stdexcept>

#include "cli/runtime/failure_text.h"
#include "kly/package/package.h"

namespace kly {
namespace cli {

namespace {

host::HostServices CollectingServices(std::shared_ptr<std::vector<std::string>> reports) {
  host::HostServices services = host::Services();
  services.report = [reports](uint32_t, uint32_t, const char* text) {
    reports->push_back(text ? text : "");
  };
  return services;
}

}  // namespace

LibrarySession::LibrarySession()
    : reports_(std::make_shared<std::vector<std::string>>()),
      services_(CollectingServices(reports_)) {
  const int32_t versions = KLY_CheckVersions(KLY_kVersionCheckReportId, KLY_kHeaderVersion);
  if (versions != 0) {
    throw std::runtime_error("the library's version check failed: " +
                             DescribeFailure(versions, LastReport()));
  }
  const int32_t birth = KLY_Birth();
  if (birth != 0) {
    throw std::runtime_error("the library could not start: " +
                             DescribeFailure(birth, LastReport()));
  }
  started_ = true;
}

LibrarySession::~LibrarySession() {
  // A failure to stop cannot change what was written; its report stays in Reports().
  if (started_) KLY_Death();
}

std::string LibrarySession::LastReport() const {
  return reports_->empty() ? std::string() : reports_->back();
}

}  // namespace cli
}  // namespace kly
