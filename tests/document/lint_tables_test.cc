// lint of lookup tables: breakpoints rising along each axis and a value for
// each pair of them, in maps and in inputs' linearizations.
#include <gcuschema/document/lint.h>

#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document {
namespace {

using Paths = std::vector<std::string>;

// "path rule: message" per finding.
Paths Found(const google::protobuf::Message& record, const PairingCatalogue& pairing = PairingCatalogue::Standard()) {
  Paths out;
  for (const Finding& finding : Lint(record, LintOptions{pairing})) {
    EXPECT_EQ(finding.severity, Severity::kWarning) << finding.path;
    out.push_back(finding.path + " " + finding.rule + ": " + finding.message);
  }
  return out;
}

// A table of the breakpoints given with `values` values.
::Map3D Table(std::initializer_list<int> x, std::initializer_list<int> y, int values) {
  ::Map3D table;
  for (int v : x) table.add_x(v);
  for (int v : y) table.add_y(v);
  for (int i = 0; i < values; ++i) table.add_values(i);
  return table;
}

ConfigData OneMap(const google::protobuf::Message& table) {
  ConfigData config;
  ::Map* map = config.add_maps();
  map->set_id(1);
  map->set_type(::Map::Interpolated3dMap);
  map->set_config(table.SerializeAsString());
  return config;
}

constexpr char kOrder[] =
    "; a table's breakpoints rise strictly along each axis: put them in increasing order, with the values that go "
    "with them";

TEST(LintTablesTest, ValuesMustFillTheTableTheBreakpointsMake) {
  // 7 by 10 breakpoints and one value short.
  EXPECT_EQ(Found(OneMap(Table({0, 1, 2, 3, 4, 5, 6}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 69))),
            Paths{"maps[0].config.values map-size: values holds 69 entries, but 7 x breakpoints by 10 y breakpoints "
                  "make a table of 70: give a row of 7 values for each y breakpoint"});
  EXPECT_EQ(Found(OneMap(Table({0, 1, 2, 3, 4, 5, 6}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 70))), Paths{});
  EXPECT_EQ(Found(OneMap(Table({5}, {3}, 2))),
            Paths{"maps[0].config.values map-size: values holds 2 entries, but 1 x breakpoint by 1 y breakpoint make "
                  "a table of 1: give a row of 1 value for each y breakpoint"});
  // Breakpoints on one axis only make no table.
  EXPECT_EQ(Found(OneMap(Table({1, 2, 3}, {}, 3))),
            Paths{"maps[0].config.values map-size: values holds 3 entries, but 3 x breakpoints by 0 y breakpoints "
                  "make a table of 0: give a row of 3 values for each y breakpoint"});
  EXPECT_EQ(Found(OneMap(Table({5}, {3}, 1))), Paths{});
  EXPECT_EQ(Found(OneMap(::Map3D{})), Paths{});
}

TEST(LintTablesTest, BreakpointsMustRiseStrictlyOnBothAxes) {
  EXPECT_EQ(Found(OneMap(Table({64, 338, 338, 565}, {2, 40}, 8))),
            Paths{"maps[0].config.x[2] map-axis-order: x[2] 338 is not above x[1] 338" + std::string(kOrder)});
  EXPECT_EQ(Found(OneMap(Table({1, 2}, {284, 142, 55, 40, 2}, 10))),
            Paths{"maps[0].config.y[1] map-axis-order: y[1] 142 is not above y[0] 284 (4 of the axis's 4 steps do "
                  "not rise)" + std::string(kOrder)});
  // Each axis is named once, at its first fall; the size is checked besides.
  EXPECT_EQ(Found(OneMap(Table({3, 2, 1}, {-5, -5}, 5))),
            (Paths{"maps[0].config.x[1] map-axis-order: x[1] 2 is not above x[0] 3 (2 of the axis's 2 steps do not "
                   "rise)" + std::string(kOrder),
                   "maps[0].config.y[1] map-axis-order: y[1] -5 is not above y[0] -5" + std::string(kOrder),
                   "maps[0].config.values map-size: values holds 5 entries, but 3 x breakpoints by 2 y breakpoints "
                   "make a table of 6: give a row of 3 values for each y breakpoint"}));
  EXPECT_EQ(Found(OneMap(Table({-300, -2, 0, 7}, {-1, 0}, 8))), Paths{});
}

TEST(LintTablesTest, AnInputsLinearizationIsATableToo) {
  ConfigData config;
  Input* input = config.add_inputs();
  input->set_id(1);
  input->set_type(Input::FrequencyInput);
  input->mutable_linearization()->set_config(Table({0, 100, 50}, {0}, 2).SerializeAsString());
  EXPECT_EQ(Found(config),
            (Paths{"inputs[0].linearization.config.x[2] map-axis-order: x[2] 50 is not above x[1] 100" +
                       std::string(kOrder),
                   "inputs[0].linearization.config.values map-size: values holds 2 entries, but 3 x breakpoints by "
                   "1 y breakpoint make a table of 3: give a row of 3 values for each y breakpoint"}));
  input->mutable_linearization()->set_config(Table({0, 50, 100}, {0}, 3).SerializeAsString());
  EXPECT_EQ(Found(config), Paths{});
}

TEST(LintTablesTest, APointByPointTableRisesAlongX) {
  ::Map2D table;
  for (int x : {10, 20, 15, 30}) {
    ::Map2DPoint* point = table.add_points();
    point->set_x(x);
    point->set_value(x * 2);
  }
  PairingCatalogue pairing = PairingCatalogue::Standard();
  pairing.SetMapTable(::Map2D::descriptor());
  EXPECT_EQ(Found(OneMap(table), pairing),
            Paths{"maps[0].config.points[2].x map-axis-order: points[2].x 15 is not above points[1].x 20" +
                  std::string(kOrder)});
  table.mutable_points(2)->set_x(25);
  EXPECT_EQ(Found(OneMap(table), pairing), Paths{});
}

TEST(LintTablesTest, ATableLintedOnItsOwn) {
  EXPECT_EQ(Found(Table({1, 1}, {2}, 2)),
            Paths{"x[1] map-axis-order: x[1] 1 is not above x[0] 1" + std::string(kOrder)});
}

}  // namespace
}  // namespace gcuschema::document
