#include "basic/nearest.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

TEST(NearestTest, TheDistanceCountsSingleChanges) {
  const struct {
    const char* a;
    const char* b;
    std::size_t distance;
  } cases[] = {{"", "", 0},         {"port", "port", 0}, {"Port", "pORT", 0},
               {"prot", "port", 1}, {"por", "port", 1},  {"ports", "port", 1},
               {"pert", "port", 1}, {"", "abc", 3},      {"kitten", "sitting", 3},
               {"fiel", "file", 1}, {"abcd", "badc", 2}};

  for (const auto& [a, b, distance] : cases) {
    EXPECT_EQ(editDistance(a, b), distance) << a << " / " << b;
    EXPECT_EQ(editDistance(b, a), distance) << b << " / " << a;
  }
}

TEST(NearestTest, TheNearestKnownNameIsFound) {
  EXPECT_EQ(nearestOf("prot", {"idle_timeout", "port", "body_limit"}), "port");
  EXPECT_EQ(nearestOf("JVM_MEMROY", {"JVM_MEMORY", "JVM_MEMORY_POOLS"}), "JVM_MEMORY");
}

TEST(NearestTest, OfTwoEquallyNearTheFirstIsTaken) {
  EXPECT_EQ(nearestOf("catt", {"cart", "cats"}), "cart");
}

TEST(NearestTest, ANameThatResemblesNothingHasNoNearest) {
  EXPECT_EQ(nearestOf("colour", {"port", "file"}), "");
  EXPECT_EQ(nearestOf("port", {}), "");
}

TEST(NearestTest, AVeryLongNameCostsNothing) {
  EXPECT_EQ(nearestOf(std::string(10'000'000, 'x'), {"port"}), "");
}

}  // namespace
}  // namespace fw
