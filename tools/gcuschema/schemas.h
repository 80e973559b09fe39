#ifndef GCUSCHEMA_TOOL_SCHEMAS_H
#define GCUSCHEMA_TOOL_SCHEMAS_H

#include <string>

#include <google/protobuf/descriptor.h>

#include <gcuschema/document/pairing.h>

namespace gcuschema::tool {

// One record: its file and syntax, its fields (number, name, type, label)
// in declaration order, its enumerations with their values.
std::string DescribeRecord(const google::protobuf::Descriptor* type);

// Which record each entry kind and type code holds in its `config`: every
// named code of input, output and map entries, the codes paired beyond
// them, and which codes are open.
std::string DescribePairings(const document::PairingCatalogue& pairing);

// "input:DutyInput", "output:5": the record that code holds, then the
// record itself; or that the code is open and how to pair it.
std::string DescribeHeldRecord(const std::string& text, const document::PairingCatalogue& pairing);

}  // namespace gcuschema::tool

#endif
