// gcuschema: command-line access to device documents through gcuschema_document.
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <google/protobuf/stubs/logging.h>

#include <gcuschema/document/error.h>

#include "commands.h"
#include "failure.h"

namespace gcuschema::tool {
namespace {

int ReportFailure(const std::string& line) {
  std::fflush(stdout);
  fmt::print(stderr, "{}\n", line);
  return kExitFailure;
}

int ReportUsageError(CLI::App& app, const CLI::ParseError& e, int argc, char** argv) {
  // --help is reported through the same exception, with status 0.
  if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return app.exit(e);
  std::string what = e.what();
  std::string help = "gcuschema --help";
  for (const CLI::App* command : app.get_subcommands()) {
    help = "gcuschema " + command->get_name() + " --help";
  }
  // CLI11 reports a mistyped command as a missing one; name it instead.
  if (app.get_subcommands().empty() && argc > 1 && argv[1][0] != '-') {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
    what = fmt::format("unknown command \"{}\"; the commands are {}", argv[1],
                       fmt::join(names, ", "));
  }
  return ReportFailure(FailureLine("", "", what + "; see `" + help + "`"));
}

int Run(const Command& command) {
  try {
    return command.run();
  } catch (const Failure& e) {
    return ReportFailure(e.what());
  } catch (const document::Error& e) {
    return ReportFailure(FailureLine("", e.where(), e.message()));
  } catch (const std::bad_alloc&) {
    return ReportFailure(FailureLine("", "", "out of memory"));
  } catch (const std::exception& e) {
    return ReportFailure(FailureLine("", "", e.what()));
  }
}

}  // namespace
}  // namespace gcuschema::tool

int main(int argc, char** argv) {
  using namespace gcuschema::tool;
  // The runtime logs parse problems to stderr on its own; the library
  // reports them as errors, and each error here is one line.
  google::protobuf::SetLogHandler(nullptr);

  CLI::App app{"gcuschema: decode, encode, inspect, lint and compare device documents"};
  app.name("gcuschema");
  app.require_subcommand(1);
  app.footer(
      "Exit status: 0 done, 1 lint found errors or diff found differences, 2 bad input or "
      "usage (one line on stderr: gcuschema: FILE: WHERE: WHAT).");
  const std::vector<Command> commands = {
      AddDecodeCommand(&app),  AddEncodeCommand(&app),  AddInspectCommand(&app),
      AddLintCommand(&app),    AddDiffCommand(&app),    AddSchemasCommand(&app),
      AddSampleCommand(&app),
  };
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return ReportUsageError(app, e, argc, argv);
  }
  for (const Command& command : commands) {
    if (command.parser->parsed()) return Run(command);
  }
  return kExitFailure;  // require_subcommand(1) makes this unreachable
}
