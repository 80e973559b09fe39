// Diff names entries by their identifier and alias, matches them by it in
// every list whose entries carry one, and tells a changed order in words.
#include <gcuschema/document/diff.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/DigitalInputConfiguration.pb.h>
#include <gcuschema/document/samples.h>

namespace gcuschema::document {
namespace {

ConfigData Sample() {
  ConfigData config;
  SampleConfig(SampleOptions{}, &config);
  return config;
}

std::string Lines(const ConfigData& a, const ConfigData& b) { return FormatDifferences(Diff(a, b)); }

// `ids` as inputs with those ids, aliased "In<id>".
ConfigData Inputs(const std::vector<int>& ids) {
  ConfigData config;
  for (int id : ids) {
    Input* input = config.add_inputs();
    input->set_id(id);
    input->set_alias("In" + std::to_string(id));
  }
  return config;
}

std::string Moves(const std::vector<int>& before, const std::vector<int>& after) {
  const std::vector<Difference> differences = Diff(Inputs(before), Inputs(after));
  if (differences.size() != 1 || differences[0].kind != Difference::Kind::kReordered) {
    return "not one reordering: " + FormatDifferences(differences);
  }
  return differences[0].moves;
}

TEST(DiffEntriesTest, ASwapAndAChangedSettingAreNamedByIdAndAlias) {
  // The sample's first two inputs are 1 "Analog_001" and 2 "Switch_002", a
  // digital input whose delay is 24.
  const ConfigData before = Sample();
  ConfigData after = before;
  after.mutable_inputs()->SwapElements(0, 1);
  DigitalInConfiguration digital;
  ASSERT_TRUE(digital.ParseFromString(after.inputs(0).config()));
  ASSERT_EQ(digital.delay(), 24u);
  digital.set_delay(30);
  after.mutable_inputs(0)->set_config(digital.SerializeAsString());
  EXPECT_EQ(Lines(before, after),
            "~ inputs[id=2 \"Switch_002\"].config<DigitalInConfiguration>.delay: 24 -> 30\n"
            "~ inputs reordered: 2 before 1\n");

  const std::vector<Difference> differences = Diff(before, after);
  ASSERT_EQ(differences.size(), 2u);
  ASSERT_EQ(differences[0].entries.size(), 1u);
  EXPECT_EQ(differences[0].entries[0].list, "inputs");
  EXPECT_EQ(differences[0].entries[0].key, "id");
  EXPECT_EQ(differences[0].entries[0].id, 2);
  EXPECT_EQ(differences[0].entries[0].alias, "Switch_002");
  EXPECT_TRUE(differences[0].moves.empty());
}

TEST(DiffEntriesTest, EveryListWithIdentifiersIsMatchedByThem) {
  // The first output and map dropped, the last one changed; a driver and
  // an estimator added, the first one changed: one difference each, none
  // shifted.
  const ConfigData before = Sample();
  ConfigData after = before;
  after.mutable_outputs()->DeleteSubrange(0, 1);
  after.mutable_outputs(after.outputs_size() - 1)->set_pin(77);
  after.mutable_maps()->DeleteSubrange(0, 1);
  after.mutable_maps(after.maps_size() - 1)->set_maptunerid(77);
  ASSERT_EQ(before.estimationdata_size(), 1);
  after.mutable_estimationdata(0)->set_size(77);
  after.add_estimationdata()->set_id(5);
  Driver* driver = after.add_drivers();
  driver->set_id(9);
  driver->set_type(1);
  after.mutable_drivers(0)->set_type(77);
  std::string paths;
  for (const Difference& d : Diff(before, after)) {
    paths += (d.kind == Difference::Kind::kRemoved ? "- " : d.kind == Difference::Kind::kAdded ? "+ " : "~ ") +
             d.path + "\n";
  }
  EXPECT_EQ(paths,
            "- outputs[id=1 \"Solenoid_001\"]\n"
            "~ outputs[id=12 \"Valve_012\"].pin\n"
            "- maps[id=1 \"Torque_001\"]\n"
            "~ maps[id=3 \"ShiftDown_003\"].mapTunerId\n"
            "~ drivers[id=1].type\n"
            "+ drivers[id=9]\n"
            "~ estimationData[id=1].size\n"
            "+ estimationData[id=5]\n");
}

TEST(DiffEntriesTest, FramesAndHandlersOfABusAreMatchedByTheirIdentifiers) {
  ConfigData before;
  Canbus* bus = before.add_canbus();
  bus->set_canbusid(3);
  for (std::uint32_t id : {0x100u, 0x200u, 0x300u}) {
    CanbusInputFrameDescription* frame = bus->add_standardinputframes();
    frame->set_messageid(id);
    frame->set_inputcount(1);
  }
  for (int id : {7, 8}) {
    CanbusEntityHandler* handler = bus->add_entityhandler();
    handler->set_entityid(id);
    handler->set_type(2);
  }
  ConfigData after = before;
  Canbus* changed = after.mutable_canbus(0);
  changed->mutable_standardinputframes()->DeleteSubrange(0, 1);
  changed->mutable_standardinputframes(1)->set_inputcount(4);
  changed->mutable_entityhandler()->SwapElements(0, 1);
  changed->mutable_entityhandler(1)->set_type(5);
  EXPECT_EQ(Lines(before, after),
            "- canbus[canbusId=3].standardInputFrames[messageId=256]: { messageId: 256 inputCount: 1 }\n"
            "~ canbus[canbusId=3].standardInputFrames[messageId=768].inputCount: 1 -> 4\n"
            "~ canbus[canbusId=3].entityHandler[entityId=7].type: 2 -> 5\n"
            "~ canbus[canbusId=3].entityHandler reordered: 8 before 7\n");

  // The entries named: the bus, then the frame.
  const std::vector<Difference> differences = Diff(before, after);
  ASSERT_EQ(differences.size(), 4u);
  ASSERT_EQ(differences[1].entries.size(), 2u);
  EXPECT_EQ(differences[1].entries[0].list, "canbus");
  EXPECT_EQ(differences[1].entries[0].key, "canbusId");
  EXPECT_EQ(differences[1].entries[0].id, 3);
  EXPECT_FALSE(differences[1].entries[0].alias.has_value());
  EXPECT_EQ(differences[1].entries[1].list, "canbus[canbusId=3].standardInputFrames");
  EXPECT_EQ(differences[1].entries[1].key, "messageId");
  EXPECT_EQ(differences[1].entries[1].id, 0x300);
  // A reordering names the list's holder, then the entries moved.
  ASSERT_EQ(differences[3].entries.size(), 2u);
  EXPECT_EQ(differences[3].entries[0].id, 3);
  EXPECT_EQ(differences[3].entries[1].list, "canbus[canbusId=3].entityHandler");
  EXPECT_EQ(differences[3].entries[1].key, "entityId");
  EXPECT_EQ(differences[3].entries[1].id, 8);
  EXPECT_EQ(differences[3].old_value, "7, 8");
  EXPECT_EQ(differences[3].new_value, "8, 7");
}

TEST(DiffEntriesTest, FramesWithARepeatedIdentifierGoByPosition) {
  ConfigData before;
  Canbus* bus = before.add_canbus();
  bus->set_canbusid(1);
  bus->add_extendedoutputframes()->set_messageid(5);
  bus->add_extendedoutputframes()->set_messageid(5);
  ConfigData after = before;
  after.mutable_canbus(0)->mutable_extendedoutputframes(1)->set_period(10);
  EXPECT_EQ(Lines(before, after), "~ canbus[canbusId=1].extendedOutputFrames[1].period: 0 -> 10\n");
}

TEST(DiffEntriesTest, AnAliasIsQuotedAndEscapedInThePath) {
  ConfigData before = Inputs({4});
  before.mutable_inputs(0)->set_alias("Oil \"hot\"\n");
  ConfigData after = before;
  after.mutable_inputs(0)->set_pin(2);
  EXPECT_EQ(Lines(before, after), "~ inputs[id=4 \"Oil \\\"hot\\\"\\n\"].pin: 0 -> 2\n");
  // An empty alias is left out.
  before.mutable_inputs(0)->clear_alias();
  after.mutable_inputs(0)->clear_alias();
  EXPECT_EQ(Lines(before, after), "~ inputs[id=4].pin: 0 -> 2\n");
  const std::vector<Difference> differences = Diff(before, after);
  ASSERT_EQ(differences[0].entries.size(), 1u);
  EXPECT_EQ(differences[0].entries[0].alias, "");
}

TEST(DiffEntriesTest, AReorderingSaysWhichEntriesMovedWhere) {
  EXPECT_EQ(Moves({1, 2, 3, 4}, {2, 1, 3, 4}), "2 before 1");
  EXPECT_EQ(Moves({1, 2, 3, 4}, {4, 1, 2, 3}), "4 before 1");
  EXPECT_EQ(Moves({1, 2, 3, 4}, {2, 3, 4, 1}), "1 after 4");
  EXPECT_EQ(Moves({1, 2, 3, 4, 5}, {4, 5, 1, 2, 3}), "4, 5 before 1");
  EXPECT_EQ(Moves({1, 2, 3, 4}, {4, 2, 3, 1}), "4 before 2; 1 after 3");
  EXPECT_EQ(Moves({1, 2, 3, 4, 5, 6}, {1, 5, 2, 3, 6, 4}), "5 before 2; 6 before 4");
}

TEST(DiffEntriesTest, OnlyEntriesBothDocumentsHoldCountForTheOrder) {
  // 3 removed and 9 added: 1, 2, 4 stand in the same order in both.
  EXPECT_EQ(Lines(Inputs({1, 2, 3, 4}), Inputs({9, 1, 2, 4})),
            "- inputs[id=3 \"In3\"]: { id: 3 alias: \"In3\" }\n"
            "+ inputs[id=9 \"In9\"]: { id: 9 alias: \"In9\" }\n");
  const std::vector<Difference> differences = Diff(Inputs({1, 2, 3, 4}), Inputs({9, 2, 1, 4}));
  ASSERT_EQ(differences.size(), 3u);
  EXPECT_EQ(differences[2].old_value, "1, 2, 4");
  EXPECT_EQ(differences[2].new_value, "2, 1, 4");
  EXPECT_EQ(differences[2].moves, "2 before 1");
}

TEST(DiffEntriesTest, ALongReorderingIsToldInAShortLine) {
  // 30 entries reversed: one is kept, the other 29 stand before it.
  std::vector<int> ids;
  for (int i = 1; i <= 30; ++i) ids.push_back(i);
  const std::vector<int> reversed(ids.rbegin(), ids.rend());
  EXPECT_EQ(Moves(ids, reversed), "30, 29, 28, 27, 26, 25, 24, 23 and 21 more before 1");
  // Every other pair swapped: 15 stretches, four told.
  std::vector<int> swapped = ids;
  for (std::size_t i = 0; i + 1 < swapped.size(); i += 2) std::swap(swapped[i], swapped[i + 1]);
  EXPECT_EQ(Moves(ids, swapped), "2 before 1; 4 before 3; 6 before 5; 8 before 7; 11 more moved");
  const std::vector<Difference> differences = Diff(Inputs(ids), Inputs(swapped));
  ASSERT_EQ(differences.size(), 1u);
  EXPECT_EQ(differences[0].entries.size(), 15u) << "every entry moved is named, told or not";
}

TEST(DiffEntriesTest, DifferencesAsJsonGivesPathKindValuesAndEntries) {
  ConfigData before = Inputs({1, 2});
  ConfigData after = Inputs({2, 1, 3});
  after.mutable_inputs(0)->set_pin(5);
  ConfigData fewer = Inputs({1});
  EXPECT_EQ(DifferencesAsJson(Diff(before, after)), R"([
  {
    "path": "inputs[id=2 \"In2\"].pin",
    "kind": "modified",
    "old": "0",
    "new": "5",
    "entries": [
      {
        "list": "inputs",
        "key": "id",
        "id": 2,
        "alias": "In2"
      }
    ]
  },
  {
    "path": "inputs[id=3 \"In3\"]",
    "kind": "added",
    "old": null,
    "new": "{ id: 3 alias: \"In3\" }",
    "entries": [
      {
        "list": "inputs",
        "key": "id",
        "id": 3,
        "alias": "In3"
      }
    ]
  },
  {
    "path": "inputs",
    "kind": "reordered",
    "old": "1, 2",
    "new": "2, 1",
    "moves": "2 before 1",
    "entries": [
      {
        "list": "inputs",
        "key": "id",
        "id": 2,
        "alias": "In2"
      }
    ]
  }
]
)");
  // A removal has no new value; a list by position names no entry.
  ConfigData unkeyed;
  unkeyed.add_canbusrouter()->set_sourcecanbusid(1);
  ConfigData unkeyed_after = unkeyed;
  unkeyed_after.mutable_canbusrouter(0)->set_sourcecanbusid(2);
  EXPECT_EQ(DifferencesAsJson(Diff(before, fewer)), R"([
  {
    "path": "inputs[id=2 \"In2\"]",
    "kind": "removed",
    "old": "{ id: 2 alias: \"In2\" }",
    "new": null,
    "entries": [
      {
        "list": "inputs",
        "key": "id",
        "id": 2,
        "alias": "In2"
      }
    ]
  }
]
)");
  EXPECT_EQ(DifferencesAsJson(Diff(unkeyed, unkeyed_after)), R"([
  {
    "path": "canbusRouter[0].sourceCanbusId",
    "kind": "modified",
    "old": "1",
    "new": "2",
    "entries": []
  }
]
)");
  EXPECT_EQ(DifferencesAsJson({}), "[]\n");
}

TEST(DiffEntriesTest, AnAliasThatIsNotUtf8IsReplacedInJsonAndExactInThePath) {
  ConfigData before = Inputs({1});
  before.mutable_inputs(0)->set_alias(std::string("A\xC3(", 3));
  ConfigData after = before;
  after.mutable_inputs(0)->set_pin(1);
  const std::string json = DifferencesAsJson(Diff(before, after));
  EXPECT_NE(json.find(R"("path": "inputs[id=1 \"A\\303(\"].pin")"), std::string::npos) << json;
  EXPECT_NE(json.find("\"alias\": \"A\xEF\xBF\xBD(\""), std::string::npos) << json;
}

}  // namespace
}  // namespace gcuschema::document
