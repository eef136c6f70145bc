#include "journal/journal.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support/manual_clock.h"
#include "support/test_table.h"

namespace fw {
namespace {

using namespace std::chrono_literals;

class JournalTest : public testing::Test {
 protected:
  static SubnodeInfo subnode(const std::string& name) {
    SubnodeInfo info;
    info.name = name;
    return info;
  }

  static std::string names(const Journal::Page& page) {
    std::string text;
    for (const auto& entry : page.entries) {
      text += std::get<SubnodeInfo>(entry->what).name;
    }
    return text;
  }

  JournalPosition at(std::uint64_t number) const { return {journal.last().epoch, number}; }

  ManualClock clock;
  Journal journal{clock, 3};
};

TEST_F(JournalTest, NumbersItsEntriesAndKeepsTheirTime) {
  EXPECT_EQ(journal.last().number, 0U);
  journal.add(subnode("a"));
  clock.advance(5s);
  journal.add(subnode("b"));

  const Journal::Page page = journal.after(at(0), 10);

  ASSERT_EQ(names(page), "ab");
  EXPECT_EQ(page.entries[0]->number, 1U);
  EXPECT_EQ(page.entries[1]->number, 2U);
  EXPECT_EQ(page.entries[1]->time, clock.wall());
  EXPECT_EQ(journal.last().number, 2U);
  EXPECT_EQ(page.missed, 0U);
  EXPECT_FALSE(page.otherEpoch);
}

TEST_F(JournalTest, AReaderGoesOnAfterItsPosition) {
  for (const char* name : {"a", "b", "c"}) {
    journal.add(subnode(name));
  }

  EXPECT_EQ(names(journal.after(at(1), 10)), "bc");
  EXPECT_EQ(names(journal.after(at(0), 2)), "ab");
  EXPECT_EQ(names(journal.after(at(3), 10)), "");
}

TEST_F(JournalTest, ASlowReaderLearnsWhatItHasMissed) {
  for (const char* name : {"a", "b", "c", "d", "e"}) {
    journal.add(subnode(name));
  }

  const Journal::Page page = journal.after(at(1), 10);

  EXPECT_EQ(names(page), "cde");
  EXPECT_EQ(page.missed, 1U);
  EXPECT_EQ(journal.after(at(2), 10).missed, 0U);
}

TEST_F(JournalTest, APositionOfAnotherRunBeginsAtTheOldestEntry) {
  for (const char* name : {"a", "b", "c", "d"}) {
    journal.add(subnode(name));
  }

  const Journal::Page other = journal.after({journal.last().epoch + 1, 3}, 10);
  EXPECT_TRUE(other.otherEpoch);
  EXPECT_EQ(names(other), "bcd");
  EXPECT_EQ(other.missed, 1U);

  const Journal::Page future = journal.after(at(5), 10);
  EXPECT_TRUE(future.otherEpoch);
  EXPECT_EQ(names(future), "bcd");
}

TEST_F(JournalTest, TheEpochIsTheMillisecondInWhichItBegan) {
  EXPECT_EQ(journal.last().epoch, 1'767'323'045'000U);
  clock.advance(1ms);
  EXPECT_EQ(Journal(clock, 1).last().epoch, 1'767'323'045'001U);
  EXPECT_EQ(journal.last().epoch, 1'767'323'045'000U);
}

TEST_F(JournalTest, KeepsNoMoreThanItsBytesButTheNewestEntryAlways) {
  Journal small(clock, 1000, 10'000);
  for (int i = 0; i < 100; ++i) {
    small.add(subnode(std::string(1'000, 'x')));
  }
  EXPECT_LT(small.after({}, 1000).entries.size(), 10U);
  EXPECT_GT(small.after({}, 1000).entries.size(), 5U);

  small.add(subnode(std::string(50'000, 'y')));
  EXPECT_EQ(small.after({}, 1000).entries.size(), 1U);
  EXPECT_EQ(small.after({}, 1000).missed, 100U);
}

TEST_F(JournalTest, WakesListenersWithoutItsLockUntilTheyEnd) {
  int woken = 0;
  auto listening = journal.listen([&] { ++woken; });
  journal.add(subnode("a"));
  EXPECT_EQ(woken, 1);
  std::uint64_t seen = 0;
  const auto reader = journal.listen([&] { seen = journal.last().number; });
  journal.add(subnode("b"));
  EXPECT_EQ(woken, 2);
  EXPECT_EQ(seen, 2U);

  listening.reset();
  journal.add(subnode("c"));

  EXPECT_EQ(woken, 2);
  EXPECT_EQ(seen, 3U);
}

TEST_F(JournalTest, TheEndOfListeningWaitsForACallInProgress) {
  test::Door door;
  std::atomic<bool> returned{false};
  auto listening = journal.listen([&] {
    door.pass();
    returned = true;
  });
  std::thread writer([&] { journal.add(subnode("a")); });
  ASSERT_TRUE(door.awaitWaiting(1));
  std::atomic<bool> ended{false};
  std::thread ender([&] {
    listening.reset();
    EXPECT_TRUE(returned);
    ended = true;
  });

  door.open();
  writer.join();
  ender.join();

  EXPECT_TRUE(ended);
}

TEST_F(JournalTest, MayGoBeforeThoseWhoListen) {
  auto other = std::make_unique<Journal>(clock, 1);
  auto listening = other->listen([] {});

  other.reset();
  listening.reset();
}

TEST_F(JournalTest, ManyThreadsMayAddReadAndListen) {
  std::atomic<int> woken{0};
  constexpr int kEach = 500;
  const auto work = [&] {
    for (int i = 0; i < kEach; ++i) {
      const auto listening = journal.listen([&] { ++woken; });
      journal.add(subnode("x"));
      EXPECT_LE(journal.after({}, 10).entries.size(), 3U);
    }
  };

  std::thread one(work);
  std::thread two(work);
  one.join();
  two.join();

  EXPECT_EQ(journal.last().number, 2U * kEach);
  EXPECT_GE(woken, 2 * kEach);
}

TEST(JournalPositionTest, HasATextForm) {
  EXPECT_EQ((JournalPosition{17, 4}.toText()), "17-4");
  const auto parsed = JournalPosition::parse("18446744073709551615-0");
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->epoch, ~0ULL);
  EXPECT_EQ(parsed->number, 0U);
}

TEST(JournalPositionTest, OnlyTwoNumbersWithADashAreAPosition) {
  for (const char* text :
       {"", "-", "1", "1-", "-1", "1-2-3", "+1-2", "1-+2", "1--2", " 1-2", "1-2 ", "1 -2", "a-2",
        "1-0x2", "18446744073709551616-1", "1-18446744073709551616"}) {
    EXPECT_FALSE(JournalPosition::parse(text)) << text;
  }
  EXPECT_FALSE(JournalPosition::parse(std::string_view("1-2\0", 4)));
}

}  // namespace
}  // namespace fw
