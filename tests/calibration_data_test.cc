// The hardware calibration record: per-channel calibration lists, the
// board's service signal numbers, hardware version, serial number and
// device class.
#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/reflection.h>
#include <google/protobuf/stubs/logging.h>
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <gcuschema/CalibrationData.pb.h>

#include "support/runtime_log.h"
#include "support/wire.h"

namespace gcuschema::test {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;
using google::protobuf::UnknownFieldSet;

// Sets every singular field of `record` to its zero value through
// reflection and creates, then empties, every list, so that each field has
// been touched once.
void SetEveryFieldToZero(Message* record) {
  const Reflection* r = record->GetReflection();
  const Descriptor* d = record->GetDescriptor();
  for (int i = 0; i < d->field_count(); ++i) {
    const FieldDescriptor* f = d->field(i);
    if (f->is_repeated()) {
      r->AddMessage(record, f);
      r->ClearField(record, f);
      continue;
    }
    switch (f->cpp_type()) {
      case FieldDescriptor::CPPTYPE_UINT32: r->SetUInt32(record, f, 0); break;
      case FieldDescriptor::CPPTYPE_INT32: r->SetInt32(record, f, 0); break;
      case FieldDescriptor::CPPTYPE_BOOL: r->SetBool(record, f, false); break;
      case FieldDescriptor::CPPTYPE_STRING: r->SetString(record, f, ""); break;
      case FieldDescriptor::CPPTYPE_ENUM: r->SetEnumValue(record, f, 0); break;
      default: ADD_FAILURE() << "unexpected field kind " << f->full_name();
    }
  }
}

TEST(CalibrationDataTest, DefaultRecordEncodesToNothing) {
  EXPECT_ENCODES(CalibrationData(), {});
  EXPECT_ENCODES(CalibrationData::default_instance(), {});
}

TEST(CalibrationDataTest, RecordWithEveryFieldZeroAndEmptyListsEncodesToNothing) {
  CalibrationData calibration;
  SetEveryFieldToZero(&calibration);
  EXPECT_ENCODES(calibration, {});
}

TEST(CalibrationDataTest, NestedRecordsWithEveryFieldZeroEncodeToNothing) {
  std::vector<Message*> records = {
      new CalibrationData_AdcCalibrationData, new CalibrationData_DacCalibrationData,
      new CalibrationData_FreqPull, new CalibrationData_FreqCalibrationData,
      new CalibrationData_DigitalInputCalibrationData,
      new CalibrationData_DigitalOutputCalibrationData,
      new CalibrationData_PwmCalibrationData, new CalibrationData_CanbusCalibrationData,
      new CalibrationData_QeiCalibrationData};
  for (Message* record : records) {
    SetEveryFieldToZero(record);
    EXPECT_EQ(Hex(Encode(*record)), "") << record->GetTypeName();
    delete record;
  }
}

TEST(CalibrationDataTest, NegativeSignalNumberTakesOneZigzagByte) {
  CalibrationData calibration;
  calibration.set_batteryvoltageadcchannel(-1);
  EXPECT_ENCODES(calibration, {0xA0, 0x06, 0x01});
}

TEST(CalibrationDataTest, EraseButtonInputEncodesZigzag) {
  CalibrationData calibration;
  calibration.set_erasebuttoninput(3);
  EXPECT_ENCODES(calibration, {0xB0, 0x09, 0x06});
}

TEST(CalibrationDataTest, DcuDeviceTypeIsWrittenAndGcuIsNot) {
  CalibrationData calibration;
  calibration.set_devicetype(CalibrationData::dtDcu);
  EXPECT_ENCODES(calibration, {0xD0, 0x0C, 0x02});
  calibration.set_devicetype(CalibrationData::dtGcu);
  EXPECT_ENCODES(calibration, {});
}

TEST(CalibrationDataTest, SerialNumberEncodes) {
  CalibrationData calibration;
  calibration.set_serialno("A1");
  EXPECT_ENCODES(calibration, {0xCA, 0x0C, 0x02, 0x41, 0x31});
}

TEST(CalibrationDataTest, SignalsAreWrittenInNumberOrderNotDeclarationOrder) {
  CalibrationData calibration;
  calibration.set_internal5venabledigitalout(1);
  calibration.set_pwmoutputenabledigitalout(1);
  EXPECT_ENCODES(calibration, {0xC8, 0x06, 0x02, 0xA0, 0x0B, 0x02});
}

TEST(CalibrationDataTest, CountIsKeptBesideAShorterList) {
  CalibrationData calibration;
  calibration.set_adccalibrationcount(2);
  calibration.add_adccalibration();
  const std::string bytes = Encode(calibration);
  EXPECT_EQ(Hex(bytes), Hex(Bytes({0x08, 0x02, 0x12, 0x00})));

  CalibrationData back;
  ASSERT_TRUE(Parse(&back, bytes));
  EXPECT_EQ(back.adccalibrationcount(), 2u);
  EXPECT_EQ(back.adccalibration_size(), 1);
}

TEST(CalibrationDataTest, CountsAndListsAreIndependentBothWays) {
  CalibrationData calibration;
  calibration.set_pwmcalibrationcount(5);       // no list
  calibration.add_qeicalibrationdata();         // list of 3, count 0
  calibration.add_qeicalibrationdata();
  calibration.add_qeicalibrationdata();
  EXPECT_TRUE(calibration.IsInitialized());
  const std::string bytes = Encode(calibration);
  EXPECT_EQ(Hex(bytes), Hex(Bytes({0x58, 0x05, 0x82, 0x01, 0x00, 0x82, 0x01, 0x00, 0x82, 0x01, 0x00})));

  CalibrationData back;
  ASSERT_TRUE(Parse(&back, bytes));
  EXPECT_EQ(back.pwmcalibrationcount(), 5u);
  EXPECT_EQ(back.pwmcalibration_size(), 0);
  EXPECT_EQ(back.qeicalibrationcount(), 0u);
  EXPECT_EQ(back.qeicalibrationdata_size(), 3);
  EXPECT_EQ(Hex(Encode(back)), Hex(bytes));
}

TEST(CalibrationDataTest, EachListElementIsItsOwnEntryAndZeroElementIsEmptyEntry) {
  CalibrationData calibration;
  calibration.add_adccalibration()->set_logicalid(1);
  calibration.add_adccalibration();
  EXPECT_ENCODES(calibration, {0x12, 0x02, 0x08, 0x01, 0x12, 0x00});
}

TEST(CalibrationDataTest, FrequencyListIsWrittenBetweenItsNeighbourNumbers) {
  CalibrationData_FreqCalibrationData freq;
  freq.set_pulluppulldownswitch(1);
  freq.add_pullups()->set_value(5);
  EXPECT_ENCODES(freq, {0x32, 0x02, 0x08, 0x05, 0x48, 0x01});
}

TEST(CalibrationDataTest, FrequencyRecordWritesEveryFieldInNumberOrder) {
  CalibrationData_FreqCalibrationData freq;
  freq.set_diagnosticsadc(11);
  freq.add_pulldowns()->set_outputid(10);
  freq.set_pulluppulldownswitch(9);
  freq.set_pullup5v(8);
  freq.set_pullupvoltagedac(7);
  freq.add_pullups()->set_value(6);
  freq.set_offset5v(5);
  freq.set_offsetdac(4);
  freq.set_pullupscount(3);
  freq.set_hardwarechannel(2);
  freq.set_logicalid(1);
  EXPECT_ENCODES(freq, {0x08, 0x01, 0x10, 0x02, 0x18, 0x03, 0x20, 0x04, 0x28, 0x05,
                        0x32, 0x02, 0x08, 0x06,  // pullUps
                        0x38, 0x07, 0x40, 0x08, 0x48, 0x09,
                        0x52, 0x02, 0x10, 0x0A,  // pullDowns
                        0x58, 0x0B});
}

TEST(CalibrationDataTest, PwmRecordWritesTenToFourteenInOrderThenDriverType) {
  CalibrationData_PwmCalibrationData pwm;
  pwm.set_drivertype(CalibrationData_PwmCalibrationData::dtBTG7003);
  pwm.set_diagnosticpu(12);
  pwm.set_diagnosticadc(11);
  pwm.set_denout(14);
  pwm.set_idlein(13);
  pwm.set_inhibitout(10);
  pwm.set_inverted(true);
  EXPECT_ENCODES(pwm, {0x18, 0x01, 0x50, 0x0A, 0x58, 0x0B, 0x60, 0x0C, 0x68, 0x0D, 0x70, 0x0E,
                       0xA0, 0x01, 0x01});
}

TEST(CalibrationDataTest, DigitalOutputDriverFieldsHaveTwoByteTags) {
  CalibrationData_DigitalOutputCalibrationData out;
  out.set_driverenable(3);
  out.set_drivertype(CalibrationData_DigitalOutputCalibrationData::dtTLE94106);
  out.set_pulldownenable(true);
  out.set_pin(7);
  EXPECT_ENCODES(out, {0x18, 0x07, 0x30, 0x01, 0xA0, 0x01, 0x01, 0xA8, 0x01, 0x03});
}

TEST(CalibrationDataTest, AnyNonZeroVarintReadsAsTrue) {
  CalibrationData_DigitalInputCalibrationData in;
  ASSERT_TRUE(Parse(&in, Bytes({0x20, 0x02, 0x28, 0x80, 0x01})));
  EXPECT_TRUE(in.invert());
  EXPECT_TRUE(in.pullupenable());
  EXPECT_FALSE(in.pulldownenable());
  EXPECT_ENCODES(in, {0x20, 0x01, 0x28, 0x01});
}

TEST(CalibrationDataTest, MismatchedWireTypeGoesToUnknownFields) {
  CalibrationData calibration;
  // Field 10 is a list of records; here it arrives as a varint.
  ASSERT_TRUE(Parse(&calibration, Bytes({0x50, 0x00})));
  EXPECT_EQ(calibration.digitaloutputcalibration_size(), 0);
  const UnknownFieldSet& unknown = calibration.GetReflection()->GetUnknownFields(calibration);
  ASSERT_EQ(unknown.field_count(), 1);
  EXPECT_EQ(unknown.field(0).number(), 10);
  EXPECT_EQ(unknown.field(0).type(), google::protobuf::UnknownField::TYPE_VARINT);
  EXPECT_EQ(unknown.field(0).varint(), 0u);
}

TEST(CalibrationDataTest, InvalidUtf8SerialNumberFailsTheParse) {
  CalibrationData calibration;
  EXPECT_FALSE(Parse(&calibration, Bytes({0xCA, 0x0C, 0x01, 0xFF})));
}

TEST(CalibrationDataTest, FailedParseKeepsWhatWasMergedBeforeTheBadSerialNumber) {
  CalibrationData calibration;
  calibration.set_ledadigitalout(4);
  EXPECT_FALSE(MergeBytes(&calibration, Bytes({0x08, 0x03, 0xCA, 0x0C, 0x01, 0xFF})));
  EXPECT_EQ(calibration.ledadigitalout(), 4);
  EXPECT_EQ(calibration.adccalibrationcount(), 3u);
  EXPECT_EQ(Hex(calibration.serialno()), "FF");
}

TEST(CalibrationDataTest, InvalidUtf8SerialNumberIsLoggedAndWrittenAnyway) {
  CalibrationData calibration;
  calibration.set_serialno(Bytes({0xFF}));
  std::string bytes;
  std::string logged;
  {
    LogCapture log;
    bytes = Encode(calibration);
    logged = log.Text();
  }
  EXPECT_EQ(Hex(bytes), "CA 0C 01 FF");
  EXPECT_NE(logged.find("CalibrationData.serialNo"), std::string::npos) << logged;
}

TEST(CalibrationDataTest, OutOfRangeDeviceTypeIsKeptAndWrittenBack) {
  CalibrationData calibration;
  ASSERT_TRUE(Parse(&calibration, Bytes({0xD0, 0x0C, 0x07})));
  EXPECT_EQ(static_cast<int>(calibration.devicetype()), 7);
  EXPECT_FALSE(CalibrationData_DeviceType_IsValid(calibration.devicetype()));
  EXPECT_ENCODES(calibration, {0xD0, 0x0C, 0x07});
}

TEST(CalibrationDataTest, OutOfRangeDriverTypesAreKeptAndWrittenBack) {
  CalibrationData_PwmCalibrationData pwm;
  ASSERT_TRUE(Parse(&pwm, Bytes({0xA0, 0x01, 0x05})));
  EXPECT_EQ(static_cast<int>(pwm.drivertype()), 5);
  EXPECT_ENCODES(pwm, {0xA0, 0x01, 0x05});

  CalibrationData_DigitalOutputCalibrationData out;
  ASSERT_TRUE(Parse(&out, Bytes({0xA0, 0x01, 0x02})));
  EXPECT_EQ(static_cast<int>(out.drivertype()), 2);
  EXPECT_ENCODES(out, {0xA0, 0x01, 0x02});
}

TEST(CalibrationDataTest, SignalNumbersEncodeZigzag) {
  struct Case {
    int value;
    std::vector<int> bytes;  // value bytes after the tag A0 06
  };
  const Case cases[] = {{-1, {0x01}}, {1, {0x02}},  {-2, {0x03}},
                        {63, {0x7E}}, {-64, {0x7F}}, {64, {0x80, 0x01}}};
  for (const Case& c : cases) {
    CalibrationData calibration;
    calibration.set_batteryvoltageadcchannel(c.value);
    std::string expected = Bytes({0xA0, 0x06});
    for (int b : c.bytes) expected.push_back(static_cast<char>(b));
    const std::string bytes = Encode(calibration);
    EXPECT_EQ(Hex(bytes), Hex(expected)) << c.value;
    CalibrationData back;
    ASSERT_TRUE(Parse(&back, bytes));
    EXPECT_EQ(back.batteryvoltageadcchannel(), c.value);
  }
  CalibrationData zero;
  zero.set_batteryvoltageadcchannel(0);
  EXPECT_ENCODES(zero, {});
}

// Each board signal set to 1 alone is written as its tag and the zigzag
// value 02 (the service signals are all sint32).
TEST(CalibrationDataTest, BoardSignalTagsAsWritten) {
  struct Signal {
    const char* name;
    int tag0, tag1;
  };
  const Signal signals[] = {
      {"batteryVoltageAdcChannel", 0xA0, 0x06},
      {"gcu5VAdcChannel", 0xA8, 0x06},
      {"gcu5VstatusDigitalIn", 0xB0, 0x06},
      {"gcu12VAdcChannel", 0xB8, 0x06},
      {"gcu12VstatusIn", 0xC0, 0x06},
      {"pwmOutputEnableDigitalOut", 0xC8, 0x06},
      {"pullupEnableDigitalOut", 0xD0, 0x06},
      {"sensorsEnableDigitalOut", 0xD8, 0x06},
      {"gcu12VdacAdjust", 0xE0, 0x06},
      {"usbDetectDigitalIn", 0xF0, 0x06},
      {"powerDetectDigitalIn", 0xF8, 0x06},
      {"bluetoothWakeStateDigitalIn", 0xC0, 0x07},
      {"bluetoothWakeHwDigitaoOut", 0xC8, 0x07},
      {"bluetoothWakeSwDigitaoOut", 0xD0, 0x07},
      {"bluetoothMdlpEvDigitalOut", 0xD8, 0x07},
      {"bluetoothCmdMdlpSwitchDigitalOut", 0xE0, 0x07},
      {"ledADigitalOut", 0x90, 0x08},
      {"ledBDigitalOut", 0x98, 0x08},
      {"ledCDigitalOut", 0xA0, 0x08},
      {"ledDDigitalOut", 0xA8, 0x08},
      {"overcurrentResetOut", 0xE0, 0x08},
      {"overcurrentAlertIn", 0xE8, 0x08},
      {"overcurrentSenseAdc", 0xF0, 0x08},
      {"eraseButtonInput", 0xB0, 0x09},
      {"internal5VenableDigitalOut", 0xA0, 0x0B},
      {"internal5VpgoodDigitalIn", 0xA8, 0x0B},
      {"internal3V3enableDigitalOut", 0xB0, 0x0B},
      {"internal3V3pgoodDigitalIn", 0xB8, 0x0B},
      {"hardwareVersion", 0xC0, 0x0C},
  };
  for (const Signal& s : signals) {
    CalibrationData calibration;
    const FieldDescriptor* f = CalibrationData::descriptor()->FindFieldByName(s.name);
    ASSERT_NE(f, nullptr) << s.name;
    EXPECT_EQ(f->type(), FieldDescriptor::TYPE_SINT32) << s.name;
    calibration.GetReflection()->SetInt32(&calibration, f, 1);
    EXPECT_EQ(Hex(Encode(calibration)), Hex(Bytes({s.tag0, s.tag1, 0x02}))) << s.name;
  }
}

TEST(CalibrationDataTest, LastListHasTwoByteTag) {
  CalibrationData calibration;
  calibration.add_qeicalibrationdata()->set_offset5v(1);
  EXPECT_ENCODES(calibration, {0x82, 0x01, 0x02, 0x28, 0x01});
}

TEST(CalibrationDataTest, RootWritesEveryFieldInAscendingNumber) {
  CalibrationData calibration;
  calibration.set_devicetype(CalibrationData::dtIoc);
  calibration.set_serialno("x");
  calibration.set_hardwareversion(2);
  calibration.set_internal3v3pgooddigitalin(-1);
  calibration.set_internal5venabledigitalout(-1);
  calibration.set_erasebuttoninput(-1);
  calibration.set_gcu12vdacadjust(-1);
  calibration.set_sensorsenabledigitalout(-1);
  calibration.set_gcu12vstatusin(-1);
  calibration.set_batteryvoltageadcchannel(-1);
  calibration.add_qeicalibrationdata();
  calibration.set_adccalibrationcount(1);
  EXPECT_ENCODES(calibration, {0x08, 0x01,                    // 1
                               0x82, 0x01, 0x00,              // 16
                               0xA0, 0x06, 0x01,              // 100
                               0xC0, 0x06, 0x01,              // 104
                               0xD8, 0x06, 0x01,              // 107
                               0xE0, 0x06, 0x01,              // 108
                               0xB0, 0x09, 0x01,              // 150
                               0xA0, 0x0B, 0x01,              // 180
                               0xB8, 0x0B, 0x01,              // 183
                               0xC0, 0x0C, 0x04,              // 200
                               0xCA, 0x0C, 0x01, 0x78,        // 201
                               0xD0, 0x0C, 0x01});            // 202
}

TEST(CalibrationDataTest, UnknownFieldsFromANewerSchemaAreKept) {
  CalibrationData calibration;
  // Field 109 (varint 5) and field 203 (varint 1), neither declared here.
  ASSERT_TRUE(Parse(&calibration, Bytes({0xE8, 0x06, 0x05, 0xD8, 0x0C, 0x01})));
  const UnknownFieldSet& unknown = calibration.GetReflection()->GetUnknownFields(calibration);
  ASSERT_EQ(unknown.field_count(), 2);
  EXPECT_EQ(unknown.field(0).number(), 109);
  EXPECT_EQ(unknown.field(0).varint(), 5u);
  EXPECT_EQ(unknown.field(1).number(), 203);
  EXPECT_EQ(unknown.field(1).varint(), 1u);
}

// Runtime 3.21 has no switch for proto3 unknown fields: it always writes
// them back, after every known field.
TEST(CalibrationDataTest, PinsRuntime321WritingUnknownFieldsBackAfterKnownFields) {
  CalibrationData calibration;
  ASSERT_TRUE(Parse(&calibration,
                    Bytes({0xE8, 0x06, 0x05, 0xD8, 0x0C, 0x01, 0xD0, 0x0C, 0x02, 0x08, 0x01})));
  EXPECT_ENCODES(calibration, {0x08, 0x01, 0xD0, 0x0C, 0x02, 0xE8, 0x06, 0x05, 0xD8, 0x0C, 0x01});
}

TEST(CalibrationDataTest, DescriptorKeepsDeclarationOrderWithTheScatteredBlock) {
  const Descriptor* d = CalibrationData::descriptor();
  EXPECT_EQ(d->file()->name(), "CalibrationData.proto");
  EXPECT_EQ(d->file()->package(), "");
  const int numbers[] = {1,   2,   3,   4,   5,   6,   7,   8,   9,   10,  11,  12,
                         13,  14,  15,  16,  100, 101, 102, 103, 104, 108, 180, 181,
                         182, 183, 105, 106, 107, 110, 111, 120, 121, 122, 123, 124,
                         130, 131, 132, 133, 140, 141, 142, 150, 200, 201, 202};
  ASSERT_EQ(d->field_count(), 47);
  for (int i = 0; i < 47; ++i) EXPECT_EQ(d->field(i)->number(), numbers[i]) << "index " << i;
  EXPECT_EQ(d->field(0)->name(), "adcCalibrationCount");
  EXPECT_EQ(d->field(22)->name(), "internal5VenableDigitalOut");
  EXPECT_EQ(d->field(26)->name(), "pwmOutputEnableDigitalOut");
  EXPECT_EQ(d->FindFieldByNumber(104)->name(), "gcu12VstatusIn");
  EXPECT_EQ(d->FindFieldByNumber(121)->name(), "bluetoothWakeHwDigitaoOut");
  EXPECT_EQ(d->FindFieldByNumber(122)->name(), "bluetoothWakeSwDigitaoOut");
  EXPECT_EQ(d->FindFieldByNumber(14)->name(), "canbusCalibrationData");
  EXPECT_EQ(d->FindFieldByNumber(16)->name(), "qeiCalibrationData");
  EXPECT_EQ(d->FindFieldByNumber(5)->name(), "freqInputsCalibrationCount");
  EXPECT_EQ(d->FindFieldByNumber(6)->name(), "freqInputsCalibration");
  EXPECT_EQ(d->FindFieldByNumber(202)->enum_type(), CalibrationData_DeviceType_descriptor());
}

TEST(CalibrationDataTest, NestedRecordsAreDeclaredInCalibrationOrder) {
  const Descriptor* d = CalibrationData::descriptor();
  const char* const nested[] = {"AdcCalibrationData",          "DacCalibrationData",
                                "FreqPull",                    "FreqCalibrationData",
                                "DigitalInputCalibrationData", "DigitalOutputCalibrationData",
                                "PwmCalibrationData",          "CanbusCalibrationData",
                                "QeiCalibrationData"};
  ASSERT_EQ(d->nested_type_count(), 9);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(d->nested_type(i)->name(), nested[i]);
  EXPECT_EQ(d->file()->message_type_count(), 1);
  EXPECT_EQ(d->nested_type(0)->full_name(), "CalibrationData.AdcCalibrationData");
}

TEST(CalibrationDataTest, NestedRecordFieldsKeepDeclarationOrder) {
  struct Layout {
    const Descriptor* record;
    std::vector<int> numbers;
  };
  const Layout layouts[] = {
      {CalibrationData_AdcCalibrationData::descriptor(), {1, 2, 3, 4, 5, 6, 7}},
      {CalibrationData_DacCalibrationData::descriptor(), {1, 2, 3, 4, 5}},
      {CalibrationData_FreqPull::descriptor(), {1, 2}},
      {CalibrationData_FreqCalibrationData::descriptor(), {1, 2, 3, 4, 5, 7, 8, 9, 11, 6, 10}},
      {CalibrationData_DigitalInputCalibrationData::descriptor(), {1, 2, 3, 4, 5, 6}},
      {CalibrationData_DigitalOutputCalibrationData::descriptor(), {1, 2, 3, 4, 5, 6, 20, 21}},
      {CalibrationData_PwmCalibrationData::descriptor(),
       {1, 2, 3, 4, 5, 6, 7, 10, 13, 14, 11, 12, 20}},
      {CalibrationData_CanbusCalibrationData::descriptor(), {1, 2, 3, 4, 5}},
      {CalibrationData_QeiCalibrationData::descriptor(), {1, 2, 4, 5, 11, 12, 13, 14}},
  };
  for (const Layout& l : layouts) {
    ASSERT_EQ(l.record->field_count(), static_cast<int>(l.numbers.size())) << l.record->name();
    for (int i = 0; i < l.record->field_count(); ++i)
      EXPECT_EQ(l.record->field(i)->number(), l.numbers[i]) << l.record->name() << " index " << i;
  }
}

TEST(CalibrationDataTest, FullRecordRoundTripsByteForByte) {
  CalibrationData calibration;
  calibration.set_adccalibrationcount(1);
  auto* adc = calibration.add_adccalibration();
  adc->set_logicalid(1);
  adc->set_hardwarechannel(2);
  adc->set_level12v(3000);
  adc->set_level5v(1250);
  adc->set_levelgcu5v(1240);
  adc->set_pullup(1);
  adc->set_specialfunctionid(9);
  calibration.set_daccalibrationcount(1);
  calibration.add_daccalibration()->set_level5v(17);
  calibration.set_freqinputscalibrationcount(1);
  auto* freq = calibration.add_freqinputscalibration();
  freq->set_pullupscount(2);
  freq->add_pullups()->set_value(1);
  freq->add_pullups()->set_outputid(4);
  freq->add_pulldowns()->set_value(3);
  calibration.add_digitalinputcalibration()->set_invert(true);
  calibration.add_digitaloutputcalibration()->set_drivertype(
      CalibrationData_DigitalOutputCalibrationData::dtTLE94106);
  calibration.add_pwmcalibration()->set_adc5avalue(512);
  calibration.add_canbuscalibrationdata()->set_terminationenable(1);
  calibration.add_qeicalibrationdata()->set_diagnosticspullupb(6);
  calibration.set_gcu5vstatusdigitalin(-7);
  calibration.set_ledddigitalout(33);
  calibration.set_hardwareversion(3);
  calibration.set_serialno("GCU-0001");
  calibration.set_devicetype(CalibrationData::dtIoc);

  const std::string bytes = Encode(calibration);
  CalibrationData back;
  ASSERT_TRUE(Parse(&back, bytes));
  EXPECT_EQ(back.adccalibration(0).level12v(), 3000u);
  EXPECT_EQ(back.freqinputscalibration(0).pullups_size(), 2);
  EXPECT_EQ(back.freqinputscalibration(0).pullups(1).outputid(), 4u);
  EXPECT_EQ(back.gcu5vstatusdigitalin(), -7);
  EXPECT_EQ(back.serialno(), "GCU-0001");
  EXPECT_EQ(back.devicetype(), CalibrationData::dtIoc);
  EXPECT_EQ(Hex(Encode(back)), Hex(bytes));
}

}  // namespace
}  // namespace gcuschema::test
