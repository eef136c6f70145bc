#include "trace/unit_registry.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "trace_fixture.h"

namespace fw::trace {
namespace {

class UnitRegistryTest : public testing::Test {
 protected:
  UnitRegistry registry;
};

TEST_F(UnitRegistryTest, AUnitGetsTheDefaultMaskWhenItAsks) {
  TestUnit unit("ZELIRA");

  EXPECT_EQ(registry.sync(unit.entry), kRas1State | kRas1Error);
  EXPECT_EQ(unit.mask(), kRas1State | kRas1Error);
}

TEST_F(UnitRegistryTest, ARuleForAUnitsNameReachesEveryFileOfThatName) {
  TestUnit one("ZELIRA", "one.cpp");
  TestUnit two("ZELIRA", "two.cpp");
  TestUnit other("ZELJVM");
  registry.setRules(kRas1Error, {{"ZELIRA", kRas1Detail}});

  EXPECT_EQ(registry.sync(one.entry), kRas1Detail);
  EXPECT_EQ(registry.sync(two.entry), kRas1Detail);
  EXPECT_EQ(registry.sync(other.entry), kRas1Error);
}

TEST_F(UnitRegistryTest, RulesAlsoNameFilesAndComponents) {
  TestUnit byFile("ZELIRA", "one.cpp");
  TestUnit byComponent("ZELIRA", "two.cpp", "jmx");
  registry.setRules(0, {{"file:one.*", kRas1Flow}, {"component:jmx", kRas1Summary}});

  EXPECT_EQ(registry.sync(byFile.entry), kRas1Flow);
  EXPECT_EQ(registry.sync(byComponent.entry), kRas1Summary);
}

TEST_F(UnitRegistryTest, TheLastRuleThatFitsCounts) {
  TestUnit unit("ZELIRA");
  registry.setRules(0, {{"ZEL*", kRas1Flow}, {"ZELIRA", kRas1Detail}, {"*", kRas1Error}});

  EXPECT_EQ(registry.sync(unit.entry), kRas1Error);
}

TEST_F(UnitRegistryTest, AChangeAtRunTimeReachesKnownAndLaterUnits) {
  TestUnit known("ZELIRA");
  registry.sync(known.entry);

  registry.setMask("ZEL*", kRas1Detail);

  TestUnit later("ZELJVM");
  EXPECT_EQ(known.mask(), kRas1Detail);
  EXPECT_EQ(registry.sync(later.entry), kRas1Detail);
}

TEST_F(UnitRegistryTest, AChangeOutranksEarlierOnes) {
  TestUnit unit("ZELIRA");
  registry.sync(unit.entry);
  registry.setMask("ZELIRA", kRas1Detail);
  registry.setMask("ZEL*", kRas1Flow);

  registry.setMask("ZELIRA", kRas1Error);

  EXPECT_EQ(unit.mask(), kRas1Error);
}

TEST_F(UnitRegistryTest, AMaskNeverLooksUnsynced) {
  TestUnit unit("ZELIRA");
  registry.setMask("*", 0xFFFFFFFF);

  EXPECT_EQ(registry.sync(unit.entry), kAllClasses);
  EXPECT_EQ(unit.mask(), kAllClasses);
}

TEST_F(UnitRegistryTest, UnitsAreListedOnceWithTheirMasks) {
  TestUnit unit("ZELIRA", "zelira.cpp", "jmx");
  registry.sync(unit.entry);
  registry.sync(unit.entry);

  const auto units = registry.units();

  ASSERT_EQ(units.size(), 1U);
  EXPECT_EQ(units[0].name, "ZELIRA");
  EXPECT_EQ(units[0].file, "zelira.cpp");
  EXPECT_EQ(units[0].component, "jmx");
  EXPECT_EQ(units[0].mask, kDefaultMask);
}

TEST_F(UnitRegistryTest, ATransientUnitIsNotRemembered) {
  TestUnit unit("ZELJCLNT");
  unit.entry.flags = kRas1Transient;
  registry.sync(unit.entry);

  registry.setMask("*", kRas1Detail);

  EXPECT_TRUE(registry.units().empty());
  EXPECT_EQ(unit.mask(), kDefaultMask);
}

TEST_F(UnitRegistryTest, AnEntryWithoutDataStillGetsItsMask) {
  TestUnit unit("ZELJCLNT");
  unit.entry.data = nullptr;

  EXPECT_EQ(registry.sync(unit.entry), kDefaultMask);
  EXPECT_TRUE(registry.units().empty());
}

TEST_F(UnitRegistryTest, UnitsMayAskWhileMasksChange) {
  constexpr int kUnits = 200;
  std::vector<std::unique_ptr<TestUnit>> units;
  for (int i = 0; i < kUnits; ++i) {
    units.push_back(std::make_unique<TestUnit>("ZELIRA"));
  }

  std::thread changer([&] {
    for (std::uint32_t i = 0; i < kUnits; ++i) {
      registry.setMask("ZELIRA", i % 2 == 0 ? kRas1Detail : kRas1Flow);
    }
    registry.setMask("ZELIRA", kRas1Error);
  });
  for (const auto& unit : units) {
    registry.sync(unit->entry);
  }
  changer.join();

  for (const auto& unit : units) {
    EXPECT_EQ(unit->mask(), kRas1Error);
  }
}

}  // namespace
}  // namespace fw::trace
