#ifndef GCUSCHEMA_TESTS_SUPPORT_ENUM_TABLE_H
#define GCUSCHEMA_TESTS_SUPPORT_ENUM_TABLE_H

#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <google/protobuf/descriptor.h>

namespace gcuschema::test {

// One row of the table of enumerations: what the schema declares and what
// the generated helpers of the enumeration answer.
struct EnumRow {
  std::string type_name;   // "Input_Type"
  std::string schema_file; // "Config.proto"
  int table_index;         // index in the file's enumeration table
  std::vector<std::pair<int, int>> accepted;  // inclusive ranges of declared values
  int min, max, arraysize; // as the table gives them
  // What the generated code offers:
  bool (*is_valid)(int);
  const google::protobuf::EnumDescriptor* (*descriptor)();
  int class_min, class_max, class_arraysize;  // Outer::Enum_MIN, _MAX, _ARRAYSIZE
  int free_min, free_max, free_arraysize;     // Outer_Enum_MIN, ... at namespace level
};

std::vector<EnumRow>& EnumRows();
bool AddEnumRows(std::initializer_list<EnumRow> rows);

template <class ClassScoped, class Free>
constexpr bool SameEnumType() {
  static_assert(std::is_same_v<ClassScoped, Free>,
                "the class-scoped enumeration must name the namespace-level type");
  return true;
}

}  // namespace gcuschema::test

// ENUM_ROW(Input, Type, "Config.proto", 14, 0, 99, {{0, 15}, {17, 17}, {19, 19}, {99, 99}})
// Outer is the enclosing record class (nested records joined by '_').
#define ENUM_ROW(Outer, Enum, File, Index, Min, Max, ...)                              \
  ::gcuschema::test::EnumRow {                                                           \
    (::gcuschema::test::SameEnumType<Outer::Enum, Outer##_##Enum>(), #Outer "_" #Enum), \
    File, Index, __VA_ARGS__, Min, Max, (Max) + 1, &Outer##_##Enum##_IsValid,             \
    &Outer##_##Enum##_descriptor, Outer::Enum##_MIN, Outer::Enum##_MAX,                   \
    Outer::Enum##_ARRAYSIZE, Outer##_##Enum##_##Enum##_MIN, Outer##_##Enum##_##Enum##_MAX, \
    Outer##_##Enum##_##Enum##_ARRAYSIZE                                                   \
  }

// At namespace scope in a rows file: GCUSCHEMA_ENUM_ROWS(Config, ENUM_ROW(...), ...);
#define GCUSCHEMA_ENUM_ROWS(group, ...) \
  static const bool gcuschema_enum_rows_##group = ::gcuschema::test::AddEnumRows({__VA_ARGS__})

#endif
