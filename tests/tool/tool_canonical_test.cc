// Documents whose bytes the records write otherwise: decode, inspect and
// lint say where and why, and what they show is what encode writes back;
// text format shows what it can read back, or nothing.
#include <string>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

std::string Raw(const char* bytes, std::size_t n) { return std::string(bytes, n); }

// version: 3, then version: 5.
const std::string kVersionTwice = Raw("\x08\x03\x08\x05", 4);
// inputs[0] { minValue: -0.0 }.
const std::string kNegativeZero = Raw("\x1A\x05\x45\x00\x00\x00\x80", 7);

TEST(ToolCanonicalTest, DecodeWarnsOnStandardErrorAndWritesWhatEncodeWritesBack) {
  ScratchDir dir;
  const std::string in = dir.Put("twice.bin", kVersionTwice);
  const ProcessResult json = RunToolOk({"decode", in});
  EXPECT_EQ(json.out, "{\n  \"@type\": \"ConfigData\",\n  \"version\": 5\n}\n");
  EXPECT_EQ(json.err, "gcuschema: warning: " + in +
                          ": byte 1 (version): not in canonical form: version is given twice, the earlier value 3 "
                          "is dropped (at byte 0); encoded again, the 4 bytes read become 2, differing from byte 1 "
                          "on; the output is the record read, which encode writes in canonical form\n");
  const ProcessResult again = RunToolOk({"encode"}, json.out);
  EXPECT_EQ(again.out, Raw("\x08\x05", 2));

  const ProcessResult text = RunToolOk({"decode", "--format", "text", in});
  EXPECT_EQ(text.out, "version: 5\n");
  EXPECT_EQ(text.err, json.err);

  // Bytes the records write themselves, and documents not read from bytes: no word.
  EXPECT_EQ(RunToolOk({"decode", dir.Put("once.bin", again.out)}).err, "");
  EXPECT_EQ(RunToolOk({"decode", dir.Put("doc.json", json.out)}).err, "");
}

TEST(ToolCanonicalTest, InspectGivesTheFileSizeAndWhereItDiffersTheCanonicalSize) {
  ScratchDir dir;
  // version 3 written in a 4-byte varint: 5 bytes, 2 as the records write them.
  const ProcessResult result = RunToolOk({"inspect", dir.Put("long.bin", Raw("\x08\x83\x80\x80\x00", 5))});
  EXPECT_EQ(result.out.substr(0, result.out.find("\n  version:")),
            "ConfigData: 5 bytes, 2 bytes as the records write it\n"
            "  warning: not in canonical form: version is a varint longer than it needs (4 bytes for 3, where 1 "
            "byte would do); encoded again, the 5 bytes read become 2, differing from byte 1 on");
  EXPECT_EQ(result.err, "");
  const ProcessResult canonical = RunToolOk({"inspect", dir.Put("short.bin", Raw("\x08\x03", 2))});
  EXPECT_EQ(canonical.out.substr(0, canonical.out.find('\n')), "ConfigData: 2 bytes");
}

TEST(ToolCanonicalTest, LintReportsDocumentNotCanonicalAsAWarning) {
  ScratchDir dir;
  const ProcessResult result = RunTool({"lint", dir.Put("zero.bin", kNegativeZero)});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out,
            "inputs[0].minValue: warning: inputs[0].minValue holds -0.0, which the records do not write (at byte "
            "2); encoded again, the 7 bytes read become 2, differing from byte 1 on; it reads as the same record, "
            "but a program writing it back changes those bytes: store the re-encoded bytes "
            "[document-not-canonical]\n"
            "ok: 0 errors, 1 warning\n");
  const ProcessResult clean = RunTool({"lint", dir.Put("clean.bin", Raw("\x1A\x00", 2))});
  EXPECT_EQ(clean.out, "ok: 0 errors, 0 warnings\n");
}

TEST(ToolTextAsEncodedTest, SingularNegativeZeroIsLeftOutInTextAsInJson) {
  ScratchDir dir;
  const std::string in = dir.Put("zero.bin", kNegativeZero);
  const ProcessResult text = RunToolOk({"decode", "--format", "text", in});
  EXPECT_EQ(text.out, "inputs {\n}\n");
  const ProcessResult json = RunToolOk({"decode", "--no-expand", in});
  EXPECT_EQ(json.out, "{\n  \"inputs\": [\n    {}\n  ]\n}\n");
  EXPECT_EQ(RunToolOk({"encode", "--from", "text"}, text.out).out, Raw("\x1A\x00", 2));

  // Text that says -0 reads as -0.0, which neither shows.
  const std::string said = dir.Put("said.txt", "inputs {\n  minValue: -0\n}\n");
  EXPECT_EQ(RunToolOk({"decode", "--format", "text", said}).out, "inputs {\n}\n");
  EXPECT_EQ(RunToolOk({"decode", "--no-expand", said}).out, json.out);
}

TEST(ToolTextAsEncodedTest, UnknownFieldsAreRefusedAndNothingIsWritten) {
  ScratchDir dir;
  // version: 1, then field 100 (varint 5), which ConfigData does not know.
  const std::string bytes = Raw("\x08\x01\xA0\x06\x05", 5);
  const std::string in = dir.Put("unknown.bin", bytes);
  const std::string out = dir.File("unknown.txt");
  const ProcessResult text = RunTool({"decode", "--format", "text", in, "-o", out});
  EXPECT_EQ(text.exit_status, 2);
  EXPECT_EQ(text.err, "gcuschema: " + in +
                          ": holds field 100, which ConfigData does not know: text format would write it by number, "
                          "and no text format reader reads it back; use JSON, which keeps it as \"@unknown\", or the "
                          "binary form\n");
  EXPECT_FALSE(FileExists(out));
  // JSON carries it back.
  const ProcessResult json = RunToolOk({"decode", in});
  EXPECT_EQ(RunToolOk({"encode"}, json.out).out, bytes);
}

}  // namespace
}  // namespace gcuschema::test
