#include "config/schema.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "config/load.h"

namespace fw {
namespace {

std::string readSource(const std::string& name) {
  std::ifstream in(ZEL_SOURCE_DIR "/" + name);
  return {std::istreambuf_iterator<char>(in), {}};
}

TEST(SchemaTest, EachKeyStandsOnceAndIsDocumented) {
  std::set<std::string> paths;
  for (const Setting& setting : configSchema()) {
    EXPECT_TRUE(paths.insert(setting.path).second) << setting.path;
    EXPECT_NE(setting.expected, "") << setting.path;
    EXPECT_EQ(setting.doc.substr(setting.doc.size() - 1), ".") << setting.path;
  }
}

TEST(SchemaTest, EveryDefaultIsAValueThatTheFileMayHold) {
  AgentConfig defaults;
  for (const Setting& setting : configSchema()) {
    const std::string shown = setting.show(defaults);
    if (shown.empty()) {
      continue;
    }
    AgentConfig config;
    Problems problems("f");
    setting.read(YAML::Load(shown), config, problems);
    EXPECT_EQ(problems.text(), "");
    EXPECT_EQ(setting.show(config), shown);
  }
}

TEST(SchemaTest, EachKeySetsAMemberOfItsOwn) {
  AgentConfig defaults;
  for (const Setting& setting : configSchema()) {
    AgentConfig config;
    Problems problems("f");
    const bool isNumber = setting.expected.find("an integer") == 0;
    if (!isNumber) {
      continue;
    }
    setting.read(YAML::Load("1"), config, problems);
    for (const Setting& other : configSchema()) {
      if (other.path != setting.path) {
        EXPECT_EQ(other.show(config), other.show(defaults)) << setting.path << " " << other.path;
      }
    }
    EXPECT_EQ(setting.show(config), "1") << setting.path;
  }
}

TEST(SchemaTest, TheDocumentedPageIsThatOfTheSchema) {
  EXPECT_EQ(readSource("docs/formats/agent-yaml.md"), configSchemaPage())
      << "make it anew: cmake --build BUILD --target agent_yaml_page";
}

TEST(SchemaTest, TheShippedConfigurationIsGood) {
  const LoadedConfig loaded = parseConfig(readSource("config/jmx/agent.yaml"), "agent.yaml");

  EXPECT_EQ(loaded.errors, "");
  EXPECT_EQ(loaded.config.product.code, "ZJX");
  EXPECT_EQ(loaded.config.instance, "") << "a copied home has a name of its own";
}

}  // namespace
}  // namespace fw
