// gcuschema completion: the tool's shell completion, made from its own
// definitions.
#include <memory>
#include <string>

#include "commands.h"
#include "completion.h"
#include "failure.h"
#include "files.h"
#include "options.h"

namespace gcuschema::tool {
namespace {

struct CompletionArguments {
  std::string shell;
  std::string output;
};

}  // namespace

Command AddCompletionCommand(CLI::App* app) {
  auto args = std::make_shared<CompletionArguments>();
  CLI::App* command = app->add_subcommand(
      "completion",
      "Print the shell completion of the tool, made from its commands, their options and the values "
      "these take (record names, type codes, formats, files): `source <(gcuschema completion bash)` "
      "completes in the running bash; the package installs it for every bash");
  AddOutputOption(command, &args->output);
  command->add_option("SHELL", args->shell, "Shell to complete in")
      ->type_name("SHELL")
      ->check(CLI::IsMember({"bash"}))
      ->required();
  // Run once every command is set up (main sets them all up for this one).
  return {command, [app, args] {
            WriteOutput(args->output, BashCompletion(*app));
            return kExitOk;
          }};
}

}  // namespace gcuschema::tool
