#include "cli/options/argument_spelling.h"

#include "cli/options/option_helpers.h"

namespace kly {
namespace cli {

namespace {

bool IsOption(const std::string& argument) {
  return !argument.empty() && argument[0] == '-';
}

// Whether `name` ("-o", "--weld") is an option of `command` that takes a value.
bool TakesValue(const CLI::App* command, const std::string& name) {
  const CLI::Option* option = command ? command->get_option_no_throw(name) : nullptr;
  return option && option->get_items_expected_max() > 0;
}

// Appends `argument` to `out`, split at its first '=' where a short option of `command` that
// takes a value, or a long one with an empty value, is spelled with one.
void Spell(const CLI::App* command, const std::string& argument, std::vector<std::string>& out) {
  const size_t equals = argument.find('=');
  const bool is_short = argument.size() > 1 && argument[0] == '-' && argument[1] != '-';
  const bool is_long = argument.rfind("--", 0) == 0;
  const std::string name = argument.substr(0, equals);
  const bool split = equals != std::string::npos && TakesValue(command, name) &&
                     ((is_short && equals == 2) || (is_long && equals + 1 == argument.size()));
  if (!split) {
    out.push_back(argument);
    return;
  }
  out.push_back(name);
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
  std::vector<std::string> arguments;
  const CLI::App* command = nullptr;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (!command && !IsOption(argument)) {
      command = FindCommand(app, argument);
      if (!command) {
        throw CLI::ValidationError("'" + argument + "' is not a command; expected " +
                                   CommandList(app));
      }
    }
    Spell(command, argument, arguments);
  }
  return arguments;
}

}  // namespace cli
}  // namespace kly
