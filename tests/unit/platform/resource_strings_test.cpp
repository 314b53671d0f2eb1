// Loading strings from the chosen module.
#include <gtest/gtest.h>

#include <cwchar>
#include <iterator>
#include <string>

#include "build_paths.h"
#include "resource_module.h"

using namespace fendrel;

namespace {

class ResourceStrings : public testing::Test {
 protected:
  ResourceStrings() { g_hResInstance = library_ = LoadLibraryW(buildFile(L"tests/language/valid.dll").c_str()); }
  ~ResourceStrings() override {
    g_hResInstance = nullptr;
    FreeLibrary(library_);
  }

 private:
  HMODULE library_;
};

TEST_F(ResourceStrings, ComeFromTheResourceModule) {
  wchar_t text[32];
  EXPECT_EQ(LoadResString(1, text, 31), resourceLoaded);
  EXPECT_STREQ(text, L"Exchange-Ordner");
  EXPECT_EQ(LoadResString(6, text, 31), resourceLoaded);
  EXPECT_STREQ(text, L"Notiz – Übersicht");
}

TEST_F(ResourceStrings, MissingStringIsCodeSeven) {
  wchar_t text[32];
  EXPECT_EQ(LoadResString(5, text, 31), 7u);
  EXPECT_EQ(LoadResString(9999, text, 31), 7u);
}

TEST_F(ResourceStrings, ModuleWithoutResourcesIsCodeSeven) {
  g_hResInstance = GetModuleHandleW(nullptr);
  wchar_t text[32];
  EXPECT_EQ(LoadResString(1, text, 31), 7u);
}

TEST_F(ResourceStrings, LongStringIsCutToTheGivenNumberOfCharacters) {
  wchar_t text[] = L"...........#";
  EXPECT_EQ(LoadResString(20, text, 10), resourceLoaded);
  EXPECT_STREQ(text, L"0010020030");
  EXPECT_EQ(text[11], L'#');
}

TEST_F(ResourceStrings, OwnedCopyHoldsTheString) {
  HeapText text;
  EXPECT_EQ(LoadResStringAlloc(1, text), resourceLoaded);
  EXPECT_STREQ(text.get(), L"Exchange-Ordner");
}

TEST_F(ResourceStrings, OwnedCopyTakesAtMost254Characters) {
  HeapText text;
  ASSERT_EQ(LoadResStringAlloc(20, text), resourceLoaded);
  EXPECT_EQ(std::wcslen(text.get()), 254u);
  EXPECT_EQ(std::wstring(text.get()).substr(250), L"8408") << "the text's beginning, only its last character is lost";
}

TEST_F(ResourceStrings, OwnedCopyOfAMissingStringIsCodeSevenAndNull) {
  HeapText text(_wcsdup(L"before"));
  EXPECT_EQ(LoadResStringAlloc(5, text), 7u);
  EXPECT_EQ(text, nullptr);
}

}  // namespace
