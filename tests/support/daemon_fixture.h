#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/descriptor_cap.h"
#include "support/fake_framework.h"
#include "support/process_calls.h"
#include "zelspawnu.h"

/// Base of tests that start the probe as a daemon and read what it writes about itself.
class DaemonTest : public testing::Test {
 protected:
  void SetUp() override {
    // A child has a copy of what is not written yet, and some sanitizers write it at its end.
    std::fflush(stdout);
    framework.reset();
    calls.reset();
    fake::capDescriptors();
    std::string name = (std::filesystem::temp_directory_path() / "zel-spawn-XXXXXX").string();
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    home = std::filesystem::canonical(name).string();
    out = home + "/out";
    err = home + "/err";
  }

  void TearDown() override {
    calls.reset();
    std::filesystem::remove_all(home);
  }

  static std::string read(const std::string& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  /// Waits, at most 20 s, until the file ends with the text.
  static bool waitForEnd(const std::string& file, const std::string& end) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    std::string text;
    do {
      text = read(file);
      if (text.size() >= end.size() && text.substr(text.size() - end.size()) == end) {
        return true;
      }
      std::this_thread::yield();
    } while (std::chrono::steady_clock::now() < deadline);
    ADD_FAILURE() << file << " holds: " << text;
    return false;
  }

  /// The facts that the probe wrote to `out`, once it is done.
  std::vector<std::string> facts() {
    std::vector<std::string> lines;
    if (waitForEnd(out, "done\n")) {
      std::istringstream stream(read(out));
      for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
      }
    }
    return lines;
  }

  /// Those of one kind, without its name.
  std::vector<std::string> facts(const std::string& kind) {
    std::vector<std::string> found;
    for (const std::string& fact : facts()) {
      if (fact.rfind(kind + " ", 0) == 0) {
        found.push_back(fact.substr(kind.size() + 1));
      }
    }
    return found;
  }

  void spawn(const std::string& command, const std::map<std::string, std::string>& setEnv = {},
             const std::set<std::string>& unsetEnv = {}) {
    zelSpawnDaemon(command.c_str(), nullptr, out.c_str(), err.c_str(), setEnv, unsetEnv);
  }

  static constexpr const char* PROBE = DAEMON_PROBE;
  fake::Framework& framework = fake::Framework::get();
  fake::ProcessCalls& calls = fake::ProcessCalls::get();
  std::string home;
  std::string out;
  std::string err;
};
