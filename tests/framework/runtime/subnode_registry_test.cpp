#include "runtime/subnode_registry.h"

#include <gtest/gtest.h>

#include "support/manual_clock.h"
#include "tables/status.h"

namespace fw {
namespace {

using namespace std::chrono_literals;

class SubnodeRegistryTest : public testing::Test {
 protected:
  void online(const std::string& name) {
    ASSERT_EQ(registry.add({name, "JX", "1.0", {"AFF"}}), 0);
    registry.commit();
  }

  std::vector<std::string> askable() const {
    std::vector<std::string> names;
    for (const SubnodeName& each : registry.askable()) {
      names.push_back(each.shown);
    }
    return names;
  }

  ManualClock clock;
  SubnodeRegistry registry{clock, 3};
};

using Names = std::vector<std::string>;

TEST_F(SubnodeRegistryTest, ARegistrationTakesEffectAtTheCommit) {
  ASSERT_EQ(registry.add({"one", "JX", "1.0", {"AFF"}}), 0);
  EXPECT_EQ(registry.setInfo("one", "info~"), 0);
  EXPECT_TRUE(registry.all().empty());
  EXPECT_EQ(askable(), Names());

  registry.commit();

  ASSERT_EQ(registry.all().size(), 1U);
  const SubnodeInfo info = registry.all()[0];
  EXPECT_EQ(info.name, "one");
  EXPECT_EQ(info.product, "JX");
  EXPECT_EQ(info.version, "1.0");
  EXPECT_EQ(info.affinities, Names{"AFF"});
  EXPECT_EQ(info.info, "info~");
  EXPECT_EQ(info.state, SubnodeState::Online);
  EXPECT_EQ(info.since, clock.wall());
  EXPECT_EQ(askable(), Names{"one"});
}

TEST_F(SubnodeRegistryTest, ADeregisteredSubnodeIsNotAskedAtOnceAndGoneAtTheCommit) {
  online("one");
  clock.advance(5s);

  ASSERT_EQ(registry.remove("one"), 0);
  EXPECT_EQ(askable(), Names());
  EXPECT_EQ(registry.whyNot("one"), "Subnode 'one' is being deregistered.");
  EXPECT_EQ(registry.all()[0].state, SubnodeState::Online);

  registry.commit();
  EXPECT_EQ(registry.all()[0].state, SubnodeState::Offline);
  EXPECT_EQ(registry.all()[0].since, clock.wall());
  EXPECT_EQ(registry.whyNot("one"), "Subnode 'one' has been deregistered.");
}

TEST_F(SubnodeRegistryTest, ARenewalKeepsTheTimeAndTheInformation) {
  online("one");
  registry.setInfo("one", "info");
  const auto since = clock.wall();
  clock.advance(5s);

  ASSERT_EQ(registry.add({"one", "JX", "2.0", {}}), 0);
  registry.commit();

  EXPECT_EQ(registry.all()[0].since, since);
  EXPECT_EQ(registry.all()[0].version, "2.0");
  EXPECT_EQ(registry.all()[0].info, "info");
}

TEST_F(SubnodeRegistryTest, ASubnodeThatComesBackIsOnlineAnew) {
  online("one");
  registry.remove("one");
  registry.commit();
  clock.advance(5s);

  online("one");

  EXPECT_EQ(registry.all()[0].state, SubnodeState::Online);
  EXPECT_EQ(registry.all()[0].since, clock.wall());
  EXPECT_EQ(registry.whyNot("one"), std::nullopt);
}

TEST_F(SubnodeRegistryTest, ARegistrationBeforeTheCommitTakesADeregistrationBack) {
  online("one");
  registry.remove("one");

  online("one");

  EXPECT_EQ(askable(), Names{"one"});
}

TEST_F(SubnodeRegistryTest, UnknownSubnodesAndBadTextsAreErrors) {
  EXPECT_EQ(registry.remove("none"), kRcUnknownNode);
  EXPECT_EQ(registry.setInfo("none", "x"), kRcUnknownNode);
  EXPECT_EQ(registry.add({"", "JX", "1", {}}), kRcBadArgument);
  EXPECT_EQ(registry.add({std::string(33, 'n'), "JX", "1", {}}), kRcBadArgument);
  EXPECT_EQ(registry.add({std::string(32, 'n'), "JX", "1", {}}), 0);
  EXPECT_EQ(registry.setInfo(std::string(32, 'n'), std::string(17, 'i')), kRcBadArgument);
  EXPECT_EQ(registry.setInfo(std::string(32, 'n'), std::string(16, 'i')), 0);
  registry.commit();
  registry.remove(std::string(32, 'n'));
  EXPECT_EQ(registry.remove(std::string(32, 'n')), kRcUnknownNode) << "it goes already";
  EXPECT_EQ(registry.setInfo(std::string(32, 'n'), "x"), kRcUnknownNode);
  EXPECT_EQ(registry.whyNot("none"), std::nullopt);
}

TEST_F(SubnodeRegistryTest, GoneSubnodesMakeRoomTheOldestFirst) {
  online("one");
  online("two");
  online("three");
  EXPECT_EQ(registry.add({"four", "JX", "1", {}}), kRcLimit);

  registry.remove("two");
  registry.commit();
  clock.advance(1s);
  registry.remove("one");
  registry.commit();
  online("four");

  EXPECT_EQ(askable(), (Names{"four", "three"}));
  ASSERT_EQ(registry.all().size(), 3U);
  EXPECT_EQ(registry.all()[1].name, "one") << "it has gone later than two";
}

TEST_F(SubnodeRegistryTest, NamesAreShownAsValidUtf8AndAskedByteForByte) {
  const std::string raw = "\xED\xA0\xBD\xED\xB8\x80";
  online(raw);

  EXPECT_EQ(registry.askable()[0].shown, "\xF0\x9F\x98\x80");
  EXPECT_EQ(registry.askable()[0].raw, raw);
}

TEST_F(SubnodeRegistryTest, TellsWhatACommitChangesWithoutItsLock) {
  Names told;
  SubnodeRegistry* self = nullptr;
  SubnodeRegistry telling(clock, 3, [&](const SubnodeInfo& subnode) {
    EXPECT_EQ(self->all().size(), 1U);
    told.push_back(subnode.name + (subnode.state == SubnodeState::Online ? " on " : " off ") +
                   subnode.version + subnode.info);
  });
  self = &telling;
  const auto commit = [&](const std::string& version) {
    telling.add({"one", "JX", version, {}});
    telling.commit();
  };

  commit("1");
  commit("1");
  EXPECT_EQ(told, Names{"one on 1"}) << "a renewal without a change is not told";
  commit("2");
  telling.setInfo("one", "~");
  telling.commit();
  telling.remove("one");
  EXPECT_EQ(told.size(), 3U);
  telling.commit();
  commit("2");

  EXPECT_EQ(told, (Names{"one on 1", "one on 2", "one on 2~", "one off 2~", "one on 2"}));
}

}  // namespace
}  // namespace fw
