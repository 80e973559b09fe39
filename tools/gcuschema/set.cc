// gcuschema set: a document edited by field path, every byte outside the
// fields edited kept as it was.
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/arena.h>

#include <gcuschema/document/edit.h>
#include <gcuschema/document/io.h>
#include <gcuschema/document/records.h>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "files.h"
#include "options.h"

namespace gcuschema::tool {
namespace {

constexpr const char* kPaths =
    "A path names fields by their schema (or JSON) names joined by '.'. A list's element is chosen by its "
    "position, from 0 (outputs[4]), or by a field of it holding a value (inputs[id=2], canbus[canbusId=1], "
    "maps[alias=\"Gear map\"]); exactly one element must hold it. Through config the path goes on into the "
    "entry's settings, as the record its type code holds (inputs[id=2].config.delay): their bytes change only "
    "where the field set lies.\n"
    "\n"
    "A value is spelt as in the JSON decode writes: integers, floats (1.5, 1e+20, NaN, Infinity), true or "
    "false, enumeration values by name or number (an entry's type by its code's name too: type=DigitalInput), "
    "strings as they are or quoted with JSON's escapes (alias=\"Gear map\"), bytes in base64. A field set to "
    "its default is taken out of the document, as the writers leave defaults out. config=BASE64 gives settings "
    "whole, config= empty ones. A type whose code holds another record than the entry's settings is refused "
    "unless the same command gives the settings anew (type=DigitalInput config= config.delay=5): settings are "
    "never read as a record they were not written as. Edits apply in order; when one is refused, nothing is "
    "written.\n"
    "\n"
    "Examples:\n"
    "  gcuschema set -o config.bin config.bin 'inputs[id=2].config.delay=50' 'outputs[0].config.frequency=200'\n"
    "  gcuschema set -o edited.json config.json 'maps[id=3].alias=Gear map'\n"
    "  gcuschema set -f json config.bin 'inputs[alias=\"Analog_001\"].config.range=range12V'";

struct SetArguments {
  TypeOption type;
  PairingOptions pairing;
  FromOption from;
  std::string format;  // the input's when not given
  std::string output;
  std::string input;
  std::vector<std::string> edits;
};

document::Format OutputFormat(const std::string& name, document::Format read) {
  if (name == "binary") return document::Format::kBinary;
  if (name == "json") return document::Format::kJson;
  if (name == "text") return document::Format::kText;
  return read;
}

int RunSet(const SetArguments& args) {
  args.type.Resolve();  // a wrong --type is reported before any input is read
  if (args.format == "binary") RefuseBinaryToTerminal(args.output);
  std::vector<document::Assignment> assignments;
  for (const std::string& edit : args.edits) {
    assignments.push_back(AsFailure("", [&] { return document::ParseAssignment(edit); }));
  }
  document::EditOptions options;
  options.format = args.from.Resolve();
  options.pairing = args.pairing.Resolve();
  // The output may be the input itself: it is read whole first, and the
  // output replaces it only once complete.
  const InputFile input = ReadInput(args.input);
  google::protobuf::Arena arena;
  google::protobuf::Message* record = nullptr;
  std::string edited;
  const document::Format read = AsFailure(input.name, [&] {
    return ReadFollowingName(args.type.Resolve(), !args.type.given(), [&](const google::protobuf::Descriptor* as) {
      record = document::NewRecord(as, &arena);
      return document::EditDocument(input.bytes(), record, assignments, &edited, options);
    });
  });
  const document::Format format = OutputFormat(args.format, read);
  if (format == document::Format::kBinary) RefuseBinaryToTerminal(args.output);
  if (format == read) {
    WriteOutput(args.output, edited);
    return kExitOk;
  }
  document::WriteOptions writing;
  writing.pairing = options.pairing;
  writing.type_name = true;  // as decode writes it, so that encode needs no --type
  WriteDocument(args.output, *record, format, writing, input.name);
  return kExitOk;
}

}  // namespace

Command AddSetCommand(CLI::App* app) {
  auto args = std::make_shared<SetArguments>();
  CLI::App* command = app->add_subcommand(
      "set",
      "Edit a document (binary, JSON or text) by field path: PATH=VALUE sets one field, settings of an entry "
      "by their names (inputs[id=2].config.delay=50); everything not edited stays as it was, byte for byte");
  command->footer(std::string(kPaths) + "\n\n" + command->get_footer());
  args->type.AddTo(command);
  args->from.AddTo(command);
  command
      ->add_option("-f,--format", args->format,
                   "Output format: binary, json or text; the input's when not given (converted, the output is "
                   "written whole)")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"binary", "json", "text"}));
  args->pairing.AddTo(command);
  AddOutputOption(command, &args->output);
  command->add_option("DOC", args->input, "Document to edit (- for standard input); -o may name it to edit it in place")
      ->type_name(kFileValue)
      ->required();
  command->add_option("EDIT", args->edits, "PATH=VALUE, one or more, applied in order")
      ->type_name("PATH=VALUE")
      ->required();
  return {command, [args] { return RunSet(*args); }};
}

}  // namespace gcuschema::tool
