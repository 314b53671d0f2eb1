// Conversions between UTF-16 and 8-bit code pages. The program runs with ANSI code page 1252 and with 932.
#include "text_conversion.h"

#include <gtest/gtest.h>

#include <string>

using namespace fendrel;

namespace {

constexpr UINT latin = 1252;
constexpr UINT japanese = 932;
constexpr UINT noSuchCodePage = 54321;

// A text that has another length in wide characters than in bytes where the ANSI code page has double-byte characters.
struct Sample {
  std::string bytes;
  std::wstring wide;
};
Sample ansiSample() {
  if (GetACP() == japanese) return {"\x93\xFA\x96{-A", L"日本-A"};
  return {
      "Gr\xFC\xDF"
      "e",
      L"Grüße"};
}

class TextConversion : public testing::Test {
 protected:
  void SetUp() override {
    if (GetACP() != latin && GetACP() != japanese) GTEST_SKIP() << "needs the ANSI code page 1252 or 932";
  }
};

TEST_F(TextConversion, AnsiTextBecomesWideWithItsTerminatorCounted) {
  const Sample sample = ansiSample();
  HeapText wide;
  EXPECT_EQ(AnsiToWideAlloc(sample.bytes.c_str(), wide), static_cast<int>(sample.wide.size()) + 1);
  EXPECT_EQ(wide.get(), sample.wide);
}

TEST_F(TextConversion, WideTextBecomesAnsiWithItsTerminatorCounted) {
  const Sample sample = ansiSample();
  HeapAnsiText ansi;
  EXPECT_EQ(WideToAnsiAlloc(sample.wide.c_str(), ansi), static_cast<int>(sample.bytes.size()) + 1);
  EXPECT_EQ(ansi.get(), sample.bytes);
}

TEST_F(TextConversion, EmptyTextIsOneTerminator) {
  HeapText wide;
  HeapAnsiText ansi;
  EXPECT_EQ(AnsiToWideAlloc("", wide), 1);
  EXPECT_STREQ(wide.get(), L"");
  EXPECT_EQ(WideToAnsiAlloc(L"", ansi), 1);
  EXPECT_STREQ(ansi.get(), "");
}

TEST_F(TextConversion, NullTextGivesNullAndZero) {
  HeapText wide(_wcsdup(L"before"));
  HeapAnsiText ansi(_strdup("before"));
  EXPECT_EQ(AnsiToWideAlloc(nullptr, wide), 0);
  EXPECT_EQ(wide, nullptr);
  EXPECT_EQ(WideToAnsiAlloc(nullptr, ansi), 0);
  EXPECT_EQ(ansi, nullptr);
  ansi.reset(_strdup("before"));
  EXPECT_EQ(WideToAnsiPrefixAlloc(nullptr, 3, ansi), 0);
  EXPECT_EQ(ansi, nullptr);
}

TEST_F(TextConversion, AnotherCodePageMayBeAskedFor) {
  HeapAnsiText ansi;
  EXPECT_EQ(WideToAnsiAlloc(L"日本", ansi, japanese), 5);
  EXPECT_STREQ(ansi.get(), "\x93\xFA\x96{");
  EXPECT_EQ(WideToAnsiAlloc(L"ü", ansi, CP_UTF8), 3);
  EXPECT_STREQ(ansi.get(), "\xC3\xBC");
}

TEST_F(TextConversion, UnknownCodePageGivesNullAndZero) {
  HeapAnsiText ansi;
  char buffer[10];
  EXPECT_EQ(WideToAnsiAlloc(L"text", ansi, noSuchCodePage), 0);
  EXPECT_EQ(ansi, nullptr);
  EXPECT_EQ(WideToAnsiPrefixAlloc(L"text", 4, ansi, noSuchCodePage), 0);
  EXPECT_EQ(ansi, nullptr);
  EXPECT_EQ(WideToAnsiInto(L"text", buffer, 10, noSuchCodePage), 0);
}

TEST_F(TextConversion, IntoABufferOfExactlyTheWideLengthWithTerminator) {
  char buffer[] = "......#";
  EXPECT_EQ(WideToAnsiInto(L"12345", buffer, 6), 6);
  EXPECT_STREQ(buffer, "12345");
  EXPECT_EQ(buffer[6], '#');
}

TEST_F(TextConversion, IntoABufferSmallerThanTheWideLengthWithTerminatorFails) {
  char buffer[] = "......#";
  EXPECT_EQ(WideToAnsiInto(L"123456", buffer, 6), 0);
  EXPECT_STREQ(buffer, "......#") << "nothing is written";
  EXPECT_EQ(WideToAnsiInto(L"", buffer, 0), 0);
  EXPECT_EQ(WideToAnsiInto(L"", buffer, -1), 0);
}

TEST_F(TextConversion, IntoABufferThatDoubleByteCharactersOverflowFails) {
  char buffer[] = "......#";
  EXPECT_EQ(WideToAnsiInto(L"日本語", buffer, 6, japanese), 0);
  EXPECT_EQ(buffer[6], '#') << "written after the buffer";
}

TEST_F(TextConversion, IntoWithoutTextOrBufferFails) {
  char buffer[10];
  EXPECT_EQ(WideToAnsiInto(nullptr, buffer, 10), 0);
  EXPECT_EQ(WideToAnsiInto(L"text", nullptr, 10), 0);
}

TEST_F(TextConversion, PrefixStopsAtTheGivenNumberOfCharacters) {
  HeapAnsiText ansi;
  EXPECT_EQ(WideToAnsiPrefixAlloc(L"Quarterly", 4, ansi), 4);
  EXPECT_STREQ(ansi.get(), "Quar");
}

TEST_F(TextConversion, PrefixOfAShorterTextIsTheTextInAZeroFilledBuffer) {
  HeapAnsiText ansi;
  EXPECT_EQ(WideToAnsiPrefixAlloc(L"ab", 5, ansi), 2);
  EXPECT_EQ(std::string(ansi.get(), 6), std::string("ab\0\0\0\0", 6));
}

TEST_F(TextConversion, PrefixOfNothingIsEmpty) {
  HeapAnsiText ansi;
  EXPECT_EQ(WideToAnsiPrefixAlloc(L"ab", 0, ansi), 0);
  ASSERT_NE(ansi, nullptr);
  EXPECT_STREQ(ansi.get(), "");
  EXPECT_EQ(WideToAnsiPrefixAlloc(L"", 3, ansi), 0);
  ASSERT_NE(ansi, nullptr);
  EXPECT_STREQ(ansi.get(), "");
}

TEST_F(TextConversion, PrefixOfANegativeNumberOfCharactersFails) {
  HeapAnsiText ansi;
  EXPECT_EQ(WideToAnsiPrefixAlloc(L"ab", -1, ansi), 0);
  EXPECT_EQ(ansi, nullptr);
}

TEST_F(TextConversion, PrefixThatDoubleByteCharactersOverflowFails) {
  HeapAnsiText ansi;
  EXPECT_EQ(WideToAnsiPrefixAlloc(L"日本語", 3, ansi, japanese), 0);
  EXPECT_EQ(ansi, nullptr);
}

TEST_F(TextConversion, WideTextFromAnsiIsAString) {
  const Sample sample = ansiSample();
  EXPECT_EQ(wideFromAnsi(sample.bytes.c_str()), sample.wide);
  EXPECT_EQ(wideFromAnsi(""), L"");
  EXPECT_EQ(wideFromAnsi(nullptr), std::nullopt);
}

}  // namespace
