// gcuschema diff: field-by-field differences of two documents, as lines or
// as an HTML page with the two side by side; exit 1 when they differ.
#include <memory>
#include <string>
#include <vector>

#include <gcuschema/document/diff.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/report.h>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "files.h"
#include "options.h"

namespace gcuschema::tool {
namespace {

struct DiffArguments {
  TypeOption type;
  PairingOptions pairing;
  FromOption from;
  std::string format = "text";
  std::string output;
  std::string old_input;
  std::string new_input;
};

int RunDiff(const DiffArguments& args) {
  args.type.Resolve();  // a wrong --type is reported before any input is read
  const document::ReadOptions reading = InputReading(args.from.Resolve(), args.pairing.Resolve());
  RefuseOverwritingInputs(args.output, {args.old_input, args.new_input});
  if (IsStandardStream(args.old_input) && IsStandardStream(args.new_input)) {
    throw Failure("<stdin>", "", "only one of the two documents can come from standard input");
  }
  const LoadedRecord a = Load(args.old_input, args.type, reading);
  const LoadedRecord b = Load(args.new_input, args.type, reading);
  // The path of an error leads to the same place in both documents.
  const std::vector<document::Difference> differences =
      AsFailure(InputName(args.old_input) + " and " + InputName(args.new_input),
                [&] { return document::Diff(*a, *b, {reading.pairing}); });
  std::string report;
  if (args.format == "html") {
    document::DiffReportOptions options;
    options.pairing = reading.pairing;
    options.old_title = InputName(args.old_input);
    options.new_title = InputName(args.new_input);
    report = AsFailure(InputName(args.old_input) + " and " + InputName(args.new_input),
                       [&] { return document::DiffReport(*a, *b, differences, options); });
  } else {
    report = args.format == "json" ? document::DifferencesAsJson(differences)
                                   : document::FormatDifferences(differences);
    if (!report.empty() && report.back() != '\n') report += '\n';
  }
  WriteOutput(args.output, report);
  return differences.empty() ? kExitOk : kExitFindings;
}

}  // namespace

Command AddDiffCommand(CLI::App* app) {
  auto args = std::make_shared<DiffArguments>();
  CLI::App* command = app->add_subcommand(
      "diff",
      "Compare two documents (binary, JSON or text) field by field, settings expanded, entries matched and "
      "named by id: \"~ path: old -> new\", \"+ path: new\", \"- path: old\", \"~ list reordered: moves\"; "
      "with --format json the same for programs, with --format html one self-contained HTML page showing the "
      "two side by side with the differences marked; exit 0 when equal, 1 when they differ");
  args->type.AddTo(command);
  args->pairing.AddTo(command);
  args->from.AddTo(command);
  command
      ->add_option("-f,--format", args->format,
                   "Output format: text (one line per difference), json (an array of objects: path, kind, old, "
                   "new, entries) or html (a page, the documents side by side)")
      ->check(CLI::IsMember({"text", "json", "html"}))
      ->capture_default_str();
  AddOutputOption(command, &args->output);
  command->add_option("A", args->old_input, "Old document (standard input if -)")->type_name(kFileValue)->required();
  command->add_option("B", args->new_input, "New document (standard input if -)")->type_name(kFileValue)->required();
  return {command, [args] { return RunDiff(*args); }};
}

}  // namespace gcuschema::tool
