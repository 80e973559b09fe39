#include <gcuschema/document/inspect.h>

#include <cstdint>
#include <iomanip>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/stubs/strutil.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/wire_format.h>

#include <gcuschema/document/canonical.h>
#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>

#include "text_numbers.h"
#include "walk.h"

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

using internal::Settings;
using internal::Walk;

// The first line of a summary, "ConfigData: 2783 bytes", and, when the
// record was read from bytes it does not write back, what it writes and why.
// The size is that of the bytes read when there are some.
class Heading {
 public:
  Heading(const pb::Message& record, const std::optional<std::string_view>& encoded) {
    if (encoded) {
      size_ = encoded->size();
      difference_ = CompareEncoding(*encoded, record);
    } else {
      size_ = record.ByteSizeLong();
    }
  }

  void Write(std::ostream& out, const std::string& name, const std::string& indent) const {
    out << indent << name << ": " << ByteCount(size_);
    if (difference_) out << ", " << ByteCount(difference_->canonical_size) << " as the records write it";
    out << '\n';
    if (difference_) out << indent << "  warning: not in canonical form: " << Describe(*difference_) << '\n';
  }

 private:
  std::size_t size_;
  std::optional<EncodingDifference> difference_;
};

bool Readable(const pb::Message& record, Walk& walk);

// Whether the settings `holder` holds read as their paired record and,
// inside, every `config` that record holds does too (true for settings
// left open). Throws Error when the settings nest deeper than any reader
// of the library goes.
bool SettingsReadable(const pb::Message& holder, Walk& walk) {
  const Settings settings = walk.Decide(holder);
  if (settings.paired == nullptr) return true;
  if (settings.state == Settings::State::kUnreadable) return false;
  const Walk::Step step = walk.Into(settings);
  return Readable(*settings.record, walk);
}

// The record where the walk stands.
bool Readable(const pb::Message& record, Walk& walk) {
  const pb::Reflection* reflection = record.GetReflection();
  std::vector<const pb::FieldDescriptor*> fields;
  reflection->ListFields(record, &fields);
  bool readable = true;
  for (const pb::FieldDescriptor* field : fields) {
    if (internal::IsSettingsField(record.GetDescriptor(), field)) {
      readable = SettingsReadable(record, walk) && readable;
    } else if (field->cpp_type() == pb::FieldDescriptor::CPPTYPE_MESSAGE && field->is_repeated()) {
      const Walk::Step list = walk.Member(field->name());
      for (int i = 0; i < reflection->FieldSize(record, field); ++i) {
        const Walk::Step step = walk.Element(i);
        readable = Readable(reflection->GetRepeatedMessage(record, field, i), walk) && readable;
      }
    } else if (field->cpp_type() == pb::FieldDescriptor::CPPTYPE_MESSAGE) {
      const Walk::Step step = walk.Member(field->name());
      readable = Readable(reflection->GetMessage(record, field), walk) && readable;
    }
  }
  return readable;
}

// One line per type code in use: its name, how many entries, the record
// their settings are read as, the bytes the settings take, and how many of
// them (or of the settings they hold in turn) do not read as their record.
// The walk stands at the list.
template <typename Entry>
void ByType(std::ostream& out, const pb::RepeatedPtrField<Entry>& entries, const pb::EnumDescriptor* names,
            EntryKind kind, Walk& walk, const std::string& indent) {
  struct Tally {
    std::size_t count = 0;
    std::size_t settings = 0;
    std::size_t unreadable = 0;
  };
  std::map<int, Tally> tallies;
  for (int i = 0; i < entries.size(); ++i) {
    const Entry& entry = entries.Get(i);
    Tally& tally = tallies[entry.type()];
    ++tally.count;
    tally.settings += entry.config().size();
    const Walk::Step step = walk.Element(i);
    if (!SettingsReadable(entry, walk)) ++tally.unreadable;
  }
  for (const auto& [code, tally] : tallies) {
    const pb::Descriptor* record = walk.pairing().Find(kind, code);
    out << indent << std::left << std::setw(26) << EnumName(names, code) << std::right << std::setw(7)
        << tally.count << "  " << std::left << std::setw(34)
        << (record != nullptr ? record->full_name() : std::string("(opaque settings)")) << std::right
        << "settings " << ByteCount(tally.settings);
    if (tally.unreadable > 0) out << ", " << tally.unreadable << " not readable as such";
    out << '\n';
  }
}

// How a map's table was read, as decode shows it: by which record and why
// that one, or why it stays bytes. The walk stands at the map.
std::string MapTableRead(const ::Map& map, Walk& walk) {
  const PairingCatalogue& pairing = walk.pairing();
  const pb::Descriptor* table = pairing.Find(EntryKind::kMap, map.type());
  if (table == nullptr) {
    if (Map_MapType_descriptor()->FindValueByNumber(map.type()) == nullptr) {
      return "left as bytes: no table is paired with a type outside Map.MapType";
    }
    return "left as bytes: no table is paired with this type";
  }
  std::string how;
  switch (pairing.SourceOf(EntryKind::kMap, map.type())) {
    case PairingSource::kMapType: how = "paired by its type"; break;
    case PairingSource::kMapTable: how = "by the map table given"; break;
    default: how = "by a pairing given"; break;
  }
  const Settings settings = walk.Decide(map);
  const Walk::Step step = walk.Into(settings);
  if (!settings.read()) return "left as bytes: they do not read as " + table->full_name() + " (" + how + ")";
  if (!settings.canonical()) {
    return "left as bytes: they read as " + table->full_name() + " (" + how +
           ") but do not encode back to the same bytes";
  }
  if (!Readable(*settings.record, walk)) {
    return table->full_name() + ", " + how + "; settings inside do not read";
  }
  return table->full_name() + ", " + how;
}

// One line per map type and way its tables were read (MapTableRead), with
// how many maps.
void MapLines(std::ostream& out, const std::map<std::pair<int, std::string>, int>& lines, const std::string& indent) {
  for (const auto& [key, count] : lines) {
    out << indent << std::left << std::setw(26) << EnumName(Map_MapType_descriptor(), key.first) << std::right
        << std::setw(7) << count << "  " << key.second << '\n';
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

// The walk stands at the configuration.
void Config(std::ostream& out, const ConfigData& config, Walk& walk, const std::string& indent,
            const Heading& heading) {
  const std::string in = indent + "  ";
  heading.Write(out, "ConfigData", indent);
  out << in << "version: " << config.version() << '\n';
  out << in << "gcuNo: " << Quoted(config.gcuno()) << '\n';
  out << in << "deviceDescription: " << Quoted(config.devicedescription()) << '\n';
  // The password is shown by its length only: a summary is often shared.
  out << in << "password: "
      << (config.password().empty() ? std::string("none")
                                    : "set, " + Plural(config.password().size(), "byte", "bytes"))
      << '\n';

  out << in << "inputs: " << config.inputs_size() << ", " << ByteCount(Section(config, "inputs")) << '\n';
  std::map<std::pair<int, std::string>, int> curves;
  int curve_count = 0;
  {
    const Walk::Step list = walk.Member("inputs");
    ByType(out, config.inputs(), Input_Type_descriptor(), EntryKind::kInput, walk, in + "  ");
    for (int i = 0; i < config.inputs_size(); ++i) {
      if (!config.inputs(i).has_linearization()) continue;
      const Walk::Step element = walk.Element(i);
      const Walk::Step member = walk.Member("linearization");
      const ::Map& curve = config.inputs(i).linearization();
      ++curves[{curve.type(), MapTableRead(curve, walk)}];
      ++curve_count;
    }
  }
  if (curve_count > 0) {
    out << in << "  with a linearization: " << curve_count << '\n';
    MapLines(out, curves, in + "    ");
  }

  out << in << "outputs: " << config.outputs_size() << ", " << ByteCount(Section(config, "outputs")) << '\n';
  {
    const Walk::Step list = walk.Member("outputs");
    ByType(out, config.outputs(), Output_Type_descriptor(), EntryKind::kOutput, walk, in + "  ");
  }

  out << in << "maps: " << config.maps_size() << ", " << ByteCount(Section(config, "maps")) << '\n';
  std::map<std::pair<int, std::string>, int> maps;
  {
    const Walk::Step list = walk.Member("maps");
    for (int i = 0; i < config.maps_size(); ++i) {
      const Walk::Step element = walk.Element(i);
      ++maps[{config.maps(i).type(), MapTableRead(config.maps(i), walk)}];
    }
  }
  MapLines(out, maps, in + "  ");

  out << in << "drivers: " << config.drivers_size() << ", " << ByteCount(Section(config, "drivers")) << '\n';
  int unreadable = 0;
  {
    const Walk::Step list = walk.Member("drivers");
    for (int i = 0; i < config.drivers_size(); ++i) {
      const Walk::Step element = walk.Element(i);
      if (!SettingsReadable(config.drivers(i), walk)) ++unreadable;
    }
  }
  if (unreadable > 0) out << in << "  settings not readable as their paired record: " << unreadable << '\n';

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

void Device(std::ostream& out, const DeviceData& device, Walk& walk, const Heading& heading) {
  heading.Write(out, "DeviceData", "");
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
  const Settings config = walk.Decide(device);
  if (config.state == Settings::State::kUnreadable) {
    out << "  config does not read as a ConfigData\n";
    return;
  }
  const Walk::Step step = walk.Into(config);
  std::unique_ptr<ConfigData> copy;
  Config(out, internal::AsGenerated(*config.record, &copy), walk, "  ", Heading(*config.record, std::nullopt));
}

// CalibrationData and its template: identity, then each list with the count
// kept beside it (the field numbered just before the list).
void Calibration(std::ostream& out, const pb::Message& record, const Heading& heading) {
  const pb::Descriptor* type = record.GetDescriptor();
  const pb::Reflection* reflection = record.GetReflection();
  heading.Write(out, type->full_name(), "");
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
void Fields(std::ostream& out, const pb::Message& record, Walk& walk, const Heading& heading) {
  heading.Write(out, record.GetDescriptor()->full_name(), "");
  pb::TextFormat::Printer printer;
  internal::SpellNumbersPortably(&printer);
  std::string text;
  std::unique_ptr<pb::Message> copy;
  printer.PrintToString(internal::ShownAsWritten(record, &copy), &text);
  Indent(out, text, "  ");
  const Settings settings = walk.Decide(record);
  if (settings.paired == nullptr) return;
  if (settings.state == Settings::State::kUnreadable) {
    out << "  config does not read as " << settings.paired->full_name() << '\n';
    return;
  }
  const Walk::Step step = walk.Into(settings);
  if (!Readable(*settings.record, walk)) out << "  settings inside config do not read\n";
  out << "  config as " << settings.paired->full_name() << ":\n";
  printer.PrintToString(internal::ShownAsWritten(*settings.record, &copy), &text);
  Indent(out, text, "    ");
}

}  // namespace

std::string Inspect(const pb::Message& record, const InspectOptions& options) {
  std::ostringstream out;
  Walk walk(options.pairing);
  const pb::Descriptor* type = record.GetDescriptor();
  const Heading heading(record, options.encoded);
  if (type == ConfigData::descriptor()) {
    std::unique_ptr<ConfigData> copy;
    Config(out, internal::AsGenerated(record, &copy), walk, "", heading);
  } else if (type == DeviceData::descriptor()) {
    std::unique_ptr<DeviceData> copy;
    Device(out, internal::AsGenerated(record, &copy), walk, heading);
  } else if (type == CalibrationData::descriptor() || type == CalibrationTemplateData::descriptor()) {
    Calibration(out, record, heading);
  } else {
    Fields(out, record, walk, heading);
  }
  return out.str();
}

}  // namespace gcuschema::document
