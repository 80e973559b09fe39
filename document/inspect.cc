#include <gcuschema/document/inspect.h>

#include <cstdint>
#include <iomanip>
#include <map>
#include <memory>
#include <sstream>
#include <string>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/stubs/strutil.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/wire_format.h>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>

#include "config_slots.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;

// Long lists (buses, routers, estimators) show this many lines, then a tally.
constexpr int kListed = 8;

std::string Plural(std::size_t n, const char* one, const char* many) {
  return std::to_string(n) + " " + (n == 1 ? one : many);
}

std::string ByteCount(std::size_t n) { return Plural(n, "byte", "bytes"); }

// What a field takes in its record's encoding: tags, lengths and contents.
std::size_t Section(const pb::Message& record, const char* name) {
  const pb::FieldDescriptor* field = record.GetDescriptor()->FindFieldByName(name);
  return field == nullptr ? 0 : pb::internal::WireFormat::FieldByteSize(field, record);
}

std::string Quoted(const std::string& text) { return "\"" + pb::CEscape(text) + "\""; }

std::string EnumName(const pb::EnumDescriptor* type, int value) {
  const pb::EnumValueDescriptor* named = type->FindValueByNumber(value);
  return named != nullptr ? named->name() + " (" + std::to_string(value) + ")"
                          : std::to_string(value) + " (not a " + type->name() + " value)";
}

void Indent(std::ostream& out, const std::string& text, const std::string& indent) {
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) out << indent << line << '\n';
}

// One line per type code in use: its name, how many entries, the record
// their settings are read as, and the bytes the settings take.
template <typename Entry>
void ByType(std::ostream& out, const pb::RepeatedPtrField<Entry>& entries, const pb::EnumDescriptor* names,
            EntryKind kind, const PairingCatalogue& pairing, const std::string& indent) {
  struct Tally {
    std::size_t count = 0;
    std::size_t settings = 0;
  };
  std::map<int, Tally> tallies;
  for (const Entry& entry : entries) {
    Tally& tally = tallies[entry.type()];
    ++tally.count;
    tally.settings += entry.config().size();
  }
  for (const auto& [code, tally] : tallies) {
    const pb::Descriptor* record = pairing.Find(kind, code);
    out << indent << std::left << std::setw(26) << EnumName(names, code) << std::right << std::setw(7)
        << tally.count << "  " << std::left << std::setw(34)
        << (record != nullptr ? record->full_name() : std::string("(opaque settings)")) << std::right
        << "settings " << ByteCount(tally.settings) << '\n';
  }
}

void Bus(std::ostream& out, const Canbus& bus, const std::string& indent) {
  out << indent << "bus " << bus.canbusid() << ": " << bus.baudrate() << " bit/s";
  if (bus.fdenable()) out << ", FD " << bus.fdbaudrate() << " bit/s";
  if (bus.enabletermination()) out << ", terminated";
  out << "; frames in " << bus.standardinputframes_size() << " standard + " << bus.extendedinputframes_size()
      << " extended, out " << bus.standardoutputframes_size() << " standard + "
      << bus.extendedoutputframes_size() << " extended; "
      << Plural(static_cast<std::size_t>(bus.entityhandler_size()), "handler", "handlers") << '\n';
}

void Config(std::ostream& out, const ConfigData& config, const PairingCatalogue& pairing,
            const std::string& indent) {
  const std::string in = indent + "  ";
  out << indent << "ConfigData: " << ByteCount(config.ByteSizeLong()) << '\n';
  out << in << "version: " << config.version() << '\n';
  out << in << "gcuNo: " << Quoted(config.gcuno()) << '\n';
  out << in << "deviceDescription: " << Quoted(config.devicedescription()) << '\n';
  // The password is shown by its length only: a summary is often shared.
  out << in << "password: "
      << (config.password().empty() ? std::string("none")
                                    : "set, " + Plural(config.password().size(), "byte", "bytes"))
      << '\n';

  out << in << "inputs: " << config.inputs_size() << ", " << ByteCount(Section(config, "inputs")) << '\n';
  ByType(out, config.inputs(), Input_Type_descriptor(), EntryKind::kInput, pairing, in + "  ");
  int linearized = 0;
  for (const Input& input : config.inputs()) linearized += input.has_linearization() ? 1 : 0;
  if (linearized > 0) out << in << "  with a linearization: " << linearized << '\n';

  out << in << "outputs: " << config.outputs_size() << ", " << ByteCount(Section(config, "outputs")) << '\n';
  ByType(out, config.outputs(), Output_Type_descriptor(), EntryKind::kOutput, pairing, in + "  ");

  out << in << "maps: " << config.maps_size() << ", " << ByteCount(Section(config, "maps")) << '\n';
  std::map<int, int> map_types;
  for (const ::Map& map : config.maps()) ++map_types[map.type()];
  for (const auto& [code, count] : map_types) {
    const pb::Descriptor* record = pairing.Find(EntryKind::kMap, code);
    out << in << "  " << std::left << std::setw(26) << EnumName(Map_MapType_descriptor(), code) << std::right
        << std::setw(7) << count << "  " << (record != nullptr ? record->full_name() : "(opaque table)") << '\n';
  }

  out << in << "drivers: " << config.drivers_size() << ", " << ByteCount(Section(config, "drivers")) << '\n';

  out << in << "canbus: " << config.canbus_size() << ", " << ByteCount(Section(config, "canbus")) << '\n';
  for (int i = 0; i < config.canbus_size() && i < kListed; ++i) Bus(out, config.canbus(i), in + "  ");
  if (config.canbus_size() > kListed) out << in << "  ... and " << config.canbus_size() - kListed << " more\n";

  out << in << "canbusRouter: " << config.canbusrouter_size() << ", "
      << ByteCount(Section(config, "canbusRouter")) << '\n';
  for (int i = 0; i < config.canbusrouter_size() && i < kListed; ++i) {
    const CanbusRouter& router = config.canbusrouter(i);
    out << in << "  bus " << router.sourcecanbusid() << " -> bus " << router.destinationcanbusid() << '\n';
  }
  if (config.canbusrouter_size() > kListed) {
    out << in << "  ... and " << config.canbusrouter_size() - kListed << " more\n";
  }

  out << in << "canObjectCount: " << config.canobjectcount() << '\n';

  out << in << "estimationData: " << config.estimationdata_size() << ", "
      << ByteCount(Section(config, "estimationData")) << '\n';
  for (int i = 0; i < config.estimationdata_size() && i < kListed; ++i) {
    const Estimations& e = config.estimationdata(i);
    out << in << "  estimator " << e.id() << ": size " << e.size() << ", " << e.thetavalues_size() << " theta, "
        << e.pvalues_size() << " p" << (e.initialized() ? ", initialized" : "")
        << (e.enablesaturation() ? ", saturated" : "") << '\n';
  }
  if (config.estimationdata_size() > kListed) {
    out << in << "  ... and " << config.estimationdata_size() - kListed << " more\n";
  }

  out << in << "units: " << (config.has_units() ? ByteCount(Section(config, "units")) : std::string("absent"))
      << '\n';
  if (config.has_units()) {
    const Units& units = config.units();
    const pb::Reflection* reflection = units.GetReflection();
    std::string line;
    for (int i = 0; i < Units::descriptor()->field_count(); ++i) {
      const pb::FieldDescriptor* field = Units::descriptor()->field(i);
      const int value = reflection->GetEnumValue(units, field);
      const pb::EnumValueDescriptor* named = field->enum_type()->FindValueByNumber(value);
      line += (line.empty() ? "" : ", ") + field->name() + " " +
              (named != nullptr ? named->name() : std::to_string(value));
    }
    out << in << "  " << line << '\n';
  }
}

void Device(std::ostream& out, const DeviceData& device, const PairingCatalogue& pairing) {
  out << "DeviceData: " << ByteCount(device.ByteSizeLong()) << '\n';
  out << "  version: " << device.version() << '\n';
  out << "  gcuSerialNo: " << Quoted(device.gcuserialno()) << '\n';
  const pb::Descriptor* type = DeviceData::descriptor();
  for (int i = 0; i < type->field_count(); ++i) {
    const pb::FieldDescriptor* field = type->field(i);
    if (field->type() != pb::FieldDescriptor::TYPE_BYTES) continue;
    out << "  " << field->name() << ": " << ByteCount(device.GetReflection()->GetString(device, field).size())
        << '\n';
  }
  if (device.config().empty()) return;
  std::unique_ptr<pb::Message> config = internal::ParseSlot(ConfigData::descriptor(), device.config(), nullptr);
  if (config == nullptr) {
    out << "  config does not read as a ConfigData\n";
    return;
  }
  Config(out, static_cast<const ConfigData&>(*config), pairing, "  ");
}

// CalibrationData and its template: identity, then each list with the count
// kept beside it (the field numbered just before the list).
void Calibration(std::ostream& out, const pb::Message& record) {
  const pb::Descriptor* type = record.GetDescriptor();
  const pb::Reflection* reflection = record.GetReflection();
  out << type->full_name() << ": " << ByteCount(record.ByteSizeLong()) << '\n';
  const pb::FieldDescriptor* serial = type->FindFieldByName("serialNo");
  const pb::FieldDescriptor* version = type->FindFieldByName("hardwareVersion");
  const pb::FieldDescriptor* device = type->FindFieldByName("deviceType");
  out << "  serialNo: " << Quoted(reflection->GetString(record, serial)) << '\n';
  out << "  hardwareVersion: " << reflection->GetInt32(record, version) << '\n';
  out << "  deviceType: " << EnumName(device->enum_type(), reflection->GetEnumValue(record, device)) << '\n';
  int signals = 0;
  int assigned = 0;
  for (int i = 0; i < type->field_count(); ++i) {
    const pb::FieldDescriptor* field = type->field(i);
    if (field->is_repeated()) {
      const pb::FieldDescriptor* count = type->FindFieldByNumber(field->number() - 1);
      out << "  " << field->name() << ": " << reflection->FieldSize(record, field);
      if (count != nullptr && count->cpp_type() == pb::FieldDescriptor::CPPTYPE_UINT32) {
        out << " (" << count->name() << " " << reflection->GetUInt32(record, count) << ")";
      }
      out << ", " << ByteCount(pb::internal::WireFormat::FieldByteSize(field, record)) << '\n';
    } else if (field->type() == pb::FieldDescriptor::TYPE_SINT32 && field != version) {
      ++signals;
      assigned += reflection->GetInt32(record, field) != 0 ? 1 : 0;
    }
  }
  out << "  service signals assigned: " << assigned << " of " << signals << '\n';
}

// Any other record: its fields in text form, with settings held in
// `config` shown as the record they read as.
void Fields(std::ostream& out, const pb::Message& record, const PairingCatalogue& pairing) {
  out << record.GetDescriptor()->full_name() << ": " << ByteCount(record.ByteSizeLong()) << '\n';
  std::string text;
  pb::TextFormat::PrintToString(record, &text);
  Indent(out, text, "  ");
  const pb::FieldDescriptor* config = record.GetDescriptor()->FindFieldByName("config");
  const pb::Descriptor* held = internal::SlotRecord(record, config, pairing);
  if (held == nullptr) return;
  const std::string& bytes = record.GetReflection()->GetString(record, config);
  std::unique_ptr<pb::Message> settings = internal::ParseSlot(held, bytes, nullptr);
  if (settings == nullptr) {
    out << "  config does not read as " << held->full_name() << '\n';
    return;
  }
  out << "  config as " << held->full_name() << ":\n";
  pb::TextFormat::PrintToString(*settings, &text);
  Indent(out, text, "    ");
}

}  // namespace

std::string Inspect(const pb::Message& record, const PairingCatalogue& pairing) {
  std::ostringstream out;
  const pb::Descriptor* type = record.GetDescriptor();
  if (type == ConfigData::descriptor()) {
    std::unique_ptr<ConfigData> copy;
    Config(out, internal::AsGenerated(record, &copy), pairing, "");
  } else if (type == DeviceData::descriptor()) {
    std::unique_ptr<DeviceData> copy;
    Device(out, internal::AsGenerated(record, &copy), pairing);
  } else if (type == CalibrationData::descriptor() || type == CalibrationTemplateData::descriptor()) {
    Calibration(out, record);
  } else {
    Fields(out, record, pairing);
  }
  return out.str();
}

}  // namespace gcuschema::document
