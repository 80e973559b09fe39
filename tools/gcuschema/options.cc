#include "options.h"

#include <fmt/format.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "failure.h"

namespace gcuschema::tool {

void TypeOption::AddTo(CLI::App* command) {
  option = command
      ->add_option("-t,--type", name,
                   "Record the document holds (see `gcuschema schemas`)")
      ->type_name("RECORD")
      ->capture_default_str();
}

const google::protobuf::Descriptor* TypeOption::Resolve() const {
  try {
    return document::RequireRecord(name);
  } catch (const document::Error& e) {
    throw Failure("--type", e.where(), e.message());
  }
}

void PairingOptions::AddTo(CLI::App* command) {
  command
      ->add_option("--pair", pairs,
                   "Record held in the config of entries of a kind and type code, e.g. "
                   "input:AnalogSwitchInput=AdcSwitchConfiguration or output:5=; kinds: "
                   "input, output, map, driver, handler; an empty record removes the "
                   "pairing (repeatable, applied in order)")
      ->type_name("KIND:CODE=RECORD")
      // One value per occurrence, so that --pair never swallows the input.
      ->allow_extra_args(false);
  command
      ->add_option("--map-table", map_table,
                   "Table record held in the config of every map and linearization, "
                   "e.g. Map3D")
      ->type_name("RECORD");
}

document::PairingCatalogue PairingOptions::Resolve() const {
  document::PairingCatalogue catalogue = document::PairingCatalogue::Standard();
  if (!map_table.empty()) {
    try {
      catalogue.SetMapTable(document::RequireRecord(map_table));
    } catch (const document::Error& e) {
      throw Failure("--map-table", e.where(), e.message());
    }
  }
  for (const std::string& pair : pairs) {
    try {
      catalogue.Apply(pair);
    } catch (const document::Error& e) {
      throw Failure("--pair", e.where(), e.message());
    }
  }
  return catalogue;
}

void AddOutputOption(CLI::App* command, std::string* output) {
  command
      ->add_option("-o,--output", *output,
                   "Write here (through a temporary file renamed when complete) instead "
                   "of standard output")
      ->type_name("OUT");
}

}  // namespace gcuschema::tool
