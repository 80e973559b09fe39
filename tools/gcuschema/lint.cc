// gcuschema lint: what the records themselves do not check; exit 1 when an
// error is found.
#include <optional>
#include <string>

#include <fmt/format.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/lint.h>
#include <gcuschema/document/records.h>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "files.h"
#include "options.h"

namespace gcuschema::tool {
namespace {

// Findings are written out in blocks of about this size as they come.
constexpr std::size_t kFlushAt = 64 * 1024;

struct LintArguments {
  TypeOption type;
  PairingOptions pairing;
  FromOption from;
  std::string limits;
  bool quiet = false;
  std::string input;
};

void AppendFinding(const document::Finding& finding, std::string* out) {
  fmt::format_to(std::back_inserter(*out), "{}: {}: {}{} [{}]\n", finding.path.empty() ? "(document)" : finding.path,
                 finding.severity == document::Severity::kError ? "error" : "warning", finding.message,
                 RemedyHint(finding.remedy), finding.rule);
}

std::string Counted(std::size_t n, const char* one, const char* many) {
  return fmt::format("{} {}", n, n == 1 ? one : many);
}

// "ok: 0 errors, 0 warnings"; "failed: 2 errors, 1 warning".
std::string Summary(const document::LintCounts& counts) {
  return fmt::format("{}: {}, {}\n", counts.errors == 0 ? "ok" : "failed", Counted(counts.errors, "error", "errors"),
                     Counted(counts.warnings, "warning", "warnings"));
}

// The calibration checked against a template. The two records share every
// field number, so a template given in its place reads as a calibration
// (its limits as unknown fields) or, in JSON and text, fails on the first
// limit's name: either way it is refused as what it is.
LoadedRecord LoadCalibration(const std::string& path, const google::protobuf::Descriptor* type,
                             const document::ReadOptions& reading) {
  const auto refuse = [&](const std::string& evidence) {
    return Failure(InputName(path), "",
                   "is a CalibrationTemplateData, not the CalibrationData to check: " + evidence +
                       " is a field only a template has; give it after --template and the calibration as the "
                       "document");
  };
  std::optional<LoadedRecord> record;
  try {
    record.emplace(Load(path, type, reading, /*keep_input=*/true));
  } catch (const Failure&) {
    // Standard input cannot be read twice, and must not be: the failure stands.
    if (IsStandardStream(path)) throw;
    std::optional<LoadedRecord> as_template;
    try {
      as_template.emplace(Load(path, document::RequireRecord("CalibrationTemplateData"), reading));
    } catch (const Failure&) {
    }
    std::string evidence;
    if (as_template && document::CalibrationRecordHeld(**as_template, &evidence) != type) throw refuse(evidence);
    throw;
  }
  std::string evidence;
  if (document::CalibrationRecordHeld(**record, &evidence) != type) throw refuse(evidence);
  return std::move(*record);
}

int RunLint(const LintArguments& args) {
  const google::protobuf::Descriptor* type = args.type.Resolve();
  document::LintOptions options;
  options.pairing = args.pairing.Resolve();
  const document::ReadOptions reading = InputReading(args.from.Resolve(), options.pairing);
  std::optional<LoadedRecord> limits;
  if (!args.limits.empty()) {
    // A template checks a calibration: that is what the document is.
    const google::protobuf::Descriptor* calibration = document::RequireRecord("CalibrationData");
    if (!args.type.given()) type = calibration;
    if (type != calibration) {
      throw Failure("--template", "", "a limits template checks a CalibrationData, but --type names " +
                                          type->full_name() + "; leave --type out or give CalibrationData");
    }
    if (IsStandardStream(args.limits) && IsStandardStream(args.input)) {
      throw Failure("<stdin>", "", "only one of the template and the calibration can come from standard input");
    }
    limits.emplace(Load(args.limits, document::RequireRecord("CalibrationTemplateData"), reading));
    options.limits = limits->get();
    if (document::CalibrationRecordHeld(**limits) == calibration) {
      throw Failure(InputName(args.limits), "",
                    "is a CalibrationData, not a limits template: none of its entries sets a limit or a "
                    "calibration mode; give the CalibrationTemplateData after --template and the calibration as the "
                    "document");
    }
  }
  const LoadedRecord record = limits ? LoadCalibration(args.input, type, reading)
                                     : Load(args.input, args.type, reading, /*keep_input=*/true);
  options.encoded = record.encoded();

  Destination output("");
  std::string block;
  const auto flush = [&] {
    output.Write(block);
    block.clear();
  };
  document::LintCounts counts;
  try {
    counts = AsFailure(InputName(args.input), [&] {
      return document::Lint(*record, options, [&](const document::Finding& finding) {
        AppendFinding(finding, &block);
        if (block.size() >= kFlushAt) flush();
      });
    });
  } catch (const Failure&) {
    flush();  // the findings made before the failure
    throw;
  }
  if (!args.quiet) block += Summary(counts);
  flush();
  output.Commit();
  return counts.errors > 0 ? kExitFindings : kExitOk;
}

}  // namespace

Command AddLintCommand(CLI::App* app) {
  auto args = std::make_shared<LintArguments>();
  CLI::App* command = app->add_subcommand(
      "lint",
      "Check a document (binary, JSON or text) for what the records do not enforce; one finding per "
      "line as found, its rule in brackets, then a summary line; exit 1 when there is an error, 0 when "
      "clean or only warnings. Rules: document-not-canonical (bytes that writing the document back would "
      "change), count-mismatch (a count beside its list), unknown-type and unknown-enum-value (values "
      "outside their enumeration), config-unreadable, config-type-mismatch and config-not-canonical "
      "(settings that do not read as the record their type code holds, that are the record another code "
      "holds, or that writing back would change), duplicate-id, shared-pin (two inputs, or two outputs, "
      "on one pin), dangling-reference, inverted-range (a range given upside down), map-axis-order and "
      "map-size (a table whose breakpoints do not rise along an axis, or whose values do not fill it), "
      "out-of-limits and no-limits (a calibration against --template), unknown-field");
  args->type.AddTo(command);
  args->pairing.AddTo(command);
  command
      ->add_option("--template", args->limits,
                   "Limits template (a CalibrationTemplateData, read as the document is): every value of the "
                   "calibration outside its template's bounds is an error; the document is then "
                   "a CalibrationData unless --type says otherwise")
      ->type_name(kFileValue);
  command->add_flag("-q,--quiet", args->quiet, "No summary line: only the findings");
  args->from.AddTo(command);
  command->add_option("IN", args->input, "Document (standard input if -)")->type_name(kFileValue)->required();
  return {command, [args] { return RunLint(*args); }};
}

}  // namespace gcuschema::tool
