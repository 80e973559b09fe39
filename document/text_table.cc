#include "text_table.h"

#include <algorithm>

namespace gcuschema::document::internal {

void TextTable::Write(std::ostream& out, const std::string& indent) const {
  std::vector<std::size_t> widths;
  for (const Column& column : columns_) widths.push_back(column.title.size());
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < row.size() && i < widths.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  auto line = [&](auto cell) {
    std::string text = indent;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const std::string& value = cell(i);
      const std::string pad(widths[i] - value.size(), ' ');
      if (i > 0) text += "  ";
      text += columns_[i].numeric ? pad + value : value + (i + 1 < columns_.size() ? pad : "");
    }
    out << text << '\n';
  };
  line([&](std::size_t i) -> const std::string& { return columns_[i].title; });
  static const std::string kNone;
  for (const auto& row : rows_) {
    line([&](std::size_t i) -> const std::string& { return i < row.size() ? row[i] : kNone; });
  }
}

}  // namespace gcuschema::document::internal
