// The helpers every enumeration of the library offers, checked row by row
// against the table of enumerations (rows in enum_rows_*.cc).
#include <algorithm>
#include <climits>
#include <set>
#include <string>

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>

#include "support/enum_table.h"
#include "support/schema_files.h"

namespace gcuschema::test {
namespace {

bool Accepts(const EnumRow& row, int v) {
  return std::any_of(row.accepted.begin(), row.accepted.end(),
                     [v](const std::pair<int, int>& r) { return v >= r.first && v <= r.second; });
}

class EnumerationRowTest : public ::testing::TestWithParam<EnumRow> {};

TEST_P(EnumerationRowTest, HelpersMatchTheTable) {
  const EnumRow& row = GetParam();
  SCOPED_TRACE(row.type_name);

  EXPECT_EQ(row.min, 0);
  EXPECT_EQ(row.class_min, row.min);
  EXPECT_EQ(row.class_max, row.max);
  EXPECT_EQ(row.class_arraysize, row.arraysize);
  EXPECT_EQ(row.free_min, row.min);
  EXPECT_EQ(row.free_max, row.max);
  EXPECT_EQ(row.free_arraysize, row.arraysize);

  // Validity: exactly the declared values, nothing negative, nothing past MAX.
  for (int v = -2; v <= row.max + 3; ++v) {
    EXPECT_EQ(row.is_valid(v), Accepts(row, v)) << "value " << v;
  }
  EXPECT_FALSE(row.is_valid(INT_MIN));
  EXPECT_FALSE(row.is_valid(INT_MAX));
  EXPECT_FALSE(row.is_valid(-1));

  // The descriptor is the file's entry at the table index, and it declares
  // exactly the accepted values.
  const google::protobuf::EnumDescriptor* d = row.descriptor();
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(d, row.descriptor()) << "two calls give one object";
  EXPECT_EQ(d->file()->name(), row.schema_file);
  EXPECT_EQ(d->containing_type() == nullptr ? std::string() : d->containing_type()->full_name() + "." + d->name(),
            [&] {
              std::string n = row.type_name;
              std::replace(n.begin(), n.end(), '_', '.');
              return n;
            }());
  const std::vector<const google::protobuf::EnumDescriptor*> order = EnumerationTableOrder(d->file());
  ASSERT_LT(row.table_index, static_cast<int>(order.size()));
  EXPECT_EQ(order[row.table_index], d);
  const google::protobuf::internal::DescriptorTable* table = RegistrationOf(row.schema_file);
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->file_level_enum_descriptors[row.table_index], d);

  std::set<int> declared;
  for (int i = 0; i < d->value_count(); ++i) declared.insert(d->value(i)->number());
  std::set<int> accepted;
  for (const auto& r : row.accepted) for (int v = r.first; v <= r.second; ++v) accepted.insert(v);
  EXPECT_EQ(declared, accepted);
  EXPECT_EQ(*declared.rbegin(), row.max);
}

INSTANTIATE_TEST_SUITE_P(EveryEnumeration, EnumerationRowTest, ::testing::ValuesIn(EnumRows()),
                         [](const ::testing::TestParamInfo<EnumRow>& info) { return info.param.type_name; });

TEST(EnumerationTableTest, EveryEnumerationOfTheLibraryHasARow) {
  std::set<std::string> rows;
  for (const EnumRow& row : EnumRows()) {
    EXPECT_TRUE(rows.insert(row.type_name).second) << "two rows for " << row.type_name;
  }
  EXPECT_EQ(EnumRows().size(), AllEnumerations().size());
  for (const google::protobuf::EnumDescriptor* e : AllEnumerations()) {
    std::string name = e->full_name();
    std::replace(name.begin(), name.end(), '.', '_');
    EXPECT_EQ(rows.count(name), 1u) << "no table row for " << name;
  }
}

TEST(EnumerationHelpersTest, InputTypeGapsAreRejected) {
  EXPECT_FALSE(Input_Type_IsValid(16));
  EXPECT_FALSE(Input_Type_IsValid(18));
  EXPECT_TRUE(Input_Type_IsValid(17));
  EXPECT_TRUE(Input_Type_IsValid(19));
  EXPECT_TRUE(Input_Type_IsValid(99));
  EXPECT_FALSE(Input_Type_IsValid(100));
  EXPECT_FALSE(Input_Type_IsValid(-1));
}

TEST(EnumerationHelpersTest, OutputTypeAcceptsTestOutputOnlyAboveTacho) {
  EXPECT_FALSE(Output_Type_IsValid(9));
  EXPECT_TRUE(Output_Type_IsValid(99));
}

TEST(EnumerationHelpersTest, UnitsNoneAcceptsOnlyZero) {
  EXPECT_TRUE(Units_None_IsValid(0));
  EXPECT_FALSE(Units_None_IsValid(1));
}

TEST(EnumerationHelpersTest, ClassScopedConstantsCarryTheirValues) {
  EXPECT_EQ(Input::AdcInput, 0);
  EXPECT_EQ(Input::SystemInput, 17);
  EXPECT_EQ(Input::TestInput, 99);
  EXPECT_EQ(Output::TestOutput, 99);
  EXPECT_EQ(Units::kPa, 0);
  EXPECT_EQ(Units::celcius, 0);
  EXPECT_EQ(Units::farenheit, 1);
  EXPECT_EQ(Input::Type_MIN, 0);
  EXPECT_EQ(Input::Type_MAX, 99);
  EXPECT_EQ(Input::Type_ARRAYSIZE, 100);
  EXPECT_EQ(Output::Type_ARRAYSIZE, 100);
  EXPECT_EQ(Units::None_MAX, 0);
  EXPECT_EQ(Units::None_ARRAYSIZE, 1);
  EXPECT_EQ(Map::MapType_ARRAYSIZE, 3);
}

TEST(EnumerationHelpersTest, InputTypeDescriptorHasNoPackageAndNineteenValues) {
  const google::protobuf::EnumDescriptor* d = Input_Type_descriptor();
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(d->full_name(), "Input.Type");
  EXPECT_EQ(d->containing_type(), Input::descriptor());
  EXPECT_EQ(d->value_count(), 19);
  EXPECT_EQ(d, Input_Type_descriptor());
  EXPECT_EQ(d, Input::Type_descriptor());
}

}  // namespace
}  // namespace gcuschema::test
