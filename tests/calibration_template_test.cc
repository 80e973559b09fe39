// The calibration limits template: every field of the calibration record
// under the same number, plus lower and upper limits (value number + 100 and
// + 200) and the ADC calibration mode. The two records read each other's
// encodings through the shared numbers.
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/reflection.h>
#include <google/protobuf/stubs/logging.h>
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>

#include "support/runtime_log.h"
#include "support/wire.h"

namespace gcuschema::test {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::UnknownField;
using google::protobuf::UnknownFieldSet;

const UnknownFieldSet& UnknownOf(const Message& record) {
  return record.GetReflection()->GetUnknownFields(record);
}

// The (number, varint) pairs of a record's unknown fields, in stored order.
std::vector<std::pair<int, uint64_t>> UnknownVarints(const Message& record) {
  std::vector<std::pair<int, uint64_t>> out;
  const UnknownFieldSet& unknown = UnknownOf(record);
  for (int i = 0; i < unknown.field_count(); ++i) {
    EXPECT_EQ(unknown.field(i).type(), UnknownField::TYPE_VARINT);
    out.emplace_back(unknown.field(i).number(), unknown.field(i).varint());
  }
  return out;
}

using Varints = std::vector<std::pair<int, uint64_t>>;

TEST(CalibrationTemplateTest, DefaultTemplateEncodesToNothing) {
  EXPECT_ENCODES(CalibrationTemplateData(), {});
  CalibrationTemplateData_AdcCalibrationData adc;
  adc.set_levelmin12v(0);
  adc.set_levelmax12v(0);
  adc.set_calibrationmode(CalibrationTemplateData_AdcCalibrationData::out5V);
  EXPECT_ENCODES(adc, {});
}

TEST(CalibrationTemplateTest, AdcValueAndItsLimitsEncodeInNumberOrder) {
  CalibrationTemplateData_AdcCalibrationData adc;
  adc.set_levelmax12v(1100);
  adc.set_levelmin12v(900);
  adc.set_level12v(1000);
  EXPECT_ENCODES(adc, {0x18, 0xE8, 0x07, 0xB8, 0x06, 0x84, 0x07, 0xD8, 0x0C, 0xCC, 0x08});
}

TEST(CalibrationTemplateTest, BatPositiveModeIsWrittenAndOut5VIsNot) {
  CalibrationTemplateData_AdcCalibrationData adc;
  adc.set_calibrationmode(CalibrationTemplateData_AdcCalibrationData::batPositive);
  EXPECT_ENCODES(adc, {0xF0, 0x0C, 0x01});
  adc.set_calibrationmode(CalibrationTemplateData_AdcCalibrationData::out5V);
  EXPECT_ENCODES(adc, {});
}

TEST(CalibrationTemplateTest, FrequencyLimitsDeclaredInPairsAreWrittenInNumberOrder) {
  CalibrationTemplateData_FreqCalibrationData freq;
  freq.set_diagnosticsadcmax5vvalue(1);
  freq.set_offsetmin5v(1);
  EXPECT_ENCODES(freq, {0xC8, 0x06, 0x01, 0xA0, 0x0D, 0x01});

  CalibrationTemplateData_FreqCalibrationData all;
  all.set_diagnosticsadcmax5vvalue(6);
  all.set_diagnosticsadcmin5vvalue(5);
  all.set_pullupmax5v(4);
  all.set_pullupmin5v(3);
  all.set_offsetmax5v(2);
  all.set_offsetmin5v(1);
  all.set_diagnosticsadc(11);
  EXPECT_ENCODES(all, {0x58, 0x0B,                    // 11
                       0xC8, 0x06, 0x01,              // 105
                       0xE0, 0x06, 0x03,              // 108
                       0x80, 0x07, 0x05,              // 112
                       0xE8, 0x0C, 0x02,              // 205
                       0x80, 0x0D, 0x04,              // 208
                       0xA0, 0x0D, 0x06});            // 212
}

TEST(CalibrationTemplateTest, LimitOfZeroIsTheSameAsNoLimit) {
  CalibrationTemplateData_PwmCalibrationData with_zero;
  with_zero.set_adcminzerovalue(0);
  with_zero.set_adcmax5avalue(0);
  with_zero.set_adczerovalue(40);
  CalibrationTemplateData_PwmCalibrationData without;
  without.set_adczerovalue(40);
  const std::string bytes = Encode(with_zero);
  EXPECT_EQ(Hex(bytes), Hex(Encode(without)));
  EXPECT_EQ(Hex(bytes), "28 28");

  CalibrationTemplateData_PwmCalibrationData back;
  back.set_adcminzerovalue(77);
  ASSERT_TRUE(Parse(&back, bytes));
  EXPECT_EQ(back.adcminzerovalue(), 0u);
}

// Every added field set to 1 alone: its two-byte tag then the value 01.
TEST(CalibrationTemplateTest, AddedFieldTagsAsWritten) {
  struct Added {
    const Descriptor* record;
    const char* name;
    int tag0, tag1;
  };
  const Descriptor* adc = CalibrationTemplateData_AdcCalibrationData::descriptor();
  const Descriptor* dac = CalibrationTemplateData_DacCalibrationData::descriptor();
  const Descriptor* freq = CalibrationTemplateData_FreqCalibrationData::descriptor();
  const Descriptor* pwm = CalibrationTemplateData_PwmCalibrationData::descriptor();
  const Descriptor* qei = CalibrationTemplateData_QeiCalibrationData::descriptor();
  const Added added[] = {
      {adc, "levelMin12v", 0xB8, 0x06},       {adc, "levelMin5v", 0xC0, 0x06},
      {adc, "levelMinGcu5V", 0xC8, 0x06},     {adc, "levelMax12v", 0xD8, 0x0C},
      {adc, "levelMax5v", 0xE0, 0x0C},        {adc, "levelMaxGcu5V", 0xE8, 0x0C},
      {adc, "calibrationMode", 0xF0, 0x0C},   {dac, "levelMin12v", 0xB8, 0x06},
      {dac, "levelMin5v", 0xC0, 0x06},        {dac, "levelMinGcu5V", 0xC8, 0x06},
      {dac, "levelMax12v", 0xD8, 0x0C},       {dac, "levelMax5v", 0xE0, 0x0C},
      {dac, "levelMaxGcu5V", 0xE8, 0x0C},     {freq, "offsetMin5V", 0xC8, 0x06},
      {freq, "offsetMax5V", 0xE8, 0x0C},      {freq, "pullupMin5V", 0xE0, 0x06},
      {freq, "pullupMax5V", 0x80, 0x0D},      {freq, "diagnosticsAdcMin5Vvalue", 0x80, 0x07},
      {freq, "diagnosticsAdcMax5Vvalue", 0xA0, 0x0D}, {pwm, "adcMinZeroValue", 0xC8, 0x06},
      {pwm, "adcMin5Avalue", 0xD0, 0x06},     {pwm, "adcMaxZeroValue", 0xE8, 0x0C},
      {pwm, "adcMax5Avalue", 0xF0, 0x0C},     {qei, "offsetMin5V", 0xC8, 0x06},
      {qei, "offsetMax5V", 0xE8, 0x0C},
  };
  google::protobuf::MessageFactory* factory =
      google::protobuf::MessageFactory::generated_factory();
  for (const Added& a : added) {
    const FieldDescriptor* f = a.record->FindFieldByName(a.name);
    ASSERT_NE(f, nullptr) << a.record->name() << "." << a.name;
    std::unique_ptr<Message> record(factory->GetPrototype(a.record)->New());
    if (f->cpp_type() == FieldDescriptor::CPPTYPE_ENUM) {
      record->GetReflection()->SetEnumValue(record.get(), f, 1);
    } else {
      EXPECT_EQ(f->type(), FieldDescriptor::TYPE_UINT32) << a.name;
      record->GetReflection()->SetUInt32(record.get(), f, 1);
    }
    EXPECT_EQ(Hex(Encode(*record)), Hex(Bytes({a.tag0, a.tag1, 0x01})))
        << a.record->name() << "." << a.name;
  }
}

TEST(CalibrationTemplateTest, RecordsWithoutLimitsAddNoFields) {
  EXPECT_EQ(CalibrationTemplateData_FreqPull::descriptor()->field_count(),
            CalibrationData_FreqPull::descriptor()->field_count());
  EXPECT_EQ(CalibrationTemplateData_DigitalInputCalibrationData::descriptor()->field_count(),
            CalibrationData_DigitalInputCalibrationData::descriptor()->field_count());
  EXPECT_EQ(CalibrationTemplateData_DigitalOutputCalibrationData::descriptor()->field_count(),
            CalibrationData_DigitalOutputCalibrationData::descriptor()->field_count());
  EXPECT_EQ(CalibrationTemplateData_CanbusCalibrationData::descriptor()->field_count(),
            CalibrationData_CanbusCalibrationData::descriptor()->field_count());
  EXPECT_EQ(CalibrationTemplateData::descriptor()->field_count(),
            CalibrationData::descriptor()->field_count());
}

// Each template record starts with exactly the fields of the calibration
// record of the same name (same names, numbers, types, order); the limits
// follow in their own declaration order.
TEST(CalibrationTemplateTest, SharedFieldsMatchTheCalibrationRecordAndLimitsFollow) {
  struct Pair {
    const Descriptor* tmpl;
    const Descriptor* calib;
    std::vector<int> added;
  };
  const Pair pairs[] = {
      {CalibrationTemplateData::descriptor(), CalibrationData::descriptor(), {}},
      {CalibrationTemplateData_AdcCalibrationData::descriptor(),
       CalibrationData_AdcCalibrationData::descriptor(), {103, 104, 105, 203, 204, 205, 206}},
      {CalibrationTemplateData_DacCalibrationData::descriptor(),
       CalibrationData_DacCalibrationData::descriptor(), {103, 104, 105, 203, 204, 205}},
      {CalibrationTemplateData_FreqPull::descriptor(), CalibrationData_FreqPull::descriptor(), {}},
      {CalibrationTemplateData_FreqCalibrationData::descriptor(),
       CalibrationData_FreqCalibrationData::descriptor(), {105, 205, 108, 208, 112, 212}},
      {CalibrationTemplateData_DigitalInputCalibrationData::descriptor(),
       CalibrationData_DigitalInputCalibrationData::descriptor(), {}},
      {CalibrationTemplateData_DigitalOutputCalibrationData::descriptor(),
       CalibrationData_DigitalOutputCalibrationData::descriptor(), {}},
      {CalibrationTemplateData_PwmCalibrationData::descriptor(),
       CalibrationData_PwmCalibrationData::descriptor(), {105, 106, 205, 206}},
      {CalibrationTemplateData_CanbusCalibrationData::descriptor(),
       CalibrationData_CanbusCalibrationData::descriptor(), {}},
      {CalibrationTemplateData_QeiCalibrationData::descriptor(),
       CalibrationData_QeiCalibrationData::descriptor(), {105, 205}},
  };
  for (const Pair& p : pairs) {
    const int shared = p.calib->field_count();
    ASSERT_EQ(p.tmpl->field_count(), shared + static_cast<int>(p.added.size())) << p.tmpl->name();
    for (int i = 0; i < shared; ++i) {
      const FieldDescriptor* t = p.tmpl->field(i);
      const FieldDescriptor* c = p.calib->field(i);
      EXPECT_EQ(t->name(), c->name()) << p.tmpl->name() << " index " << i;
      EXPECT_EQ(t->number(), c->number()) << p.tmpl->name() << "." << t->name();
      EXPECT_EQ(t->type(), c->type()) << p.tmpl->name() << "." << t->name();
      EXPECT_EQ(t->label(), c->label()) << p.tmpl->name() << "." << t->name();
      if (t->message_type() != nullptr)
        EXPECT_EQ(t->message_type()->name(), c->message_type()->name()) << t->full_name();
    }
    for (size_t k = 0; k < p.added.size(); ++k) {
      const FieldDescriptor* t = p.tmpl->field(shared + static_cast<int>(k));
      EXPECT_EQ(t->number(), p.added[k]) << p.tmpl->name() << "." << t->name();
      EXPECT_FALSE(t->is_repeated()) << t->full_name();
    }
  }
}

TEST(CalibrationTemplateTest, TemplateHasItsOwnNestedTypesAndEnumerations) {
  const Descriptor* d = CalibrationTemplateData::descriptor();
  EXPECT_EQ(d->file()->name(), "CalibrationDataLimits.proto");
  EXPECT_EQ(d->file()->message_type_count(), 1);
  EXPECT_EQ(d->file()->dependency_count(), 0);
  const char* const nested[] = {"AdcCalibrationData",          "DacCalibrationData",
                                "FreqPull",                    "FreqCalibrationData",
                                "DigitalInputCalibrationData", "DigitalOutputCalibrationData",
                                "PwmCalibrationData",          "CanbusCalibrationData",
                                "QeiCalibrationData"};
  ASSERT_EQ(d->nested_type_count(), 9);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(d->nested_type(i)->name(), nested[i]);
  EXPECT_EQ(d->FindFieldByName("adcCalibration")->message_type(),
            CalibrationTemplateData_AdcCalibrationData::descriptor());
  EXPECT_EQ(d->FindFieldByName("deviceType")->enum_type(), CalibrationTemplateData_DeviceType_descriptor());
  EXPECT_NE(CalibrationTemplateData_DeviceType_descriptor(), CalibrationData_DeviceType_descriptor());
  EXPECT_EQ(CalibrationTemplateData_DeviceType_descriptor()->full_name(), "CalibrationTemplateData.DeviceType");
}

TEST(CalibrationTemplateTest, InvalidUtf8SerialNumberFailsTheParse) {
  CalibrationTemplateData tmpl;
  EXPECT_FALSE(Parse(&tmpl, Bytes({0xCA, 0x0C, 0x01, 0xFF})));
}

TEST(CalibrationTemplateTest, InvalidUtf8SerialNumberIsLoggedUnderTheTemplateName) {
  CalibrationTemplateData tmpl;
  tmpl.set_serialno(Bytes({0xFF}));
  std::string bytes;
  std::string logged;
  {
    LogCapture log;
    bytes = Encode(tmpl);
    logged = log.Text();
  }
  EXPECT_EQ(Hex(bytes), "CA 0C 01 FF");
  EXPECT_NE(logged.find("CalibrationTemplateData.serialNo"), std::string::npos) << logged;
}

TEST(CalibrationTemplateTest, OutOfRangeModeIsKeptAndWrittenBack) {
  CalibrationTemplateData_AdcCalibrationData adc;
  ASSERT_TRUE(Parse(&adc, Bytes({0xF0, 0x0C, 0x09})));
  EXPECT_EQ(static_cast<int>(adc.calibrationmode()), 9);
  EXPECT_ENCODES(adc, {0xF0, 0x0C, 0x09});
}

// A template with something in every list, limits in every record that has
// them, board signals, serial number and device class.
CalibrationTemplateData FullTemplate() {
  CalibrationTemplateData t;
  t.set_adccalibrationcount(1);
  auto* adc = t.add_adccalibration();
  adc->set_logicalid(1);
  adc->set_level12v(1000);
  adc->set_levelmin12v(900);
  adc->set_levelmax12v(1100);
  adc->set_levelgcu5v(500);
  adc->set_levelmingcu5v(450);
  adc->set_levelmaxgcu5v(550);
  adc->set_calibrationmode(CalibrationTemplateData_AdcCalibrationData::batPositive);
  t.set_daccalibrationcount(1);
  auto* dac = t.add_daccalibration();
  dac->set_hardwarechannel(3);
  dac->set_level5v(40);
  dac->set_levelmin5v(30);
  dac->set_levelmax5v(50);
  t.set_freqinputscalibrationcount(1);
  auto* freq = t.add_freqinputscalibration();
  freq->set_offset5v(20);
  freq->add_pullups()->set_value(2);
  freq->add_pulldowns()->set_outputid(3);
  freq->set_diagnosticsadc(4);
  freq->set_offsetmin5v(10);
  freq->set_offsetmax5v(30);
  freq->set_pullupmin5v(11);
  freq->set_pullupmax5v(31);
  freq->set_diagnosticsadcmin5vvalue(12);
  freq->set_diagnosticsadcmax5vvalue(32);
  t.add_digitalinputcalibration()->set_pullupenable(true);
  auto* dout = t.add_digitaloutputcalibration();
  dout->set_drivertype(CalibrationTemplateData_DigitalOutputCalibrationData::dtTLE94106);
  dout->set_driverenable(2);
  auto* pwm = t.add_pwmcalibration();
  pwm->set_adczerovalue(100);
  pwm->set_adc5avalue(600);
  pwm->set_adcminzerovalue(90);
  pwm->set_adcmin5avalue(550);
  pwm->set_adcmaxzerovalue(110);
  pwm->set_adcmax5avalue(650);
  pwm->set_drivertype(CalibrationTemplateData_PwmCalibrationData::dtBTG7003);
  t.add_canbuscalibrationdata()->set_txrxstby(1);
  auto* qei = t.add_qeicalibrationdata();
  qei->set_offset5v(7);
  qei->set_offsetmin5v(6);
  qei->set_offsetmax5v(8);
  t.set_batteryvoltageadcchannel(2);
  t.set_internal3v3enabledigitalout(-3);
  t.set_bluetoothwakehwdigitaoout(12);
  t.set_hardwareversion(4);
  t.set_serialno("T-17");
  t.set_devicetype(CalibrationTemplateData::dtDcu);
  return t;
}

TEST(CalibrationTemplateTest, TemplateParsedAsCalibrationKeepsEverySharedField) {
  const std::string bytes = Encode(FullTemplate());
  CalibrationData calibration;
  ASSERT_TRUE(Parse(&calibration, bytes));
  EXPECT_EQ(calibration.adccalibrationcount(), 1u);
  ASSERT_EQ(calibration.adccalibration_size(), 1);
  EXPECT_EQ(calibration.adccalibration(0).logicalid(), 1u);
  EXPECT_EQ(calibration.adccalibration(0).level12v(), 1000u);
  EXPECT_EQ(calibration.adccalibration(0).levelgcu5v(), 500u);
  ASSERT_EQ(calibration.daccalibration_size(), 1);
  EXPECT_EQ(calibration.daccalibration(0).hardwarechannel(), 3u);
  EXPECT_EQ(calibration.daccalibration(0).level5v(), 40u);
  ASSERT_EQ(calibration.freqinputscalibration_size(), 1);
  EXPECT_EQ(calibration.freqinputscalibration(0).offset5v(), 20u);
  EXPECT_EQ(calibration.freqinputscalibration(0).pullups(0).value(), 2u);
  EXPECT_EQ(calibration.freqinputscalibration(0).pulldowns(0).outputid(), 3u);
  EXPECT_EQ(calibration.freqinputscalibration(0).diagnosticsadc(), 4u);
  ASSERT_EQ(calibration.digitalinputcalibration_size(), 1);
  EXPECT_TRUE(calibration.digitalinputcalibration(0).pullupenable());
  ASSERT_EQ(calibration.digitaloutputcalibration_size(), 1);
  EXPECT_EQ(calibration.digitaloutputcalibration(0).drivertype(),
            CalibrationData_DigitalOutputCalibrationData::dtTLE94106);
  EXPECT_EQ(calibration.digitaloutputcalibration(0).driverenable(), 2u);
  ASSERT_EQ(calibration.pwmcalibration_size(), 1);
  EXPECT_EQ(calibration.pwmcalibration(0).adczerovalue(), 100u);
  EXPECT_EQ(calibration.pwmcalibration(0).adc5avalue(), 600u);
  EXPECT_EQ(calibration.pwmcalibration(0).drivertype(), CalibrationData_PwmCalibrationData::dtBTG7003);
  ASSERT_EQ(calibration.canbuscalibrationdata_size(), 1);
  EXPECT_EQ(calibration.canbuscalibrationdata(0).txrxstby(), 1u);
  ASSERT_EQ(calibration.qeicalibrationdata_size(), 1);
  EXPECT_EQ(calibration.qeicalibrationdata(0).offset5v(), 7u);
  EXPECT_EQ(calibration.batteryvoltageadcchannel(), 2);
  EXPECT_EQ(calibration.internal3v3enabledigitalout(), -3);
  EXPECT_EQ(calibration.bluetoothwakehwdigitaoout(), 12);
  EXPECT_EQ(calibration.hardwareversion(), 4);
  EXPECT_EQ(calibration.serialno(), "T-17");
  EXPECT_EQ(calibration.devicetype(), CalibrationData::dtDcu);
  // The root shares every field: nothing of it is unknown.
  EXPECT_EQ(UnknownOf(calibration).field_count(), 0);
}

TEST(CalibrationTemplateTest, TemplateLimitsLandInUnknownFieldsOfCalibrationEntries) {
  CalibrationData calibration;
  ASSERT_TRUE(Parse(&calibration, Encode(FullTemplate())));
  EXPECT_EQ(UnknownVarints(calibration.adccalibration(0)),
            (Varints{{103, 900}, {105, 450}, {203, 1100}, {205, 550}, {206, 1}}));
  EXPECT_EQ(UnknownVarints(calibration.daccalibration(0)), (Varints{{104, 30}, {204, 50}}));
  EXPECT_EQ(UnknownVarints(calibration.freqinputscalibration(0)),
            (Varints{{105, 10}, {108, 11}, {112, 12}, {205, 30}, {208, 31}, {212, 32}}));
  EXPECT_EQ(UnknownVarints(calibration.pwmcalibration(0)),
            (Varints{{105, 90}, {106, 550}, {205, 110}, {206, 650}}));
  EXPECT_EQ(UnknownVarints(calibration.qeicalibrationdata(0)), (Varints{{105, 6}, {205, 8}}));
  EXPECT_EQ(UnknownOf(calibration.freqinputscalibration(0).pullups(0)).field_count(), 0);
  EXPECT_EQ(UnknownOf(calibration.digitalinputcalibration(0)).field_count(), 0);
  EXPECT_EQ(UnknownOf(calibration.digitaloutputcalibration(0)).field_count(), 0);
  EXPECT_EQ(UnknownOf(calibration.canbuscalibrationdata(0)).field_count(), 0);
}

// Runtime 3.21 always writes proto3 unknown fields back (it has no switch to
// turn that off): the calibration record carries the template's limits
// through unchanged, and the template reads them back as limits.
TEST(CalibrationTemplateTest, PinsRuntime321TemplateThroughCalibrationRecordIsUnchanged) {
  const CalibrationTemplateData original = FullTemplate();
  const std::string bytes = Encode(original);
  CalibrationData calibration;
  ASSERT_TRUE(Parse(&calibration, bytes));
  EXPECT_EQ(Hex(Encode(calibration)), Hex(bytes));

  CalibrationTemplateData back;
  ASSERT_TRUE(Parse(&back, Encode(calibration)));
  EXPECT_EQ(back.adccalibration(0).levelmin12v(), 900u);
  EXPECT_EQ(back.adccalibration(0).calibrationmode(),
            CalibrationTemplateData_AdcCalibrationData::batPositive);
  EXPECT_EQ(back.freqinputscalibration(0).diagnosticsadcmax5vvalue(), 32u);
  EXPECT_EQ(back.pwmcalibration(0).adcmax5avalue(), 650u);
  EXPECT_EQ(back.qeicalibrationdata(0).offsetmin5v(), 6u);
  EXPECT_EQ(Hex(Encode(back)), Hex(bytes));
}

// The limits of an entry are written back after the entry's known fields,
// whatever their position in the input.
TEST(CalibrationTemplateTest, PinsRuntime321LimitsWrittenAfterTheKnownFieldsOfTheEntry) {
  CalibrationData_AdcCalibrationData adc;
  // levelMin12v = 900 and calibrationMode = 1 first, then level12v = 1000.
  ASSERT_TRUE(Parse(&adc, Bytes({0xB8, 0x06, 0x84, 0x07, 0xF0, 0x0C, 0x01, 0x18, 0xE8, 0x07})));
  EXPECT_EQ(adc.level12v(), 1000u);
  EXPECT_ENCODES(adc, {0x18, 0xE8, 0x07, 0xB8, 0x06, 0x84, 0x07, 0xF0, 0x0C, 0x01});

  // The same through the root list.
  CalibrationData calibration;
  ASSERT_TRUE(Parse(&calibration, Bytes({0x12, 0x06, 0xB8, 0x06, 0x84, 0x07, 0x08, 0x02})));
  EXPECT_ENCODES(calibration, {0x12, 0x06, 0x08, 0x02, 0xB8, 0x06, 0x84, 0x07});
}

// A calibration record with every list and signal filled in.
CalibrationData FullCalibration() {
  CalibrationData c;
  c.set_adccalibrationcount(2);
  auto* adc = c.add_adccalibration();
  adc->set_hardwarechannel(5);
  adc->set_level5v(1250);
  adc->set_pullup(1);
  adc->set_specialfunctionid(3);
  c.add_adccalibration()->set_logicalid(2);
  c.set_daccalibrationcount(1);
  c.add_daccalibration()->set_level12v(2000);
  c.set_freqinputscalibrationcount(1);
  auto* freq = c.add_freqinputscalibration();
  freq->set_pullupscount(1);
  freq->add_pullups()->set_outputid(9);
  freq->set_pullupvoltagedac(128);
  c.set_digitalinputcalibrationcount(1);
  auto* din = c.add_digitalinputcalibration();
  din->set_port(2);
  din->set_pin(14);
  din->set_pulldownenable(true);
  c.set_digitaloutputcalibrationcount(1);
  c.add_digitaloutputcalibration()->set_invert(true);
  c.set_pwmcalibrationcount(1);
  auto* pwm = c.add_pwmcalibration();
  pwm->set_adcgain(77);
  pwm->set_denout(14);
  c.set_canbuscalibrationcount(1);
  c.add_canbuscalibrationdata()->set_interrupt(8);
  c.set_qeicalibrationcount(1);
  c.add_qeicalibrationdata()->set_diagnosticsadcb(12);
  c.set_gcu12vstatusin(-1);
  c.set_internal5venabledigitalout(1);
  c.set_pwmoutputenabledigitalout(2);
  c.set_bluetoothwakeswdigitaoout(-20);
  c.set_overcurrentsenseadc(70);
  c.set_erasebuttoninput(3);
  c.set_hardwareversion(5);
  c.set_serialno("C-99");
  c.set_devicetype(CalibrationData::dtIoc);
  return c;
}

TEST(CalibrationTemplateTest, CalibrationParsedAsTemplateHasNoLimitsAndNothingUnknown) {
  const std::string bytes = Encode(FullCalibration());
  CalibrationTemplateData tmpl;
  ASSERT_TRUE(Parse(&tmpl, bytes));
  EXPECT_EQ(tmpl.adccalibrationcount(), 2u);
  ASSERT_EQ(tmpl.adccalibration_size(), 2);
  EXPECT_EQ(tmpl.adccalibration(0).hardwarechannel(), 5u);
  EXPECT_EQ(tmpl.adccalibration(0).level5v(), 1250u);
  EXPECT_EQ(tmpl.adccalibration(0).levelmin5v(), 0u);
  EXPECT_EQ(tmpl.adccalibration(0).levelmax5v(), 0u);
  EXPECT_EQ(tmpl.adccalibration(0).calibrationmode(), CalibrationTemplateData_AdcCalibrationData::out5V);
  EXPECT_EQ(tmpl.adccalibration(1).logicalid(), 2u);
  EXPECT_EQ(tmpl.daccalibration(0).level12v(), 2000u);
  EXPECT_EQ(tmpl.freqinputscalibration(0).pullups(0).outputid(), 9u);
  EXPECT_EQ(tmpl.freqinputscalibration(0).pullupvoltagedac(), 128u);
  EXPECT_EQ(tmpl.digitalinputcalibration(0).pin(), 14u);
  EXPECT_TRUE(tmpl.digitalinputcalibration(0).pulldownenable());
  EXPECT_TRUE(tmpl.digitaloutputcalibration(0).invert());
  EXPECT_EQ(tmpl.pwmcalibration(0).adcgain(), 77u);
  EXPECT_EQ(tmpl.pwmcalibration(0).denout(), 14u);
  EXPECT_EQ(tmpl.canbuscalibrationdata(0).interrupt(), 8u);
  EXPECT_EQ(tmpl.qeicalibrationdata(0).diagnosticsadcb(), 12u);
  EXPECT_EQ(tmpl.gcu12vstatusin(), -1);
  EXPECT_EQ(tmpl.internal5venabledigitalout(), 1);
  EXPECT_EQ(tmpl.pwmoutputenabledigitalout(), 2);
  EXPECT_EQ(tmpl.bluetoothwakeswdigitaoout(), -20);
  EXPECT_EQ(tmpl.overcurrentsenseadc(), 70);
  EXPECT_EQ(tmpl.erasebuttoninput(), 3);
  EXPECT_EQ(tmpl.hardwareversion(), 5);
  EXPECT_EQ(tmpl.serialno(), "C-99");
  EXPECT_EQ(tmpl.devicetype(), CalibrationTemplateData::dtIoc);

  EXPECT_EQ(UnknownOf(tmpl).field_count(), 0);
  for (const auto& e : tmpl.adccalibration()) EXPECT_EQ(UnknownOf(e).field_count(), 0);
  EXPECT_EQ(UnknownOf(tmpl.freqinputscalibration(0)).field_count(), 0);
  EXPECT_EQ(UnknownOf(tmpl.pwmcalibration(0)).field_count(), 0);

  // Every field is known to the template, so its encoding is the same.
  EXPECT_EQ(Hex(Encode(tmpl)), Hex(bytes));
}

TEST(CalibrationTemplateTest, DeviceTypeValuesAgreeWithTheCalibrationRecord) {
  CalibrationTemplateData tmpl;
  tmpl.set_devicetype(CalibrationTemplateData::dtIoc);
  CalibrationData calibration;
  ASSERT_TRUE(Parse(&calibration, Encode(tmpl)));
  EXPECT_EQ(calibration.devicetype(), CalibrationData::dtIoc);
  EXPECT_ENCODES(tmpl, {0xD0, 0x0C, 0x01});
}

}  // namespace
}  // namespace gcuschema::test
