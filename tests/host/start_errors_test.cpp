#include <csignal>
#include <filesystem>

#include "agent_fixture.h"
#include "exit_codes.h"

namespace host {
namespace {

/// What a person reads after a start that can't succeed.
class StartErrorsTest : public AgentFixture {
 protected:
  void expectRefusal(int status, const std::vector<std::string>& texts) {
    EXPECT_EQ(process().wait(), status) << process().errors();
    EXPECT_EQ(process().output().find("Zel is ready"), std::string::npos);
    for (const std::string& text : texts) {
      EXPECT_NE(process().errors().find(text), std::string::npos)
          << "wanted: " << text << "\ngot: " << process().errors();
    }
  }
};

TEST_F(StartErrorsTest, ASecondInstanceLearnsOfTheFirst) {
  start("runs");
  waitUntilReady();

  ChildProcess second({ZELAGENT, "--home", files.home().string()}, options);

  EXPECT_EQ(second.wait(), kExitFailed);
  EXPECT_NE(second.errors().find("an agent is already running on " + files.home().string() +
                                 " (process " + std::to_string(process().id()) + ")"),
            std::string::npos)
      << second.errors();
  process().signal(SIGTERM);
  EXPECT_EQ(process().wait(), kExitOk) << "the first one runs on";
}

TEST_F(StartErrorsTest, AKilledAgentIsNotInTheWay) {
  start("runs");
  waitUntilReady();
  process().signal(SIGKILL);
  process().wait();

  start("runs");

  waitUntilReady();
}

TEST_F(StartErrorsTest, AHomeThatIsNoneIsNamedWithWhatItLacks) {
  std::filesystem::remove(files.home() / "config/agent.yaml");
  start("runs");
  expectRefusal(kExitUsage, {files.home().string(), "Missing:\n  config/agent.yaml\n"});
}

TEST_F(StartErrorsTest, AHomeThatDoesNotExistIsNamed) {
  std::filesystem::remove_all(files.home());
  start("runs");
  expectRefusal(kExitUsage, {files.home().string(), "No such file or directory", "--home"});
}

TEST_F(StartErrorsTest, AMissingOptionsFileIsNamed) {
  std::filesystem::rename(files.home() / "config/zjxwb.properties",
                          files.home() / "config/otherwb.properties");
  start("runs");
  expectRefusal(kExitUsage, {"config/zjxwb.properties", "No such file or directory"});
}

TEST_F(StartErrorsTest, AHomeThatCannotBeWrittenIsNamed) {
  // Even root can't create files there.
  std::filesystem::create_symlink("/proc", files.home() / "var");
  start("runs");
  expectRefusal(kExitFailed, {"can't write", (files.home() / "var").string()});
}

TEST_F(StartErrorsTest, ErrorsOfTheConfigurationAreShown) {
  files.write("agents/jmx/config/agent.yaml", "wrong: 1\n");
  start("runs");
  expectRefusal(kExitUsage,
                {"the configuration has errors", "agent.yaml:1:1: unknown key 'wrong'"});
}

TEST_F(StartErrorsTest, AWrongZelLibjvmIsNamed) {
  options.setEnv["ZEL_LIBJVM"] = "/nonexistent/libjvm.so";
  start("runs");
  expectRefusal(kExitFailed, {"ZEL_LIBJVM names /nonexistent/libjvm.so", "unset"});
}

TEST_F(StartErrorsTest, AWrongStopLimitIsRefused) {
  options.setEnv["ZEL_STOP_LIMIT"] = "0";
  start("runs");
  expectRefusal(kExitUsage, {"ZEL_STOP_LIMIT is '0'"});
}

TEST_F(StartErrorsTest, AStartThatFailsShowsTheErrorsOfTheTrace) {
  start("fails");
  expectRefusal(kExitFailed, {"ended with status 1", (files.logs() / "agent.log").string(),
                              "ERROR: the init request has failed"});
}

TEST_F(StartErrorsTest, AFailureOfTheFrameworkIsShown) {
  options.setEnv["FAKE_FRAMEWORK_FAILURE"] = "port 8790 is taken";
  start("runs");
  expectRefusal(kExitFailed, {"port 8790 is taken"});
}

TEST_F(StartErrorsTest, AVirtualMachineThatEndsTheProcessHasItsLogShown) {
  start("ends in the start");
  expectRefusal(7, {"ended with status 7", "ZJX.jmx.4000000000.JVM.log:\n",
                    "Error occurred during initialization of VM\n  bad option\n"});
}

TEST_F(StartErrorsTest, TheConfigurationIsCheckedWithoutAStart) {
  start("runs", {"--check-config"});
  EXPECT_EQ(process().wait(), kExitOk);
  EXPECT_NE(process().output().find("the configuration is valid"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(files.home() / "var")) << "a check changes nothing";

  files.write("agents/jmx/config/zjxwb.properties", "../../lib/none.jar\n");
  start("runs", {"--check-config"});
  EXPECT_EQ(process().wait(), kExitOk);
  EXPECT_NE(process().errors().find("class path entry ../../lib/none.jar does not exist"),
            std::string::npos);

  files.write("agents/jmx/config/zjxwb.properties", "# comment\n");
  start("runs", {"--check-config"});
  expectRefusal(kExitUsage, {"the first line must be the class path"});

  files.write("agents/jmx/config/agent.yaml", "wrong: 1\n");
  start("runs", {"--check-config"});
  expectRefusal(kExitUsage, {"unknown key 'wrong'"});
}

}  // namespace
}  // namespace host
