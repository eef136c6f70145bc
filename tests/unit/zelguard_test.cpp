#include "zelguard.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "bridge/zelexc.h"
#include "support/trace_view.h"

RAS1_UNIT("ZELGUARDTEST");

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ZelGuardTest : public testing::Test {
 protected:
  void SetUp() override { framework.reset(); }
  fake::Framework& framework = fake::Framework::get();
};

TEST_F(ZelGuardTest, AnUnknownExceptionIsTracedAndEndsTheProcessWithMinusOne) {
  const auto fail = [] {
    RAS1_FUNCTION();
    fake::printMessagesAtExit();
    zelGuarded(ras1Entry, [] { throw 5; });
  };

  EXPECT_EXIT(fail(), testing::ExitedWithCode(255), kUnknownExceptionText);
}

TEST_F(ZelGuardTest, KnownExceptionsAreTracedByKind) {
  RAS1_FUNCTION();

  EXPECT_FALSE(zelGuarded(ras1Entry, [] { throw ZelAppException{3, "app"}; }));
  EXPECT_FALSE(zelGuarded(ras1Entry, [] { throw ZelException("f.cpp", 7, 1); }));
  EXPECT_FALSE(zelGuarded(ras1Entry, [] { throw std::runtime_error("std"); }));

  EXPECT_THAT(framework.messages(), ElementsAre("ERROR: request processing failed ...\napp",
                                                "ERROR: internal exception in f.cpp at line 7",
                                                "ERROR: STD C++ library exception 'std'"));
}

TEST_F(ZelGuardTest, ARecordNamesTheFunctionThatFailed) {
  RAS1_FUNCTION();

  zelGuarded(ras1Entry, [] { throw std::runtime_error("std"); });

  ASSERT_EQ(framework.trace().size(), 1u);
  EXPECT_EQ(framework.trace()[0].unit, "ZELGUARDTEST");
  EXPECT_EQ(framework.trace()[0].function, "TestBody");
  EXPECT_EQ(framework.trace()[0].line, ras1Entry.line);
}

TEST_F(ZelGuardTest, ABodyThatEndsNormallyIsNotReported) {
  RAS1_FUNCTION();

  EXPECT_TRUE(zelGuarded(ras1Entry, [] {}));

  EXPECT_THAT(framework.trace(), IsEmpty());
}

}  // namespace
