#include "trace/mask.h"

#include <gtest/gtest.h>

namespace fw::trace {
namespace {

TEST(MaskTest, ClassesAreFoundByTheirNames) {
  const struct {
    const char* name;
    std::uint32_t bits;
  } cases[] = {{"detail", 0x01}, {"state", 0x08}, {"summary", 0x10}, {"flow", 0x40},
               {"error", 0x80},  {"all", 0xD9},   {"Detail", 0},     {"", 0}};

  for (const auto& [name, bits] : cases) {
    EXPECT_EQ(classByName(name), bits) << name;
  }
}

TEST(MaskTest, NoMaskOfAllClassesLooksUnsynced) { EXPECT_NE(kAllClasses, kRas1Unsynced); }

TEST(MaskTest, AMaskIsDescribedByTheNamesOfItsClasses) {
  EXPECT_EQ(describeMask(kRas1State | kRas1Error), "state, error");
  EXPECT_EQ(describeMask(kAllClasses), "detail, state, summary, flow, error");
  EXPECT_EQ(describeMask(0), "none");
}

TEST(MaskTest, PatternsMatchWithWildcards) {
  const struct {
    const char* pattern;
    const char* text;
    bool matches;
  } cases[] = {
      {"ZELIRA", "ZELIRA", true},
      {"ZELIRA", "ZELIR", false},
      {"ZELIR", "ZELIRA", false},
      {"ZEL*", "ZELIRA", true},
      {"ZEL*", "ZEL", true},
      {"*", "", true},
      {"*IRA", "ZELIRA", true},
      {"Z*R*A", "ZELIRA", true},
      {"Z*X*A", "ZELIRA", false},
      {"ZEL?RA", "ZELIRA", true},
      {"ZELIRA?", "ZELIRA", false},
      {"*A*B*C", "xAxBxBxC", true},
      {"zelira", "ZELIRA", false},
      {"", "", true},
      {"", "A", false},
  };

  for (const auto& [pattern, text, matches] : cases) {
    EXPECT_EQ(matchesPattern(pattern, text), matches) << pattern << " / " << text;
  }
}

}  // namespace
}  // namespace fw::trace
