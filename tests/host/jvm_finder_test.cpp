#include "jvm_finder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "temp_root.h"

namespace host {
namespace {

namespace fs = std::filesystem;

class JvmFinderTest : public testing::Test {
 protected:
  JvmFinderTest() { fs::create_directories(installations); }

  fs::path installation(const std::string& path, const std::string& version) {
    files.write(path + "/lib/server/libjvm.so", "");
    files.write(path + "/release", "IMPLEMENTOR=\"X\"\nJAVA_VERSION=\"" + version + "\"\n");
    const fs::path java = files.write(path + "/bin/java", "");
    fs::permissions(java, fs::perms::owner_all);
    return files.root() / path;
  }

  static std::string libraryOf(const fs::path& javaHome) {
    return (javaHome / "lib/server/libjvm.so").string();
  }

  TempRoot files;
  fs::path installations = files.root() / "jvms";
  JvmPlaces places{std::nullopt, "", installations.string()};
};

TEST_F(JvmFinderTest, PrefersJavaHome) {
  const fs::path chosen = installation("chosen", "17.0.15");
  installation("jvms/newer", "25.0.3");
  places.javaHome = chosen.string();

  const JvmSearch search = findJvm(places);

  ASSERT_TRUE(search.found);
  EXPECT_EQ(search.found->library, libraryOf(chosen));
  EXPECT_EQ(search.found->version, 17);
}

TEST_F(JvmFinderTest, ResolvesTheJavaOnPathToItsInstallation) {
  const fs::path real = installation("opt/jdk", "21");
  fs::create_directories(files.root() / "bin");
  fs::create_symlink(real / "bin/java", files.root() / "bin/java");
  installation("jvms/newer", "25.0.3");
  places.path = "/nonexistent:" + (files.root() / "bin").string();

  const JvmSearch search = findJvm(places);

  ASSERT_TRUE(search.found);
  EXPECT_EQ(search.found->library, libraryOf(real));
}

TEST_F(JvmFinderTest, TakesTheNewestInstallationByNumberNotByName) {
  installation("jvms/java-9", "9.0.4");
  const fs::path newest = installation("jvms/java-21", "21.0.1");
  installation("jvms/java-17", "17.0.15");
  installation("jvms/z-java-8", "1.8.0_402");

  const JvmSearch search = findJvm(places);

  ASSERT_TRUE(search.found);
  EXPECT_EQ(search.found->library, libraryOf(newest));
}

TEST_F(JvmFinderTest, ListsAnInstallationOnceThoughLinksLeadToIt) {
  const fs::path real = installation("jvms/java-17-openjdk", "17.0.15");
  fs::create_symlink(real, installations / "default-java");

  EXPECT_EQ(installedJvms(installations.string()).size(), 1U);
}

TEST_F(JvmFinderTest, PassesOverAnOldJavaAndGoesOn) {
  places.javaHome = installation("old", "1.8.0_402").string();
  const fs::path good = installation("jvms/good", "17");

  const JvmSearch search = findJvm(places);

  ASSERT_TRUE(search.found);
  EXPECT_EQ(search.found->library, libraryOf(good));
  EXPECT_EQ(search.notes.front(), "JAVA_HOME: " + *places.javaHome + " is Java 8, too old");
}

TEST_F(JvmFinderTest, TellsOfAJavaHomeThatIsNoneAndWhatItTookInstead) {
  places.javaHome = "/nonexistent";
  const fs::path taken = installation("jvms/good", "17");

  const std::string text = javaHomeWarning(places, findJvm(places));

  EXPECT_EQ(text.find("JAVA_HOME: no lib/server/libjvm.so in /nonexistent; using " +
                      libraryOf(taken) + " instead\n  Set JAVA_HOME to"),
            0U)
      << text;
}

TEST_F(JvmFinderTest, SaysNothingOfAJavaHomeThatIsTakenOrNotSet) {
  installation("jvms/good", "17");
  EXPECT_EQ(javaHomeWarning(places, findJvm(places)), "");

  places.javaHome = installation("chosen", "21").string();
  EXPECT_EQ(javaHomeWarning(places, findJvm(places)), "");
}

TEST_F(JvmFinderTest, TellsWhereItLookedAndWhichVariableToSetWhenThereIsNone) {
  installation("jvms/old", "11.0.2");
  places.javaHome = "/nonexistent";
  places.path = "/nonexistent";

  const JvmSearch search = findJvm(places);
  const std::string text = noJvmText(search);

  EXPECT_FALSE(search.found);
  for (const std::string& part : std::vector<std::string>{
           "no Java virtual machine of version 17 or later found",
           "JAVA_HOME: no lib/server/libjvm.so in /nonexistent", "PATH: no java",
           installations.string(), "set JAVA_HOME", "ZEL_LIBJVM"}) {
    EXPECT_NE(text.find(part), std::string::npos) << part;
  }
}

}  // namespace
}  // namespace host
