// gcuschema encode: JSON or text format back to the encoded document.
#include <memory>
#include <string>

#include <gcuschema/document/pairing.h>

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
  std::string format;  // detected when empty
  std::string output;
  std::string input;
};

int RunEncode(const EncodeArguments& args) {
  RefuseBinaryToTerminal(args.output);
  const document::PairingCatalogue pairing = args.pairing.Resolve();
  RefuseOverwritingInputs(args.output, {args.input});

  const Input input = ReadInput(args.input);
  Format format = FormatNamed(args.format);
  // Empty, it is the empty document in text format.
  if (format == Format::kDetect) format = input.bytes().empty() ? Format::kText : DetectFormat(input.bytes());
  if (format == Format::kBinary) {
    throw Failure(input.name, "",
                  "looks like an encoded document already (it holds control bytes); encode "
                  "reads JSON or text format: give --format json or --format text if it is one");
  }
  const Document document(DocumentType(args.type, input, format));
  ReadDocument(input, format, pairing, document.record());
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
  command
      ->add_option("-f,--format", args->format,
                   "json or text (protobuf text format); told from the content when not given")
      ->check(CLI::IsMember({"json", "text"}));
  args->pairing.AddTo(command);
  AddOutputOption(command, &args->output);
  command->add_option("IN", args->input, "JSON or text document (standard input if absent or -)");
  return {command, [args] { return RunEncode(*args); }};
}

}  // namespace gcuschema::tool
