#include "c_interface_error.h"

#include <cstdint>
#include <memory>
#include <string_view>

#include <gcuschema/document/pairing.h>

struct gcuschema_error {
  gcuschema_status status;
  std::string message;
  std::string path;
  std::int64_t line = 0;
  std::int64_t column = 0;
  std::int64_t offset = -1;
};

namespace gcuschema::document::c {
namespace {

// Given when no error object can be made; never freed.
const gcuschema_error kOutOfMemory{GCUSCHEMA_ERROR_MEMORY,
                                   "the library ran out of memory; free some, or work on a smaller document",
                                   "", 0, 0, -1};

// Reads a decimal number at the start of `text`, consuming it.
bool Number(std::string_view* text, std::int64_t* value) {
  std::size_t digits = 0;
  std::int64_t read = 0;
  while (digits < text->size() && digits < 18 && (*text)[digits] >= '0' && (*text)[digits] <= '9') {
    read = read * 10 + ((*text)[digits] - '0');
    ++digits;
  }
  if (digits == 0) return false;
  *value = read;
  text->remove_prefix(digits);
  return true;
}

bool Consume(std::string_view* text, std::string_view prefix) {
  if (text->substr(0, prefix.size()) != prefix) return false;
  text->remove_prefix(prefix.size());
  return true;
}

// An Error's `where` taken apart: "line 4, column 12 (inputs[0].type)",
// "byte 17 (inputs[2].alias)", either without the path, or a path alone.
void Locate(std::string_view where, gcuschema_error* error) {
  std::string_view rest = where;
  std::int64_t line = 0;
  std::int64_t column = 0;
  std::int64_t offset = -1;
  bool placed = false;
  if (Consume(&rest, "line ") && Number(&rest, &line) && Consume(&rest, ", column ") && Number(&rest, &column)) {
    placed = true;
  } else {
    rest = where;
    line = column = 0;
    placed = Consume(&rest, "byte ") && Number(&rest, &offset);
  }
  if (!placed) {
    error->path = std::string(where);
    return;
  }
  if (!rest.empty()) {
    if (!Consume(&rest, " (") || rest.empty() || rest.back() != ')') {
      error->path = std::string(where);
      return;
    }
    rest.remove_suffix(1);
    error->path = std::string(rest);
  }
  error->line = line;
  error->column = column;
  error->offset = offset;
}

}  // namespace

std::string RemedyHint(const Remedy& remedy) {
  const std::string kind(EntryKindName(remedy.entry));
  const std::string code = std::to_string(remedy.code);
  switch (remedy.kind) {
    case Remedy::Kind::kNone: return "";
    case Remedy::Kind::kNameFormat: return " (read options: format GCUSCHEMA_FORMAT_BINARY or GCUSCHEMA_FORMAT_TEXT)";
    case Remedy::Kind::kNameRecord: return " (record \"" + remedy.record + "\")";
    case Remedy::Kind::kPairCode:
      if (remedy.entry == EntryKind::kMap && remedy.record.empty()) {
        return " (pairing: map_table, or pairs \"map:" + code + "=RECORD\")";
      }
      return " (pairing: pairs \"" + kind + ":" + code + "=" + (remedy.record.empty() ? "RECORD" : remedy.record) +
             "\")";
    case Remedy::Kind::kListRecords: return "; gcuschema_record_names lists the records";
    case Remedy::Kind::kListNames:
      return "; the JSON Schema of " + remedy.record + " (gcuschema_json_schema) lists them";
  }
  return "";
}

gcuschema_status Report(gcuschema_error** error, gcuschema_status status, const std::string& message,
                        const std::string& where) {
  if (error == nullptr) return status;
  try {
    auto made = std::make_unique<gcuschema_error>();
    made->status = status;
    made->message = message;
    Locate(where, made.get());
    *error = made.release();
  } catch (...) {
    return ReportOutOfMemory(error);
  }
  return status;
}

gcuschema_status ReportOutOfMemory(gcuschema_error** error) {
  if (error != nullptr) *error = const_cast<gcuschema_error*>(&kOutOfMemory);
  return GCUSCHEMA_ERROR_MEMORY;
}

}  // namespace gcuschema::document::c

gcuschema_status gcuschema_error_status(const gcuschema_error* error) {
  return error != nullptr ? error->status : GCUSCHEMA_OK;
}

const char* gcuschema_error_message(const gcuschema_error* error) {
  return error != nullptr ? error->message.c_str() : "";
}

const char* gcuschema_error_path(const gcuschema_error* error) { return error != nullptr ? error->path.c_str() : ""; }

int64_t gcuschema_error_line(const gcuschema_error* error) { return error != nullptr ? error->line : 0; }

int64_t gcuschema_error_column(const gcuschema_error* error) { return error != nullptr ? error->column : 0; }

int64_t gcuschema_error_offset(const gcuschema_error* error) { return error != nullptr ? error->offset : -1; }

void gcuschema_error_free(gcuschema_error* error) {
  if (error != &gcuschema::document::c::kOutOfMemory) delete error;
}
