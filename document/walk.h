// The one walk over a document that every reader and writer of the library
// takes: where it stands (the field path, pushed and popped as it goes, and
// the levels of `config` above), and, for each `config` it meets, one
// decision about the settings it holds. Nothing else descends into `config`.
#ifndef GCUSCHEMA_DOCUMENT_WALK_H
#define GCUSCHEMA_DOCUMENT_WALK_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document::internal {

// Settings may themselves hold settings (a caller can pair a driver code
// with ConfigData), so a document can nest a record in itself without end;
// the walk stops at this many levels of `config`, far below what would
// exhaust a stack and far above what any device document needs (two: the
// ConfigData of a DeviceData, then an entry's settings).
inline constexpr int kMaxConfigDepth = 16;

// The entry kind of a record that carries settings in its `config`, or
// false for any other record.
bool EntryKindOf(const google::protobuf::Descriptor* type, EntryKind* kind);

// An entry's type code read from its `type` field (`field`, as found once
// by the caller), whatever the field's integer kind: int32 for inputs,
// outputs and handlers, an enumeration for maps, uint32 for drivers.
int TypeCodeIn(const google::protobuf::Message& entry, const google::protobuf::Reflection* reflection,
               const google::protobuf::FieldDescriptor* field);

// An entry's type code.
int EntryTypeCode(const google::protobuf::Message& entry);

// The `config` field of a record that holds settings (an entry, or
// DeviceData, whose `config` is a ConfigData), or null for any other record.
const google::protobuf::FieldDescriptor* SettingsField(const google::protobuf::Descriptor* type);

// Whether `field` of records of `type` is a `config` that holds settings.
inline bool IsSettingsField(const google::protobuf::Descriptor* type, const google::protobuf::FieldDescriptor* field) {
  // Every such field is bytes named so: the cheap tests first, as writers
  // and readers ask this of every bytes field they meet.
  return field != nullptr && field->type() == google::protobuf::FieldDescriptor::TYPE_BYTES &&
         field->name() == "config" && field == SettingsField(type);
}

// The settings record `holder`'s `config` holds: a ConfigData for a
// DeviceData, what the pairing gives for an entry's kind and type code.
// Null for settings left open (bytes) and for records that hold none.
const google::protobuf::Descriptor* PairedSettings(const google::protobuf::Message& holder,
                                                   const PairingCatalogue& pairing);

// "2 (DigitalInput)": an entry's type code with its name where the kind's
// enumeration has one.
std::string DescribeTypeCode(EntryKind kind, int code);

// The type codes of `kind` that `pairing` gives `record` to, ascending.
std::vector<int> CodesHolding(const PairingCatalogue& pairing, EntryKind kind,
                              const google::protobuf::Descriptor* record);

// Whether `record`, or any record inside it, holds fields its type does not
// know.
bool HoldsUnknownFields(const google::protobuf::Message& record);

// A record other than the paired one that a `config`'s bytes are exactly
// an encoding of, with the type codes of the entry's kind that hold it.
struct OtherFit {
  const google::protobuf::Descriptor* record;
  std::vector<int> codes;
};

// What a `config` holds, decided once for every reader and writer.
struct Settings {
  enum class State {
    kOpen,          // no record is paired with it: bytes
    kTooDeep,       // deeper than kMaxConfigDepth: not read (entering them throws)
    kUnreadable,    // the bytes do not parse as the paired record
    kNotCanonical,  // they do, but encoding the record again gives other bytes
    kCanonical,     // they do, and the record encodes back to exactly them
  };
  State state = State::kOpen;
  // The record the pairing gives (null for kOpen).
  const google::protobuf::Descriptor* paired = nullptr;
  // The settings read from the bytes (kNotCanonical and kCanonical): kept
  // by the walk until it reads settings of the same record at the same
  // depth again.
  const google::protobuf::Message* record = nullptr;

  bool read() const { return record != nullptr; }
  // Shown as their record without losing a byte.
  bool canonical() const { return state == State::kCanonical; }
};

class Walk {
 public:
  explicit Walk(const PairingCatalogue& pairing) : pairing_(pairing) {}
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;

  const PairingCatalogue& pairing() const { return pairing_; }

  // A step of the path, taken back when it goes out of scope. Names must
  // outlive the step (descriptors' names and string literals do).
  class [[nodiscard]] Step {
   public:
    Step(Step&& other) noexcept : walk_(other.walk_) { other.walk_ = nullptr; }
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;
    Step& operator=(Step&&) = delete;
    ~Step() {
      if (walk_ != nullptr) walk_->Pop();
    }

   private:
    friend class Walk;
    explicit Step(Walk* walk) : walk_(walk) {}
    Walk* walk_;
  };

  Step Member(std::string_view name) {
    Push(name, -1);
    return Step(this);
  }
  Step Element(int index) {
    Push({}, index);
    return Step(this);
  }
  // Element `index` of a list whose entries are known by an identifier:
  // the path spells `label` in its brackets instead of the index
  // ("inputs[id=2 \"Switch_002\"]"). The label must outlive the step.
  Step Entry(int index, std::string_view label) {
    Push({}, index);
    steps_.back().label = label;
    return Step(this);
  }
  // Into the settings `decided` for the `config` member of the record
  // where the walk stands: the member, and one level of `config` more.
  // Throws Error at the path of that `config` when the settings lie deeper
  // than kMaxConfigDepth.
  Step Into(const Settings& decided, std::string_view member = "config");

  // Where the walk stands ("inputs[3].config.range"); empty at the record
  // it started from.
  std::string Path() const { return Path(steps_.size()); }
  // The path of the first `steps` steps.
  std::string Path(std::size_t steps) const;
  // The path to `member` of the record where the walk stands, or to
  // element `index` of the list where it stands.
  std::string PathTo(std::string_view member) const;
  std::string PathToElement(int index) const;
  // Whether the last step taken is into a list element.
  bool at_element() const { return !steps_.empty() && steps_.back().index >= 0; }
  // Levels of `config` above the record where the walk stands.
  int config_depth() const { return config_depth_; }
  // Steps taken; with Truncate, for callers that rebuild a path from
  // another description of it (the differencer's).
  std::size_t size() const { return steps_.size(); }
  void Truncate(std::size_t size);
  // Taken for every member and element a reader or writer passes: inline.
  void Push(std::string_view name, int index, const google::protobuf::Descriptor* settings = nullptr) {
    steps_.push_back(StepData{name, index, settings});
    if (settings != nullptr) ++config_depth_;
  }
  void Pop() {
    if (steps_.back().settings != nullptr) --config_depth_;
    steps_.pop_back();
  }
  // Takes the place where `other` stands (for a walk that carries on part
  // of another's work on another thread).
  void StandAt(const Walk& other) {
    steps_ = other.steps_;
    config_depth_ = other.config_depth_;
  }
  // Paths name the record read from each `config` ("config<AdcConfiguration>").
  void set_name_settings(bool name) { name_settings_ = name; }

  // The settings `holder` (a record that holds them: see SettingsField)
  // carries in `bytes`, its `config`. A walk over two documents side by
  // side (a comparison) keeps the settings of each `side` (0 or 1) apart.
  Settings Decide(const google::protobuf::Message& holder, const std::string& bytes, int side = 0);
  // The same, the bytes read from the holder.
  Settings Decide(const google::protobuf::Message& holder);
  // The same with the record given (the pairing already asked by the caller).
  Settings Decide(const google::protobuf::Descriptor* paired, const std::string& bytes, int side = 0);

  // The records the pairing gives to codes of `kind`, other than `paired`,
  // whose own encoding `bytes` are, every field known: settings written for
  // another type code than their entry's. Asked only of settings that do
  // not fit their own record that way, since empty bytes and a record of
  // a few common fields fit many.
  std::vector<OtherFit> OtherFits(EntryKind kind, const google::protobuf::Descriptor* paired,
                                  const std::string& bytes);

  // The Error for settings deeper than kMaxConfigDepth, at `path`.
  static Error TooDeep(const std::string& path);

 private:
  struct StepData {
    std::string_view name;
    int index;
    const google::protobuf::Descriptor* settings;
    std::string_view label = {};  // spelt instead of the index when not empty
  };

  const PairingCatalogue& pairing_;
  std::vector<StepData> steps_;
  int config_depth_ = 0;
  bool name_settings_ = false;
  // Settings read, one record per depth, side and type, reused.
  std::vector<std::unordered_map<const google::protobuf::Descriptor*, std::unique_ptr<google::protobuf::Message>>>
      read_;
  std::string again_;  // settings encoded again, to compare with their bytes
  // OtherFits: the records of each kind with their codes, made when first
  // asked, and the records read there.
  std::unordered_map<int, std::vector<OtherFit>> held_by_kind_;
  std::unordered_map<const google::protobuf::Descriptor*, std::unique_ptr<google::protobuf::Message>> others_;
};

// `record` as its generated class; a copy (kept in `copy`) when it is
// another implementation of the same type, such as a dynamic message.
template <typename T>
const T& AsGenerated(const google::protobuf::Message& record, std::unique_ptr<T>* copy) {
  if (const T* generated = dynamic_cast<const T*>(&record)) return *generated;
  *copy = std::make_unique<T>();
  (*copy)->CopyFrom(record);
  return **copy;
}

}  // namespace gcuschema::document::internal

#endif
