// gcuschema schemas: the pairing of type codes with records and the schema
// files, one record's fields and enumerations, the record a type code holds,
// or a JSON Schema of a record's JSON.
#include <algorithm>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <google/protobuf/descriptor.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/json_schema.h>
#include <gcuschema/document/records.h>

#include "commands.h"
#include "failure.h"
#include "files.h"
#include "options.h"
#include "schemas.h"

namespace gcuschema::tool {
namespace {

namespace pb = google::protobuf;

struct SchemasArguments {
  PairingOptions pairing;
  bool json_schema = false;
  std::string subject;
};

const char* SyntaxName(const pb::FileDescriptor* file) {
  return file->syntax() == pb::FileDescriptor::SYNTAX_PROTO3 ? "proto3" : "proto2";
}

void CollectRecordNames(const pb::Descriptor* type, std::vector<std::string>* names) {
  names->push_back(type->full_name());
  for (int i = 0; i < type->nested_type_count(); ++i) CollectRecordNames(type->nested_type(i), names);
}

std::string ListFiles() {
  std::string out;
  for (const std::string& name : document::SchemaFileNames()) {
    const pb::FileDescriptor* file = document::FindSchemaFile(name);
    std::vector<std::string> records;
    for (int i = 0; file != nullptr && i < file->message_type_count(); ++i) {
      CollectRecordNames(file->message_type(i), &records);
    }
    out += fmt::format("  {} ({}): {}\n", name, file != nullptr ? SyntaxName(file) : "?",
                       fmt::join(records, ", "));
  }
  return out;
}

std::string TypeName(const pb::FieldDescriptor* field) {
  if (const pb::Descriptor* record = field->message_type()) return record->full_name();
  if (const pb::EnumDescriptor* enumeration = field->enum_type()) return enumeration->full_name();
  return field->type_name();
}

// As the schema declares it: proto3 fields without a label are "singular".
const char* LabelName(const pb::FieldDescriptor* field) {
  if (field->is_repeated()) return "repeated";
  if (field->is_required()) return "required";
  if (field->file()->syntax() != pb::FileDescriptor::SYNTAX_PROTO3 || field->has_optional_keyword()) {
    return "optional";
  }
  return "singular";
}

std::string DescribeEnum(const pb::EnumDescriptor* enumeration) {
  std::string out = fmt::format("  enum {}\n", enumeration->full_name());
  for (int i = 0; i < enumeration->value_count(); ++i) {
    const pb::EnumValueDescriptor* value = enumeration->value(i);
    out += fmt::format("    {:>5}  {}\n", value->number(), value->name());
  }
  return out;
}

}  // namespace

std::string DescribeRecord(const pb::Descriptor* type) {
  std::string out = fmt::format("{} ({}, {})\n", type->full_name(), type->file()->name(),
                                SyntaxName(type->file()));
  // Columns as wide as their longest entry, so the table reads down.
  std::size_t name_width = 4, type_width = 4;
  for (int i = 0; i < type->field_count(); ++i) {
    name_width = std::max(name_width, type->field(i)->name().size());
    type_width = std::max(type_width, TypeName(type->field(i)).size());
  }
  out += fmt::format("  {:>5}  {:<{}}  {:<{}}  {}\n", "no.", "name", name_width, "type",
                     type_width, "label");
  for (int i = 0; i < type->field_count(); ++i) {
    const pb::FieldDescriptor* field = type->field(i);
    out += fmt::format("  {:>5}  {:<{}}  {:<{}}  {}\n", field->number(), field->name(), name_width,
                       TypeName(field), type_width, LabelName(field));
  }
  for (int i = 0; i < type->enum_type_count(); ++i) out += DescribeEnum(type->enum_type(i));
  for (int i = 0; i < type->nested_type_count(); ++i) {
    out += fmt::format("  nested record {}\n", type->nested_type(i)->full_name());
  }
  return out;
}

namespace {

const pb::Descriptor* RecordNamed(const std::string& name) {
  return AsFailure("", [&] { return document::RequireRecord(name); });
}

int RunSchemas(const SchemasArguments& args) {
  const document::PairingCatalogue pairing = args.pairing.Resolve();
  std::string out;
  if (args.json_schema) {
    document::JsonSchemaOptions options;
    options.pairing = pairing;
    out = document::JsonSchemaText(RecordNamed(args.subject.empty() ? "ConfigData" : args.subject), options) + "\n";
  } else if (args.subject.empty()) {
    out = DescribePairings(pairing) + "\nSchema files and their records:\n" + ListFiles();
  } else if (args.subject.find(':') != std::string::npos) {
    out = DescribeHeldRecord(args.subject, pairing);
  } else {
    out = DescribeRecord(RecordNamed(args.subject));
  }
  WriteOutput("", out);
  return kExitOk;
}

}  // namespace

Command AddSchemasCommand(CLI::App* app) {
  auto args = std::make_shared<SchemasArguments>();
  CLI::App* command = app->add_subcommand(
      "schemas",
      "Without an argument, which record each entry kind and type code holds in its config, "
      "then the schema files with their records; with a record, its fields (number, name, "
      "type, label) and enumerations; with KIND:CODE (input:DutyInput, output:5), the record "
      "that code holds and its fields");
  command->add_flag("--json-schema", args->json_schema,
                    "Write a JSON Schema (draft 2020-12) of the record's JSON as decode writes it "
                    "(ConfigData unless RECORD is given), for editors that complete and check JSON");
  args->pairing.AddTo(command);
  command->add_option("RECORD", args->subject,
                      "Record to show (ConfigData, CalibrationData.AdcCalibrationData) or type code "
                      "(input:DutyInput, output:5, map:Point3dMap)")
      ->type_name(kSubjectValue);
  return {command, [args] { return RunSchemas(*args); }};
}

}  // namespace gcuschema::tool
