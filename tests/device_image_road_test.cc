// A device data image carrying a whole configuration document, whose
// entries carry their own encoded settings records, next to opaque
// adaptation blocks: built, encoded, read back level by level, and encoded
// again to the same bytes.
#include <string>

#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/PwmConfiguration.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

using google::protobuf::util::MessageDifferencer;

AdcConfiguration OilTemperatureSettings() {
  AdcConfiguration adc;
  adc.set_range(AdcConfiguration::range12V);
  adc.set_saturation(true);
  adc.set_inminvalue(-100);
  adc.set_inmaxvalue(4095);
  adc.set_outminvalue(-40);
  adc.set_outmaxvalue(150);
  adc.set_pullupenable(true);
  return adc;
}

AdcConfiguration PressureSettings() {
  AdcConfiguration adc;
  adc.set_range(AdcConfiguration::range5V);
  adc.set_lowpassfilter(true);
  adc.set_faultminvalue(50);
  adc.set_faultmaxvalue(4000);
  return adc;
}

PwmConfiguration LinePressureValveSettings() {
  PwmConfiguration pwm;
  pwm.set_mode(PwmConfiguration::modeCurrent);
  pwm.set_currentlimit(2000);
  pwm.set_frequency(1000);
  pwm.set_peakandholdenable(true);
  pwm.set_peakandholdpeakvalue(1500);
  pwm.set_peakandholdpeaktime(-3);
  return pwm;
}

ConfigData Document() {
  ConfigData doc;
  doc.set_version(7);
  doc.set_gcuno("GCU-0042");
  doc.set_devicedescription("bench unit");

  Input* oil = doc.add_inputs();
  oil->set_id(1);
  oil->set_type(Input::AdcInput);
  oil->set_pin(3);
  oil->set_alias("Oil temperature");
  oil->set_config(OilTemperatureSettings().SerializeAsString());
  oil->set_minvalue(-40.0f);
  oil->set_maxvalue(150.0f);
  oil->set_unit("C");

  Input* pressure = doc.add_inputs();
  pressure->set_id(2);
  pressure->set_dataloggerchannel(-1);
  pressure->set_type(Input::AdcInput);
  pressure->set_pin(4);
  pressure->set_alias("Line pressure");
  pressure->set_config(PressureSettings().SerializeAsString());
  pressure->set_ispreset(true);

  Output* valve = doc.add_outputs();
  valve->set_id(1);
  valve->set_type(Output::PwmOutput);
  valve->set_pin(12);
  valve->set_alias("Line pressure valve");
  valve->set_config(LinePressureValveSettings().SerializeAsString());
  valve->set_maxvalue(100.0f);
  valve->set_unit("%");

  doc.mutable_units()->set_pressureunit(Units::Bar);
  return doc;
}

DeviceData Image(const std::string& config) {
  DeviceData image;
  image.set_version(2);
  image.set_gcuserialno("G7-000123");
  image.set_config(config);
  image.set_dynamicadaptationbackup(Bytes({0x01, 0x00, 0xFF, 0x80}));
  image.set_dynamicadaptation(Bytes({0x01, 0x00, 0xFF, 0x81}));
  image.set_valveadaptation(Bytes({0x00}));
  image.set_transmissionconfig(std::string(300, '\x5A'));  // two-byte length
  image.set_staticadaptation(Bytes({0xC0, 0xC1}));
  return image;
}

TEST(DeviceImageRoadTest, ConfigurationDocumentTravelsInsideTheImage) {
  const ConfigData doc = Document();
  const std::string doc_bytes = Encode(doc);
  const DeviceData image = Image(doc_bytes);
  const std::string bytes = Encode(image);

  // The image starts with version and serial number, then the document as
  // one block under tag 52 with its length, byte for byte.
  std::string prefix = Bytes({0x08, 0x02, 0x12, 0x09});
  prefix += "G7-000123";
  prefix += Bytes({0x52});
  // The document takes between 128 and 16383 bytes: a two-byte length.
  ASSERT_GE(doc_bytes.size(), 128u);
  ASSERT_LT(doc_bytes.size(), 16384u);
  prefix.push_back(static_cast<char>(0x80 | (doc_bytes.size() & 0x7F)));
  prefix.push_back(static_cast<char>(doc_bytes.size() >> 7));
  prefix += doc_bytes;
  EXPECT_EQ(Hex(bytes.substr(0, prefix.size())), Hex(prefix));

  DeviceData back;
  ASSERT_TRUE(Parse(&back, bytes));
  EXPECT_TRUE(MessageDifferencer::Equals(back, image));
  EXPECT_EQ(back.config(), doc_bytes);
  EXPECT_EQ(back.transmissionconfig().size(), 300u);
  EXPECT_EQ(Hex(back.dynamicadaptation()), "01 00 FF 81");

  // The document, then each entry's settings, decode from the blocks.
  ConfigData read_doc;
  ASSERT_TRUE(Parse(&read_doc, back.config()));
  EXPECT_TRUE(MessageDifferencer::Equals(read_doc, doc)) << read_doc.DebugString();
  ASSERT_EQ(read_doc.inputs_size(), 2);
  ASSERT_EQ(read_doc.outputs_size(), 1);
  EXPECT_EQ(read_doc.inputs(0).type(), Input::AdcInput);
  EXPECT_EQ(read_doc.outputs(0).type(), Output::PwmOutput);

  AdcConfiguration oil;
  ASSERT_TRUE(Parse(&oil, read_doc.inputs(0).config()));
  EXPECT_TRUE(MessageDifferencer::Equals(oil, OilTemperatureSettings())) << oil.DebugString();
  AdcConfiguration pressure;
  ASSERT_TRUE(Parse(&pressure, read_doc.inputs(1).config()));
  EXPECT_TRUE(MessageDifferencer::Equals(pressure, PressureSettings())) << pressure.DebugString();
  PwmConfiguration valve;
  ASSERT_TRUE(Parse(&valve, read_doc.outputs(0).config()));
  EXPECT_TRUE(MessageDifferencer::Equals(valve, LinePressureValveSettings())) << valve.DebugString();

  // Written again, the image is the same bytes, and so is the document
  // rebuilt from what was read.
  EXPECT_EQ(Hex(Encode(back)), Hex(bytes));
  EXPECT_EQ(Hex(Encode(read_doc)), Hex(doc_bytes));
}

TEST(DeviceImageRoadTest, StoredDocumentIsNeverReencoded) {
  // A document as another writer may have stored it: gcuNo (11) before
  // version (1). The image keeps these bytes as they are, although the
  // document itself, re-encoded, would put version first.
  const std::string stored = Bytes({0x5A, 0x01, 0x47, 0x08, 0x07});
  ConfigData doc;
  ASSERT_TRUE(Parse(&doc, stored));
  EXPECT_EQ(Hex(Encode(doc)), "08 07 5A 01 47");

  DeviceData image;
  image.set_config(stored);
  const std::string bytes = Encode(image);
  EXPECT_EQ(Hex(bytes), "52 05 5A 01 47 08 07");
  DeviceData back;
  ASSERT_TRUE(Parse(&back, bytes));
  EXPECT_EQ(Hex(back.config()), "5A 01 47 08 07");
  EXPECT_EQ(Hex(Encode(back)), Hex(bytes));
}

TEST(DeviceImageRoadTest, ImageWithUnreadableDocumentStillParses) {
  // The image does not look into its blocks: a truncated document is kept.
  const std::string broken = Bytes({0x1A, 0x10, 0x08});
  DeviceData image;
  image.set_config(broken);
  DeviceData back;
  ASSERT_TRUE(Parse(&back, Encode(image)));
  EXPECT_EQ(back.config(), broken);
  ConfigData doc;
  EXPECT_FALSE(Parse(&doc, back.config()));
}

}  // namespace
}  // namespace gcuschema::test
