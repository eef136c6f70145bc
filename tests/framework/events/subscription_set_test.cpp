#include "events/subscription_set.h"

#include <atomic>
#include <thread>

#include "basic/handle_table.h"
#include "events_fixture.h"

namespace fw {
namespace {

class SubscriptionSetTest : public EventsTest {};

TEST_F(SubscriptionSetTest, OpensAnObjectThatReceivesWhatIsPushed) {
  std::string name;
  std::atomic<int> subnodesNamed{0};
  alarms.made = [&](test::TestRequest& request) {
    if (request.situationName[0] != '\0') {
      name = request.situationName;
      subnodesNamed = request.subnode().empty() ? 0 : 1;
    }
  };
  startUnsubscribed();

  open();
  ASSERT_TRUE(awaitListed(1));
  EXPECT_EQ(alarms.push({eventRow(1), eventRow(2)}), 0);
  EXPECT_EQ(alarms.push({}), 0);
  EXPECT_EQ(alarms.push({eventRow(3)}), 0);

  EXPECT_TRUE(subscriber->awaitText("opened 1,2 3")) << subscriber->text();
  EXPECT_EQ(name, "HIGH");
  EXPECT_EQ(subnodesNamed, 0);
  EXPECT_EQ(alarms.samples, 0) << "it is never sampled";
}

TEST_F(SubscriptionSetTest, OnlyRowsThatPassTheThresholdsComeIn) {
  std::vector<std::string> filters;
  alarms.made = [&](test::TestRequest& request) { filters = request.filters(); };
  startUnsubscribed();

  open({Condition(alarms.columns[1], kIntfEqual, std::int64_t{7})});
  ASSERT_TRUE(awaitListed(1));
  alarms.push({eventRow(1, 7), eventRow(2, 8), eventRow(3, 7)});

  EXPECT_TRUE(subscriber->awaitText("opened 1,3")) << subscriber->text();
  EXPECT_EQ(filters, std::vector<std::string>{std::string("LEVEL 496 \7\0\0\0", 14)});
}

TEST_F(SubscriptionSetTest, RowsBeyondTheLimitOfAPushAreCounted) {
  config.rowLimit = 2;
  startUnsubscribed();

  open();
  ASSERT_TRUE(awaitListed(1));
  alarms.push({eventRow(1), eventRow(2), eventRow(3), eventRow(4)});

  EXPECT_TRUE(subscriber->awaitText("opened 1,2!1")) << subscriber->text();
}

TEST_F(SubscriptionSetTest, ACloseTakesTheObjectOffTheListAtOnceAndDeletesItOnAWorker) {
  startUnsubscribed();
  const auto id = open();
  ASSERT_TRUE(awaitListed(1));
  ASSERT_TRUE(subscriber->awaitText("opened"));

  set->close(id);

  EXPECT_EQ(alarms.listed(), 0);
  EXPECT_TRUE(subscriber->awaitText("opened closed")) << subscriber->text();
  EXPECT_EQ(alarms.created, alarms.deleted);
  EXPECT_EQ(set->size(), 0U);
  set->close(id);
}

TEST_F(SubscriptionSetTest, AnObjectInUseIsDeletedWhenItsLastUseIsGivenBack) {
  startUnsubscribed();
  const auto id = open();
  ASSERT_TRUE(awaitListed(1));
  ASSERT_TRUE(subscriber->awaitText("opened"));
  vuira* const object = alarms.live().at(0);
  const RES1_Handle handle = object->handle;
  ASSERT_EQ(object->UseHandle(handle), 0);

  set->close(id);
  const auto answer = ask("ALARMS");
  answer->get();  // takes its turn behind the deletion
  EXPECT_EQ(HandleTable::instance().uses(handle), 1U);
  EXPECT_EQ(set->size(), 1U);

  EXPECT_EQ(RES1_Drop(handle), 0);

  EXPECT_TRUE(subscriber->awaitText("opened closed"));
  EXPECT_EQ(HandleTable::instance().uses(handle), std::nullopt);
}

TEST_F(SubscriptionSetTest, ACloseBeforeTheTurnOfTheOpeningMakesNoObject) {
  startUnsubscribed();
  alarms.sample = [this](test::TestRequest&) {
    door.pass();
    return test::TestTable::Rows();
  };
  const auto answer = ask("ALARMS");
  ASSERT_TRUE(door.awaitWaiting(1));
  const int before = alarms.created;

  set->close(open());
  door.open();

  EXPECT_TRUE(subscriber->awaitText("closed")) << subscriber->text();
  EXPECT_EQ(alarms.created, before);
}

TEST_F(SubscriptionSetTest, AnOpeningWaitsForASampleOfTheSameTable) {
  startUnsubscribed();
  alarms.sample = [this](test::TestRequest&) {
    door.pass();
    return test::TestTable::Rows();
  };
  std::atomic<bool> sampling{true};
  std::atomic<bool> overlapped{false};
  alarms.made = [&](test::TestRequest& request) {
    overlapped = overlapped || (request.situationName[0] != '\0' && sampling);
  };
  const auto answer = ask("ALARMS");
  ASSERT_TRUE(door.awaitWaiting(1));

  open();
  sampling = false;
  door.open();

  EXPECT_TRUE(awaitListed(1));
  EXPECT_FALSE(overlapped);
}

TEST_F(SubscriptionSetTest, ASlowOpeningDelaysNoOtherTableAndNoRows) {
  static test::TestTable slow("SLOW", eventColumns());
  startUnsubscribed();
  add(slow);
  open();
  ASSERT_TRUE(awaitListed(1));
  slow.made = [this](test::TestRequest&) { door.pass(); };
  const auto other = std::make_shared<RecordingSubscriber>();
  ASSERT_TRUE(set->open(view("SLOW"), "HIGH", {}, other));
  ASSERT_TRUE(door.awaitWaiting(1));

  alarms.push({eventRow(1)});
  EXPECT_TRUE(subscriber->awaitText("opened 1"));
  EXPECT_FALSE(ask("ALARMS")->get().error);

  door.open();
  EXPECT_TRUE(other->awaitText("opened"));
  slow.made = [](test::TestRequest&) {};
  engine->removeTable(slow);
}

TEST_F(SubscriptionSetTest, SaysWhyTheAgentMakesNoObject) {
  startUnsubscribed();
  alarms.makesNothing = true;
  const auto id = open();
  EXPECT_TRUE(subscriber->awaitText("failed: The agent made no request object."));

  alarms.makesNothing = false;
  alarms.made = [](test::TestRequest&) { throw std::runtime_error("broken"); };
  const auto other = std::make_shared<RecordingSubscriber>();
  ASSERT_TRUE(set->open(view(), "HIGH", {}, other));
  EXPECT_TRUE(other->awaitText("failed: broken")) << other->text();
  EXPECT_EQ(alarms.listed(), 0);

  set->close(id);
  EXPECT_TRUE(subscriber->awaitClosed());
}

TEST_F(SubscriptionSetTest, ATableThatGoesClosesItsSubscriptions) {
  startUnsubscribed();
  const auto table = view();
  open();
  ASSERT_TRUE(awaitListed(1));
  ASSERT_TRUE(subscriber->awaitText("opened"));

  engine->removeTable(alarms);

  EXPECT_EQ(alarms.listed(), 0);
  EXPECT_EQ(alarms.created, alarms.deleted);
  EXPECT_FALSE(set->open(table, "HIGH", {}, subscriber));
  EXPECT_TRUE(subscriber->awaitText("opened closed"));
}

TEST_F(SubscriptionSetTest, OnceTheStopHasBegunPushesAreDroppedAndObjectsLeftAlone) {
  startUnsubscribed();
  open();
  ASSERT_TRUE(awaitListed(1));
  ASSERT_TRUE(subscriber->awaitText("opened"));

  gate.close();
  set->refuse();
  EXPECT_EQ(alarms.push({eventRow(1)}), 0);
  EXPECT_FALSE(set->open(view(), "HIGH", {}, subscriber));
  set->closeAll(30s);

  EXPECT_EQ(alarms.listed(), 0);
  EXPECT_EQ(alarms.live().size(), 1U) << "its destructor may send a message";
  EXPECT_TRUE(subscriber->awaitText("opened closed")) << subscriber->text();
}

TEST_F(SubscriptionSetTest, AStuckCallbackHoldsAStopUpForItsBoundOnly) {
  static test::TestTable stuck("STUCK", eventColumns());
  startUnsubscribed();
  add(stuck);
  ASSERT_TRUE(set->open(view("STUCK"), "HIGH", {}, std::make_shared<RecordingSubscriber>()));
  open();
  ASSERT_TRUE(awaitListed(1));
  ASSERT_TRUE(test::eventually([] { return stuck.listed() == 1; }));
  stuck.sample = [this](test::TestRequest&) {
    door.pass();
    return test::TestTable::Rows();
  };
  const auto answer = ask("STUCK");
  ASSERT_TRUE(door.awaitWaiting(1));

  set->refuse();
  set->closeAll(1ms);

  EXPECT_EQ(stuck.listed(), 0);
  EXPECT_TRUE(test::eventually([this] { return set->size() == 1; }));
  EXPECT_TRUE(test::eventually([this] { return alarms.created == alarms.deleted; }));
  door.open();
  EXPECT_TRUE(test::eventually([this] { return set->size() == 0; }));
}

TEST_F(SubscriptionSetTest, RowsMayComeWhileSubscriptionsOpenAndClose) {
  startUnsubscribed();
  std::atomic<bool> over{false};
  std::thread pusher([&] {
    for (std::int64_t number = 1; !over; ++number) {
      EXPECT_EQ(alarms.push({eventRow(number), eventRow(number)}), 0);
    }
  });
  const auto work = [&] {
    for (int i = 0; i < 50; ++i) {
      const auto own = std::make_shared<RecordingSubscriber>();
      const auto id = set->open(view(), "HIGH", {}, own);
      ASSERT_TRUE(id);
      if (i % 2 == 0) {
        EXPECT_TRUE(test::eventually([&] { return own->text().starts_with("opened"); }));
      }
      set->close(*id);
      EXPECT_TRUE(own->awaitClosed());
    }
  };

  std::thread one(work);
  std::thread two(work);
  one.join();
  two.join();
  over = true;
  pusher.join();

  EXPECT_EQ(alarms.listed(), 0);
  EXPECT_TRUE(test::eventually([this] { return set->size() == 0; }));
  EXPECT_EQ(alarms.created, alarms.deleted);
}

}  // namespace
}  // namespace fw
