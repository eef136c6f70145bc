#include <algorithm>
#include <variant>
#include <vector>

#include "runtime_fixture.h"
#include "situations/situations.h"

namespace fw {
namespace {

class RuntimeSituationTest : public RuntimeTest {
 protected:
  void registerSubnode(const char* name) {
    ASSERT_EQ(IRA_Subnode_Register_nAff(name, "JX", "1", 0, nullptr, nullptr, nullptr, nullptr), 0);
    IRA_Subnode_SendRequest();
  }

  bool awaitRequests(std::size_t count) {
    return test::eventually([&] { return table.live().size() == count; });
  }

  /// The states of the situation in the journal so far.
  std::vector<SituationStatus::State> told() {
    std::vector<SituationStatus::State> states;
    Journal::Page page = runtime->journal().after({}, 1000);
    for (const auto& entry : page.entries) {
      if (const auto* status = std::get_if<SituationStatus>(&entry->what)) {
        states.push_back(status->state);
      }
    }
    return states;
  }
};

TEST_F(RuntimeSituationTest, ASituationFollowsTheSubnodesAndStandsInTheJournal) {
  using State = SituationStatus::State;
  startAndAwaitReady();
  registerSubnode("one");

  ASSERT_FALSE(runtime->situationDesk().watch({"Busy", "T", "N > 5", {}, 60s}));
  EXPECT_TRUE(awaitRequests(1));
  registerSubnode("two");
  EXPECT_TRUE(awaitRequests(2));
  ASSERT_EQ(IRA_Subnode_Deregister("one"), 0);
  EXPECT_EQ(table.live().size(), 1U);
  ASSERT_FALSE(runtime->situationDesk().unwatch("Busy"));

  EXPECT_TRUE(awaitRequests(0));
  EXPECT_EQ(told(), (std::vector<State>{State::Armed, State::Disarming}));
}

TEST_F(RuntimeSituationTest, TheMainLoopDeletesTheObjectsWhenItEnds) {
  startAndAwaitReady();
  registerSubnode("one");
  ASSERT_FALSE(runtime->situationDesk().watch({"Busy", "T", "", {}, 60s}));
  ASSERT_TRUE(awaitRequests(1));

  runtime->shutdown();
  loop.get();

  EXPECT_TRUE(table.live().empty());
  EXPECT_EQ(runtime->situationDesk().watch({"Late", "T", "", {}, 60s})->kind,
            RequestError::Kind::Stopping);
}

}  // namespace
}  // namespace fw
