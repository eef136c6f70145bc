#include "http/server/token.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/temp_dir.h"

namespace fw::http {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;

class TokenTest : public testing::Test {
 protected:
  TokenTest() { std::filesystem::create_directory(home.path() / "var"); }

  std::string path() const { return home / "var/token"; }
  Token load() const { return loadToken(home.path().string()); }
  void put(const std::string& text, mode_t mode = 0600) const {
    home.write("var/token", text);
    chmod(path().c_str(), mode);
  }

  TempDir home;
  const std::string good = std::string(40, 'a');
};

TEST_F(TokenTest, IsMadeOnTheFirstStartForItsUserOnly) {
  const mode_t before = umask(0);
  const Token token = load();
  umask(before);

  EXPECT_EQ(token.error, "");
  EXPECT_THAT(token.text, MatchesRegex("[0-9a-f]{64}"));
  EXPECT_EQ(home.read("var/token"), token.text + "\n");
  struct stat info {};
  ASSERT_EQ(stat(path().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & ALLPERMS, 0600u);
}

TEST_F(TokenTest, StaysTheSameFromStartToStart) {
  const Token first = load();

  EXPECT_EQ(load().text, first.text);
}

TEST_F(TokenTest, DiffersFromAgentToAgent) {
  const Token first = load();
  std::filesystem::remove(path());

  EXPECT_NE(load().text, first.text);
}

TEST_F(TokenTest, MayBeChosenByTheUser) {
  put(good + "\n");

  EXPECT_EQ(load().text, good);
}

TEST_F(TokenTest, IsRefusedWhenOthersMayReadIt) {
  for (const mode_t mode : {0640u, 0604u, 0620u, 0601u}) {
    put(good + "\n", mode);

    const Token token = load();

    EXPECT_EQ(token.text, "") << std::oct << mode;
    EXPECT_THAT(token.error, AllOf(HasSubstr(path()), HasSubstr("chmod 600"))) << std::oct << mode;
    EXPECT_THAT(token.error, testing::Not(HasSubstr(good)));
  }
}

TEST_F(TokenTest, IsRefusedWhenItIsNoToken) {
  for (const std::string& text :
       {std::string(), std::string("\n"), std::string(31, 'a'), std::string(1025, 'a'),
        good + "\n" + good, good + " ", good + "\xc3\xa9"}) {
    put(text);

    const Token token = load();

    EXPECT_EQ(token.text, "") << text;
    EXPECT_THAT(token.error, AllOf(HasSubstr(path()), HasSubstr("Remove the file"))) << text;
  }
}

TEST_F(TokenTest, IsRefusedWhenItIsALinkOrAFolder) {
  home.write("elsewhere", good);
  chmod((home / "elsewhere").c_str(), 0600);
  std::filesystem::create_symlink(home / "elsewhere", path());
  EXPECT_THAT(load().error, HasSubstr("is a link"));

  std::filesystem::remove(path());
  std::filesystem::create_directory(path());
  EXPECT_THAT(load().error, HasSubstr("not a plain file"));
}

TEST_F(TokenTest, WithASecondNameIsRefused) {
  put(good + "\n");
  std::filesystem::create_hard_link(path(), home.path() / "other");

  const Token token = load();

  EXPECT_EQ(token.text, "");
  EXPECT_THAT(token.error, HasSubstr("has a second name"));
}

TEST_F(TokenTest, OfAnotherUserIsRefused) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can give a file away";
  }
  put(good + "\n");
  ASSERT_EQ(chown(path().c_str(), 12345, 12345), 0);

  EXPECT_THAT(load().error, HasSubstr("belongs to another user (id 12345)"));
}

TEST_F(TokenTest, ReplacesADraftThatWasLeftBehind) {
  home.write("var/token.new", "half");

  EXPECT_EQ(load().error, "");

  EXPECT_FALSE(std::filesystem::exists(home / "var/token.new"));
}

TEST_F(TokenTest, SaysWhereItCannotBeWritten) {
  std::filesystem::remove(home.path() / "var");

  EXPECT_THAT(load().error, HasSubstr("Can't write the token " + path() + ": No such file"));
}

TEST_F(TokenTest, IsEqualToItselfOnly) {
  EXPECT_TRUE(isSameSecret(good, good));
  EXPECT_FALSE(isSameSecret(good, good + "a"));
  EXPECT_FALSE(isSameSecret(good, std::string(39, 'a') + "b"));
  EXPECT_FALSE(isSameSecret(good, "b" + std::string(39, 'a')));
  EXPECT_FALSE(isSameSecret(good, ""));
}

}  // namespace
}  // namespace fw::http
