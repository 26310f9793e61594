#include "cli/options/option_helpers.h"

#include <charconv>
#include <stdexcept>
#include <vector>

#include "cli/options/number_parse.h"

namespace kly {
namespace cli {

std::string FormatNumber(double value) {
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
  return std::string(buffer, result.ptr);
}

CLI::Option* AddNumberOption(CLI::App& app, const std::string& name, double& target,
                             const std::string& description) {
  return AddParsedOption(
             app, name, [&target](const std::string& text) { target = ParseNumber(text); },
             description)
      ->type_name("NUMBER")
      ->default_str(FormatNumber(target));
}

CLI::Option* AddCountOption(CLI::App& app, const std::string& name, uint32_t& target, uint32_t min,
                            uint32_t max, const std::string& description) {
  return AddParsedOption(
             app, name,
             [&target, min, max](const std::string& text) { target = ParseCount(text, min, max); },
             description)
      ->type_name("N")
      ->default_str(std::to_string(target));
}

CLI::Option* AddVectorOption(CLI::App& app, const std::string& name, ORT_Vector3T<double>& target,
                             const std::string& description) {
  return AddParsedOption(
             app, name,
             [&target](const std::string& text) {
               const std::vector<double> v = ParseVector(text, 3);
               target = ORT_Vector3T<double>{v[0], v[1], v[2]};
             },
             description)
      ->type_name("X,Y,Z")
      ->default_str(FormatNumber(target.x) + "," + FormatNumber(target.y) + "," +
                    FormatNumber(target.z));
}

CLI::Option* AddVectorOption(CLI::App& app, const std::string& name, ORT_Vector2T<double>& target,
                             const std::string& description) {
  return AddParsedOption(
             app, name,
             [&target](const std::string& text) {
               const std::vector<double> v = ParseVector(text, 2);
               target = ORT_Vector2T<double>{v[0], v[1]};
             },
             description)
      ->type_name("W,H")
      ->default_str(FormatNumber(target.x) + "," + FormatNumber(target.y));
}

}  // namespace cli
}  // namespace kly
