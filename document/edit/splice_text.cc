// Text-format documents edited in place: the fields an edit touched printed
// anew as the writer prints them, on the lines where they stood (or among
// their neighbours in field order); every other byte as it stands. Where
// each field stands comes from the runtime's text parser.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/text_format.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/io.h>
#include <gcuschema/document/records.h>

#include "edit/pieces.h"
#include "edit/touched.h"

namespace gcuschema::document::internal {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;
using Tree = pb::TextFormat::ParseInfoTree;

struct Span {
  std::size_t begin;
  std::size_t end;
};

// The tokenizer's tab stops, for turning its columns into bytes.
constexpr int kTabWidth = 8;

class TextSplicer {
 public:
  explicit TextSplicer(std::string_view text) : text_(text) {
    line_starts_.push_back(0);
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] == '\n') line_starts_.push_back(i + 1);
    }
  }

  std::string Run(pb::Message* edited, const Touched& touched) {
    const std::unique_ptr<pb::Message> again = NewRecord(edited->GetDescriptor());
    pb::TextFormat::Parser parser;
    parser.WriteLocationsTo(&tree_);
    pb::io::ArrayInputStream input(text_.data(), static_cast<int>(text_.size()));
    // The text was read as the document before it was edited.
    if (!parser.Parse(&input, again.get())) throw Error("", "the text to edit no longer reads as it did");
    Splice(edited, touched, &tree_, std::nullopt);
    return Spliced(text_, std::move(pieces_));
  }

 private:
  std::size_t Offset(const pb::TextFormat::ParseLocation& location) const {
    std::size_t at = line_starts_.at(static_cast<std::size_t>(location.line));
    for (int column = 0; column < location.column && at < text_.size(); ++at) {
      column = text_[at] == '\t' ? column + kTabWidth - column % kTabWidth : column + 1;
    }
    return at;
  }

  std::vector<Span> Ranges(const Tree* tree, const FieldDescriptor* field) const {
    std::vector<Span> out;
    for (int index = field->is_repeated() ? 0 : -1;; ++index) {
      const pb::TextFormat::ParseLocationRange range = tree->GetLocationRange(field, index);
      if (range.start.line < 0) break;
      out.push_back(Span{Offset(range.start), Offset(range.end)});
      if (index < 0) break;
    }
    return out;
  }

  std::size_t LineStart(std::size_t at) const {
    while (at > 0 && text_[at - 1] != '\n') --at;
    return at;
  }
  // Just past the line break ending the line `at` stands on (or the end).
  std::size_t NextLine(std::size_t at) const {
    while (at < text_.size() && text_[at] != '\n') ++at;
    return at < text_.size() ? at + 1 : at;
  }
  std::string LineIndent(std::size_t at) const {
    const std::size_t start = LineStart(at);
    std::size_t end = start;
    while (end < text_.size() && (text_[end] == ' ' || text_[end] == '\t')) ++end;
    return std::string(text_.substr(start, end - start));
  }
  bool Blank(std::size_t begin, std::size_t end) const {
    for (std::size_t i = begin; i < end; ++i) {
      if (text_[i] != ' ' && text_[i] != '\t' && text_[i] != '\r') return false;
    }
    return true;
  }
  // Whether `span` stands alone on its lines.
  bool Alone(Span span) const {
    std::size_t line_end = span.end;
    while (line_end < text_.size() && text_[line_end] != '\n') ++line_end;
    return Blank(LineStart(span.begin), span.begin) && Blank(span.end, line_end);
  }

  // `lines` (as printed at the top, each ending in a line break) indented
  // by `indent`.
  static std::string Indented(const std::string& lines, const std::string& indent) {
    std::string out;
    bool line_start = true;
    for (char c : lines) {
      if (line_start) out += indent;
      out += c;
      line_start = c == '\n';
    }
    return out;
  }
  // The same on one line, for text written so.
  static std::string OneLine(const std::string& lines) {
    std::string out;
    for (char c : lines) {
      if (c == '\n') {
        out += ' ';
        continue;
      }
      if (c == ' ' && (out.empty() || out.back() == ' ')) continue;
      out += c;
    }
    while (!out.empty() && out.back() == ' ') out.pop_back();
    return out;
  }

  static std::string Spell(pb::Message* edited, const FieldDescriptor* field) {
    FieldAlone alone(edited, field, false);
    return WriteString(alone.record(), Format::kText);
  }

  // `body`: the range of the record in its parent ("units { ... }"); none
  // for the document.
  void Splice(pb::Message* edited, const Touched& touched, const Tree* tree, std::optional<Span> body) {
    const pb::Descriptor* type = edited->GetDescriptor();
    const pb::Reflection* reflection = edited->GetReflection();
    for (const auto& [number, touch] : touched.fields) {
      const FieldDescriptor* field = type->FindFieldByNumber(number);
      const std::vector<Span> ranges = Ranges(tree, field);
      if (!touch.whole && field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
        if (field->is_repeated() && static_cast<int>(ranges.size()) == reflection->FieldSize(*edited, field)) {
          for (const auto& [index, inside] : touch.elements) {
            Splice(reflection->MutableRepeatedMessage(edited, field, index), *inside,
                   tree->GetTreeForNested(field, index), ranges[static_cast<std::size_t>(index)]);
          }
          continue;
        }
        if (!field->is_repeated() && touch.inside != nullptr && ranges.size() == 1) {
          Splice(reflection->MutableMessage(edited, field), *touch.inside, tree->GetTreeForNested(field, -1),
                 ranges.front());
          continue;
        }
      }
      const std::string spelt = Spell(edited, field);
      if (!ranges.empty()) {
        for (std::size_t k = 0; k < ranges.size(); ++k) {
          const Span range = ranges[k];
          if (Alone(range)) {
            pieces_.push_back(Piece{LineStart(range.begin), NextLine(range.end),
                                    k == 0 ? Indented(spelt, LineIndent(range.begin)) : ""});
          } else {
            pieces_.push_back(Piece{range.begin, range.end, k == 0 ? OneLine(spelt) : ""});
          }
        }
        continue;
      }
      if (!spelt.empty()) Insert(type, tree, body, field, spelt);
    }
  }

  // Among the record's fields in number order, as the writer prints them.
  void Insert(const pb::Descriptor* type, const Tree* tree, std::optional<Span> body, const FieldDescriptor* field,
              const std::string& spelt) {
    std::optional<Span> next;
    std::optional<Span> last;
    for (int i = 0; i < type->field_count(); ++i) {
      const FieldDescriptor* other = type->field(i);
      for (const Span& range : Ranges(tree, other)) {
        if (other->number() > field->number() && (!next || range.begin < next->begin)) next = range;
        if (!last || range.end > last->end) last = range;
      }
    }
    if (next) {
      if (Blank(LineStart(next->begin), next->begin)) {
        const std::size_t at = LineStart(next->begin);
        pieces_.push_back(Piece{at, at, Indented(spelt, LineIndent(next->begin))});
      } else {
        pieces_.push_back(Piece{next->begin, next->begin, OneLine(spelt) + " "});
      }
      return;
    }
    if (last) {
      if (Alone(*last)) {
        const std::size_t at = NextLine(last->end);
        const std::string line_break = at == text_.size() && (at == 0 || text_[at - 1] != '\n') ? "\n" : "";
        pieces_.push_back(Piece{at, at, line_break + Indented(spelt, LineIndent(last->begin))});
      } else {
        pieces_.push_back(Piece{last->end, last->end, " " + OneLine(spelt)});
      }
      return;
    }
    if (!body) {
      const std::size_t at = text_.size();
      const std::string line_break = at > 0 && text_[at - 1] != '\n' ? "\n" : "";
      pieces_.push_back(Piece{at, at, line_break + spelt});
      return;
    }
    // An empty record: inside its braces.
    std::size_t close = body->end;
    while (close > body->begin && text_[close - 1] != '}' && text_[close - 1] != '>') --close;
    --close;
    std::size_t open = body->begin;
    while (open < close && text_[open] != '{' && text_[open] != '<') ++open;
    const std::string outer = LineIndent(body->begin);
    if (Blank(LineStart(close), close) && LineStart(close) > open) {
      const std::size_t at = LineStart(close);
      pieces_.push_back(Piece{at, at, Indented(spelt, outer + "  ")});
      return;
    }
    pieces_.push_back(Piece{open + 1, close, "\n" + Indented(spelt, outer + "  ") + outer});
  }

  std::string_view text_;
  std::vector<std::size_t> line_starts_;
  Tree tree_;
  std::vector<Piece> pieces_;
};

}  // namespace

std::string SpliceText(std::string_view text, pb::Message* edited, const Touched& touched) {
  return TextSplicer(text).Run(edited, touched);
}

}  // namespace gcuschema::document::internal
