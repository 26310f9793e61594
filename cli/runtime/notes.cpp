#include "cli/runtime/notes.h"

#include <atomic>
#include <cstdio>

namespace kly {
namespace cli {

namespace {

std::atomic<bool> quiet{false};

}  // namespace

void SetQuiet(bool value) {
  quiet = value;
}

bool Quiet() {
  return quiet;
}

void Note(const std::string& text) {
  if (!quiet) std::fprintf(stderr, "kly: note: %s\n", text.c_str());
}

void Warn(const std::string& text) {
  if (!quiet) std::fprintf(stderr, "kly: warning: %s\n", text.c_str());
}

}  // namespace cli
}  // namespace kly
