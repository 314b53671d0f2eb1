#include <gtest/gtest.h>

#include <string>

#include "checksum.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

std::uint64_t checksumOf(std::string_view text) { return checksum(std::as_bytes(std::span(text))); }

// Published test values of XXH64 with seed 0.
TEST(Checksum, AgreesWithThePublishedValues) {
  EXPECT_EQ(checksumOf(""), 0xEF46DB3751D8E999u);
  EXPECT_EQ(checksumOf("a"), 0xD24EC4F1A98C6E5Bu);
  EXPECT_EQ(checksumOf("abc"), 0x44BC2CF5AD770999u);
  EXPECT_EQ(checksumOf("Nobody inspects the spammish repetition"), 0xFBCEA83C8A378BF1u);
}

TEST(Checksum, OneFlippedBitChangesIt) {
  std::string text(100, 'x');
  const auto before = checksumOf(text);
  text[57] = 'y';
  EXPECT_NE(checksumOf(text), before);
}

std::u16string throughUtf8(std::u16string_view text) {
  std::u16string back = u"unset";
  EXPECT_TRUE(fromUtf8(toUtf8(text), back));
  return back;
}

TEST(Utf8, EncodesEachLength) {
  EXPECT_EQ(toUtf8(std::u16string_view(u"a\u00E4\u672C\U0001F600")), "a\xC3\xA4\xE6\x9C\xAC\xF0\x9F\x98\x80");
}

TEST(Utf8, EveryCodeUnitComesBack) {
  std::u16string all;
  for (char32_t unit = 0; unit <= 0xFFFF; ++unit) {
    all.push_back(static_cast<char16_t>(unit));
    all.push_back(u'-');
  }
  EXPECT_EQ(throughUtf8(all), all);
}

TEST(Utf8, SurrogatesInTheWrongOrderComeBack) {
  const std::u16string wrong{0xDC00, 0xD800, 0xD800, 0xDC00};
  EXPECT_EQ(throughUtf8(wrong), wrong);
}

struct BadBytes {
  const char* name;
  std::string bytes;
};

class BadUtf8 : public testing::TestWithParam<BadBytes> {};

TEST_P(BadUtf8, IsRefused) {
  std::u16string text;
  EXPECT_FALSE(fromUtf8(GetParam().bytes, text));
}

INSTANTIATE_TEST_SUITE_P(Bytes, BadUtf8,
                         testing::Values(BadBytes{"LoneContinuation", "\x80"}, BadBytes{"CutOff", "\xE6\x9C"},
                                         BadBytes{"Overlong", "\xC0\x80"}, BadBytes{"OverlongThree", "\xE0\x80\x80"},
                                         BadBytes{"TooHigh", "\xF4\x90\x80\x80"}, BadBytes{"FF", "\xFF"},
                                         BadBytes{"WrongSecond", "\xC3("}),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace fendrel::store
