#pragma once

#include <memory>
#include <optional>
#include <string>

#include "event_rows.h"
#include "events/event_logs.h"
#include "events/subscription_set.h"
#include "framework/engine/engine_fixture.h"
#include "journal/journal.h"
#include "recording_subscriber.h"

namespace fw {

/// An engine with event subscriptions, and an event table "ALARMS".
class EventsTest : public EngineTest {
 protected:
  void TearDown() override {
    door.open();
    if (set) {
      gate.close();
      set->refuse();
      engine->refuse();
      set->closeAll(30s);
      engine->deleteObjects(30s);
      set->stop(30s);
      engine->stop(30s);
      logs.reset();
      set.reset();
      engine.reset();
    }
  }

  void start() {
    EngineTest::start();
    set.emplace(config, events, clock, timers, gate);
    logs.emplace(events, *engine, *set,
                 [this](EventBatch batch) { journal.add(std::move(batch)); });
    engine->addObserver(*set);
    engine->addObserver(*logs);
  }

  /// Starts with the event table, to which nobody has subscribed.
  void startUnsubscribed() {
    events.subscribe = false;
    start();
    add(alarms);
  }

  TableSet::View view(const char* table = "ALARMS") {
    return std::get<TableSet::View>(engine->findTable(table));
  }

  SubscriptionSet::Id open(Predicate thresholds = {}) {
    const auto id = set->open(view(), "HIGH", std::move(thresholds), subscriber);
    EXPECT_TRUE(id);
    return id.value_or(0);
  }

  bool awaitListed(int count) {
    return test::eventually([&] { return alarms.listed() == count; });
  }

  EventsConfig events;
  Journal journal{clock, 1000};
  test::TestTable alarms{"ALARMS", eventColumns()};
  std::shared_ptr<RecordingSubscriber> subscriber = std::make_shared<RecordingSubscriber>();
  std::optional<SubscriptionSet> set;
  std::optional<EventLogs> logs;
};

}  // namespace fw
