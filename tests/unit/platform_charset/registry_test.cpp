// The registry, on both paths against a real key.
#include "charset_registry.h"

#include <cstring>

#include "charset_test.h"

namespace fendrel::test {
namespace {

class CharsetRegistry : public testing::Test {
 protected:
  // A key of this process alone, as the tests run beside each other.
  std::wstring path = L"Software\\FendrelCharsetTest" + std::to_wstring(GetCurrentProcessId()) + L"\\" + nativeText();
  HKEY key = nullptr;

  void SetUp() override {
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
  }
  void TearDown() override {
    RegCloseKey(key);
    RegDeleteKeyW(HKEY_CURRENT_USER, path.c_str());
    RegDeleteKeyW(HKEY_CURRENT_USER, path.substr(0, path.rfind(L'\\')).c_str());
  }

  LSTATUS setText(DWORD type, const std::wstring& text, DWORD size) {
    return charset::regSetValueEx(key, nativeText().c_str(), 0, type, reinterpret_cast<const BYTE*>(text.data()), size);
  }
  LSTATUS setText(DWORD type, const std::wstring& text) {
    return setText(type, text, static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  }

  struct Read {
    LSTATUS status;
    DWORD type, size;
    std::wstring text;
    bool operator==(const Read&) const = default;
  };
  Read read(DWORD room) {
    std::wstring text(room / sizeof(wchar_t) + 1, L'\0');
    DWORD type = 0, size = room;
    const LSTATUS status = charset::regQueryValueEx(key, nativeText().c_str(), nullptr, &type,
                                                    reinterpret_cast<BYTE*>(text.data()), &size);
    if (status != ERROR_SUCCESS) text.clear();
    text.resize(status == ERROR_SUCCESS ? size / sizeof(wchar_t) : 0);
    return {status, type, size, text};
  }
};

TEST_F(CharsetRegistry, OpenFindsAKeyOfANativeNameOnBothPaths) {
  HKEY opened = nullptr;
  EXPECT_EQ(charset::regOpenKeyEx(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &opened), ERROR_SUCCESS);
  RegCloseKey(opened);
  const AnsiPath ansi;
  EXPECT_EQ(charset::regOpenKeyEx(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &opened), ERROR_SUCCESS);
  RegCloseKey(opened);
  EXPECT_EQ(charset::regOpenKeyEx(HKEY_CURRENT_USER, L"Software\\FendrelMissing", 0, KEY_READ, &opened),
            ERROR_FILE_NOT_FOUND);
}

TEST_F(CharsetRegistry, CreateOpensTheKeyThatIsThereOnBothPaths) {
  const auto create = [&] {
    HKEY made = nullptr;
    DWORD disposition = 0;
    EXPECT_EQ(charset::regCreateKeyEx(HKEY_CURRENT_USER, path.c_str(), 0, L"class", 0, KEY_READ, nullptr, &made,
                                      &disposition),
              ERROR_SUCCESS);
    RegCloseKey(made);
    return disposition;
  };
  EXPECT_EQ(create(), DWORD{REG_OPENED_EXISTING_KEY});
  const AnsiPath ansi;
  EXPECT_EQ(create(), DWORD{REG_OPENED_EXISTING_KEY});
}

TEST_F(CharsetRegistry, TextIsWrittenAndReadTheSameOnBothPaths) {
  ASSERT_EQ(setText(REG_SZ, nativeText()), ERROR_SUCCESS);
  const Read wide = read(256);
  EXPECT_EQ(wide.text, nativeText() + L'\0');
  const AnsiPath ansi;
  EXPECT_EQ(read(256), wide);
  RegDeleteValueW(key, nativeText().c_str());
  ASSERT_EQ(setText(REG_SZ, nativeText()), ERROR_SUCCESS);
  EXPECT_EQ(read(256), wide);
}

TEST_F(CharsetRegistry, TextThatDoesNotConvertIsWrittenAsTheCodePageMakesIt) {
  const AnsiPath ansi;
  ASSERT_EQ(setText(REG_SZ, foreignText()), ERROR_SUCCESS);
  EXPECT_EQ(read(256).text, thereAndBack(foreignText()) + L'\0');
}

TEST_F(CharsetRegistry, ListsKeepTheirTerminatorsOnTheAnsiPath) {
  const AnsiPath ansi;
  const std::wstring list = nativeText() + L'\0' + L"second" + L'\0';
  ASSERT_EQ(setText(REG_MULTI_SZ, list), ERROR_SUCCESS);
  EXPECT_EQ(read(256).text, list + L'\0');
  EXPECT_EQ(read(256).type, DWORD{REG_MULTI_SZ});
}

TEST_F(CharsetRegistry, ABufferOneTooSmallTellsTheRoomOnBothPaths) {
  setText(REG_EXPAND_SZ, nativeText());
  const auto need = static_cast<DWORD>((nativeText().size() + 1) * sizeof(wchar_t));
  EXPECT_EQ(read(need - 2), (Read{ERROR_MORE_DATA, REG_EXPAND_SZ, need, L""}));
  const AnsiPath ansi;
  EXPECT_EQ(read(need - 2), (Read{ERROR_MORE_DATA, REG_EXPAND_SZ, need, L""}));
  EXPECT_EQ(read(need).status, ERROR_SUCCESS);
}

TEST_F(CharsetRegistry, WithoutABufferTheRoomIsToldOnBothPaths) {
  setText(REG_SZ, nativeText());
  const auto ask = [&] {
    DWORD size = 0;
    EXPECT_EQ(charset::regQueryValueEx(key, nativeText().c_str(), nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
    return size;
  };
  const DWORD wide = ask();
  EXPECT_EQ(wide, (nativeText().size() + 1) * sizeof(wchar_t));
  const AnsiPath ansi;
  EXPECT_EQ(ask(), wide);
}

TEST_F(CharsetRegistry, NumbersAndBytesPassUnchangedOnTheAnsiPath) {
  const AnsiPath ansi;
  const DWORD number = 0x89ABCDEF;
  ASSERT_EQ(charset::regSetValueEx(key, L"number", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), 4),
            ERROR_SUCCESS);
  DWORD found = 0, size = 4, type = 0;
  EXPECT_EQ(charset::regQueryValueEx(key, L"number", nullptr, &type, reinterpret_cast<BYTE*>(&found), &size),
            ERROR_SUCCESS);
  EXPECT_EQ(found, number);
  EXPECT_EQ(type, DWORD{REG_DWORD});
  EXPECT_EQ(size, 4u);
}

TEST_F(CharsetRegistry, AnEmptyTextValueHasNoBytesOnTheAnsiPath) {
  const AnsiPath ansi;
  ASSERT_EQ(setText(REG_SZ, L"", 0), ERROR_SUCCESS);
  EXPECT_EQ(read(16), (Read{ERROR_SUCCESS, REG_SZ, 0, L""}));
}

TEST_F(CharsetRegistry, AMissingValueIsNotFoundOnBothPaths) {
  DWORD size = 0;
  EXPECT_EQ(charset::regQueryValueEx(key, L"missing", nullptr, nullptr, nullptr, &size), ERROR_FILE_NOT_FOUND);
  const AnsiPath ansi;
  EXPECT_EQ(charset::regQueryValueEx(key, L"missing", nullptr, nullptr, nullptr, &size), ERROR_FILE_NOT_FOUND);
}

}  // namespace
}  // namespace fendrel::test
