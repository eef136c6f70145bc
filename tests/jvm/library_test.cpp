// libzel.so as it ships: what it exports, and a whole life of the agent through its entry points.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "support/fake_framework.h"

using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

namespace files = std::filesystem;

std::vector<std::string> linesOf(const std::string& command) {
  std::vector<std::string> lines;
  std::FILE* pipe = popen(command.c_str(), "r");
  char line[4096];
  while (pipe != nullptr && std::fgets(line, sizeof(line), pipe) != nullptr) {
    lines.emplace_back(line);
    lines.back().pop_back();
  }
  EXPECT_EQ(pclose(pipe), 0);
  return lines;
}

template <typename Function>
Function* entry(const char* name) {
  static void* library = dlopen(ZEL_LIBRARY, RTLD_NOW);
  EXPECT_NE(library, nullptr) << dlerror();
  return reinterpret_cast<Function*>(dlsym(library, name));
}

TEST(LibraryTest, ExportsItsEntryPointsAndNothingElse) {
  EXPECT_THAT(
      linesOf("nm -D --defined-only --format=posix " ZEL_LIBRARY " | cut -d' ' -f1 | sort"),
      ElementsAre("LoadAgents", "zelAgentStart", "zelAgentStop", "zelWaitForAgentShutdown"));
}

TEST(LibraryTest, LeavesTheFrameworkToTheProcessThatLoadsIt) {
  EXPECT_THAT(linesOf("nm -D --undefined-only --format=posix " ZEL_LIBRARY " | cut -d' ' -f1"),
              testing::IsSupersetOf({"kramain", "RAS1_Printf", "IRA_Shutdown", "KDH1_Listen"}));
}

TEST(LibraryTest, LinksNoJvm) {
  EXPECT_THAT(linesOf("readelf -d " ZEL_LIBRARY),
              testing::Each(testing::Not(testing::HasSubstr("libjvm"))));
}

TEST(LibraryTest, TheAgentLivesThroughItsEntryPoints) {
  std::string root = (files::temp_directory_path() / "zel-library-XXXXXX").string();
  ASSERT_NE(mkdtemp(root.data()), nullptr);
  files::create_directories(root + "/agents/tst/config");
  files::create_directories(root + "/logs");
  std::ofstream(root + "/agents/tst/config/tstwb.properties")
      << TEST_APPLICATION_JAR << "\n-Xrs\n-agentpath:" << ZELJRE_LIBRARY << "\n";
  fake::Framework& framework = fake::Framework::get();
  framework.env = {{"ZEL_PROD", "TST"},
                   {"ZEL_INST", "inst"},
                   {"ZEL_PROD_HOME", root + "/agents/tst"},
                   {"ZEL_LIBJVM", std::getenv("ZEL_TEST_JVM")}};
  auto* wait = entry<int(unsigned long)>("zelWaitForAgentShutdown");
  int loaded = -1;
  framework.onCall["kramain"] = [&] {
    loaded = entry<int()>("LoadAgents")();
    while (wait(1000) == 0) {
    }
  };
  EXPECT_EQ(wait(0), 0);

  int result = -99;
  std::thread agent([&] { result = entry<int()>("zelAgentStart")(); });
  const bool isRunning = framework.waitForMessage("Web Service started");
  entry<void()>("zelAgentStop")();
  agent.join();

  EXPECT_TRUE(isRunning);
  EXPECT_EQ(loaded, 0);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(wait(0), 1);
  EXPECT_THAT(framework.messages(), Contains(StartsWith("JVM log:  ../../logs/TST.inst.")));
  EXPECT_TRUE(framework.hasMessage("Agent stopped"));
  files::current_path("/");
  files::remove_all(root);
}

// Leaves before static objects end, as the library's host does: Java threads go on.
void leave(int status, void* /*unused*/) {
  std::fflush(nullptr);
  _exit(status);
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  on_exit(leave, nullptr);
  return RUN_ALL_TESTS();
}
