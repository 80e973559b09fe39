// The HTML page of a document: self-contained, every string of the document
// shown as text, every map table drawn, findings beside their entries and
// calibration values against their limits.
#include <gcuschema/document/report.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/lint.h>
#include <gcuschema/document/records.h>
#include <gcuschema/document/samples.h>

#include "support/html_body.h"

namespace gcuschema::document {
namespace {

constexpr char kPolicy[] =
    "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'; "
    "img-src data:\">";

// Strings that are markup if written as they are, in text or in a quoted
// attribute; the last one is already escaped and must stay as it is.
const std::vector<std::string> kHostile = {
    "<script>alert(1)</script>",
    "\"><img src=x onerror=alert(1)>",
    "'><svg onload=alert(1)>",
    "</title><style>body{display:none}</style>",
    "&amp; &lt;b&gt;",
};

ConfigData Sample(int inputs = 60) {
  ConfigData config;
  SampleConfig(SampleOptions{inputs, 1}, &config);
  return config;
}

int Linearizations(const ConfigData& config) {
  return static_cast<int>(std::count_if(config.inputs().begin(), config.inputs().end(),
                                        [](const Input& input) { return input.has_linearization(); }));
}

std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t n = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++n;
  return n;
}

using Body = test::HtmlBody;
using test::TextOf;

TEST(ReportTest, PageForbidsScriptAndFetchingAndHasNeither) {
  const std::string page = Report(Sample());
  EXPECT_EQ(page.rfind("<!DOCTYPE html>\n", 0), 0u);
  EXPECT_EQ(Count(page, kPolicy), 1u) << page.substr(0, 600);
  // The policy comes before anything it governs.
  EXPECT_LT(page.find(kPolicy), page.find("<style>"));
  std::string lower = page;
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
  EXPECT_EQ(lower.find("<script"), std::string::npos);
  EXPECT_EQ(lower.find("url("), std::string::npos);
  EXPECT_EQ(lower.find("@import"), std::string::npos);
  EXPECT_EQ(lower.find("http:"), std::string::npos);
  EXPECT_EQ(lower.find("https:"), std::string::npos);
  const Body body(page);
  std::size_t links = 0;
  body.Each([&](pugi::xml_node node) {
    for (pugi::xml_attribute attribute : node.attributes()) {
      const std::string name = attribute.name();
      EXPECT_NE(name.rfind("on", 0), 0u) << node.name() << " " << name;
      EXPECT_NE(name, "src");
      EXPECT_NE(name, "style");
      if (name == "href" || name == "xlink:href") {
        ++links;
        // Only places on the page itself.
        EXPECT_EQ(attribute.value()[0], '#') << attribute.value();
        EXPECT_TRUE(body.ById(attribute.value() + 1)) << "nothing is " << attribute.value();
      }
    }
  });
  EXPECT_GT(links, 0u);
  // Elements that HTML never closes: written with an end tag, as every
  // element of the body is, "</br>" would be read as a second one.
  for (const char* empty : {"br", "hr", "wbr", "img", "input", "meta", "link", "area", "base", "col", "embed",
                            "source", "track"}) {
    EXPECT_EQ(body.Elements(empty), 0u) << empty;
  }
  std::set<std::string> ids;
  body.Each([&](pugi::xml_node node) {
    const std::string id = node.attribute("id").value();
    if (!id.empty()) EXPECT_TRUE(ids.insert(id).second) << "id " << id << " given twice";
  });
}

TEST(ReportTest, HostileStringsShowAsTheTextTheyAreInTextAndAttributes) {
  ConfigData config = Sample();
  ASSERT_GE(config.inputs_size(), 5);
  ASSERT_GE(config.maps_size(), 2);
  for (std::size_t i = 0; i < kHostile.size(); ++i) config.mutable_inputs(static_cast<int>(i))->set_alias(kHostile[i]);
  config.mutable_inputs(0)->set_unit(kHostile[1]);
  config.mutable_maps(0)->set_alias(kHostile[1]);
  config.mutable_maps(1)->set_alias(kHostile[0]);
  config.set_gcuno(kHostile[3]);
  config.set_devicedescription(kHostile[2]);
  ReportOptions options;
  options.title = kHostile[3];
  const std::string page = Report(config, options);

  for (const std::string& hostile : kHostile) EXPECT_EQ(page.find(hostile), std::string::npos) << hostile;
  EXPECT_EQ(Count(page.substr(0, page.find("</head>")), "</title>"), 1u);
  EXPECT_EQ(Count(page, "<style>"), 1u);
  EXPECT_NE(page.find("&lt;script&gt;alert(1)&lt;/script&gt;"), std::string::npos);
  EXPECT_NE(page.find("&amp;amp; &amp;lt;b&amp;gt;"), std::string::npos);

  // Read back, each string is the text it was.
  const Body body(page);
  for (const std::string& hostile : kHostile) EXPECT_TRUE(body.HasText(hostile)) << hostile;
  EXPECT_EQ(body.Elements("script"), 0u);
  EXPECT_EQ(body.Elements("img"), 0u);
  EXPECT_EQ(body.Elements("style"), 0u);
  EXPECT_EQ(body.Elements("svg"), static_cast<std::size_t>(config.maps_size() + Linearizations(config)));
  // The maps' aliases name their drawings in an attribute.
  const std::string first = body.ById("f-maps-0").child("svg").attribute("aria-label").value();
  const std::string second = body.ById("f-maps-1").child("svg").attribute("aria-label").value();
  EXPECT_NE(first.find(kHostile[1]), std::string::npos) << first;
  EXPECT_NE(second.find(kHostile[0]), std::string::npos) << second;
}

TEST(ReportTest, OneDrawingPerMapAndPerLinearization) {
  const ConfigData config = Sample(200);
  ASSERT_GT(Linearizations(config), 0);
  const std::string page = Report(config);
  const Body body(page);
  EXPECT_EQ(body.Elements("svg"), static_cast<std::size_t>(config.maps_size() + Linearizations(config)));
  EXPECT_EQ(Count(page, "<svg"), body.Elements("svg"));
  for (int i = 0; i < config.maps_size(); ++i) {
    const pugi::xml_node figure = body.ById("f-maps-" + std::to_string(i));
    ASSERT_TRUE(figure) << i;
    EXPECT_TRUE(figure.child("svg")) << i;
  }
  for (int i = 0; i < config.inputs_size(); ++i) {
    const pugi::xml_node figure = body.ById("f-inputs-" + std::to_string(i) + "-linearization");
    EXPECT_EQ(static_cast<bool>(figure), config.inputs(i).has_linearization()) << i;
  }
}

// A map of each kind, on the first table record for type 0 and the other
// for type 1.
ConfigData TwoMaps(const Map2D& curve, const Map3D& grid) {
  ConfigData config;
  Map* first = config.add_maps();
  first->set_id(1);
  first->set_type(Map::Point3dMap);
  first->set_config(curve.SerializeAsString());
  Map* second = config.add_maps();
  second->set_id(2);
  second->set_type(Map::Interpolated3dMap);
  second->set_xaxischannel(7);
  second->set_yaxischannel(9);
  second->set_config(grid.SerializeAsString());
  return config;
}

PairingCatalogue CurveAndGrid() {
  PairingCatalogue pairing = PairingCatalogue::Standard();
  pairing.Apply("map:0=Map2D");
  return pairing;
}

TEST(ReportTest, Map2DIsACurveAndMap3DAHeatMapWithAxesTicksAndScale) {
  Map2D curve;
  for (const auto& [x, value] : std::vector<std::pair<int, int>>{{0, 10}, {250, 40}, {500, 35}, {1000, 90}}) {
    Map2DPoint* point = curve.add_points();
    point->set_x(x);
    point->set_value(value);
  }
  Map3D grid;
  for (int x : {100, 200, 400}) grid.add_x(x);
  for (int y : {-5, 5}) grid.add_y(y);
  for (int v : {1, 2, 3, 4, 5, 66}) grid.add_values(v);
  ReportOptions options;
  options.pairing = CurveAndGrid();
  const Body body(Report(TwoMaps(curve, grid), options));

  const pugi::xml_node line = body.ById("f-maps-0").child("svg");
  ASSERT_TRUE(line);
  EXPECT_TRUE(line.child("polyline"));
  EXPECT_EQ(std::distance(line.children("circle").begin(), line.children("circle").end()), 4);
  EXPECT_EQ(std::string(line.child("polyline").attribute("points").value()).find(',') != std::string::npos, true);
  std::vector<std::string> line_texts;
  for (pugi::xml_node text : line.children("text")) line_texts.push_back(text.child_value());
  // Ticks of round steps over both ranges, and the axes' titles.
  for (const char* tick : {"0", "200", "1000", "20", "80"}) {
    EXPECT_NE(std::find(line_texts.begin(), line_texts.end(), tick), line_texts.end()) << tick;
  }
  EXPECT_NE(std::find(line_texts.begin(), line_texts.end(), "value"), line_texts.end());

  const pugi::xml_node heat = body.ById("f-maps-1").child("svg");
  ASSERT_TRUE(heat);
  EXPECT_FALSE(heat.child("polyline"));
  std::vector<std::string> cells;
  std::size_t scale = 0;
  for (pugi::xml_node rect : heat.children("rect")) {
    if (rect.child("title")) {
      cells.push_back(rect.child("title").child_value());
    } else {
      ++scale;
    }
  }
  ASSERT_EQ(cells.size(), 6u);
  // Row by row, one row per y breakpoint.
  EXPECT_EQ(cells[0], "x (channel 7) 100, y (channel 9) -5: 1");
  EXPECT_EQ(cells[2], "x (channel 7) 400, y (channel 9) -5: 3");
  EXPECT_EQ(cells[5], "x (channel 7) 400, y (channel 9) 5: 66");
  EXPECT_GT(scale, 8u) << "a colour scale of several steps";
  std::vector<std::string> texts;
  for (pugi::xml_node text : heat.children("text")) texts.push_back(text.child_value());
  // Breakpoints on both axes, the scale's ends, and the values in their cells.
  for (const char* shown : {"100", "200", "400", "-5", "5", "1", "66", "x (channel 7)", "y (channel 9)"}) {
    EXPECT_NE(std::find(texts.begin(), texts.end(), shown), texts.end()) << shown;
  }
  // The lowest and the highest value differ in colour.
  const auto fill_of = [&](int index) {
    int i = 0;
    for (pugi::xml_node rect : heat.children("rect")) {
      if (rect.child("title") && i++ == index) return std::string(rect.attribute("fill").value());
    }
    return std::string();
  };
  EXPECT_NE(fill_of(0), fill_of(5));
}

TEST(ReportTest, HeatMapWithTooFewValuesDrawsTheGapGreyAndSaysSo) {
  Map3D grid;
  for (int x : {1, 2, 3}) grid.add_x(x);
  for (int y : {1, 2}) grid.add_y(y);
  for (int v : {7, 8, 9, 10}) grid.add_values(v);
  const Body body(Report(TwoMaps(Map2D(), grid), {CurveAndGrid()}));
  const pugi::xml_node figure = body.ById("f-maps-1");
  ASSERT_TRUE(figure);
  std::size_t missing = 0;
  for (pugi::xml_node rect : figure.child("svg").children("rect")) {
    const std::string title = rect.child("title").child_value();
    if (title.find(": no value") != std::string::npos) ++missing;
  }
  EXPECT_EQ(missing, 2u);
  EXPECT_NE(TextOf(figure).find("values holds 4 values where the breakpoints make 3 × 2 = 6"), std::string::npos)
      << TextOf(figure);
  // A curve without points is still drawn, saying so.
  const pugi::xml_node empty = body.ById("f-maps-0").child("svg");
  ASSERT_TRUE(empty);
  EXPECT_NE(TextOf(empty).find("no points"), std::string::npos);
}

TEST(ReportTest, TableThatDoesNotReadIsNotDrawnAndSaysWhy) {
  ConfigData config = Sample(24);
  ASSERT_GE(config.maps_size(), 2);
  config.mutable_maps(1)->set_config(std::string("\xFF", 1));
  const Body body(Report(config));
  EXPECT_EQ(body.Elements("svg"), static_cast<std::size_t>(config.maps_size() - 1 + Linearizations(config)));
  EXPECT_FALSE(body.ById("f-maps-1"));
  const pugi::xml_node row = body.ById("e-maps-1");
  ASSERT_TRUE(row);
  EXPECT_NE(TextOf(row).find("1 byte, not readable as Map3D"), std::string::npos) << TextOf(row);
}

TEST(ReportTest, SettingsAreShownFieldByFieldAsTheRecordTheirTypePairs) {
  ConfigData config;
  Input* input = config.add_inputs();
  input->set_id(4);
  input->set_alias("Oil temperature");
  AdcConfiguration adc;
  adc.set_inminvalue(481);
  adc.set_range(AdcConfiguration::range12V);
  input->set_config(adc.SerializeAsString());
  Input* open = config.add_inputs();
  open->set_id(5);
  open->set_type(Input::FrequencyInput);
  open->set_config("abc");
  const Body body(Report(config));
  const pugi::xml_node row = body.ById("e-inputs-0");
  ASSERT_TRUE(row);
  const std::string text = TextOf(row);
  EXPECT_NE(text.find("AdcConfiguration"), std::string::npos) << text;
  EXPECT_NE(text.find("0 (AdcInput)"), std::string::npos) << text;
  // Each field of the settings with its value, left at its default or not.
  std::vector<std::pair<std::string, std::string>> fields;
  for (const pugi::xpath_node& settings : row.select_nodes(".//table[@class='fields']//tr")) {
    fields.emplace_back(settings.node().first_child().child_value(), settings.node().last_child().child_value());
  }
  const auto has = [&](const std::string& name, const std::string& value) {
    return std::find(fields.begin(), fields.end(), std::make_pair(name, value)) != fields.end();
  };
  EXPECT_TRUE(has("inMinValue", "481"));
  EXPECT_TRUE(has("range", "range12V"));
  EXPECT_TRUE(has("saturation", "false"));
  // A code paired with no record keeps its settings as bytes.
  EXPECT_NE(TextOf(body.ById("e-inputs-1")).find("3 bytes, paired with no record"), std::string::npos);
}

TEST(ReportTest, FindingsStandBesideTheEntryTheyNameAndTheRestAtTheTop) {
  ConfigData config = Sample(24);
  config.mutable_inputs(3)->set_type(1000);
  config.mutable_outputs(1)->set_id(config.outputs(0).id());
  // An unknown field of the document itself: about no entry.
  config.GetReflection()->MutableUnknownFields(&config)->AddVarint(100, 1);
  const Body body(Report(config));

  const pugi::xml_node unknown = body.ById("e-inputs-3");
  ASSERT_TRUE(unknown);
  EXPECT_STREQ(unknown.attribute("class").value(), "has-error");
  EXPECT_NE(TextOf(unknown).find("type: error: type 1000 is not a value of Input.Type"), std::string::npos)
      << TextOf(unknown);
  EXPECT_NE(TextOf(unknown).find("[unknown-type]"), std::string::npos);
  const pugi::xml_node duplicate = body.ById("e-outputs-1");
  ASSERT_TRUE(duplicate);
  EXPECT_NE(TextOf(duplicate).find("[duplicate-id]"), std::string::npos);
  // Clean entries carry none.
  EXPECT_STREQ(body.ById("e-inputs-2").attribute("class").value(), "");
  EXPECT_EQ(TextOf(body.ById("e-inputs-2")).find("error"), std::string::npos);

  // Each finding shown once, in an entry's row or at the top.
  const std::vector<Finding> findings = Lint(config);
  std::size_t shown = 0;
  body.Each([&](pugi::xml_node node) { shown += std::string(node.parent().attribute("class").value()) == "findings"; });
  EXPECT_EQ(shown, findings.size());
  const std::size_t errors = static_cast<std::size_t>(
      std::count_if(findings.begin(), findings.end(), [](const Finding& f) { return f.severity == Severity::kError; }));
  const std::string top = TextOf(body.body.find_child_by_attribute("section", "id", "lint"));
  EXPECT_NE(top.find(std::to_string(errors) + " errors, 1 warning"), std::string::npos) << top;
  EXPECT_NE(top.find("(document): warning: field 100 not in ConfigData"), std::string::npos) << top;
}

TEST(ReportTest, CalibrationValuesAreMarkedWithinOrOutsideTheirLimitsAsLintDecides) {
  CalibrationData calibration;
  CalibrationTemplateData limits;
  SampleCalibration(SampleOptions{64, 1}, &calibration);
  SampleCalibrationTemplate(SampleOptions{64, 1}, &limits);
  ASSERT_GE(calibration.adccalibration_size(), 2);
  calibration.mutable_adccalibration(1)->set_level5v(100000);
  calibration.mutable_adccalibration(0)->set_level12v(0);
  ReportOptions options;
  options.limits = &limits;
  const Body body(Report(calibration, options));
  std::size_t outside = 0;
  std::size_t within = 0;
  body.Each([&](pugi::xml_node node) {
    const std::string css = node.attribute("class").value();
    outside += css == "outside";
    within += css == "within";
  });
  LintOptions lint;
  lint.limits = &limits;
  std::size_t out_of_limits = 0;
  for (const Finding& finding : Lint(calibration, lint)) out_of_limits += finding.rule == "out-of-limits";
  EXPECT_GE(out_of_limits, 2u);
  EXPECT_EQ(outside, out_of_limits);
  EXPECT_GT(within, 10u);
  const pugi::xml_node row = body.ById("e-adcCalibration-1");
  ASSERT_TRUE(row);
  const pugi::xml_node marked = row.find_child_by_attribute("td", "class", "outside");
  ASSERT_TRUE(marked);
  EXPECT_EQ(TextOf(marked).rfind("100000outside ", 0), 0u) << TextOf(marked);
  EXPECT_NE(TextOf(row).find("[out-of-limits]"), std::string::npos);

  // Without the template nothing is marked.
  const Body plain(Report(calibration));
  std::size_t marks = 0;
  plain.Each([&](pugi::xml_node node) {
    const std::string css = node.attribute("class").value();
    marks += css == "outside" || css == "within";
  });
  EXPECT_EQ(marks, 0u);
}

TEST(ReportTest, TemplateForAnythingButACalibrationIsAnError) {
  CalibrationTemplateData limits;
  ReportOptions options;
  options.limits = &limits;
  EXPECT_THROW(Report(Sample(4), options), Error);
}

TEST(ReportTest, DeviceDataShowsItsConfigurationAsAConfigData) {
  DeviceData device;
  SampleDeviceData(SampleOptions{60, 1}, &device);
  ConfigData config;
  ASSERT_TRUE(config.ParseFromString(device.config()));
  config.mutable_inputs(2)->set_type(1000);
  device.set_config(config.SerializeAsString());
  const Body body(Report(device));
  EXPECT_EQ(body.Elements("svg"), static_cast<std::size_t>(config.maps_size() + Linearizations(config)));
  EXPECT_TRUE(body.ById("s-config-inputs"));
  const pugi::xml_node row = body.ById("e-config-inputs-2");
  ASSERT_TRUE(row);
  EXPECT_NE(TextOf(row).find("[unknown-type]"), std::string::npos);
}

TEST(ReportTest, EveryRecordOfTheLibraryGivesAPage) {
  for (const std::string& name : RecordNames()) {
    SCOPED_TRACE(name);
    const std::unique_ptr<google::protobuf::Message> record = Sample(FindRecord(name), SampleOptions{12, 3});
    ASSERT_NE(record, nullptr);
    const std::string page = Report(*record);
    const Body body(page);
    EXPECT_TRUE(body.HasText(name + " report"));
    EXPECT_TRUE(body.ById("summary"));
  }
}

TEST(ReportTest, AnEntryOnItsOwnShowsItsSettingsInTheSummary) {
  Input input;
  input.set_id(3);
  AdcConfiguration adc;
  adc.set_inmaxvalue(4930);
  input.set_config(adc.SerializeAsString());
  const Body body(Report(input));
  EXPECT_TRUE(body.HasText("config<AdcConfiguration>.inMaxValue"));
  EXPECT_TRUE(body.HasText("4930"));
}

TEST(ReportTest, AnEntrysListsAndRecordsShareOneColumnFieldByField) {
  const ConfigData config = Sample(24);
  ASSERT_GT(config.canbus_size(), 0);
  ASSERT_GT(config.canbus(0).standardinputframes_size(), 0);
  const Body body(Report(config));
  const pugi::xml_node section = body.ById("s-canbus");
  ASSERT_TRUE(section);
  std::vector<std::string> headings;
  for (const pugi::xpath_node& heading : section.select_nodes(".//th")) headings.push_back(heading.node().child_value());
  EXPECT_NE(std::find(headings.begin(), headings.end(), "lists and records"), headings.end());
  EXPECT_EQ(std::find(headings.begin(), headings.end(), "standardInputFrames"), headings.end());
  EXPECT_NE(std::find(headings.begin(), headings.end(), "baudrate"), headings.end());
  const std::string row = TextOf(body.ById("e-canbus-0"));
  EXPECT_NE(row.find("standardInputFrames[0].messageId" + std::to_string(config.canbus(0).standardinputframes(0).messageid())),
            std::string::npos)
      << row;
  // An input's one record, its linearization, keeps a column of its own.
  EXPECT_TRUE(body.ById("s-inputs").select_node(".//th[text()='linearization']"));
}

TEST(ReportTest, PasswordIsShownByItsLengthOnly) {
  ConfigData config = Sample(4);
  config.set_password("s3cret-pw");
  const std::string page = Report(config);
  EXPECT_EQ(page.find("s3cret-pw"), std::string::npos);
  EXPECT_NE(page.find("set, 9 bytes"), std::string::npos);
}

}  // namespace
}  // namespace gcuschema::document
