// The operations every record offers, shown on Input, Estimations and ConfigData.
#include <cmath>
#include <limits>
#include <memory>

#include <google/protobuf/stubs/common.h>
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>

#include "support/runtime_log.h"
#include "support/wire.h"

namespace gcuschema::test {
namespace {

TEST(RecordContractTest, MergingNegativeZeroLeavesTheTargetsFloat) {
  Input target;
  target.set_minvalue(5.0f);
  Input source;
  source.set_minvalue(-0.0f);
  target.MergeFrom(source);
  EXPECT_EQ(target.minvalue(), 5.0f);
}

TEST(RecordContractTest, MergingNanCopiesIt) {
  Input target;
  target.set_minvalue(5.0f);
  Input source;
  source.set_minvalue(std::numeric_limits<float>::quiet_NaN());
  target.MergeFrom(source);
  EXPECT_TRUE(std::isnan(target.minvalue()));
}

TEST(RecordContractTest, MergingAnEmptyAliasKeepsTheTargets) {
  Input target;
  target.set_alias("oil");
  Input source;
  source.set_id(4);
  target.MergeFrom(source);
  EXPECT_EQ(target.alias(), "oil");
  EXPECT_EQ(target.id(), 4);
}

TEST(RecordContractTest, MergingTheDefaultInstanceChangesNothing) {
  Input target;
  target.set_id(7);
  target.set_alias("x");
  const std::string before = Encode(target);
  target.MergeFrom(Input::default_instance());
  EXPECT_FALSE(target.has_linearization());
  EXPECT_EQ(Hex(Encode(target)), Hex(before));

  Input empty;
  empty.MergeFrom(Input::default_instance());
  EXPECT_FALSE(empty.has_linearization());
  EXPECT_EQ(Encode(empty).size(), 0u);
}

TEST(RecordContractTest, DefaultInstanceReportsNoLinearizationThoughItPointsAtOne) {
  EXPECT_FALSE(Input::default_instance().has_linearization());
  EXPECT_EQ(&Input::default_instance().linearization(), &Map::default_instance());
}

TEST(RecordContractTest, CopyFromItselfAndSwapWithItselfChangeNothing) {
  Input input;
  input.set_id(3);
  input.set_alias("pressure");
  input.mutable_linearization()->set_id(9);
  const std::string before = Encode(input);
  input.CopyFrom(input);
  EXPECT_EQ(Hex(Encode(input)), Hex(before));
  input.Swap(&input);
  EXPECT_EQ(Hex(Encode(input)), Hex(before));
}

TEST(RecordContractTest, ClearDeletesLinearizationEmptiesStringsAndUnknownFields) {
  Input input;
  ASSERT_TRUE(Parse(&input, Bytes({0x2A, 0x01, 0x41, 0x3A, 0x02, 0x08, 0x01, 0xF8, 0x01, 0x05})));
  ASSERT_TRUE(input.has_linearization());
  ASSERT_EQ(input.alias(), "A");
  ASSERT_EQ(input.GetReflection()->GetUnknownFields(input).field_count(), 1);
  input.Clear();
  EXPECT_FALSE(input.has_linearization());
  EXPECT_TRUE(input.alias().empty());
  EXPECT_TRUE(input.GetReflection()->GetUnknownFields(input).empty());
  EXPECT_EQ(Encode(input).size(), 0u);
}

TEST(RecordContractTest, MergingRepeatedDoublesAppendsAfterTheTargets) {
  Estimations target;
  target.add_thetavalues(3);
  Estimations source;
  source.add_thetavalues(1);
  source.add_thetavalues(2);
  target.MergeFrom(source);
  ASSERT_EQ(target.thetavalues_size(), 3);
  EXPECT_EQ(target.thetavalues(0), 3);
  EXPECT_EQ(target.thetavalues(1), 1);
  EXPECT_EQ(target.thetavalues(2), 2);
}

TEST(RecordContractTest, IsInitializedIsTrueInEveryState) {
  ConfigData document;
  EXPECT_TRUE(document.IsInitialized());
  document.add_inputs()->mutable_linearization();
  document.mutable_units();
  EXPECT_TRUE(document.IsInitialized());
  document.Clear();
  EXPECT_TRUE(document.IsInitialized());
  EXPECT_TRUE(ConfigData::default_instance().IsInitialized());
}

TEST(RecordContractTest, CopyConstructorDeepCopiesSubRecords) {
  Input original;
  original.mutable_linearization()->set_alias("curve");
  Input copy(original);
  ASSERT_TRUE(copy.has_linearization());
  EXPECT_NE(&copy.linearization(), &original.linearization());
  EXPECT_EQ(copy.linearization().alias(), "curve");
}

TEST(RecordContractTest, ReleaseHandsOverTheSubRecordAndLeavesItAbsent) {
  Input input;
  input.mutable_linearization()->set_id(2);
  std::unique_ptr<Map> released(input.release_linearization());
  ASSERT_NE(released, nullptr);
  EXPECT_EQ(released->id(), 2u);
  EXPECT_FALSE(input.has_linearization());
  input.set_allocated_linearization(released.release());
  EXPECT_TRUE(input.has_linearization());
  input.clear_linearization();
  EXPECT_FALSE(input.has_linearization());
}

TEST(RecordContractTest, MergeThroughMessageInterfaceOfAnotherTypeIsRefused) {
  // Merging records of different types through the base interface is a
  // programming error: runtime 3.21 fails its check of the two descriptors,
  // logs it as fatal and throws (built with exceptions, as Debian's is),
  // before anything is merged.
  Input target;
  target.set_id(7);
  Output source;
  source.set_pin(4);
  const google::protobuf::Message& as_message = source;
  LogCapture log;
  try {
    target.MergeFrom(as_message);
    ADD_FAILURE() << "an Output was merged into an Input";
  } catch (const google::protobuf::FatalException& e) {
    EXPECT_NE(e.message().find("Tried to merge messages of different types (merge Output to Input)"),
              std::string::npos)
        << e.message();
  }
  EXPECT_TRUE(log.Mentions("Tried to merge messages of different types (merge Output to Input)")) << log.Text();
  EXPECT_EQ(target.pin(), 0u);
  EXPECT_EQ(target.id(), 7);
  // The same merge through the interface with a record of the same type works.
  Input same;
  same.set_pin(4);
  target.MergeFrom(static_cast<const google::protobuf::Message&>(same));
  EXPECT_EQ(target.pin(), 4u);
}

// Uncaught, the refusal ends the process with the runtime's message.
TEST(RecordContractDeathTest, MergeOfAnotherTypeLeftUncaughtIsFatal) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto merge = []() noexcept {
    Input target;
    Output source;
    target.MergeFrom(static_cast<const google::protobuf::Message&>(source));
  };
  EXPECT_DEATH(merge(), "Tried to merge messages of different types \\(merge Output to Input\\)");
}

}  // namespace
}  // namespace gcuschema::test
