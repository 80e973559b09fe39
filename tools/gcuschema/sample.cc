// gcuschema sample: a deterministic sample document, encoded.
#include <cstdint>
#include <memory>
#include <string>

#include <gcuschema/document/samples.h>

#include "commands.h"
#include "document.h"
#include "failure.h"
#include "files.h"
#include "options.h"

namespace gcuschema::tool {
namespace {

struct SampleArguments {
  TypeOption type;
  int inputs = document::SampleOptions{}.inputs;
  std::uint64_t seed = document::SampleOptions{}.seed;
  std::string output;
};

int RunSample(const SampleArguments& args) {
  RefuseBinaryToTerminal(args.output);
  const google::protobuf::Descriptor* type = args.type.Resolve();
  document::SampleOptions options;
  options.inputs = args.inputs;
  options.seed = args.seed;
  std::unique_ptr<google::protobuf::Message> record = document::Sample(type, options);
  if (record == nullptr) {
    throw Failure("--type", "", "no sample can be made of " + type->full_name());
  }
  WriteDocument(args.output, *record, document::Format::kBinary, {}, "");
  return kExitOk;
}

}  // namespace

Command AddSampleCommand(CLI::App* app) {
  auto args = std::make_shared<SampleArguments>();
  CLI::App* command = app->add_subcommand(
      "sample",
      "Write an encoded sample document: the same options give the same bytes on every run");
  args->type.AddTo(command);
  command
      ->add_option("-n,--inputs", args->inputs,
                   "Number of inputs; outputs, maps, buses and estimators follow in proportion")
      ->check(CLI::Range(0, 100000))
      ->capture_default_str();
  AddSeedOption(command, &args->seed);
  AddOutputOption(command, &args->output);
  return {command, [args] { return RunSample(*args); }};
}

}  // namespace gcuschema::tool
