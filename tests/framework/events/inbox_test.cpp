#include "events/inbox.h"

#include <gtest/gtest.h>

#include "engine/timer_queue.h"
#include "event_rows.h"
#include "recording_subscriber.h"
#include "support/manual_clock.h"

namespace fw {
namespace {

using namespace std::chrono_literals;

class InboxTest : public testing::Test {
 protected:
  ~InboxTest() override {
    subscriber->door.open();
    inbox->refuse();
  }

  void push(const std::vector<std::int64_t>& numbers, std::uint64_t lost = 0) {
    std::vector<std::string> rows;
    for (const std::int64_t number : numbers) {
      rows.push_back(eventRow(number));
    }
    inbox->take(blockOf(rows), lost);
  }

  ManualClock clock;
  TimerQueue timers{clock};
  std::shared_ptr<RecordingSubscriber> subscriber = std::make_shared<RecordingSubscriber>();
  WorkerLane lane{"test", {2, 0, 0, 10s}, clock, timers};
  std::shared_ptr<Inbox> inbox =
      std::make_shared<Inbox>("events", eventTable(), 1024, clock, lane, subscriber);
};

TEST_F(InboxTest, HandsRowsOutInTheirOrderOnAWorker) {
  inbox->opened("");
  push({1, 2});
  push({3}, 4);
  EXPECT_TRUE(subscriber->awaitText("opened 1,2 3!4"));

  inbox->refuse();
  push({5});
  inbox->finish();

  EXPECT_TRUE(subscriber->awaitText("opened 1,2 3!4 closed"));
}

TEST_F(InboxTest, DropsWhatWaitsWhenItRefuses) {
  subscriber->closeDoor();
  push({1});
  ASSERT_TRUE(subscriber->door.awaitWaiting(1));
  push({2});

  inbox->refuse();
  inbox->finish();
  subscriber->door.open();

  EXPECT_TRUE(subscriber->awaitText("1 closed")) << subscriber->text();
}

TEST_F(InboxTest, APushOfNothingIsNotHandedOut) {
  push({});
  push({1});

  EXPECT_TRUE(subscriber->awaitText("1"));
}

TEST_F(InboxTest, RowsBeyondItsRoomAreCountedBehindThoseThatWait) {
  subscriber->closeDoor();
  push({1});
  ASSERT_TRUE(subscriber->door.awaitWaiting(1));
  for (std::int64_t number = 2; number <= 21; ++number) {
    push({number});
  }

  subscriber->door.open();

  // A push of a row takes 140 bytes of 1024.
  EXPECT_TRUE(subscriber->awaitText("1 2 3 4 5 6 7 8!13")) << subscriber->text();
  push({22});
  EXPECT_TRUE(subscriber->awaitText("1 2 3 4 5 6 7 8!13 22"));
}

TEST_F(InboxTest, ALargePushIsTakenWhenNothingWaits) {
  push(std::vector<std::int64_t>(200, 1));

  EXPECT_TRUE(test::eventually([this] { return subscriber->text().size() == 399; }));
}

TEST_F(InboxTest, RowsOfAnotherSizeAreLost) {
  inbox->take(blockOf({"abc", "def"}), 1);

  EXPECT_TRUE(subscriber->awaitText("!3"));
}

}  // namespace
}  // namespace fw
