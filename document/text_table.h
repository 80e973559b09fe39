// A table of text in aligned columns, as summaries show lists of entries.
#ifndef GCUSCHEMA_DOCUMENT_TEXT_TABLE_H
#define GCUSCHEMA_DOCUMENT_TEXT_TABLE_H

#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace gcuschema::document::internal {

class TextTable {
 public:
  struct Column {
    std::string title;
    bool numeric;  // aligned to the right
  };
  explicit TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {}

  // One cell per column.
  void Add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
  bool empty() const { return rows_.empty(); }

  // The titles, then the rows, each line starting with `indent`; columns
  // two spaces apart, as wide as their widest cell, the last one without
  // trailing spaces.
  void Write(std::ostream& out, const std::string& indent) const;

 private:
  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace gcuschema::document::internal

#endif
