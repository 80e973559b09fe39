// Two documents side by side in one HTML page: Diff's differences listed at
// the top and marked on the rows where they lie.
#include <gcuschema/document/report.h>

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/DigitalInputConfiguration.pb.h>
#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/document/diff.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/samples.h>

#include "support/html_body.h"

namespace gcuschema::document {
namespace {

using test::HtmlBody;
using test::TextOf;

ConfigData Sample() {
  ConfigData config;
  SampleConfig(SampleOptions{24, 1}, &config);
  return config;
}

std::string Page(const google::protobuf::Message& a, const google::protobuf::Message& b) {
  DiffReportOptions options;
  options.old_title = "old.bin";
  options.new_title = "new.json";
  return DiffReport(a, b, Diff(a, b), options);
}

// The paths of the rows marked `css` ("changed", "added", "removed").
std::vector<std::string> Marked(const HtmlBody& page, const std::string& css) {
  std::vector<std::string> paths;
  for (pugi::xml_node node : page.OfClass(css)) {
    if (std::string(node.name()) == "tr" && node.child("td").attribute("class").value() == std::string("path")) {
      paths.push_back(node.child("td").child_value());
    }
  }
  return paths;
}

// How diff names an entry of a list matched by id: `inputs[id=2 "Switch_002"]`.
template <typename Entry>
std::string Named(const std::string& list, const Entry& entry) {
  return list + "[id=" + std::to_string(entry.id()) + (entry.alias().empty() ? "" : " \"" + entry.alias() + "\"") + "]";
}

// The block showing the entry at `path` (its summary names it).
pugi::xml_node EntryBlock(const HtmlBody& page, const std::string& path) {
  pugi::xml_node found;
  page.Each([&](pugi::xml_node node) {
    if (std::string(node.name()) == "details" && std::string(node.child("summary").child("code").child_value()) == path) {
      found = node;
    }
  });
  return found;
}

void ExpectUniqueIds(const HtmlBody& page) {
  std::set<std::string> ids;
  page.Each([&](pugi::xml_node node) {
    const std::string id = node.attribute("id").value();
    if (!id.empty()) EXPECT_TRUE(ids.insert(id).second) << "id " << id << " given twice";
  });
}

TEST(DiffReportTest, EqualDocumentsSaySoAndFoldEveryEntry) {
  const ConfigData config = Sample();
  const HtmlBody page(Page(config, config));
  EXPECT_TRUE(page.HasText("The documents are equal."));
  EXPECT_TRUE(Marked(page, "changed").empty());
  std::size_t entries = 0;
  page.Each([&](pugi::xml_node node) {
    if (std::string(node.name()) != "details") return;
    ++entries;
    EXPECT_FALSE(node.attribute("open")) << node.attribute("id").value();
  });
  EXPECT_EQ(entries, static_cast<std::size_t>(config.inputs_size() + config.outputs_size() + config.maps_size() +
                                              config.drivers_size() + config.canbus_size() +
                                              config.canbusrouter_size() + config.estimationdata_size()));
}

TEST(DiffReportTest, EachDifferenceIsListedAndMarkedWhereItLies) {
  const ConfigData a = Sample();
  ConfigData b = a;
  b.set_version(a.version() + 1);
  b.mutable_inputs(0)->set_alias("Oil temperature");
  ASSERT_EQ(b.inputs(1).type(), Input::DigitalInput);
  DigitalInConfiguration digital;
  ASSERT_TRUE(digital.ParseFromString(b.inputs(1).config()));
  digital.set_delay(digital.delay() + 1);
  b.mutable_inputs(1)->set_config(digital.SerializeAsString());
  b.mutable_inputs()->DeleteSubrange(5, 1);
  Input* added = b.add_inputs();
  added->set_id(500);
  added->set_alias("new one");
  const std::vector<Difference> differences = Diff(a, b);
  ASSERT_EQ(differences.size(), 5u) << FormatDifferences(differences);

  const HtmlBody page(Page(a, b));
  // The list at the top: a row per difference, its path linking to the
  // block that shows it.
  std::size_t listed = 0;
  for (const Difference& d : differences) {
    bool found = false;
    page.Each([&](pugi::xml_node node) {
      if (std::string(node.name()) != "a" || d.path != node.child_value()) return;
      found = true;
      const std::string target = node.attribute("href").value();
      ASSERT_EQ(target[0], '#');
      EXPECT_TRUE(page.ById(target.substr(1))) << target;
    });
    listed += found ? 1 : 0;
  }
  EXPECT_EQ(listed, differences.size());

  EXPECT_EQ(Marked(page, "changed"),
            (std::vector<std::string>{"version", Named("inputs", b.inputs(0)) + ".alias",
                                      Named("inputs", b.inputs(1)) + ".config<DigitalInConfiguration>.delay"}));
  // The removed entry, by its place in the first document; the added one by
  // its place in the second, every row of each.
  const std::vector<std::string> removed = Marked(page, "removed");
  ASSERT_FALSE(removed.empty());
  for (const std::string& path : removed) EXPECT_EQ(path.rfind(Named("inputs", a.inputs(5)) + ".", 0), 0u) << path;
  const std::vector<std::string> added_rows = Marked(page, "added");
  ASSERT_FALSE(added_rows.empty());
  const std::string added_at = Named("inputs", *added) + ".";
  for (const std::string& path : added_rows) EXPECT_EQ(path.rfind(added_at, 0), 0u) << path;

  // Changed entries open, the others folded; the entries are paired by id.
  const pugi::xml_node changed = EntryBlock(page, Named("inputs", b.inputs(1)));
  ASSERT_TRUE(changed);
  EXPECT_TRUE(changed.attribute("open"));
  EXPECT_NE(TextOf(changed.child("summary")).find("changed"), std::string::npos);
  const pugi::xml_node same = EntryBlock(page, Named("inputs", b.inputs(2)));
  ASSERT_TRUE(same);
  EXPECT_FALSE(same.attribute("open"));
  EXPECT_NE(TextOf(same.child("summary")).find("unchanged"), std::string::npos);
  // inputs[5] of the first document is gone, and inputs[6] is inputs[5] of
  // the second: two entries, each shown once.
  const pugi::xml_node gone = EntryBlock(page, Named("inputs", a.inputs(5)));
  ASSERT_TRUE(gone);
  EXPECT_NE(TextOf(gone.child("summary")).find("removed"), std::string::npos);
  const pugi::xml_node moved = EntryBlock(page, Named("inputs", a.inputs(6)));
  ASSERT_TRUE(moved);
  EXPECT_NE(TextOf(moved.child("summary")).find("unchanged"), std::string::npos);
  EXPECT_NE(TextOf(moved.child("summary")).find("id " + std::to_string(a.inputs(6).id())), std::string::npos);
  ExpectUniqueIds(page);
}

TEST(DiffReportTest, ChangedOrderIsSaidOnItsListWithoutMarkingEveryEntry) {
  const ConfigData a = Sample();
  ConfigData b = a;
  b.mutable_inputs()->SwapElements(0, 1);
  const HtmlBody page(Page(a, b));
  EXPECT_TRUE(page.HasText("The order of the entries changed."));
  EXPECT_TRUE(Marked(page, "changed").empty());
}

TEST(DiffReportTest, HostileStringsShowAsText) {
  const ConfigData a = Sample();
  ConfigData b = a;
  b.mutable_inputs(0)->set_alias("<script>alert(1)</script>");
  b.mutable_inputs(1)->set_alias("\"><img src=x onerror=alert(1)>");
  DiffReportOptions options;
  options.old_title = "</title><script>alert(2)</script>";
  const std::string text = DiffReport(a, b, Diff(a, b), options);
  EXPECT_EQ(text.find("<script"), std::string::npos);
  EXPECT_EQ(text.find("<img"), std::string::npos);
  const HtmlBody page(text);
  EXPECT_TRUE(page.HasText("<script>alert(1)</script>"));
  EXPECT_TRUE(page.HasText("\"><img src=x onerror=alert(1)>"));
  EXPECT_TRUE(page.HasText("</title><script>alert(2)</script>"));
  EXPECT_EQ(page.Elements("script"), 0u);
  EXPECT_EQ(page.Elements("img"), 0u);
}

TEST(DiffReportTest, DeviceDataConfigurationsAreComparedAsDocuments) {
  DeviceData a;
  SampleDeviceData(SampleOptions{24, 1}, &a);
  ConfigData config;
  ASSERT_TRUE(config.ParseFromString(a.config()));
  config.mutable_inputs(2)->set_alias("renamed");
  DeviceData b = a;
  b.set_config(config.SerializeAsString());
  const HtmlBody page(Page(a, b));
  const std::string renamed = "config<ConfigData>." + Named("inputs", config.inputs(2));
  EXPECT_EQ(Marked(page, "changed"), std::vector<std::string>{renamed + ".alias"});
  EXPECT_TRUE(EntryBlock(page, renamed));
}

// The cells of a drawing outlined as changed, by their tooltips.
std::vector<std::string> Outlined(pugi::xml_node figure) {
  std::vector<std::string> cells;
  for (pugi::xml_node rect : figure.child("svg").children("rect")) {
    if (rect.attribute("stroke")) cells.push_back(rect.child("title").child_value());
  }
  return cells;
}

TEST(DiffReportTest, ChangedTablesAreDrawnSideBySideOnOneScaleWithTheChangedCellsOutlined) {
  const ConfigData a = Sample();
  ConfigData b = a;
  ASSERT_GE(b.maps_size(), 2);
  Map3D table;
  ASSERT_TRUE(table.ParseFromString(b.maps(0).config()));
  ASSERT_GE(table.values_size(), 4);
  table.set_values(3, 999);
  b.mutable_maps(0)->set_config(table.SerializeAsString());
  const HtmlBody page(Page(a, b));

  const pugi::xml_node changed = EntryBlock(page, Named("maps", b.maps(0)));
  ASSERT_TRUE(changed);
  std::vector<pugi::xml_node> figures;
  for (const pugi::xpath_node& figure : changed.select_nodes(".//figure")) figures.push_back(figure.node());
  ASSERT_EQ(figures.size(), 2u);
  EXPECT_EQ(TextOf(figures[0].child("figcaption")), "A (old): " + Named("maps", b.maps(0)));
  EXPECT_EQ(TextOf(figures[1].child("figcaption")), "B (new): " + Named("maps", b.maps(0)));
  ASSERT_EQ(Outlined(figures[1]).size(), 1u);
  EXPECT_NE(Outlined(figures[1])[0].find(": 999, changed"), std::string::npos) << Outlined(figures[1])[0];
  ASSERT_EQ(Outlined(figures[0]).size(), 1u);
  EXPECT_NE(Outlined(figures[0])[0].find(", changed"), std::string::npos);
  // One colour scale: both end at the highest value of either.
  const auto top = [](pugi::xml_node figure) {
    std::string last;
    for (pugi::xml_node text : figure.child("svg").children("text")) last = text.child_value();
    return last;
  };
  EXPECT_EQ(top(figures[0]), "999");
  EXPECT_EQ(top(figures[1]), "999");
  // Tables that did not change are not drawn.
  const pugi::xml_node same = EntryBlock(page, Named("maps", b.maps(1)));
  ASSERT_TRUE(same);
  EXPECT_FALSE(same.select_node(".//svg"));
}

TEST(DiffReportTest, ChangedCurvesMarkThePointsThatMoved) {
  ConfigData a;
  Map* map = a.add_maps();
  map->set_id(1);
  Map2D curve;
  for (int i = 0; i < 4; ++i) {
    Map2DPoint* point = curve.add_points();
    point->set_x(100 * i);
    point->set_value(10 * i);
  }
  map->set_config(curve.SerializeAsString());
  ConfigData b = a;
  curve.mutable_points(2)->set_value(55);
  b.mutable_maps(0)->set_config(curve.SerializeAsString());
  DiffReportOptions options;
  options.pairing.Apply("map:0=Map2D");
  const HtmlBody page(DiffReport(a, b, Diff(a, b, {options.pairing}), options));
  std::vector<std::string> marked;
  for (const pugi::xpath_node& point : page.body.select_nodes("//figure//circle[@r='5']")) {
    marked.push_back(point.node().child("title").child_value());
  }
  EXPECT_EQ(marked, (std::vector<std::string>{"x (channel 0) 200: 20, changed", "x (channel 0) 200: 55, changed"}));
}

TEST(DiffReportTest, RecordsOfTwoTypesAreAnError) {
  EXPECT_THROW(DiffReport(ConfigData(), DeviceData(), {}), Error);
}

}  // namespace
}  // namespace gcuschema::document
