#pragma once

#include <gtest/gtest.h>

#include "support/fake_framework.h"
#include "support/fake_transport.h"
#include "zelagent.h"

/// Base of tests that run the library against the fake framework and the fake Java side. Starts
/// from a clean slate, and leaves no message handler thread behind.
class LibraryTest : public testing::Test {
 protected:
  void SetUp() override {
    framework.reset();
    bridge.reset();
    ZelAgent::s_isShutdown.store(false);
  }

  void TearDown() override { EXPECT_TRUE(fake::endClients()) << "a message handler did not end"; }

  fake::Framework& framework = fake::Framework::get();
  fake::Bridge& bridge = fake::Bridge::get();
};
