// gcuschema: command-line access to device documents through gcuschema_document.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <new>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <google/protobuf/stubs/logging.h>

#include <gcuschema/document/error.h>

#include "commands.h"
#include "failure.h"
#include "files.h"
#include "platform.h"

namespace gcuschema::tool {
namespace {

int ReportFailure(const std::string& line) {
  std::fflush(stdout);
  fmt::print(stderr, "{}\n", line);
  return kExitFailure;
}

// Anything written to standard output through stdio or iostreams is
// flushed and checked before the run exits: a write that failed (a full
// disk, /dev/full) fails the run instead of passing unseen.
int Exit(int status) {
  errno = 0;
  if (std::fflush(stdout) == 0 && std::cout.flush().good() && !std::ferror(stdout)) return status;
  const int error = errno;
  return ReportFailure(FailureLine(
      "<stdout>", "", std::string("cannot write: ") + (error != 0 ? std::strerror(error) : "output error")));
}

// --help and --version: their text goes out as every result does, so that a
// failed write is reported with its reason.
int PrintHelpOrVersion(CLI::App& app, const CLI::ParseError& e) {
  std::ostringstream text;
  const int status = app.exit(e, text, std::cerr);
  try {
    WriteOutput("", text.str());
  } catch (const Failure& failure) {
    return ReportFailure(failure.what());
  }
  return status;
}

int ReportUsageError(CLI::App& app, const CLI::ParseError& e, const std::vector<std::string>& arguments) {
  // --help and --version are reported through the same exception, with status 0.
  if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return PrintHelpOrVersion(app, e);
  std::string what = e.what();
  std::string help = "gcuschema --help";
  for (const CLI::App* command : app.get_subcommands()) {
    help = "gcuschema " + command->get_name() + " --help";
  }
  // CLI11 reports a mistyped command as a missing one; name it instead.
  if (app.get_subcommands().empty() && arguments.size() > 1 && arguments[1].rfind('-', 0) != 0) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
    what = fmt::format("unknown command \"{}\"; the commands are {}", arguments[1],
                       fmt::join(names, ", "));
  }
  return ReportFailure(FailureLine("", "", what + "; see `" + help + "`"));
}

// "--name=" with nothing after the '=' gives the option an empty value, as
// "--name ''" does, for its check to refuse: CLI11 would take the next
// argument for the value instead, so that --output="$UNSET" in.bin wrote
// over in.bin. A flag so given is refused here (CLI11 would complain of the
// next argument instead); the message is returned, empty when all is well.
std::string SeparateEmptyValues(const std::vector<Command>& commands, std::vector<std::string>* arguments) {
  for (std::size_t i = 1; i < arguments->size(); ++i) {
    const std::string& argument = (*arguments)[i];
    if (argument == "--") break;  // what follows is operands only
    if (argument.size() < 4 || argument.rfind("--", 0) != 0 || argument.find('=') != argument.size() - 1) continue;
    const std::string name = argument.substr(0, argument.size() - 1);
    for (const Command& command : commands) {
      const CLI::Option* option = command.parser->get_option_no_throw(name);
      if (option == nullptr) continue;
      if (option->get_expected_max() == 0) {
        return fmt::format("{}: is a flag and takes no value; give {} alone; see `gcuschema {} --help`", name, name,
                           command.parser->get_name());
      }
      (*arguments)[i] = name;
      arguments->insert(arguments->begin() + static_cast<std::ptrdiff_t>(i) + 1, "");
      ++i;
      break;
    }
  }
  return {};
}

int Run(const Command& command) {
  try {
    // An error of the library that no command gave a subject.
    return AsFailure("", command.run);
  } catch (const Failure& e) {
    return ReportFailure(e.what());
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

  CLI::App app{"gcuschema: decode, encode, inspect, lint, compare, edit and report on device documents"};
  app.name("gcuschema");
  // Options are spelt the same on every system: an argument starting with
  // '/' is a path, never a Windows-style option. Set before the commands
  // are added, which take it from here.
  app.allow_windows_style_options(false);
  app.require_subcommand(1);
  app.set_version_flag("--version", "gcuschema " GCUSCHEMA_VERSION);
  app.footer(
      "Exit status: 0 done, 1 lint found errors or diff found differences, 2 bad input or "
      "usage (one line on stderr: gcuschema: FILE: WHERE: WHAT).");
  std::vector<std::string> arguments = platform::CommandLine(argc, argv);
  // Setting up a command's options is a good part of a short run: when the
  // first argument names a command, only that one is set up (nothing after
  // it can name another), and `--version` alone needs none. Otherwise all
  // are, for --help and the messages, and for `completion`, which writes
  // them all out.
  const std::pair<const char*, Command (*)(CLI::App*)> factories[] = {
      {"decode", AddDecodeCommand}, {"encode", AddEncodeCommand}, {"inspect", AddInspectCommand},
      {"lint", AddLintCommand},     {"diff", AddDiffCommand},     {"report", AddReportCommand},
      {"schemas", AddSchemasCommand}, {"sample", AddSampleCommand}, {"set", AddSetCommand},
      {"completion", AddCompletionCommand},
  };
  const bool completion = arguments.size() > 1 && arguments[1] == "completion";
  std::vector<Command> commands;
  for (const auto& [name, add] : factories) {
    if (!completion && arguments.size() > 1 && arguments[1] == name) commands = {add(&app)};
  }
  const bool version_only = arguments.size() == 2 && arguments[1] == "--version";
  if (commands.empty() && !version_only) {
    for (const auto& factory : factories) commands.push_back(factory.second(&app));
  }
  if (const std::string refused = SeparateEmptyValues(commands, &arguments); !refused.empty()) {
    return Exit(ReportFailure(FailureLine("", "", refused)));
  }
  std::vector<const char*> pointers;
  for (const std::string& argument : arguments) pointers.push_back(argument.c_str());
  try {
    app.parse(static_cast<int>(pointers.size()), pointers.data());
  } catch (const CLI::ParseError& e) {
    return Exit(ReportUsageError(app, e, arguments));
  }
  for (const Command& command : commands) {
    if (command.parser->parsed()) return Exit(Run(command));
  }
  return kExitFailure;  // require_subcommand(1) makes this unreachable
}
