// gcuschema decode: an encoded document as JSON (settings expanded) or as
// protobuf text format.
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gcuschema/document/json.h>
#include <gcuschema/document/text.h>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "io.h"
#include "options.h"

namespace gcuschema::tool {
namespace {

struct DecodeArguments {
  TypeOption type;
  PairingOptions pairing;
  std::string format = "json";
  bool no_expand = false;
  bool original_names = false;
  int threads = 0;
  std::string output;
  std::string input;
};

int RunDecode(const DecodeArguments& args) {
  const google::protobuf::Descriptor* type = args.type.Resolve();
  document::JsonCodec codec(args.pairing.Resolve());
  RefuseOverwritingInputs(args.output, {args.input});

  const Input input = ReadInput(args.input);
  const std::unique_ptr<Document> document = ParseDocument(input, type);
  // Written out as it is made: a large document's text is never held whole.
  Output output(args.output);
  const document::Sink sink = [&output](std::string_view text) { output.Write(text); };
  AsFailure(input.name, [&] {
    if (args.format == "text") {
      document::TextWriteOptions options;
      options.threads = args.threads;
      document::WriteText(*document->record(), sink, options);
    } else {
      document::JsonWriteOptions options;
      options.expand = !args.no_expand;
      // Expanded JSON says what it is, so that encode needs no --type.
      options.type_name = !args.no_expand;
      options.original_names = args.original_names;
      options.threads = args.threads;
      codec.WriteJson(*document->record(), sink, options);
      output.Write("\n");
    }
  });
  output.Commit();
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
                    "Plain proto3 JSON: every config as base64 bytes instead of the record it "
                    "holds, no \"@type\" or \"@unknown\"");
  command->add_flag("--original-names", args->original_names,
                    "Fields under the schema's names instead of their JSON names");
  args->pairing.AddTo(command);
  AddThreadsOption(command, &args->threads);
  AddOutputOption(command, &args->output);
  command->add_option("IN", args->input, "Encoded document (standard input if absent or -)");
  return {command, [args] { return RunDecode(*args); }};
}

}  // namespace gcuschema::tool
