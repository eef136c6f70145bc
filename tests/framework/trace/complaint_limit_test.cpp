#include "trace/complaint_limit.h"

#include <gtest/gtest.h>

#include <string>

#include "support/manual_clock.h"
#include "trace_fixture.h"

namespace fw::trace {
namespace {

using namespace std::chrono_literals;

class ComplaintLimitTest : public testing::Test {
 protected:
  /// How many of `count` complaints are written.
  int written(int count, const std::string& text, bool isSame = true) {
    int admitted = 0;
    for (int i = 0; i < count; ++i) {
      admitted += limit.admit(unit.entry, 7, isSame ? text : text + std::to_string(i)) ? 1 : 0;
    }
    return admitted;
  }

  ManualClock clock;
  ComplaintLimit limit{clock};
  TestUnit unit{"ZELX", "x.cpp"};
};

TEST_F(ComplaintLimitTest, WritesEqualComplaintsOnceAndCountsTheOthers) {
  EXPECT_EQ(written(5, "ERROR: no luck"), 1);
  EXPECT_TRUE(limit.takeDue().empty());

  clock.advance(61s);
  const auto held = limit.takeDue();

  ASSERT_EQ(held.size(), 1u);
  EXPECT_EQ(held[0].unit, "ZELX");
  EXPECT_EQ(held[0].file, "x.cpp");
  EXPECT_EQ(held[0].function, "work");
  EXPECT_EQ(held[0].line, 7u);
  EXPECT_EQ(held[0].text,
            "WARN: 4 more complaints here in the last 61 s, the last one: ERROR: no luck");
  EXPECT_TRUE(limit.takeDue().empty());
  EXPECT_EQ(written(1, "ERROR: no luck"), 1);
}

TEST_F(ComplaintLimitTest, BoundsDifferentComplaintsOfOnePlace) {
  const std::string text = "WARN: " + std::string(194, 'x');

  const int admitted = written(1000, text, false);

  EXPECT_GT(admitted, 90);
  EXPECT_LE(admitted * 300, static_cast<int>(ComplaintLimit::kBytes));
}

TEST_F(ComplaintLimitTest, WritesAnotherPlacesComplaintAllTheSame) {
  written(1000, "WARN: a thousand things", false);
  TestUnit other("ZELY", "y.cpp");

  EXPECT_TRUE(limit.admit(unit.entry, 8, "WARN: a thousand things"));
  EXPECT_TRUE(limit.admit(other.entry, 7, "WARN: a thousand things"));
}

TEST_F(ComplaintLimitTest, AlwaysWritesTheFirstOneWhateverItsLength) {
  const std::string longText = "ERROR: " + std::string(2 * ComplaintLimit::kBytes, 'x');

  EXPECT_EQ(written(3, longText, false), 1);
}

TEST_F(ComplaintLimitTest, ToldLessAndLessOftenWhileItGoesOn) {
  int records = 0;
  for (int second = 0; second < 24 * 3600; ++second) {
    records += static_cast<int>(limit.takeDue().size()) + written(1, "ERROR: again");
    clock.advance(1s);
  }

  // Windows of 1, 2, 4, 8 and then 16 minutes, each with the complaint and a summary.
  EXPECT_EQ(records, 2 * (4 + (24 * 60 - 15) / 16) + 1);
}

TEST_F(ComplaintLimitTest, ForgetsAPlaceThatWasQuietForAWindow) {
  written(2, "ERROR: again");
  clock.advance(61s);
  EXPECT_EQ(limit.takeDue().size(), 1u);
  clock.advance(10min);

  EXPECT_EQ(written(2, "ERROR: again"), 1);

  clock.advance(61s);  // the window has its first length again
  EXPECT_EQ(limit.takeDue().size(), 1u);
}

TEST_F(ComplaintLimitTest, TellsEverythingAtTheEnd) {
  written(3, "ERROR: a");

  EXPECT_EQ(limit.takeAll().size(), 1u);
  EXPECT_TRUE(limit.takeAll().empty());
}

TEST_F(ComplaintLimitTest, BoundsThePlacesThatItRemembers) {
  int admitted = 0;
  for (std::uint32_t line = 1; line <= 100'000; ++line) {
    admitted += limit.admit(unit.entry, line, "ERROR: " + std::to_string(line)) ? 1 : 0;
  }

  EXPECT_GE(admitted, static_cast<int>(ComplaintLimit::kPlaces));
  EXPECT_LT(admitted, static_cast<int>(ComplaintLimit::kPlaces + ComplaintLimit::kBytes / 100));
}

TEST_F(ComplaintLimitTest, TakesNothingElseForAComplaint) {
  EXPECT_TRUE(isComplaint("ERROR: a"));
  EXPECT_TRUE(isComplaint("ERROR [5]: a"));
  EXPECT_TRUE(isComplaint("WARN: a"));
  EXPECT_FALSE(isComplaint("HTTP server stopped"));
  EXPECT_FALSE(isComplaint("entry"));
  EXPECT_FALSE(isComplaint(""));
}

}  // namespace
}  // namespace fw::trace
