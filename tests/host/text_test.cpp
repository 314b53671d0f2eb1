#include "text.h"

#include <gtest/gtest.h>

namespace fendrel::host {
namespace {

TEST(Text, Utf8AndUtf16GoBothWays) {
  const std::string utf8 =
      "\xC3\x9C"
      "bersicht \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x93\x88";
  EXPECT_EQ(toWide(utf8), L"\u00DCbersicht \u65E5\u672C \U0001F4C8");
  EXPECT_EQ(toUtf8(toWide(utf8)), utf8);
  EXPECT_EQ(toUtf8(L""), "");
}

TEST(Text, UnpairedSurrogateBecomesReplacementCharacter) {
  const std::wstring broken = {L'a', static_cast<wchar_t>(0xD800), L'b'};
  EXPECT_EQ(toUtf8(broken),
            "a\xEF\xBF\xBD"
            "b");
}

TEST(Text, PrintableReplacesWhatSteersATerminal) {
  EXPECT_EQ(printable(std::string_view("a\x1b[31mb\nc\td")),
            "a\xEF\xBF\xBD[31mb\xEF\xBF\xBD"
            "c\xEF\xBF\xBD"
            "d");
  EXPECT_EQ(printable(std::string_view("\xE2\x80\xAEgpj.exe")), "\xEF\xBF\xBDgpj.exe");  // right-to-left override
  EXPECT_EQ(printable(std::wstring_view(L"Stra\u00DFe \u65E5")),
            "Stra\xC3\x9F"
            "e \xE6\x97\xA5");
}

TEST(Text, NumbersHaveThousandsSeparators) {
  EXPECT_EQ(withThousands(0), "0");
  EXPECT_EQ(withThousands(999), "999");
  EXPECT_EQ(withThousands(1000), "1,000");
  EXPECT_EQ(withThousands(48213), "48,213");
  EXPECT_EQ(withThousands(123456), "123,456");
  EXPECT_EQ(withThousands(18446744073709551615u), "18,446,744,073,709,551,615");
}

TEST(Text, CountedIsSingularForOne) {
  EXPECT_EQ(counted(1, "byte"), "1 byte");
  EXPECT_EQ(counted(0, "byte"), "0 bytes");
  EXPECT_EQ(counted(1234, "file"), "1,234 files");
}

TEST(Text, ShortSizeTakesTheLargestUnitThatFits) {
  EXPECT_EQ(shortSize(1023), "1,023 bytes");
  EXPECT_EQ(shortSize(1024), "1.0 KiB");
  EXPECT_EQ(shortSize(5u << 20), "5.0 MiB");
  EXPECT_EQ(shortSize(std::uint64_t{3} << 40), "3.0 TiB");
}

TEST(Text, WideCharactersTakeTwoColumnsAndAccentsNone) {
  EXPECT_EQ(displayWidth("abc"), 3u);
  EXPECT_EQ(displayWidth("\xE6\x97\xA5\xE6\x9C\xAC"), 4u);
  EXPECT_EQ(displayWidth("e\xCC\x81"), 1u);  // e and a combining acute accent
  EXPECT_EQ(padded("\xE6\x97\xA5", 4), "\xE6\x97\xA5  ");
}

TEST(Text, ClippedEndsInAnEllipsisWithinTheWidth) {
  EXPECT_EQ(clipped("abcdef", 6), "abcdef");
  EXPECT_EQ(clipped("abcdefg", 6), "abcde\xE2\x80\xA6");
  EXPECT_EQ(clipped("\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E", 4), "\xE6\x97\xA5\xE2\x80\xA6");
}

TEST(Text, HexadecimalIsUpperCase) {
  const std::uint8_t bytes[] = {0x00, 0xAF, 0x5C};
  EXPECT_EQ(hexadecimal(bytes), "00AF5C");
}

TEST(Text, UtcTimeHasMilliseconds) {
  SYSTEMTIME time{};
  time.wYear = 2031;
  time.wMonth = 4;
  time.wDay = 5;
  time.wHour = 6;
  time.wMinute = 7;
  time.wSecond = 8;
  time.wMilliseconds = 9;
  FILETIME file{};
  ASSERT_TRUE(SystemTimeToFileTime(&time, &file));
  EXPECT_EQ(utcTime(file), "2031-04-05T06:07:08.009Z");
}

TEST(Text, SystemMessageIsOneLineWithoutFullStop) {
  const std::string words = systemMessage(ERROR_FILE_NOT_FOUND);
  ASSERT_FALSE(words.empty());
  EXPECT_EQ(words.find_first_of("\r\n"), std::string::npos);
  EXPECT_NE(words.back(), '.');
  EXPECT_EQ(systemMessage(0x0BADF00D), "");
}

}  // namespace
}  // namespace fendrel::host
