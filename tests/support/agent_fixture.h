#pragma once

#include <signal.h>

#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "support/library_fixture.h"
#include "support/temp_dir.h"
#include "zelhttp.h"
#include "zelsignal.h"
#include "zeltablemanager.h"

/// Base of tests that run the agent: a product home, the required variables, an application with
/// the tables that the test says.
class AgentTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    before = std::filesystem::current_path();
    ZelAgent::s_started.store(false);
    ZelAgent::s_managers.clear();
    framework.env = {
        {"ZEL_PROD", "ZJX"}, {"ZEL_INST", "inst"}, {"ZEL_PROD_HOME", home.path().string()}};
    setTables({});
    framework.onCall["kramain"] = [this] {
      startedInMainLoop = ZelAgent::s_started.load();
      if (inMainLoop) {
        inMainLoop();
      }
    };
  }

  void TearDown() override {
    LibraryTest::TearDown();
    std::filesystem::current_path(before);
    for (const auto& [name, manager] : ZelAgent::s_managers) {
      delete manager;
    }
    ZelAgent::s_managers.clear();
    delete std::exchange(s_sigactions, nullptr);
    for (const int sig : {SIGHUP, SIGUSR1, SIGTERM}) {
      signal(sig, SIG_DFL);
    }
  }

  /// A table's description in the reply to the init request.
  static fake::Value table(const char* name, bool sitTrap = false) {
    return fake::map({{7, fake::text(name)}, {9, fake::list({})}, {15, fake::boolean(sitTrap)}});
  }

  void setTables(const std::vector<fake::Value>& tables) {
    bridge.replies[0] = fake::map({{5, fake::text("replyhost")},
                                   {6, fake::text("AFF_AGENT")},
                                   {4, fake::text("AFF_VERSION")},
                                   {1, fake::text("free text")},
                                   {8, fake::list(tables)}});
  }

  /// What the library did with the framework, but for reading the environment.
  std::vector<std::string> frameworkCalls() const {
    std::vector<std::string> found = framework.calls();
    std::erase_if(found, [](const std::string& call) { return call.rfind("BSS1_", 0) == 0; });
    return found;
  }

  static sighandler_t handlerOf(int sig) {
    struct sigaction current;
    sigaction(sig, nullptr, &current);
    return current.sa_handler;
  }

  TempDir home;
  std::filesystem::path before;
  bool startedInMainLoop = false;
  std::function<void()> inMainLoop;
};
