#include <stdexcept>

#include "support/table_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ZelIraColumnsTest : public TableTest {
 protected:
  /// ColumnIsException on a row of the table.
  int compare(const char* column, int oper, const std::string& rowBytes,
              const std::string& threshold) {
    const std::unique_ptr<ZelIra> request = open(sampleOf({}));
    std::string bytes = rowBytes;
    std::string name = column;
    std::string padded = threshold + std::string(8, '\0');
    return request->ColumnIsException(bytes.data(), name.data(), static_cast<_IntfOper>(oper),
                                      padded.data());
  }
};

TEST_F(ZelIraColumnsTest, DescribesItsColumns) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));
  ASSERT_EQ(request->NumColumns(), 5);
  ColumnInfo info{};

  EXPECT_EQ(request->GetColumnInfo(&info, 4), 0);

  EXPECT_STREQ(info.name, "TEXT");
  EXPECT_EQ(info.name, (*manager.columns)[4]->name.c_str());
  EXPECT_EQ(info.offset, 20);
  EXPECT_EQ(info.size, 6);
  EXPECT_EQ(info.type, 12);
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(ZelIraColumnsTest, NarrowsTheDescriptionTo16Bits) {
  Tidy<ZelTableManager> wide("ZJX", "WIDE",
                             new std::vector<ZelColumnInfo*>{new ZelColumnInfo(
                                 "A", static_cast<IntfDtype>(0x1000C), 0x10008, 0x20010)});
  RequestDetail detail;
  const std::unique_ptr<vuira> request(wide.CreateCtira(&detail, &context));
  ColumnInfo info{};

  EXPECT_EQ(request->GetColumnInfo(&info, 0), 0);

  EXPECT_EQ(info.type, 0x0C);
  EXPECT_EQ(info.size, 0x08);
  EXPECT_EQ(info.offset, 0x10);
}

TEST_F(ZelIraColumnsTest, TracesADescriptionInTheDetailClass) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));
  ColumnInfo info{};
  framework.setMask("ZELIRA", kRas1Detail);

  request->GetColumnInfo(&info, 1);

  char expected[64];
  std::snprintf(expected, sizeof(expected), "ColumnInfo=%p, index=1", static_cast<void*>(&info));
  EXPECT_THAT(messages(), ElementsAre(expected));
}

TEST_F(ZelIraColumnsTest, RefusesAColumnIndexOutsideTheTable) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));
  ColumnInfo info{};

  EXPECT_EQ(request->GetColumnInfo(&info, -1), 0x21060007);
  EXPECT_EQ(request->GetColumnInfo(&info, 5), 0x21060007);

  EXPECT_THAT(messages(), ElementsAre("ERROR: invalid column index -1 for TAB",
                                      "ERROR: invalid column index 5 for TAB"));
  EXPECT_EQ(info.name, nullptr);
}

TEST_F(ZelIraColumnsTest, TakesAnUnknownColumnForAnException) {
  EXPECT_EQ(compare("NONE", kIntfNotEqual, row(1), ""), 1);

  EXPECT_THAT(framework.calls(), IsEmpty());
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(ZelIraColumnsTest, LeavesIntegersToTheFramework) {
  for (const int answer : {0, 1}) {
    framework.isException = answer;

    EXPECT_EQ(compare("INT", kIntfLess, row(-70000), ""), answer);
    EXPECT_EQ(compare("SHORT", kIntfGreater, row(0, 0, -7), ""), answer);
  }
  EXPECT_EQ(framework.callsOf("IsException(long)")[0], "IsException(long)(5, -70000)");
  EXPECT_EQ(framework.callsOf("IsException(short)")[0], "IsException(short)(6, -7)");
}

TEST_F(ZelIraColumnsTest, WarnsOfA64BitColumnAndTakesItForAnException) {
  EXPECT_EQ(compare("LONG", kIntfNotEqual, row(0, 5), ""), 1);

  EXPECT_THAT(messages(), ElementsAre("WARN: unknown data type 3 of LONG@TAB"));
}

TEST_F(ZelIraColumnsTest, SeesEveryTextAsEqualToItsThreshold) {
  const struct {
    int oper;
    int result;
  } cases[] = {{0, 0}, {1, 1}, {2, 0}, {3, 1},     {4, 1},      {5, 0},
               {6, 0}, {7, 0}, {9, 0}, {0xFFF, 0}, {0x1001, 1}, {0x3002, 0}};
  for (const char* column : {"CHARS", "TEXT"}) {
    for (const auto& entry : cases) {
      EXPECT_EQ(compare(column, entry.oper, row(1), "other "), entry.result) << entry.oper;
      EXPECT_EQ(compare(column, entry.oper, row(1), "chars "), entry.result) << entry.oper;
    }
  }
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(ZelIraColumnsTest, SeesLongTextsAsEqualToo) {
  Tidy<ZelTableManager> wide(
      "ZJX", "WIDE", new std::vector<ZelColumnInfo*>{new ZelColumnInfo("A", kIntfChars, 5000, 0)});
  RequestDetail detail;
  const std::unique_ptr<vuira> request(wide.CreateCtira(&detail, &context));
  std::string value(5000, 'b');
  std::string threshold = std::string(10, 'a') + std::string(4991, '\0');
  char name[] = "A";

  EXPECT_EQ(request->ColumnIsException(value.data(), name, kIntfEqual, threshold.data()), 1);
  EXPECT_EQ(request->ColumnIsException(value.data(), name, kIntfGreater, threshold.data()), 0);
}

TEST_F(ZelIraColumnsTest, SeesAMalformedTextAsEqualToo) {
  const std::string malformed = row(1, 0, 0, "\xFF\xFF\xFF\xFF\xFF\xFF");

  EXPECT_EQ(compare("CHARS", kIntfEqual, malformed, "chars "), 1);

  EXPECT_THAT(messages(),
              ElementsAre("ERROR: ucnv_toUChars() failed (rc 12), U_ILLEGAL_CHAR_FOUND"));
}

TEST_F(ZelIraColumnsTest, DecodesTheThresholdAfterTheValue) {
  const std::string malformed = "\xFF\xFF\xFF\xFF\xFF\xFF";

  EXPECT_EQ(compare("CHARS", kIntfEqual, row(1), malformed), 1);
  EXPECT_EQ(framework.messages().size(), 1U);

  EXPECT_EQ(compare("TEXT", kIntfEqual, row(1, 0, 0, "chars ", malformed), "\xC3"), 1);
  EXPECT_THAT(messages(),
              ElementsAre("ERROR: ucnv_toUChars() failed (rc 12), U_ILLEGAL_CHAR_FOUND",
                          "ERROR: ucnv_toUChars() failed (rc 12), U_ILLEGAL_CHAR_FOUND",
                          "ERROR: ucnv_toUChars() failed (rc 12), U_ILLEGAL_CHAR_FOUND"));
}

TEST_F(ZelIraColumnsTest, TracesAComparisonInTheDetailClass) {
  framework.setMask("ZELIRA", kRas1Detail);

  compare("SHORT", 0x1006, row(0, 0, 0x4142), "CD");

  EXPECT_THAT(messages(), ElementsAre("Table TAB", "Oper=4102 Column=SHORT Offset=12"));
  EXPECT_THAT(fake::dumpsOf("ZELIRA"), ElementsAre("Data: BA", "Threshold: CD"));
}

TEST_F(ZelIraColumnsTest, TracesAndDumpsNoColumnWithoutTheDetailClass) {
  framework.setMask("ZELIRA", fake::allBut(kRas1Detail));
  ColumnInfo info{};

  EXPECT_EQ(open(sampleOf({}))->GetColumnInfo(&info, 1), 0);
  compare("SHORT", kIntfGreater, row(0, 0, 5), "CD");

  EXPECT_THAT(messages(), ElementsAre(testing::StartsWith("data=")));  // of the flow class
  EXPECT_THAT(fake::dumpsOf("ZELIRA"), IsEmpty());
}

TEST_F(ZelIraColumnsTest, TracesNoArgumentsWithoutTheFlowClass) {
  framework.setMask("ZELIRA", fake::allBut(kRas1Flow));

  compare("INT", kIntfEqual, row(1), "");

  EXPECT_THAT(messages(), ElementsAre("Table TAB", "Oper=1 Column=INT Offset=0"));
}

TEST_F(ZelIraColumnsTest, TracesTheArgumentsOfAComparisonInTheFlowClass) {
  const std::unique_ptr<ZelIra> request = open(sampleOf({}));
  std::string bytes = row(1);
  char name[] = "NONE";
  char threshold[] = "";
  framework.setMask("ZELIRA", kRas1Flow);

  request->ColumnIsException(bytes.data(), name, kIntfLess, threshold);

  char expected[128];
  std::snprintf(expected, sizeof(expected), "data=%p, column=%p, oper=5, threshold=%p",
                static_cast<void*>(bytes.data()), static_cast<void*>(name),
                static_cast<void*>(threshold));
  EXPECT_THAT(messages(), ElementsAre(expected));
}

TEST_F(ZelIraColumnsTest, ReportsAnExceptionWhileComparing) {
  framework.onCall["IsException(long)"] = [] { throw std::runtime_error("bad"); };

  EXPECT_EQ(compare("INT", kIntfEqual, row(1), ""), 1);

  EXPECT_THAT(messages(), ElementsAre("ERROR: STD C++ library exception 'bad'"));
}

}  // namespace
