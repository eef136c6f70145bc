#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "bridge/zelclient.h"
#include "support/fake_framework.h"
#include "support/fake_jvm/fake_jvm.h"

/// Base of tests that run the Java bridge against the fake framework and the fake JVM.
///
/// The working directory is a fresh product home ROOT/agents/xy with an options file, beside
/// ROOT/logs; the product code is "XY", the instance "inst". Nothing that an earlier test made in
/// the library's statics is left.
class JvmTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  void writeOptions(const std::string& text);
  /// The text of the only file in ROOT/logs; empty without one.
  std::string logText() const;
  std::vector<std::string> logFiles() const;

  /// Makes the bridge client and waits until its message handler runs. Forgets nothing.
  ZelClient* makeClient();

  /// Lets a child of a death test show on stderr what it traced, when it exits.
  static void showTraceAtExit();

  /// The messages that an action traces.
  std::vector<std::string> messagesOf(const std::function<void()>& action);
  /// The JNI calls that an action makes, less the tests for a pending exception.
  std::vector<std::string> callsOf(const std::function<void()>& action);

  fake::Framework& framework = fake::Framework::get();
  fakejvm::Jvm& jvm = fakejvm::Jvm::get();
  std::string root;
};

/// Whether the action throws a ZelException with code 1 that names the source file.
bool throwsZelException(const std::string& file, const std::function<void()>& action);
