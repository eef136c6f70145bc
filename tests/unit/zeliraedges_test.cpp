// No exception leaves what the framework calls of a table and of its requests.

#include "support/failures.h"
#include "support/table_fixture.h"

namespace {

using testing::Contains;
using testing::ExitedWithCode;

// An operation that the framework calls, with the way to make it fail and what it then gives.
struct Operation {
  const char* name;
  std::function<void(std::function<void()> raise)> prepare;
  std::function<int()> call;
  int result;
};

class ZelIraEdgesTest : public TableTest {
 protected:
  void SetUp() override {
    TableTest::SetUp();
    request = open(sampleOf({"node"}));
    manager.requests.append(request.get());
  }

  void TearDown() override {
    manager.requests.remove(request.get());
    request.reset();
    TableTest::TearDown();
  }

  std::vector<Operation> operations();

  std::unique_ptr<ZelIra> request;
  ColumnInfo info{};
  std::string bytes = row(1);
  char column[4] = "INT";
  char threshold[8] = {};
};

// NumColumns() is guarded too, but counts only, which can't fail.
std::vector<Operation> ZelIraEdgesTest::operations() {
  const auto inCall = [this](const char* name) {
    return [this, name](std::function<void()> raise) { framework.onCall[name] = std::move(raise); };
  };
  return {
      {"registration", inCall("RegisterWithManager"),
       [this] { return static_cast<int>(manager.registration()); }, 0},
      {"emitEvents", inCall("Dispatch"), [this] { return manager.emitEvents({row(1)}); }, 0},
      {"TakeSample", inCall("ResetGetSubnode"), [this] { return request->TakeSample(), 0; }, 0},
      {"GetColumnInfo",
       [this](std::function<void()> raise) {
         framework.onMessage("ERROR: invalid column index 5", std::move(raise));
       },
       [this] { return request->GetColumnInfo(&info, 5); }, 0},
      {"ColumnIsException", inCall("IsException(long)"),
       [this] { return request->ColumnIsException(bytes.data(), column, kIntfEqual, threshold); },
       1},
      {"PrintSelf",
       [this, inCall](std::function<void()> raise) {
         framework.setMask("ZELIRA", kRas1Summary);
         inCall("DumpThresholds")(std::move(raise));
       },
       [this] { return request->PrintSelf(), 0; }, 0},
      {"onSitStateChanged",
       [this](std::function<void()> raise) { bridge.onCreation = std::move(raise); },
       [this] { return request->onSitStateChanged(true), 0; }, 0},
  };
}

TEST_F(ZelIraEdgesTest, ReportEveryKnownKindOfExceptionAndGiveTheValueSoFar) {
  for (const Operation& operation : operations()) {
    for (const fake::Failure& failure : fake::failures()) {
      const std::size_t before = framework.trace().size();
      operation.prepare(failure.raise);

      EXPECT_EQ(operation.call(), operation.result) << operation.name;

      const std::vector<fake::TraceRecord> trace = framework.trace();
      std::vector<std::string> reports;
      for (std::size_t i = before; i < trace.size(); ++i) {
        if (trace[i].function == operation.name) {
          EXPECT_EQ(trace[i].unit, "ZELIRA");
          reports.push_back(trace[i].text);
        }
      }
      EXPECT_THAT(reports, Contains(failure.text)) << operation.name;
      framework.onCall.clear();
    }
  }
}

TEST_F(ZelIraEdgesTest, TraceAStateChangeAfterItsReport) {
  bridge.onCreation = fake::failures().front().raise;

  request->onSitStateChanged(false);

  EXPECT_THAT(messages(),
              testing::ElementsAre(fake::failures().front().text, "Situation  stopped"));
}

using ZelIraEdgesDeathTest = ZelIraEdgesTest;

TEST_F(ZelIraEdgesDeathTest, EndTheProcessForAnUnknownException) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const Operation& operation : operations()) {
    EXPECT_EXIT(
        {
          fake::printMessagesAtExit();
          operation.prepare(fake::raiseUnknown);
          operation.call();
        },
        ExitedWithCode(255), std::string("ZELIRA ") + operation.name + ": " + kUnknownExceptionText)
        << operation.name;
  }
}

}  // namespace
