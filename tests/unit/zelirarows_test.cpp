#include <stdexcept>

#include "support/default_code_page.h"
#include "support/table_fixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using ZelIraRowsTest = TableTest;

TEST_F(ZelIraRowsTest, SkipsARowOfTheWrongSize) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));

  EXPECT_EQ(request->putData({row(1), "short", row(3)}), 0);

  EXPECT_THAT(insertedInto(*request), ElementsAre(row(1), row(3)));
  EXPECT_THAT(messages(), ElementsAre("WARN: invalid row size for TAB - expected 26, got 5"));
}

TEST_F(ZelIraRowsTest, LeavesOutRowsThatTheThresholdsRefuse) {
  framework.setMask("ZELIRA", kRas1Detail);
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));
  framework.checkForException = [](const std::string& bytes) { return bytes != row(1); };

  EXPECT_EQ(request->putData({row(1), row(2)}), 0);

  EXPECT_THAT(insertedInto(*request), ElementsAre(row(2)));
  EXPECT_EQ(framework.countMessages("Sample of TAB has been filtered out"), 1U);
}

TEST_F(ZelIraRowsTest, DumpsEveryRowInTheDetailClass) {
  framework.setMask("ZELIRA", kRas1Detail);
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));

  request->putData({row(1), "short"});

  EXPECT_THAT(fake::dumpsOf("ZELIRA"), ElementsAre("Sample data: " + row(1)));
}

TEST_F(ZelIraRowsTest, DumpsNoRowWithoutTheDetailClass) {
  framework.setMask("ZELIRA", fake::allBut(kRas1Detail));
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));

  request->putData({row(1)});

  EXPECT_THAT(insertedInto(*request), ElementsAre(row(1)));
  EXPECT_THAT(fake::dumpsOf("ZELIRA"), IsEmpty());
}

TEST_F(ZelIraRowsTest, TracesAFilteredRowInTheDetailClassOnly) {
  framework.setMask("ZELIRA", fake::allBut(kRas1Detail));
  framework.checkForException = [](const std::string&) { return false; };

  open(sampleOf({}))->putData({row(1)});

  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(ZelIraRowsTest, EndsABatchAtTheFirstFailedInsertion) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));
  framework.insertRow = [](const std::string& bytes) { return bytes == row(2) ? 13 : 0; };

  EXPECT_EQ(request->putData({row(1), row(2), row(3)}), 13);

  EXPECT_THAT(insertedInto(*request), ElementsAre(row(1)));
  EXPECT_THAT(messages(), ElementsAre("ERROR: failed to insert row into TAB (rc 13)"));
}

TEST_F(ZelIraRowsTest, SucceedsWithABatchOfWhichNothingIsInserted) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));
  framework.checkForException = [](const std::string&) { return false; };

  EXPECT_EQ(request->putData({}), 0);
  EXPECT_EQ(request->putData({"short", row(1)}), 0);

  EXPECT_THAT(insertedInto(*request), IsEmpty());
}

TEST_F(ZelIraRowsTest, CountsTheWholeBatchForTheAllocationPeak) {
  framework.checkForException = [](const std::string&) { return false; };

  open(sampleOf({}))->putData({row(1), "short", row(3)});

  EXPECT_EQ(manager.allocPeak.load(), 3U);
}

class PrintSelfTest : public TableTest {
 protected:
  std::vector<std::string> print(ZelIra& request) {
    framework.setMask("ZELIRA", kRas1Summary);
    request.PrintSelf();
    return messages();
  }
};

TEST_F(PrintSelfTest, PrintsNothingWithoutTheSummaryClass) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));
  framework.setMask("ZELIRA", fake::allBut(kRas1Summary));

  request->PrintSelf();

  EXPECT_THAT(messages(), IsEmpty());
  EXPECT_THAT(framework.calls(), IsEmpty());
}

TEST_F(PrintSelfTest, PrintsRequestAndRowsColumnByColumn) {
  const fake::DefaultCodePage latin1("ISO-8859-1");
  RequestDetail detail = sampleOf({});
  detail.sampleType = 2;
  const std::unique_ptr<ZelIra> request = open(detail);
  request->putData({row(-1, -5'000'000'000, -3, "chars ", "caf\xC3\xA9 "), row(2, 3, 4)});

  const std::vector<std::string> lines = print(*request);

  char first[64];
  std::snprintf(first, sizeof(first), "ZelIra @%p <77,4711>\n", static_cast<void*>(request.get()));
  EXPECT_THAT(
      lines, ElementsAre(first, "\t::appl=ZJX,table=TAB,interval=60000,samptype=2\n", "\t_data {\n",
                         "\t\tcount=2, allocated=2, allocSize=1\n",  //
                         "\t\t{\n", "\t\tINT=-1\n", "\t\tLONG=-5000000000\n", "\t\tSHORT=-3\n",
                         "\t\tCHARS=\"chars \"\n", "\t\tTEXT=\"caf\xE9 \"\n", "\t\t}\n",  //
                         "\t\t{\n", "\t\tINT=2\n", "\t\tLONG=3\n", "\t\tSHORT=4\n",
                         "\t\tCHARS=\"chars \"\n", "\t\tTEXT=\"text\"\n", "\t\t}\n",  //
                         "}\n"));
}

TEST_F(PrintSelfTest, LetsTheFrameworkPrintTheThresholdsBeforeTheData) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));
  std::size_t printedBefore = 0;
  framework.onCall["DumpThresholds"] = [&] { printedBefore = messages().size(); };

  print(*request);

  EXPECT_EQ(printedBefore, 2U);
}

TEST_F(PrintSelfTest, LeavesOutColumnsOfOtherTypes) {
  Tidy<ZelTableManager> odd(
      "ZJX", "ODD",
      new std::vector<ZelColumnInfo*>{new ZelColumnInfo("A", static_cast<IntfDtype>(7), 4, 0)});
  RequestDetail detail;
  const std::unique_ptr<ZelIra> request(static_cast<ZelIra*>(odd.CreateCtira(&detail, &context)));
  request->putData({"abcd"});

  EXPECT_THAT(print(*request), Not(Contains(HasSubstr("A="))));
}

TEST_F(PrintSelfTest, LeavesOutTextThatIsMalformed) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));
  request->putData({row(1, 0, 0, "chars ", "\xFF     ")});

  const std::vector<std::string> lines = print(*request);

  EXPECT_THAT(lines, Contains("ERROR: ucnv_toUChars() failed (rc 12), U_ILLEGAL_CHAR_FOUND"));
  EXPECT_THAT(lines, Not(Contains(HasSubstr("TEXT="))));
  EXPECT_EQ(lines.back(), "}\n");
}

TEST_F(PrintSelfTest, ReportsAnException) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));
  framework.onCall["DumpThresholds"] = [] { throw std::runtime_error("bad"); };

  EXPECT_EQ(print(*request).back(), "ERROR: STD C++ library exception 'bad'");
}

}  // namespace
