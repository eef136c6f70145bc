#include "agent_fixture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

AgentFixture::AgentFixture() {
  options.setEnv["ZEL_LIBJVM"] = FAKE_LIBRARY;  // a library that is there; nothing runs Java here
  options.setEnv["FAKE_GATE"] = gate();
}

void AgentFixture::start(const std::string& agent, const std::vector<std::string>& arguments) {
  options.setEnv["FAKE_AGENT"] = agent;
  std::filesystem::remove(gate());
  ASSERT_EQ(mkfifo(gate().c_str(), 0600), 0);
  std::vector<std::string> command{ZELAGENT, "--home", files.home().string()};
  command.insert(command.end(), arguments.begin(), arguments.end());
  process_ = std::make_unique<ChildProcess>(command, options);
}

void AgentFixture::openGate() const { files.write("gate", ""); }

void AgentFixture::waitUntilReady() {
  ASSERT_TRUE(process().waitForOutput("Zel is ready: http://127.0.0.1:"))
      << process().output() << process().errors();
}
