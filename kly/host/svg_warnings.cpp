#include "kly/host/svg_warnings.h"

namespace kly {
namespace host {

void SvgWarnings::Add(const std::string& singular, const std::string& plural,
                      const std::string& where) {
  const auto found = index_.find(singular);
  if (found != index_.end()) {
    ++kinds_[found->second].count;
    return;
  }
  if (kinds_.size() == kMaxKinds) {
    ++others_;
    return;
  }
  index_.emplace(singular, kinds_.size());
  kinds_.push_back({singular, plural, where, 1});
}

std::vector<std::string> SvgWarnings::Lines() const {
  std::vector<std::string> lines;
  for (const Kind& kind : kinds_) {
    lines.push_back(kind.count == 1 ? kind.singular + " at " + kind.first_where
                                    : std::to_string(kind.count) + " " + kind.plural +
                                          ", the first at " + kind.first_where);
  }
  if (others_ > 0) {
    lines.push_back(std::to_string(others_) + (others_ == 1 ? " more warning" : " more warnings"));
  }
  return lines;
}

}  // namespace host
}  // namespace kly
