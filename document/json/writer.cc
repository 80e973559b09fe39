#include "json/writer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include <google/protobuf/stubs/common.h>
#include <google/protobuf/stubs/logging.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/reflection.h>
#include <google/protobuf/unknown_field_set.h>
#include <google/protobuf/wire_format_lite.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "field_path.h"
#include "in_order.h"
#include "json/keys.h"
#include "json/spelling.h"
#include "walk.h"

namespace gcuschema::document::internal {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;

// Text is handed to the sink in stretches of about this size.
constexpr std::size_t kFlushSize = 256 * 1024;

// The values of a list of numbers, `comma` between them: the list is
// looked up once for all of them, not once for each.
template <typename T, typename Append>
void AppendList(const pb::Message& record, const pb::Reflection* reflection, const FieldDescriptor* field,
                std::string_view comma, TextBuffer* out, Append append) {
  const pb::RepeatedFieldRef<T> values = reflection->GetRepeatedFieldRef<T>(record, field);
  const int count = values.size();
  for (int i = 0; i < count; ++i) {
    if (i > 0) out->append(comma);
    append(values.Get(i), out);
  }
}

// Indentation is copied from here.
constexpr char kSpaces[32] = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ',
                              ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '};


}  // namespace

JsonWriter::JsonWriter(const WriteOptions& options, std::string* out,
                       const Sink* sink)
    : options_(options),
      text_(out),
      out_(&text_),
      sink_(sink),
      comma_(options.indent > 0 ? ", " : ","),
      walk_(options.pairing) {}

void JsonWriter::Document(const pb::Message& record) {
  const std::string name = record.GetDescriptor()->full_name();
  // Type names are read back only from a document that carries "@type".
  Record(record, 0, options_.type_name || options_.type_names ? &name : nullptr);
  if (sink_ != nullptr && !out_->empty()) {
    (*sink_)(*out_);
    out_->clear();
  }
}

char* JsonWriter::Indent(int level, char* at) const {
  const std::size_t width = static_cast<std::size_t>(level) * static_cast<std::size_t>(options_.indent);
  *at++ = '\n';
  // Room for kSpaces was asked for: most lines are indented less, and a
  // copy of a fixed size is a few instructions.
  if (width <= sizeof kSpaces) {
    std::memcpy(at, kSpaces, sizeof kSpaces);
  } else {
    std::memset(at, ' ', width);
  }
  return at + width;
}

void JsonWriter::NewLine(int level) {
  if (options_.indent <= 0) return;
  const std::size_t width = static_cast<std::size_t>(level) * static_cast<std::size_t>(options_.indent);
  out_->Advance(Indent(level, out_->Room(1 + std::max(width, sizeof kSpaces))));
}

void JsonWriter::Member(bool first, int level, std::string_view key) {
  const std::size_t width = static_cast<std::size_t>(level) * static_cast<std::size_t>(std::max(options_.indent, 0));
  char* at = out_->Room(key.size() + std::max(width, sizeof kSpaces) + 4);
  *at++ = first ? '{' : ',';
  if (options_.indent > 0) at = Indent(level, at);
  std::memcpy(at, key.data(), key.size());
  at += key.size();
  *at++ = ':';
  if (options_.indent > 0) *at++ = ' ';
  out_->Advance(at);
}

void JsonWriter::Flush() {
  if (sink_ != nullptr && out_->size() >= kFlushSize) {
    (*sink_)(*out_);
    out_->clear();
  }
}

std::string JsonWriter::Path(std::string_view member) const {
  return member.empty() ? walk_.Path() : walk_.PathTo(member);
}

void JsonWriter::Record(const pb::Message& record, int level, const std::string* type_name) {
  Record(record, plans_.Get(record.GetDescriptor()), record.GetReflection(), level, type_name);
}

void JsonWriter::Record(const pb::Message& record, const RecordPlan& plan, const pb::Reflection* reflection,
                        int level, const std::string* type_name) {
  bool first = true;
  auto member = [&](std::string_view key) {
    Member(first, level + 1, key);
    first = false;
  };
  if (type_name != nullptr) {
    member(kQuotedTypeKey);
    AppendJsonString(*type_name, out_);
  }
  const bool keep_all = options_.expand || options_.unknown_fields;
  std::string hidden;
  for (const FieldPlan& field : plan.fields) {
    const FieldDescriptor* f = field.field;
    const std::string& key = options_.original_names ? field.original_key : field.json_key;
    // A NaN JSON cannot spell travels, with its field, as encoded bytes.
    if (keep_all && plan.has_floats && HideUnspellable(record, reflection, field, &hidden)) continue;
    if (field.config && options_.expand) {
      // Settings are shown as their record only where that loses no byte.
      const Settings settings = DecideSettings(record, reflection, plan, field);
      if (settings.canonical() || settings.state == Settings::State::kTooDeep) {
        const Walk::Step step = walk_.Into(settings, f->name());
        member(key);
        Record(*settings.record, level + 1, &settings.paired->full_name());
        continue;
      }
    }
    // A type code by its name, code 0 too: a reader of the text then sees
    // what each entry is without knowing which code goes unwritten.
    if (options_.type_names && f == plan.type_code && plan.type_code_names != nullptr) {
      if (const pb::EnumValueDescriptor* name =
              plan.type_code_names->FindValueByNumber(TypeCodeIn(record, reflection, f))) {
        member(key);
        AppendJsonString(name->name(), out_);
        continue;
      }
    }
    if (field.repeated) {
      if (reflection->FieldSize(record, f) == 0) continue;
      if (field.kind == ValueKind::kUnsupported) Unsupported(field);
      member(key);
      List(record, reflection, field, level + 1);
      continue;
    }
    const bool present = field.explicit_presence && reflection->HasField(record, f);
    if (field.explicit_presence && !present) continue;
    // Without explicit presence a field is present when not zero or empty;
    // the record writes a float or double when it compares unequal to
    // zero, so -0.0 is as absent as zero.
    switch (field.kind) {
      case ValueKind::kInt32: {
        const std::int32_t v = reflection->GetInt32(record, f);
        if (v == 0 && !present) continue;
        member(key);
        AppendInteger(v, out_);
        break;
      }
      case ValueKind::kUInt32: {
        const std::uint32_t v = reflection->GetUInt32(record, f);
        if (v == 0 && !present) continue;
        member(key);
        AppendUnsigned(v, out_);
        break;
      }
      case ValueKind::kInt64: {
        const std::int64_t v = reflection->GetInt64(record, f);
        if (v == 0 && !present) continue;
        member(key);
        AppendQuotedInteger(v, out_);
        break;
      }
      case ValueKind::kUInt64: {
        const std::uint64_t v = reflection->GetUInt64(record, f);
        if (v == 0 && !present) continue;
        member(key);
        AppendQuotedUnsigned(v, out_);
        break;
      }
      case ValueKind::kFloat: {
        const float v = reflection->GetFloat(record, f);
        if (v == 0 && !present) continue;
        member(key);
        AppendFloat(v, out_);
        break;
      }
      case ValueKind::kDouble: {
        const double v = reflection->GetDouble(record, f);
        if (v == 0 && !present) continue;
        member(key);
        AppendDouble(v, out_);
        break;
      }
      case ValueKind::kBool: {
        const bool v = reflection->GetBool(record, f);
        if (!v && !present) continue;
        member(key);
        out_->append(v ? "true" : "false");
        break;
      }
      case ValueKind::kEnum: {
        const int v = reflection->GetEnumValue(record, f);
        if (v == 0 && !present) continue;
        member(key);
        AppendEnum(f, v);
        break;
      }
      case ValueKind::kString:
      case ValueKind::kBytes: {
        const std::string& v = reflection->GetStringReference(record, f, &scratch_);
        if (v.empty() && !present) continue;
        member(key);
        AppendText(field, v, -1);
        break;
      }
      case ValueKind::kRecord:
        member(key);
        {
          const Walk::Step step = walk_.Member(f->name());
          Record(reflection->GetMessage(record, f), level + 1, nullptr);
        }
        break;
      default:
        if (present || reflection->HasField(record, f)) Unsupported(field);
    }
  }
  if (keep_all) {
    const pb::UnknownFieldSet& unknown = reflection->GetUnknownFields(record);
    if (!unknown.empty()) {
      scratch_.clear();
      unknown.SerializeToString(&scratch_);
      hidden += scratch_;
    }
    if (!hidden.empty()) {
      member(kQuotedUnknownKey);
      AppendBase64(hidden, out_);
    }
  }
  if (first) {
    out_->append("{}");
    return;
  }
  NewLine(level);
  out_->push_back('}');
}

void JsonWriter::Unsupported(const FieldPlan& field) const {
  throw UnsupportedError(Path(field.field->name()), field.unsupported + " is not supported");
}

void JsonWriter::AppendEnum(const FieldDescriptor* field, int number) {
  if (const pb::EnumValueDescriptor* value = field->enum_type()->FindValueByNumber(number)) {
    AppendJsonString(value->name(), out_);
  } else {
    AppendInteger(number, out_);
  }
}

void JsonWriter::AppendText(const FieldPlan& field, const std::string& text, int index) {
  if (field.kind == ValueKind::kBytes) {
    AppendBase64(text, out_);
    return;
  }
  if (!IsUtf8(text)) {
    const std::string path = Path(field.field->name());
    throw Error(index >= 0 ? IndexPath(path, index) : path,
                "the text is not UTF-8, which JSON cannot carry; fix it, or use the binary or text form");
  }
  AppendJsonString(text, out_);
}

void JsonWriter::List(const pb::Message& record, const pb::Reflection* reflection, const FieldPlan& field,
                      int level) {
  const int count = reflection->FieldSize(record, field.field);
  out_->push_back('[');
  if (field.kind == ValueKind::kRecord) {
    // Records one per line block.
    {
      const Walk::Step step = walk_.Member(field.field->name());
      if (count >= kSharedFrom && options_.threads != 1) {
        SharedRecordElements(record, field, count, level);
      } else {
        RecordElements(record, field, 0, count, level);
      }
    }
    NewLine(level);
  } else {
    // Numbers, names and text on one line.
    Scalars(record, reflection, field, count);
  }
  out_->push_back(']');
}

void JsonWriter::RecordElements(const pb::Message& record, const FieldPlan& field, int begin, int end, int level) {
  if (begin >= end) return;
  // Looked up once per stretch: the elements are records of one type.
  const pb::Reflection* reflection = record.GetReflection();
  const RecordPlan& plan = plans_.Get(field.field->message_type());
  const pb::Reflection* element_reflection = reflection->GetRepeatedMessage(record, field.field, begin).GetReflection();
  for (int i = begin; i < end; ++i) {
    if (i > 0) out_->push_back(',');
    NewLine(level + 1);
    {
      const Walk::Step step = walk_.Element(i);
      Record(reflection->GetRepeatedMessage(record, field.field, i), plan, element_reflection, level + 1, nullptr);
    }
    Flush();
  }
}

void JsonWriter::SharedRecordElements(const pb::Message& record, const FieldPlan& field, int count, int level) {
  const int threads = std::min(ThreadCount(options_.threads), count / kSharedChunk);
  if (threads <= 1) {
    RecordElements(record, field, 0, count, level);
    return;
  }
  // Each helper thread a writer of its own (its plans, settings and
  // text), knowing the path so far for its messages.
  while (static_cast<int>(helpers_.size()) < threads) {
    helpers_.push_back(std::make_unique<JsonWriter>(options_, nullptr));
  }
  for (auto& helper : helpers_) helper->walk_.StandAt(walk_);
  MakeInOrder(
      count, threads, kSharedChunk,
      [&](int helper, int begin, int end, std::string* text) {
        JsonWriter& writer = *helpers_[static_cast<std::size_t>(helper)];
        TextBuffer chunk(text);
        writer.out_ = &chunk;
        writer.RecordElements(record, field, begin, end, level);
      },
      [&](const std::string& text) {
        if (sink_ == nullptr) {
          out_->append(text);
          return;
        }
        // A chunk goes to the sink as it is, after what came before it,
        // rather than being copied once more.
        if (!out_->empty()) {
          (*sink_)(*out_);
          out_->clear();
        }
        (*sink_)(text);
      });
}

void JsonWriter::Scalars(const pb::Message& record, const pb::Reflection* reflection, const FieldPlan& field,
                         int count) {
  const FieldDescriptor* f = field.field;
  switch (field.kind) {
    case ValueKind::kInt32:
      return AppendList<std::int32_t>(record, reflection, f, comma_, out_, [](std::int32_t v, TextBuffer* out) {
        AppendInteger(v, out);
      });
    case ValueKind::kUInt32:
      return AppendList<std::uint32_t>(record, reflection, f, comma_, out_, [](std::uint32_t v, TextBuffer* out) {
        AppendUnsigned(v, out);
      });
    case ValueKind::kInt64:
      return AppendList<std::int64_t>(record, reflection, f, comma_, out_, [](std::int64_t v, TextBuffer* out) {
        AppendQuotedInteger(v, out);
      });
    case ValueKind::kUInt64:
      return AppendList<std::uint64_t>(record, reflection, f, comma_, out_, [](std::uint64_t v, TextBuffer* out) {
        AppendQuotedUnsigned(v, out);
      });
    case ValueKind::kFloat:
      return AppendList<float>(record, reflection, f, comma_, out_, [](float v, TextBuffer* out) {
        AppendFloat(v, out);
      });
    case ValueKind::kDouble:
      return AppendList<double>(record, reflection, f, comma_, out_, [](double v, TextBuffer* out) {
        AppendDouble(v, out);
      });
    default: break;
  }
  for (int i = 0; i < count; ++i) {
    if (i > 0) out_->append(comma_);
    switch (field.kind) {
      case ValueKind::kBool: out_->append(reflection->GetRepeatedBool(record, f, i) ? "true" : "false"); break;
      case ValueKind::kEnum: AppendEnum(f, reflection->GetRepeatedEnumValue(record, f, i)); break;
      case ValueKind::kString:
      case ValueKind::kBytes: AppendText(field, reflection->GetRepeatedStringReference(record, f, i, &scratch_), i); break;
      default: Unsupported(field);
    }
  }
}

bool JsonWriter::HideUnspellable(const pb::Message& record, const pb::Reflection* reflection,
                                 const FieldPlan& field, std::string* hidden) {
  if (field.kind != ValueKind::kFloat && field.kind != ValueKind::kDouble) return false;
  const bool single = field.kind == ValueKind::kFloat;
  const int count = field.repeated ? reflection->FieldSize(record, field.field) : 1;
  auto unspellable = [&](int i) {
    if (single) {
      const float v = field.repeated ? reflection->GetRepeatedFloat(record, field.field, i)
                                     : reflection->GetFloat(record, field.field);
      return std::isnan(v) && !IsPlainNan(v);
    }
    const double v = field.repeated ? reflection->GetRepeatedDouble(record, field.field, i)
                                    : reflection->GetDouble(record, field.field);
    return std::isnan(v) && !IsPlainNan(v);
  };
  bool any = false;
  for (int i = 0; i < count && !any; ++i) any = unspellable(i);
  if (!any) return false;
  // The field's encoding as the record writes it: packed when a list.
  const int number = field.field->number();
  pb::io::StringOutputStream stream(hidden);
  pb::io::CodedOutputStream out(&stream);
  auto value = [&](int i) {
    if (single) {
      out.WriteLittleEndian32(pb::internal::WireFormatLite::EncodeFloat(
          field.repeated ? reflection->GetRepeatedFloat(record, field.field, i) : reflection->GetFloat(record, field.field)));
    } else {
      out.WriteLittleEndian64(pb::internal::WireFormatLite::EncodeDouble(
          field.repeated ? reflection->GetRepeatedDouble(record, field.field, i)
                         : reflection->GetDouble(record, field.field)));
    }
  };
  if (field.repeated) {
    out.WriteTag(pb::internal::WireFormatLite::MakeTag(number, pb::internal::WireFormatLite::WIRETYPE_LENGTH_DELIMITED));
    out.WriteVarint32(static_cast<std::uint32_t>(count * (single ? 4 : 8)));
    for (int i = 0; i < count; ++i) value(i);
  } else {
    out.WriteTag(pb::internal::WireFormatLite::MakeTag(
        number, single ? pb::internal::WireFormatLite::WIRETYPE_FIXED32 : pb::internal::WireFormatLite::WIRETYPE_FIXED64));
    value(-1);
  }
  return true;
}

Settings JsonWriter::DecideSettings(const pb::Message& holder, const pb::Reflection* reflection,
                                   const RecordPlan& plan, const FieldPlan& field) {
  const pb::Descriptor* paired = plan.entry ? walk_.pairing().Find(plan.kind, TypeCodeIn(holder, reflection, plan.type_code))
                                            : PairedSettings(holder, walk_.pairing());
  return walk_.Decide(paired, reflection->GetStringReference(holder, field.field, &scratch_));
}

}  // namespace gcuschema::document::internal
