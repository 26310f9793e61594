#include "cli/options/argument_spelling.h"

#include "cli/options/option_helpers.h"

namespace kly {
namespace cli {

namespace {

bool IsOption(const std::string& argument) {
  return !argument.empty() && argument[0] == '-';
}

// The option of `command` that `argument` names ("-o", "--weld", "--weld=1"), or null.
const CLI::Option* FindOption(const CLI::App* command, const std::string& argument) {
  if (!command || !IsOption(argument)) return nullptr;
  return command->get_option_no_throw(argument.substr(0, argument.find('=')));
}

// Appends `argument`, which names `option` with an '=', split there for a short option
// ("-o=PATH") or for an empty value ("--weld=").
void SpellWithEquals(const std::string& argument, std::vector<std::string>& out) {
  const size_t equals = argument.find('=');
  const bool is_short = argument[1] != '-';
  if (!is_short && equals + 1 != argument.size()) {
    out.push_back(argument);
    return;
  }
  out.push_back(argument.substr(0, equals));
  out.push_back(argument.substr(equals + 1));
}

const CLI::App* FindCommand(const CLI::App& app, const std::string& name) {
  const auto named = [&name](const CLI::App* command) { return command->get_name() == name; };
  const std::vector<const CLI::App*> found = app.get_subcommands(named);
  return found.empty() ? nullptr : found[0];
}

}  // namespace

std::string CommandList(const CLI::App& app) {
  std::vector<std::string> names;
  const auto every = [](const CLI::App*) { return true; };
  for (const CLI::App* command : app.get_subcommands(every)) names.push_back(command->get_name());
  return ListInWords(names, "or");
}

std::vector<std::string> SpelledArguments(const CLI::App& app, int argc, char** argv) {
  const std::vector<std::string> given(argv + 1, argv + argc);
  std::vector<std::string> arguments;
  const CLI::App* command = nullptr;
  for (size_t i = 0; i < given.size(); ++i) {
    const std::string& argument = given[i];
    if (!command && !IsOption(argument)) {
      command = FindCommand(app, argument);
      if (!command) {
        throw CLI::ValidationError("'" + argument + "' is not a command; expected " +
                                   CommandList(app));
      }
    }
    const CLI::Option* option = FindOption(command, argument);
    if (!option || option->get_items_expected_max() == 0) {
      arguments.push_back(argument);
    } else if (argument.find('=') != std::string::npos) {
      SpellWithEquals(argument, arguments);
    } else {
      arguments.push_back(argument);
      // A value it must have is missing at the end or before another option: CLI11 would take
      // that option as the value, or say "1 required N missing".
      const bool missing = i + 1 == given.size() || FindOption(command, given[i + 1]);
      if (option->get_items_expected_min() > 0 && missing) arguments.push_back("");
    }
  }
  return arguments;
}

}  // namespace cli
}  // namespace kly
