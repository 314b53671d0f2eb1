// Mapping failures for the host.
#include "error_text.h"

#include <gtest/gtest.h>

#include <mapicode.h>

#include <cwchar>
#include <string>

#include "build_paths.h"
#include "resource_module.h"

using namespace fendrel;

namespace {

constexpr std::uint32_t failed = 0xFFFFFFFF;

// One row of the mapping; a null text does not change the error text.
struct Mapping {
  const char* row;
  std::uint32_t result;
  std::uint32_t code;
  const wchar_t* words;
  friend void PrintTo(const Mapping& value, std::ostream* out) { *out << value.row; }
};

class ErrorMapping : public testing::TestWithParam<Mapping> {};

// Without a resource module, so that texts come from the program.
TEST_P(ErrorMapping, GivesCodeAndWords) {
  ErrorText text;
  text.assign(L"before");
  EXPECT_EQ(mapResult(static_cast<HRESULT>(GetParam().result), text), GetParam().code);
  EXPECT_STREQ(text.get(), GetParam().words ? GetParam().words : L"before");
}

INSTANTIATE_TEST_SUITE_P(
    Of, ErrorMapping,
    testing::Values(Mapping{"Success", 0, 0, nullptr}, Mapping{"Abort", 0x80004004, 6, nullptr},
                    Mapping{"UserCancel", 0x80040113, 6, nullptr}, Mapping{"Cancel", 0x80040501, 6, nullptr},
                    Mapping{"NotEnoughMemory", 0x8007000E, 2, nullptr},
                    Mapping{"NotEnoughDisk", 0x8004010D, 3, nullptr},
                    Mapping{"CallFailed", 0x80004005, failed, L"MAPI_E_CALL_FAILED"},
                    Mapping{"CorruptData", 0x8004011B, failed, L"MAPI_E_CORRUPT_DATA"},
                    Mapping{"FailOneProvider", 0x8004011D, failed, L"MAPI Error: Fail on provider."},
                    Mapping{"InvalidParameter", 0x80070057, failed, L"MAPI_E_INVALID_PARAMETER"},
                    Mapping{"NoSupport", 0x80040102, failed,
                            L"Such posting is not supported by the Message Service Provider."},
                    Mapping{"NotFound", 0x8004010F, failed, L"MAPI object not found."},
                    Mapping{"NoAccess", 0x80070005, failed, L"No access right to post file to Exchange Folders."},
                    Mapping{"AnyOther", 0x8004AbCd, failed, L"Error code 0x8004ABCD returned."},
                    Mapping{"Busy", 0x8004010B, failed, L"Error code 0x8004010B returned."},
                    Mapping{"SystemError", 0x80070021, failed, L"Error code 0x80070021 returned."},
                    Mapping{"Warning", 0x00040380, failed, L"Error code 0x00040380 returned."}),
    [](const auto& row) { return std::string(row.param.row); });

TEST(ErrorText, IsEmptyAtFirst) { EXPECT_STREQ(ErrorText().get(), L""); }

TEST(ErrorText, KeepsTheLatestWords) {
  ErrorText text;
  mapResult(MAPI_E_CORRUPT_DATA, text);
  mapResult(MAPI_E_CALL_FAILED, text);
  mapResult(S_OK, text);
  mapResult(MAPI_E_USER_CANCEL, text);
  EXPECT_STREQ(text.get(), L"MAPI_E_CALL_FAILED");
}

TEST(ErrorText, TakesAtMost299Characters) {
  ErrorText text;
  text.assign(std::wstring(299, L'a').c_str());
  EXPECT_EQ(std::wcslen(text.get()), 299u);
  text.assign((std::wstring(299, L'b') + L"cdef").c_str());
  EXPECT_EQ(text.get(), std::wstring(299, L'b'));
}

TEST(ErrorText, ShorterWordsReplaceLongerOnesWhole) {
  ErrorText text;
  text.assign(L"a long text");
  text.assign(L"abc");
  EXPECT_STREQ(text.get(), L"abc");
}

class LoadedErrorText : public testing::Test {
 protected:
  LoadedErrorText() { g_hResInstance = library_ = LoadLibraryW(buildFile(L"tests/language/valid.dll").c_str()); }
  ~LoadedErrorText() override {
    g_hResInstance = nullptr;
    FreeLibrary(library_);
  }
  ErrorText text;

 private:
  HMODULE library_;
};

TEST_F(LoadedErrorText, ComesFromTheResourceModule) {
  EXPECT_EQ(mapResult(MAPI_E_NO_ACCESS, text), failed);
  EXPECT_STREQ(text.get(), L"Kein Recht, hier abzulegen.");
  EXPECT_EQ(mapResult(MAPI_E_NOT_FOUND, text), failed);
  EXPECT_STREQ(text.get(), L"Nicht gefunden.");
  EXPECT_EQ(mapResult(MAPI_E_NO_SUPPORT, text), failed);
  EXPECT_STREQ(text.get(), L"Nicht vorgesehen.");
}

TEST_F(LoadedErrorText, FallsBackWhenTheEntryIsMissing) {
  text.load(9999, L"the program's own words");
  EXPECT_STREQ(text.get(), L"the program's own words");
}

TEST_F(LoadedErrorText, FallbackIsCutToo) {
  text.load(9999, std::wstring(400, L'x').c_str());
  EXPECT_EQ(std::wcslen(text.get()), 299u);
}

TEST_F(LoadedErrorText, LongEntryIsTakenWhole) {
  text.load(20, L"");
  EXPECT_EQ(std::wcslen(text.get()), 255u);
}

}  // namespace
