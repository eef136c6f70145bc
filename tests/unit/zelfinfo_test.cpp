#include "zelfinfo.h"

#include <gmock/gmock.h>

#include <cstring>
#include <string>

#include "support/default_code_page.h"
#include "support/fake_framework.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

template <typename T>
std::string bytesOf(T value) {
  std::string bytes(sizeof(value), '\0');
  std::memcpy(bytes.data(), &value, sizeof(value));
  return bytes;
}

class ZelFilterInfoTest : public testing::Test {
 protected:
  void SetUp() override { framework.reset(); }

  static FLT1_FILTERINFO record(std::int32_t type, const std::string& value) {
    FLT1_FILTERINFO filter{};
    filter.version = 200;
    filter.logicalOperator = 7;
    filter.compareOperator = 4;
    filter.columnName = "COL";
    filter.dataType = type;
    filter.dataSize = static_cast<std::int16_t>(value.size());
    filter.value = value.data();
    return filter;
  }

  static std::string rendered(std::int32_t type, const std::string& value) {
    return ZelFilterInfo(record(type, value)).m_value;
  }

  static FLT1_FILTERINFO parameter(const std::string& value, const std::string& extension) {
    FLT1_FILTERINFO filter = record(kFlt1Text, value);
    filter.columnName = "PARMA";
    filter.version = kFlt1Version3;
    filter.extendedType = kFlt1Text;
    filter.extendedLength = static_cast<std::int16_t>(extension.size());
    filter.extendedData = extension.data();
    return filter;
  }

  fake::Framework& framework = fake::Framework::get();
  const std::string value = "xyz";
  const std::string extension = "abcdef";
};

TEST(ZelColumnInfoTest, IsAnEmptyCharacterColumnByDefault) {
  const ZelColumnInfo column;

  EXPECT_EQ(column.size, 0);
  EXPECT_EQ(column.offset, 0);
  EXPECT_EQ(column.dataType, 9);
  EXPECT_EQ(column.name, "");
}

TEST(ZelColumnInfoTest, KeepsWhatItIsGiven) {
  const ZelColumnInfo column("NAME", static_cast<IntfDtype>(77), 8, 12);

  EXPECT_EQ(column.size, 8);
  EXPECT_EQ(column.offset, 12);
  EXPECT_EQ(column.dataType, 77);
  EXPECT_EQ(column.name, "NAME");
}

TEST_F(ZelFilterInfoTest, IsEmptyByDefault) {
  const ZelFilterInfo filter;

  EXPECT_EQ(filter.m_column, "");
  EXPECT_EQ(filter.m_value, "");
}

TEST_F(ZelFilterInfoTest, CopiesColumnAndCompareOperator) {
  const ZelFilterInfo filter(record(kFlt1Text, value));

  EXPECT_EQ(filter.m_column, "COL");
  EXPECT_EQ(filter.m_oper, 4);
}

TEST_F(ZelFilterInfoTest, IsCopiedMemberByMember) {
  const ZelFilterInfo original(record(kFlt1Text, value));

  ZelFilterInfo copy(original);
  ZelFilterInfo assigned;
  assigned = copy;

  EXPECT_EQ(assigned.m_column, "COL");
  EXPECT_EQ(assigned.m_value, "xyz");
  EXPECT_EQ(assigned.m_oper, 4);
}

TEST_F(ZelFilterInfoTest, RendersEveryNumericType) {
  const std::string negative = bytesOf<std::int32_t>(-2);
  const struct {
    std::int32_t type;
    std::string value;
    std::string text;
  } cases[] = {
      {2, bytesOf<std::uint16_t>(0xFFFE), "65534"},
      {3, bytesOf<std::uint8_t>(0xFE), "254"},
      {4, negative, "-2"},
      {5, negative, "-2"},
      {6, negative, "4294967294"},
      {496, negative, "-2"},
      {500, bytesOf<std::uint16_t>(12), "12"},
      {1006, negative, "4294967294"},
      {480, bytesOf(1.5F), "1.5"},
      {484, bytesOf(1e20), "1e+20"},
      {1000, bytesOf(-0.25), "-0.25"},
  };
  for (const auto& entry : cases) {
    EXPECT_EQ(rendered(entry.type, entry.value), entry.text) << "type " << entry.type;
  }
  EXPECT_THAT(framework.messages(), IsEmpty());
}

TEST_F(ZelFilterInfoTest, RendersA16BitValueWithoutItsSign) {
  EXPECT_EQ(rendered(kFlt1Int16, "\xFF\xFF"), "65535");
}

TEST_F(ZelFilterInfoTest, ChoosesTheTypeOfASizedIntegerByItsSize) {
  for (const std::int32_t type : {1004, 1008}) {
    EXPECT_EQ(rendered(type, bytesOf<std::int8_t>(-1)), "255");
    EXPECT_EQ(rendered(type, bytesOf<std::int16_t>(-1)), "65535");
    EXPECT_EQ(rendered(type, bytesOf<std::int32_t>(-1)), "-1");
  }
}

TEST_F(ZelFilterInfoTest, WarnsOfASizedIntegerOfAnotherSize) {
  EXPECT_EQ(rendered(1004, bytesOf<std::int64_t>(1)), "");
  EXPECT_EQ(rendered(1008, "abc"), "");

  EXPECT_THAT(framework.messages(), ElementsAre("WARN: unsupported data type 1004 of column COL",
                                                "WARN: unsupported data type 1008 of column COL"));
}

TEST_F(ZelFilterInfoTest, WarnsOfAnUnsupportedTypeAndKeepsTheRest) {
  const ZelFilterInfo filter(record(99, value));

  EXPECT_EQ(filter.m_column, "COL");
  EXPECT_EQ(filter.m_value, "");
  EXPECT_EQ(filter.m_oper, 4);
  EXPECT_THAT(framework.messages(), ElementsAre("WARN: unsupported data type 99 of column COL"));
}

TEST_F(ZelFilterInfoTest, TakesCharactersAsTheyAreWithTheirZeros) {
  const std::string characters("a\0b\xE9", 4);
  for (const std::int32_t type : {384, 388, 448, 452, 456, 460}) {
    EXPECT_EQ(rendered(type, characters), characters) << "type " << type;
  }
}

TEST_F(ZelFilterInfoTest, ConvertsUtf8ToTheDefaultCodePage) {
  const fake::DefaultCodePage latin1("ISO-8859-1");
  for (const std::int32_t type : {1018, 1022}) {
    EXPECT_EQ(rendered(type, "caf\xC3\xA9"), "caf\xE9") << "type " << type;
  }
}

TEST_F(ZelFilterInfoTest, LeavesTheValueOfMalformedUtf8Empty) {
  EXPECT_EQ(rendered(1018, "a\xFF"), "");

  EXPECT_THAT(framework.messages(),
              ElementsAre("ERROR: ucnv_toUChars() failed (rc 12), U_ILLEGAL_CHAR_FOUND"));
}

TEST_F(ZelFilterInfoTest, AppendsTheExtendedTextToTheParameterColumn) {
  for (const std::int32_t type : {384, 388, 448, 452, 456, 460}) {
    FLT1_FILTERINFO filter = parameter(value, extension);
    filter.extendedType = type;
    filter.extendedLength = 3;

    EXPECT_EQ(ZelFilterInfo(filter).m_column, "PARMA$abc") << "type " << type;
  }
}

TEST_F(ZelFilterInfoTest, KeepsTheParameterColumnOfARecordOfAnotherVersion) {
  FLT1_FILTERINFO filter = parameter(value, extension);
  filter.version = 200;

  EXPECT_EQ(ZelFilterInfo(filter).m_column, "PARMA");
}

TEST_F(ZelFilterInfoTest, KeepsTheParameterColumnWhenTheExtensionIsNoText) {
  FLT1_FILTERINFO filter = parameter(value, extension);
  filter.extendedType = kFlt1Int32;

  EXPECT_EQ(ZelFilterInfo(filter).m_column, "PARMA");
}

TEST_F(ZelFilterInfoTest, AppendsNothingToOtherColumns) {
  FLT1_FILTERINFO filter = parameter(value, extension);
  filter.columnName = "PARMA2";

  EXPECT_EQ(ZelFilterInfo(filter).m_column, "PARMA2");
}

TEST_F(ZelFilterInfoTest, TracesRecordAndResultInTheDetailClass) {
  framework.setMask("ZELFINFO", kRas1Detail);

  const ZelFilterInfo filter(parameter(value, extension));

  EXPECT_THAT(framework.messages(),
              ElementsAre("FLT1_V3_FilterInfo.extData=<abcdef>",
                          "columnName=<PARMA> dataType=<448> dataSize<3> compareOperator=<4> "
                          "logicalOperator=<7>",
                          "m_column=<PARMA$abcdef> m_value=<xyz> m_oper=<4>"));
  const auto trace = framework.trace();
  ASSERT_EQ(trace.size(), 4U);
  EXPECT_EQ(trace[2].kind, fake::TraceRecord::Dump);
  EXPECT_EQ(trace[2].text, "Filter");
  EXPECT_EQ(trace[2].data, "xyz");
}

TEST_F(ZelFilterInfoTest, TracesNoExtensionThatItDoesNotTake) {
  framework.setMask("ZELFINFO", kRas1Detail);

  const ZelFilterInfo filter(record(kFlt1Text, value));

  EXPECT_THAT(framework.messages(), Not(Contains(testing::HasSubstr("extData"))));
}

TEST_F(ZelFilterInfoTest, TracesOnlyItsEntryAndExitInTheFlowClass) {
  framework.setMask("ZELFINFO", kRas1Flow);

  const ZelFilterInfo filter(parameter(value, extension));

  const auto trace = framework.trace();
  ASSERT_EQ(trace.size(), 2U);
  EXPECT_EQ(trace[0].text, "entry");
  EXPECT_EQ(trace[1].text, "exit");
}

TEST_F(ZelFilterInfoTest, TracesNothingWhenNoClassIsEnabled) {
  const ZelFilterInfo filter(parameter(value, extension));

  EXPECT_TRUE(framework.trace().empty());
}

}  // namespace
