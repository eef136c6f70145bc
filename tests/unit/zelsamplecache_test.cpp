#include <algorithm>
#include <atomic>
#include <thread>

#include "support/table_fixture.h"

namespace {

using testing::ElementsAre;

const std::vector<std::string> kRows = {"row1", "row2"};

class SampleCacheTest : public TableTest {
 protected:
  void SetUp() override {
    TableTest::SetUp();
    framework.setMask("ZELIRA", kRas1Detail);
  }

  std::vector<std::string> lastMessages(std::size_t count) {
    const std::vector<std::string> all = framework.messages();
    return {all.end() - static_cast<std::ptrdiff_t>(std::min(count, all.size())), all.end()};
  }
};

TEST_F(SampleCacheTest, HasNothingBeforeTheFirstSamples) {
  EXPECT_EQ(manager.getCachedSamples("node"), nullptr);

  EXPECT_THAT(framework.messages(), ElementsAre("TAB@node", "Cache does not exist"));
}

TEST_F(SampleCacheTest, KeepsACopyOfTheRows) {
  manager.cacheSamples(kRows, "node", 30);
  EXPECT_THAT(framework.messages(), ElementsAre("Cached 2 samples of TAB@node for 30 seconds"));

  const std::vector<std::string>* cached = manager.getCachedSamples("node");

  ASSERT_NE(cached, nullptr);
  EXPECT_NE(cached, &kRows);
  EXPECT_EQ(*cached, kRows);
  EXPECT_THAT(lastMessages(1), ElementsAre("TAB@node"));
  EXPECT_EQ(manager.cache->at("node")->expiry, 1'000'030);
}

TEST_F(SampleCacheTest, ServesTheSameRowsAgain) {
  manager.cacheSamples(kRows, "node", 30);

  EXPECT_EQ(manager.getCachedSamples("node"), manager.getCachedSamples("node"));
}

TEST_F(SampleCacheTest, HasNothingForAnotherSubnode) {
  manager.cacheSamples(kRows, "node", 30);

  EXPECT_EQ(manager.getCachedSamples("other"), nullptr);

  EXPECT_THAT(lastMessages(2), ElementsAre("TAB@other", "No cached samples"));
}

TEST_F(SampleCacheTest, ServesRowsUntilTheSecondBeforeTheyExpire) {
  manager.cacheSamples(kRows, "node", 30);
  s_now += 29;

  EXPECT_NE(manager.getCachedSamples("node"), nullptr);
}

TEST_F(SampleCacheTest, DropsRowsWhenTheyExpire) {
  manager.cacheSamples(kRows, "node", 30);
  s_now += 30;

  EXPECT_EQ(manager.getCachedSamples("node"), nullptr);

  EXPECT_THAT(lastMessages(2), ElementsAre("TAB@node", "Cached samples expired"));
  EXPECT_TRUE(manager.cache->empty());
}

TEST_F(SampleCacheTest, TrustsAnExpiry1000SecondsAhead) {
  manager.cacheSamples(kRows, "node", 1000);

  EXPECT_NE(manager.getCachedSamples("node"), nullptr);
}

TEST_F(SampleCacheTest, DistrustsAnExpiry1001SecondsAhead) {
  manager.cacheSamples(kRows, "node", 1001);

  EXPECT_EQ(manager.getCachedSamples("node"), nullptr);

  EXPECT_THAT(lastMessages(1), ElementsAre("Cached samples expired"));
  EXPECT_TRUE(manager.cache->empty());
}

TEST_F(SampleCacheTest, DropsRowsAfterTheClockWasSetBack) {
  manager.cacheSamples(kRows, "node", 30);
  s_now -= 3600;

  EXPECT_EQ(manager.getCachedSamples("node"), nullptr);
}

TEST_F(SampleCacheTest, ReplacesTheRowsOfASubnode) {
  manager.cacheSamples(kRows, "node", 30);
  s_now += 20;
  manager.cacheSamples({"new"}, "node", 30);
  s_now += 20;

  const std::vector<std::string>* cached = manager.getCachedSamples("node");

  ASSERT_NE(cached, nullptr);
  EXPECT_THAT(*cached, ElementsAre("new"));
  EXPECT_EQ(manager.cache->size(), 1U);
}

TEST_F(SampleCacheTest, LeavesAnEntryUntouchedForNoSeconds) {
  manager.cacheSamples(kRows, "node", 30);
  const std::vector<std::string> before = framework.messages();

  manager.cacheSamples({"new"}, "node", 0);

  EXPECT_EQ(framework.messages(), before);
  EXPECT_EQ(*manager.getCachedSamples("node"), kRows);
}

TEST_F(SampleCacheTest, MakesNoCacheForNoSeconds) {
  manager.cacheSamples(kRows, "node", 0);

  EXPECT_EQ(manager.cache, nullptr);
}

TEST_F(SampleCacheTest, DeletesTheRowsOfOneSubnode) {
  manager.cacheSamples(kRows, "node", 30);
  manager.cacheSamples(kRows, "other", 30);

  manager.deleteCachedSamples("node");

  EXPECT_THAT(lastMessages(1), ElementsAre("Cached samples of TAB@node deleted"));
  EXPECT_EQ(manager.getCachedSamples("node"), nullptr);
  EXPECT_NE(manager.getCachedSamples("other"), nullptr);
}

TEST_F(SampleCacheTest, DeletesNothingWhereNothingIs) {
  manager.deleteCachedSamples("node");
  manager.cacheSamples(kRows, "other", 30);
  const std::vector<std::string> before = framework.messages();

  manager.deleteCachedSamples("node");

  EXPECT_EQ(framework.messages(), before);
  EXPECT_EQ(manager.cache->size(), 1U);
}

TEST_F(SampleCacheTest, TracesNothingWithoutTheDetailClass) {
  framework.setMask("ZELIRA", fake::allBut(kRas1Detail));

  manager.getCachedSamples("node");
  manager.cacheSamples(kRows, "node", 30);
  manager.getCachedSamples("node");
  manager.getCachedSamples("other");
  manager.deleteCachedSamples("node");
  manager.cacheSamples(kRows, "node", 30);
  s_now += 30;
  manager.getCachedSamples("node");

  EXPECT_TRUE(manager.cache->empty());
  EXPECT_THAT(framework.messages(), testing::IsEmpty());
}

TEST_F(SampleCacheTest, LeavesItsRecordsWhenTheManagerGoes) {
  auto doomed = std::make_unique<ZelTableManager>("ZJX", "T", newColumns());
  doomed->cacheSamples(kRows, "node", 30);
  const std::unique_ptr<ZelCachedSampleData> record(doomed->cache->at("node"));

  doomed.reset();

  EXPECT_EQ(record->rows, kRows);
}

TEST_F(SampleCacheTest, ServesSeveralThreads) {
  std::vector<std::thread> threads;
  std::atomic<int> served{0};
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this, &served, i] {
      const std::string subnode = "node" + std::to_string(i);
      for (unsigned round = 1; round <= 500; ++round) {
        manager.cacheSamples({subnode}, subnode, 30);
        const std::vector<std::string>* rows = manager.getCachedSamples(subnode);
        served.fetch_add(rows != nullptr && rows->front() == subnode ? 1 : 0);
        manager.deleteCachedSamples(subnode);
        manager.updateAllocPeak(round);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_EQ(served.load(), 4 * 500);
  EXPECT_EQ(manager.allocPeak.load(), 100U);
}

}  // namespace
