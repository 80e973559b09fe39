// gcuschema encode: JSON or text format back to the encoded document.
#include <memory>
#include <string>

#include <gcuschema/document/binary.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/json.h>
#include <gcuschema/document/records.h>

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
  int threads = 0;
  std::string output;
  std::string input;
};

int RunEncode(const EncodeArguments& args) {
  RefuseBinaryToTerminal(args.output);
  const google::protobuf::Descriptor* type = args.type.Resolve();
  document::JsonCodec codec(args.pairing.Resolve());
  RefuseOverwritingInputs(args.output, {args.input});

  const Input input = ReadInput(args.input);
  const Document document(type);
  try {
    if (args.format == "text") {
      document::FromText(input.bytes(), document.record(), args.threads);
    } else {
      codec.FromJsonText(input.bytes(), document.record());
    }
  } catch (const document::Error& e) {
    throw Failure(input.name, e.where(), e.message());
  }
  WriteOutput(args.output, EncodeLarge(*document.record()).pieces());
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
  AddThreadsOption(command, &args->threads);
  AddOutputOption(command, &args->output);
  command->add_option("IN", args->input, "JSON or text document (standard input if absent or -)");
  return {command, [args] { return RunEncode(*args); }};
}

}  // namespace gcuschema::tool
