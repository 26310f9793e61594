#include "cli/options/option_helpers.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace kly {
namespace cli {

namespace {

std::string VectorExpectation(size_t count, const NumberRange& range) {
  return std::to_string(count) + " numbers" + RangeText(range) + ", separated by commas";
}

}  // namespace

std::string DisplayName(const std::string& names) {
  const size_t comma = names.rfind(',');
  return comma == std::string::npos ? names : names.substr(comma + 1);
}

CLI::ValidationError OptionError(const std::string& name, const std::string& problem,
                                 const std::string& expected) {
  return CLI::ValidationError(name, problem + "; expected " + expected);
}

CLI::Option* AddNumberOption(CLI::App& app, const std::string& name, double& target,
                             const std::string& description, const NumberRange& range) {
  return AddParsedOption(
             app, name, "a number" + RangeText(range),
             [&target, range](const std::string& text) { target = ParseNumber(text, range); },
             description)
      ->type_name("NUMBER")
      ->default_str(FormatNumber(target));
}

CLI::Option* AddCountOption(CLI::App& app, const std::string& name, uint32_t& target, uint32_t min,
                            uint32_t max, const std::string& description) {
  return AddParsedOption(
             app, name, "a whole number from " + std::to_string(min) + " to " + std::to_string(max),
             [&target, min, max](const std::string& text) { target = ParseCount(text, min, max); },
             description)
      ->type_name("N")
      ->default_str(std::to_string(target));
}

CLI::Option* AddVectorOption(CLI::App& app, const std::string& name, ORT_Vector3T<double>& target,
                             const std::string& description, const NumberRange& range) {
  return AddParsedOption(
             app, name, VectorExpectation(3, range),
             [&target, range](const std::string& text) {
               const std::vector<double> v = ParseVector(text, 3, range);
               target = ORT_Vector3T<double>{v[0], v[1], v[2]};
             },
             description)
      ->type_name("X,Y,Z")
      ->default_str(FormatNumber(target.x) + "," + FormatNumber(target.y) + "," +
                    FormatNumber(target.z));
}

CLI::Option* AddVectorOption(CLI::App& app, const std::string& name, ORT_Vector2T<double>& target,
                             const std::string& description, const NumberRange& range) {
  return AddParsedOption(
             app, name, VectorExpectation(2, range),
             [&target, range](const std::string& text) {
               const std::vector<double> v = ParseVector(text, 2, range);
               target = ORT_Vector2T<double>{v[0], v[1]};
             },
             description)
      ->type_name("W,H")
      ->default_str(FormatNumber(target.x) + "," + FormatNumber(target.y));
}

CLI::Option* AddChoiceOption(CLI::App& app, const std::string& name, std::string& target,
                             const std::vector<std::string>& choices,
                             const std::string& description) {
  std::string type;
  for (const std::string& choice : choices) type += (type.empty() ? "" : "|") + choice;
  return AddParsedOption(
             app, name, ListInWords(choices, "or"),
             [&target, choices](const std::string& text) {
               if (std::find(choices.begin(), choices.end(), text) == choices.end()) {
                 throw std::invalid_argument("'" + text + "' is not known");
               }
               target = text;
             },
             description)
      ->type_name(type)
      ->default_str(target);
}

std::string ListInWords(const std::vector<std::string>& words, const std::string& last_joint) {
  std::string list;
  for (size_t i = 0; i < words.size(); ++i) {
    if (i > 0) list += i + 1 == words.size() ? " " + last_joint + " " : ", ";
    list += words[i];
  }
  return list;
}

}  // namespace cli
}  // namespace kly
