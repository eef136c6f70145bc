#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/fake_framework.h"

/// The agent in this process: a real JVM with the test application, and the fake framework.
///
/// A process has one JVM, so all tests of a program share the agent, and a child of a death test
/// starts its own. The agent thread waits inside the fake main loop until the end of the program.
class AgentEnvironment : public testing::Environment {
 public:
  void SetUp() override;
  void TearDown() override;

  /// What the JVM printed; complete only after TearDown().
  std::string jvmLog() const;

 private:
  std::string root_;
  std::thread agent_;
  int result_ = -99;
};
