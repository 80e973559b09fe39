// gcuschema decode: a document as JSON (settings expanded) or as protobuf
// text format.
#include <memory>
#include <string>

#include <gcuschema/document/io.h>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "files.h"
#include "options.h"

namespace gcuschema::tool {
namespace {

struct DecodeArguments {
  TypeOption type;
  PairingOptions pairing;
  FromOption from;
  std::string format = "json";
  bool no_expand = false;
  bool original_names = false;
  bool type_names = false;
  int threads = 0;
  std::string output;
  std::string input;
};

// Names are read back from expanded JSON only: plain proto3 JSON and text
// format give type codes as numbers.
void CheckTypeNames(const DecodeArguments& args) {
  if (!args.type_names) return;
  if (args.format == "text") {
    throw Failure("--type-names", "",
                  "names type codes in JSON only; text format gives them as numbers: leave out --type-names or "
                  "--format text; see `gcuschema decode --help`");
  }
  if (args.no_expand) {
    throw Failure("--type-names", "",
                  "writes names that only expanded JSON reads back, and --no-expand writes plain proto3 JSON, "
                  "which gives type codes as numbers: leave out one of the two; see `gcuschema decode --help`");
  }
}

int RunDecode(const DecodeArguments& args) {
  CheckTypeNames(args);
  args.type.Resolve();  // a wrong --type is reported before any input is read
  const document::ReadOptions reading = InputReading(args.from.Resolve(), args.pairing.Resolve());
  RefuseOverwritingInputs(args.output, {args.input});

  LoadedRecord record = Load(args.input, args.type, reading, /*keep_input=*/true);
  WarnIfNotCanonical(record, InputName(args.input),
                     "the output is the record read, which encode writes in canonical form");
  record.ReleaseInput();  // not held while the output is made
  document::WriteOptions writing;
  writing.pairing = reading.pairing;
  writing.expand = !args.no_expand;
  // Expanded JSON says what it is, so that encode needs no --type.
  writing.type_name = !args.no_expand;
  writing.original_names = args.original_names;
  writing.type_names = args.type_names;
  writing.threads = args.threads;
  WriteDocument(args.output, *record, args.format == "text" ? document::Format::kText : document::Format::kJson,
                writing, InputName(args.input));
  return kExitOk;
}

}  // namespace

Command AddDecodeCommand(CLI::App* app) {
  auto args = std::make_shared<DecodeArguments>();
  CLI::App* command = app->add_subcommand(
      "decode",
      "Print a document (encoded, or JSON or text to convert) as JSON (each entry's config shown as the "
      "record it holds) or as protobuf text format (as protoc --decode prints it; a document with fields "
      "the schema does not know is refused, as text cannot carry them back); a warning on stderr when "
      "the bytes read are not those the records write");
  args->type.AddTo(command);
  args->from.AddTo(command);
  command->add_option("-f,--format", args->format, "Output format: json or text (text is never expanded)")
      ->check(CLI::IsMember({"json", "text"}))
      ->capture_default_str();
  command->add_flag("--no-expand", args->no_expand,
                    "Plain proto3 JSON: every config as base64 bytes instead of the record it "
                    "holds, no \"@type\" or \"@unknown\"");
  command->add_flag("--original-names", args->original_names,
                    "Fields under the schema's names instead of their JSON names");
  command->add_flag("--type-names", args->type_names,
                    "Each input's, output's and map's type code as its name (\"type\": \"DigitalInput\"), "
                    "code 0 too (\"AdcInput\"), for people to read; encode reads it back to the same bytes");
  args->pairing.AddTo(command);
  AddThreadsOption(command, &args->threads);
  AddOutputOption(command, &args->output);
  command->add_option("IN", args->input, "Document (standard input if absent or -)")
      ->type_name(kFileValue);
  return {command, [args] { return RunDecode(*args); }};
}

}  // namespace gcuschema::tool
