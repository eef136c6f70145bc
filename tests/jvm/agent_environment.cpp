#include "jvm/agent_environment.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "bridge/zelclient.h"
#include "zelagent.h"

namespace files = std::filesystem;

namespace {

fake::Framework& framework() { return fake::Framework::get(); }

// Leaves before static objects end, as the library's host does: Java threads go on.
void leave(int status, void* /*unused*/) {
  std::fflush(nullptr);
  _exit(status);
}

// What the framework's main loop does: load the agent, and wait for the shut-down.
void runMainLoop() {
  EXPECT_EQ(framework().loader(), 0);
  while (!ZelAgent::isShutdown(1000)) {
  }
}

}  // namespace

void AgentEnvironment::SetUp() {
  on_exit(leave, nullptr);
  std::string name = (files::temp_directory_path() / "zel-agent-XXXXXX").string();
  ASSERT_NE(mkdtemp(name.data()), nullptr);
  root_ = name;
  const std::string home = root_ + "/agents/tst";
  files::create_directories(home + "/config");
  files::create_directories(root_ + "/logs");
  std::ofstream(home + "/config/tstwb.properties")
      << TEST_APPLICATION_JAR << "\n-Xrs\n-Xmx64m\n-Xcheck:jni\n-XX:-MaxFDLimit\n"
      << "-agentpath:" << ZELJRE_LIBRARY << "\n";

  framework().reset();
  framework().env = {{"ZEL_PROD", "TST"},
                     {"ZEL_INST", "inst"},
                     {"ZEL_PROD_HOME", home},
                     {"ZEL_LIBJVM", std::getenv("ZEL_TEST_JVM")}};
  framework().onCall["kramain"] = runMainLoop;
  framework().setMask("ZELJCLNT", kRas1Error | kRas1Detail);
  agent_ = std::thread([this] { result_ = ZelAgent::start(); });
  ASSERT_TRUE(framework().waitForMessage("Message handler started"));
  while (!ZelAgent::s_started.load()) {
    ASSERT_NE(result_, -1) << "the agent did not start";
    std::this_thread::yield();
  }
}

void AgentEnvironment::TearDown() {
  ZelAgent::stop();
  agent_.join();
  EXPECT_EQ(result_, 0);
  EXPECT_TRUE(framework().hasMessage("Agent shuts down ..."));
  EXPECT_TRUE(framework().hasMessage("Agent stopped"));
  EXPECT_EQ(ZelClient::s_inst.load(), nullptr);
  EXPECT_TRUE(framework().waitForMessage("Message handler stopped"));
  // -Xcheck:jni reports there what the library does wrong.
  EXPECT_THAT(jvmLog(), testing::Not(testing::HasSubstr("in native method")));
  files::current_path("/");
  files::remove_all(root_);
}

std::string AgentEnvironment::jvmLog() const {
  std::string text;
  for (const auto& entry : files::directory_iterator(root_ + "/logs")) {
    std::ifstream file(entry.path());
    text.append(std::istreambuf_iterator<char>(file), {});
  }
  return text;
}
