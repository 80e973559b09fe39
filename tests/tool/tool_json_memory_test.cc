// A `config` object may name its record last: encode then looks the object
// through for its "@type" and reads it again, holding nothing of it, so its
// memory stays in proportion to its input whatever the order of members.
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/memory_bounds.h"
#include "support/process.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

// Copies the JSON file `from` (as decode writes it, two spaces a level) to
// `to` with the "@type" of every `config` object moved from its first
// member to its last, line by line; returns how many moved. The document's
// own "@type" stays first.
int MoveTypesLast(const std::string& from, const std::string& to) {
  std::ifstream in(from);
  std::ofstream out(to);
  // Per object whose "@type" waits: the indentation of its members, the line.
  std::vector<std::pair<std::size_t, std::string>> waiting;
  std::string previous;  // held back: a comma may have to follow it
  std::string line;
  bool started = false;
  int moved = 0;
  while (std::getline(in, line)) {
    const std::size_t indent = line.find_first_not_of(' ');
    if (!waiting.empty() && indent + 2 == waiting.back().first && line.compare(indent, 1, "}") == 0) {
      out << previous << ",\n";
      previous = waiting.back().second;
      waiting.pop_back();
      ++moved;
    }
    if (indent > 2 && line.compare(indent, 9, "\"@type\": ") == 0 && line.back() == ',') {
      line.pop_back();
      waiting.emplace_back(indent, line);
      continue;
    }
    if (started) out << previous << '\n';
    previous = line;
    started = true;
  }
  out << previous << '\n';
  return moved;
}

TEST(ToolJsonMemoryTest, EncodeOfSettingsNamedLastHoldsAtMostFiveTimesItsInput) {
  if (!GCUSCHEMA_MEMORY_BOUNDS_HOLD) GTEST_SKIP() << "memory bounds do not hold under a sanitizer";
  // A DeviceData's config holds the whole ConfigData before its "@type"
  // (and every entry's settings name theirs last too); a ConfigData's
  // entries each name their settings last. About 10 MB of JSON each, made
  // by the tool into files: a child's peak counts its parent's too
  // (posix_spawn shares the parent's memory until exec), so this process
  // holds none of it.
  for (const char* type : {"DeviceData", "ConfigData"}) {
    SCOPED_TRACE(type);
    ScratchDir dir;
    const std::string bytes = dir.File("sample.bin");
    const std::string json = dir.File("sample.json");
    const std::string late = dir.File("late.json");
    const ProcessResult sample = RunTool({"sample", "--type", type, "--inputs", "12000", "--seed", "5", "-o", bytes});
    ASSERT_EQ(sample.exit_status, 0) << sample.err;
    const ProcessResult decoded = RunTool({"decode", "--type", type, bytes, "-o", json});
    ASSERT_EQ(decoded.exit_status, 0) << decoded.err;
    ASSERT_GT(MoveTypesLast(json, late), 10000);
    const long input_kb = static_cast<long>(std::filesystem::file_size(late) / 1024);
    ASSERT_GT(input_kb, 8 * 1024);

    const ProcessResult result = RunTool({"encode", late, "-o", dir.File("late.bin")});
    ASSERT_EQ(result.exit_status, 0) << result.err;
    EXPECT_TRUE(ReadFileBytes(dir.File("late.bin")) == ReadFileBytes(bytes));
    EXPECT_LE(result.max_rss_kb, 5 * input_kb) << "input: " << input_kb << " KiB";
  }
}

}  // namespace
}  // namespace gcuschema::test
