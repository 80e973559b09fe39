// An entry's settings and its type code, set and read together: the record an
// entry's `config` holds is the one the pairing gives for its type code, so
// neither is changed without the other, and settings are read only as the
// record the code names.
#ifndef GCUSCHEMA_DOCUMENT_SETTINGS_H
#define GCUSCHEMA_DOCUMENT_SETTINGS_H

#include <type_traits>

#include <google/protobuf/message.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/export.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document {

// Encodes `settings` into the entry's `config` and sets its `type` to the
// code the pairing gives for the settings' record: the entry's own code when
// it already holds that record (a map keeps its type: every map type holds
// Map3D), otherwise the one code of the entry's kind that holds it.
// Throws Error, leaving the entry as it was, when no code of the kind holds
// the record (driver and handler codes hold none until a catalogue pairs
// them), or several do and the entry's own code is none of them.
GCUSCHEMA_DOCUMENT_API void SetSettings(Input& entry, const google::protobuf::Message& settings,
                                        const PairingCatalogue& pairing = PairingCatalogue::Standard());
GCUSCHEMA_DOCUMENT_API void SetSettings(Output& entry, const google::protobuf::Message& settings,
                                        const PairingCatalogue& pairing = PairingCatalogue::Standard());
GCUSCHEMA_DOCUMENT_API void SetSettings(Map& entry, const google::protobuf::Message& settings,
                                        const PairingCatalogue& pairing = PairingCatalogue::Standard());
GCUSCHEMA_DOCUMENT_API void SetSettings(Driver& entry, const google::protobuf::Message& settings,
                                        const PairingCatalogue& pairing = PairingCatalogue::Standard());
GCUSCHEMA_DOCUMENT_API void SetSettings(CanbusEntityHandler& entry, const google::protobuf::Message& settings,
                                        const PairingCatalogue& pairing = PairingCatalogue::Standard());

// Reads the entry's settings into `settings` (replacing what it held) once
// the entry's type code is found to hold that record. Throws Error, leaving
// `settings` as it was, naming the entry's code and the record it holds
// when that is another record, or saying the code holds none, or that the
// bytes do not read as the record. Settings that read but are not in the
// encoding the record writes (fields out of order, repeated) are read.
GCUSCHEMA_DOCUMENT_API void ReadSettings(const Input& entry, google::protobuf::Message* settings,
                                         const PairingCatalogue& pairing = PairingCatalogue::Standard());
GCUSCHEMA_DOCUMENT_API void ReadSettings(const Output& entry, google::protobuf::Message* settings,
                                         const PairingCatalogue& pairing = PairingCatalogue::Standard());
GCUSCHEMA_DOCUMENT_API void ReadSettings(const Map& entry, google::protobuf::Message* settings,
                                         const PairingCatalogue& pairing = PairingCatalogue::Standard());
GCUSCHEMA_DOCUMENT_API void ReadSettings(const Driver& entry, google::protobuf::Message* settings,
                                         const PairingCatalogue& pairing = PairingCatalogue::Standard());
GCUSCHEMA_DOCUMENT_API void ReadSettings(const CanbusEntityHandler& entry, google::protobuf::Message* settings,
                                         const PairingCatalogue& pairing = PairingCatalogue::Standard());

// The entry's settings as `Record`: SettingsOf<AdcConfiguration>(input).
// Throws Error as ReadSettings does.
template <typename Record, typename Entry>
Record SettingsOf(const Entry& entry, const PairingCatalogue& pairing = PairingCatalogue::Standard()) {
  static_assert(std::is_base_of_v<google::protobuf::Message, Record>,
                "SettingsOf reads settings into a record class of the library");
  Record settings;
  ReadSettings(entry, &settings, pairing);
  return settings;
}

}  // namespace gcuschema::document

#endif
