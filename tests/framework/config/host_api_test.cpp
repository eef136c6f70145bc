#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "agentfw/bss1.h"
#include "agentfw/host.h"
#include "agentfw/ras1.h"
#include "config/active_config.h"
#include "support/temp_dir.h"

RAS1_UNIT("HOSTTEST");

namespace {

using namespace std::chrono_literals;
namespace host = agentfw::host;

const char* const kGood =
    "product: {code: ZJX, name: JVM monitoring}\n"
    "instance: jmx\n"
    "environment: {ZEL_REPLY_TIMEOUT: 120, SECRET: hidden}\n"
    "http: {port: 1234}\n"
    "trace: {file: agent.log}\n";

class HostApiTest : public testing::Test {
 protected:
  void SetUp() override { unsetenv("ZEL_INST"); }

  void writeConfig(const std::string& text) { home.write("config/agent.yaml", text); }

  std::string configure(std::optional<std::uint16_t> port = std::nullopt) {
    return host::configure({home.path().string(), port});
  }

  TempDir home;
};

TEST_F(HostApiTest, ACheckChangesNothing) {
  writeConfig(kGood);
  EXPECT_EQ(host::checkConfig(home.path().string()), "");
  EXPECT_EQ(fw::activeConfig(), nullptr);
  EXPECT_FALSE(std::filesystem::exists(home / "agent.log"));

  writeConfig("colour: red\n");
  EXPECT_NE(host::checkConfig(home.path().string()).find("agent.yaml:1:1: unknown key \"colour\""),
            std::string::npos);
}

TEST_F(HostApiTest, AConfiguredProcessAnswersItsEnvironment) {
  writeConfig(kGood);
  ASSERT_EQ(configure(), "");

  EXPECT_STREQ(BSS1_GetEnv("ZEL_PROD", nullptr), "ZJX");
  EXPECT_STREQ(BSS1_GetEnv("ZEL_INST", nullptr), "jmx");
  EXPECT_EQ(BSS1_GetEnv("ZEL_PROD_HOME", ""), std::filesystem::canonical(home.path()).string());
  EXPECT_STREQ(BSS1_GetEnv("ZEL_REPLY_TIMEOUT", "300"), "120");

  host::setDefaultEnv("ZEL_LIBJVM", "/found");
  host::setDefaultEnv("ZEL_REPLY_TIMEOUT", "1");
  EXPECT_STREQ(BSS1_GetEnv("ZEL_LIBJVM", nullptr), "/found");
  EXPECT_STREQ(BSS1_GetEnv("ZEL_REPLY_TIMEOUT", nullptr), "120");

  setenv("ZEL_INST", "other", 1);
  EXPECT_STREQ(BSS1_GetEnv("ZEL_INST", nullptr), "other");
}

TEST_F(HostApiTest, ThePortOfTheHostOutranksThatOfTheFile) {
  writeConfig(kGood);

  ASSERT_EQ(configure(0), "");

  EXPECT_EQ(fw::activeConfig()->http.port, 0);
}

TEST_F(HostApiTest, WithoutAPortOfTheHostThatOfTheFileCounts) {
  writeConfig(kGood);

  ASSERT_EQ(configure(), "");

  EXPECT_EQ(fw::activeConfig()->http.port, 1234);
}

TEST_F(HostApiTest, TheTraceIsOpenAfterwardsAndHoldsWhatWasTracedBefore) {
  RAS1_FUNCTION();
  writeConfig(kGood);
  RAS1_PRINT("before");

  ASSERT_EQ(configure(), "");
  RAS1_PRINT("after");
  host::flush(10s);

  const std::string log = home.read("agent.log");
  EXPECT_LT(log.find(" before\n"), log.find(" Configured: home=<"));
  EXPECT_LT(log.find(" Configured: home=<"), log.find(" after\n"));
  EXPECT_EQ(log.find("hidden"), std::string::npos);
}

TEST_F(HostApiTest, ConfiguringTwiceIsAnError) {
  writeConfig(kGood);
  ASSERT_EQ(configure(), "");

  EXPECT_NE(configure(), "");
}

TEST_F(HostApiTest, ABadFileConfiguresNothing) {
  writeConfig("colour: red\n");
  EXPECT_NE(configure(), "");
  EXPECT_EQ(fw::activeConfig(), nullptr);
  EXPECT_EQ(BSS1_GetEnv("ZEL_PROD", nullptr), nullptr);

  writeConfig(kGood);
  EXPECT_EQ(configure(), "");
}

TEST_F(HostApiTest, ATraceThatCannotBeOpenedIsAnErrorOfTheFile) {
  writeConfig(std::string(kGood) + "# no directory\n");
  home.write("agent.log/occupied", "");

  const std::string errors = configure();

  EXPECT_NE(errors.find("agent.yaml:5:"), std::string::npos) << errors;
  EXPECT_NE(errors.find("\"trace.file\": the trace can't be opened. "), std::string::npos)
      << errors;
}

TEST_F(HostApiTest, AFlushWithoutAConfigurationGivesTheTraceToStderr) {
  RAS1_FUNCTION();
  RAS1_PRINT("nobody configured this");

  testing::internal::CaptureStderr();
  host::flush(10s);

  EXPECT_NE(testing::internal::GetCapturedStderr().find("nobody configured this\n"),
            std::string::npos);
}

}  // namespace
