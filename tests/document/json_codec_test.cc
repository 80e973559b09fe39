#include <gcuschema/document/io.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <google/protobuf/stubs/strutil.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/AdcSwitchInput.pb.h>
#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/CurrentConfiguration.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/DigitalInputConfiguration.pb.h>
#include <gcuschema/DutyInConfiguration.pb.h>
#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/PhonicWheelConfiguration.pb.h>
#include <gcuschema/PwmConfiguration.pb.h>
#include <gcuschema/SplitterOutputConfig.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "support/fill.h"
#include "support/wire.h"

namespace gcuschema::document {
namespace {

using Json = nlohmann::ordered_json;
using test::Bytes;
using test::Encode;
using test::Hex;

std::string Base64(const std::string& bytes) {
  std::string out;
  google::protobuf::Base64Escape(bytes, &out);
  return out;
}

std::vector<std::string> Keys(const Json& object) {
  std::vector<std::string> keys;
  for (const auto& item : object.items()) keys.push_back(item.key());
  return keys;
}

// A configuration document with entries of several kinds and settings of
// several records, each encoded the way the records write them.
ConfigData HandMadeConfig() {
  ConfigData doc;
  doc.set_version(3);
  doc.set_gcuno("G1");

  AdcConfiguration adc;
  adc.set_range(AdcConfiguration::range12V);
  adc.set_inminvalue(-5);
  adc.set_outmaxvalue(1000);
  Input* in = doc.add_inputs();
  in->set_id(1);
  in->set_type(Input::AdcInput);
  in->set_alias("oil temp");
  in->set_config(Encode(adc));
  in->set_minvalue(-40.5f);

  DigitalInConfiguration digital;
  digital.set_invert(true);
  digital.set_mode(DigitalInConfiguration::Frequency);
  in = doc.add_inputs();
  in->set_id(2);
  in->set_type(Input::DigitalInput);
  in->set_config(Encode(digital));

  // An input with a linearization table.
  Map3D table;
  table.add_x(1);
  table.add_x(-1);
  table.add_values(300);
  in = doc.add_inputs();
  in->set_id(3);
  in->set_type(Input::AdcInput);
  in->set_config(Encode(adc));
  in->mutable_linearization()->set_type(Map::Interpolated3dMap);
  in->mutable_linearization()->set_config(Encode(table));

  // A type code the schema leaves open.
  AdcSwitchConfiguration adc_switch;
  adc_switch.set_range(AdcSwitchConfiguration::range12V);
  adc_switch.set_mode(AdcSwitchConfiguration::modeVoltage);
  adc_switch.set_pullup(4700);
  in = doc.add_inputs();
  in->set_id(4);
  in->set_type(Input::AnalogSwitchInput);
  in->set_config(Encode(adc_switch));

  PwmConfiguration pwm;
  pwm.set_frequency(200);
  pwm.set_mode(PwmConfiguration::modeCurrent);
  Output* out = doc.add_outputs();
  out->set_id(10);
  out->set_type(Output::PwmOutput);
  out->set_config(Encode(pwm));

  SplitterOutputConfigData splitter;  // the proto2 record
  splitter.add_outputids(10);
  splitter.add_outputids(11);
  out = doc.add_outputs();
  out->set_id(11);
  out->set_type(Output::SplitterOutput);
  out->set_config(Encode(splitter));

  Map* map = doc.add_maps();
  map->set_id(20);
  map->set_type(Map::NearestNeighbour3dMap);
  map->set_config(Encode(table));

  doc.add_canbusrouter()->set_destinationcanbusid(1);
  doc.set_canobjectcount(2);
  doc.mutable_units()->set_pressureunit(Units::Bar);
  return doc;
}

PairingCatalogue Standard() { return PairingCatalogue::Standard(); }

PairingCatalogue PairingWithMaps() {
  PairingCatalogue pairing = PairingCatalogue::Standard();
  pairing.SetMapTable(FindRecord("Map3D"));
  return pairing;
}

WriteOptions Expanded(bool expand = true, const PairingCatalogue& pairing = Standard()) {
  WriteOptions options;
  options.pairing = pairing;
  options.expand = expand;
  return options;
}

ReadOptions AsJson(const PairingCatalogue& pairing = Standard()) { return ReadOptions{Format::kJson, pairing}; }

// The JSON written with `pairing`, as a tree with its members in order.
Json Tree(const PairingCatalogue& pairing, const google::protobuf::Message& record, bool expand = true) {
  return Json::parse(WriteString(record, Format::kJson, Expanded(expand, pairing)));
}

// Written as JSON, then read into a fresh record of the same type: the bytes.
std::string RoundTrip(const PairingCatalogue& pairing, const google::protobuf::Message& record, bool expand) {
  std::unique_ptr<google::protobuf::Message> back(record.New());
  Read(WriteString(record, Format::kJson, Expanded(expand, pairing)), back.get(), AsJson(pairing));
  return Encode(*back);
}

// The same on one line, read back.
std::string RoundTripCompact(const PairingCatalogue& pairing, const google::protobuf::Message& record, bool expand) {
  WriteOptions options = Expanded(expand, pairing);
  options.indent = 0;
  std::unique_ptr<google::protobuf::Message> back(record.New());
  Read(WriteString(record, Format::kJson, options), back.get(), AsJson(pairing));
  return Encode(*back);
}

// Sets every field of `record` to a value other than its default: lists get
// two elements, sub-records are filled in turn (down to `depth`).
void FillEveryField(google::protobuf::Message* record, int depth = 3) {
  using google::protobuf::FieldDescriptor;
  const google::protobuf::Descriptor* type = record->GetDescriptor();
  const google::protobuf::Reflection* reflection = record->GetReflection();
  for (int i = 0; i < type->field_count(); ++i) {
    const FieldDescriptor* field = type->field(i);
    const int count = field->is_repeated() ? 2 : 1;
    for (int n = 0; n < count; ++n) {
      const bool add = field->is_repeated();
      switch (field->cpp_type()) {
        case FieldDescriptor::CPPTYPE_INT32:
          add ? reflection->AddInt32(record, field, -7 - n) : reflection->SetInt32(record, field, -7);
          break;
        case FieldDescriptor::CPPTYPE_INT64:
          add ? reflection->AddInt64(record, field, -(1LL << 40)) : reflection->SetInt64(record, field, -(1LL << 40));
          break;
        case FieldDescriptor::CPPTYPE_UINT32:
          add ? reflection->AddUInt32(record, field, 4000000000u + n) : reflection->SetUInt32(record, field, 4000000000u);
          break;
        case FieldDescriptor::CPPTYPE_UINT64:
          add ? reflection->AddUInt64(record, field, 1ULL << 60) : reflection->SetUInt64(record, field, 1ULL << 60);
          break;
        case FieldDescriptor::CPPTYPE_FLOAT:
          add ? reflection->AddFloat(record, field, 0.1f + n) : reflection->SetFloat(record, field, -3.4e38f);
          break;
        case FieldDescriptor::CPPTYPE_DOUBLE:
          add ? reflection->AddDouble(record, field, 1.0 / 3 + n) : reflection->SetDouble(record, field, 5e-324);
          break;
        case FieldDescriptor::CPPTYPE_BOOL:
          add ? reflection->AddBool(record, field, true) : reflection->SetBool(record, field, true);
          break;
        case FieldDescriptor::CPPTYPE_ENUM: {
          const int last = field->enum_type()->value(field->enum_type()->value_count() - 1)->number();
          // A number the enumeration does not name travels too (as a number).
          const int value = n == 0 ? last : 1000;
          add ? reflection->AddEnumValue(record, field, value) : reflection->SetEnumValue(record, field, value);
          break;
        }
        case FieldDescriptor::CPPTYPE_STRING: {
          const std::string value = field->type() == FieldDescriptor::TYPE_BYTES ? std::string("\x00\xFF\x7F", 3)
                                                                                : std::string("caf\xC3\xA9 \"q\"\n");
          add ? reflection->AddString(record, field, value) : reflection->SetString(record, field, value);
          break;
        }
        case FieldDescriptor::CPPTYPE_MESSAGE:
          if (depth > 0) {
            FillEveryField(add ? reflection->AddMessage(record, field) : reflection->MutableMessage(record, field),
                           depth - 1);
          }
          break;
      }
    }
  }
}

TEST(JsonCodecTest, EveryRecordWithEveryFieldSetRoundTrips) {
  const std::vector<const google::protobuf::Descriptor*> records = test::EveryRecord();
  ASSERT_GT(records.size(), 35u);
  const PairingCatalogue pairing = PairingWithMaps();
  for (const google::protobuf::Descriptor* type : records) {
    std::unique_ptr<google::protobuf::Message> record = NewRecord(type);
    FillEveryField(record.get());
    const std::string bytes = Encode(*record);
    ASSERT_EQ(bytes.empty(), type->field_count() == 0) << type->full_name();
    EXPECT_EQ(Hex(RoundTrip(pairing, *record, true)), Hex(bytes)) << type->full_name();
    EXPECT_EQ(Hex(RoundTripCompact(pairing, *record, false)), Hex(bytes)) << type->full_name();
    // Fields in declaration order.
    const Json j = Tree(pairing, *record);
    int last = -1;
    for (const auto& item : j.items()) {
      const google::protobuf::FieldDescriptor* field = nullptr;
      for (int i = 0; i < type->field_count(); ++i) {
        if (type->field(i)->json_name() == item.key()) field = type->field(i);
      }
      ASSERT_NE(field, nullptr) << type->full_name() << " " << item.key();
      EXPECT_GT(field->index(), last) << type->full_name() << " " << item.key();
      last = field->index();
    }
  }
}

TEST(JsonCodecTest, EveryPairedSettingsRecordIsExpandedAndRoundTrips) {
  const PairingCatalogue pairing = PairingWithMaps();
  int checked = 0;
  for (const auto& [key, settings] : pairing.entries()) {
    std::unique_ptr<google::protobuf::Message> record = NewRecord(settings);
    FillEveryField(record.get());
    ConfigData doc;
    std::string list;
    switch (key.first) {
      case EntryKind::kInput:
        doc.add_inputs()->set_type(key.second);
        doc.mutable_inputs(0)->set_config(Encode(*record));
        list = "inputs";
        break;
      case EntryKind::kOutput:
        doc.add_outputs()->set_type(key.second);
        doc.mutable_outputs(0)->set_config(Encode(*record));
        list = "outputs";
        break;
      case EntryKind::kMap:
        doc.add_maps()->set_type(static_cast<Map_MapType>(key.second));
        doc.mutable_maps(0)->set_config(Encode(*record));
        list = "maps";
        break;
      default:
        continue;
    }
    const Json j = Tree(pairing, doc);
    const Json& config = j[list][0]["config"];
    ASSERT_TRUE(config.is_object()) << settings->full_name() << ": " << config.dump();
    EXPECT_EQ(config["@type"], settings->full_name());
    EXPECT_EQ(Hex(RoundTrip(pairing, doc, true)), Hex(Encode(doc))) << settings->full_name();
    ++checked;
  }
  EXPECT_EQ(checked, 26 + Map_MapType_descriptor()->value_count());
}

TEST(JsonCodecTest, ExpandsPairedSettingsAsTheirRecords) {
  const ConfigData doc = HandMadeConfig();
  const Json j = Tree(PairingWithMaps(), doc);

  const Json& adc = j["inputs"][0]["config"];
  ASSERT_TRUE(adc.is_object()) << adc.dump();
  EXPECT_EQ(Keys(adc).front(), "@type");
  EXPECT_EQ(adc["@type"], "AdcConfiguration");
  EXPECT_EQ(adc["range"], "range12V");
  EXPECT_EQ(adc["inMinValue"], -5);
  EXPECT_EQ(adc["outMaxValue"], 1000);
  EXPECT_EQ(adc.size(), 4u);

  const Json& digital = j["inputs"][1]["config"];
  EXPECT_EQ(digital["@type"], "DigitalInConfiguration");
  EXPECT_EQ(digital["invert"], true);
  EXPECT_EQ(digital["mode"], "Frequency");

  const Json& linearization = j["inputs"][2]["linearization"];
  EXPECT_EQ(linearization["type"], "Interpolated3dMap");
  EXPECT_EQ(linearization["config"]["@type"], "Map3D");
  EXPECT_EQ(linearization["config"]["x"], Json({1, -1}));
  EXPECT_EQ(linearization["config"]["values"], Json({300}));

  EXPECT_EQ(j["outputs"][0]["config"]["@type"], "PwmConfiguration");
  EXPECT_EQ(j["outputs"][0]["config"]["frequency"], 200);
  EXPECT_EQ(j["outputs"][0]["config"]["mode"], "modeCurrent");
  EXPECT_EQ(j["outputs"][1]["config"]["@type"], "SplitterOutputConfigData");
  EXPECT_EQ(j["outputs"][1]["config"]["outputIds"], Json({10, 11}));

  EXPECT_EQ(j["maps"][0]["config"]["@type"], "Map3D");
  EXPECT_EQ(j["units"]["pressureUnit"], "Bar");
  EXPECT_EQ(j["inputs"][0]["alias"], "oil temp");
  EXPECT_EQ(j["inputs"][0]["minValue"], -40.5);
}

TEST(JsonCodecTest, OpenTypeCodesStayBase64UntilPaired) {
  const ConfigData doc = HandMadeConfig();
  PairingCatalogue pairing = Standard();
  const Json plain = Tree(pairing, doc);
  EXPECT_EQ(plain["inputs"][3]["config"], Base64(doc.inputs(3).config()));
  // A map's type names its table; with the map codes left open, maps and
  // linearizations are bytes too.
  EXPECT_EQ(plain["maps"][0]["config"]["@type"], "Map3D");
  EXPECT_EQ(plain["inputs"][2]["linearization"]["config"]["@type"], "Map3D");
  pairing.SetMapTable(nullptr);
  const Json open = Tree(pairing, doc);
  EXPECT_EQ(open["maps"][0]["config"], Base64(doc.maps(0).config()));
  EXPECT_EQ(open["inputs"][2]["linearization"]["config"], Base64(doc.inputs(2).linearization().config()));

  pairing.Apply("input:AnalogSwitchInput=AdcSwitchConfiguration");
  const Json paired = Tree(pairing, doc);
  const Json& adc_switch = paired["inputs"][3]["config"];
  // Declaration order (mode is declared second, numbered 9), "@type" first.
  EXPECT_EQ(Keys(adc_switch), (std::vector<std::string>{"@type", "range", "mode", "pullup"}));
  EXPECT_EQ(adc_switch["mode"], "modeVoltage");
}

TEST(JsonCodecTest, EmptyConfigOfAPairedTypeIsShownAsAnEmptyRecord) {
  ConfigData doc;
  doc.add_inputs()->set_type(Input::SystemInput);   // paired; its record has no fields
  doc.add_inputs()->set_type(Input::FrequencyInput);  // open
  const Json j = Tree(Standard(), doc);
  EXPECT_EQ(j["inputs"][0]["config"], Json({{"@type", "SystemInputConfigurationData"}}));
  EXPECT_EQ(Keys(j["inputs"][0]), (std::vector<std::string>{"type", "config"}));
  EXPECT_FALSE(j["inputs"][1].contains("config"));
  EXPECT_FALSE(Tree(Standard(), doc, false)["inputs"][0].contains("config"));
  EXPECT_EQ(Hex(RoundTrip(Standard(), doc, true)), Hex(Encode(doc)));
}

TEST(JsonCodecTest, FieldsComeInDeclarationOrder) {
  const Json j = Tree(Standard(), HandMadeConfig(), false);
  // canbusRouter is declared before canObjectCount although numbered 13.
  EXPECT_EQ(Keys(j), (std::vector<std::string>{"version", "inputs", "outputs", "maps", "canbusRouter",
                                               "canObjectCount", "units", "gcuNo"}));
}

TEST(JsonCodecTest, WithoutExpansionEveryConfigIsBase64) {
  const ConfigData doc = HandMadeConfig();
  const Json j = Tree(PairingWithMaps(), doc, false);
  for (int i = 0; i < doc.inputs_size(); ++i) {
    EXPECT_EQ(j["inputs"][i]["config"], Base64(doc.inputs(i).config())) << i;
  }
  EXPECT_EQ(j["outputs"][1]["config"], Base64(doc.outputs(1).config()));
}

TEST(JsonCodecTest, ConfigDocumentRoundTripsByteForByte) {
  const ConfigData doc = HandMadeConfig();
  const std::string bytes = Encode(doc);
  PairingCatalogue pairing = PairingWithMaps();
  pairing.Apply("input:5=AdcSwitchConfiguration");
  EXPECT_EQ(Hex(RoundTrip(pairing, doc, true)), Hex(bytes));
  EXPECT_EQ(Hex(RoundTrip(pairing, doc, false)), Hex(bytes));
  EXPECT_EQ(Hex(RoundTripCompact(pairing, doc, true)), Hex(bytes));
  EXPECT_EQ(Hex(RoundTripCompact(Standard(), doc, true)), Hex(bytes));
}

TEST(JsonCodecTest, DeviceDataShowsItsConfigurationAsAConfigData) {
  DeviceData image;
  image.set_version(1);
  image.set_gcuserialno("G7");
  image.set_config(Encode(HandMadeConfig()));
  image.set_dynamicadaptation(Bytes({0x00, 0xFF, 0x10}));
  image.set_staticadaptation(Bytes({0x00}));

  const PairingCatalogue pairing = PairingWithMaps();
  const Json j = Tree(pairing, image);
  const Json& config = j["config"];
  ASSERT_TRUE(config.is_object()) << config.dump();
  EXPECT_EQ(config["@type"], "ConfigData");
  EXPECT_EQ(config["gcuNo"], "G1");
  EXPECT_EQ(config["inputs"][0]["config"]["@type"], "AdcConfiguration");
  EXPECT_EQ(j["dynamicAdaptation"], Base64(image.dynamicadaptation()));

  const std::string bytes = Encode(image);
  EXPECT_EQ(Hex(RoundTrip(pairing, image, true)), Hex(bytes));
  EXPECT_EQ(Hex(RoundTrip(pairing, image, false)), Hex(bytes));
  EXPECT_EQ(Hex(RoundTripCompact(pairing, image, true)), Hex(bytes));
}

TEST(JsonCodecTest, DeviceDataWithUnreadableConfigurationKeepsItsBytes) {
  DeviceData image;
  image.set_config(Bytes({0x0A, 0x00, 0xFF}));
  const Json j = Tree(Standard(), image);
  EXPECT_EQ(j["config"], Base64(image.config()));
  EXPECT_EQ(Hex(RoundTrip(Standard(), image, true)), Hex(Encode(image)));
}

TEST(JsonCodecTest, CalibrationRoundTrips) {
  CalibrationData calibration;
  calibration.set_adccalibrationcount(1);
  CalibrationData_AdcCalibrationData* adc = calibration.add_adccalibration();
  adc->set_logicalid(3);
  adc->set_level12v(4000);
  calibration.add_freqinputscalibration()->add_pullups()->set_value(7);
  calibration.set_batteryvoltageadcchannel(-1);
  const Json j = Tree(Standard(), calibration);
  EXPECT_EQ(j["adcCalibration"][0]["level12v"], 4000);
  EXPECT_EQ(j["batteryVoltageAdcChannel"], -1);
  EXPECT_EQ(Hex(RoundTrip(Standard(), calibration, true)), Hex(Encode(calibration)));

  CalibrationTemplateData limits;
  limits.add_adccalibration()->set_levelmin12v(100);
  limits.mutable_adccalibration(0)->set_logicalid(3);
  EXPECT_EQ(Hex(RoundTrip(Standard(), limits, true)), Hex(Encode(limits)));
}

TEST(JsonCodecTest, TemplateLimitsReadAsCalibrationTravelAsUnknown) {
  CalibrationTemplateData limits;
  limits.add_adccalibration()->set_levelmin12v(100);
  limits.mutable_adccalibration(0)->set_logicalid(3);
  const std::string bytes = Encode(limits);
  CalibrationData calibration;
  ASSERT_TRUE(calibration.ParseFromString(bytes));

  const Json j = Tree(Standard(), calibration);
  const Json& element = j["adcCalibration"][0];
  EXPECT_EQ(element["logicalId"], 3);
  // levelMin12v is field 103, varint: tag B8 06.
  EXPECT_EQ(element["@unknown"], Base64(Bytes({0xB8, 0x06, 0x64})));
  EXPECT_EQ(Keys(element).back(), "@unknown");
  EXPECT_EQ(Hex(RoundTrip(Standard(), calibration, true)), Hex(bytes));
}

TEST(JsonCodecTest, UnknownFieldsTravelAtTopLevelAndInsideExpandedSettings) {
  // 08 02: range; 90 03 01: field 50 = 1, unknown to AdcConfiguration but
  // written after the known fields, so re-encoding gives the same bytes.
  const std::string settings = Bytes({0x08, 0x02, 0x90, 0x03, 0x01});
  // Top level: field 99 varint (tag 98 06) after the known fields.
  const std::string document = Bytes({0x08, 0x03, 0x1A, 0x07, 0x32, 0x05, 0x08, 0x02, 0x90, 0x03,
                                      0x01, 0x98, 0x06, 0x2A});
  ConfigData doc;
  ASSERT_TRUE(doc.ParseFromString(document));
  ASSERT_EQ(doc.inputs(0).config(), settings);

  const Json j = Tree(Standard(), doc);
  EXPECT_EQ(j["@unknown"], Base64(Bytes({0x98, 0x06, 0x2A})));
  EXPECT_EQ(j["inputs"][0]["config"]["@type"], "AdcConfiguration");
  EXPECT_EQ(j["inputs"][0]["config"]["@unknown"], Base64(Bytes({0x90, 0x03, 0x01})));

  ConfigData back;
  Read(j.dump(), &back, AsJson());
  EXPECT_EQ(Hex(Encode(back)), Hex(document));
  EXPECT_EQ(Hex(RoundTripCompact(Standard(), doc, true)), Hex(document));

  // Plain JSON has no place for them: left out, unless asked for.
  const std::string plain = WriteString(doc, Format::kJson, Expanded(false));
  EXPECT_EQ(plain.find("@unknown"), std::string::npos) << plain;
  WriteOptions with_unknown = Expanded(false);
  with_unknown.unknown_fields = true;
  ConfigData again;
  Read(WriteString(doc, Format::kJson, with_unknown), &again, AsJson());
  EXPECT_EQ(Hex(Encode(again)), Hex(document));
}

// A document holding `settings` as the config of one entry.
ConfigData WithInputConfig(int type, const std::string& settings) {
  ConfigData doc;
  Input* in = doc.add_inputs();
  in->set_type(type);
  in->set_config(settings);
  return doc;
}

ConfigData WithOutputConfig(int type, const std::string& settings) {
  ConfigData doc;
  Output* out = doc.add_outputs();
  out->set_type(type);
  out->set_config(settings);
  return doc;
}

void ExpectKeptAsBytes(const ConfigData& doc, const char* list) {
  const Json j = Tree(Standard(), doc);
  const std::string& settings =
      std::string(list) == "inputs" ? doc.inputs(0).config() : doc.outputs(0).config();
  EXPECT_EQ(j[list][0]["config"], Base64(settings)) << Hex(settings);
  EXPECT_EQ(Hex(RoundTrip(Standard(), doc, true)), Hex(Encode(doc)));
}

TEST(JsonCodecTest, NonCanonicalSettingsStayBase64) {
  // enablePullups unpacked (two 10 tags): re-encoding would pack them.
  ExpectKeptAsBytes(WithInputConfig(Input::DutyInput, Bytes({0x10, 0x01, 0x10, 0x02})), "inputs");
  // An unknown field before a known one: re-encoding moves it last.
  ExpectKeptAsBytes(WithInputConfig(Input::AdcInput, Bytes({0x90, 0x03, 0x01, 0x08, 0x02})), "inputs");
  // A trailing duplicate of range: re-encoding keeps only the last.
  ExpectKeptAsBytes(WithInputConfig(Input::AdcInput, Bytes({0x08, 0x01, 0x08, 0x02})), "inputs");
  // lambda (field 9, double) = -0.0 on the wire: the record does not write it.
  ExpectKeptAsBytes(WithOutputConfig(Output::CurrentOutput,
                                     Bytes({0x49, 0, 0, 0, 0, 0, 0, 0, 0x80})),
                    "outputs");
  // Not a record at all: a length running past the end.
  ExpectKeptAsBytes(WithInputConfig(Input::AdcInput, Bytes({0x0A, 0x05, 0x01})), "inputs");
}

TEST(JsonCodecTest, NanWithSignOrPayloadTravelsAsEncodedBytes) {
  // CurrentConfiguration.lambda (field 9, double) = 0x7FF8000000000001.
  CurrentConfiguration current;
  const std::uint64_t bits = 0x7FF8000000000001ULL;
  double nan;
  std::memcpy(&nan, &bits, sizeof nan);
  current.set_lambda(nan);
  ConfigData doc = WithOutputConfig(Output::CurrentOutput, Encode(current));
  // Input.minValue (field 8, float) = -NaN, and a list of doubles holding
  // one: the whole list goes, packed (Estimations.thetaValues, field 3).
  doc.add_inputs()->set_minvalue(-std::numeric_limits<float>::quiet_NaN());
  doc.mutable_inputs(0)->set_maxvalue(2);
  doc.add_estimationdata()->add_thetavalues(1);
  doc.mutable_estimationdata(0)->add_thetavalues(nan);

  const Json j = Tree(Standard(), doc);
  const Json& config = j["outputs"][0]["config"];
  EXPECT_EQ(config["@type"], "CurrentConfiguration");
  EXPECT_FALSE(config.contains("lambda"));
  EXPECT_EQ(config["@unknown"], Base64(Bytes({0x49, 0x01, 0, 0, 0, 0, 0, 0xF8, 0x7F})));
  EXPECT_FALSE(j["inputs"][0].contains("minValue"));
  EXPECT_EQ(j["inputs"][0]["maxValue"], 2);
  EXPECT_EQ(j["inputs"][0]["@unknown"], Base64(Bytes({0x45, 0x00, 0x00, 0xC0, 0xFF})));
  EXPECT_EQ(j["estimationData"][0]["@unknown"],
            Base64(Bytes({0x1A, 0x10, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 0x01, 0, 0, 0, 0, 0, 0xF8, 0x7F})));
  EXPECT_EQ(Hex(RoundTrip(Standard(), doc, true)), Hex(Encode(doc)));

  // The plain NaN is spelled "NaN".
  current.set_lambda(std::numeric_limits<double>::quiet_NaN());
  const ConfigData plain = WithOutputConfig(Output::CurrentOutput, Encode(current));
  const Json p = Tree(Standard(), plain);
  EXPECT_EQ(p["outputs"][0]["config"]["lambda"], "NaN");
  EXPECT_EQ(Hex(RoundTrip(Standard(), plain, true)), Hex(Encode(plain)));
}

TEST(JsonCodecTest, NegativeZeroInListsKeepsItsSign) {
  PhonicWheelConfiguration wheel;
  wheel.add_referencebpvoltage(-0.0f);
  wheel.add_referencebpvoltage(1.5f);
  ConfigData doc = WithInputConfig(Input::PhonicWheelInput, Encode(wheel));
  Estimations* estimation = doc.add_estimationdata();
  estimation->add_thetavalues(-0.0);
  estimation->add_thetavalues(2.0);

  const Json j = Tree(Standard(), doc);
  EXPECT_EQ(j["inputs"][0]["config"]["@type"], "PhonicWheelConfiguration");
  EXPECT_EQ(Hex(RoundTrip(Standard(), doc, true)), Hex(Encode(doc)));
  EXPECT_EQ(Hex(RoundTripCompact(Standard(), doc, true)), Hex(Encode(doc)));
}

TEST(JsonCodecTest, CollapsesHandWrittenSettings) {
  ConfigData doc;
  Read(R"({
    "inputs": [{"id": 7, "type": "0", "config": {"@type": "AdcConfiguration", "range": "rangeRaw",
                                                  "saturation": true}}],
    "outputs": [{"type": 5, "config": {"@type": "SplitterOutputConfigData", "outputIds": [1, 2]}}]
  })", &doc, AsJson());
  ASSERT_EQ(doc.inputs_size(), 1);
  AdcConfiguration adc;
  ASSERT_TRUE(adc.ParseFromString(doc.inputs(0).config()));
  EXPECT_EQ(adc.range(), AdcConfiguration::rangeRaw);
  EXPECT_TRUE(adc.saturation());
  SplitterOutputConfigData splitter;
  ASSERT_TRUE(splitter.ParseFromString(doc.outputs(0).config()));
  EXPECT_EQ(splitter.outputids_size(), 2);
}

TEST(JsonCodecTest, ReadReplacesWhatTheRecordHeld) {
  ConfigData doc;
  doc.add_inputs()->set_id(1);
  doc.set_password("old");
  Read(R"({"inputs": [{"id": 2, "@unknown": "mAYq"}], "gcuNo": "X"})", &doc, AsJson());
  ASSERT_EQ(doc.inputs_size(), 1);
  EXPECT_EQ(doc.inputs(0).id(), 2u);
  EXPECT_EQ(Hex(Encode(doc.inputs(0))), Hex(Bytes({0x08, 0x02, 0x98, 0x06, 0x2A})));
  EXPECT_EQ(doc.gcuno(), "X");
  EXPECT_EQ(doc.password(), "");
}

Error ReadJsonError(const std::string& text, google::protobuf::Message* record) {
  try {
    Read(text, record, AsJson());
  } catch (const Error& e) {
    return e;
  }
  ADD_FAILURE() << "no error for " << text;
  return Error("", "");
}

TEST(JsonCodecTest, UnknownTypeIsAnErrorWithItsPath) {
  ConfigData doc;
  const Error e = ReadJsonError(
      R"({"inputs": [{}, {"config": {"@type": "NoSuchSettings", "range": 1}}]})", &doc);
  EXPECT_EQ(e.where(), "line 1, column 38 (inputs[1].config.@type)");
  EXPECT_NE(e.message().find("NoSuchSettings"), std::string::npos) << e.what();
  EXPECT_EQ(e.remedy().kind, Remedy::Kind::kListRecords) << e.what();
}

TEST(JsonCodecTest, ErrorsInsideSettingsNameTheFieldPath) {
  ConfigData doc;
  Error e = ReadJsonError(
      R"({"inputs": [{"config": {"@type": "AdcConfiguration", "range": "range99V"}}]})", &doc);
  EXPECT_EQ(e.where(), "line 1, column 63 (inputs[0].config.range)");
  EXPECT_NE(e.message().find("range99V"), std::string::npos) << e.what();

  e = ReadJsonError(R"({"inputs": [{}, {"type": "abc"}]})", &doc);
  EXPECT_EQ(e.where(), "line 1, column 26 (inputs[1].type)");
  EXPECT_NE(e.message().find("\"abc\" is not a number or a value of Input.Type"), std::string::npos) << e.what();

  e = ReadJsonError(R"({"inputs": [{"bogus": 1}]})", &doc);
  EXPECT_EQ(e.where(), "line 1, column 14 (inputs[0].bogus)");
  EXPECT_NE(e.message().find("\"bogus\" is not a field of Input"), std::string::npos) << e.what();

  e = ReadJsonError(R"({"maps": [{"config": {"x": [1]}}]})", &doc);
  EXPECT_EQ(e.where(), "line 1, column 31 (maps[0].config)");
  EXPECT_NE(e.message().find("@type"), std::string::npos) << e.what();

  e = ReadJsonError(R"({"inputs": [{"@unknown": "***"}]})", &doc);
  EXPECT_EQ(e.where(), "line 1, column 26 (inputs[0].@unknown)");
  EXPECT_NE(e.message().find("base64"), std::string::npos) << e.what();

  e = ReadJsonError(R"({"@type": "DeviceData"})", &doc);
  EXPECT_EQ(e.where(), "line 1, column 11 (@type)");
  EXPECT_NE(e.message().find("ConfigData"), std::string::npos) << e.what();

  e = ReadJsonError(R"([1, 2])", &doc);
  EXPECT_NE(e.message().find("expected a JSON object"), std::string::npos) << e.what();
}

TEST(JsonCodecTest, DeeplyNestedJsonIsRefusedAtItsFirstMisplacedLevel) {
  // A list where an input belongs is refused at once: nothing of the rest
  // is read or held.
  const int levels = 200000;
  const std::string text = "{\"inputs\": " + std::string(levels, '[') + std::string(levels, ']') + "}";
  ConfigData doc;
  Error e = ReadJsonError(text, &doc);
  EXPECT_EQ(e.where(), "line 1, column 13 (inputs[0])");
  EXPECT_NE(e.message().find("expected an object, found a list"), std::string::npos) << e.what();

  // Skipped members nest no deeper than records do either.
  ReadOptions lenient = AsJson();
  lenient.ignore_unknown_fields = true;
  try {
    Read("{\"bogus\": " + std::string(levels, '[') + std::string(levels, ']') + "}", &doc, lenient);
    ADD_FAILURE() << "deep nesting accepted";
  } catch (const Error& error) {
    EXPECT_NE(std::string(error.what()).find("nests deeper than 200 levels"), std::string::npos) << error.what();
  }
}

TEST(JsonCodecTest, MalformedJsonGivesLineAndColumn) {
  ConfigData doc;
  Error e = ReadJsonError("{\n  \"version\": 1,\n  \"gcuNo\": tru\n}", &doc);
  EXPECT_EQ(e.where(), "line 3, column 15");
  EXPECT_NE(e.message().find("fix the JSON"), std::string::npos) << e.what();

  e = ReadJsonError("{\"version\": 1", &doc);
  EXPECT_EQ(e.where(), "line 1, column 14");

  e = ReadJsonError("{\"gcuNo\": \"\xC3\x28\"}", &doc);
  EXPECT_EQ(e.where().rfind("line 1, column ", 0), 0u) << e.what();
}

// Large lists are written by several threads, chunk by chunk; the error a
// caller sees is still the first in the document, and nothing after it is
// written.
TEST(JsonCodecTest, TextThatIsNotUtf8IsRefusedAtTheFirstSuchEntryOnAnyNumberOfThreads) {
  ConfigData config;
  for (int i = 0; i < 6000; ++i) {
    Input* input = config.add_inputs();
    input->set_id(static_cast<std::uint32_t>(i));
    input->set_alias("in" + std::to_string(i));
  }
  config.mutable_inputs(2500)->set_alias(std::string("\xC3\x28", 2));
  config.mutable_inputs(5000)->set_alias(std::string("\xFF", 1));
  for (int threads : {1, 2, 3}) {
    WriteOptions options;
    options.threads = threads;
    std::string written;
    try {
      Write(config, Format::kJson, [&written](std::string_view text) { written.append(text); }, options);
      ADD_FAILURE() << "no error on " << threads << " threads";
    } catch (const Error& e) {
      EXPECT_EQ(e.where(), "inputs[2500].alias") << threads;
      EXPECT_NE(e.message().find("not UTF-8"), std::string::npos) << e.what();
    }
    EXPECT_EQ(written.find("\"in2501\""), std::string::npos) << threads;
  }
}

}  // namespace
}  // namespace gcuschema::document
