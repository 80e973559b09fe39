// Which header holds each record: the generated header of every record, and
// the table of README.md a C++ user looks a record up in, both checked
// against the records the library registers.
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include <gcuschema/document/records.h>

namespace gcuschema::document {
namespace {

std::string FileText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in) << "cannot open " << path;
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// "CalibrationData.proto" -> "CalibrationData.pb.h".
std::string HeaderOf(const std::string& schema_file) {
  return schema_file.substr(0, schema_file.size() - std::string(".proto").size()) + ".pb.h";
}

// The C++ class of a record: nested records are spelt with '_'.
std::string ClassOf(std::string full_name) {
  for (char& c : full_name) {
    if (c == '.') c = '_';
  }
  return full_name;
}

TEST(RecordHeaders, AllRecordsHeaderIncludesTheHeaderOfEverySchemaFile) {
  const std::string text = FileText(GCUSCHEMA_ALL_RECORDS_HEADER);
  const std::regex include_line("#include <gcuschema/([A-Za-z0-9_]+\\.pb\\.h)>");
  std::set<std::string> included;
  for (auto it = std::sregex_iterator(text.begin(), text.end(), include_line); it != std::sregex_iterator(); ++it) {
    included.insert((*it)[1]);
  }
  std::set<std::string> expected;
  for (const std::string& file : SchemaFileNames()) expected.insert(HeaderOf(file));
  EXPECT_EQ(expected.size(), 35u);
  EXPECT_EQ(included, expected);
}

TEST(RecordHeaders, ReadmeTableNamesTheHeaderOfEveryRecord) {
  // Rows of the table: | `DigitalInConfiguration` | `<gcuschema/DigitalInputConfiguration.pb.h>` |
  const std::string text = FileText(GCUSCHEMA_README);
  const std::regex row("\\| `([A-Za-z0-9_]+)` \\| `<gcuschema/([A-Za-z0-9_]+\\.pb\\.h)>` \\|");
  std::map<std::string, std::string> rows;
  for (auto it = std::sregex_iterator(text.begin(), text.end(), row); it != std::sregex_iterator(); ++it) {
    EXPECT_TRUE(rows.emplace((*it)[1], (*it)[2]).second) << "README.md has two rows for " << (*it)[1];
  }
  std::map<std::string, std::string> expected;
  for (const std::string& name : RecordNames()) {
    const google::protobuf::Descriptor* record = FindRecord(name);
    ASSERT_NE(record, nullptr) << name;
    expected[ClassOf(name)] = HeaderOf(record->file()->name());
  }
  EXPECT_EQ(expected.size(), 68u);
  for (const auto& [record, header] : expected) {
    auto row = rows.find(record);
    if (row == rows.end()) {
      ADD_FAILURE() << "README.md has no row for " << record << "; add | `" << record << "` | `<gcuschema/"
                    << header << ">` |";
    } else {
      EXPECT_EQ(row->second, header) << "README.md's row for " << record << " names the wrong header";
    }
  }
  for (const auto& [record, header] : rows) {
    EXPECT_EQ(expected.count(record), 1u) << "README.md has a row for " << record
                                          << ", which is no record of the library; remove it";
  }
}

}  // namespace
}  // namespace gcuschema::document
