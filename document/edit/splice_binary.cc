// Binary documents edited in place: the fields an edit touched encoded
// anew, the records around them given their new lengths, every other byte
// copied as it stands.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format_lite.h>

#include <gcuschema/document/error.h>

#include "edit/pieces.h"
#include "edit/touched.h"
#include "walk.h"

namespace gcuschema::document::internal {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;
using pb::internal::WireFormatLite;

// Where one field of an encoding lies.
struct WireField {
  int number;
  std::size_t start;    // its tag
  std::size_t tag_end;  // its length, for a length-delimited field; its value otherwise
  std::size_t content;  // its value
  std::size_t end;
  bool delimited;
};

std::vector<WireField> FieldsOf(std::string_view bytes) {
  pb::io::CodedInputStream in(reinterpret_cast<const std::uint8_t*>(bytes.data()), static_cast<int>(bytes.size()));
  std::vector<WireField> fields;
  while (true) {
    const auto start = static_cast<std::size_t>(in.CurrentPosition());
    const std::uint32_t tag = in.ReadTag();
    if (tag == 0) break;
    WireField field{static_cast<int>(WireFormatLite::GetTagFieldNumber(tag)), start,
                    static_cast<std::size_t>(in.CurrentPosition()), 0, 0, false};
    if (WireFormatLite::GetTagWireType(tag) == WireFormatLite::WIRETYPE_LENGTH_DELIMITED) {
      std::uint32_t length = 0;
      if (!in.ReadVarint32(&length)) break;
      field.content = static_cast<std::size_t>(in.CurrentPosition());
      if (!in.Skip(static_cast<int>(length))) break;
      field.delimited = true;
    } else {
      field.content = field.tag_end;
      if (!WireFormatLite::SkipField(&in, tag)) break;
    }
    field.end = static_cast<std::size_t>(in.CurrentPosition());
    fields.push_back(field);
  }
  // The bytes were read as the record before they were edited.
  if (static_cast<std::size_t>(in.CurrentPosition()) != bytes.size()) {
    throw Error("", "the bytes to edit stop reading as a record at byte " + std::to_string(in.CurrentPosition()));
  }
  return fields;
}

std::string Varint(std::uint64_t value) {
  std::string out;
  while (value >= 0x80) {
    out += static_cast<char>((value & 0x7F) | 0x80);
    value >>= 7;
  }
  out += static_cast<char>(value);
  return out;
}

// Where a field absent from the bytes goes: before the first known field
// of a higher number, else after the last known field (unknown fields come
// after the known ones), as the record writes its fields.
std::size_t InsertionPoint(const std::vector<WireField>& fields, const pb::Descriptor* type, int number) {
  std::size_t after_known = 0;
  for (const WireField& field : fields) {
    if (type->FindFieldByNumber(field.number) == nullptr) continue;
    if (field.number > number) return field.start;
    after_known = field.end;
  }
  return after_known;
}

std::string Splice(std::string_view bytes, pb::Message* edited, const Touched& touched) {
  const std::vector<WireField> fields = FieldsOf(bytes);
  const pb::Descriptor* type = edited->GetDescriptor();
  const pb::Reflection* reflection = edited->GetReflection();
  std::vector<Piece> pieces;
  for (const auto& [number, touch] : touched.fields) {
    const FieldDescriptor* field = type->FindFieldByNumber(number);
    std::vector<const WireField*> found;
    for (const WireField& wire : fields) {
      if (wire.number == number) found.push_back(&wire);
    }
    const bool delimited = std::all_of(found.begin(), found.end(), [](const WireField* w) { return w->delimited; });
    // A record entered is spliced in turn, where the bytes hold it as the
    // record does: each element of a list once, a record held once in one
    // piece.
    std::vector<std::pair<const WireField*, std::string>> entered;
    bool spliced = false;
    if (!touch.whole && field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE && delimited) {
      if (field->is_repeated() && static_cast<int>(found.size()) == reflection->FieldSize(*edited, field)) {
        for (const auto& [index, inside] : touch.elements) {
          const WireField* wire = found[static_cast<std::size_t>(index)];
          entered.emplace_back(wire, Splice(bytes.substr(wire->content, wire->end - wire->content),
                                            reflection->MutableRepeatedMessage(edited, field, index), *inside));
        }
        spliced = true;
      } else if (!field->is_repeated() && touch.inside != nullptr && found.size() == 1) {
        const WireField* wire = found.front();
        entered.emplace_back(wire, Splice(bytes.substr(wire->content, wire->end - wire->content),
                                          reflection->MutableMessage(edited, field), *touch.inside));
        spliced = true;
      }
    }
    if (spliced) {
      for (auto& [wire, content] : entered) {
        // The length as it was written when it has not changed.
        std::string length = content.size() == wire->end - wire->content
                                 ? std::string(bytes.substr(wire->tag_end, wire->content - wire->tag_end))
                                 : Varint(content.size());
        pieces.push_back(Piece{wire->tag_end, wire->end, length + content});
      }
      continue;
    }
    std::string fresh;
    {
      FieldAlone alone(edited, field, false);
      alone.record().SerializePartialToString(&fresh);
    }
    if (found.empty()) {
      const std::size_t at = InsertionPoint(fields, type, number);
      pieces.push_back(Piece{at, at, std::move(fresh)});
      continue;
    }
    pieces.push_back(Piece{found.front()->start, found.front()->end, std::move(fresh)});
    for (std::size_t i = 1; i < found.size(); ++i) pieces.push_back(Piece{found[i]->start, found[i]->end, ""});
  }
  return Spliced(bytes, std::move(pieces));
}

}  // namespace

FieldAlone::FieldAlone(pb::Message* edited, const FieldDescriptor* field, bool with_code) : edited_(edited) {
  fields_.push_back(field);
  const pb::Descriptor* type = edited->GetDescriptor();
  EntryKind kind;
  if (with_code && IsSettingsField(type, field) && EntryKindOf(type, &kind)) {
    if (const FieldDescriptor* code = type->FindFieldByName("type")) fields_.push_back(code);
  }
  // On the record's arena, if it has one, so that the fields move between
  // the two without a copy.
  alone_ = edited->New(edited->GetArena());
  if (edited->GetArena() == nullptr) owned_.reset(alone_);
  edited->GetReflection()->SwapFields(edited, alone_, fields_);
}

FieldAlone::~FieldAlone() { edited_->GetReflection()->SwapFields(edited_, alone_, fields_); }

std::string SpliceBinary(std::string_view bytes, pb::Message* edited, const Touched& touched) {
  return Splice(bytes, edited, touched);
}

}  // namespace gcuschema::document::internal
