#include "instance_lock.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
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
    EXPECT_NE(std::string(e.what()).find("an agent is already running on HOME (process " +
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

/// The mode of a file, or of what a link leads to.
unsigned modeOf(const std::filesystem::path& path) {
  return static_cast<unsigned>(std::filesystem::status(path).permissions());
}

std::string refusalOf(const TempRoot& files) {
  try {
    const InstanceLock lock(files.root().string(), "HOME");
  } catch (const StartError& e) {
    return e.what();
  }
  return "no refusal";
}

TEST(InstanceLockTest, CannotBeTakenByOthersWhoWouldOnlyHaveToReadTheFile) {
  TempRoot files;
  const auto path = files.root() / "zelagent.pid";
  {
    const InstanceLock first(files.root().string(), "HOME");
    EXPECT_EQ(modeOf(path), 0600U);
  }
  std::filesystem::permissions(path, std::filesystem::perms(0666));

  const InstanceLock second(files.root().string(), "HOME");

  EXPECT_EQ(modeOf(path), 0600U) << "a file that was made for more is closed";
}

TEST(InstanceLockTest, RefusesAFileThatIsALinkOrHasASecondNameAndLeavesItAlone) {
  TempRoot files;
  const auto other = files.write("other", "kept");
  const auto path = files.root() / "zelagent.pid";
  std::filesystem::create_symlink(other, path);
  EXPECT_NE(refusalOf(files).find(path.string() + ": it is a link; remove it"), std::string::npos);

  std::filesystem::remove(path);
  std::filesystem::create_hard_link(other, path);
  EXPECT_NE(refusalOf(files).find("it has a second name"), std::string::npos);

  EXPECT_EQ(readFile(other), "kept");
}

TEST(InstanceLockTest, RefusesANamedPipeAtOnce) {
  TempRoot files;
  ASSERT_EQ(mkfifo((files.root() / "zelagent.pid").c_str(), 0600), 0);

  EXPECT_NE(refusalOf(files).find("it is not a regular file"), std::string::npos);
}

}  // namespace
}  // namespace host
