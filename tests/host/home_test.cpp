#include "home.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "exit_codes.h"
#include "start_error.h"
#include "temp_root.h"

namespace host {
namespace {

namespace fs = std::filesystem;

class HomeTest : public testing::Test {
 protected:
  template <typename Body>
  StartError errorOf(Body&& body) {
    try {
      body();
    } catch (const StartError& e) {
      return e;
    }
    ADD_FAILURE() << "no error";
    return {0, ""};
  }

  TempRoot files;
};

TEST_F(HomeTest, FindsTheFoldersOfAnInstallationThroughLinks) {
  fs::create_symlink(files.home(), files.root() / "link");

  const Home home = findHome((files.root() / "link").string());

  EXPECT_EQ(home.root, files.home().string());
  EXPECT_EQ(home.var, (files.home() / "var").string());
  EXPECT_EQ(home.logs, files.logs().string());
}

TEST_F(HomeTest, ListsEverythingThatIsMissing) {
  const StartError error = errorOf([&] { findHome(files.root().string()); });

  EXPECT_EQ(error.exitCode(), kExitUsage);
  EXPECT_EQ(std::string(error.what()),
            files.root().string() +
                " is not a complete product home. Missing:\n  config/agent.yaml\n  "
                "config/<product code>wb.properties (options of the Java virtual machine)");
}

TEST_F(HomeTest, CreatesTheFoldersThatTheAgentWritesTo) {
  const Home home = findHome(files.home().string());

  prepareHome(home);

  EXPECT_TRUE(fs::is_directory(home.var));
  EXPECT_TRUE(fs::is_directory(home.logs));
}

TEST_F(HomeTest, AcceptsAVarFolderThatIsALink) {
  const Home home = findHome(files.home().string());
  fs::create_directory(files.root() / "elsewhere");
  fs::create_symlink(files.root() / "elsewhere", home.var);

  EXPECT_NO_THROW(prepareHome(home));
}

TEST_F(HomeTest, TellsWhatOtherUsersCanChange) {
  const Home home = findHome(files.home().string());
  prepareHome(home);
  EXPECT_EQ(openToOthers(home), std::vector<std::string>());
  const fs::path options = files.home() / "config/zjxwb.properties";
  for (const fs::path& path : {files.logs(), options}) {
    fs::permissions(path, fs::perms::others_write, fs::perm_options::add);
  }

  EXPECT_EQ(openToOthers(home),
            (std::vector<std::string>{files.logs().string() +
                                          " can be changed by every user; prevent that with: "
                                          "chmod o-w " +
                                          files.logs().string(),
                                      options.string() +
                                          " can be changed by every user; prevent that with: "
                                          "chmod o-w " +
                                          options.string()}));
}

TEST_F(HomeTest, TellsWhatBelongsToAnotherUser) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can give a file away";
  }
  const fs::path options = files.home() / "config/zjxwb.properties";
  ASSERT_EQ(chown(options.c_str(), 12345, 12345), 0);

  const auto warnings = openToOthers(findHome(files.home().string()));

  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_EQ(warnings[0].find(options.string() + " belongs to user 12345"), 0U) << warnings[0];
}

TEST_F(HomeTest, RefusesALogsFolderThatIsAFile) {
  files.write("logs", "");

  const StartError error = errorOf([&] { prepareHome(findHome(files.home().string())); });

  EXPECT_EQ(error.exitCode(), kExitFailed);
  EXPECT_NE(std::string(error.what()).find("can't write to " + files.logs().string()),
            std::string::npos);
}

TEST_F(HomeTest, NamesTheOptionsFileAfterTheProductCode) {
  const Home home = findHome(files.home().string());

  EXPECT_EQ(optionsFile(home, "XyZ"), files.home().string() + "/config/xyzwb.properties");
}

TEST_F(HomeTest, WarnsOfClassPathEntriesThatDoNotExist) {
  const Home home = findHome(files.home().string());
  const auto path = files.write("agents/jmx/config/zjxwb.properties",
                                "  ../../share/zel/app.jar:\\\n   lib/none.jar:lib/*\n-Xrs\n");

  const auto warnings = checkOptionsFile(home, path.string());

  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_EQ(warnings[0], path.string() + ": class path entry lib/none.jar does not exist");
}

TEST_F(HomeTest, ReadsTheOptionsBehindTheClassPath) {
  const auto path = files.write("agents/jmx/config/zjxwb.properties",
                                "a.jar:\\\n  b.jar\n\n# -Xcomment\n  -Xrs \n-Da=b\\\n c\n-Xmx64m");

  EXPECT_EQ(optionsIn(path.string()), (std::vector<std::string>{"-Xrs", "-Da=bc", "-Xmx64m"}));
  EXPECT_EQ(optionsIn("/nonexistent"), std::vector<std::string>());
}

TEST_F(HomeTest, RefusesAnOptionsFileThatDoesNotBeginWithTheClassPath) {
  const Home home = findHome(files.home().string());
  for (const char* text : {"", "\n../../share/zel/app.jar\n", "# options\na.jar\n", "-Xrs\n"}) {
    const auto path = files.write("agents/jmx/config/zjxwb.properties", text);

    const StartError error = errorOf([&] { checkOptionsFile(home, path.string()); });

    EXPECT_EQ(error.exitCode(), kExitUsage);
    EXPECT_NE(std::string(error.what()).find("the first line must be the class path"),
              std::string::npos)
        << text;
  }
}

TEST_F(HomeTest, SaysHowTheOptionsFileMustBeCalledWhenThereIsNone) {
  const Home home = findHome(files.home().string());

  const StartError error = errorOf([&] { checkOptionsFile(home, optionsFile(home, "QQQ")); });

  EXPECT_EQ(error.exitCode(), kExitUsage);
  EXPECT_NE(std::string(error.what()).find("qqqwb.properties"), std::string::npos);
  EXPECT_NE(std::string(error.what()).find("product.code"), std::string::npos);
}

}  // namespace
}  // namespace host
