// Inspect lists the entries of each kind: a table in the text, arrays of
// objects in the JSON, which also holds everything the text shows.
#include <gcuschema/document/inspect.h>

#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/document/canonical.h>
#include <gcuschema/document/io.h>
#include <gcuschema/document/samples.h>

namespace gcuschema::document {
namespace {

using Json = nlohmann::ordered_json;

// Two inputs (one with settings that read, one of a code outside Input.Type),
// an output whose settings do not read, a map, a driver and a bus with a
// handler.
ConfigData Small() {
  ConfigData config;
  config.set_version(2);
  config.set_gcuno("GCU-1");
  Input* adc = config.add_inputs();
  adc->set_id(7);
  adc->set_pin(3);
  adc->set_alias("Oil temperature");
  AdcConfiguration range;
  range.set_range(AdcConfiguration::range12V);
  adc->set_config(range.SerializeAsString());
  Input* odd = config.add_inputs();
  odd->set_id(12);
  odd->set_type(16);
  odd->set_config(std::string("\x01\x02", 2));
  Output* output = config.add_outputs();
  output->set_id(1);
  output->set_type(Output::MapOutput);
  output->set_pin(2);
  output->set_alias("Line");
  output->set_config(std::string("\x0A\x05", 2));
  ::Map* map = config.add_maps();
  map->set_id(3);
  map->set_alias("Torque");
  map->set_type(Map::Interpolated3dMap);
  Map3D table;
  table.add_x(1);
  map->set_config(table.SerializeAsString());
  Driver* driver = config.add_drivers();
  driver->set_id(2);
  driver->set_type(5);
  driver->set_config(std::string("\x01\x02\x03", 3));
  Canbus* bus = config.add_canbus();
  bus->set_canbusid(1);
  bus->set_baudrate(500000);
  bus->set_entitiescount(1);
  CanbusEntityHandler* handler = bus->add_entityhandler();
  handler->set_entityid(4);
  handler->set_type(2);
  handler->set_config(std::string("\x08\x01", 2));
  return config;
}

TEST(InspectEntriesTest, TextListsTheEntriesOfEachKindInATable) {
  EXPECT_EQ(Inspect(Small()), R"(ConfigData: 114 bytes
  version: 2
  gcuNo: "GCU-1"
  deviceDescription: ""
  password: none
  inputs: 2, 37 bytes
    AdcInput (0)                    1  AdcConfiguration                  settings 2 bytes
    16 (not a Type value)           1  (opaque settings)                 settings 2 bytes
  outputs: 1, 18 bytes
    MapOutput (4)                   1  MapOutputConfigData               settings 2 bytes, 1 not readable as such
  maps: 1, 19 bytes
    Interpolated3dMap (1)           1  Map3D, paired by its type
  drivers: 1, 11 bytes
  canbus: 1, 20 bytes
    bus 1: 500000 bit/s; frames in 0 standard + 0 extended, out 0 standard + 0 extended; 1 handler
  canbusRouter: 0, 0 bytes
  canObjectCount: 0
  estimationData: 0, 0 bytes
  units: absent
  input entries:
    id  alias              pin  type                   settings           bytes  settings bytes
     7  "Oil temperature"    3  AdcInput (0)           AdcConfiguration      25               2
    12  ""                   0  16 (not a Type value)  (opaque settings)      8               2
  output entries:
    id  alias   pin  type           settings                           bytes  settings bytes
     1  "Line"    2  MapOutput (4)  MapOutputConfigData, not readable     16               2
  map entries:
    id  alias     type                   table                      bytes  table bytes
     3  "Torque"  Interpolated3dMap (1)  Map3D, paired by its type     17            3
  driver entries:
    id  type  settings           bytes  settings bytes
     2     5  (opaque settings)      9               3
  handler entries:
    bus  entityId  type  settings           bytes  settings bytes
      1         4     2  (opaque settings)      8               2
)");
}

TEST(InspectEntriesTest, JsonHoldsTheSummaryAndTheEntries) {
  EXPECT_EQ(InspectAsJson(Small()), R"({
  "record": "ConfigData",
  "bytes": 114,
  "version": 2,
  "gcuNo": "GCU-1",
  "deviceDescription": "",
  "password": {
    "set": false,
    "bytes": 0
  },
  "inputs": {
    "count": 2,
    "bytes": 37,
    "byType": [
      {
        "type": {
          "code": 0,
          "name": "AdcInput"
        },
        "count": 1,
        "settings": "AdcConfiguration",
        "settingsBytes": 2,
        "unreadable": 0
      },
      {
        "type": {
          "code": 16,
          "name": null
        },
        "count": 1,
        "settings": null,
        "settingsBytes": 2,
        "unreadable": 0
      }
    ],
    "linearizations": {
      "count": 0,
      "byType": []
    },
    "entries": [
      {
        "id": 7,
        "alias": "Oil temperature",
        "pin": 3,
        "type": {
          "code": 0,
          "name": "AdcInput"
        },
        "settings": {
          "record": "AdcConfiguration",
          "readable": true,
          "bytes": 2
        },
        "bytes": 25
      },
      {
        "id": 12,
        "alias": "",
        "pin": 0,
        "type": {
          "code": 16,
          "name": null
        },
        "settings": {
          "record": null,
          "readable": null,
          "bytes": 2
        },
        "bytes": 8
      }
    ]
  },
  "outputs": {
    "count": 1,
    "bytes": 18,
    "byType": [
      {
        "type": {
          "code": 4,
          "name": "MapOutput"
        },
        "count": 1,
        "settings": "MapOutputConfigData",
        "settingsBytes": 2,
        "unreadable": 1
      }
    ],
    "entries": [
      {
        "id": 1,
        "alias": "Line",
        "pin": 2,
        "type": {
          "code": 4,
          "name": "MapOutput"
        },
        "settings": {
          "record": "MapOutputConfigData",
          "readable": false,
          "bytes": 2
        },
        "bytes": 16
      }
    ]
  },
  "maps": {
    "count": 1,
    "bytes": 19,
    "byType": [
      {
        "type": {
          "code": 1,
          "name": "Interpolated3dMap"
        },
        "count": 1,
        "table": "Map3D, paired by its type"
      }
    ],
    "entries": [
      {
        "id": 3,
        "alias": "Torque",
        "type": {
          "code": 1,
          "name": "Interpolated3dMap"
        },
        "table": "Map3D, paired by its type",
        "bytes": 17,
        "tableBytes": 3
      }
    ]
  },
  "drivers": {
    "count": 1,
    "bytes": 11,
    "unreadable": 0,
    "entries": [
      {
        "id": 2,
        "type": {
          "code": 5,
          "name": null
        },
        "settings": {
          "record": null,
          "readable": null,
          "bytes": 3
        },
        "bytes": 9
      }
    ]
  },
  "canbus": {
    "count": 1,
    "bytes": 20,
    "buses": [
      {
        "canbusId": 1,
        "baudrate": 500000,
        "fdEnable": false,
        "fdBaudrate": 0,
        "enableTermination": false,
        "standardInputFrames": 0,
        "extendedInputFrames": 0,
        "standardOutputFrames": 0,
        "extendedOutputFrames": 0,
        "entityHandler": 1
      }
    ],
    "handlers": [
      {
        "canbusId": 1,
        "entityId": 4,
        "type": {
          "code": 2,
          "name": null
        },
        "settings": {
          "record": null,
          "readable": null,
          "bytes": 2
        },
        "bytes": 8
      }
    ]
  },
  "canbusRouter": {
    "count": 0,
    "bytes": 0,
    "routes": []
  },
  "canObjectCount": 0,
  "estimationData": {
    "count": 0,
    "bytes": 0,
    "estimators": []
  },
  "units": null
}
)");
}

TEST(InspectEntriesTest, ListsWithoutEntriesHaveNoTable) {
  ConfigData config;
  config.add_inputs()->set_id(1);
  const std::string text = Inspect(config);
  EXPECT_NE(text.find("  input entries:\n"), std::string::npos) << text;
  for (const char* title : {"output entries:", "map entries:", "driver entries:", "handler entries:"}) {
    EXPECT_EQ(text.find(title), std::string::npos) << title << "\n" << text;
  }
  // The JSON has the arrays, empty.
  const Json json = Json::parse(InspectAsJson(config));
  EXPECT_EQ(json["outputs"]["entries"], Json::array());
  EXPECT_EQ(json["canbus"]["handlers"], Json::array());
}

TEST(InspectEntriesTest, JsonGivesEveryBusRouterAndEstimatorWhereTheTextStopsAtEight) {
  ConfigData config;
  for (int i = 1; i <= 10; ++i) {
    config.add_canbus()->set_canbusid(i);
    CanbusRouter* router = config.add_canbusrouter();
    router->set_sourcecanbusid(i);
    router->set_destinationcanbusid(11 - i);
    config.add_estimationdata()->set_id(i);
  }
  const std::string text = Inspect(config);
  EXPECT_NE(text.find("    ... and 2 more\n"), std::string::npos) << text;
  const Json json = Json::parse(InspectAsJson(config));
  ASSERT_EQ(json["canbus"]["buses"].size(), 10u);
  EXPECT_EQ(json["canbus"]["buses"][9]["canbusId"], 10);
  ASSERT_EQ(json["canbusRouter"]["routes"].size(), 10u);
  EXPECT_EQ(json["canbusRouter"]["routes"][9], (Json{{"sourceCanbusId", 10}, {"destinationCanbusId", 1}}));
  ASSERT_EQ(json["estimationData"]["estimators"].size(), 10u);
  EXPECT_EQ(json["estimationData"]["estimators"][9]["id"], 10);
}

TEST(InspectEntriesTest, JsonOfADeviceImageHoldsItsConfigurationsSummary) {
  DeviceData device;
  SampleDeviceData(SampleOptions{6, 1}, &device);
  Json json = Json::parse(InspectAsJson(device));
  EXPECT_EQ(json["record"], "DeviceData");
  EXPECT_EQ(json["bytes"], device.ByteSizeLong());
  EXPECT_EQ(json["gcuSerialNo"], device.gcuserialno());
  EXPECT_EQ(json["blocks"]["config"], device.config().size());
  EXPECT_EQ(json["configReadable"], true);
  EXPECT_EQ(json["config"]["record"], "ConfigData");
  ASSERT_EQ(json["config"]["inputs"]["entries"].size(), 6u);
  EXPECT_EQ(json["config"]["inputs"]["entries"][1]["alias"], "Switch_002");

  device.set_config("\x1A\x09");
  json = Json::parse(InspectAsJson(device));
  EXPECT_EQ(json["configReadable"], false);
  EXPECT_FALSE(json.contains("config"));
}

TEST(InspectEntriesTest, JsonOfACalibrationGivesItsListsWithTheirCounts) {
  CalibrationData calibration;
  SampleCalibration(SampleOptions{40, 1}, &calibration);
  calibration.set_pwmcalibrationcount(99);
  const Json json = Json::parse(InspectAsJson(calibration));
  EXPECT_EQ(json["record"], "CalibrationData");
  EXPECT_EQ(json["serialNo"], calibration.serialno());
  EXPECT_EQ(json["lists"]["pwmCalibration"]["count"], calibration.pwmcalibration_size());
  EXPECT_EQ(json["lists"]["pwmCalibration"]["pwmCalibrationCount"], 99);
  EXPECT_TRUE(json["serviceSignals"].contains("assigned")) << json.dump();
}

TEST(InspectEntriesTest, JsonOfAnotherRecordHoldsItAsDecodeWritesIt) {
  Input input;
  input.set_id(12);
  input.set_alias("OilTemp");
  AdcConfiguration adc;
  adc.set_range(AdcConfiguration::range12V);
  input.set_config(adc.SerializeAsString());
  const Json json = Json::parse(InspectAsJson(input));
  EXPECT_EQ(json["record"], "Input");
  EXPECT_EQ(json["fields"], Json::parse(WriteString(input, Format::kJson)));
  EXPECT_EQ(json["fields"]["config"]["range"], "range12V");
  EXPECT_EQ(json["settings"], (Json{{"record", "AdcConfiguration"}, {"readable", true}, {"insideReadable", true}}));
}

TEST(InspectEntriesTest, JsonSaysWhereTheBytesReadAreNotTheRecordsOwn) {
  ConfigData config;
  // version 3 in a 4-byte varint: 5 bytes read, 2 written.
  const std::string bytes("\x08\x83\x80\x80\x00", 5);
  Read(bytes, &config, ReadOptions{Format::kBinary});
  InspectOptions options;
  options.encoded = bytes;
  const Json json = Json::parse(InspectAsJson(config, options));
  EXPECT_EQ(json["bytes"], 5);
  EXPECT_EQ(json["canonicalBytes"], 2);
  EXPECT_EQ(json["notCanonical"], Describe(*CompareEncoding(bytes, config)));
  EXPECT_FALSE(Json::parse(InspectAsJson(config)).contains("notCanonical"));
}

}  // namespace
}  // namespace gcuschema::document
