#include <gcuschema/document/lint.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/unknown_field_set.h>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/document/canonical.h>

#include "calibration_limits.h"
#include "field_path.h"
#include "field_values.h"
#include "json/spelling.h"
#include "ranges.h"
#include "walk.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;

// Counts kept beside their lists, by record and count field. ConfigData's
// canObjectCount has no list beside it and is not one of them.
struct CountPair {
  const char* record;
  const char* count;
  const char* list;
};

constexpr CountPair kCountPairs[] = {
    {"Canbus", "standardInputFrameCount", "standardInputFrames"},
    {"Canbus", "extendedInputFrameCount", "extendedInputFrames"},
    {"Canbus", "standardOutputFrameCount", "standardOutputFrames"},
    {"Canbus", "extendedOutputFrameCount", "extendedOutputFrames"},
    {"Canbus", "entitiesCount", "entityHandler"},
    {"CalibrationData", "adcCalibrationCount", "adcCalibration"},
    {"CalibrationData", "dacCalibrationCount", "dacCalibration"},
    {"CalibrationData", "freqInputsCalibrationCount", "freqInputsCalibration"},
    {"CalibrationData", "digitalInputCalibrationCount", "digitalInputCalibration"},
    {"CalibrationData", "digitalOutputCalibrationCount", "digitalOutputCalibration"},
    {"CalibrationData", "pwmCalibrationCount", "pwmCalibration"},
    {"CalibrationData", "canbusCalibrationCount", "canbusCalibrationData"},
    {"CalibrationData", "qeiCalibrationCount", "qeiCalibrationData"},
    {"CalibrationData.FreqCalibrationData", "pullUpsCount", "pullUps"},
    {"CalibrationTemplateData", "adcCalibrationCount", "adcCalibration"},
    {"CalibrationTemplateData", "dacCalibrationCount", "dacCalibration"},
    {"CalibrationTemplateData", "freqInputsCalibrationCount", "freqInputsCalibration"},
    {"CalibrationTemplateData", "digitalInputCalibrationCount", "digitalInputCalibration"},
    {"CalibrationTemplateData", "digitalOutputCalibrationCount", "digitalOutputCalibration"},
    {"CalibrationTemplateData", "pwmCalibrationCount", "pwmCalibration"},
    {"CalibrationTemplateData", "canbusCalibrationCount", "canbusCalibrationData"},
    {"CalibrationTemplateData", "qeiCalibrationCount", "qeiCalibrationData"},
    {"CalibrationTemplateData.FreqCalibrationData", "pullUpsCount", "pullUps"},
};

enum class Target { kNone, kInput, kOutput, kBus };

// Fields that name another entry of the same document by its identifier:
// inputs from the settings of inputs and outputs, outputs from the settings
// of outputs, buses from routers.
struct Reference {
  const char* record;
  const char* field;
  Target target;
};

constexpr Reference kReferences[] = {
    {"CanbusInputConfiguration", "faultInputId", Target::kInput},
    {"CompareConfiguration", "input", Target::kInput},
    {"DivideInputConfigData", "dividentInputId", Target::kInput},
    {"DivideInputConfigData", "dividerInputId", Target::kInput},
    {"MapInputConfigData", "inputId", Target::kInput},
    {"CounterInputConfiguration", "upInputId", Target::kInput},
    {"CounterInputConfiguration", "downInputId", Target::kInput},
    {"CounterInputConfiguration", "resetInputId", Target::kInput},
    {"WaveformInputConfigData", "inputId", Target::kInput},
    {"RbcInputConfigData", "inputIds", Target::kInput},
    {"TestInputConfiguration", "inputId", Target::kInput},
    {"TestInputConfiguration", "inputIds", Target::kInput},
    {"CurrentConfiguration", "temperatureInput", Target::kInput},
    {"MapOutputConfigData", "outputId", Target::kOutput},
    {"SplitterOutputConfigData", "outputIds", Target::kOutput},
    {"PowerOutputConfigData", "OvercurrentErrorOutputIds", Target::kOutput},
    {"PowerOutputConfigData", "UndercurrentWarningOutputIds", Target::kOutput},
    {"TestOutputConfiguration", "outputId", Target::kOutput},
    {"TestOutputConfiguration", "outputIds", Target::kOutput},
    {"CanbusRouter", "sourceCanbusId", Target::kBus},
    {"CanbusRouter", "destinationCanbusId", Target::kBus},
};

// A range kept as two fields of one record: the lower end and the upper.
struct Range {
  const pb::FieldDescriptor* upper;
  Severity severity;
  bool zero_is_absent;
};

bool IsNumber(const pb::FieldDescriptor* field) {
  return !field->is_repeated() && (internal::IsInteger(field) ||
                                   field->cpp_type() == pb::FieldDescriptor::CPPTYPE_FLOAT ||
                                   field->cpp_type() == pb::FieldDescriptor::CPPTYPE_DOUBLE);
}

// What lint needs to know about one record type, worked out once.
struct Rules {
  std::vector<const pb::FieldDescriptor*> fields;  // in field-number order: the order of the encoding
  std::unordered_map<const pb::FieldDescriptor*, const pb::FieldDescriptor*> list_of_count;
  std::unordered_map<const pb::FieldDescriptor*, Target> references;
  std::unordered_map<const pb::FieldDescriptor*, Range> ranges;  // by lower end
  // Input.type and Output.type are plain int32 fields checked against
  // their record's Type enumeration.
  const pb::FieldDescriptor* type_code = nullptr;
  const pb::EnumDescriptor* type_enum = nullptr;
};

const Rules& RulesFor(const pb::Descriptor* type) {
  static std::mutex mutex;
  static std::unordered_map<const pb::Descriptor*, std::unique_ptr<Rules>> cache;
  std::lock_guard<std::mutex> lock(mutex);
  std::unique_ptr<Rules>& slot = cache[type];
  if (slot) return *slot;
  slot = std::make_unique<Rules>();
  Rules& rules = *slot;
  for (int i = 0; i < type->field_count(); ++i) rules.fields.push_back(type->field(i));
  std::sort(rules.fields.begin(), rules.fields.end(),
            [](const pb::FieldDescriptor* a, const pb::FieldDescriptor* b) { return a->number() < b->number(); });
  for (const CountPair& pair : kCountPairs) {
    if (type->full_name() != pair.record) continue;
    const pb::FieldDescriptor* count = type->FindFieldByName(pair.count);
    const pb::FieldDescriptor* list = type->FindFieldByName(pair.list);
    if (count != nullptr && list != nullptr) rules.list_of_count[count] = list;
  }
  for (const Reference& reference : kReferences) {
    if (type->full_name() != reference.record) continue;
    if (const pb::FieldDescriptor* field = type->FindFieldByName(reference.field)) {
      rules.references[field] = reference.target;
    }
  }
  // In the limits template, a limit of 0 cannot be told from an absent one.
  const bool limits_template = type->full_name().rfind("CalibrationTemplateData.", 0) == 0;
  for (const pb::FieldDescriptor* lower : rules.fields) {
    const pb::FieldDescriptor* upper = IsNumber(lower) ? internal::UpperEnd(type, lower->name()) : nullptr;
    if (upper == nullptr || !IsNumber(upper)) continue;
    rules.ranges[lower] = Range{upper, internal::IsScalingSpan(lower->name()) ? Severity::kWarning : Severity::kError,
                                limits_template};
  }
  if (type == ::Input::descriptor() || type == ::Output::descriptor()) {
    rules.type_code = type->FindFieldByName("type");
    rules.type_enum = type->FindEnumTypeByName("Type");
  }
  return rules;
}

// "Units.Pressure (kPa = 0, Bar = 1, mBar = 2)", the list left out when long.
std::string DescribeEnum(const pb::EnumDescriptor* type) {
  std::string out = type->full_name();
  if (type->value_count() > 8) return out;
  out += " (";
  for (int i = 0; i < type->value_count(); ++i) {
    if (i > 0) out += ", ";
    out += type->value(i)->name() + " = " + std::to_string(type->value(i)->number());
  }
  return out + ")";
}

using internal::IntegerAt;

// A number field as a double (integers of the schema are at most 32 bits).
double NumberAt(const pb::Message& record, const pb::FieldDescriptor* field) {
  const pb::Reflection* reflection = record.GetReflection();
  switch (field->cpp_type()) {
    case pb::FieldDescriptor::CPPTYPE_FLOAT: return reflection->GetFloat(record, field);
    case pb::FieldDescriptor::CPPTYPE_DOUBLE: return reflection->GetDouble(record, field);
    default: return static_cast<double>(IntegerAt(record, field, 0));
  }
}

// "500", "2.5", "1.0000001": a value as a finding quotes it, exactly, in
// the JSON writer's spelling (the shortest text that reads back as it, a
// float as a float), so that two values that differ never read alike.
std::string NumberText(const pb::Message& record, const pb::FieldDescriptor* field) {
  if (internal::IsInteger(field)) return std::to_string(IntegerAt(record, field, 0));
  std::string out;
  if (field->cpp_type() == pb::FieldDescriptor::CPPTYPE_FLOAT) {
    internal::AppendFloat(record.GetReflection()->GetFloat(record, field), &out);
  } else {
    internal::AppendDouble(record.GetReflection()->GetDouble(record, field), &out);
  }
  // JSON quotes the infinities, being no numbers of its own: a finding need not.
  if (out.size() > 1 && out.front() == '"') out = out.substr(1, out.size() - 2);
  return out;
}

class Linter {
 public:
  Linter(const LintOptions& options, const FindingSink& sink) : walk_(options.pairing), sink_(sink) {}

  // The record linted first; with a template, it is the calibration the
  // template's limits apply to.
  void Root(const pb::Message& record, const pb::Message* limits) {
    std::optional<internal::CalibrationLimits> checked;
    if (limits != nullptr) checked.emplace(record, *limits);
    limits_ = checked ? &*checked : nullptr;
    root_ = &record;
    Record(record);
    limits_ = nullptr;
  }

  // The bytes the record was read from, against its own encoding.
  void Encoding(std::string_view encoded, const pb::Message& record) {
    const std::optional<EncodingDifference> difference = CompareEncoding(encoded, record);
    if (!difference) return;
    Add(difference->path, Severity::kWarning, "document-not-canonical",
        Describe(*difference) + "; it reads as the same record, but a program writing it back changes those " +
            "bytes: store the re-encoded bytes");
  }

  const LintCounts& counts() const { return counts_; }

 private:
  struct Scope {
    std::unordered_set<std::int32_t> inputs;
    std::unordered_set<std::int32_t> outputs;
    std::unordered_set<std::int32_t> buses;
  };

  // A place in the record where the walk stands, its path made only when a
  // finding names it: a member, or (with the walk in a list) an element.
  struct At {
    std::string_view member;
    int index = -1;
  };

  std::string PathOf(At at) const {
    if (at.index >= 0) return walk_.PathToElement(at.index);
    return at.member.empty() ? walk_.Path() : walk_.PathTo(at.member);
  }

  // The record where the walk stands.
  void Record(const pb::Message& record) {
    const pb::Descriptor* type = record.GetDescriptor();
    const Rules& rules = RulesFor(type);
    // A configuration document is the scope its references resolve in.
    Scope scope;
    const Scope* outer = scope_;
    if (type == ConfigData::descriptor()) {
      std::unique_ptr<ConfigData> copy;
      const ConfigData& config = internal::AsGenerated(record, &copy);
      // Identifiers are 32-bit on the device whatever the field's signedness.
      for (const Input& input : config.inputs()) scope.inputs.insert(input.id());
      for (const Output& output : config.outputs()) scope.outputs.insert(static_cast<std::int32_t>(output.id()));
      for (const Canbus& bus : config.canbus()) scope.buses.insert(bus.canbusid());
      scope_ = &scope;
    }
    for (const pb::FieldDescriptor* field : rules.fields) Field(record, rules, field);
    Table(record);
    Unknown(record);
    scope_ = outer;
  }

  void Add(std::string path, Severity severity, const char* rule, std::string message, Remedy remedy = {}) {
    Emit(Finding{std::move(path), severity, rule, std::move(message), std::move(remedy)});
  }

  void Emit(const Finding& finding) {
    ++(finding.severity == Severity::kError ? counts_.errors : counts_.warnings);
    sink_(finding);
  }

  void Field(const pb::Message& record, const Rules& rules, const pb::FieldDescriptor* field) {
    const pb::Reflection* reflection = record.GetReflection();
    auto list = rules.list_of_count.find(field);
    if (list != rules.list_of_count.end()) Count(record, field, list->second);
    auto range = rules.ranges.find(field);
    if (range != rules.ranges.end()) Inverted(record, field, range->second);
    auto reference = rules.references.find(field);
    const Target target = reference == rules.references.end() ? Target::kNone : reference->second;

    if (field->is_repeated()) {
      const int size = reflection->FieldSize(record, field);
      if (field->cpp_type() == pb::FieldDescriptor::CPPTYPE_MESSAGE) {
        Elements(record, field, size);
        return;
      }
      // Only enumeration values and references are checked one by one.
      if (field->cpp_type() != pb::FieldDescriptor::CPPTYPE_ENUM && target == Target::kNone) return;
      const internal::Walk::Step step = walk_.Member(field->name());
      for (int i = 0; i < size; ++i) {
        const At at{{}, i};
        if (field->cpp_type() == pb::FieldDescriptor::CPPTYPE_ENUM) Enum(field->enum_type(), IntegerAt(record, field, i), at);
        if (target != Target::kNone) Resolve(target, field, IntegerAt(record, field, i), at);
      }
      return;
    }

    const At at{field->name()};
    switch (field->cpp_type()) {
      case pb::FieldDescriptor::CPPTYPE_MESSAGE:
        if (reflection->HasField(record, field)) {
          const internal::Walk::Step step = walk_.Member(field->name());
          Record(reflection->GetMessage(record, field));
        }
        return;
      case pb::FieldDescriptor::CPPTYPE_ENUM:
        Enum(field->enum_type(), reflection->GetEnumValue(record, field), at);
        return;
      case pb::FieldDescriptor::CPPTYPE_STRING:
        if (internal::IsSettingsField(record.GetDescriptor(), field)) Settings(record, field);
        return;
      default:
        break;
    }
    if (field == rules.type_code) {
      const std::int64_t code = IntegerAt(record, field, 0);
      if (rules.type_enum->FindValueByNumber(static_cast<int>(code)) == nullptr) {
        Add(PathOf(at), Severity::kError, "unknown-type",
            "type " + std::to_string(code) + " is not a value of " + rules.type_enum->full_name() +
                "; no reader knows what this entry is");
      }
    }
    if (target != Target::kNone) Resolve(target, field, IntegerAt(record, field, 0), at);
  }

  void Count(const pb::Message& record, const pb::FieldDescriptor* count, const pb::FieldDescriptor* list) {
    const std::int64_t stated = IntegerAt(record, count, 0);
    const int actual = record.GetReflection()->FieldSize(record, list);
    if (stated == actual) return;
    Add(walk_.PathTo(count->name()), Severity::kError, "count-mismatch",
        count->name() + " is " + std::to_string(stated) + " but " + list->name() + " holds " +
            std::to_string(actual) + (actual == 1 ? " entry" : " entries") + "; set it to " +
            std::to_string(actual));
  }

  void Inverted(const pb::Message& record, const pb::FieldDescriptor* lower, const Range& range) {
    const double low = NumberAt(record, lower);
    const double high = NumberAt(record, range.upper);
    if (!(low > high)) return;  // NaN on either side compares false: no order to check
    if (range.zero_is_absent && (low == 0 || high == 0)) return;
    std::string message = lower->name() + " " + NumberText(record, lower) + " is above " + range.upper->name() +
                          " " + NumberText(record, range.upper);
    message += range.severity == Severity::kWarning
                   ? "; the scaling reads its span reversed: swap the two unless that is meant"
                   : "; a range runs from its lower end up to its upper one: swap the two";
    Add(walk_.PathTo(lower->name()), range.severity, "inverted-range", std::move(message));
  }

  // Elements of a list of records; the identifiers of inputs, outputs,
  // maps and buses are unique within their list, and so are the logicalIds
  // of each kind of calibration entry (the limits template finds its entry
  // for a channel by them).
  void Elements(const pb::Message& record, const pb::FieldDescriptor* field, int size) {
    const pb::Reflection* reflection = record.GetReflection();
    const pb::FieldDescriptor* key = nullptr;
    const pb::Descriptor* type = record.GetDescriptor();
    if (type == ConfigData::descriptor()) {
      const int number = field->number();
      if (number == ConfigData::kInputsFieldNumber || number == ConfigData::kOutputsFieldNumber ||
          number == ConfigData::kMapsFieldNumber) {
        key = field->message_type()->FindFieldByName("id");
      } else if (number == ConfigData::kCanbusFieldNumber) {
        key = field->message_type()->FindFieldByName("canbusId");
      }
    } else if (type == CalibrationData::descriptor() || type == CalibrationTemplateData::descriptor()) {
      key = field->message_type()->FindFieldByName("logicalId");
    }
    // Inputs, and outputs, each have a channel of their own; 0 is no pin.
    const pb::FieldDescriptor* pin = nullptr;
    if (type == ConfigData::descriptor() && (field->number() == ConfigData::kInputsFieldNumber ||
                                             field->number() == ConfigData::kOutputsFieldNumber)) {
      pin = field->message_type()->FindFieldByName("pin");
    }
    std::unordered_map<std::int64_t, int> on_pin;
    const bool limited = limits_ != nullptr && &record == root_;
    std::unordered_map<std::int64_t, int> first;
    const internal::Walk::Step list = walk_.Member(field->name());
    if (limited) limits_->CheckTemplate(field, walk_.Path(), [this](const Finding& finding) { Emit(finding); });
    for (int i = 0; i < size; ++i) {
      const pb::Message& element = reflection->GetRepeatedMessage(record, field, i);
      if (key != nullptr) {
        const std::int64_t id = IntegerAt(element, key, 0);
        auto [seen, fresh] = first.emplace(id, i);
        if (!fresh) {
          const std::string earlier = walk_.PathToElement(seen->second);
          const internal::Walk::Step step = walk_.Element(i);
          Add(walk_.PathTo(key->name()), Severity::kError, "duplicate-id",
              key->name() + " " + std::to_string(id) + " is already used by " + earlier +
                  "; identifiers must be unique within " + field->name());
        }
      }
      if (pin != nullptr) {
        const std::int64_t number = IntegerAt(element, pin, 0);
        auto [seen, fresh] = on_pin.emplace(number, i);
        if (number != 0 && !fresh) SharedPin(record, field, seen->second, i, number);
      }
      if (limited) {
        limits_->Check(field, i, walk_.PathToElement(i), [this](const Finding& finding) { Emit(finding); });
      }
      const internal::Walk::Step step = walk_.Element(i);
      Record(element);
    }
  }

  // "inputs[3] (id 4, alias "Oil")", the walk standing in the list.
  std::string Entry(const pb::Message& list_holder, const pb::FieldDescriptor* list, int index) const {
    const pb::Message& entry = list_holder.GetReflection()->GetRepeatedMessage(list_holder, list, index);
    const pb::Descriptor* type = entry.GetDescriptor();
    std::string out = walk_.PathToElement(index) + " (id " +
                      std::to_string(IntegerAt(entry, type->FindFieldByName("id"), 0));
    const std::string alias = entry.GetReflection()->GetString(entry, type->FindFieldByName("alias"));
    if (alias.empty()) return out + ", no alias)";
    out += ", alias ";
    internal::AppendJsonString(alias, &out);
    return out + ")";
  }

  // Two entries of one list on the same pin, the walk standing in the list.
  void SharedPin(const pb::Message& record, const pb::FieldDescriptor* list, int earlier, int later,
                 std::int64_t pin) {
    const std::string first = Entry(record, list, earlier);
    const std::string second = Entry(record, list, later);
    const std::string kind = list->name() == "inputs" ? "input" : "output";
    const internal::Walk::Step step = walk_.Element(later);
    Add(walk_.PathTo("pin"), Severity::kWarning, "shared-pin",
        "pin " + std::to_string(pin) + " of " + second + " is also the pin of " + first + "; each " + kind +
            " has a pin of its own: give one of the two another pin unless both are meant to use it");
  }

  void Enum(const pb::EnumDescriptor* type, std::int64_t value, At at) {
    if (type->FindValueByNumber(static_cast<int>(value)) != nullptr) return;
    Add(PathOf(at), Severity::kError, "unknown-enum-value",
        std::to_string(value) + " is not a value of " + DescribeEnum(type));
  }

  void Resolve(Target target, const pb::FieldDescriptor* field, std::int64_t value, At at) {
    if (scope_ == nullptr) return;  // a record on its own has no document to resolve in
    // Identifiers are 32-bit on the device whatever the field's signedness.
    const auto id = static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
    switch (target) {
      case Target::kInput:
      case Target::kOutput: {
        // Settings leave a reference at 0 when they do not use it.
        const bool input = target == Target::kInput;
        if (id == 0 || (input ? scope_->inputs : scope_->outputs).count(id) != 0) return;
        const char* kind = input ? "input" : "output";
        Add(PathOf(at), Severity::kError, "dangling-reference",
            field->name() + " names " + kind + " " + std::to_string(id) + ", but no " + kind +
                " of the document has that id");
        return;
      }
      case Target::kBus:
        // A router names both its buses: 0 is a bus number like any other.
        if (scope_->buses.count(id) != 0) return;
        Add(PathOf(at), Severity::kError, "dangling-reference",
            field->name() + " names bus " + std::to_string(id) + ", but no canbus of the document has that canbusId");
        return;
      case Target::kNone:
        return;
    }
  }

  // Settings held as bytes: read as their record, then linted as such.
  void Settings(const pb::Message& holder, const pb::FieldDescriptor* field) {
    std::string scratch;
    const std::string& bytes = holder.GetReflection()->GetStringReference(holder, field, &scratch);
    const internal::Settings settings = walk_.Decide(holder, bytes);
    const pb::Descriptor* paired = settings.paired;
    if (paired == nullptr) return;
    std::string why;
    Severity unreadable = Severity::kError;
    Remedy remedy;
    EntryKind kind;
    if (internal::EntryKindOf(holder.GetDescriptor(), &kind)) {
      const int code = internal::EntryTypeCode(holder);
      // Bytes that are not exactly their record may be exactly another's:
      // then the type code and the settings disagree, and re-encoding them
      // as the code's record would lose what they hold.
      const bool fits = settings.canonical() && !internal::HoldsUnknownFields(*settings.record);
      if (!fits && settings.state != internal::Settings::State::kTooDeep) {
        const std::vector<internal::OtherFit> others = walk_.OtherFits(kind, paired, bytes);
        if (!others.empty()) {
          Add(walk_.PathTo(field->name()), Severity::kError, "config-type-mismatch",
              TypeMismatch(kind, code, paired, bytes.size(), others));
          return;
        }
      }
      why = " (the record " + std::string(EntryKindName(kind)) + " type " + internal::DescribeTypeCode(kind, code) +
            " holds)";
      // Only the map's type chose this table: other bytes may be another table.
      if (walk_.pairing().SourceOf(kind, code) == PairingSource::kMapType) {
        why = " (the table its type " + std::to_string(code) + " names); pair the map type with the table it holds";
        unreadable = Severity::kWarning;
        remedy.kind = Remedy::Kind::kPairCode;
        remedy.entry = kind;
        remedy.code = code;
      }
    }
    if (settings.state == internal::Settings::State::kUnreadable) {
      Add(walk_.PathTo(field->name()), unreadable, "config-unreadable",
          "the " + std::to_string(bytes.size()) + " bytes do not parse as " + paired->full_name() + why, remedy);
      return;
    }
    if (settings.state == internal::Settings::State::kNotCanonical) {
      Add(walk_.PathTo(field->name()), Severity::kWarning, "config-not-canonical",
          "reads as " + paired->full_name() + " but encoding it again gives " +
              std::to_string(settings.record->ByteSizeLong()) + " bytes that differ from the " +
              std::to_string(bytes.size()) + " stored; store the re-encoded bytes");
    }
    const internal::Walk::Step step = walk_.Into(settings, field->name());
    Record(*settings.record);
  }

  // "type 2 (DigitalInput) holds DigitalInConfiguration, but the 24 bytes
  // are AdcConfiguration settings as that record encodes them, and type 0
  // (AdcInput) holds AdcConfiguration: ..."
  static std::string TypeMismatch(EntryKind kind, int code, const pb::Descriptor* paired, std::size_t size,
                                  const std::vector<internal::OtherFit>& others) {
    const auto codes = [kind](const std::vector<int>& list) {
      std::string out = list.size() == 1 ? "type " : "types ";
      for (std::size_t i = 0; i < list.size(); ++i) {
        if (i > 0) out += i + 1 == list.size() ? " and " : ", ";
        out += internal::DescribeTypeCode(kind, list[i]);
      }
      return out;
    };
    std::string message = "type " + internal::DescribeTypeCode(kind, code) + " holds " + paired->full_name() +
                          ", but the " + std::to_string(size) + (size == 1 ? " byte is " : " bytes are ");
    std::string change;
    if (others.size() == 1) {
      const internal::OtherFit& other = others.front();
      const std::string& name = other.record->full_name();
      message += name + " settings as that record encodes them, and " + codes(other.codes) +
                 (other.codes.size() == 1 ? " holds " : " hold ") + name;
      change = other.codes.size() == 1 ? "set type to " + std::to_string(other.codes.front())
                                       : "set type to the one of them meant";
    } else {
      // A few bytes can be the encoding of many records: the first few say enough.
      constexpr std::size_t kNamed = 3;
      const std::size_t named = others.size() > kNamed + 1 ? kNamed : others.size();
      message += "the settings";
      for (std::size_t i = 0; i < named; ++i) {
        if (i > 0) message += i + 1 == others.size() ? " or" : ",";
        message += " of " + others[i].record->full_name() + " (held by " + codes(others[i].codes) + ")";
      }
      if (named < others.size()) {
        message += " or of " + std::to_string(others.size() - named) + " other records the " +
                   std::string(EntryKindName(kind)) + " codes hold";
      }
      message += ", as each record encodes them";
      change = "set type to the one meant";
    }
    return message + ": " + change + " if the settings are right, or give the " + std::string(EntryKindName(kind)) +
           " " + paired->full_name() + " settings if the type is";
  }

  // A table's breakpoints rise strictly along each axis, and a whole table
  // holds a value for each pair of breakpoints, wherever it stands (a map's
  // settings, an input's linearization).
  void Table(const pb::Message& record) {
    const pb::Descriptor* type = record.GetDescriptor();
    if (type == ::Map3D::descriptor()) {
      std::unique_ptr<::Map3D> copy;
      const ::Map3D& table = internal::AsGenerated(record, &copy);
      for (const char* axis : {"x", "y"}) {
        const auto& points = axis[0] == 'x' ? table.x() : table.y();
        const internal::Walk::Step step = walk_.Member(axis);
        Rising(std::vector<std::int64_t>(points.begin(), points.end()),
               [&](int i) { return walk_.PathToElement(i); },
               [&](int i) { return std::string(axis) + "[" + std::to_string(i) + "]"; });
      }
      const auto x = static_cast<std::size_t>(table.x_size());
      const auto y = static_cast<std::size_t>(table.y_size());
      const auto values = static_cast<std::size_t>(table.values_size());
      if (values == x * y) return;
      const auto counted = [](std::size_t n, const char* one, const char* many) {
        return std::to_string(n) + " " + (n == 1 ? one : many);
      };
      Add(walk_.PathTo("values"), Severity::kWarning, "map-size",
          "values holds " + counted(values, "entry", "entries") + ", but " +
              counted(x, "x breakpoint", "x breakpoints") + " by " + counted(y, "y breakpoint", "y breakpoints") +
              " make a table of " + std::to_string(x * y) + ": give a row of " + counted(x, "value", "values") +
              " for each y breakpoint");
    } else if (type == ::Map2D::descriptor()) {
      std::unique_ptr<::Map2D> copy;
      const ::Map2D& table = internal::AsGenerated(record, &copy);
      std::vector<std::int64_t> x;
      for (const ::Map2DPoint& point : table.points()) x.push_back(point.x());
      const internal::Walk::Step step = walk_.Member("points");
      Rising(x, [&](int i) { return internal::JoinPath(walk_.PathToElement(i), "x"); },
             [&](int i) { return "points[" + std::to_string(i) + "].x"; });
    }
  }

  // The first breakpoint of an axis not above the one before it.
  template <typename PathOf, typename NameOf>
  void Rising(const std::vector<std::int64_t>& points, PathOf path_of, NameOf name_of) {
    int first = -1;
    int falling = 0;
    for (std::size_t i = 1; i < points.size(); ++i) {
      if (points[i] > points[i - 1]) continue;
      if (first < 0) first = static_cast<int>(i);
      ++falling;
    }
    if (first < 0) return;
    std::string message = name_of(first) + " " + std::to_string(points[first]) + " is not above " +
                          name_of(first - 1) + " " + std::to_string(points[first - 1]);
    if (falling > 1) {
      message += " (" + std::to_string(falling) + " of the axis's " + std::to_string(points.size() - 1) +
                 " steps do not rise)";
    }
    Add(path_of(first), Severity::kWarning, "map-axis-order",
        message + "; a table's breakpoints rise strictly along each axis: put them in increasing order, with the "
                  "values that go with them");
  }

  void Unknown(const pb::Message& record) {
    const pb::UnknownFieldSet& unknown = record.GetReflection()->GetUnknownFields(record);
    if (unknown.empty()) return;
    std::set<int> numbers;
    for (int i = 0; i < unknown.field_count(); ++i) numbers.insert(unknown.field(i).number());
    std::string list;
    for (int number : numbers) list += (list.empty() ? "" : ", ") + std::to_string(number);
    Add(walk_.Path(), Severity::kWarning, "unknown-field",
        std::string(numbers.size() == 1 ? "field " : "fields ") + list + " not in " +
            record.GetDescriptor()->full_name() + ": kept and written back, but no reader of this schema uses " +
            (numbers.size() == 1 ? "it" : "them"));
  }

  internal::Walk walk_;
  const FindingSink& sink_;
  LintCounts counts_;
  const Scope* scope_ = nullptr;
  const pb::Message* root_ = nullptr;
  const internal::CalibrationLimits* limits_ = nullptr;
};

}  // namespace

LintCounts Lint(const pb::Message& record, const LintOptions& options, const FindingSink& sink) {
  Linter linter(options, sink);
  if (options.encoded) linter.Encoding(*options.encoded, record);
  linter.Root(record, options.limits);
  return linter.counts();
}

std::vector<Finding> Lint(const pb::Message& record, const LintOptions& options) {
  std::vector<Finding> findings;
  Lint(record, options, [&findings](const Finding& finding) { findings.push_back(finding); });
  return findings;
}

bool HasErrors(const std::vector<Finding>& findings) {
  return std::any_of(findings.begin(), findings.end(),
                     [](const Finding& finding) { return finding.severity == Severity::kError; });
}

}  // namespace gcuschema::document
