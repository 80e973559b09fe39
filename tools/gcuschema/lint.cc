// gcuschema lint: what the records themselves do not check; exit 1 when an
// error is found.
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include <gcuschema/document/lint.h>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "io.h"
#include "options.h"

namespace gcuschema::tool {
namespace {

struct LintArguments {
  TypeOption type;
  PairingOptions pairing;
  std::string from;
  std::string input;
};

std::string FormatFinding(const document::Finding& finding) {
  return fmt::format("{}: {}: {} [{}]\n", finding.path.empty() ? "(document)" : finding.path,
                     finding.severity == document::Severity::kError ? "error" : "warning",
                     finding.message, finding.rule);
}

int RunLint(const LintArguments& args) {
  args.type.Resolve();  // a wrong --type is reported before any input is read
  document::PairingCatalogue pairing = args.pairing.Resolve();
  std::unique_ptr<google::protobuf::Message> record = LoadDocument(args.input, args.type, args.from, pairing);
  std::vector<document::Finding> findings = document::Lint(*record, pairing);
  std::string report;
  for (const document::Finding& finding : findings) report += FormatFinding(finding);
  WriteOutput("", report);
  return document::HasErrors(findings) ? kExitFindings : kExitOk;
}

}  // namespace

Command AddLintCommand(CLI::App* app) {
  auto args = std::make_shared<LintArguments>();
  CLI::App* command = app->add_subcommand(
      "lint",
      "Check a document (binary, JSON or text) for what the records do not enforce (counts, type "
      "codes, unreadable settings, duplicate identifiers, dangling references); one "
      "finding per line; exit 1 when there is an error, 0 when clean or only warnings");
  args->type.AddTo(command);
  args->pairing.AddTo(command);
  AddFromOption(command, &args->from);
  command->add_option("IN", args->input, "Document (standard input if -)")->required();
  return {command, [args] { return RunLint(*args); }};
}

}  // namespace gcuschema::tool
