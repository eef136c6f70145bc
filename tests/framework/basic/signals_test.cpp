#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <thread>

#include "agentfw/pfm1.h"
#include "agentfw/sig1.h"

namespace {

constexpr SIG1_Record kGiveUp{1, 0x40, {0, 0}};

TEST(SignalsTest, AThreadHasAnExceptionRecordOfItsOwn) {
  PFM1_Thread()->error = 5;
  PFM1_Thread()->signal = 11;

  std::thread([] {
    EXPECT_EQ(PFM1_Thread()->error, 0);
    EXPECT_EQ(PFM1_Thread()->signal, 0);
    PFM1_Thread()->error = 7;
  }).join();

  EXPECT_EQ(PFM1_Thread()->error, 5);
  EXPECT_EQ(PFM1_Thread()->signal, 11);
}

TEST(SignalsTest, GivingASignalUpInstallsNothing) {
  struct sigaction before {};
  sigaction(SIGUSR1, nullptr, &before);

  EXPECT_EQ(PFM1_Signal(39, 1), 0);
  EXPECT_EQ(SIG1_Action(39, &kGiveUp, 0), 0);

  struct sigaction after {};
  sigaction(SIGUSR1, nullptr, &after);
  EXPECT_EQ(before.sa_handler, after.sa_handler);
}

TEST(SignalsTest, ASignalMustBePreparedFirst) {
  EXPECT_EQ(SIG1_Action(12, &kGiveUp, 0), ENOENT);
  EXPECT_EQ(PFM1_Signal(12, 1), 0);
  EXPECT_EQ(SIG1_Action(12, &kGiveUp, 0), 0);
  EXPECT_EQ(PFM1_Signal(12, 0), 0);
  EXPECT_EQ(SIG1_Action(12, &kGiveUp, 0), ENOENT);
}

TEST(SignalsTest, UnknownSignalsAndActionsAreRefused) {
  const SIG1_Record other{2, 0x40, {0, 0}};
  PFM1_Signal(39, 1);

  EXPECT_EQ(PFM1_Signal(0, 1), EINVAL);
  EXPECT_EQ(PFM1_Signal(64, 1), EINVAL);
  EXPECT_EQ(SIG1_Action(-1, &kGiveUp, 0), EINVAL);
  EXPECT_EQ(SIG1_Action(39, nullptr, 0), EINVAL);
  EXPECT_EQ(SIG1_Action(39, &other, 0), ENOTSUP);
}

}  // namespace
