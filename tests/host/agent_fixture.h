#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "child_process.h"
#include "temp_root.h"

/// Starts zelagent, around the fakes, on a home of its own.
class AgentFixture : public testing::Test {
 protected:
  AgentFixture();

  /// Starts the agent whose behaviour `agent` names; more arguments may follow.
  void start(const std::string& agent, const std::vector<std::string>& arguments = {});
  /// Lets a waiting fake agent go on; waits for it to wait.
  void openGate() const;
  /// Waits until the agent serves.
  void waitUntilReady();

  ChildProcess& process() { return *process_; }

  TempRoot files;
  ChildProcess::Options options;

 private:
  std::string gate() const { return (files.root() / "gate").string(); }

  std::unique_ptr<ChildProcess> process_;
};
