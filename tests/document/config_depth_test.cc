// Settings that hold settings again: every reader stops at one depth of
// `config` and says so, instead of recursing until the stack runs out.
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/document/diff.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/inspect.h>
#include <gcuschema/document/lint.h>
#include <gcuschema/document/report.h>

#include "support/nesting.h"

namespace gcuschema::document {
namespace {

using test::Nesting;
using test::NestedConfig;
using test::NestingName;

constexpr int kDeepest = 16;
constexpr char kDepthMessage[] = "nested deeper than 16 levels";

PairingCatalogue PairedFor(const Nesting& nesting) {
  PairingCatalogue pairing = PairingCatalogue::Standard();
  pairing.Apply(nesting.pairing);
  return pairing;
}

ConfigData Nested(const Nesting& nesting, int levels) {
  ConfigData config;
  EXPECT_TRUE(config.ParseFromString(NestedConfig(nesting, levels)));
  return config;
}

// The message of the Error `run` throws, or "" when it throws none.
std::string ErrorOf(const std::function<void()>& run) {
  try {
    run();
  } catch (const Error& e) {
    EXPECT_FALSE(e.where().empty()) << e.what();
    return e.message();
  }
  return "";
}

class ConfigDepthTest : public ::testing::TestWithParam<Nesting> {};

TEST_P(ConfigDepthTest, LintReadsSixteenLevelsAndRefusesTheSeventeenth) {
  const PairingCatalogue pairing = PairedFor(GetParam());
  EXPECT_EQ(ErrorOf([&] { Lint(Nested(GetParam(), kDeepest), {pairing}); }), "");
  EXPECT_NE(ErrorOf([&] { Lint(Nested(GetParam(), kDeepest + 1), {pairing}); }).find(kDepthMessage),
            std::string::npos);
}

TEST_P(ConfigDepthTest, TenThousandLevelsAreAnErrorNamingTheDepthInLint) {
  const ConfigData config = Nested(GetParam(), 10000);
  const std::string message = ErrorOf([&] { Lint(config, {PairedFor(GetParam())}); });
  EXPECT_NE(message.find(kDepthMessage), std::string::npos) << message;
}

TEST_P(ConfigDepthTest, TenThousandLevelsAreAnErrorNamingTheDepthInInspect) {
  const ConfigData config = Nested(GetParam(), 10000);
  const std::string message = ErrorOf([&] { Inspect(config, {PairedFor(GetParam())}); });
  EXPECT_NE(message.find(kDepthMessage), std::string::npos) << message;
  EXPECT_EQ(ErrorOf([&] { Inspect(Nested(GetParam(), kDeepest), {PairedFor(GetParam())}); }), "");
}

TEST_P(ConfigDepthTest, TenThousandLevelsAreAnErrorNamingTheDepthInDiff) {
  const PairingCatalogue pairing = PairedFor(GetParam());
  const ConfigData deep = Nested(GetParam(), 10000);
  // Compared level by level down to where the two part...
  const std::string changed = ErrorOf([&] { Diff(deep, Nested(GetParam(), 9998), {pairing}); });
  EXPECT_NE(changed.find(kDepthMessage), std::string::npos) << changed;
  // ...or shown whole where one side has an entry the other lacks.
  const std::string removed = ErrorOf([&] { Diff(deep, ConfigData(), {pairing}); });
  EXPECT_NE(removed.find(kDepthMessage), std::string::npos) << removed;
  EXPECT_EQ(ErrorOf([&] { Diff(Nested(GetParam(), kDeepest), Nested(GetParam(), kDeepest - 2), {pairing}); }), "");
}

TEST_P(ConfigDepthTest, DiffRefusesTooDeepDocumentsThatAreEqual) {
  // Equal bytes are never compared inside: the depth is refused all the
  // same, as every other reader refuses it.
  const PairingCatalogue pairing = PairedFor(GetParam());
  const ConfigData deep = Nested(GetParam(), 10000);
  const std::string message = ErrorOf([&] { Diff(deep, deep, {pairing}); });
  EXPECT_NE(message.find(kDepthMessage), std::string::npos) << message;
  EXPECT_NE(ErrorOf([&] { Diff(Nested(GetParam(), kDeepest + 1), Nested(GetParam(), kDeepest + 1), {pairing}); })
                .find(kDepthMessage),
            std::string::npos);
  EXPECT_TRUE(Diff(Nested(GetParam(), kDeepest), Nested(GetParam(), kDeepest), {pairing}).empty());
}

TEST_P(ConfigDepthTest, TenThousandLevelsAreAnErrorNamingTheDepthInTheReport) {
  const PairingCatalogue pairing = PairedFor(GetParam());
  const std::string message = ErrorOf([&] { Report(Nested(GetParam(), 10000), {pairing}); });
  EXPECT_NE(message.find(kDepthMessage), std::string::npos) << message;
  EXPECT_EQ(ErrorOf([&] { Report(Nested(GetParam(), kDeepest), {pairing}); }), "");
}

TEST_P(ConfigDepthTest, SideBySideShowsSixteenLevelsAndSaysWhereItStops) {
  const PairingCatalogue pairing = PairedFor(GetParam());
  const ConfigData deep = Nested(GetParam(), 10000);
  // Equal documents have no difference to refuse; the page shows what the
  // walk reads of them and says the rest lies too deep.
  std::string page;
  EXPECT_EQ(ErrorOf([&] { page = DiffReport(deep, deep, {}, {pairing}); }), "");
  EXPECT_NE(page.find("nested too deep to read"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(EveryWayToNest, ConfigDepthTest,
                         ::testing::Values(test::kInputHoldsConfig, test::kInputHoldsDevice,
                                           test::kDriverHoldsConfig),
                         [](const ::testing::TestParamInfo<Nesting>& info) { return NestingName(info.param); });

}  // namespace
}  // namespace gcuschema::document
