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
#include <nlohmann/json.hpp>

#include <gcuschema/document/canonical.h>
#include <gcuschema/document/io.h>
#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>

#include "text_numbers.h"
#include "text_table.h"
#include "walk.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;
using Json = nlohmann::ordered_json;

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

// {"code": 2, "name": "DigitalInput"}; the name null for a code outside
// the enumeration (or for kinds whose codes have no names).
Json TypeJson(const pb::EnumDescriptor* type, int value) {
  const pb::EnumValueDescriptor* named = type != nullptr ? type->FindValueByNumber(value) : nullptr;
  return Json{{"code", value}, {"name", named != nullptr ? Json(named->name()) : Json()}};
}

void Indent(std::ostream& out, const std::string& text, const std::string& indent) {
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) out << indent << line << '\n';
}

using internal::Settings;
using internal::TextTable;
using internal::Walk;

// Where a summary goes. The text is always written (it is short but for
// the tables of entries); the entries are listed as a table in it or, when
// JSON is asked for, as arrays of objects in the JSON.
struct Summary {
  std::ostream& text;
  bool json;
};

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

  void Write(std::ostream& out, Json& json, const std::string& name, const std::string& indent) const {
    out << indent << name << ": " << ByteCount(size_);
    if (difference_) out << ", " << ByteCount(difference_->canonical_size) << " as the records write it";
    out << '\n';
    if (difference_) out << indent << "  warning: not in canonical form: " << Describe(*difference_) << '\n';
    json["record"] = name;
    json["bytes"] = size_;
    if (difference_) {
      json["canonicalBytes"] = difference_->canonical_size;
      json["notCanonical"] = Describe(*difference_);
    }
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

// The settings of one entry, as its row and its object show them.
struct EntrySettings {
  const pb::Descriptor* record;  // null when left open
  bool readable;
  std::size_t bytes;

  std::string Cell() const {
    if (record == nullptr) return "(opaque settings)";
    return readable ? record->full_name() : record->full_name() + ", not readable";
  }
  Json AsJson() const {
    // Settings left open have nothing to read: null for both.
    return Json{{"record", record != nullptr ? Json(record->full_name()) : Json()},
                {"readable", record != nullptr ? Json(readable) : Json()},
                {"bytes", bytes}};
  }
};

// The settings of the entry where the walk stands.
EntrySettings SettingsOf(const pb::Message& entry, const std::string& config, EntryKind kind, int code, Walk& walk) {
  return EntrySettings{walk.pairing().Find(kind, code), SettingsReadable(entry, walk), config.size()};
}

// The entries of a list, as a table in the text or an array in the JSON.
class EntryList {
 public:
  EntryList(std::vector<TextTable::Column> columns, const Summary& summary)
      : table_(std::move(columns)), json_(summary.json) {}

  void Add(std::vector<std::string> row, Json object) {
    if (json_) {
      entries_.push_back(std::move(object));
    } else {
      table_.Add(std::move(row));
    }
  }

  // Under `title` ("input entries") in the text, as `member` of `json`.
  void Write(std::ostream& out, const std::string& indent, const std::string& title, Json& json,
             const char* member) {
    if (json_) {
      json[member] = std::move(entries_);
      return;
    }
    if (table_.empty()) return;
    out << indent << title << ":\n";
    table_.Write(out, indent + "  ");
  }

 private:
  TextTable table_;
  bool json_;
  Json entries_ = Json::array();
};

// Inputs and outputs: identity, pin, type, settings, sizes.
std::vector<TextTable::Column> ChannelColumns() {
  return {{"id", true},        {"alias", false}, {"pin", true}, {"type", false},
          {"settings", false}, {"bytes", true},  {"settings bytes", true}};
}

// One line per type code in use: its name, how many entries, the record
// their settings are read as, the bytes the settings take, and how many of
// them (or of the settings they hold in turn) do not read as their record;
// each entry goes to `entries`. The walk stands at the list.
template <typename Entry>
void Channels(std::ostream& out, Json& json, const pb::RepeatedPtrField<Entry>& list,
              const pb::EnumDescriptor* names, EntryKind kind, Walk& walk, const std::string& indent,
              EntryList* entries) {
  struct Tally {
    std::size_t count = 0;
    std::size_t settings = 0;
    std::size_t unreadable = 0;
  };
  std::map<int, Tally> tallies;
  for (int i = 0; i < list.size(); ++i) {
    const Entry& entry = list.Get(i);
    Tally& tally = tallies[entry.type()];
    ++tally.count;
    tally.settings += entry.config().size();
    const Walk::Step step = walk.Element(i);
    const EntrySettings settings = SettingsOf(entry, entry.config(), kind, entry.type(), walk);
    if (!settings.readable) ++tally.unreadable;
    const std::size_t bytes = entry.ByteSizeLong();
    entries->Add({std::to_string(entry.id()), Quoted(entry.alias()), std::to_string(entry.pin()),
                  EnumName(names, entry.type()), settings.Cell(), std::to_string(bytes),
                  std::to_string(settings.bytes)},
                 Json{{"id", entry.id()},
                      {"alias", entry.alias()},
                      {"pin", entry.pin()},
                      {"type", TypeJson(names, entry.type())},
                      {"settings", settings.AsJson()},
                      {"bytes", bytes}});
  }
  Json& by_type = json["byType"] = Json::array();
  for (const auto& [code, tally] : tallies) {
    const pb::Descriptor* record = walk.pairing().Find(kind, code);
    out << indent << std::left << std::setw(26) << EnumName(names, code) << std::right << std::setw(7)
        << tally.count << "  " << std::left << std::setw(34)
        << (record != nullptr ? record->full_name() : std::string("(opaque settings)")) << std::right
        << "settings " << ByteCount(tally.settings);
    if (tally.unreadable > 0) out << ", " << tally.unreadable << " not readable as such";
    out << '\n';
    by_type.push_back(Json{{"type", TypeJson(names, code)},
                           {"count", tally.count},
                           {"settings", record != nullptr ? Json(record->full_name()) : Json()},
                           {"settingsBytes", tally.settings},
                           {"unreadable", tally.unreadable}});
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
void MapLines(std::ostream& out, Json& json, const std::map<std::pair<int, std::string>, int>& lines,
              const std::string& indent) {
  json = Json::array();
  for (const auto& [key, count] : lines) {
    out << indent << std::left << std::setw(26) << EnumName(Map_MapType_descriptor(), key.first) << std::right
        << std::setw(7) << count << "  " << key.second << '\n';
    json.push_back(
        Json{{"type", TypeJson(Map_MapType_descriptor(), key.first)}, {"count", count}, {"table", key.second}});
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

Json BusJson(const Canbus& bus) {
  return Json{{"canbusId", bus.canbusid()},
              {"baudrate", bus.baudrate()},
              {"fdEnable", bus.fdenable()},
              {"fdBaudrate", bus.fdbaudrate()},
              {"enableTermination", bus.enabletermination()},
              {"standardInputFrames", bus.standardinputframes_size()},
              {"extendedInputFrames", bus.extendedinputframes_size()},
              {"standardOutputFrames", bus.standardoutputframes_size()},
              {"extendedOutputFrames", bus.extendedoutputframes_size()},
              {"entityHandler", bus.entityhandler_size()}};
}

// "inputs: 24, 1042 bytes"; the list's node of the JSON, with its count
// and size.
Json ListHeading(std::ostream& out, const ConfigData& config, const char* list, int count,
                 const std::string& indent) {
  const std::size_t bytes = Section(config, list);
  out << indent << list << ": " << count << ", " << ByteCount(bytes) << '\n';
  return Json{{"count", count}, {"bytes", bytes}};
}

// The walk stands at the configuration.
void Config(std::ostream& out, Json& json, const ConfigData& config, Walk& walk, const std::string& indent,
            const Heading& heading, const Summary& summary) {
  const std::string in = indent + "  ";
  heading.Write(out, json, "ConfigData", indent);
  out << in << "version: " << config.version() << '\n';
  out << in << "gcuNo: " << Quoted(config.gcuno()) << '\n';
  out << in << "deviceDescription: " << Quoted(config.devicedescription()) << '\n';
  // The password is shown by its length only: a summary is often shared.
  out << in << "password: "
      << (config.password().empty() ? std::string("none")
                                    : "set, " + Plural(config.password().size(), "byte", "bytes"))
      << '\n';
  json["version"] = config.version();
  json["gcuNo"] = config.gcuno();
  json["deviceDescription"] = config.devicedescription();
  json["password"] = Json{{"set", !config.password().empty()}, {"bytes", config.password().size()}};

  Json inputs = ListHeading(out, config, "inputs", config.inputs_size(), in);
  EntryList input_entries(ChannelColumns(), summary);
  std::map<std::pair<int, std::string>, int> curves;
  int curve_count = 0;
  {
    const Walk::Step list = walk.Member("inputs");
    Channels(out, inputs, config.inputs(), Input_Type_descriptor(), EntryKind::kInput, walk, in + "  ",
             &input_entries);
    for (int i = 0; i < config.inputs_size(); ++i) {
      if (!config.inputs(i).has_linearization()) continue;
      const Walk::Step element = walk.Element(i);
      const Walk::Step member = walk.Member("linearization");
      const ::Map& curve = config.inputs(i).linearization();
      ++curves[{curve.type(), MapTableRead(curve, walk)}];
      ++curve_count;
    }
  }
  inputs["linearizations"] = Json{{"count", curve_count}};
  if (curve_count > 0) out << in << "  with a linearization: " << curve_count << '\n';
  MapLines(out, inputs["linearizations"]["byType"], curves, in + "    ");

  Json outputs = ListHeading(out, config, "outputs", config.outputs_size(), in);
  EntryList output_entries(ChannelColumns(), summary);
  {
    const Walk::Step list = walk.Member("outputs");
    Channels(out, outputs, config.outputs(), Output_Type_descriptor(), EntryKind::kOutput, walk, in + "  ",
             &output_entries);
  }

  Json maps_json = ListHeading(out, config, "maps", config.maps_size(), in);
  EntryList map_entries({{"id", true},
                         {"alias", false},
                         {"type", false},
                         {"table", false},
                         {"bytes", true},
                         {"table bytes", true}},
                        summary);
  std::map<std::pair<int, std::string>, int> maps;
  {
    const Walk::Step list = walk.Member("maps");
    for (int i = 0; i < config.maps_size(); ++i) {
      const ::Map& map = config.maps(i);
      const Walk::Step element = walk.Element(i);
      const std::string read = MapTableRead(map, walk);
      ++maps[{map.type(), read}];
      const std::size_t bytes = map.ByteSizeLong();
      map_entries.Add({std::to_string(map.id()), Quoted(map.alias()), EnumName(Map_MapType_descriptor(), map.type()),
                       read, std::to_string(bytes), std::to_string(map.config().size())},
                      Json{{"id", map.id()},
                           {"alias", map.alias()},
                           {"type", TypeJson(Map_MapType_descriptor(), map.type())},
                           {"table", read},
                           {"bytes", bytes},
                           {"tableBytes", map.config().size()}});
    }
  }
  MapLines(out, maps_json["byType"], maps, in + "  ");

  Json drivers = ListHeading(out, config, "drivers", config.drivers_size(), in);
  EntryList driver_entries(
      {{"id", true}, {"type", true}, {"settings", false}, {"bytes", true}, {"settings bytes", true}}, summary);
  int unreadable = 0;
  {
    const Walk::Step list = walk.Member("drivers");
    for (int i = 0; i < config.drivers_size(); ++i) {
      const Driver& driver = config.drivers(i);
      const Walk::Step element = walk.Element(i);
      const int code = static_cast<int>(driver.type());
      const EntrySettings settings = SettingsOf(driver, driver.config(), EntryKind::kDriver, code, walk);
      if (!settings.readable) ++unreadable;
      const std::size_t bytes = driver.ByteSizeLong();
      driver_entries.Add({std::to_string(driver.id()), std::to_string(driver.type()), settings.Cell(),
                          std::to_string(bytes), std::to_string(settings.bytes)},
                         Json{{"id", driver.id()},
                              {"type", TypeJson(nullptr, code)},
                              {"settings", settings.AsJson()},
                              {"bytes", bytes}});
    }
  }
  if (unreadable > 0) out << in << "  settings not readable as their paired record: " << unreadable << '\n';
  drivers["unreadable"] = unreadable;

  Json canbus = ListHeading(out, config, "canbus", config.canbus_size(), in);
  for (int i = 0; i < config.canbus_size() && i < kListed; ++i) Bus(out, config.canbus(i), in + "  ");
  if (config.canbus_size() > kListed) out << in << "  ... and " << config.canbus_size() - kListed << " more\n";
  EntryList handler_entries({{"bus", true},
                             {"entityId", true},
                             {"type", true},
                             {"settings", false},
                             {"bytes", true},
                             {"settings bytes", true}},
                            summary);
  Json& buses = canbus["buses"] = Json::array();
  {
    const Walk::Step list = walk.Member("canbus");
    for (int i = 0; i < config.canbus_size(); ++i) {
      const Canbus& bus = config.canbus(i);
      buses.push_back(BusJson(bus));
      const Walk::Step element = walk.Element(i);
      const Walk::Step handlers = walk.Member("entityHandler");
      for (int j = 0; j < bus.entityhandler_size(); ++j) {
        const CanbusEntityHandler& handler = bus.entityhandler(j);
        const Walk::Step at = walk.Element(j);
        const EntrySettings settings =
            SettingsOf(handler, handler.config(), EntryKind::kHandler, handler.type(), walk);
        const std::size_t bytes = handler.ByteSizeLong();
        handler_entries.Add({std::to_string(bus.canbusid()), std::to_string(handler.entityid()),
                             std::to_string(handler.type()), settings.Cell(), std::to_string(bytes),
                             std::to_string(settings.bytes)},
                            Json{{"canbusId", bus.canbusid()},
                                 {"entityId", handler.entityid()},
                                 {"type", TypeJson(nullptr, handler.type())},
                                 {"settings", settings.AsJson()},
                                 {"bytes", bytes}});
      }
    }
  }

  Json routers = ListHeading(out, config, "canbusRouter", config.canbusrouter_size(), in);
  for (int i = 0; i < config.canbusrouter_size() && i < kListed; ++i) {
    const CanbusRouter& router = config.canbusrouter(i);
    out << in << "  bus " << router.sourcecanbusid() << " -> bus " << router.destinationcanbusid() << '\n';
  }
  if (config.canbusrouter_size() > kListed) {
    out << in << "  ... and " << config.canbusrouter_size() - kListed << " more\n";
  }
  Json& routes = routers["routes"] = Json::array();
  for (const CanbusRouter& router : config.canbusrouter()) {
    routes.push_back(Json{{"sourceCanbusId", router.sourcecanbusid()},
                          {"destinationCanbusId", router.destinationcanbusid()}});
  }

  out << in << "canObjectCount: " << config.canobjectcount() << '\n';

  Json estimation = ListHeading(out, config, "estimationData", config.estimationdata_size(), in);
  for (int i = 0; i < config.estimationdata_size() && i < kListed; ++i) {
    const Estimations& e = config.estimationdata(i);
    out << in << "  estimator " << e.id() << ": size " << e.size() << ", " << e.thetavalues_size() << " theta, "
        << e.pvalues_size() << " p" << (e.initialized() ? ", initialized" : "")
        << (e.enablesaturation() ? ", saturated" : "") << '\n';
  }
  if (config.estimationdata_size() > kListed) {
    out << in << "  ... and " << config.estimationdata_size() - kListed << " more\n";
  }
  Json& estimators = estimation["estimators"] = Json::array();
  for (const Estimations& e : config.estimationdata()) {
    estimators.push_back(Json{{"id", e.id()},
                              {"size", e.size()},
                              {"thetaValues", e.thetavalues_size()},
                              {"pValues", e.pvalues_size()},
                              {"initialized", e.initialized()},
                              {"enableSaturation", e.enablesaturation()}});
  }

  out << in << "units: " << (config.has_units() ? ByteCount(Section(config, "units")) : std::string("absent"))
      << '\n';
  Json units_json;
  if (config.has_units()) {
    const Units& units = config.units();
    const pb::Reflection* reflection = units.GetReflection();
    Json values = Json::object();
    std::string line;
    for (int i = 0; i < Units::descriptor()->field_count(); ++i) {
      const pb::FieldDescriptor* field = Units::descriptor()->field(i);
      const int value = reflection->GetEnumValue(units, field);
      const pb::EnumValueDescriptor* named = field->enum_type()->FindValueByNumber(value);
      const std::string shown = named != nullptr ? named->name() : std::to_string(value);
      line += (line.empty() ? "" : ", ") + field->name() + " " + shown;
      values[field->name()] = named != nullptr ? Json(shown) : Json(value);
    }
    out << in << "  " << line << '\n';
    units_json = Json{{"bytes", Section(config, "units")}, {"values", std::move(values)}};
  }

  input_entries.Write(out, in, "input entries", inputs, "entries");
  output_entries.Write(out, in, "output entries", outputs, "entries");
  map_entries.Write(out, in, "map entries", maps_json, "entries");
  driver_entries.Write(out, in, "driver entries", drivers, "entries");
  handler_entries.Write(out, in, "handler entries", canbus, "handlers");

  // Nodes are put in whole: a member added to an object moves the others.
  json["inputs"] = std::move(inputs);
  json["outputs"] = std::move(outputs);
  json["maps"] = std::move(maps_json);
  json["drivers"] = std::move(drivers);
  json["canbus"] = std::move(canbus);
  json["canbusRouter"] = std::move(routers);
  json["canObjectCount"] = config.canobjectcount();
  json["estimationData"] = std::move(estimation);
  json["units"] = std::move(units_json);
}

void Device(std::ostream& out, Json& json, const DeviceData& device, Walk& walk, const Heading& heading,
            const Summary& summary) {
  heading.Write(out, json, "DeviceData", "");
  out << "  version: " << device.version() << '\n';
  out << "  gcuSerialNo: " << Quoted(device.gcuserialno()) << '\n';
  json["version"] = device.version();
  json["gcuSerialNo"] = device.gcuserialno();
  Json& blocks = json["blocks"] = Json::object();
  const pb::Descriptor* type = DeviceData::descriptor();
  for (int i = 0; i < type->field_count(); ++i) {
    const pb::FieldDescriptor* field = type->field(i);
    if (field->type() != pb::FieldDescriptor::TYPE_BYTES) continue;
    const std::size_t size = device.GetReflection()->GetString(device, field).size();
    out << "  " << field->name() << ": " << ByteCount(size) << '\n';
    blocks[field->name()] = size;
  }
  if (device.config().empty()) return;
  const Settings config = walk.Decide(device);
  json["configReadable"] = config.state != Settings::State::kUnreadable;
  if (config.state == Settings::State::kUnreadable) {
    out << "  config does not read as a ConfigData\n";
    return;
  }
  const Walk::Step step = walk.Into(config);
  std::unique_ptr<ConfigData> copy;
  Config(out, json["config"], internal::AsGenerated(*config.record, &copy), walk, "  ",
         Heading(*config.record, std::nullopt), summary);
}

// CalibrationData and its template: identity, then each list with the count
// kept beside it (the field numbered just before the list).
void Calibration(std::ostream& out, Json& json, const pb::Message& record, const Heading& heading) {
  const pb::Descriptor* type = record.GetDescriptor();
  const pb::Reflection* reflection = record.GetReflection();
  heading.Write(out, json, type->full_name(), "");
  const pb::FieldDescriptor* serial = type->FindFieldByName("serialNo");
  const pb::FieldDescriptor* version = type->FindFieldByName("hardwareVersion");
  const pb::FieldDescriptor* device = type->FindFieldByName("deviceType");
  out << "  serialNo: " << Quoted(reflection->GetString(record, serial)) << '\n';
  out << "  hardwareVersion: " << reflection->GetInt32(record, version) << '\n';
  out << "  deviceType: " << EnumName(device->enum_type(), reflection->GetEnumValue(record, device)) << '\n';
  json["serialNo"] = reflection->GetString(record, serial);
  json["hardwareVersion"] = reflection->GetInt32(record, version);
  json["deviceType"] = TypeJson(device->enum_type(), reflection->GetEnumValue(record, device));
  Json& lists = json["lists"] = Json::object();
  int signals = 0;
  int assigned = 0;
  for (int i = 0; i < type->field_count(); ++i) {
    const pb::FieldDescriptor* field = type->field(i);
    if (field->is_repeated()) {
      const pb::FieldDescriptor* count = type->FindFieldByNumber(field->number() - 1);
      const int size = reflection->FieldSize(record, field);
      const std::size_t bytes = pb::internal::WireFormat::FieldByteSize(field, record);
      Json& list = lists[field->name()] = Json{{"count", size}};
      out << "  " << field->name() << ": " << size;
      if (count != nullptr && count->cpp_type() == pb::FieldDescriptor::CPPTYPE_UINT32) {
        out << " (" << count->name() << " " << reflection->GetUInt32(record, count) << ")";
        list[count->name()] = reflection->GetUInt32(record, count);
      }
      out << ", " << ByteCount(bytes) << '\n';
      list["bytes"] = bytes;
    } else if (field->type() == pb::FieldDescriptor::TYPE_SINT32 && field != version) {
      ++signals;
      assigned += reflection->GetInt32(record, field) != 0 ? 1 : 0;
    }
  }
  out << "  service signals assigned: " << assigned << " of " << signals << '\n';
  json["serviceSignals"] = Json{{"assigned", assigned}, {"of", signals}};
}

// Any other record: its fields in text form, with settings held in
// `config` shown as the record they read as; in the JSON, the record as
// decode writes it.
void Fields(std::ostream& out, Json& json, const pb::Message& record, Walk& walk, const Heading& heading,
            const Summary& summary) {
  heading.Write(out, json, record.GetDescriptor()->full_name(), "");
  pb::TextFormat::Printer printer;
  internal::SpellNumbersPortably(&printer);
  std::string text;
  std::unique_ptr<pb::Message> copy;
  printer.PrintToString(internal::ShownAsWritten(record, &copy), &text);
  Indent(out, text, "  ");
  if (summary.json) {
    WriteOptions options;
    options.pairing = walk.pairing();
    json["fields"] = Json::parse(WriteString(record, Format::kJson, options));
  }
  const Settings settings = walk.Decide(record);
  if (settings.paired == nullptr) return;
  json["settings"] = Json{{"record", settings.paired->full_name()},
                          {"readable", settings.state != Settings::State::kUnreadable}};
  if (settings.state == Settings::State::kUnreadable) {
    out << "  config does not read as " << settings.paired->full_name() << '\n';
    return;
  }
  const Walk::Step step = walk.Into(settings);
  const bool inside = Readable(*settings.record, walk);
  json["settings"]["insideReadable"] = inside;
  if (!inside) out << "  settings inside config do not read\n";
  out << "  config as " << settings.paired->full_name() << ":\n";
  printer.PrintToString(internal::ShownAsWritten(*settings.record, &copy), &text);
  Indent(out, text, "    ");
}

// The summary of `record` in text, and in `json` too when asked for.
std::string Summarise(const pb::Message& record, const InspectOptions& options, Json* json) {
  std::ostringstream out;
  Json scratch;
  Json& node = json != nullptr ? *json : scratch;
  const Summary summary{out, json != nullptr};
  Walk walk(options.pairing);
  const pb::Descriptor* type = record.GetDescriptor();
  const Heading heading(record, options.encoded);
  if (type == ConfigData::descriptor()) {
    std::unique_ptr<ConfigData> copy;
    Config(out, node, internal::AsGenerated(record, &copy), walk, "", heading, summary);
  } else if (type == DeviceData::descriptor()) {
    std::unique_ptr<DeviceData> copy;
    Device(out, node, internal::AsGenerated(record, &copy), walk, heading, summary);
  } else if (type == CalibrationData::descriptor() || type == CalibrationTemplateData::descriptor()) {
    Calibration(out, node, record, heading);
  } else {
    Fields(out, node, record, walk, heading, summary);
  }
  return out.str();
}

}  // namespace

std::string Inspect(const pb::Message& record, const InspectOptions& options) {
  return Summarise(record, options, nullptr);
}

std::string InspectAsJson(const pb::Message& record, const InspectOptions& options) {
  Json json = Json::object();
  Summarise(record, options, &json);
  // Identity strings may hold bytes that are not UTF-8: those are replaced.
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace gcuschema::document
