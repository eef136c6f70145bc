#include <array>

#include "runtime_fixture.h"
#include "tables/status.h"

namespace fw {
namespace {

TEST_F(RuntimeTest, AnswersWhoTheAgentIs) {
  make();

  EXPECT_STREQ(IRA_GetHostname(), "alpha");
  EXPECT_STREQ(IRA_GetProductName(), "JX");
  EXPECT_STREQ(IRA_GetOriginnode(), "jmx:alpha:JX");
}

TEST_F(RuntimeTest, TheHostNameThatTheAgentSetsIsPartOfTheNodeName) {
  make();
  const char* const before = IRA_GetHostname();

  EXPECT_EQ(IRA_SetHostname("beta"), 0);

  EXPECT_STREQ(IRA_GetOriginnode(), "jmx:beta:JX");
  EXPECT_STREQ(before, "alpha") << "texts that were returned stay";
  EXPECT_EQ(IRA_SetHostname(""), kRcBadArgument);
  EXPECT_EQ(IRA_SetHostname(nullptr), kRcBadArgument);
}

TEST_F(RuntimeTest, KnowsTheVersionOfItsOwnProductOnly) {
  make();
  std::array<char, 16> version{};

  EXPECT_EQ(IRA_SetVersionUsingProduct("JX", version.data(), 16), 0);
  EXPECT_STREQ(version.data(), "7.1");
  EXPECT_EQ(IRA_SetVersionUsingProduct("XX", version.data(), 16), kRcUnknownProduct);
  EXPECT_STREQ(version.data(), "");
  EXPECT_EQ(IRA_SetVersionUsingProduct("JX", version.data(), 3), kRcBadArgument);
  EXPECT_EQ(IRA_SetVersionUsingProduct("JX", version.data(), 4), 0);
  EXPECT_EQ(IRA_SetVersionUsingProduct(nullptr, version.data(), 16), kRcUnknownProduct);
  EXPECT_EQ(IRA_SetVersionUsingProduct("JX", nullptr, 16), kRcBadArgument);
}

TEST_F(RuntimeTest, StoresAffinities) {
  make();

  EXPECT_EQ(IRA_SetAffinity("A"), 0);
  EXPECT_EQ(IRA_SetAffinity(""), 0);
  EXPECT_EQ(IRA_SetAffinity(nullptr), kRcBadArgument);

  EXPECT_EQ(runtime->status().affinities, std::vector<std::string>{"A"});
}

TEST_F(RuntimeTest, TakesACurrencyAndACommandCallback) {
  make();

  EXPECT_EQ(IRA_SetCurrency(2, 4), 0);
  EXPECT_EQ(IRA_SetCurrency(-1, 4), kRcBadArgument);
  EXPECT_EQ(IRA_RegisterCommandCallback("JX", [](VuiraAutomationCapsule*) { return 0; }), 0);
  EXPECT_EQ(IRA_RegisterCommandCallback("JX", nullptr), kRcBadArgument);
  EXPECT_EQ(IRA_RegisterCommandCallback("XX", [](VuiraAutomationCapsule*) { return 0; }),
            kRcUnknownProduct);
}

TEST_F(RuntimeTest, RegistersSubnodesWithTheirAffinities) {
  make();

  EXPECT_EQ(IRA_Subnode_Register_nAff("one", "JX", "7.1", 4, "A", "", "C", "D"), 0);
  EXPECT_EQ(IRA_Subnode_Register_nAff("two", "JX", "7.1", 1, "A", "B", nullptr, nullptr), 0);
  EXPECT_EQ(IRA_SetNodeInfo("info~", "one"), 0);
  EXPECT_TRUE(runtime->subnodes().empty());
  EXPECT_EQ(IRA_Subnode_SendRequest(), 0);

  const auto subnodes = runtime->subnodes();
  ASSERT_EQ(subnodes.size(), 2U);
  EXPECT_EQ(subnodes[0].affinities, (std::vector<std::string>{"A", "C", "D"}));
  EXPECT_EQ(subnodes[0].info, "info~");
  EXPECT_EQ(subnodes[1].affinities, std::vector<std::string>{"A"});
}

TEST_F(RuntimeTest, RefusesSubnodesThatMakeNoSense) {
  make();

  EXPECT_EQ(IRA_Subnode_Register_nAff(nullptr, "JX", "1", 0, "", "", "", ""), kRcBadArgument);
  EXPECT_EQ(IRA_Subnode_Register_nAff("n", "XX", "1", 0, "", "", "", ""), kRcUnknownProduct);
  EXPECT_EQ(IRA_Subnode_Register_nAff("n", "JX", "1", -1, "", "", "", ""), kRcBadArgument);
  EXPECT_EQ(IRA_SetNodeInfo("i", "none"), kRcUnknownNode);
  EXPECT_EQ(IRA_SetNodeInfo(nullptr, "none"), kRcBadArgument);
  EXPECT_EQ(IRA_Subnode_Deregister("none"), kRcUnknownNode);
  EXPECT_EQ(IRA_Subnode_Deregister(nullptr), kRcBadArgument);
}

}  // namespace
}  // namespace fw
