// The command line as a user spells it, made into what CLI11 reads the same way, before CLI11
// parses it.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace kly {
namespace cli {

// The arguments after the program's name, respelled for the options that take a value where
// CLI11 would read them otherwise than a user means: "-o=PATH" becomes "-o PATH" (CLI11 would
// keep the '=' as the path's first character); "--name=" with nothing after the '=', and a
// value that is missing at the end or before another option, become an empty value, which the
// option refuses with its one message for it (CLI11 would take the next argument as the
// value). Throws CLI::ValidationError when the first argument that is not an option names no
// command.
std::vector<std::string> SpelledArguments(const CLI::App& app, int argc, char** argv);

// "cube, sphere, cylinder or plane".
std::string CommandList(const CLI::App& app);

}  // namespace cli
}  // namespace kly
