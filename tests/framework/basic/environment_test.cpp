#include "basic/environment.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace fw {
namespace {

class EnvironmentTest : public testing::Test {
 protected:
  void TearDown() override { unsetenv("ZEL_TEST_ENV"); }

  Environment environment;
};

TEST_F(EnvironmentTest, TheProcessOutranksTheConfigurationAndThatOutranksTheHost) {
  EXPECT_EQ(environment.find("ZEL_TEST_ENV"), nullptr);

  environment.setDefault("ZEL_TEST_ENV", "host");
  EXPECT_STREQ(environment.find("ZEL_TEST_ENV"), "host");

  environment.setConfigured({{"ZEL_TEST_ENV", "configuration"}});
  EXPECT_STREQ(environment.find("ZEL_TEST_ENV"), "configuration");

  setenv("ZEL_TEST_ENV", "process", 1);
  EXPECT_STREQ(environment.find("ZEL_TEST_ENV"), "process");
}

TEST_F(EnvironmentTest, AnEmptyValueIsAValue) {
  environment.setDefault("ZEL_TEST_ENV", "host");
  setenv("ZEL_TEST_ENV", "", 1);

  EXPECT_STREQ(environment.find("ZEL_TEST_ENV"), "");
}

TEST_F(EnvironmentTest, ATextStaysWhenTheConfigurationChanges) {
  environment.setConfigured({{"ZEL_TEST_ENV", "old"}});
  const char* old = environment.find("ZEL_TEST_ENV");

  environment.setConfigured({{"ZEL_TEST_ENV", "new"}});

  EXPECT_STREQ(old, "old");
  EXPECT_STREQ(environment.find("ZEL_TEST_ENV"), "new");
}

}  // namespace
}  // namespace fw
