#include "bridge/jni/zeljvmoptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

using testing::ElementsAre;

namespace {

std::vector<std::string> read(const std::string& text) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), std::fclose);
  std::fwrite(text.data(), 1, text.size(), file.get());
  std::rewind(file.get());
  return zelReadJvmOptions(file.get());
}

TEST(ZelJvmOptionsTest, TheFirstLineIsTheClassPathAndEachFurtherOneAnOption) {
  EXPECT_THAT(read("a.jar:b.jar\n-Xmx64m\n-Dkey=value with blanks\n"),
              ElementsAre("-Djava.class.path=a.jar:b.jar", "-Xmx64m", "-Dkey=value with blanks"));
}

TEST(ZelJvmOptionsTest, AnEmptyFileGivesAnEmptyClassPath) {
  EXPECT_THAT(read(""), ElementsAre("-Djava.class.path="));
}

TEST(ZelJvmOptionsTest, AFileOfCommentsAndBlankLinesGivesAnEmptyClassPathAndNothingElse) {
  EXPECT_THAT(read("# one\n\n   \n\t# two\n"), ElementsAre("-Djava.class.path="));
}

TEST(ZelJvmOptionsTest, AFileThatBeginsWithACommentHasAnEmptyClassPath) {
  EXPECT_THAT(read("# path\na.jar\n"), ElementsAre("-Djava.class.path=", "a.jar"));
}

TEST(ZelJvmOptionsTest, ABackslashContinuesALineWithoutItsLeadingBlanks) {
  EXPECT_THAT(read("a \\\n  b\n"), ElementsAre("-Djava.class.path=a b"));
  EXPECT_THAT(read("a:\\\n\tb:\\\n c\n-Xms1m\n"), ElementsAre("-Djava.class.path=a:b:c", "-Xms1m"));
}

TEST(ZelJvmOptionsTest, ACommentEndsAContinuedLineAndKeepsItsTrailingBlank) {
  EXPECT_THAT(read("a \\\n# comment\nb\n"), ElementsAre("-Djava.class.path=a ", "b"));
}

TEST(ZelJvmOptionsTest, ABlankLineEndsAContinuedLineAndKeepsItsTrailingBlank) {
  EXPECT_THAT(read("a\\\n\nb\n"), ElementsAre("-Djava.class.path=a", "b"));
  EXPECT_THAT(read("a \\\n \t\nb\n"), ElementsAre("-Djava.class.path=a ", "b"));
}

TEST(ZelJvmOptionsTest, OnlyOneBackslashIsRemoved) {
  EXPECT_THAT(read("a\\\\\nb\n"), ElementsAre("-Djava.class.path=a\\b"));
}

TEST(ZelJvmOptionsTest, SurroundingWhiteSpaceIsDropped) {
  EXPECT_THAT(read("  a.jar \t\r\n\t-Xrs  \n"), ElementsAre("-Djava.class.path=a.jar", "-Xrs"));
}

TEST(ZelJvmOptionsTest, TheLastLineNeedsNoLineEnd) {
  EXPECT_THAT(read("a.jar\n-Xrs"), ElementsAre("-Djava.class.path=a.jar", "-Xrs"));
  EXPECT_THAT(read("a.jar\n-Xrs\\"), ElementsAre("-Djava.class.path=a.jar", "-Xrs"));
}

TEST(ZelJvmOptionsTest, ALineOfABackslashAloneIsNoOption) {
  EXPECT_THAT(read("a.jar\n\\\n"), ElementsAre("-Djava.class.path=a.jar"));
}

TEST(ZelJvmOptionsTest, ALineOf3000CharactersBecomesTwoOptions) {
  const std::string line(3000, 'x');

  EXPECT_THAT(read("a.jar\n" + line + "\n"),
              ElementsAre("-Djava.class.path=a.jar", line.substr(0, 2047), line.substr(2047)));
}

}  // namespace
