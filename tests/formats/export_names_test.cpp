#include "export_names.h"

#include <gtest/gtest.h>

#include <vector>

#include "text.h"

namespace fendrel::host {
namespace {

TEST(ExportNames, UsableNamesStay) {
  EXPECT_EQ(escapedName(L"Reports 2031, J\u00FCrgen"), L"Reports 2031, J\u00FCrgen");
}

TEST(ExportNames, UnusableCharactersCanBeToldFromTheName) {
  EXPECT_EQ(escapedName(L"a/b"), L"a%2Fb");
  EXPECT_EQ(escapedName(L"a%2Fb"), L"a%252Fb");
  EXPECT_EQ(escapedName(L"<>:\"\\|?*\x01"), L"%3C%3E%3A%22%5C%7C%3F%2A%01");
  EXPECT_EQ(escapedName(L"a."), L"a%2E");
  EXPECT_EQ(escapedName(L"a "), L"a%20");
  EXPECT_EQ(escapedName(L".."), L".%2E");
  EXPECT_EQ(escapedName(L""), L"%");
}

TEST(ExportNames, HalfACharacterIsEscaped) {
  EXPECT_EQ(escapedName(L"a\xD83D"), L"a%uD83D");
  EXPECT_EQ(escapedName(L"\xDCC8z"), L"%uDCC8z");
  EXPECT_EQ(escapedName(L"\xD83D\xDCC8"), L"\xD83D\xDCC8");
}

TEST(ExportNames, DevicesAreNoFiles) {
  EXPECT_EQ(escapedName(L"CON"), L"%43ON");
  EXPECT_EQ(escapedName(L"nul.txt"), L"%6Eul.txt");
  EXPECT_EQ(escapedName(L"COM1"), L"%43OM1");
  EXPECT_EQ(escapedName(L"CONSOLE"), L"CONSOLE");
}

TEST(ExportNames, KeysDiffer) {
  const std::vector<std::uint8_t> one(56, 1);
  std::vector<std::uint8_t> two = one;
  two[40] = 2;
  EXPECT_EQ(nameKey(one).size(), 16u);
  EXPECT_EQ(nameKey(one), nameKey(one));
  EXPECT_NE(nameKey(one), nameKey(two));
}

TEST(ExportNames, KeyAndExtensionStayWhereTheNameIsCut) {
  for (const std::wstring piece : {L"x", L"\u30EA", L"\xD83D\xDCC8", L"/"}) {
    std::wstring name;
    while (name.size() < 300) name += piece;
    const std::wstring file = keyedName(name, L"0123456789abcdef", L".eml");
    EXPECT_LE(toUtf8(file).size(), 240u);
    EXPECT_GT(toUtf8(file).size(), 230u);
    EXPECT_TRUE(file.ends_with(L" [0123456789abcdef].eml"));
    EXPECT_EQ(toWide(toUtf8(file)), file) << "a character is torn";
  }
}

TEST(ExportNames, DirectoriesHaveAKeyOnlyWhereTheyNeedIt) {
  EXPECT_EQ(directoryName(L"Daily", L"k", false), L"Daily");
  EXPECT_EQ(directoryName(L"Daily", L"k", true), L"Daily [k]");
  EXPECT_TRUE(directoryName(std::wstring(300, L'x'), L"k", false).ends_with(L"x [k]"));
}

TEST(ExportNames, ShortNamesKeepTheirExtension) {
  EXPECT_EQ(shortFileName(L"sales.pdf"), L"sales.pdf");
  const std::wstring name = shortFileName(std::wstring(300, L'\u30EA') + L".pdf");
  EXPECT_EQ(name, std::wstring(78, L'\u30EA') + L".pdf");  // 234 and 4 bytes; another character would make 241
}

TEST(ExportNames, ExtensionsAreToldFromOtherDots) {
  EXPECT_EQ(extensionOf(L"a.b.pdf"), L".pdf");
  for (const wchar_t* name : {L"", L"a", L".pdf", L"a.", L"3. quarter report", L"a.waytoolongforanextension"})
    EXPECT_EQ(extensionOf(name), L"") << toUtf8(name);
}

}  // namespace
}  // namespace fendrel::host
