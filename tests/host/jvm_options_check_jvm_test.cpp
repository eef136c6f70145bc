#include "jvm_options_check.h"

#include <filesystem>

#include "jvm_test_support.h"
#include "temp_root.h"

namespace host {
namespace {

class JvmOptionsCheckTest : public InEveryJvm {
 protected:
  static std::vector<std::string> unknown(std::vector<std::string> options) {
    return unknownJvmOptions(GetParam().library, std::move(options));
  }
};

INSTANTIATE_TEST_SUITE_P(All, JvmOptionsCheckTest, testing::ValuesIn(jvmsToTest()), jvmName);

TEST_P(JvmOptionsCheckTest, SaysNothingOfOptionsThatTheVirtualMachineKnows) {
  EXPECT_EQ(unknown({"-Xrs", "-XX:-MaxFDLimit", "-Xms16m", "-Xmx64m", "-XX:+UseSerialGC",
                     "-XX:-UsePerfData", "-Dany=thing", "-XX:ErrorFile=x_%p.log"}),
            std::vector<std::string>());
}

TEST_P(JvmOptionsCheckTest, NamesEachOptionThatItDoesNotKnowWithItsAdvice) {
  const auto options = unknown({"-Xrs", "-XX:-MaxFdLimit", "-Xmz64m", "-Xmx64m", "--add-openz=x"});

  ASSERT_EQ(options.size(), 3U);
  EXPECT_EQ(options[0], "-XX:-MaxFdLimit (Did you mean '(+/-)MaxFDLimit'?)");
  EXPECT_EQ(options[1], "-Xmz64m");
  EXPECT_EQ(options[2], "--add-openz=x");
}

TEST_P(JvmOptionsCheckTest, NamesABoundedNumber) {
  std::vector<std::string> options;
  for (int i = 0; i < 30; ++i) {
    options.push_back("-Xnone" + std::to_string(i));
  }

  EXPECT_EQ(unknown(options).size(), 10U);
}

TEST_P(JvmOptionsCheckTest, HasNoEffectOfTheOptions) {
  TempRoot files;
  const std::string log = (files.root() / "gc.log").string();

  EXPECT_EQ(unknown({"-Xlog:gc:file=" + log, "-agentpath:/nonexistent.so", "-XX:+PrintFlagsFinal"}),
            std::vector<std::string>());

  EXPECT_FALSE(std::filesystem::exists(log));
}

TEST(JvmOptionsCheckWithoutJvmTest, ALibraryThatIsNoVirtualMachineSaysNothing) {
  EXPECT_EQ(unknownJvmOptions("/nonexistent", {"-Xnone"}), std::vector<std::string>());
  EXPECT_EQ(unknownJvmOptions(ZELJRE, {"-Xnone"}), std::vector<std::string>());
}

}  // namespace
}  // namespace host
