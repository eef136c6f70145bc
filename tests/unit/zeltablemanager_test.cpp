#include "zeltablemanager.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

#include "support/failures.h"
#include "support/table_fixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class ZelTableManagerTest : public TableTest {
 protected:
  /// Opens an event subscription, as the framework links it into the table's list.
  std::unique_ptr<ZelIra> subscribe() {
    std::unique_ptr<ZelIra> request = open(sampleOf({}));
    manager.requests.append(request.get());
    return request;
  }

  /// The recorded calls, with the rows among them.
  std::vector<std::string> emit(const std::vector<std::string>& rows) {
    framework.checkForException = [this](const std::string&) {
      framework.call("CheckForException");
      return true;
    };
    framework.insertRow = [this](const std::string&) { return framework.call("InsertRow"); };
    result = manager.emitEvents(rows);
    return framework.calls();
  }

  int result = 77;
};

// A manager that can't make request objects.
class BrokenManager : public ZelTableManager {
 public:
  explicit BrokenManager(std::function<void()> failing)
      : ZelTableManager("ZJX", "BROKEN", new std::vector<ZelColumnInfo*>),
        fail(std::move(failing)) {}
  vuira* createIra(RequestDetail* /*detail*/, ContextInfo* /*context*/) override {
    fail();
    return nullptr;
  }

 private:
  std::function<void()> fail;
};

TEST_F(ZelTableManagerTest, HasARowOfTheSumOfItsColumns) {
  const ZelTableManager three(
      "ZJX", "T",
      new std::vector<ZelColumnInfo*>{new ZelColumnInfo("A", kIntfInt32, 4, 100),
                                      new ZelColumnInfo("B", kIntfInt64, 8, 0),
                                      new ZelColumnInfo("C", kIntfChars, 64, 50)});

  EXPECT_EQ(three.rowSize, 76U);
  EXPECT_EQ(three.allocPeak.load(), 1U);
  EXPECT_EQ(three.cache, nullptr);
}

TEST_F(ZelTableManagerTest, FindsTheFirstOfTwoColumnsOfOneName) {
  auto* first = new ZelColumnInfo("A", kIntfInt32, 4, 0);
  const ZelTableManager twins(
      "ZJX", "T", new std::vector<ZelColumnInfo*>{first, new ZelColumnInfo("A", kIntfInt16, 2, 4)});

  EXPECT_EQ(twins.columnsByName.at("A"), first);
  EXPECT_EQ(twins.columns->size(), 2U);
  EXPECT_EQ(twins.rowSize, 6U);
}

TEST_F(ZelTableManagerTest, TracesNamesAndRowSizeInTheDetailClass) {
  framework.setMask("ZELIRA", kRas1Detail);

  const ZelTableManager traced("ZJX", "T", newColumns());

  EXPECT_THAT(framework.messages(), ElementsAre("App ID: ZJX, Table: T", "row size: 26"));
}

TEST_F(ZelTableManagerTest, TracesItsMakingAndItsEndInTheFlowClassOnly) {
  framework.setMask("ZELIRA", fake::allBut(kRas1Flow));
  { const ZelTableManager quiet("ZJX", "T", newColumns()); }
  EXPECT_THAT(fake::flowOf("ZELIRA"), IsEmpty());

  framework.setMask("ZELIRA", kRas1Flow);
  { const ZelTableManager traced("ZJX", "T", newColumns()); }
  EXPECT_THAT(fake::flowOf("ZELIRA"),
              ElementsAre("ZelTableManager entry", "ZelTableManager exit", "~ZelTableManager entry",
                          "~ZelTableManager exit"));
}

TEST_F(ZelTableManagerTest, TracesNothingWithoutTheDetailClass) {
  framework.setMask("ZELIRA", fake::allBut(kRas1Detail));

  {
    ZelTableManager quiet("ZJX", "T", newColumns());
    quiet.cacheSamples({}, "node", 0);
    quiet.getCachedSamples("node");
    quiet.updateAllocPeak(5);
    quiet.registration();
  }

  EXPECT_THAT(framework.messages(), IsEmpty());
}

TEST_F(ZelTableManagerTest, RegistersWithTheFrameworkAndTracesItsColumns) {
  framework.setMask("ZELIRA", kRas1Detail);

  EXPECT_EQ(manager.registration(), 0U);

  EXPECT_THAT(framework.calls(), ElementsAre("RegisterWithManager(TAB)"));
  EXPECT_THAT(framework.messages(), ElementsAre("Registered table manager for ZJX.TAB",
                                                "\nname=INT\ntype=1\nlength=4\noffset=0",
                                                "\nname=LONG\ntype=3\nlength=8\noffset=4",
                                                "\nname=SHORT\ntype=5\nlength=2\noffset=12",
                                                "\nname=CHARS\ntype=9\nlength=6\noffset=14",
                                                "\nname=TEXT\ntype=12\nlength=6\noffset=20"));
}

TEST_F(ZelTableManagerTest, PassesOnTheCodeOfARegistrationThatFailed) {
  framework.setMask("ZELIRA", kRas1Detail);
  framework.rc["RegisterWithManager"] = 8;

  EXPECT_EQ(manager.registration(), 8U);

  EXPECT_THAT(framework.messages(), IsEmpty());
}

TEST_F(ZelTableManagerTest, ReportsAnExceptionWhileRegistering) {
  for (const fake::Failure& failure : fake::failures()) {
    framework.onCall["RegisterWithManager"] = failure.raise;

    EXPECT_EQ(manager.registration(), 0U);

    EXPECT_EQ(framework.messages().back(), failure.text);
  }
}

TEST_F(ZelTableManagerTest, MakesRequestsWithRowSizeAndPeak) {
  manager.updateAllocPeak(12);

  const std::unique_ptr<ZelIra> request = open(sampleOf({}));

  ASSERT_NE(request, nullptr);
  EXPECT_EQ(request->manager, &manager);
  EXPECT_EQ(request->rowSize, 26U);
  EXPECT_EQ(request->allocSize, 12U);
}

TEST_F(ZelTableManagerTest, TracesTheRequestItMakesInTheFlowClass) {
  framework.setMask("ZELIRA", kRas1Flow);

  const std::unique_ptr<ZelIra> request = open(sampleOf({}));

  char exit[32];
  std::snprintf(exit, sizeof(exit), "exit %p", static_cast<const void*>(request.get()));
  const auto trace = framework.trace();
  EXPECT_EQ(trace.front().function, "CreateCtira");
  EXPECT_EQ(trace.front().text, "entry");
  EXPECT_EQ(trace.back().function, "CreateCtira");
  EXPECT_EQ(trace.back().text, exit);
}

TEST_F(ZelTableManagerTest, GivesNoRequestAndReportsWhenMakingItFails) {
  for (const fake::Failure& failure : fake::failures()) {
    BrokenManager broken(failure.raise);
    RequestDetail detail;

    EXPECT_EQ(broken.CreateCtira(&detail, &context), nullptr);

    EXPECT_EQ(framework.messages().back(), failure.text);
  }
}

using ZelTableManagerDeathTest = ZelTableManagerTest;

TEST_F(ZelTableManagerDeathTest, EndsTheProcessForAnUnknownExceptionInTheFactory) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  BrokenManager broken([] { throw 5; });
  RequestDetail detail;

  EXPECT_EXIT(
      {
        fake::printMessagesAtExit();
        broken.CreateCtira(&detail, &context);
      },
      testing::ExitedWithCode(255), kUnknownExceptionText);
}

TEST_F(ZelTableManagerTest, EmitsToNobodyWithoutOpenRequests) {
  EXPECT_THAT(emit({row(1)}), ElementsAre("BSS1_GetLock()", "BSS1_ReleaseLock()"));

  EXPECT_EQ(result, 0);
  EXPECT_THAT(framework.messages(), IsEmpty());
}

TEST_F(ZelTableManagerTest, EmitsEveryRowToEveryOpenRequestUnderTheListLock) {
  const std::unique_ptr<ZelIra> first = subscribe();
  const std::unique_ptr<ZelIra> second = subscribe();

  EXPECT_THAT(
      emit({row(1), row(2)}),
      ElementsAre("BSS1_GetLock()",  //
                  "UseHandle(4711)", "CheckForException()", "InsertRow()", "CheckForException()",
                  "InsertRow()", "Dispatch(2)", "RES1_Drop(4711)",  //
                  "UseHandle(4711)", "CheckForException()", "InsertRow()", "CheckForException()",
                  "InsertRow()", "Dispatch(2)", "RES1_Drop(4711)",  //
                  "BSS1_ReleaseLock()"));

  EXPECT_EQ(result, 0);
  EXPECT_THAT(fake::recordOf(*first).dispatched, ElementsAre(row(1), row(2)));
  EXPECT_THAT(fake::recordOf(*second).dispatched, ElementsAre(row(1), row(2)));
  EXPECT_EQ(first->rowCount, 0U);
  EXPECT_EQ(manager.allocPeak.load(), 2U);
}

TEST_F(ZelTableManagerTest, StartsEachDeliveryWithAnEmptyBuffer) {
  const std::unique_ptr<ZelIra> request = subscribe();

  emit({row(1), row(2)});
  emit({row(3)});

  EXPECT_THAT(fake::recordOf(*request).dispatched, ElementsAre(row(1), row(2), row(3)));
}

TEST_F(ZelTableManagerTest, CountsTheEventsInTheSummaryClass) {
  const std::unique_ptr<ZelIra> request = subscribe();
  framework.setMask("ZELIRA", kRas1Summary);

  emit({row(1), row(2)});

  EXPECT_THAT(framework.messages(), ElementsAre("Emitted 2 events of TAB"));
}

TEST_F(ZelTableManagerTest, CountsNoEventsWithoutTheSummaryClass) {
  const std::unique_ptr<ZelIra> request = subscribe();
  framework.setMask("ZELIRA", fake::allBut(kRas1Summary));

  emit({row(1)});

  EXPECT_THAT(framework.messages(), Not(Contains(HasSubstr("Emitted"))));
}

TEST_F(ZelTableManagerTest, PrintsTheRequestInDetailAndSummaryBeforeItDispatches) {
  const std::unique_ptr<ZelIra> request = subscribe();
  framework.setMask("ZELIRA", kRas1Detail | kRas1Summary);
  bool printedBefore = false;
  framework.onCall["Dispatch"] = [&] {
    printedBefore = framework.hasMessage("\t\tcount=1, allocated=1, allocSize=1\n");
  };

  emit({row(1)});

  EXPECT_TRUE(printedBefore);
  EXPECT_THAT(framework.callsOf("DumpThresholds"), ElementsAre("DumpThresholds()"));
}

TEST_F(ZelTableManagerTest, DoesNotPrintTheRequestInTheSummaryClassAlone) {
  const std::unique_ptr<ZelIra> request = subscribe();
  framework.setMask("ZELIRA", kRas1Summary);

  emit({row(1)});

  EXPECT_THAT(framework.callsOf("DumpThresholds"), IsEmpty());
}

TEST_F(ZelTableManagerTest, GoesOnAfterADeliveryThatFailedAndReturnsItsCode) {
  framework.setMask("ZELIRA", kRas1Summary);
  const std::unique_ptr<ZelIra> first = subscribe();
  const std::unique_ptr<ZelIra> second = subscribe();
  int deliveries = 0;
  framework.onCall["UseHandle"] = [&] { framework.rc["Dispatch"] = ++deliveries == 1 ? 9 : 0; };

  emit({row(1)});

  EXPECT_EQ(result, 9);
  EXPECT_EQ(framework.callsOf("Dispatch").size(), 2U);
  EXPECT_EQ(framework.callsOf("RES1_Drop").size(), 2U);
  EXPECT_EQ(first->rowCount, 0U);
  EXPECT_THAT(framework.messages(),
              ElementsAre("WARN: Dispatch() failed for TAB (rc 9)", "Emitted 1 events of TAB"));
}

TEST_F(ZelTableManagerTest, ReturnsTheLastCodeOfDeliveriesThatFailed) {
  const std::unique_ptr<ZelIra> first = subscribe();
  const std::unique_ptr<ZelIra> second = subscribe();
  int deliveries = 0;
  framework.onCall["UseHandle"] = [&] { framework.rc["Dispatch"] = ++deliveries; };

  emit({row(1)});

  EXPECT_EQ(result, 2);
  EXPECT_THAT(framework.messages(), ElementsAre("WARN: Dispatch() failed for TAB (rc 1)",
                                                "WARN: Dispatch() failed for TAB (rc 2)"));
}

TEST_F(ZelTableManagerTest, ReleasesHandleAndListLockAfterAnException) {
  const std::unique_ptr<ZelIra> first = subscribe();
  const std::unique_ptr<ZelIra> second = subscribe();
  for (const fake::Failure& failure : fake::failures()) {
    framework.onCall["Dispatch"] = failure.raise;

    emit({row(1)});

    EXPECT_EQ(result, 0);
    EXPECT_EQ(framework.messages().back(), failure.text);
    EXPECT_EQ(framework.calls().back(), "BSS1_ReleaseLock()");
    EXPECT_EQ(framework.callsOf("RES1_Drop").size(), framework.callsOf("UseHandle").size());
  }
  EXPECT_EQ(framework.callsOf("UseHandle").size(), 3U);
}

TEST_F(ZelTableManagerTest, ReturnsTheCodeSoFarAfterAnException) {
  const std::unique_ptr<ZelIra> first = subscribe();
  const std::unique_ptr<ZelIra> second = subscribe();
  int deliveries = 0;
  framework.onCall["UseHandle"] = [&] {
    if (++deliveries == 2) {
      throw std::runtime_error("bad");
    }
    framework.rc["Dispatch"] = 6;
  };

  emit({row(1)});

  EXPECT_EQ(result, 6);
}

TEST_F(ZelTableManagerTest, RaisesTheAllocationPeakToTheLargestBatch) {
  framework.setMask("ZELIRA", kRas1Detail);

  manager.updateAllocPeak(7);
  manager.updateAllocPeak(3);

  EXPECT_EQ(manager.allocPeak.load(), 7U);
  EXPECT_THAT(framework.messages(), ElementsAre("Row alloc peak is 7 for TAB"));
}

TEST_F(ZelTableManagerTest, CapsTheAllocationPeakAt100Rows) {
  manager.updateAllocPeak(250);
  EXPECT_EQ(manager.allocPeak.load(), 100U);

  manager.updateAllocPeak(50);

  EXPECT_EQ(manager.allocPeak.load(), 100U);
}

TEST_F(ZelTableManagerTest, NeverLowersAnAllocationPeakThatAnotherThreadRaisesMeanwhile) {
  framework.setMask("ZELIRA", kRas1Detail);
  framework.onMessage("Row alloc peak is 7", [this] { manager.updateAllocPeak(60); });

  manager.updateAllocPeak(7);

  EXPECT_EQ(manager.allocPeak.load(), 60U);
}

TEST_F(ZelTableManagerTest, LeavesTheAllocationPeakForABatchOfItsSize) {
  framework.setMask("ZELIRA", kRas1Detail);

  manager.updateAllocPeak(1);
  manager.updateAllocPeak(0);

  EXPECT_EQ(manager.allocPeak.load(), 1U);
  EXPECT_THAT(framework.messages(), IsEmpty());
}

}  // namespace
