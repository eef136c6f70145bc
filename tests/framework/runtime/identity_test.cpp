#include "runtime/identity.h"

#include <gtest/gtest.h>

#include "runtime/process_memory.h"

namespace fw {
namespace {

TEST(IdentityTest, TheNodeNameIsInstanceHostAndProduct) {
  EXPECT_EQ(makeNodeName("jmx", "alpha", "JX"), "jmx:alpha:JX");
}

TEST(IdentityTest, ANodeNameThatIsTooLongLosesTheEndOfTheHost) {
  EXPECT_EQ(makeNodeName("jmx", "host-with-a-very-long-name.example.org", "JX"),
            "jmx:host-with-a-very-long-nam:JX");
  EXPECT_EQ(makeNodeName("jmx", "host-with-a-very-long-na\u00fcx", "JX").size(), 31U)
      << "cut between two characters";
}

TEST(IdentityTest, ANodeNameNeverPassesItsBound) {
  const std::string name = makeNodeName(std::string(40, 'i'), "host", "JX");

  EXPECT_EQ(name, std::string(28, 'i') + "::JX");
  EXPECT_EQ(makeNodeName("", "", std::string(40, 'p')).size(), kMaxNodeName);
}

TEST(IdentityTest, ShowsWhatIsConfigured) {
  AgentConfig config;
  config.product = {"ZJX", "JVM monitoring", "7.1"};
  config.instance = "jmx";
  config.host = "alpha";
  const Identity identity(config);

  EXPECT_EQ(identity.productCode(), "JX");
  EXPECT_EQ(identity.productVersion(), "7.1");
  EXPECT_EQ(identity.nodeName(), "jmx:alpha:JX");
}

TEST(IdentityTest, HasTheMachinesNameAndTheFrameworksVersionWithoutConfiguration) {
  const AgentConfig config;
  const Identity identity(config);

  EXPECT_FALSE(identity.host().empty());
  EXPECT_FALSE(identity.productVersion().empty());
  EXPECT_EQ(identity.productCode(), "");
}

TEST(IdentityTest, KeepsEachAffinityOnce) {
  const AgentConfig config;
  Identity identity(config);

  identity.addAffinity("A");
  identity.addAffinity("");
  identity.addAffinity("B");
  identity.addAffinity("A");

  EXPECT_EQ(identity.affinities(), (std::vector<std::string>{"A", "B"}));
}

TEST(IdentityTest, KeptTextsAreKeptOnce) {
  const std::string text = "some text";

  EXPECT_EQ(keepText(text), keepText("some text"));
  EXPECT_STREQ(keepText(text), "some text");
}

TEST(ProcessMemoryTest, KnowsWhatTheProcessTakes) { EXPECT_GT(residentBytes(), 100'000U); }

}  // namespace
}  // namespace fw
