#ifndef GCUSCHEMA_DOC_INSPECT_H
#define GCUSCHEMA_DOC_INSPECT_H

#include <string>

#include <google/protobuf/message.h>

#include <gcuschema/doc/export.h>
#include <gcuschema/doc/pairing.h>

namespace gcuschema::doc {

// A readable summary of a record: for a ConfigData the counts of inputs and
// outputs by type name, maps, buses with their frames, estimators, units,
// the identity strings and the bytes taken by each section; for a DeviceData
// its identity, its blocks' sizes and its configuration's summary; for a
// calibration its identity and list sizes; for other records their fields.
GCUSCHEMA_DOC_API std::string Inspect(const google::protobuf::Message& record,
                                      const PairingCatalogue& pairing);

}  // namespace gcuschema::doc

#endif
