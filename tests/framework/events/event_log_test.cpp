#include "events/event_log.h"

#include <gtest/gtest.h>

#include <numeric>

#include "event_rows.h"

namespace fw {
namespace {

using Numbers = std::vector<std::int64_t>;

class EventLogTest : public testing::Test {
 protected:
  /// Each batch as "FIRST+ROWS", with "-LOST" before it.
  static std::string shown(const std::vector<EventBatch>& batches) {
    std::string text;
    for (const EventBatch& batch : batches) {
      text += text.empty() ? "" : " ";
      text += batch.lost == 0 ? "" : "-" + std::to_string(batch.lost) + " ";
      text += std::to_string(batch.firstSeq) + "+" + std::to_string(batch.rows->rowCount());
    }
    return text;
  }

  static Numbers upTo(std::int64_t count) {
    Numbers numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 1);
    return numbers;
  }

  static std::vector<std::uint64_t> seqs(const EventPage& page) {
    std::vector<std::uint64_t> seqs;
    for (const TableEvent& event : page.events) {
      seqs.push_back(event.seq);
    }
    return seqs;
  }

  EventLog log{eventTable(), {10, 1 << 20}};
};

using Seqs = std::vector<std::uint64_t>;

TEST_F(EventLogTest, NumbersTheRowsOfOneTable) {
  EXPECT_EQ(shown(log.add(pushOf({1, 2, 3}))), "1+3");
  EXPECT_EQ(shown(log.add(pushOf({4}))), "4+1");

  const EventPage page = log.page(2, 100);

  EXPECT_EQ(seqs(page), (Seqs{3, 4}));
  EXPECT_EQ(std::string(page.events[1].row, 12), eventRow(4));
  EXPECT_EQ(page.lastSeq, 4U);
  EXPECT_EQ(page.missed, 0U);
  EXPECT_EQ(page.lost, 0U);
}

TEST_F(EventLogTest, AGapInTheNumbersOfTheSourceIsALossJustBeforeARow) {
  log.add(pushOf({1, 2}));

  EXPECT_EQ(shown(log.add(pushOf({5, 6, 8, 9}))), "-2 3+2 -1 5+2");
  EXPECT_EQ(log.page(0, 100).lost, 3U);
}

TEST_F(EventLogTest, WhatTheSourceSentBeforeTheFirstEventIsLost) {
  EXPECT_EQ(shown(log.add(pushOf({1000}))), "-999 1+1");
  EXPECT_EQ(log.page(0, 100).lost, 999U);
}

TEST_F(EventLogTest, ASourceThatBeginsAnewMayHaveLostItsFirstEvents) {
  log.add(pushOf({7}));
  EXPECT_EQ(shown(log.add(pushOf({3}))), "-2 2+1");
}

TEST_F(EventLogTest, NumbersThatAreNoneOfASourceAreNoLoss) {
  EXPECT_EQ(shown(log.add(pushOf({-5, -4}))), "1+2");
}

TEST_F(EventLogTest, ASmallerNumberTellsThatTheSourceBeganAnew) {
  log.add(pushOf({7, 8}));

  EXPECT_EQ(shown(log.add(pushOf({1, 2}))), "3+2");
  EXPECT_EQ(shown(log.add(pushOf({4}))), "-1 5+1");
  EXPECT_EQ(log.page(0, 100).lost, 7U);
}

TEST_F(EventLogTest, ARowWithoutNumberIsNeitherLossNorBeginning) {
  EXPECT_EQ(shown(log.add(pushOf({1, 0, 2}))), "1+3");
}

TEST_F(EventLogTest, AKnownLossAndTheGapThatItLeavesCountOnce) {
  log.add(pushOf({1, 2}, 1));
  EXPECT_EQ(log.page(0, 100).lost, 1U) << "known at once";

  EXPECT_EQ(shown(log.add(pushOf({6}))), "-3 3+1");
  EXPECT_EQ(log.page(0, 100).lost, 3U);

  log.add(pushOf({}, 5));
  EXPECT_EQ(shown(log.add(pushOf({1}))), "-5 4+1") << "the source began anew after the loss";
  EXPECT_EQ(log.page(0, 100).lost, 8U);
}

TEST_F(EventLogTest, KeepsTheNewestRowsAndSaysWhatIsMissed) {
  log.add(pushOf(upTo(8)));
  log.add(pushOf({9, 10, 11, 12}));

  const EventPage page = log.page(0, 100);

  EXPECT_EQ(seqs(page), (Seqs{3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
  EXPECT_EQ(page.missed, 2U);
  EXPECT_EQ(log.page(1, 100).missed, 1U);
  EXPECT_EQ(log.page(2, 100).missed, 0U);
}

TEST_F(EventLogTest, APageHasALimitAndGoesOnWhereTheLastOneEnded) {
  log.add(pushOf(upTo(3)));
  log.add(pushOf({4, 5}));

  EXPECT_EQ(seqs(log.page(0, 2)), (Seqs{1, 2}));
  EXPECT_EQ(seqs(log.page(2, 2)), (Seqs{3, 4}));
  EXPECT_EQ(seqs(log.page(4, 2)), Seqs{5});
  EXPECT_EQ(seqs(log.page(5, 2)), Seqs());
  EXPECT_EQ(seqs(log.page(0, 0)), Seqs());
}

TEST_F(EventLogTest, ANumberInTheFutureGivesNothing) {
  log.add(pushOf({1}));

  const EventPage page = log.page(~0ULL, 10);

  EXPECT_TRUE(page.events.empty());
  EXPECT_EQ(page.missed, 0U);
  EXPECT_EQ(page.lastSeq, 1U);
}

TEST_F(EventLogTest, APageOutlivesWhatIsKept) {
  log.add(pushOf({1}));
  const EventPage page = log.page(0, 100);

  log.add(pushOf(upTo(20)));

  EXPECT_EQ(std::string(page.events[0].row, 12), eventRow(1));
}

TEST_F(EventLogTest, ABigPushIsCutIntoBatches) {
  EXPECT_EQ(shown(log.add(pushOf(upTo(401)))), "1+200 201+200 401+1");
}

TEST_F(EventLogTest, KeepsNoMoreThanItsBytes) {
  EventLog small(eventTable(), {1'000'000, 4096});
  for (std::int64_t number = 1; number <= 1000; ++number) {
    small.add(pushOf({number}));
  }

  const EventPage page = small.page(0, 1'000'000);

  EXPECT_LE(page.events.size() * 12, 4096U);
  EXPECT_GE(page.events.size(), 10U);
  EXPECT_EQ(page.events.back().seq, 1000U);
  EXPECT_EQ(page.missed, 1000U - page.events.size());
}

}  // namespace
}  // namespace fw
