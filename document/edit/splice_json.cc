// JSON documents edited in place: the values an edit touched spelt anew as
// the writer spells them, indented as the text around them; every other
// byte as it stands. The places of members and elements are found with
// simdjson's on-demand parser, one object or list at a time.
#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <simdjson.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/io.h>

#include "edit/pieces.h"
#include "edit/touched.h"
#include "walk.h"

namespace gcuschema::document::internal {
namespace {

namespace pb = google::protobuf;
namespace sj = simdjson;
using pb::FieldDescriptor;

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

[[noreturn]] void Lost() {
  // The text was read as the document before it was edited.
  throw Error("", "the JSON to edit no longer reads as it did");
}

struct Member {
  std::string name;
  std::size_t key;    // its opening quote
  std::size_t value;  // the first byte of its value
  std::size_t end;    // just past its value
};

struct Object {
  std::size_t open;   // '{'
  std::size_t close;  // '}'
  std::vector<Member> members;
};

struct Span {
  std::size_t begin;
  std::size_t end;
};

// A JSON text, looked into one value at a time.
class JsonText {
 public:
  explicit JsonText(std::string_view text) : padded_(text.data(), text.size()), text_(text) {}

  std::string_view text() const { return text_; }
  char operator[](std::size_t at) const { return text_[at]; }

  // The whole text's value, without the whitespace around it.
  Span Root() const {
    std::size_t begin = 0;
    std::size_t end = text_.size();
    while (begin < end && IsSpace(text_[begin])) ++begin;
    while (end > begin && IsSpace(text_[end - 1])) --end;
    return Span{begin, end};
  }

  // The members of the object that spans `span`.
  Object ObjectAt(Span span) {
    sj::ondemand::document document = Open(span);
    sj::ondemand::object object;
    if (document.get_object().get(object)) Lost();
    Object out{span.begin, span.end - 1, {}};
    for (auto found : object) {
      sj::ondemand::field field;
      if (std::move(found).get(field)) Lost();
      Member member;
      member.key = Offset(field.key().raw()) - 1;
      std::string_view name;
      if (field.unescaped_key().get(name)) Lost();
      member.name = std::string(name);
      const Span value = ValueSpan(field.value());
      member.value = value.begin;
      member.end = value.end;
      out.members.push_back(std::move(member));
    }
    return out;
  }

  // The elements of the list that spans `span`.
  std::vector<Span> ElementsAt(Span span) {
    sj::ondemand::document document = Open(span);
    sj::ondemand::array array;
    if (document.get_array().get(array)) Lost();
    std::vector<Span> out;
    for (auto found : array) {
      sj::ondemand::value value;
      if (std::move(found).get(value)) Lost();
      out.push_back(ValueSpan(value));
    }
    return out;
  }

  // The whitespace that starts the line `at` stands on.
  std::string LineIndent(std::size_t at) const {
    std::size_t start = at;
    while (start > 0 && text_[start - 1] != '\n') --start;
    std::size_t end = start;
    while (end < text_.size() && (text_[end] == ' ' || text_[end] == '\t')) ++end;
    return std::string(text_.substr(start, end - start));
  }

  // The whitespace before `at` back to the separator before it.
  std::string SpaceBefore(std::size_t at) const {
    std::size_t start = at;
    while (start > 0 && IsSpace(text_[start - 1])) --start;
    return std::string(text_.substr(start, at - start));
  }

 private:
  // A parse of the value at `span` alone, read where it stands: the bytes
  // after it are the rest of the padded copy.
  sj::ondemand::document Open(Span span) {
    sj::ondemand::document document;
    const std::size_t capacity = padded_.size() + sj::SIMDJSON_PADDING - span.begin;
    if (parser_.iterate(padded_.data() + span.begin, span.end - span.begin, capacity).get(document)) Lost();
    return document;
  }

  std::size_t Offset(const char* at) const { return static_cast<std::size_t>(at - padded_.data()); }

  Span ValueSpan(sj::ondemand::value value) {
    const std::string_view token = value.raw_json_token();
    const std::size_t begin = Offset(token.data());
    sj::ondemand::json_type type;
    if (value.type().get(type)) Lost();
    // The raw text of a value runs on over the whitespace after it.
    std::string_view raw = token;
    if (type == sj::ondemand::json_type::object) {
      sj::ondemand::object object;
      if (value.get_object().get(object) || object.raw_json().get(raw)) Lost();
    } else if (type == sj::ondemand::json_type::array) {
      sj::ondemand::array array;
      if (value.get_array().get(array) || array.raw_json().get(raw)) Lost();
    }
    std::size_t end = Offset(raw.data()) + raw.size();
    while (end > begin && IsSpace(text_[end - 1])) --end;
    return Span{begin, end};
  }

  sj::padded_string padded_;
  std::string_view text_;
  sj::ondemand::parser parser_;
};

// A member spelt alone by the writer: "name": value, and the value.
struct Spelt {
  std::string member;
  std::string value;
};

class JsonSplicer {
 public:
  JsonSplicer(std::string_view text, const PairingCatalogue& pairing) : text_(text), pairing_(pairing) {}

  std::string Run(pb::Message* edited, const Touched& touched) {
    const Span root = text_.Root();
    const Object object = text_.ObjectAt(root);
    // Spelt as the text is: indented (by the first member's indentation
    // relative to the brace) or on one line.
    if (!object.members.empty()) {
      const std::string between(text_.text().substr(object.open + 1, object.members.front().key - object.open - 1));
      compact_ = between.find('\n') == std::string::npos;
      if (!compact_) unit_ = text_.LineIndent(object.members.front().key);
      if (unit_.empty()) unit_ = "  ";
      // Settings shown as their records where the document names its own
      // record first, as decode writes it; in base64 in plain JSON.
      expand_ = object.members.front().name == "@type";
    }
    Splice(object, edited, touched);
    // Put-in members before what is taken out at the same place.
    return Spliced(text_.text(), std::move(pieces_));
  }

 private:
  static bool Names(const Member& member, const FieldDescriptor* field) {
    return member.name == field->json_name() || member.name == field->name();
  }

  void NoteNames(const Object& object, const pb::Descriptor* type) {
    for (const Member& member : object.members) {
      const FieldDescriptor* field = type->FindFieldByName(member.name);
      if (field != nullptr && field->json_name() != field->name()) original_names_ = true;
    }
  }

  // The field a member names, by either of its names; null for "@type",
  // "@unknown" and names of no field.
  static const FieldDescriptor* FieldOf(const pb::Descriptor* type, const Member& member) {
    if (const FieldDescriptor* field = type->FindFieldByName(member.name)) return field;
    for (int i = 0; i < type->field_count(); ++i) {
      if (type->field(i)->json_name() == member.name) return type->field(i);
    }
    return nullptr;
  }

  void Splice(const Object& object, pb::Message* edited, const Touched& touched) {
    const pb::Descriptor* type = edited->GetDescriptor();
    const pb::Reflection* reflection = edited->GetReflection();
    NoteNames(object, type);
    std::vector<bool> removed(object.members.size(), false);
    std::vector<std::pair<const FieldDescriptor*, std::string>> inserted;
    for (const auto& [number, touch] : touched.fields) {
      const FieldDescriptor* field = type->FindFieldByNumber(number);
      const auto member = std::find_if(object.members.begin(), object.members.end(),
                                       [&](const Member& m) { return Names(m, field); });
      if (member == object.members.end()) {
        // Absent and still its default: nothing to write.
        if (std::optional<Spelt> spelt = Spell(edited, field)) inserted.emplace_back(field, std::move(spelt->member));
        continue;
      }
      const char lead = text_[member->value];
      const Span value{member->value, member->end};
      if (!touch.whole && field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
        if (field->is_repeated() && lead == '[') {
          const std::vector<Span> elements = text_.ElementsAt(value);
          const bool records = std::all_of(elements.begin(), elements.end(),
                                           [&](const Span& e) { return text_[e.begin] == '{'; });
          if (records && static_cast<int>(elements.size()) == reflection->FieldSize(*edited, field)) {
            for (const auto& [index, inside] : touch.elements) {
              const Object element = text_.ObjectAt(elements[static_cast<std::size_t>(index)]);
              Splice(element, reflection->MutableRepeatedMessage(edited, field, index), *inside);
            }
            continue;
          }
        } else if (!field->is_repeated() && touch.inside != nullptr && lead == '{') {
          Splice(text_.ObjectAt(value), reflection->MutableMessage(edited, field), *touch.inside);
          continue;
        }
      }
      // Settings edited field by field, shown as their record before and
      // after: edited there.
      if (!touch.whole && touch.settings != nullptr && lead == '{' && Expanded(*edited)) {
        Splice(text_.ObjectAt(value), touch.settings->settings.get(), touch.settings->touched);
        continue;
      }
      if (const std::optional<Spelt> spelt = Spell(edited, field)) {
        pieces_.push_back(Piece{member->value, member->end, Indented(spelt->value, text_.LineIndent(member->key))});
      } else {
        removed[static_cast<std::size_t>(member - object.members.begin())] = true;  // back to its default
      }
    }
    Rearrange(object, type, removed, inserted);
  }

  // Members taken out and put in: each run of members taken out goes with
  // the separator before it (the one after it, at the start), and each
  // member put in goes before the first member kept that the writer writes
  // after it, or after the last, with the spacing of its neighbours.
  void Rearrange(const Object& object, const pb::Descriptor* type, const std::vector<bool>& removed,
                 const std::vector<std::pair<const FieldDescriptor*, std::string>>& inserted) {
    const std::vector<Member>& members = object.members;
    std::vector<std::size_t> kept;
    for (std::size_t i = 0; i < members.size(); ++i) {
      if (!removed[i]) kept.push_back(i);
    }
    if (kept.empty() && !members.empty() && inserted.empty()) {
      pieces_.push_back(Piece{object.open + 1, object.close, ""});
      return;
    }
    if (kept.empty()) {
      std::string text;
      const std::string outer = text_.LineIndent(object.open);
      for (std::size_t i = 0; i < inserted.size(); ++i) {
        if (compact_) {
          text += (i > 0 ? "," : "") + inserted[i].second;
        } else {
          text += (i > 0 ? "," : "") + ("\n" + outer + unit_) + Indented(inserted[i].second, outer + unit_);
        }
      }
      if (!compact_) text += "\n" + outer;
      pieces_.push_back(Piece{object.open + 1, object.close, text});
      return;
    }
    for (std::size_t i = 0; i < members.size();) {
      if (!removed[i]) {
        ++i;
        continue;
      }
      std::size_t last = i;
      while (last + 1 < members.size() && removed[last + 1]) ++last;
      if (i > 0) {
        pieces_.push_back(Piece{members[i - 1].end, members[last].end, ""});
      } else {
        pieces_.push_back(Piece{members[i].key, members[last + 1].key, ""});
      }
      i = last + 1;
    }
    for (const auto& [inserted_field, member_text] : inserted) {
      const FieldDescriptor* field = inserted_field;  // a binding the lambda below may capture
      const auto next = std::find_if(kept.begin(), kept.end(), [&](std::size_t k) {
        if (members[k].name == "@unknown") return true;
        const FieldDescriptor* other = FieldOf(type, members[k]);
        return other != nullptr && other->index() > field->index();
      });
      if (next != kept.end()) {
        const Member& before = members[*next];
        pieces_.push_back(Piece{before.key, before.key,
                                Indented(member_text, text_.LineIndent(before.key)) + "," + text_.SpaceBefore(before.key)});
      } else {
        const Member& after = members[kept.back()];
        pieces_.push_back(Piece{after.end, after.end,
                                "," + text_.SpaceBefore(after.key) + Indented(member_text, text_.LineIndent(after.key))});
      }
    }
  }

  // Whether the writer shows the holder's settings as their record.
  bool Expanded(const pb::Message& holder) const {
    Walk walk(pairing_);
    return walk.Decide(holder).canonical();
  }

  std::optional<Spelt> Spell(pb::Message* edited, const FieldDescriptor* field) {
    std::string written;
    {
      FieldAlone alone(edited, field, true);
      WriteOptions options;
      options.pairing = pairing_;
      options.original_names = original_names_;
      options.expand = expand_;
      options.indent = compact_ ? 0 : 2;
      written = WriteString(alone.record(), Format::kJson, options);
    }
    JsonText alone(written);
    const Object object = alone.ObjectAt(alone.Root());
    for (const Member& member : object.members) {
      if (!Names(member, field)) continue;
      return Spelt{written.substr(member.key, member.end - member.key),
                   written.substr(member.value, member.end - member.value)};
    }
    return std::nullopt;  // the field holds its default, which is not written
  }

  // `text` spelt at indentation 2 for a member at the top, as it stands
  // indented by `indent`.
  std::string Indented(const std::string& text, const std::string& indent) const {
    if (compact_) return text;
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
      out += text[i];
      if (text[i] != '\n') continue;
      std::size_t spaces = 0;
      while (i + 1 + spaces < text.size() && text[i + 1 + spaces] == ' ') ++spaces;
      out += indent;
      for (std::size_t level = 1; level < spaces / 2; ++level) out += unit_;
      i += spaces;
    }
    return out;
  }

  JsonText text_;
  const PairingCatalogue& pairing_;
  std::vector<Piece> pieces_;
  bool compact_ = false;
  bool original_names_ = false;
  bool expand_ = true;
  std::string unit_ = "  ";
};

}  // namespace

std::string SpliceJson(std::string_view text, pb::Message* edited, const Touched& touched,
                       const PairingCatalogue& pairing) {
  return JsonSplicer(text, pairing).Run(edited, touched);
}

}  // namespace gcuschema::document::internal
