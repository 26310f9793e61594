// Options that parse strictly (see number_parse.h) and show their default in --help. A value
// that does not parse stops the command line with one line naming the option, the problem and
// what the option expects: "--divisions: '-3' is negative; expected a whole number from 1 to
// 1000000". An empty value gets the same line with "no value" as its problem, whatever the
// option.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/options/number_parse.h"
#include "kly/host/ort.h"

namespace kly {
namespace cli {

// The long name of an option declared as "-o,--output".
std::string DisplayName(const std::string& names);

// Thrown by option checks that span several options: a command line that does not parse.
CLI::ValidationError OptionError(const std::string& name, const std::string& problem,
                                 const std::string& expected);

// An option whose text goes to `parse`; a std::invalid_argument from it, or an empty text,
// becomes CLI11's validation error, which ends the run with exit code 2. `expected` says what
// the option takes ("a whole number from 1 to 1000000").
template <class Parse>
CLI::Option* AddParsedOption(CLI::App& app, const std::string& names, const std::string& expected,
                             Parse parse, const std::string& description) {
  const std::string name = DisplayName(names);
  return app.add_option_function<std::string>(
      names,
      [name, expected, parse](const std::string& text) {
        if (text.empty()) throw OptionError(name, "no value", expected);
        try {
          parse(text);
        } catch (const std::invalid_argument& e) {
          throw OptionError(name, e.what(), expected);
        }
      },
      description);
}

// An option that stands alone or takes one value ("--stats", "--stats=json"), parsed at each
// occurrence in turn; standing alone it means `bare_value`. `shown` is what --help shows after
// its name ("[=N]").
template <class Parse>
CLI::Option* AddOptionalValueOption(CLI::App& app, const std::string& names,
                                    const std::string& expected, const std::string& bare_value,
                                    Parse parse, const std::string& shown,
                                    const std::string& description) {
  // CLI11 hands a lone occurrence the option's default text; an empty text is therefore
  // always a value given empty.
  return AddParsedOption(app, names, expected, parse, description)
      ->expected(0, 1)
      ->default_str(bare_value)
      ->option_text(shown)
      ->trigger_on_parse();
}

// Each writes into `target` while parsing; the default shown is what `target` holds now.
CLI::Option* AddNumberOption(CLI::App& app, const std::string& name, double& target,
                             const std::string& description,
                             const NumberRange& range = NumberRange());
CLI::Option* AddCountOption(CLI::App& app, const std::string& name, uint32_t& target, uint32_t min,
                            uint32_t max, const std::string& description);
// "X,Y,Z" and "W,H".
CLI::Option* AddVectorOption(CLI::App& app, const std::string& name, ORT_Vector3T<double>& target,
                             const std::string& description,
                             const NumberRange& range = NumberRange());
CLI::Option* AddVectorOption(CLI::App& app, const std::string& name, ORT_Vector2T<double>& target,
                             const std::string& description,
                             const NumberRange& range = NumberRange());
// One of `choices`, spelled exactly; the default shown is `target`.
CLI::Option* AddChoiceOption(CLI::App& app, const std::string& name, std::string& target,
                             const std::vector<std::string>& choices,
                             const std::string& description);

// "a, b or c".
std::string ListInWords(const std::vector<std::string>& words, const std::string& last_joint);

}  // namespace cli
}  // namespace kly
