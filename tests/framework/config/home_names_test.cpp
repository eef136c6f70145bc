#include "config/home_names.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "config/load.h"
#include "support/temp_dir.h"

namespace fw {
namespace {

TEST(HomeNamesTest, TheInstanceIsTheNameOfTheFolder) {
  EXPECT_EQ(instanceOfHome("jmx"), "jmx");
  EXPECT_EQ(instanceOfHome("a_B-1234567x"), "a_B-1234567x");
}

TEST(HomeNamesTest, ANameThatIsNoInstanceIsMadeOneAndStaysDifferentFromOthers) {
  const std::string east = instanceOfHome("production-east");
  const std::string other = instanceOfHome("production-eaST");

  EXPECT_EQ(east.substr(0, 8), "product-");
  EXPECT_EQ(east.size(), 12U);
  EXPECT_NE(east, other);
  for (const char* name : {"a b", "a.b", "\xC3\xA4gent", "", "/"}) {
    const std::string made = instanceOfHome(name);
    EXPECT_LE(made.size(), 12U) << name;
    EXPECT_EQ(
        parseConfig("product: {code: ZJX, name: x}\ninstance: \"" + made + "\"\n", "f").errors, "")
        << made;
  }
  EXPECT_NE(instanceOfHome("a b"), instanceOfHome("a.b"));
}

TEST(HomeNamesTest, ACopiedHomeHasANameAndALogOfItsOwn) {
  TempDir root;
  root.write("agents/jmx/config/agent.yaml", "product: {code: ZJX, name: x}\n");
  std::filesystem::copy(root.path() / "agents/jmx", root.path() / "agents/other",
                        std::filesystem::copy_options::recursive);

  const AgentConfig first = loadConfig(root / "agents/jmx").config;
  const AgentConfig second = loadConfig(root / "agents/other").config;

  const std::string logs = std::filesystem::canonical(root.path()).string() + "/logs/";
  EXPECT_EQ(first.instance, "jmx");
  EXPECT_EQ(first.trace.file, logs + "agent.log");
  EXPECT_EQ(second.instance, "other");
  EXPECT_EQ(second.trace.file, logs + "agent-other.log");
}

TEST(HomeNamesTest, WhatTheFileSaysCounts) {
  TempDir root;
  root.write("agents/other/config/agent.yaml",
             "product: {code: ZJX, name: x}\ninstance: mine\ntrace: {file: mine.log}\n");

  const AgentConfig config = loadConfig(root / "agents/other").config;

  EXPECT_EQ(config.instance, "mine");
  EXPECT_EQ(config.trace.file, config.home + "/mine.log");
}

}  // namespace
}  // namespace fw
