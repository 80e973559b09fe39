#include "support/enum_table.h"

namespace gcuschema::test {

std::vector<EnumRow>& EnumRows() {
  static std::vector<EnumRow> rows;
  return rows;
}

bool AddEnumRows(std::initializer_list<EnumRow> rows) {
  EnumRows().insert(EnumRows().end(), rows.begin(), rows.end());
  return true;
}

}  // namespace gcuschema::test
