// gcuschema encode: a document given as JSON or text format, encoded.
#include <cstdio>
#include <memory>
#include <string>

#include <fmt/format.h>

#include <gcuschema/document/io.h>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "files.h"
#include "options.h"

namespace gcuschema::tool {
namespace {

struct EncodeArguments {
  TypeOption type;
  PairingOptions pairing;
  FromOption from;
  // -f/--format, which named the input's format before --from did.
  std::string format;
  std::string output;
  std::string input;
};

int RunEncode(EncodeArguments args) {
  if (!args.format.empty()) {
    fmt::print(stderr, "gcuschema: encode: -f/--format is now --from (how the input is written); -f goes in the "
                       "next release\n");
    if (args.from.given() && args.from.name != args.format) {
      throw Failure("--from", "", fmt::format("names {}, but -f/--format names {}; give --from alone",
                                              args.from.name, args.format));
    }
    args.from.name = args.format;
  }
  RefuseBinaryToTerminal(args.output);
  args.type.Resolve();  // a wrong --type is reported before any input is read
  const document::ReadOptions reading = InputReading(args.from.Resolve(), args.pairing.Resolve());
  RefuseOverwritingInputs(args.output, {args.input});

  // Read as --type (or its default) first, as Load does.
  const InputFile input = ReadInput(args.input);
  std::string encoded;
  const document::Format format = AsFailure(input.name, [&] {
    return ReadFollowingName(args.type.Resolve(), !args.type.given(), [&](const google::protobuf::Descriptor* type) {
      return document::Encode(input.bytes(), type, &encoded, reading);
    });
  });
  // Encoding an encoded document again is asked for by name only.
  if (!args.from.given() && format == document::Format::kBinary) {
    throw Failure(InputName(args.input), "",
                  "is an encoded document already (it reads as one, and as neither JSON nor text "
                  "format); encode reads JSON or text format: give --from json or --from text if it is "
                  "one, or --from binary to encode it again");
  }
  WriteOutput(args.output, encoded);
  return kExitOk;
}

}  // namespace

Command AddEncodeCommand(CLI::App* app) {
  auto args = std::make_shared<EncodeArguments>();
  CLI::App* command = app->add_subcommand(
      "encode",
      "Encode a document given as JSON (expanded or not) or protobuf text format; "
      "the reverse of decode");
  args->type.AddTo(command);
  args->from.AddTo(command);
  // Left out of the help: --from says it now.
  command->add_option("-f,--format", args->format)->check(CLI::IsMember({"json", "text"}))->group("");
  args->pairing.AddTo(command);
  AddOutputOption(command, &args->output);
  command->add_option("IN", args->input, "JSON or text document (standard input if absent or -)")
      ->type_name(kFileValue);
  return {command, [args] { return RunEncode(*args); }};
}

}  // namespace gcuschema::tool
