#include "json/writer.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <thread>

#include <google/protobuf/stubs/common.h>
#include <google/protobuf/stubs/logging.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/unknown_field_set.h>
#include <google/protobuf/wire_format_lite.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "config_slots.h"
#include "field_path.h"
#include "json/spelling.h"

namespace gcuschema::document::internal {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;

// Text is handed to the sink in stretches of about this size.
constexpr std::size_t kFlushSize = 256 * 1024;

// Lists of records from this many elements on are written by several
// threads when asked, in chunks of kSharedChunk records each.
constexpr int kSharedFrom = 4096;
constexpr int kSharedChunk = 1024;

const std::string kTypeKey = "\"@type\"";
const std::string kUnknownKey = "\"@unknown\"";

}  // namespace

JsonWriter::JsonWriter(const PairingCatalogue& pairing, const JsonWriteOptions& options, std::string* out,
                       const Sink* sink)
    : pairing_(pairing),
      options_(options),
      out_(out),
      sink_(sink),
      colon_(options.indent > 0 ? ": " : ":"),
      comma_(options.indent > 0 ? ", " : ","),
      settings_(kMaxConfigDepth + 1) {}

void JsonWriter::Document(const pb::Message& record) {
  const std::string name = record.GetDescriptor()->full_name();
  Record(record, 0, options_.type_name ? &name : nullptr, 0);
  if (sink_ != nullptr && !out_->empty()) {
    (*sink_)(*out_);
    out_->clear();
  }
}

void JsonWriter::NewLine(int level) {
  if (options_.indent <= 0) return;
  const std::size_t width = static_cast<std::size_t>(level) * static_cast<std::size_t>(options_.indent);
  if (spaces_.size() < width) spaces_.assign(width * 2, ' ');
  out_->push_back('\n');
  out_->append(spaces_, 0, width);
}

void JsonWriter::Flush() {
  if (sink_ != nullptr && out_->size() >= kFlushSize) {
    (*sink_)(*out_);
    out_->clear();
  }
}

std::string JsonWriter::Path(std::string_view member) const {
  std::string path;
  for (const auto& [name, index] : path_) {
    if (!name.empty()) path = JoinPath(path, name);
    if (index >= 0) path = IndexPath(path, index);
  }
  return member.empty() ? path : JoinPath(path, member);
}

bool JsonWriter::Present(const pb::Message& record, const FieldPlan& field) const {
  const pb::Reflection* reflection = record.GetReflection();
  if (field.repeated) return reflection->FieldSize(record, field.field) > 0;
  // The record writes a float or double when it compares unequal to zero:
  // a negative zero is as absent as zero.
  if (!field.explicit_presence && field.kind == ValueKind::kFloat) {
    return reflection->GetFloat(record, field.field) != 0;
  }
  if (!field.explicit_presence && field.kind == ValueKind::kDouble) {
    return reflection->GetDouble(record, field.field) != 0;
  }
  return reflection->HasField(record, field.field);
}

void JsonWriter::Record(const pb::Message& record, int level, const std::string* type_name, int config_depth) {
  const RecordPlan& plan = plans_.Get(record.GetDescriptor());
  const pb::Reflection* reflection = record.GetReflection();
  bool first = true;
  auto member = [&](const std::string& key) {
    out_->push_back(first ? '{' : ',');
    first = false;
    NewLine(level + 1);
    out_->append(key);
    out_->append(colon_);
  };
  if (type_name != nullptr) {
    member(kTypeKey);
    AppendJsonString(*type_name, out_);
  }
  const bool keep_all = options_.expand || options_.unknown_fields;
  std::string hidden;
  for (const FieldPlan& field : plan.fields) {
    const std::string& key = options_.original_names ? field.original_key : field.json_key;
    // A NaN JSON cannot spell travels, with its field, as encoded bytes.
    if (keep_all && plan.has_floats && HideUnspellable(record, field, &hidden)) continue;
    if (field.config && options_.expand) {
      if (const pb::Message* settings = Expanded(record, field, config_depth)) {
        member(key);
        path_.emplace_back(field.field->name(), -1);
        Record(*settings, level + 1, &settings->GetDescriptor()->full_name(), config_depth + 1);
        path_.pop_back();
        continue;
      }
    }
    if (!Present(record, field)) continue;
    if (field.kind == ValueKind::kUnsupported) {
      throw UnsupportedError(Path(field.field->name()), field.unsupported + " is not supported");
    }
    member(key);
    if (field.repeated) {
      List(record, field, level + 1, config_depth);
    } else if (field.kind == ValueKind::kRecord) {
      path_.emplace_back(field.field->name(), -1);
      Record(reflection->GetMessage(record, field.field), level + 1, nullptr, config_depth);
      path_.pop_back();
    } else {
      Scalar(record, field, -1);
    }
  }
  if (keep_all) {
    const pb::UnknownFieldSet& unknown = reflection->GetUnknownFields(record);
    std::string bytes = std::move(hidden);
    if (!unknown.empty()) {
      scratch_.clear();
      unknown.SerializeToString(&scratch_);
      bytes += scratch_;
    }
    if (!bytes.empty()) {
      member(kUnknownKey);
      AppendBase64(bytes, out_);
    }
  }
  if (first) {
    out_->append("{}");
    return;
  }
  NewLine(level);
  out_->push_back('}');
}

void JsonWriter::List(const pb::Message& record, const FieldPlan& field, int level, int config_depth) {
  const pb::Reflection* reflection = record.GetReflection();
  const int count = reflection->FieldSize(record, field.field);
  out_->push_back('[');
  if (field.kind == ValueKind::kRecord) {
    // Records one per line block.
    path_.emplace_back(field.field->name(), -1);
    if (count >= kSharedFrom && options_.threads != 1) {
      SharedRecordElements(record, field, count, level, config_depth);
    } else {
      RecordElements(record, field, 0, count, level, config_depth);
    }
    path_.pop_back();
    NewLine(level);
  } else {
    // Numbers, names and text on one line.
    for (int i = 0; i < count; ++i) {
      if (i > 0) out_->append(comma_);
      Scalar(record, field, i);
    }
  }
  out_->push_back(']');
}

void JsonWriter::RecordElements(const pb::Message& record, const FieldPlan& field, int begin, int end, int level,
                                int config_depth) {
  const pb::Reflection* reflection = record.GetReflection();
  for (int i = begin; i < end; ++i) {
    if (i > 0) out_->push_back(',');
    NewLine(level + 1);
    path_.emplace_back(std::string_view(), i);
    Record(reflection->GetRepeatedMessage(record, field.field, i), level + 1, nullptr, config_depth);
    path_.pop_back();
    Flush();
  }
}

void JsonWriter::SharedRecordElements(const pb::Message& record, const FieldPlan& field, int count, int level,
                                      int config_depth) {
  const int threads = std::min(options_.threads <= 0 ? static_cast<int>(std::thread::hardware_concurrency())
                                                     : options_.threads,
                               count / kSharedChunk);
  if (threads <= 1) {
    RecordElements(record, field, 0, count, level, config_depth);
    return;
  }
  // One writer per helper thread, with the path so far for its messages.
  while (static_cast<int>(helpers_.size()) < threads - 1) {
    helper_text_.emplace_back();
    helpers_.push_back(std::make_unique<JsonWriter>(pairing_, options_, &helper_text_.back()));
  }
  for (auto& helper : helpers_) helper->path_ = path_;
  // Rounds of one chunk per thread: this thread writes the first chunk
  // straight out, the helpers the others, appended in order once done.
  for (int begin = 0; begin < count;) {
    std::vector<std::thread> running;
    std::vector<std::exception_ptr> failed(threads);
    std::vector<std::pair<int, int>> chunks;
    for (int t = 0; t < threads && begin < count; ++t) {
      chunks.emplace_back(begin, std::min(count, begin + kSharedChunk));
      begin = chunks.back().second;
    }
    for (std::size_t t = 1; t < chunks.size(); ++t) {
      running.emplace_back([&, t] {
        try {
          helper_text_[t - 1].clear();
          helpers_[t - 1]->RecordElements(record, field, chunks[t].first, chunks[t].second, level, config_depth);
        } catch (...) {
          failed[t] = std::current_exception();
        }
      });
    }
    try {
      RecordElements(record, field, chunks[0].first, chunks[0].second, level, config_depth);
    } catch (...) {
      failed[0] = std::current_exception();
    }
    for (std::thread& thread : running) thread.join();
    for (std::size_t t = 0; t < chunks.size(); ++t) {
      if (failed[t]) std::rethrow_exception(failed[t]);
      if (t > 0) {
        out_->append(helper_text_[t - 1]);
        Flush();
      }
    }
  }
}

void JsonWriter::Scalar(const pb::Message& record, const FieldPlan& field, int index) {
  const pb::Reflection* reflection = record.GetReflection();
  const FieldDescriptor* f = field.field;
  const bool repeated = index >= 0;
  switch (field.kind) {
    case ValueKind::kInt32:
      AppendInteger(repeated ? reflection->GetRepeatedInt32(record, f, index) : reflection->GetInt32(record, f), out_);
      return;
    case ValueKind::kUInt32:
      AppendUnsigned(repeated ? reflection->GetRepeatedUInt32(record, f, index) : reflection->GetUInt32(record, f),
                     out_);
      return;
    case ValueKind::kInt64:
      AppendQuotedInteger(repeated ? reflection->GetRepeatedInt64(record, f, index) : reflection->GetInt64(record, f),
                          out_);
      return;
    case ValueKind::kUInt64:
      AppendQuotedUnsigned(
          repeated ? reflection->GetRepeatedUInt64(record, f, index) : reflection->GetUInt64(record, f), out_);
      return;
    case ValueKind::kFloat:
      AppendFloat(repeated ? reflection->GetRepeatedFloat(record, f, index) : reflection->GetFloat(record, f), out_);
      return;
    case ValueKind::kDouble:
      AppendDouble(repeated ? reflection->GetRepeatedDouble(record, f, index) : reflection->GetDouble(record, f),
                   out_);
      return;
    case ValueKind::kBool:
      out_->append((repeated ? reflection->GetRepeatedBool(record, f, index) : reflection->GetBool(record, f))
                       ? "true"
                       : "false");
      return;
    case ValueKind::kEnum: {
      const int number =
          repeated ? reflection->GetRepeatedEnumValue(record, f, index) : reflection->GetEnumValue(record, f);
      if (const pb::EnumValueDescriptor* value = f->enum_type()->FindValueByNumber(number)) {
        AppendJsonString(value->name(), out_);
      } else {
        AppendInteger(number, out_);
      }
      return;
    }
    case ValueKind::kString:
    case ValueKind::kBytes: {
      const std::string& text = repeated ? reflection->GetRepeatedStringReference(record, f, index, &scratch_)
                                         : reflection->GetStringReference(record, f, &scratch_);
      if (field.kind == ValueKind::kBytes) {
        AppendBase64(text, out_);
        return;
      }
      if (!pb::internal::IsStructurallyValidUTF8(text.data(), static_cast<int>(text.size()))) {
        throw Error(repeated ? IndexPath(Path(f->name()), index) : Path(f->name()),
                    "the text is not UTF-8, which JSON cannot carry; fix it, or use the binary or text form");
      }
      AppendJsonString(text, out_);
      return;
    }
    default:
      throw UnsupportedError(Path(f->name()), field.unsupported + " is not supported");
  }
}

bool JsonWriter::HideUnspellable(const pb::Message& record, const FieldPlan& field, std::string* hidden) {
  if (field.kind != ValueKind::kFloat && field.kind != ValueKind::kDouble) return false;
  const pb::Reflection* reflection = record.GetReflection();
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

const pb::Message* JsonWriter::Expanded(const pb::Message& holder, const FieldPlan& field, int config_depth) {
  if (config_depth >= kMaxConfigDepth) return nullptr;
  const pb::Descriptor* type = HeldRecord(holder, pairing_);
  if (type == nullptr) return nullptr;
  std::unique_ptr<pb::Message>& settings = settings_[config_depth][type];
  if (settings == nullptr) settings = NewRecord(type);
  settings->Clear();
  const std::string& bytes = holder.GetReflection()->GetStringReference(holder, field.field, &scratch_);
  {
    // Bytes that are not the record are shown as bytes, without a word
    // from the runtime.
    pb::LogSilencer quiet;
    if (!settings->ParsePartialFromString(bytes)) return nullptr;
  }
  std::string again;
  settings->SerializePartialToString(&again);
  if (again != bytes) return nullptr;
  return settings.get();
}

}  // namespace gcuschema::document::internal
