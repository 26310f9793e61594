// Options that parse strictly (see number_parse.h) and show their default in --help. A value
// that does not parse stops the command line with a one-line message naming the option.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>

#include "kly/host/ort.h"

namespace kly {
namespace cli {

// The shortest text that reads back as `value` ("1", "0.5", "1e-05").
std::string FormatNumber(double value);

// An option whose text goes to `parse`; a std::invalid_argument from it becomes CLI11's
// validation error, which names the option.
template <class Parse>
CLI::Option* AddParsedOption(CLI::App& app, const std::string& name, Parse parse,
                             const std::string& description) {
  return app.add_option_function<std::string>(
      name,
      [name, parse](const std::string& text) {
        try {
          parse(text);
        } catch (const std::invalid_argument& e) {
          throw CLI::ValidationError(name, e.what());
        }
      },
      description);
}

// Each writes into `target` while parsing; the default shown is what `target` holds now.
CLI::Option* AddNumberOption(CLI::App& app, const std::string& name, double& target,
                             const std::string& description);
CLI::Option* AddCountOption(CLI::App& app, const std::string& name, uint32_t& target, uint32_t min,
                            uint32_t max, const std::string& description);
// "X,Y,Z" and "W,H".
CLI::Option* AddVectorOption(CLI::App& app, const std::string& name, ORT_Vector3T<double>& target,
                             const std::string& description);
CLI::Option* AddVectorOption(CLI::App& app, const std::string& name, ORT_Vector2T<double>& target,
                             const std::string& description);

}  // namespace cli
}  // namespace kly
