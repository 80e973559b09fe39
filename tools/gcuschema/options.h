#ifndef GCUSCHEMA_TOOL_OPTIONS_H
#define GCUSCHEMA_TOOL_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <google/protobuf/descriptor.h>

#include <gcuschema/document/io.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::tool {

// Names of the values options and operands take, as their help shows them.
// The bash completion offers values by these names (files, records, pairings),
// so an option given one of them completes with no edit elsewhere; an option
// checked by CLI::IsMember offers its members whatever its name.
inline constexpr char kFileValue[] = "FILE";                // a file to read, - for standard input
inline constexpr char kOutputValue[] = "OUT";               // a file to write, - for standard output
inline constexpr char kRecordValue[] = "RECORD";            // a record of the library by name
inline constexpr char kPairValue[] = "KIND:CODE=RECORD";    // a pairing, as --pair takes it
inline constexpr char kSubjectValue[] = "RECORD|KIND:CODE";  // a record, or an entry kind's type code

// --type RECORD: which record a document is (ConfigData unless given).
struct TypeOption {
  std::string name = "ConfigData";
  const CLI::Option* option = nullptr;

  void AddTo(CLI::App* command);
  // Whether --type was on the command line.
  bool given() const { return option != nullptr && option->count() > 0; }
  // The record's descriptor; Failure naming --type when there is none.
  const google::protobuf::Descriptor* Resolve() const;
};

// --from FORMAT: how the documents a command reads are written (binary,
// json or text); told from each one's content when not given.
struct FromOption {
  std::string name;

  void AddTo(CLI::App* command);
  bool given() const { return !name.empty(); }
  // The format named, or none.
  std::optional<document::Format> Resolve() const;
};

// --pair KIND:CODE=RECORD... and --map-table RECORD: which record each
// entry's `config` holds, on top of the pairings the schema names.
struct PairingOptions {
  std::vector<std::string> pairs;
  std::string map_table;

  void AddTo(CLI::App* command);
  // The standard catalogue, with the map table and then each --pair
  // applied in order; Failure naming the option that is wrong.
  document::PairingCatalogue Resolve() const;
};

// -o OUT: where the result goes (standard output unless given).
void AddOutputOption(CLI::App* command, std::string* output);

// -j/--threads N: how many threads large documents are worked on with;
// more than the cores is taken as one per core.
void AddThreadsOption(CLI::App* command, int* threads);

// -s/--seed S: a seed of 64 bits, given in decimal.
void AddSeedOption(CLI::App* command, std::uint64_t* seed);

}  // namespace gcuschema::tool

#endif
