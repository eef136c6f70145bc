#include <atomic>
#include <thread>

#include "situation_fixture.h"

namespace fw {
namespace {

class SituationStopTest : public SituationTest {};

TEST_F(SituationStopTest, AtTheEndAllObjectsAreDeletedAndNobodyIsTold) {
  begin();
  subnodes.set({"one", "two"});
  arm("A", "PER_SUBNODE");
  arm("B", "OWN");

  stop(30s);

  EXPECT_EQ(perSubnode.created, perSubnode.deleted);
  EXPECT_EQ(own.created, own.deleted);
  EXPECT_EQ(told(), (Texts{"A armed", "B armed"}));
}

TEST_F(SituationStopTest, AStuckObjectIsLeftAndTheOthersAreDeleted) {
  begin();
  subnodes.set({"one", "two"});
  hang("one");
  arm("A", "PER_SUBNODE");
  advance(10s);
  ASSERT_TRUE(door.awaitWaiting(1));

  stop(100ms);

  ASSERT_EQ(perSubnode.live().size(), 1U);
  EXPECT_EQ(static_cast<test::TestRequest*>(perSubnode.live()[0])->subnode(), "raw:one");
  door.open();
  engine->stop(30s);
  ASSERT_EQ(perSubnode.live().size(), 1U) << "what its destructor would call may be gone by now";
  delete perSubnode.live()[0];
}

TEST_F(SituationStopTest, NothingIsSampledOnceTheGateIsClosed) {
  begin();
  arm("A", "OWN");

  gate.close();
  pass(60s);

  EXPECT_EQ(own.samples, 0);
  EXPECT_EQ(engine->table("OWN")->errors, 0U);
}

TEST_F(SituationStopTest, ATableThatGoesEndsItsSituations) {
  begin();
  arm("A", "PER_SUBNODE");
  arm("B", "OWN");

  engine->removeTable(own);

  EXPECT_EQ(own.created, own.deleted);
  EXPECT_FALSE(desk->situation("B"));
  EXPECT_TRUE(desk->situation("A"));
  EXPECT_EQ(awaitTold(3), (Texts{"A armed", "B armed", "B disarming"}));
}

TEST_F(SituationStopTest, SituationsComeAndGoWhileSubnodesDo) {
  begin();
  std::atomic<bool> ends{false};
  std::thread watcher([&] {
    for (int round = 0; round < 200; ++round) {
      const std::string name = "S" + std::to_string(round % 3);
      if (desk->watch({name, "PER_SUBNODE", "", {}, 1s})) {
        desk->unwatch(name);
      }
    }
    ends = true;
  });
  std::thread looker([&] {
    while (!ends) {
      desk->situations();
    }
  });
  while (!ends) {
    subnodes.set({"one", "two"});
    desk->subnodesCame();
    advance(1s);
    subnodes.set({"two"});
    desk->closeSubnode("raw:one");
    engine->closeSubnode("raw:one", 30s);
  }
  watcher.join();
  looker.join();

  stop(30s);

  EXPECT_EQ(perSubnode.created, perSubnode.deleted);
}

}  // namespace
}  // namespace fw
