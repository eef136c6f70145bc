#include "config/quantity.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace fw {
namespace {

using namespace std::chrono_literals;

struct Case {
  std::string text;
  std::optional<std::uint64_t> amount;
};

/// The cases of one kind from the list that Java's reader of such files is tested with, too.
std::vector<Case> casesOf(const std::string& kind) {
  std::ifstream file(ZEL_SOURCE_DIR "/tests/framework/config/quantities.txt");
  std::vector<Case> cases;
  for (std::string line; std::getline(file, line);) {
    const std::size_t end = line.rfind('|');
    if (line.rfind(kind + '|', 0) == 0) {
      const std::string amount = line.substr(end + 1);
      cases.push_back({line.substr(kind.size() + 1, end - kind.size() - 1),
                       amount.empty() ? std::nullopt : std::optional(std::stoull(amount))});
    }
  }
  return cases;
}

TEST(QuantityTest, DurationsAreWholeNumbersWithAUnit) {
  const std::vector<Case> cases = casesOf("duration");
  ASSERT_FALSE(cases.empty());
  for (const Case& each : cases) {
    const std::optional<std::chrono::milliseconds> duration = parseDuration(each.text);
    EXPECT_EQ(duration.has_value(), each.amount.has_value()) << each.text;
    if (duration && each.amount) {
      EXPECT_EQ(static_cast<std::uint64_t>(duration->count()), *each.amount) << each.text;
    }
  }
}

TEST(QuantityTest, SizesAreWholeNumbersWithAUnit) {
  const std::vector<Case> cases = casesOf("size");
  ASSERT_FALSE(cases.empty());
  for (const Case& each : cases) {
    EXPECT_EQ(parseSize(each.text), each.amount) << each.text;
  }
}

TEST(QuantityTest, QuantitiesAreShownInTheLargestWholeUnit) {
  EXPECT_EQ(formatDuration(0ms), "0ms");
  EXPECT_EQ(formatDuration(1500ms), "1500ms");
  EXPECT_EQ(formatDuration(90s), "90s");
  EXPECT_EQ(formatDuration(300s), "5m");
  EXPECT_EQ(formatDuration(2h), "2h");
  EXPECT_EQ(formatSize(0), "0B");
  EXPECT_EQ(formatSize(1000), "1000B");
  EXPECT_EQ(formatSize(10U << 20U), "10MiB");
}

}  // namespace
}  // namespace fw
