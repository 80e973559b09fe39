// Private to the document library: a record shown field by field in the
// pages of report.h, settings in `config` read through the walk.
#ifndef GCUSCHEMA_DOCUMENT_REPORT_FIELDS_H
#define GCUSCHEMA_DOCUMENT_REPORT_FIELDS_H

#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include "walk.h"

namespace gcuschema::document::internal {

// One field shown: where it is, relative to the record shown
// ("range", "standardInputFrames[1].messageId",
// "config<AdcConfiguration>.range" for settings inside), and its value.
struct FieldRow {
  std::string path;
  std::string value;
};

// A value as the pages show it: numbers as text reads them back (a NaN with
// its bits, as diff shows it), enumerations by name, strings as they are,
// bytes in hex (long ones by their size).
std::string ValueText(const google::protobuf::Message& record, const google::protobuf::FieldDescriptor* field,
                      int index);

// Every field `record` declares, in the order of its schema file (values
// left at their default included, for a record shown is shown whole; a list
// of numbers on one row; records inside field by field), then its unknown
// fields ("#40"). A `config` holding settings is read through `walk`
// (standing at `record`; `side` as in Walk::Decide) and shown as the fields
// of its record under "config<Record>", or as one row saying why it stays
// bytes. Throws Error when settings nest deeper than the walk goes.
void FieldRows(const google::protobuf::Message& record, Walk& walk, int side, std::vector<FieldRow>* rows,
               const std::string& prefix = {});

// The rows of one field of `record`, as FieldRows shows it.
void FieldRowsOf(const google::protobuf::Message& record, const google::protobuf::FieldDescriptor* field, Walk& walk,
                 int side, std::vector<FieldRow>* rows, const std::string& prefix = {});

// What stays of settings that are not shown as their record: "12 bytes,
// paired with no record", "12 bytes, not readable as AdcConfiguration".
std::string SettingsAsBytes(const Settings& settings, std::size_t size);

}  // namespace gcuschema::document::internal

#endif
