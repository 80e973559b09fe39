#ifndef GCUSCHEMA_TOOL_COMMANDS_H
#define GCUSCHEMA_TOOL_COMMANDS_H

#include <functional>

#include <CLI/CLI.hpp>

namespace gcuschema::tool {

// A subcommand: its parser, and what runs when it was chosen (returns the
// exit status; throws Failure when the work cannot be done).
struct Command {
  CLI::App* parser;
  std::function<int()> run;
};

Command AddDecodeCommand(CLI::App* app);
Command AddEncodeCommand(CLI::App* app);
Command AddInspectCommand(CLI::App* app);
Command AddLintCommand(CLI::App* app);
Command AddDiffCommand(CLI::App* app);
Command AddSchemasCommand(CLI::App* app);
Command AddSampleCommand(CLI::App* app);
Command AddSetCommand(CLI::App* app);
Command AddReportCommand(CLI::App* app);
// Needs every other command set up on `app` before it runs.
Command AddCompletionCommand(CLI::App* app);

}  // namespace gcuschema::tool

#endif
