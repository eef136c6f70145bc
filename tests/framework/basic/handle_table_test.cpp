#include "basic/handle_table.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include "agentfw/res1.h"

namespace fw {
namespace {

class HandleTableTest : public testing::Test {
 protected:
  HandleTable table;
};

TEST_F(HandleTableTest, UsesAreCounted) {
  const RES1_Handle handle = table.add();

  EXPECT_EQ(table.use(handle), 0);
  EXPECT_EQ(table.use(handle), 0);
  EXPECT_EQ(table.uses(handle), 2U);
  EXPECT_EQ(table.drop(handle), 0);
  EXPECT_EQ(table.uses(handle), 1U);
}

TEST_F(HandleTableTest, ADropWithoutAUseIsAnError) {
  const RES1_Handle handle = table.add();

  EXPECT_EQ(table.drop(handle), HandleTable::kNotInUse);
}

TEST_F(HandleTableTest, UnknownHandlesAreErrors) {
  const RES1_Handle handle = table.add();
  const RES1_Handle unknown[] = {0, handle + 1, handle + (1U << 18U), 0xFFFFFFFF};

  for (const RES1_Handle wrong : unknown) {
    EXPECT_EQ(table.use(wrong), HandleTable::kUnknownHandle);
    EXPECT_EQ(table.drop(wrong), HandleTable::kUnknownHandle);
    EXPECT_EQ(table.uses(wrong), std::nullopt);
    EXPECT_FALSE(table.remove(wrong));
    EXPECT_FALSE(table.removeUnused(wrong));
  }
}

TEST_F(HandleTableTest, AHandleIsNeverZeroAndNotUsedAgainAfterItsEnd) {
  std::set<RES1_Handle> seen;
  for (int i = 0; i < 10'000; ++i) {
    const RES1_Handle handle = table.add();
    EXPECT_NE(handle, 0U);
    EXPECT_TRUE(seen.insert(handle).second);
    EXPECT_TRUE(table.remove(handle));
    EXPECT_EQ(table.use(handle), HandleTable::kUnknownHandle);
  }
  EXPECT_EQ(table.size(), 0U);
}

TEST_F(HandleTableTest, OnlyAHandleWithoutUsesIsRemovedAsUnused) {
  const RES1_Handle handle = table.add();
  table.use(handle);

  EXPECT_FALSE(table.removeUnused(handle));
  table.drop(handle);
  EXPECT_TRUE(table.removeUnused(handle));
  EXPECT_EQ(table.use(handle), HandleTable::kUnknownHandle);
}

TEST_F(HandleTableTest, TheLastDropIsToldAndNoEarlierOne) {
  std::vector<RES1_Handle> told;
  const RES1_Handle handle = table.add([&](RES1_Handle unused) { told.push_back(unused); });
  table.use(handle);
  table.use(handle);

  table.drop(handle);
  EXPECT_TRUE(told.empty());
  table.drop(handle);

  EXPECT_EQ(told, std::vector<RES1_Handle>{handle});
}

TEST_F(HandleTableTest, WhoIsToldMayRemoveTheHandle) {
  const RES1_Handle handle =
      table.add([&](RES1_Handle unused) { EXPECT_TRUE(table.removeUnused(unused)); });
  table.use(handle);

  EXPECT_EQ(table.drop(handle), 0);

  EXPECT_EQ(table.size(), 0U);
}

TEST_F(HandleTableTest, WhoWatchesIsToldInsteadOfTheFirst) {
  int first = 0;
  int second = 0;
  const RES1_Handle handle = table.add([&](RES1_Handle) { ++first; });
  EXPECT_TRUE(table.watch(handle, [&](RES1_Handle) { ++second; }));
  table.use(handle);

  table.drop(handle);

  EXPECT_EQ(first, 0);
  EXPECT_EQ(second, 1);
  table.remove(handle);
  EXPECT_FALSE(table.watch(handle, {}));
}

TEST_F(HandleTableTest, AFullTableGivesNoHandle) {
  RES1_Handle last = 0;
  for (std::uint32_t i = 0; i < HandleTable::kMaxHandles; ++i) {
    last = table.add();
  }
  EXPECT_NE(last, 0U);

  EXPECT_EQ(table.add(), 0U);

  table.remove(last);
  EXPECT_NE(table.add(), 0U);
}

TEST_F(HandleTableTest, ManyThreadsMayUseAndDrop) {
  constexpr int kRounds = 5'000;
  std::atomic<int> told{0};
  const RES1_Handle handle = table.add([&](RES1_Handle) { ++told; });
  const auto work = [&] {
    for (int i = 0; i < kRounds; ++i) {
      EXPECT_EQ(table.use(handle), 0);
      EXPECT_EQ(table.drop(handle), 0);
    }
  };

  std::thread one(work);
  std::thread two(work);
  one.join();
  two.join();

  EXPECT_EQ(table.uses(handle), 0U);
  EXPECT_GE(told, 1);
}

TEST_F(HandleTableTest, TheSeamCountsInTheTableOfTheProcess) {
  const RES1_Handle handle = HandleTable::instance().add();
  HandleTable::instance().use(handle);

  EXPECT_EQ(RES1_Drop(handle), 0);
  EXPECT_EQ(RES1_Drop(handle), HandleTable::kNotInUse);
  EXPECT_TRUE(HandleTable::instance().remove(handle));
  EXPECT_EQ(RES1_Drop(handle), HandleTable::kUnknownHandle);
}

}  // namespace
}  // namespace fw
