// gcuschema inspect: a readable summary of a document.
#include <memory>
#include <string>

#include <gcuschema/document/error.h>
#include <gcuschema/document/inspect.h>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "files.h"
#include "options.h"

namespace gcuschema::tool {
namespace {

struct InspectArguments {
  TypeOption type;
  PairingOptions pairing;
  FromOption from;
  std::string format = "text";
  std::string input;
};

int RunInspect(const InspectArguments& args) {
  args.type.Resolve();  // a wrong --type is reported before any input is read
  const document::ReadOptions reading = InputReading(args.from.Resolve(), args.pairing.Resolve());
  const LoadedRecord record = Load(args.input, args.type, reading, /*keep_input=*/true);
  document::InspectOptions options;
  options.pairing = reading.pairing;
  options.encoded = record.encoded();
  std::string summary = AsFailure(InputName(args.input), [&] {
    return args.format == "json" ? document::InspectAsJson(*record, options) : document::Inspect(*record, options);
  });
  if (!summary.empty() && summary.back() != '\n') summary += '\n';
  WriteOutput("", summary);
  return 0;
}

}  // namespace

Command AddInspectCommand(CLI::App* app) {
  auto args = std::make_shared<InspectArguments>();
  CLI::App* command = app->add_subcommand(
      "inspect",
      "Summarise a document (binary, JSON or text): identity, entries by type, section sizes, then each kind's "
      "entries (id, alias, pin, type, settings record, bytes)");
  args->type.AddTo(command);
  args->pairing.AddTo(command);
  args->from.AddTo(command);
  command->add_option("-f,--format", args->format, "Output format: text, or json (the same summary, every list "
                                                   "whole, for programs)")
      ->check(CLI::IsMember({"text", "json"}))
      ->capture_default_str();
  command->add_option("IN", args->input, "Document (standard input if -)")->type_name(kFileValue)->required();
  return {command, [args] { return RunInspect(*args); }};
}

}  // namespace gcuschema::tool
