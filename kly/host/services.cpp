#include "kly/host/services.h"

#include "kly/host/path_rework.h"

#include <chrono>
#include <cstdio>

namespace kly {
namespace host {

namespace {

void ReportToStderr(uint32_t id, uint32_t, const char* text) {
  std::fprintf(stderr, "kly report 0x%06x: %s\n", static_cast<unsigned>(id), text ? text : "");
}

double MonotonicSeconds() {
  using Clock = std::chrono::steady_clock;
  return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

bool AllowEveryAllocation(uint32_t, uint32_t) {
  return true;
}

HostServices& CurrentTable() {
  static HostServices table = DefaultServices();
  return table;
}

}  // namespace

HostServices DefaultServices() {
  HostServices services;
  services.report = ReportToStderr;
  services.seconds_since_boot = MonotonicSeconds;
  services.allow_allocation = AllowEveryAllocation;
  services.offset_path = OffsetPath;
  services.rework_path = ReworkPath;
  services.play_char_outlines = PlayCharOutlines;
  services.transform_path = TransformPath;
  services.play_outlines = PlayOutlines;
  services.shape_text = ShapeWithHarfBuzz;
  return services;
}

HostServices& Services() {
  HostServices& table = CurrentTable();
  // A replacement may leave entries empty; they fall back to the defaults.
  if (!table.report) table.report = ReportToStderr;
  if (!table.seconds_since_boot) table.seconds_since_boot = MonotonicSeconds;
  if (!table.allow_allocation) table.allow_allocation = AllowEveryAllocation;
  if (!table.offset_path) table.offset_path = OffsetPath;
  if (!table.rework_path) table.rework_path = ReworkPath;
  if (!table.play_char_outlines) table.play_char_outlines = PlayCharOutlines;
  if (!table.transform_path) table.transform_path = TransformPath;
  if (!table.play_outlines) table.play_outlines = PlayOutlines;
  if (!table.shape_text) table.shape_text = ShapeWithHarfBuzz;
  return table;
}

ScopedServices::ScopedServices(HostServices replacement) : saved_(Services()) {
  CurrentTable() = std::move(replacement);
}

ScopedServices::~ScopedServices() {
  CurrentTable() = std::move(saved_);
}

}  // namespace host
}  // namespace kly
