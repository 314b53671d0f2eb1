// Walking a folder path.
#include "folder_path.h"

#include <gtest/gtest.h>

#include <string>

using namespace fendrel;

namespace {

using Path = FolderPath<wchar_t>;

TEST(FolderPath, EmptyPathHasNoComponent) { EXPECT_TRUE(Path(L"").atEnd()); }

TEST(FolderPath, ComponentEndsAtTheNextSeparator) {
  const Path path(L"Public Folders@Reports@Daily");
  EXPECT_FALSE(path.atEnd());
  EXPECT_EQ(path.component(), L"Public Folders");
}

TEST(FolderPath, AdvancesComponentByComponent) {
  Path path(L"A@BC@D");
  path.advance(1);
  EXPECT_EQ(path.component(), L"BC");
  path.advance(2);
  EXPECT_EQ(path.component(), L"D");
  EXPECT_FALSE(path.atEnd());
  path.advance(1);
  EXPECT_TRUE(path.atEnd());
}

TEST(FolderPath, SeparatorAtTheEndLeavesAnEmptyComponent) {
  Path path(L"A@");
  path.advance(1);
  EXPECT_FALSE(path.atEnd());
  EXPECT_EQ(path.component(), L"");
  path.advance(0);
  EXPECT_TRUE(path.atEnd());
}

TEST(FolderPath, TwoSeparatorsHoldAnEmptyComponent) {
  Path path(L"A@@B");
  path.advance(1);
  EXPECT_EQ(path.component(), L"");
  EXPECT_TRUE(path.matchesExactly(L""));
  path.advance(0);
  EXPECT_EQ(path.component(), L"B");
}

TEST(FolderPath, MatchesExactlyInEveryCharacterAndCase) {
  const Path path(L"Reports@Daily");
  EXPECT_TRUE(path.matchesExactly(L"Reports"));
  EXPECT_FALSE(path.matchesExactly(L"reports"));
  EXPECT_FALSE(path.matchesExactly(L"Report"));
  EXPECT_FALSE(path.matchesExactly(L"Reports "));
  EXPECT_FALSE(path.matchesExactly(L"Reports@Daily"));
  EXPECT_FALSE(path.matchesExactly(L""));
}

TEST(FolderPath, ComponentMayHave79Characters) {
  const std::wstring name(79, L'n');
  EXPECT_TRUE(Path(name).matchesExactly(name));
  EXPECT_TRUE(Path(name + L"@B").matchesExactly(name));
}

TEST(FolderPath, LongerComponentMatchesNeitherWholeNorCut) {
  const std::wstring name(80, L'n');
  EXPECT_FALSE(Path(name).matchesExactly(name));
  EXPECT_FALSE(Path(name).matchesExactly(name.substr(0, 79)));
}

TEST(FolderPath, AddressMatchesUpToASeparatorOrTheEnd) {
  EXPECT_TRUE(Path(L"ann@example.com").matchesAddress(L"ann@example.com"));
  EXPECT_TRUE(Path(L"ann@example.com@Reports").matchesAddress(L"ann@example.com"));
  EXPECT_FALSE(Path(L"ann@example.community").matchesAddress(L"ann@example.com"));
  EXPECT_FALSE(Path(L"ann@example").matchesAddress(L"ann@example.com"));
  EXPECT_FALSE(Path(L"Ann@example.com").matchesAddress(L"ann@example.com"));
}

TEST(FolderPath, NameWithoutASeparatorIsNoAddress) {
  EXPECT_FALSE(Path(L"Reports@Daily").matchesAddress(L"Reports"));
  EXPECT_FALSE(Path(L"Reports").matchesAddress(L"Reports"));
}

TEST(FolderPath, WorksOnAnyCharacterType) {
  FolderPath<char16_t> path(u"A@B");
  EXPECT_TRUE(path.matchesExactly(u"A"));
  path.advance(1);
  EXPECT_TRUE(path.matchesExactly(u"B"));
}

}  // namespace
