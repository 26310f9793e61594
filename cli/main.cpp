// `kly`: builds the library's solids from the command line and writes them as .glb, .obj, .stl
// or .ply. Every failure ends in one line on stderr and a non-zero exit: 2 for a command line
// that does not parse, 1 for anything that goes wrong after.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/commands/cube_command.h"
#include "cli/commands/cylinder_command.h"
#include "cli/commands/plane_command.h"
#include "cli/commands/sphere_command.h"
#include "cli/commands/svg_command.h"
#include "cli/commands/text_command.h"
#include "cli/options/argument_spelling.h"
#include "cli/runtime/failure_text.h"
#include "cli/runtime/library_session.h"
#include "cli/runtime/notes.h"
#include "cli/writers/pending_file.h"

namespace {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

int Fail(const std::string& line) {
  std::fprintf(stderr, "kly: %s\n", line.c_str());
  return kExitFailure;
}

int FailUsage(const CLI::App& app, const CLI::ParseError& e) {
  // CLI11 says "A subcommand is required" when none is given.
  const bool no_command =
      app.get_subcommands().empty() && dynamic_cast<const CLI::RequiredError*>(&e) != nullptr;
  const std::string line = no_command
                               ? "a command is required; expected " + kly::cli::CommandList(app)
                               : std::string(e.what());
  std::fprintf(stderr, "kly: %s (see kly --help)\n", line.c_str());
  return kExitUsage;
}

void AddCommands(CLI::App& app) {
  kly::cli::AddCubeCommand(app);
  kly::cli::AddSphereCommand(app);
  kly::cli::AddCylinderCommand(app);
  kly::cli::AddPlaneCommand(app);
  kly::cli::AddTextCommand(app);
  kly::cli::AddSvgCommand(app);
}

// The library's reports on a run that succeeded: what it warned about along the way.
void PrintReports(const kly::cli::LibrarySession& session) {
  if (kly::cli::Quiet()) return;
  for (const std::string& report : session.Reports()) {
    std::fprintf(stderr, "kly: the library reported: %s\n", report.c_str());
  }
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(
      "Builds a solid and writes it by the output's extension (or --format): .glb (glTF 2.0 "
      "binary), .obj, .stl or .ply. Files have +Y up, +Z toward the viewer and counter-clockwise "
      "front "
      "faces. Run 'kly COMMAND --help' for the options of a command.",
      "kly");
  kly::cli::RemovePendingFilesOnSignals();
  app.require_subcommand(1);
  app.set_version_flag("--version", "kly " KLY_VERSION, "Print the version and exit");
  app.get_formatter()->column_width(32);
  AddCommands(app);

  std::unique_ptr<kly::cli::LibrarySession> session;
  try {
    std::vector<std::string> arguments = kly::cli::SpelledArguments(app, argc, argv);
    std::reverse(arguments.begin(), arguments.end());  // as CLI11 takes them
    session = std::make_unique<kly::cli::LibrarySession>();
    app.parse(arguments);
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() == 0) return app.exit(e);
    return FailUsage(app, e);
  } catch (const kly::cli::HostFailure& e) {
    const std::string report = session->LastReport();
    if (report.empty()) return Fail(e.Stage() + " failed: status " + std::to_string(e.Number()));
    return Fail(e.Stage() + " failed: " + report);
  } catch (const kly::cli::LibraryFailure& e) {
    return Fail(e.Stage() +
                " failed: " + kly::cli::DescribeFailure(e.Number(), session->LastReport()));
  } catch (int32_t number) {
    return Fail(kly::cli::DescribeFailure(number, session ? session->LastReport() : ""));
  } catch (const std::bad_alloc&) {
    return Fail("out of memory");
  } catch (const std::exception& e) {
    return Fail(e.what());
  }
  PrintReports(*session);
  return 0;
}
