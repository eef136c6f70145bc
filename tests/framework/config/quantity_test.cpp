#include "config/quantity.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

using namespace std::chrono_literals;

TEST(QuantityTest, DurationsHaveAUnit) {
  EXPECT_EQ(parseDuration("500ms"), 500ms);
  EXPECT_EQ(parseDuration("30s"), 30s);
  EXPECT_EQ(parseDuration("5m"), 5min);
  EXPECT_EQ(parseDuration("2h"), 2h);
  EXPECT_EQ(parseDuration("0s"), 0ms);
}

TEST(QuantityTest, SizesHaveAUnit) {
  EXPECT_EQ(parseSize("512B"), 512U);
  EXPECT_EQ(parseSize("64KiB"), 65536U);
  EXPECT_EQ(parseSize("10MiB"), 10485760U);
  EXPECT_EQ(parseSize("2GiB"), 2147483648U);
}

TEST(QuantityTest, AnythingElseIsNoQuantity) {
  for (const char* text : {"", "s", "10", "-1s", "+1s", "1.5s", "1 s", " 1s", "1S", "1sec", "1ss",
                           "99999999999999999999s", "18446744073709551615h"}) {
    EXPECT_EQ(parseDuration(text), std::nullopt) << text;
  }
  for (const char* text :
       {"", "10", "10MB", "10mib", "-1B", "1.5MiB", "10 MiB", "18446744073709551615GiB"}) {
    EXPECT_EQ(parseSize(text), std::nullopt) << text;
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
