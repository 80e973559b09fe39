// report: one HTML page about a document, written whole or not at all; and
// diff's page of two documents side by side.
#include <string>

#include <gtest/gtest.h>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/document/samples.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

constexpr char kPolicy[] =
    "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'; "
    "img-src data:\">";

std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t n = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++n;
  return n;
}

TEST(ToolReportTest, WritesOnePageToTheOutputOrStandardOutput) {
  ScratchDir dir;
  const std::string input = dir.Put("config.bin", SampleBytes("ConfigData", 24));
  RunToolOk({"report", input, "-o", dir.File("config.html")});
  const std::string page = ReadFileBytes(dir.File("config.html"));
  EXPECT_EQ(page.rfind("<!DOCTYPE html>\n", 0), 0u);
  EXPECT_EQ(Count(page, kPolicy), 1u);
  EXPECT_EQ(page.find("<script"), std::string::npos);
  // The file's name is the page's title.
  EXPECT_NE(page.find("<title>" + input + " — ConfigData report</title>"), std::string::npos);
  ConfigData config;
  ASSERT_TRUE(config.ParseFromString(SampleBytes("ConfigData", 24)));
  EXPECT_EQ(Count(page, "<svg"), static_cast<std::size_t>(config.maps_size()));
  // The same page on standard output, read from standard input: only the
  // name it gives the document differs.
  const ProcessResult piped = RunToolOk({"report", "-"}, SampleBytes("ConfigData", 24));
  std::string renamed = page;
  for (std::size_t at = renamed.find(input); at != std::string::npos; at = renamed.find(input, at)) {
    renamed.replace(at, input.size(), "&lt;stdin&gt;");
  }
  EXPECT_EQ(piped.out, renamed);
}

TEST(ToolReportTest, ReadsJsonAndEveryDocumentType) {
  ScratchDir dir;
  for (const char* type : {"ConfigData", "DeviceData", "CalibrationData", "CalibrationTemplateData"}) {
    SCOPED_TRACE(type);
    const std::string path = dir.Put(std::string(type) + ".bin", SampleBytes(type));
    const ProcessResult json = RunToolOk({"decode", "--type", type, path});
    const ProcessResult page = RunToolOk({"report", "-"}, json.out);
    EXPECT_NE(page.out.find(std::string("<h1>") + type + " report</h1>"), std::string::npos);
  }
}

TEST(ToolReportTest, TemplateMarksEachValueWithinOrOutsideItsLimits) {
  CalibrationTemplateData limits;
  limits.set_adccalibrationcount(1);
  auto* adc_limits = limits.add_adccalibration();
  adc_limits->set_logicalid(2);
  adc_limits->set_levelmin5v(4900);
  adc_limits->set_levelmax5v(5100);
  adc_limits->set_levelmax12v(3000);
  CalibrationData calibration;
  calibration.set_adccalibrationcount(1);
  auto* adc = calibration.add_adccalibration();
  adc->set_logicalid(2);
  adc->set_level5v(5150);
  adc->set_level12v(2000);
  ScratchDir dir;
  const std::string limits_path = dir.Put("limits.bin", EncodeRecord(limits));
  const std::string calibration_path = dir.Put("calib.bin", EncodeRecord(calibration));
  const ProcessResult result = RunToolOk({"report", "--template", limits_path, calibration_path});
  EXPECT_NE(result.out.find("<td class=\"outside\">5150<div class=\"limits\">outside 4900 to 5100</div>"),
            std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("<td class=\"within\">2000<div class=\"limits\">within at most 3000</div>"),
            std::string::npos);
  EXPECT_NE(result.out.find("[out-of-limits]"), std::string::npos);

  // A template goes with a calibration only, and one standard input cannot
  // hold both.
  ProcessResult refused = RunTool({"report", "--type", "ConfigData", "--template", limits_path, calibration_path});
  EXPECT_EQ(refused.exit_status, 2);
  EXPECT_EQ(refused.err.rfind("gcuschema: --template: a limits template is shown against a CalibrationData", 0), 0u)
      << refused.err;
  refused = RunTool({"report", "--template", "-", "-"}, EncodeRecord(limits));
  EXPECT_EQ(refused.exit_status, 2);
  EXPECT_NE(refused.err.find("only one of the template and the calibration"), std::string::npos) << refused.err;
}

TEST(ToolReportTest, UnreadableDocumentExitsTwoAndLeavesThePageAsItWas) {
  ScratchDir dir;
  const std::string page = dir.Put("page.html", "earlier page");
  const std::string cut = dir.Put("cut.bin", SampleBytes("ConfigData", 24).substr(0, 300));
  const ProcessResult result = RunTool({"report", cut, "-o", page});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.err.rfind("gcuschema: " + cut + ": byte ", 0), 0u) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(ReadFileBytes(page), "earlier page");
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"cut.bin", "page.html"}));
}

TEST(ToolReportTest, RefusesToWriteOverItsInput) {
  ScratchDir dir;
  const std::string input = dir.Put("config.bin", SampleBytes("ConfigData", 4));
  const ProcessResult result = RunTool({"report", input, "-o", input});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_NE(result.err.find("is the input"), std::string::npos) << result.err;
  EXPECT_EQ(ReadFileBytes(input), SampleBytes("ConfigData", 4));
}

TEST(ToolDiffPageTest, HtmlShowsBothSidesWithTheDifferencesAndExitsAsTheTextDoes) {
  ConfigData a;
  document::SampleConfig(document::SampleOptions{12, 1}, &a);
  ConfigData b = a;
  b.mutable_inputs(0)->set_alias("<b>renamed</b>");
  ScratchDir dir;
  const std::string old_path = dir.Put("a.bin", EncodeRecord(a));
  const std::string new_path = dir.Put("b.bin", EncodeRecord(b));
  ProcessResult result = RunTool({"diff", "--format", "html", old_path, new_path, "-o", dir.File("d.html")});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_EQ(result.out, "");
  const std::string page = ReadFileBytes(dir.File("d.html"));
  EXPECT_EQ(Count(page, kPolicy), 1u);
  // Paths name the entry by id and alias, as the text does, escaped.
  EXPECT_NE(page.find("<tr class=\"changed\"><td class=\"path\">inputs[id=1 \"&lt;b&gt;renamed&lt;/b&gt;\"].alias</td>"),
            std::string::npos)
      << page;
  EXPECT_NE(page.find("&lt;b&gt;renamed&lt;/b&gt;"), std::string::npos);
  EXPECT_EQ(page.find("<b>renamed"), std::string::npos);

  // Equal documents: exit 0, a page saying so.
  result = RunTool({"diff", "-f", "html", old_path, old_path});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_NE(result.out.find("The documents are equal."), std::string::npos);
  // The text is as it was, to standard output or to -o.
  result = RunTool({"diff", old_path, new_path, "-o", dir.File("d.txt")});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(ReadFileBytes(dir.File("d.txt")), "~ inputs[id=1 \"<b>renamed</b>\"].alias: \"" + a.inputs(0).alias() +
                                                  "\" -> \"<b>renamed</b>\"\n");
  result = RunTool({"diff", "--format", "pdf", old_path, new_path});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_NE(result.err.find("--format"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace gcuschema::test
