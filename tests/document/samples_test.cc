#include <gcuschema/document/samples.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <google/protobuf/descriptor.pb.h>
#include <gtest/gtest.h>

#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/document/lint.h>
#include <gcuschema/document/pairing.h>
#include <gcuschema/document/records.h>

#include "support/fill.h"
#include "support/wire.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;

ConfigData Config(int inputs, std::uint64_t seed = 1) {
  ConfigData config;
  SampleConfig(SampleOptions{inputs, seed}, &config);
  return config;
}

// The standard pairing with maps (and linearizations) read as Map3D, which
// is what the samples store in them.
PairingCatalogue WithTables() {
  PairingCatalogue pairing = PairingCatalogue::Standard();
  pairing.SetMapTable(Map3D::descriptor());
  return pairing;
}

std::string Describe(const std::vector<Finding>& findings) {
  std::string out;
  for (const Finding& f : findings) out += f.path + " [" + f.rule + "] " + f.message + "\n";
  return out;
}

TEST(SampleTest, SameOptionsGiveSameBytes) {
  const SampleOptions options{300, 42};
  ConfigData a;
  ConfigData b;
  SampleConfig(options, &a);
  SampleConfig(options, &b);
  EXPECT_EQ(test::Encode(a), test::Encode(b));

  DeviceData da;
  DeviceData db;
  SampleDeviceData(options, &da);
  SampleDeviceData(options, &db);
  EXPECT_EQ(test::Encode(da), test::Encode(db));

  CalibrationData ca;
  CalibrationData cb;
  SampleCalibration(options, &ca);
  SampleCalibration(options, &cb);
  EXPECT_EQ(test::Encode(ca), test::Encode(cb));

  CalibrationTemplateData ta;
  CalibrationTemplateData tb;
  SampleCalibrationTemplate(options, &ta);
  SampleCalibrationTemplate(options, &tb);
  EXPECT_EQ(test::Encode(ta), test::Encode(tb));
}

// FNV-1a, 64 bits: a short fingerprint of a whole encoding.
std::uint64_t Fingerprint(const std::string& bytes) {
  std::uint64_t hash = 14695981039346656037ull;
  for (unsigned char c : bytes) {
    hash ^= c;
    hash *= 1099511628211ull;
  }
  return hash;
}

// The bytes of small samples, pinned: another compiler, machine or
// optimisation level must give these same documents (the generator draws
// its numbers in a fixed order with integer arithmetic only). A deliberate
// change of the generator changes these values with it.
TEST(SampleTest, BytesArePinnedAcrossBuilds) {
  const SampleOptions options{24, 1};
  ConfigData config;
  SampleConfig(options, &config);
  EXPECT_EQ(config.ByteSizeLong(), 2783u);
  EXPECT_EQ(Fingerprint(test::Encode(config)), 0xb9ad0552eefc9660ull);
  CalibrationData calibration;
  SampleCalibration(options, &calibration);
  EXPECT_EQ(calibration.ByteSizeLong(), 535u);
  EXPECT_EQ(Fingerprint(test::Encode(calibration)), 0xdfb6cddd3757d77full);
  DeviceData device;
  SampleDeviceData(options, &device);
  EXPECT_EQ(device.ByteSizeLong(), 3140u);
  EXPECT_EQ(Fingerprint(test::Encode(device)), 0x2f2175e36fc25017ull);
}

TEST(SampleTest, FillingAUsedRecordGivesTheSameBytesAsAFreshOne) {
  ConfigData reused = Config(50, 3);
  SampleConfig(SampleOptions{24, 9}, &reused);
  EXPECT_EQ(test::Encode(reused), test::Encode(Config(24, 9)));
}

TEST(SampleTest, DifferentSeedsGiveDifferentDocuments) {
  EXPECT_NE(test::Encode(Config(100, 1)), test::Encode(Config(100, 2)));
  CalibrationData a;
  CalibrationData b;
  SampleCalibration(SampleOptions{100, 1}, &a);
  SampleCalibration(SampleOptions{100, 2}, &b);
  EXPECT_NE(test::Encode(a), test::Encode(b));
}

TEST(SampleTest, EveryPairedTypeIsPresentFromTwentyInputsOn) {
  const PairingCatalogue pairing = PairingCatalogue::Standard();
  for (int inputs : {20, 24, 1000}) {
    const ConfigData config = Config(inputs, 6);
    std::set<std::pair<EntryKind, int>> present;
    for (const Input& input : config.inputs()) present.insert({EntryKind::kInput, input.type()});
    for (const Output& output : config.outputs()) present.insert({EntryKind::kOutput, output.type()});
    for (const auto& [key, record] : pairing.entries()) {
      if (key.first == EntryKind::kMap) continue;  // maps take the kinds of their tables
      EXPECT_EQ(present.count(key), 1u) << inputs << " inputs: " << record->full_name();
    }
  }
  // Below that the outputs are too few to hold all ten kinds.
  EXPECT_EQ(Config(19).outputs_size(), 9);
}

TEST(SampleTest, EveryPairedTypeIsPresentWithReadableSettings) {
  const ConfigData config = Config(SampleOptions().inputs);
  const PairingCatalogue pairing = PairingCatalogue::Standard();
  std::set<int> input_types;
  std::set<int> output_types;
  for (const Input& input : config.inputs()) input_types.insert(input.type());
  for (const Output& output : config.outputs()) output_types.insert(output.type());
  int paired = 0;
  for (const auto& [key, record] : pairing.entries()) {
    const auto [kind, code] = key;
    if (kind == EntryKind::kInput) {
      ++paired;
      EXPECT_EQ(input_types.count(code), 1u) << "input type " << code << " (" << record->full_name() << ")";
    } else if (kind == EntryKind::kOutput) {
      ++paired;
      EXPECT_EQ(output_types.count(code), 1u) << "output type " << code << " (" << record->full_name() << ")";
    }
  }
  EXPECT_EQ(paired, 26);

  // Each entry's settings read as the paired record.
  for (int i = 0; i < config.inputs_size(); ++i) {
    const pb::Descriptor* record = pairing.Find(EntryKind::kInput, config.inputs(i).type());
    ASSERT_NE(record, nullptr) << "inputs[" << i << "]";
    std::unique_ptr<pb::Message> settings = NewRecord(record);
    EXPECT_TRUE(settings->ParseFromString(config.inputs(i).config())) << "inputs[" << i << "]";
  }
  for (int i = 0; i < config.outputs_size(); ++i) {
    const pb::Descriptor* record = pairing.Find(EntryKind::kOutput, config.outputs(i).type());
    ASSERT_NE(record, nullptr) << "outputs[" << i << "]";
    std::unique_ptr<pb::Message> settings = NewRecord(record);
    EXPECT_TRUE(settings->ParseFromString(config.outputs(i).config())) << "outputs[" << i << "]";
  }
}

TEST(SampleTest, MapsAndLinearizationsHoldMap3DTables) {
  const ConfigData config = Config(200);
  ASSERT_GT(config.maps_size(), 0);
  for (int i = 0; i < config.maps_size(); ++i) {
    Map3D table;
    ASSERT_TRUE(table.ParseFromString(config.maps(i).config())) << "maps[" << i << "]";
    EXPECT_GE(table.x_size(), 2) << "maps[" << i << "]";
    EXPECT_GE(table.y_size(), 2) << "maps[" << i << "]";
    EXPECT_EQ(table.values_size(), table.x_size() * table.y_size()) << "maps[" << i << "]";
    EXPECT_TRUE(std::is_sorted(table.x().begin(), table.x().end())) << "maps[" << i << "]";
  }
  int linearized = 0;
  for (const Input& input : config.inputs()) {
    if (!input.has_linearization()) continue;
    ++linearized;
    Map3D curve;
    ASSERT_TRUE(curve.ParseFromString(input.linearization().config())) << input.alias();
    EXPECT_EQ(curve.values_size(), curve.x_size() * curve.y_size()) << input.alias();
  }
  EXPECT_GT(linearized, 0);
}

TEST(SampleTest, SamplesAreLintClean) {
  const PairingCatalogue pairing = WithTables();
  for (int inputs : {0, 1, 16, 24, 500}) {
    const SampleOptions options{inputs, 7};
    ConfigData config;
    SampleConfig(options, &config);
    EXPECT_EQ(Describe(Lint(config, {pairing})), "") << inputs << " inputs";
    DeviceData device;
    SampleDeviceData(options, &device);
    EXPECT_EQ(Describe(Lint(device, {pairing})), "") << inputs << " inputs";
    CalibrationData calibration;
    SampleCalibration(options, &calibration);
    EXPECT_EQ(Describe(Lint(calibration, {pairing})), "") << inputs << " inputs";
    CalibrationTemplateData limits;
    SampleCalibrationTemplate(options, &limits);
    EXPECT_EQ(Describe(Lint(limits, {pairing})), "") << inputs << " inputs";
  }
}

// Encoding what a config reads as gives back its bytes, for every config.
void ExpectCanonical(const pb::Message& holder, const pb::Descriptor* record, const std::string& bytes,
                     const std::string& where) {
  ASSERT_NE(record, nullptr) << where;
  std::unique_ptr<pb::Message> settings = NewRecord(record);
  ASSERT_TRUE(settings->ParseFromString(bytes)) << where;
  EXPECT_EQ(test::Hex(settings->SerializeAsString()), test::Hex(bytes)) << where << " " << holder.GetTypeName();
}

TEST(SampleTest, EveryConfigIsInCanonicalForm) {
  const ConfigData config = Config(400, 5);
  const PairingCatalogue pairing = PairingCatalogue::Standard();
  for (int i = 0; i < config.inputs_size(); ++i) {
    const Input& input = config.inputs(i);
    const std::string where = "inputs[" + std::to_string(i) + "]";
    ExpectCanonical(input, pairing.Find(EntryKind::kInput, input.type()), input.config(), where);
    if (input.has_linearization()) {
      ExpectCanonical(input, Map3D::descriptor(), input.linearization().config(), where + ".linearization");
    }
  }
  for (int i = 0; i < config.outputs_size(); ++i) {
    const Output& output = config.outputs(i);
    ExpectCanonical(output, pairing.Find(EntryKind::kOutput, output.type()), output.config(),
                    "outputs[" + std::to_string(i) + "]");
  }
  for (int i = 0; i < config.maps_size(); ++i) {
    ExpectCanonical(config.maps(i), Map3D::descriptor(), config.maps(i).config(), "maps[" + std::to_string(i) + "]");
  }
  // The document itself, and the image carrying it.
  ExpectCanonical(config, ConfigData::descriptor(), test::Encode(config), "document");
  DeviceData device;
  SampleDeviceData(SampleOptions{400, 5}, &device);
  EXPECT_EQ(device.config(), test::Encode(config));
  ExpectCanonical(device, DeviceData::descriptor(), test::Encode(device), "image");
}

TEST(SampleTest, CountsIdsAndReferencesHold) {
  const ConfigData config = Config(1000, 11);
  std::set<int> input_ids;
  for (const Input& input : config.inputs()) EXPECT_TRUE(input_ids.insert(input.id()).second) << input.id();
  std::set<std::uint32_t> output_ids;
  for (const Output& output : config.outputs()) EXPECT_TRUE(output_ids.insert(output.id()).second) << output.id();
  std::set<std::uint32_t> map_ids;
  for (const ::Map& map : config.maps()) EXPECT_TRUE(map_ids.insert(map.id()).second) << map.id();
  std::set<int> bus_ids;
  for (const Canbus& bus : config.canbus()) {
    EXPECT_TRUE(bus_ids.insert(bus.canbusid()).second) << bus.canbusid();
    EXPECT_EQ(bus.standardinputframecount(), bus.standardinputframes_size());
    EXPECT_EQ(bus.extendedinputframecount(), bus.extendedinputframes_size());
    EXPECT_EQ(bus.standardoutputframecount(), bus.standardoutputframes_size());
    EXPECT_EQ(bus.extendedoutputframecount(), bus.extendedoutputframes_size());
    EXPECT_EQ(bus.entitiescount(), bus.entityhandler_size());
    EXPECT_GT(bus.standardinputframes_size() + bus.extendedinputframes_size(), 0);
    EXPECT_GT(bus.entityhandler_size(), 0);
  }
  ASSERT_GE(config.canbusrouter_size(), 1);
  for (const CanbusRouter& router : config.canbusrouter()) {
    EXPECT_EQ(bus_ids.count(router.sourcecanbusid()), 1u);
    EXPECT_EQ(bus_ids.count(router.destinationcanbusid()), 1u);
    EXPECT_NE(router.sourcecanbusid(), router.destinationcanbusid());
  }
  EXPECT_GT(config.canobjectcount(), 0u);
  EXPECT_TRUE(config.has_units());
  EXPECT_FALSE(config.gcuno().empty());
  EXPECT_FALSE(config.devicedescription().empty());
  for (const Estimations& e : config.estimationdata()) {
    EXPECT_EQ(e.thetavalues_size(), e.size());
    EXPECT_EQ(e.pvalues_size(), e.size() * e.size());
  }
}

TEST(SampleTest, SizesFollowTheOptions) {
  for (int inputs : {100, 1000, 5000}) {
    const ConfigData config = Config(inputs);
    EXPECT_EQ(config.inputs_size(), inputs);
    EXPECT_EQ(config.outputs_size(), inputs / 2);
    EXPECT_EQ(config.maps_size(), inputs / 8);
    EXPECT_EQ(config.canbus_size(), std::max(2, inputs / 100));
    EXPECT_EQ(config.estimationdata_size(), std::max(1, inputs / 50));
    EXPECT_EQ(config.drivers_size(), std::max(1, inputs / 64));
  }
  // The encoding grows with the document, about linearly.
  const std::size_t small = Config(1000).ByteSizeLong();
  const std::size_t large = Config(10000).ByteSizeLong();
  EXPECT_GT(large, 8 * small);
  EXPECT_LT(large, 12 * small);
  EXPECT_EQ(Config(0).inputs_size(), 0);
  EXPECT_EQ(Config(-5).inputs_size(), 0);
}

TEST(SampleTest, TheLargestBenchmarkDocumentIsBuilt) {
  const ConfigData config = Config(100000);
  EXPECT_EQ(config.inputs_size(), 100000);
  EXPECT_EQ(config.outputs_size(), 50000);
  EXPECT_EQ(config.inputs(99999).id(), 100000);
}

TEST(SampleTest, CalibrationListsAreFilledAndCounted) {
  CalibrationData calibration;
  SampleCalibration(SampleOptions{64, 3}, &calibration);
  EXPECT_EQ(calibration.adccalibrationcount(), static_cast<std::uint32_t>(calibration.adccalibration_size()));
  EXPECT_EQ(calibration.daccalibrationcount(), static_cast<std::uint32_t>(calibration.daccalibration_size()));
  EXPECT_EQ(calibration.freqinputscalibrationcount(),
            static_cast<std::uint32_t>(calibration.freqinputscalibration_size()));
  EXPECT_EQ(calibration.digitalinputcalibrationcount(),
            static_cast<std::uint32_t>(calibration.digitalinputcalibration_size()));
  EXPECT_EQ(calibration.digitaloutputcalibrationcount(),
            static_cast<std::uint32_t>(calibration.digitaloutputcalibration_size()));
  EXPECT_EQ(calibration.pwmcalibrationcount(), static_cast<std::uint32_t>(calibration.pwmcalibration_size()));
  EXPECT_EQ(calibration.canbuscalibrationcount(),
            static_cast<std::uint32_t>(calibration.canbuscalibrationdata_size()));
  EXPECT_EQ(calibration.qeicalibrationcount(), static_cast<std::uint32_t>(calibration.qeicalibrationdata_size()));
  EXPECT_GT(calibration.adccalibration_size(), 1);
  EXPECT_GT(calibration.qeicalibrationdata_size(), 0);
  for (const auto& freq : calibration.freqinputscalibration()) {
    EXPECT_EQ(freq.pullupscount(), static_cast<std::uint32_t>(freq.pullups_size()));
  }
  EXPECT_FALSE(calibration.serialno().empty());

  CalibrationTemplateData limits;
  SampleCalibrationTemplate(SampleOptions{64, 3}, &limits);
  ASSERT_GT(limits.adccalibration_size(), 0);
  for (const auto& adc : limits.adccalibration()) {
    EXPECT_LE(adc.levelmin5v(), adc.level5v());
    EXPECT_GE(adc.levelmax5v(), adc.level5v());
  }
}

TEST(SampleTest, SampleByTypeGivesTheDocumentSamples) {
  const SampleOptions options{40, 8};
  std::unique_ptr<pb::Message> config = Sample(ConfigData::descriptor(), options);
  ASSERT_NE(config, nullptr);
  EXPECT_EQ(test::Encode(*config), test::Encode(Config(40, 8)));
  std::unique_ptr<pb::Message> device = Sample(DeviceData::descriptor(), options);
  DeviceData expected;
  SampleDeviceData(options, &expected);
  ASSERT_NE(device, nullptr);
  EXPECT_EQ(test::Encode(*device), test::Encode(expected));
  EXPECT_EQ(Sample(FindRecord("CalibrationTemplateData"), options)->ByteSizeLong(),
            [&] {
              CalibrationTemplateData t;
              SampleCalibrationTemplate(options, &t);
              return t.ByteSizeLong();
            }());
}

TEST(SampleTest, OtherRecordsHaveEveryFieldSet) {
  const std::set<const pb::Descriptor*> documents = {ConfigData::descriptor(), DeviceData::descriptor(),
                                                     CalibrationData::descriptor(),
                                                     CalibrationTemplateData::descriptor()};
  const PairingCatalogue pairing = WithTables();
  int checked = 0;
  for (const pb::Descriptor* type : test::EveryRecord()) {
    if (documents.count(type) != 0) continue;
    std::unique_ptr<pb::Message> record = Sample(type, SampleOptions{});
    ASSERT_NE(record, nullptr) << type->full_name();
    std::vector<const pb::FieldDescriptor*> set;
    record->GetReflection()->ListFields(*record, &set);
    // An enumeration with the single value 0 cannot be written in proto3.
    int settable = 0;
    for (int i = 0; i < type->field_count(); ++i) {
      const pb::FieldDescriptor* field = type->field(i);
      settable += field->cpp_type() == pb::FieldDescriptor::CPPTYPE_ENUM && !field->is_repeated() &&
                          field->enum_type()->value_count() == 1
                      ? 0
                      : 1;
    }
    EXPECT_EQ(static_cast<int>(set.size()), settable) << type->full_name();
    EXPECT_EQ(Describe(Lint(*record, {pairing})), "") << type->full_name();
    ++checked;
  }
  EXPECT_GT(checked, 40);
}

TEST(SampleTest, NoSampleForARecordOutsideTheLibrary) {
  EXPECT_EQ(Sample(pb::FileDescriptorProto::descriptor(), SampleOptions{}), nullptr);
  EXPECT_EQ(Sample(nullptr, SampleOptions{}), nullptr);
}

}  // namespace
}  // namespace gcuschema::document
