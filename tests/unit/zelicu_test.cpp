#include "zelicu.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>
#include <vector>

#include "support/failing_allocation.h"
#include "support/fake_framework.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ZelUniConverterTest : public testing::Test {
 protected:
  void SetUp() override { framework.reset(); }

  static bool decode(ZelUniConverter* converter, icu::UnicodeString& out,
                     const std::string& bytes) {
    return converter->toUnicode(out, bytes.data(), static_cast<unsigned>(bytes.size()));
  }

  fake::Framework& framework = fake::Framework::get();
  ZelUniConverter* utf8 = ZelUniConverter::getInstance("UTF8");
  icu::UnicodeString text;
  std::string bytes;
};

TEST_F(ZelUniConverterTest, SharesTheDefaultConverterBetweenNullAndTheEmptyName) {
  EXPECT_EQ(ZelUniConverter::getInstance(nullptr), ZelUniConverter::getInstance(""));
}

TEST_F(ZelUniConverterTest, SharesOneInstanceBetweenSpellingsOfOneName) {
  EXPECT_EQ(ZelUniConverter::getInstance("utf-8"), utf8);
  EXPECT_EQ(ZelUniConverter::getInstance("Utf_8"), utf8);
}

TEST_F(ZelUniConverterTest, KeepsAnInstancePerCodePage) {
  EXPECT_NE(ZelUniConverter::getInstance("ISO-8859-1"), utf8);
  EXPECT_NE(ZelUniConverter::getInstance(nullptr), utf8);
  EXPECT_EQ(ZelUniConverter::getInstance("ISO-8859-1"), ZelUniConverter::getInstance("iso88591"));
}

TEST_F(ZelUniConverterTest, FailsSilentlyForAnUnknownCodePageAndKeepsItsInstance) {
  framework.setAllMasks(0xFF);
  ZelUniConverter* unknown = ZelUniConverter::getInstance("no-such-code-page");

  EXPECT_FALSE(decode(unknown, text, "a"));
  EXPECT_FALSE(unknown->fromUnicode(bytes, u"a"));
  EXPECT_EQ(unknown->getStandardName(), nullptr);
  EXPECT_THAT(framework.messages(), IsEmpty());
  EXPECT_EQ(ZelUniConverter::getInstance("no-such-code-page"), unknown);
}

TEST_F(ZelUniConverterTest, DecodesNoBytesToTheEmptyText) {
  text = u"before";

  EXPECT_TRUE(utf8->toUnicode(text, "ignored", 0));

  EXPECT_TRUE(text.isEmpty());
}

TEST_F(ZelUniConverterTest, DecodesExactlyTheGivenBytesWithTheirZeros) {
  EXPECT_TRUE(utf8->toUnicode(text, "a\0\xC3\xA9z", 4));

  EXPECT_EQ(text, icu::UnicodeString(u"a\0\u00E9", 3));
}

TEST_F(ZelUniConverterTest, RefusesMalformedInputWithTheErrorOfIcu) {
  text = u"before";

  EXPECT_FALSE(decode(utf8, text, "a\xFF"));

  EXPECT_TRUE(text.isEmpty());
  EXPECT_THAT(framework.messages(),
              ElementsAre("ERROR: ucnv_toUChars() failed (rc 12), U_ILLEGAL_CHAR_FOUND"));
  EXPECT_EQ(framework.trace().back().unit, "ZELICU");
}

TEST_F(ZelUniConverterTest, RefusesACharacterThatIsCutOff) {
  EXPECT_FALSE(decode(utf8, text, "a\xC3"));

  EXPECT_TRUE(text.isEmpty());
  EXPECT_THAT(framework.messages(),
              ElementsAre("ERROR: ucnv_toUChars() failed (rc 11), U_TRUNCATED_CHAR_FOUND"));
}

TEST_F(ZelUniConverterTest, DecodesGoodInputAfterAnError) {
  decode(utf8, text, "\xC3");

  EXPECT_TRUE(decode(utf8, text, "ok"));

  EXPECT_EQ(text, icu::UnicodeString(u"ok"));
}

TEST_F(ZelUniConverterTest, GrowsTheTextForACodePageThatExpands) {
  // A window of supplementary characters: each further byte becomes two code units.
  const std::string compressed = std::string("\x0B\0\0", 3) + std::string(50, '\x80');

  EXPECT_TRUE(decode(ZelUniConverter::getInstance("SCSU"), text, compressed));

  EXPECT_EQ(text.length(), 100);
  EXPECT_EQ(text.char32At(98), 0x10000);
  EXPECT_THAT(framework.messages(), IsEmpty());
}

TEST_F(ZelUniConverterTest, GrowsTheBytesForTextThatExpands) {
  EXPECT_TRUE(utf8->fromUnicode(bytes, u"\u20AC\u20AC\u20AC"));

  EXPECT_EQ(bytes, "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC");
  EXPECT_THAT(framework.messages(), IsEmpty());
}

TEST_F(ZelUniConverterTest, SubstitutesWhatTheCodePageLacks) {
  EXPECT_TRUE(ZelUniConverter::getInstance("ISO-8859-1")->fromUnicode(bytes, u"\u00E9\u20AC"));

  EXPECT_EQ(bytes, "\xE9\x1A");
  EXPECT_THAT(framework.messages(), IsEmpty());
}

TEST_F(ZelUniConverterTest, EncodesABogusTextAsTheEmptyText) {
  text.setToBogus();
  bytes = "before";

  EXPECT_TRUE(utf8->fromUnicode(bytes, text));

  EXPECT_EQ(bytes, "");
}

TEST_F(ZelUniConverterTest, ReportsAnEncodingThatIcuRefuses) {
  // The handle is the first member. No code page of its own accord refuses to encode.
  ZelUniConverter* strict = ZelUniConverter::getInstance("US-ASCII");
  UErrorCode status = U_ZERO_ERROR;
  ucnv_setFromUCallBack(*reinterpret_cast<UConverter**>(strict), UCNV_FROM_U_CALLBACK_STOP, nullptr,
                        nullptr, nullptr, &status);
  bytes = "before";

  EXPECT_FALSE(strict->fromUnicode(bytes, u"\u00E9"));

  EXPECT_EQ(bytes, "");
  EXPECT_THAT(framework.messages(),
              ElementsAre("ERROR: ucnv_fromUChars() failed (rc 10), U_INVALID_CHAR_FOUND"));
}

TEST_F(ZelUniConverterTest, ReportsAnExceptionWhileEncoding) {
  const icu::UnicodeString input(u"abc");
  const fake::FailingAllocation failing(0);

  EXPECT_FALSE(utf8->fromUnicode(bytes, input));

  EXPECT_THAT(framework.messages(), ElementsAre("ERROR: unknown exception"));
}

TEST_F(ZelUniConverterTest, ReportsAnExceptionWhileDecoding) {
  // The first allocation is the one of the record about the malformed input.
  const fake::FailingAllocation failing(0);

  EXPECT_FALSE(utf8->toUnicode(text, "\xFF", 1));

  EXPECT_THAT(framework.messages(), ElementsAre("ERROR: unknown exception"));
}

TEST_F(ZelUniConverterTest, TellsTheIanaName) {
  EXPECT_STREQ(utf8->getStandardName(), "UTF-8");
  EXPECT_STREQ(ZelUniConverter::getInstance("latin1")->getStandardName(), "ISO_8859-1:1987");
}

TEST_F(ZelUniConverterTest, TellsNoNameForACodePageThatIanaLacks) {
  ZelUniConverter* converter = ZelUniConverter::getInstance("ebcdic-xml-us");

  EXPECT_TRUE(converter->fromUnicode(bytes, u"a"));
  EXPECT_EQ(converter->getStandardName(), nullptr);
}

TEST_F(ZelUniConverterTest, ServesSeveralThreadsWithOneInstance) {
  std::vector<std::thread> threads;
  std::atomic<int> good{0};
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&good, i] {
      const std::string own(static_cast<std::size_t>(i) * 50, static_cast<char>('a' + i));
      for (int round = 0; round < 500; ++round) {
        icu::UnicodeString decoded;
        std::string encoded;
        ZelUniConverter* converter = ZelUniConverter::getInstance("UTF8");
        if (decode(converter, decoded, own) && converter->fromUnicode(encoded, decoded) &&
            encoded == own) {
          good.fetch_add(1);
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_EQ(good.load(), 4 * 500);
}

}  // namespace
