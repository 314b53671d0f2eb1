#include "pattern.h"

#include <gtest/gtest.h>

#include "suggestion.h"
#include "text.h"

namespace fendrel::host {
namespace {

TEST(Pattern, StarIsAnyRunAndQuestionMarkOneCharacter) {
  EXPECT_TRUE(matchesPattern(L"sales.pdf", L"*.pdf"));
  EXPECT_TRUE(matchesPattern(L"sales.pdf", L"s?les.*"));
  EXPECT_TRUE(matchesPattern(L"sales.pdf", L"*"));
  EXPECT_TRUE(matchesPattern(L"", L"*"));
  EXPECT_TRUE(matchesPattern(L"a.b.b", L"*.b"));
  EXPECT_FALSE(matchesPattern(L"sales.pdf", L"*.csv"));
  EXPECT_FALSE(matchesPattern(L"sales.pdf", L"sales"));
  EXPECT_FALSE(matchesPattern(L"", L"?"));
  EXPECT_FALSE(matchesPattern(L"a", L"a?"));
}

TEST(Pattern, UpperAndLowerCaseAreAlike) {
  EXPECT_TRUE(matchesPattern(L"SALES.PDF", L"sales.*"));
  EXPECT_TRUE(matchesPattern(L"\u00DCbersicht", L"\u00FC*"));
}

TEST(Pattern, ManyStarsTakeNoTime) {
  EXPECT_FALSE(matchesPattern(std::wstring(2000, L'a'), L"*a*a*a*a*a*a*a*a*a*a*b"));
}

TEST(Suggestion, NearWordIsNamedAndAFarOneIsNot) {
  EXPECT_EQ(closestWord("psot", {"post", "list"}), "post");
  EXPECT_EQ(closestWord("foldres", {"folder", "folders"}), "folders");
  EXPECT_EQ(closestWord("retrys", {"retries", "wait"}), "retries");
  EXPECT_EQ(closestWord("zzz", {"post", "list"}), "");
}

TEST(ShortenedText, MiddleGoesAndTheEndsStay) {
  EXPECT_EQ(shortened("abcdefghij.pdf", 9), "abcd\xE2\x80\xA6.pdf");
  EXPECT_EQ(shortened("short", 9), "short");
  EXPECT_LE(displayWidth(shortened("\xE5\xA3\xB2\xE4\xB8\x8A\xE5\xA3\xB2\xE4\xB8\x8A\xE5\xA3\xB2.pdf", 8)), 8u);
}

TEST(PlainName, BlanksAndControlCharactersAreNone) {
  EXPECT_TRUE(isPlainName(L"Every day"));
  for (const wchar_t* name : {L"", L" ", L"\u00A0 ", L"a\tb", L"a\nb", L"\x1B[31m", L"a\u202Eb", L"a\u0085"})
    EXPECT_FALSE(isPlainName(name));
}

}  // namespace
}  // namespace fendrel::host
