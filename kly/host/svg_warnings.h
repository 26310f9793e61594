// The SVG reader's warnings: one line a kind of problem, however often it occurs, counting the
// occurrences and naming where the first one was.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace kly {
namespace host {

class SvgWarnings {
 public:
  // One occurrence of a kind of problem, by its singular and plural wording ("<text> element
  // ignored", "<text> elements ignored") and the place it was met ("line 12").
  void Add(const std::string& singular, const std::string& plural, const std::string& where);

  // In the order first met: "<text> element ignored at line 12", or, for several,
  // "3 <text> elements ignored, the first at line 12". Past kMaxKinds kinds (a file of many
  // unknown element names), the rest are counted on one last line: "5 more warnings".
  std::vector<std::string> Lines() const;

  static constexpr size_t kMaxKinds = 64;

 private:
  struct Kind {
    std::string singular, plural, first_where;
    size_t count;
  };
  std::vector<Kind> kinds_;
  std::unordered_map<std::string, size_t> index_;  // of kinds_, by singular wording
  size_t others_ = 0;                              // occurrences past kMaxKinds kinds
};

}  // namespace host
}  // namespace kly
