#include "instance_lock.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "start_error.h"
#include "temp_root.h"

namespace host {
namespace {

TEST(InstanceLockTest, RefusesASecondHolderAndNamesTheFirst) {
  TempRoot files;
  const InstanceLock first(files.root().string(), "HOME");

  try {
    const InstanceLock second(files.root().string(), "HOME");
    FAIL() << "the second one got the lock";
  } catch (const StartError& e) {
    EXPECT_NE(std::string(e.what()).find("an agent already runs on HOME (process " +
                                         std::to_string(getpid()) + ")"),
              std::string::npos)
        << e.what();
  }
}

TEST(InstanceLockTest, IsFreeAgainAndTheFileEmptyAfterItsHolder) {
  TempRoot files;
  { const InstanceLock first(files.root().string(), "HOME"); }
  EXPECT_EQ(readFile(files.root() / "zelagent.pid"), "");

  const InstanceLock second(files.root().string(), "HOME");

  EXPECT_EQ(readFile(files.root() / "zelagent.pid"), std::to_string(getpid()) + "\n");
}

TEST(InstanceLockTest, OutlivesNoHolderThatWasKilled) {
  TempRoot files;
  const pid_t holder = fork();
  if (holder == 0) {
    const InstanceLock lock(files.root().string(), "HOME");
    raise(SIGKILL);
  }
  waitpid(holder, nullptr, 0);
  EXPECT_EQ(readFile(files.root() / "zelagent.pid"), std::to_string(holder) + "\n");

  EXPECT_NO_THROW(InstanceLock(files.root().string(), "HOME"));
}

}  // namespace
}  // namespace host
