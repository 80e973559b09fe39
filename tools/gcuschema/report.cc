// gcuschema report: one self-contained HTML page about a document, to look
// at rather than read: its entries and settings in tables, lint findings
// beside them, every map table drawn, a calibration against its limits.
#include <memory>
#include <optional>
#include <string>

#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>
#include <gcuschema/document/report.h>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "files.h"
#include "options.h"

namespace gcuschema::tool {
namespace {

struct ReportArguments {
  TypeOption type;
  PairingOptions pairing;
  FromOption from;
  std::string limits;
  std::string output;
  std::string input;
};

int RunReport(const ReportArguments& args) {
  const google::protobuf::Descriptor* type = args.type.Resolve();
  document::ReportOptions options;
  options.pairing = args.pairing.Resolve();
  const document::ReadOptions reading = InputReading(args.from.Resolve(), options.pairing);
  RefuseOverwritingInputs(args.output, {args.input, args.limits});
  std::optional<LoadedRecord> limits;
  if (!args.limits.empty()) {
    // A template is shown against a calibration: that is what the document is.
    const google::protobuf::Descriptor* calibration = document::RequireRecord("CalibrationData");
    if (!args.type.given()) type = calibration;
    if (type != calibration) {
      throw Failure("--template", "", "a limits template is shown against a CalibrationData, but --type names " +
                                          type->full_name() + "; leave --type out or give CalibrationData");
    }
    if (IsStandardStream(args.limits) && IsStandardStream(args.input)) {
      throw Failure("<stdin>", "", "only one of the template and the calibration can come from standard input");
    }
    limits.emplace(Load(args.limits, document::RequireRecord("CalibrationTemplateData"), reading));
    options.limits = limits->get();
  }
  const LoadedRecord record = limits ? Load(args.input, type, reading) : Load(args.input, args.type, reading);
  options.title = InputName(args.input);
  // Made whole before anything is written: a document that cannot be
  // shown leaves no page behind.
  const std::string page = AsFailure(InputName(args.input), [&] { return document::Report(*record, options); });
  WriteOutput(args.output, page);
  return kExitOk;
}

}  // namespace

Command AddReportCommand(CLI::App* app) {
  auto args = std::make_shared<ReportArguments>();
  CLI::App* command = app->add_subcommand(
      "report",
      "Write one self-contained HTML page about a document (binary, JSON or text): its summary, its entries "
      "kind by kind with their settings field by field, lint findings beside the entries they name, every map "
      "and linearization table drawn (a Map2D as a curve, a Map3D as a heat map), and with --template each "
      "calibration value against its limits; no script and nothing fetched");
  args->type.AddTo(command);
  args->pairing.AddTo(command);
  command
      ->add_option("--template", args->limits,
                   "Limits template (a CalibrationTemplateData, read as the document is): each value of the "
                   "calibration is shown within or outside its bounds; the document is then a CalibrationData "
                   "unless --type says otherwise")
      ->type_name(kFileValue);
  args->from.AddTo(command);
  AddOutputOption(command, &args->output);
  command->add_option("IN", args->input, "Document (standard input if -)")->type_name(kFileValue)->required();
  return {command, [args] { return RunReport(*args); }};
}

}  // namespace gcuschema::tool
