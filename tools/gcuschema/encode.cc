// gcuschema encode: JSON or text format back to the encoded document.
#include <memory>
#include <string>

#include <gcuschema/document/error.h>
#include <gcuschema/document/json.h>
#include <gcuschema/document/records.h>
#include <gcuschema/document/text.h>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "io.h"
#include "options.h"

namespace gcuschema::tool {
namespace {

struct EncodeArguments {
  TypeOption type;
  PairingOptions pairing;
  std::string format = "json";
  std::string output;
  std::string input;
};

int RunEncode(const EncodeArguments& args) {
  RefuseBinaryToTerminal(args.output);
  document::JsonCodec codec(args.pairing.Resolve());
  RefuseOverwritingInputs(args.output, {args.input});

  const Input input = ReadInput(args.input);
  // Without --type, JSON that names its record ("@type", as decode writes
  // it) is read as that record.
  const google::protobuf::Descriptor* type = args.type.Resolve();
  if (!args.type.given() && args.format == "json") {
    const std::string named = document::JsonDocumentType(input.bytes());
    if (!named.empty()) type = TypeOption{named}.Resolve();
  }
  const Document document(type);
  try {
    if (args.format == "text") {
      document::FromText(input.bytes(), document.record());
    } else {
      codec.FromJson(input.bytes(), document.record());
    }
  } catch (const document::Error& e) {
    throw Failure(input.name, e.where(), e.message());
  }
  WriteOutput(args.output, Encode(*document.record()));
  return 0;
}

}  // namespace

Command AddEncodeCommand(CLI::App* app) {
  auto args = std::make_shared<EncodeArguments>();
  CLI::App* command = app->add_subcommand(
      "encode",
      "Encode a document given as JSON (expanded or not) or protobuf text format; "
      "the reverse of decode");
  args->type.AddTo(command);
  command->add_option("-f,--format", args->format, "json or text")
      ->check(CLI::IsMember({"json", "text"}))
      ->capture_default_str();
  args->pairing.AddTo(command);
  AddOutputOption(command, &args->output);
  command->add_option("IN", args->input, "JSON or text document (standard input if absent or -)");
  return {command, [args] { return RunEncode(*args); }};
}

}  // namespace gcuschema::tool
