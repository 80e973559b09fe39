// report's page as a browser makes it: headless Chromium renders the page of
// a sample whose strings are markup, and the elements it builds are only
// the page's own, one drawing per table; a screenshot of it is a PNG of the
// window's size. Without Chromium these tests are skipped, never passed.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>

#include "support/process.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

// The browser's full path, or "" when it is not installed.
std::string FindChromium() {
  const char* path = std::getenv("PATH");
  std::string directories = path != nullptr ? path : "/usr/bin:/bin";
  std::size_t from = 0;
  while (from <= directories.size()) {
    const std::size_t to = std::min(directories.find(':', from), directories.size());
    const std::string candidate = directories.substr(from, to - from) + "/chromium";
    struct stat info;
    if (::stat(candidate.c_str(), &info) == 0 && S_ISREG(info.st_mode) && ::access(candidate.c_str(), X_OK) == 0) {
      return candidate;
    }
    from = to + 1;
  }
  return "";
}

// Each string would be markup if written as it is: in text, in a quoted
// attribute, in the head.
const char* const kHostile[] = {
    "<script>alert(1)</script>",
    "\"><img src=x onerror=alert(1)>",
    "'><svg onload=alert(1)>",
    "</title><iframe src=x></iframe>",
};

std::string JsonString(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + "\"";
}

// Replaces the value of the first "alias" member at or after `from` with
// `value`; the position after it, or npos when there is no such member.
std::size_t SetAlias(std::string* json, std::size_t from, const std::string& value) {
  const std::string key = "\"alias\": ";
  const std::size_t at = json->find(key, from);
  if (at == std::string::npos) return at;
  const std::size_t start = at + key.size();
  const std::size_t end = json->find('"', start + 1) + 1;
  json->replace(start, end - start, JsonString(value));
  return start + JsonString(value).size();
}

class ToolReportBrowserTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new ScratchDir;
    // A sample with aliases that are markup, edited as JSON: decode,
    // change, encode.
    const std::string sample = dir_->File("sample.bin");
    RunToolOk({"sample", "--inputs", "60", "-o", sample});
    std::string json = RunToolOk({"decode", sample}).out;
    std::size_t at = 0;
    for (const char* hostile : kHostile) at = SetAlias(&json, at, hostile);
    at = SetAlias(&json, json.find("\"maps\": ["), kHostile[1]);
    SetAlias(&json, at, kHostile[0]);
    dir_->Put("hostile.json", json);
    RunToolOk({"encode", dir_->File("hostile.json"), "-o", dir_->File("hostile.bin")});
    RunToolOk({"report", dir_->File("hostile.bin"), "-o", dir_->File("hostile.html")});
    ConfigData config;
    if (!config.ParseFromString(ReadFileBytes(dir_->File("hostile.bin")))) ADD_FAILURE() << "the sample reads";
    drawings_ = static_cast<std::size_t>(config.maps_size());
    for (const Input& input : config.inputs()) drawings_ += input.has_linearization() ? 1 : 0;
    aliases_changed_ = config.inputs(0).alias() == kHostile[0] && config.maps(0).alias() == kHostile[1];
  }
  static void TearDownTestSuite() {
    delete dir_;
    dir_ = nullptr;
  }

  void SetUp() override {
    chromium_ = FindChromium();
    if (chromium_.empty()) {
      GTEST_SKIP() << "chromium is not installed (Debian package chromium, which scripts/install-deps.sh "
                      "installs): the page was not rendered";
    }
    ASSERT_TRUE(aliases_changed_) << "the sample's aliases were not replaced";
  }

  // Chromium on the page, with a profile of its own (two runs at once would
  // otherwise share one) and these arguments.
  ProcessResult Render(const std::vector<std::string>& arguments) const {
    ScratchDir profile;
    std::vector<std::string> argv = {chromium_, "--headless", "--disable-gpu", "--no-sandbox",
                                     "--user-data-dir=" + profile.path()};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    argv.push_back("file://" + dir_->File("hostile.html"));
    return RunProcess(argv);
  }

  static ScratchDir* dir_;
  static std::size_t drawings_;
  static bool aliases_changed_;
  std::string chromium_;
};

ScratchDir* ToolReportBrowserTest::dir_ = nullptr;
std::size_t ToolReportBrowserTest::drawings_ = 0;
bool ToolReportBrowserTest::aliases_changed_ = false;

TEST_F(ToolReportBrowserTest, DomHoldsOneDrawingPerTableAndNoElementFromTheDocumentsStrings) {
  const ProcessResult result = Render({"--dump-dom"});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  const std::string& dom = result.out;
  ASSERT_NE(dom.find("</body>"), std::string::npos) << dom.substr(0, 400);

  // Chromium writes the DOM with '<' and '>' escaped in text and attribute
  // values alike, so every '<' left starts an element it built.
  static const std::regex kTag("<([a-zA-Z][a-zA-Z0-9-]*)([^<>]*)>");
  static const std::regex kAttribute("\\s([^\\s=\"]+)=\"[^\"]*\"");
  const std::set<std::string> ours = {"html",  "head",  "meta",   "title", "style", "body",       "h1",
                                      "h2",    "h3",    "p",      "section", "table", "thead",    "tbody",
                                      "tr",    "th",    "td",     "b",     "span",  "a",          "code",
                                      "ul",    "li",    "div",    "figure", "figcaption", "svg", "rect",
                                      "line",  "text",  "polyline", "circle"};
  std::size_t svgs = 0;
  std::size_t metas = 0;
  for (auto tag = std::sregex_iterator(dom.begin(), dom.end(), kTag); tag != std::sregex_iterator(); ++tag) {
    const std::string name = (*tag)[1];
    EXPECT_EQ(ours.count(name), 1u) << "an element the page does not make: " << tag->str();
    svgs += name == "svg" ? 1 : 0;
    metas += name == "meta" ? 1 : 0;
    const std::string attributes = (*tag)[2];
    for (auto attribute = std::sregex_iterator(attributes.begin(), attributes.end(), kAttribute);
         attribute != std::sregex_iterator(); ++attribute) {
      const std::string attribute_name = (*attribute)[1];
      EXPECT_NE(attribute_name.rfind("on", 0), 0u) << tag->str();
      EXPECT_NE(attribute_name, "src") << tag->str();
    }
  }
  EXPECT_GT(drawings_, 3u) << "maps and linearizations";
  EXPECT_EQ(svgs, drawings_);
  EXPECT_EQ(metas, 3u);
  EXPECT_NE(dom.find("content=\"default-src 'none'; style-src 'unsafe-inline'; img-src data:\""), std::string::npos);
  // The strings are there, as text.
  EXPECT_NE(dom.find("&lt;script&gt;alert(1)&lt;/script&gt;"), std::string::npos);
  EXPECT_NE(dom.find("&lt;/title&gt;&lt;iframe src=x&gt;&lt;/iframe&gt;"), std::string::npos);
  EXPECT_NE(dom.find("aria-label=\"maps[0] · id 1 · &quot;&gt;&lt;img src=x onerror=alert(1)&gt;: Map3D\""),
            std::string::npos);
}

// Big-endian 32-bit integer at `at`.
std::uint32_t Word(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

TEST_F(ToolReportBrowserTest, ScreenshotIsAPngOfTheWindowWithThePageDrawnOnIt) {
  const std::string png = dir_->File("hostile.png");
  const ProcessResult result = Render({"--screenshot=" + png, "--window-size=1200,2000"});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  ASSERT_TRUE(FileExists(png)) << result.err;
  const std::string bytes = ReadFileBytes(png);
  ASSERT_GT(bytes.size(), 24u);
  EXPECT_EQ(bytes.substr(0, 8), std::string("\x89PNG\r\n\x1A\n", 8));
  EXPECT_EQ(bytes.substr(12, 4), "IHDR");
  EXPECT_EQ(Word(bytes, 16), 1200u);
  EXPECT_EQ(Word(bytes, 20), 2000u);
  // A blank page of this size compresses to about 12 KB; tables, text and
  // heat maps take several times that.
  EXPECT_GT(bytes.size(), 40000u);
  EXPECT_LT(bytes.size(), 20000000u);
}

}  // namespace
}  // namespace gcuschema::test
