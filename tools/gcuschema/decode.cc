// gcuschema decode: an encoded document as JSON (settings expanded) or as
// protobuf text format.
#include <memory>
#include <string>

#include <gcuschema/doc/binary.h>
#include <gcuschema/doc/json.h>

#include "commands.h"
#include "document.h"
#include "io.h"
#include "options.h"

namespace gcuschema::tool {
namespace {

struct DecodeArguments {
  TypeOption type;
  PairingOptions pairing;
  std::string format = "json";
  bool no_expand = false;
  int threads = 0;
  std::string output;
  std::string input;
};

int RunDecode(const DecodeArguments& args) {
  const google::protobuf::Descriptor* type = args.type.Resolve();
  doc::JsonCodec codec(args.pairing.Resolve());
  RefuseOverwritingInputs(args.output, {args.input});

  const Input input = ReadInput(args.input);
  const std::unique_ptr<Document> document = ParseDocument(input, type, args.threads);
  if (args.format == "text") {
    const doc::TextPieces text = doc::PrintText(document->record(), args.threads);
    WriteOutput(args.output, text.pieces());
    return 0;
  }
  codec.set_threads(args.threads);
  doc::TextPieces text = codec.ToJsonPieces(*document->record(), !args.no_expand);
  text.Append("\n");
  WriteOutput(args.output, text.pieces());
  return 0;
}

}  // namespace

Command AddDecodeCommand(CLI::App* app) {
  auto args = std::make_shared<DecodeArguments>();
  CLI::App* command = app->add_subcommand(
      "decode",
      "Print an encoded document as JSON (each entry's config shown as the record it "
      "holds) or as protobuf text format (as protoc --decode prints it)");
  args->type.AddTo(command);
  command->add_option("-f,--format", args->format, "json or text (text is never expanded)")
      ->check(CLI::IsMember({"json", "text"}))
      ->capture_default_str();
  command->add_flag("--no-expand", args->no_expand,
                    "Keep every config as base64 bytes instead of the record it holds");
  args->pairing.AddTo(command);
  AddThreadsOption(command, &args->threads);
  AddOutputOption(command, &args->output);
  command->add_option("IN", args->input, "Encoded document (standard input if absent or -)");
  return {command, [args] { return RunDecode(*args); }};
}

}  // namespace gcuschema::tool
