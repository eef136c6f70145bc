#include "agentfw/ras1.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "support/temp_dir.h"
#include "trace/trace.h"
#include "trace_fixture.h"

RAS1_UNIT("RASTEST");

namespace {

using fw::trace::Trace;

class Ras1Test : public testing::Test {
 protected:
  void SetUp() override {
    fw::trace::Settings settings;
    settings.file = dir / "agent.log";
    ASSERT_EQ(Trace::instance().configure(settings), "");
  }

  // The process outlives the directory, and so does its trace.
  void TearDown() override { Trace::instance().configure({}); }

  std::string log() { return dir.read("agent.log"); }

  // What stands after the function's name, of the only record.
  std::string onlyText() {
    const std::string text = log();
    std::size_t begin = 0;
    for (int word = 0; word < 6; ++word) {  // time, pid, tid, unit, place, function
      begin = text.find(' ', begin) + 1;
    }
    return text.substr(begin, text.size() - begin - 1);
  }

  TempDir dir;
};

int tracedFunction(int value) {
  RAS1_FLOW();
  RAS1_DETAIL("value=%i", value);
  return ras1Flow.result(value * 2);
}

TEST_F(Ras1Test, AMessageCarriesTheUnitTheFileAndTheLine) {
  RAS1_FUNCTION();

  RAS1_PRINT("answer <%s> %i", "yes", 42);
  const int line = __LINE__ - 1;

  const std::regex form("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z " +
                        std::to_string(getpid()) + " " + std::to_string(gettid()) +
                        " RASTEST ras1_test\\.cpp:" + std::to_string(line) +
                        " TestBody answer <yes> 42\n");
  EXPECT_TRUE(std::regex_match(log(), form)) << log();
}

TEST_F(Ras1Test, ALongMessageIsWrittenWhole) {
  RAS1_FUNCTION();
  const std::string text(20'000, 'x');

  RAS1_PRINT("%s", text.c_str());

  EXPECT_EQ(onlyText(), text);
}

TEST_F(Ras1Test, AMessageOfADisabledClassIsNotWrittenAndItsArgumentsAreNotEvaluated) {
  RAS1_FUNCTION();
  int evaluated = 0;

  RAS1_DETAIL("%i", ++evaluated);

  EXPECT_EQ(log(), "");
  EXPECT_EQ(evaluated, 0);
}

TEST_F(Ras1Test, AMaskChangedAtRunTimeCountsAtOnce) {
  tracedFunction(1);
  Trace::instance().setMask("RASTEST", kRas1Detail);
  tracedFunction(2);
  Trace::instance().setMask("RASTEST", kRas1Error);
  tracedFunction(3);

  EXPECT_EQ(onlyText(), "value=2");
}

TEST_F(Ras1Test, TheFlowClassShowsEntryAndExitWithItsResult) {
  Trace::instance().setMask("RASTEST", kRas1Flow);

  tracedFunction(21);

  const std::regex form(".* tracedFunction entry\n.* tracedFunction exit, result 42\n");
  EXPECT_TRUE(std::regex_match(log(), form)) << log();
}

TEST_F(Ras1Test, EventsShowWhatWasReturned) {
  TestUnit unit("RASTEST2");

  RAS1_Event(&unit.entry, 1, kRas1Left);
  RAS1_Event(&unit.entry, 2, kRas1LeftInt, -5LL);
  RAS1_Event(&unit.entry, 3, kRas1LeftPointer, reinterpret_cast<const void*>(0x1234));

  const std::regex form(
      ".*:1 work exit\n.*:2 work exit, result -5\n.*:3 work exit, result 0x1234\n");
  EXPECT_TRUE(std::regex_match(log(), form)) << log();
}

TEST_F(Ras1Test, ADumpIsWrittenUnderItsTitle) {
  RAS1_FUNCTION();
  Trace::instance().setMask("RASTEST", kRas1Summary);

  RAS1_DUMP_IF(kRas1Summary, "Row", "AB", 2);

  EXPECT_EQ(onlyText(),
            "Row (2 bytes)\n    00000000  41 42                                             |AB|");
}

TEST_F(Ras1Test, TracingLeavesErrnoAlone) {
  RAS1_FUNCTION();
  static TestUnit unit("RASTEST3");  // the trace knows it from here on
  errno = EDOM;

  RAS1_PRINT("%s", std::string(5000, 'x').c_str());
  RAS1_Sync(&unit.entry);
  RAS1_Event(&unit.entry, 1, kRas1Entered);
  RAS1_Dump(&unit.entry, 1, "A", 1, "T");

  EXPECT_EQ(errno, EDOM);
}

TEST_F(Ras1Test, ATransientUnitIsTracedAndForgotten) {
  const std::size_t before = Trace::instance().units().size();
  {
    TestUnit java("ZELJCLNT", "Sampler.java", "com.acme", "sample");
    java.entry.flags = kRas1Transient;
    java.entry.data = nullptr;
    RAS1_Printf(&java.entry, 0, "%s", "100%");
  }

  Trace::instance().setMask("*", kRas1Error);

  EXPECT_EQ(Trace::instance().units().size(), before);
  EXPECT_NE(log().find(" ZELJCLNT(com.acme) Sampler.java:0 sample 100%\n"), std::string::npos);
}

TEST_F(Ras1Test, RecordsOfManyThreadsStayWhole) {
  constexpr int kThreads = 8;
  constexpr int kRecords = 200;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      RAS1_FUNCTION();
      for (int i = 0; i < kRecords; ++i) {
        RAS1_PRINT("thread %i record %i end", t, i);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  const std::string text = log();
  const std::regex form(
      "\\S+Z \\d+ \\d+ RASTEST ras1_test\\.cpp:\\d+ \\S+ thread \\d record \\d+ end");
  std::istringstream in(text);
  int lines = 0;
  for (std::string line; std::getline(in, line); ++lines) {
    EXPECT_TRUE(std::regex_match(line, form)) << line;
  }
  EXPECT_EQ(lines, kThreads * kRecords);
}

}  // namespace
