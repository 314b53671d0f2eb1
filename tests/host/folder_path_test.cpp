#include "folder_path.h"

#include <gtest/gtest.h>

#include <vector>

namespace fendrel::host {
namespace {

using Names = std::vector<std::wstring>;

TEST(FolderPath, FirstComponentEndsAtTheSeparator) {
  EXPECT_EQ(firstComponent(L"Public Folders@Reports"), L"Public Folders");
  EXPECT_EQ(firstComponent(L"Inbox"), L"Inbox");
  EXPECT_EQ(behindFirstComponent(L"a@b@c"), L"b@c");
  EXPECT_EQ(behindFirstComponent(L"a@"), L"");
  EXPECT_FALSE(behindFirstComponent(L"a").has_value());
}

TEST(FolderPath, FirstEqualNameWins) {
  const auto step = matchFront(L"Daily@x", Names{L"daily", L"Daily", L"Daily"});
  ASSERT_TRUE(step);
  EXPECT_EQ(step->index, 1u);
  EXPECT_EQ(step->rest, L"x");
}

TEST(FolderPath, CaseCounts) { EXPECT_FALSE(matchFront(L"DAILY", Names{L"Daily"})); }

TEST(FolderPath, LastComponentLeavesNoRest) {
  const auto step = matchFront(L"Daily", Names{L"Daily"});
  ASSERT_TRUE(step);
  EXPECT_FALSE(step->rest);
}

TEST(FolderPath, NameWithASeparatorMatchesTheFrontOfThePath) {
  const auto step = matchFront(L"jane@example.org@Inbox", Names{L"other", L"jane@example.org"});
  ASSERT_TRUE(step);
  EXPECT_EQ(step->index, 1u);
  EXPECT_EQ(step->rest, L"Inbox");
}

TEST(FolderPath, NameWithASeparatorMatchesAWholePath) {
  const auto step = matchFront(L"jane@example.org", Names{L"jane@example.org"});
  ASSERT_TRUE(step);
  EXPECT_FALSE(step->rest);
}

TEST(FolderPath, LongestNameWithASeparatorWins) {
  const auto step = matchFront(L"a@b@c@d", Names{L"a@b", L"a@b@c", L"a@bx"});
  ASSERT_TRUE(step);
  EXPECT_EQ(step->index, 1u);
  EXPECT_EQ(step->rest, L"d");
}

TEST(FolderPath, EqualComponentWinsOverALongerName) {
  const auto step = matchFront(L"a@b@c", Names{L"a@b", L"a"});
  ASSERT_TRUE(step);
  EXPECT_EQ(step->index, 1u);
  EXPECT_EQ(step->rest, L"b@c");
}

TEST(FolderPath, NameMustEndWhereAComponentEnds) {
  EXPECT_FALSE(matchFront(L"jane@example.organic", Names{L"jane@example.org"}));
}

}  // namespace
}  // namespace fendrel::host
