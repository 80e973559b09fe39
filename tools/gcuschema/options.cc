#include "options.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <thread>

#include <fmt/format.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "failure.h"

namespace gcuschema::tool {
namespace {

// A number written in decimal digits only (no sign, no base prefix: CLI11
// itself would read "010" as octal), or nothing; `too_large` tells the
// digits that do not fit 64 bits from what is not a number at all.
std::optional<std::uint64_t> ParseDecimal(const std::string& text, bool* too_large) {
  *too_large = false;
  if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc::result_out_of_range) *too_large = true;
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

// What the library takes for "one per core".
unsigned CoreCount() { return std::max(1u, std::thread::hardware_concurrency()); }

}  // namespace

void TypeOption::AddTo(CLI::App* command) {
  option = command
      ->add_option("-t,--type", name,
                   "Record the document holds (see `gcuschema schemas`); without it, JSON that "
                   "names its record in a leading \"@type\" is read as that record")
      ->type_name(kRecordValue)
      ->capture_default_str();
}

const google::protobuf::Descriptor* TypeOption::Resolve() const {
  return AsFailure("--type", [&] { return document::RequireRecord(name); });
}

void FromOption::AddTo(CLI::App* command) {
  command
      ->add_option("--from", name,
                   "How the input is written: binary (encoded), json or text (protobuf text "
                   "format); told from the content when not given")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"binary", "json", "text"}));
}

std::optional<document::Format> FromOption::Resolve() const {
  if (name == "binary") return document::Format::kBinary;
  if (name == "json") return document::Format::kJson;
  if (name == "text") return document::Format::kText;
  return std::nullopt;
}

void PairingOptions::AddTo(CLI::App* command) {
  command
      ->add_option("--pair", pairs,
                   "Record held in the config of entries of a kind and type code, e.g. "
                   "input:AnalogSwitchInput=AdcSwitchConfiguration or output:5=; kinds: "
                   "input, output, map, driver, handler; an empty record removes the "
                   "pairing (repeatable, applied in order)")
      ->type_name(kPairValue)
      // One value per occurrence, so that --pair never swallows the input.
      ->allow_extra_args(false);
  command
      ->add_option("--map-table", map_table,
                   "Table record held in the config of every map and linearization, "
                   "e.g. Map3D")
      ->type_name(kRecordValue);
}

document::PairingCatalogue PairingOptions::Resolve() const {
  document::PairingCatalogue catalogue = document::PairingCatalogue::Standard();
  if (!map_table.empty()) {
    AsFailure("--map-table", [&] { catalogue.SetMapTable(document::RequireRecord(map_table)); });
  }
  for (const std::string& pair : pairs) AsFailure("--pair", [&] { catalogue.Apply(pair); });
  return catalogue;
}

void AddOutputOption(CLI::App* command, std::string* output) {
  // An empty name is refused rather than taken for standard output: it is
  // most often a shell variable that was never set (-o "$OUT").
  const auto named = [](const std::string& value) -> std::string {
    return value.empty() ? "is empty; give a file name, or - for standard output" : "";
  };
  command
      ->add_option("-o,--output", *output,
                   "Write here (through a temporary file renamed when complete) instead "
                   "of standard output (-)")
      ->type_name(kOutputValue)
      ->check(CLI::Validator(named, ""));
}

void AddThreadsOption(CLI::App* command, int* threads) {
  // More threads than cores cannot go faster, and each costs memory; so
  // the count is capped here, where it is still a string, and no later
  // arithmetic on it can overflow.
  const auto cap = [](std::string& value) -> std::string {
    bool too_large = false;
    const std::optional<std::uint64_t> count = ParseDecimal(value, &too_large);
    if (!count && !too_large) {
      return fmt::format("must be 0 (one per core) or a number of threads, not {}", value);
    }
    value = std::to_string(too_large ? CoreCount() : std::min<std::uint64_t>(*count, CoreCount()));
    return "";
  };
  command
      ->add_option("-j,--threads", *threads,
                   "Threads for large documents, at most one per core (0, or more than the "
                   "cores: one per core); the output does not depend on it")
      ->type_name("N")
      ->transform(CLI::Validator(cap, ""))
      ->capture_default_str();
}

void AddSeedOption(CLI::App* command, std::uint64_t* seed) {
  const auto check = [](std::string& value) -> std::string {
    bool too_large = false;
    const std::optional<std::uint64_t> number = ParseDecimal(value, &too_large);
    if (!number) return fmt::format("must be an integer from 0 to {}, not {}", UINT64_MAX, value);
    value = std::to_string(*number);
    return "";
  };
  command->add_option("-s,--seed", *seed, "Seed of the sample's values, 0 to 2^64-1")
      ->type_name("S")
      ->transform(CLI::Validator(check, ""))
      ->capture_default_str();
}

}  // namespace gcuschema::tool
