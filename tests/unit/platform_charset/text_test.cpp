// Strings, profile files, locales and the conversions themselves, on both paths.
#include "charset_text.h"

#include <cstring>
#include <cwchar>
#include <string_view>

#include "charset_ansi.h"
#include "charset_test.h"
#include "temp_folder.h"

namespace fendrel::test {
namespace {

TEST(CharsetMode, IsAnNtSystemOfMajorVersion5OrLater) {
  EXPECT_TRUE(IsWinNT());
  EXPECT_TRUE(IsWinNTMajor5OrLater());
  EXPECT_FALSE(IsWin9x());
  EXPECT_FALSE(IsWin9xMajor5());
  EXPECT_FALSE(g_bUseAnsi);
}

TEST(CharsetMode, TheRunForDoubleByteTextHasCodePage932) {
  char locale[32] = {};
  GetEnvironmentVariableA("LC_ALL", locale, sizeof locale);
  EXPECT_EQ(GetACP(), std::string_view(locale) == "ja_JP.UTF-8" ? 932u : 1252u);
}

constexpr LCID german = MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT);
constexpr LCID japanese = MAKELCID(MAKELANGID(LANG_JAPANESE, SUBLANG_DEFAULT), SORT_DEFAULT);
constexpr LCID hindi = MAKELCID(MAKELANGID(LANG_HINDI, SUBLANG_DEFAULT), SORT_DEFAULT);

TEST(CharsetMode, LocaleCodePageIsTheLocalesAnsiCodePageOnBothPaths) {
  EXPECT_EQ(GetLocaleCodePage(german), 1252u);
  EXPECT_EQ(GetLocaleCodePage(japanese), 932u);
  const AnsiPath ansi;
  EXPECT_EQ(GetLocaleCodePage(german), 1252u);
  EXPECT_EQ(GetLocaleCodePage(japanese), 932u);
}

// Such a locale has no code page of its own: the system says 0, or UTF-8.
TEST(CharsetMode, LocaleCodePageOfALocaleWithoutOneIsAnswered) {
  const UINT codePage = GetLocaleCodePage(hindi);
  EXPECT_TRUE(codePage <= 1 || IsValidCodePage(codePage)) << codePage;
}

TEST(CharsetMode, LocaleCodePageOfAnUnknownLocaleIs0) { EXPECT_EQ(GetLocaleCodePage(0xFFFF), 0u); }

UINT nativeString() { return isDoubleByte() ? 3 : 2; }

TEST(CharsetText, LoadStringGivesTheSameWhenThereIsRoomForItsBytes) {
  const auto read = [](wchar_t* buffer, int size) {
    return charset::loadString(GetModuleHandleW(nullptr), nativeString(), buffer, size);
  };
  EXPECT_EQ(readAnsi(64, read), readWide(64, read));
  EXPECT_EQ(readAnsi(64, read).text, nativeText());
}

TEST(CharsetText, LoadStringIntoABufferTooSmallCutsBetweenCharacters) {
  const auto read = [](wchar_t* buffer, int size) {
    return charset::loadString(GetModuleHandleW(nullptr), nativeString(), buffer, size);
  };
  for (int size = 1; size <= static_cast<int>(nativeText().size()); ++size) {
    const TextAnswer ansi = readAnsi(size, read), wide = readWide(size, read);
    if (!isDoubleByte()) {
      EXPECT_EQ(ansi, wide) << "buffer of " << size;
    }
    EXPECT_EQ(ansi.text, nativeText().substr(0, ansi.text.size())) << "buffer of " << size;
    EXPECT_EQ(ansi.result, static_cast<long long>(ansi.text.size())) << "buffer of " << size;
  }
}

TEST(CharsetText, LoadStringOfAMissingEntryIs0OnBothPaths) {
  const auto read = [](wchar_t* buffer, int size) {
    return charset::loadString(GetModuleHandleW(nullptr), 999, buffer, size);
  };
  EXPECT_EQ(readWide(8, read).result, 0);
  EXPECT_EQ(readAnsi(8, read), (TextAnswer{0, L""}));
}

TEST(CharsetText, LoadStringWithoutRoomIs0OnTheAnsiPath) {
  const AnsiPath ansi;
  wchar_t untouched = L'x';
  EXPECT_EQ(charset::loadString(GetModuleHandleW(nullptr), 1, &untouched, 0), 0);
  EXPECT_EQ(untouched, L'x');
}

std::wstring upper(std::wstring text) {
  EXPECT_EQ(charset::charUpper(text.data()), text.data());
  return text;
}

TEST(CharsetText, CharUpperUppercasesTheSameOnBothPaths) {
  const std::wstring text = L"report " + nativeText();
  const std::wstring wide = upper(text);
  EXPECT_EQ(wide.substr(0, 7), L"REPORT ");
  const AnsiPath ansi;
  EXPECT_EQ(upper(text), wide);
}

TEST(CharsetText, CharUpperTakesASingleCharacterOnBothPaths) {
  auto* const letter = reinterpret_cast<wchar_t*>(static_cast<ULONG_PTR>(L'q'));
  EXPECT_EQ(charset::charUpper(letter), reinterpret_cast<wchar_t*>(static_cast<ULONG_PTR>(L'Q')));
  const AnsiPath ansi;
  EXPECT_EQ(charset::charUpper(letter), reinterpret_cast<wchar_t*>(static_cast<ULONG_PTR>(L'Q')));
}

TEST(CharsetText, CharUpperOfNullIsNullOnBothPaths) {
  EXPECT_EQ(charset::charUpper(nullptr), nullptr);
  const AnsiPath ansi;
  EXPECT_EQ(charset::charUpper(nullptr), nullptr);
}

// A profile file in a folder of its own with a native section, key and value.
class CharsetProfile : public testing::Test {
 protected:
  void SetUp() override {
    file = folder.file(isDoubleByte() ? L"設定.ini" : L"Übung.ini");
    WritePrivateProfileStringW(section().c_str(), key().c_str(), nativeText().c_str(), file.c_str());
    WritePrivateProfileStringW(section().c_str(), L"number", L"4711", file.c_str());
  }
  static std::wstring section() { return isDoubleByte() ? L"節" : L"Größe"; }
  static std::wstring key() { return isDoubleByte() ? L"名前" : L"Höhe"; }

  auto reader(const wchar_t* inSection, const wchar_t* forKey, const wchar_t* fallback) {
    return [=, this](wchar_t* buffer, int size) {
      return charset::getPrivateProfileString(inSection, forKey, fallback, buffer, static_cast<DWORD>(size),
                                              file.c_str());
    };
  }

  TempFolder folder;
  std::wstring file;
};

TEST_F(CharsetProfile, PrivateProfileStringGivesTheSameForEverySizeOfBuffer) {
  const std::wstring inSection = section(), forKey = key();
  const auto read = reader(inSection.c_str(), forKey.c_str(), L"fallback");
  EXPECT_EQ(readWide(64, read).text, nativeText());
  for (int size = 1; size <= static_cast<int>(nativeText().size()) + 2; ++size)
    EXPECT_EQ(readAnsi(size, read), readWide(size, read)) << "buffer of " << size;
}

TEST_F(CharsetProfile, PrivateProfileStringGivesTheFallbackForAMissingKeyOnBothPaths) {
  const std::wstring inSection = section(), fallback = nativeText();
  const auto read = reader(inSection.c_str(), L"missing", fallback.c_str());
  EXPECT_EQ(readWide(64, read), (TextAnswer{static_cast<long long>(nativeText().size()), nativeText()}));
  EXPECT_EQ(readAnsi(64, read), readWide(64, read));
}

TEST_F(CharsetProfile, PrivateProfileStringListsTheKeysForANullKeyOnBothPaths) {
  const std::wstring inSection = section();
  const auto list = [&](wchar_t* buffer) {
    return charset::getPrivateProfileString(inSection.c_str(), nullptr, L"", buffer, 64, file.c_str());
  };
  wchar_t wide[64] = {}, ansi[64] = {};
  const DWORD length = list(wide);
  EXPECT_EQ(std::wstring(wide), key());
  const AnsiPath path;
  EXPECT_EQ(list(ansi), length);
  EXPECT_EQ(std::wstring(ansi, length + 2), std::wstring(wide, length + 2));
}

TEST_F(CharsetProfile, PrivateProfileStringListIntoABufferTooSmallEndsWithTwoZeros) {
  const AnsiPath path;
  const std::wstring inSection = section();
  wchar_t list[4] = {L'x', L'x', L'x', L'x'};
  EXPECT_EQ(charset::getPrivateProfileString(inSection.c_str(), nullptr, L"", list, 4, file.c_str()), 2u);
  EXPECT_EQ(list[2], 0);
  EXPECT_EQ(list[3], 0);
}

TEST_F(CharsetProfile, PrivateProfileStringWithoutRoomWritesNothing) {
  const AnsiPath path;
  wchar_t buffer = L'x';
  EXPECT_EQ(charset::getPrivateProfileString(L"a", L"b", L"fallback", &buffer, 0, file.c_str()), 0u);
  EXPECT_EQ(buffer, L'x');
}

TEST_F(CharsetProfile, PrivateProfileIntGivesTheSameOnBothPaths) {
  EXPECT_EQ(charset::getPrivateProfileInt(section().c_str(), L"number", 1, file.c_str()), 4711u);
  EXPECT_EQ(charset::getPrivateProfileInt(section().c_str(), L"missing", 12, file.c_str()), 12u);
  const AnsiPath ansi;
  EXPECT_EQ(charset::getPrivateProfileInt(section().c_str(), L"number", 1, file.c_str()), 4711u);
  EXPECT_EQ(charset::getPrivateProfileInt(section().c_str(), L"missing", 12, file.c_str()), 12u);
}

TEST(CharsetText, ProfileStringOfTheSystemGivesTheSameOnBothPaths) {
  WriteProfileStringW(L"FendrelCharsetTest", L"key", nativeText().c_str());
  const auto read = [](wchar_t* buffer, int size) {
    return charset::getProfileString(L"FendrelCharsetTest", L"key", L"", buffer, static_cast<DWORD>(size));
  };
  EXPECT_EQ(readWide(64, read).text, nativeText());
  EXPECT_EQ(readAnsi(64, read), readWide(64, read));
  WriteProfileStringW(L"FendrelCharsetTest", nullptr, nullptr);
}

TEST(CharsetText, LocaleInfoGivesTheSameForEverySizeOfBuffer) {
  const auto read = [](wchar_t* buffer, int size) {
    return charset::getLocaleInfo(japanese, LOCALE_SENGLANGUAGE, buffer, size);
  };
  const int whole = charset::getLocaleInfo(japanese, LOCALE_SENGLANGUAGE, nullptr, 0);
  EXPECT_EQ(whole, 9);  // "Japanese"
  for (int size = whole - 1; size <= whole + 1; ++size)
    EXPECT_EQ(readAnsi(size, read).result, readWide(size, read).result) << "buffer of " << size;
  EXPECT_EQ(readAnsi(whole, read), readWide(whole, read));
}

TEST(CharsetText, LocaleInfoInTheCodePagesOwnLettersGivesTheSameOnBothPaths) {
  const LCID own = isDoubleByte() ? japanese : german;
  const auto read = [own](wchar_t* buffer, int size) {
    return charset::getLocaleInfo(own, LOCALE_SMONTHNAME3, buffer, size);  // "März", "3月"
  };
  EXPECT_EQ(readAnsi(64, read), readWide(64, read));
}

TEST(CharsetText, LocaleInfoAsANumberGivesTheSameOnBothPaths) {
  const auto number = [] {
    DWORD value = 0;
    EXPECT_EQ(
        charset::getLocaleInfo(german, LOCALE_ILANGUAGE | LOCALE_RETURN_NUMBER, reinterpret_cast<wchar_t*>(&value), 2),
        2);
    return value;
  };
  const DWORD wide = number();
  EXPECT_NE(wide, 0u);
  const AnsiPath ansi;
  EXPECT_EQ(number(), wide);
}

TEST(CharsetText, LocaleInfoOfAnUnknownLocaleIs0OnBothPaths) {
  wchar_t text[8];
  EXPECT_EQ(charset::getLocaleInfo(0xFFFF, LOCALE_SENGLANGUAGE, text, 8), 0);
  const AnsiPath ansi;
  EXPECT_EQ(charset::getLocaleInfo(0xFFFF, LOCALE_SENGLANGUAGE, text, 8), 0);
}

TEST(CharsetText, GlobalAtomsAreFoundByNameOnBothPaths) {
  const ATOM atom = GlobalAddAtomW(nativeText().c_str());
  ASSERT_NE(atom, 0);
  EXPECT_EQ(charset::globalFindAtom(nativeText().c_str()), atom);
  {
    const AnsiPath ansi;
    EXPECT_EQ(charset::globalFindAtom(nativeText().c_str()), atom);
    EXPECT_EQ(charset::globalFindAtom(L"FendrelNoSuchAtom"), 0);
  }
  GlobalDeleteAtom(atom);
}

TEST_F(CharsetProfile, WithoutABufferReadsNothingOnTheAnsiPath) {
  const AnsiPath ansi;
  EXPECT_EQ(charset::getProfileString(L"intl", L"sLanguage", L"none", nullptr, 64), 0u);
  EXPECT_EQ(charset::getProfileString(nullptr, nullptr, L"none", nullptr, 64), 0u);
  EXPECT_EQ(charset::getPrivateProfileString(nullptr, nullptr, L"", nullptr, 64, L"C:\\none.ini"), 0u);
}

TEST(CharsetAnsi, CopyBackNeverSplitsACharacter) {
  HeapAnsiText ansi;
  ASSERT_NE(WideToAnsiAlloc(nativeText().c_str(), ansi), 0);
  const int bytes = static_cast<int>(std::strlen(ansi.get()));
  for (int length = 0; length <= bytes; ++length) {
    wchar_t text[64];
    const int copied = charset::copyBack(ansi.get(), length, text, 64);
    EXPECT_EQ(std::wstring(text), nativeText().substr(0, static_cast<std::size_t>(copied))) << length;
  }
}

TEST(CharsetAnsi, CopyBackIntoNoBufferCopiesNothing) {
  EXPECT_EQ(charset::copyBack("text", nullptr, 5), 0);
  wchar_t text = L'x';
  EXPECT_EQ(charset::copyBack("text", &text, 0), 0);
  EXPECT_EQ(text, L'x');
}

TEST(CharsetAnsi, AnArgumentOfNullStaysNull) {
  const charset::AnsiArgument argument(nullptr);
  EXPECT_TRUE(argument.isOk());
  EXPECT_EQ(argument.get(), nullptr);
}

}  // namespace
}  // namespace fendrel::test
