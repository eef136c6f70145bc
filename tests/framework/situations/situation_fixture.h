#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "events/subscription_set.h"
#include "framework/engine/engine_fixture.h"
#include "situations/situation_desk.h"

namespace fw {

/// A desk beside an engine and event subscriptions, on a clock that the test turns. Every collector
/// gives one row, whose N the test sets; collectors of the subnodes in `hanging` wait at the door.
class SituationTest : public EngineTest {
 protected:
  using Kind = RequestError::Kind;
  using State = SituationStatus::State;
  using Texts = std::vector<std::string>;

  SituationTest() {
    own.sample = [this](test::TestRequest& request) {
      return test::TestTable::Rows{own.row({"x", collect(request.subnode())})};
    };
    perSubnode.sample = [this](test::TestRequest& request) {
      const std::string subnode = request.subnode();
      return test::TestTable::Rows{perSubnode.row({subnode, collect(subnode)})};
    };
  }

  void TearDown() override {
    door.open();
    if (desk) {
      stop(30s);
      set->stop(30s);
      engine->stop(30s);
    }
    EngineTest::TearDown();
    desk.reset();
    set.reset();
  }

  /// As the main loop does it.
  void stop(std::chrono::milliseconds bound) {
    gate.close();
    desk->refuse();
    set->refuse();
    engine->refuse();
    desk->deleteObjects();
    set->closeAll(bound);
    engine->deleteObjects(bound);
  }

  void begin() {
    beginWithoutTables();
    add(own);
    add(perSubnode);
  }

  void beginWithoutTables() {
    start();
    set.emplace(config, events, clock, timers, gate);
    EventSituation::Subscriptions subscriptions;
    subscriptions.open = [this](const TableSet::View& table, std::string name, Predicate thresholds,
                                std::shared_ptr<Subscriber> subscriber) {
      return set->open(table, std::move(name), std::move(thresholds), std::move(subscriber));
    };
    subscriptions.close = [this](EventSituation::Id id) { set->close(id); };
    desk.emplace(SituationDesk::Surroundings{config, situations, clock, timers, gate, *engine,
                                             subnodes, std::move(subscriptions)},
                 [this](const SituationStatus& status) { note(status); });
    engine->addObserver(*desk);
    engine->addObserver(*set);
  }

  std::optional<RequestError> watch(const char* name, const char* table, const char* where = "",
                                    std::vector<std::string> names = {},
                                    std::chrono::seconds interval = 10s) {
    return desk->watch({name, table, where, std::move(names), interval});
  }

  /// Watches, and waits until the request objects are there.
  void arm(const char* name, const char* table, const char* where = "",
           std::vector<std::string> names = {}) {
    const auto wrong = watch(name, table, where, std::move(names));
    ASSERT_FALSE(wrong) << wrong->message;
    awaitIdle();
  }

  /// Turns the clock and waits until what is due has been done.
  void pass(std::chrono::milliseconds time) {
    advance(time);
    awaitIdle();
  }

  void awaitIdle() { awaitBusy(0); }

  /// Waits until nothing runs but so many collectors that hang.
  void awaitBusy(std::uint32_t hangingCollectors) {
    ASSERT_TRUE(test::eventually([&] {
      const LaneStatus samples = engine->lanes()[0];
      return samples.busy == hangingCollectors && samples.queued == 0;
    }));
  }

  void awaitGone(const test::TestTable& table) {
    ASSERT_TRUE(test::eventually([&] { return table.created == table.deleted; }));
  }

  /// What collectors of a subnode give from now on; without a name, those of the own table.
  void give(const std::string& subnode, std::int64_t n) {
    const std::lock_guard lock(mutex);
    given[subnode.empty() ? "" : "raw:" + subnode] = n;
  }

  void hang(const std::string& subnode) {
    const std::lock_guard lock(mutex);
    hanging = "raw:" + subnode;
  }

  int samplesOf(const std::string& subnode) {
    const std::lock_guard lock(mutex);
    return count[subnode.empty() ? "" : "raw:" + subnode];
  }

  SituationStatus statusOf(const char* name) {
    const auto status = desk->situation(name);
    EXPECT_TRUE(status) << name;
    return status.value_or(SituationStatus());
  }

  /// The notices so far: "NAME STATE", and then "true" with the subnodes.
  Texts told() {
    const std::lock_guard held(mutex);
    return notices;
  }

  /// The notices once there are so many: a change is told a moment after it can be seen.
  Texts awaitTold(std::size_t least) {
    test::eventually([&] { return told().size() >= least; });
    return told();
  }

  static inline const Texts kNothing;

  SituationsConfig situations;
  EventsConfig events;
  std::optional<SubscriptionSet> set;
  std::optional<SituationDesk> desk;

 private:
  std::int64_t collect(const std::string& subnode) {
    std::int64_t n = 0;
    bool hangs = false;
    {
      const std::lock_guard lock(mutex);
      ++count[subnode];
      n = given[subnode];
      hangs = !hanging.empty() && subnode == hanging;
    }
    if (hangs) {
      door.pass();
    }
    return n;
  }

  void note(const SituationStatus& status) {
    static const char* const kStates[] = {"arming", "armed", "disarming"};
    std::string text = status.request.name + ' ' + kStates[static_cast<int>(status.state)];
    if (status.isTrue) {
      text += " true";
    }
    for (const std::string& subnode : status.trueFor) {
      text += ' ' + subnode;
    }
    const std::lock_guard lock(mutex);
    notices.push_back(std::move(text));
  }

  std::mutex mutex;
  std::map<std::string, std::int64_t> given;  // guarded by mutex, as all below
  std::map<std::string, int> count;
  std::string hanging;
  Texts notices;
};

}  // namespace fw
