#include "situations/situation_notices.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace fw {
namespace {

SituationStatus named(const std::string& name) {
  SituationStatus status;
  status.request.name = name;
  return status;
}

TEST(SituationNoticesTest, AreHandedOnInTheOrderInWhichTheyWereAdded) {
  std::vector<std::string> told;
  SituationNotices notices([&](const SituationStatus& status) {
    told.push_back(status.request.name);
    if (status.request.name == "a") {
      // A change that comes while another is handed on waits for it.
      notices.add(named("c"));
      notices.deliver();
    }
    told.push_back("end of " + status.request.name);
  });
  notices.add(named("a"));
  notices.add(named("b"));
  EXPECT_TRUE(told.empty());

  notices.deliver();

  EXPECT_EQ(told, (std::vector<std::string>{"a", "end of a", "b", "end of b", "c", "end of c"}));
}

TEST(SituationNoticesTest, AreHandedOnOneAtATimeAndAllOfThem) {
  std::vector<std::string> told;  // without a lock: two notices at once would be a race
  SituationNotices notices(
      [&](const SituationStatus& status) { told.push_back(status.request.name); });
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      for (int round = 0; round < 500; ++round) {
        notices.add(named("s"));
        notices.deliver();
      }
    });
  }

  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_EQ(told.size(), 2000U);
}

}  // namespace
}  // namespace fw
