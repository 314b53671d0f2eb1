// Every language library has all resources, like the English ones, and its texts fit.
#include <gmock/gmock.h>

#include <regex>
#include <sstream>

#include "build_paths.h"
#include "dialog_template.h"
#include "resource_ids.h"

using namespace fendrel::test;

namespace {

std::vector<std::string> languageCodes() {
  std::istringstream codes(FENDREL_LANGUAGES);
  return {std::istream_iterator<std::string>(codes), std::istream_iterator<std::string>()};
}

const wchar_t* const dialogs[] = {MAKEINTRESOURCEW(IDD_FOLDER), L"IDD_FOLDER_DEST_TYPE", L"IDD_REPORT_NAME"};
constexpr UINT strings[] = {1, 2, 3, 4, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
constexpr WORD bitmaps[] = {IDB_STORE, IDB_OPENED_STORE, IDB_FOLDER, IDB_OPENED_FOLDER, IDB_PROFILE};

std::wstring stringOf(HMODULE module, UINT id) {
  wchar_t text[1024] = {};
  return {text, static_cast<std::size_t>(LoadStringW(module, id, text, 1024))};
}

std::vector<std::wstring> directivesOf(const std::wstring& text) {
  static const std::wregex directive(L"%[0-9.]*[a-zA-Z%]");
  return {std::wsregex_token_iterator(text.begin(), text.end(), directive), std::wsregex_token_iterator()};
}

class LanguageLibrary : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    const std::wstring code(GetParam().begin(), GetParam().end());
    library = LoadLibraryW(buildFile(L"languages/R7Kqe" + code + L".dll").c_str());
    english = LoadLibraryExW(buildFile(L"bin/FENDREL.DLL").c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    ASSERT_TRUE(library);
    ASSERT_TRUE(english);
  }
  ~LanguageLibrary() override {
    FreeLibrary(library);
    FreeLibrary(english);
  }

  HMODULE library = nullptr;
  HMODULE english = nullptr;
};

TEST_P(LanguageLibrary, TellsTheVersionThatThePlugInAccepts) {
  const auto version =
      reinterpret_cast<DWORD (*)()>(reinterpret_cast<void*>(GetProcAddress(library, "GetResDllVersion")));
  ASSERT_TRUE(version);
  EXPECT_EQ(version(), 0x0A000000u);
}

TEST_P(LanguageLibrary, HasEveryStringAndNoOther) {
  for (const UINT id : strings) EXPECT_NE(stringOf(library, id), L"") << id;
  for (const UINT id : {0u, 5u, 17u}) EXPECT_EQ(stringOf(library, id), L"") << id;
}

TEST_P(LanguageLibrary, StringsAreShortEnoughToBeLoadedWhole) {
  for (const UINT id : strings) EXPECT_LE(stringOf(library, id).size(), 254u) << id;
}

TEST_P(LanguageLibrary, FormatDirectivesAreThoseOfTheEnglishStrings) {
  for (const UINT id : strings)
    EXPECT_EQ(directivesOf(stringOf(library, id)), directivesOf(stringOf(english, id))) << id;
}

TEST_P(LanguageLibrary, MessageClassesAreNotTranslated) {
  EXPECT_EQ(stringOf(library, 6), L"IPM.Document.*");
  EXPECT_EQ(stringOf(library, 7), L"IPM.QUORVEL.REPORT.TEMPLATE");
}

TEST_P(LanguageLibrary, EveryOtherStringIsTranslated) {
  for (const UINT id : strings) {
    const bool isEnglish = GetParam() == "en" || id == 6 || id == 7;
    EXPECT_EQ(stringOf(library, id) == stringOf(english, id), isEnglish) << id;
  }
}

TEST_P(LanguageLibrary, HasEveryBitmap) {
  for (const WORD id : bitmaps) {
    const HBITMAP bitmap = LoadBitmapW(library, MAKEINTRESOURCEW(id));
    BITMAP shape = {};
    EXPECT_TRUE(GetObjectW(bitmap, sizeof shape, &shape)) << id;
    EXPECT_EQ(shape.bmWidth, 16) << id;
    EXPECT_EQ(shape.bmHeight, 16) << id;
    DeleteObject(bitmap);
  }
}

TEST_P(LanguageLibrary, DialogsHaveTheShapeOfTheEnglishOnes) {
  for (const wchar_t* name : dialogs) {
    const DialogTemplate expected = readDialogTemplate(english, name);
    const DialogTemplate actual = readDialogTemplate(library, name);
    EXPECT_EQ(std::tie(actual.style, actual.x, actual.y, actual.width, actual.height),
              std::tie(expected.style, expected.x, expected.y, expected.width, expected.height));
    EXPECT_NE(actual.caption, L"");
    ASSERT_GT(expected.controls.size(), 0u);
    ASSERT_EQ(actual.controls.size(), expected.controls.size());
    for (std::size_t index = 0; index < expected.controls.size(); ++index) {
      EXPECT_TRUE(actual.controls[index].hasSameShape(expected.controls[index])) << index;
      EXPECT_EQ(actual.controls[index].text.empty(), expected.controls[index].text.empty()) << index;
    }
  }
}

// The mnemonic letters of a dialog's texts.
std::wstring mnemonicsOf(const DialogTemplate& dialog) {
  std::wstring letters;
  for (const ControlTemplate& control : dialog.controls)
    if (const auto mark = control.text.find(L'&'); mark != std::wstring::npos && mark + 1 < control.text.size())
      letters += static_cast<wchar_t>(std::towlower(control.text[mark + 1]));
  return letters;
}

TEST_P(LanguageLibrary, EachRadioButtonHasAMnemonicOfItsOwn) {
  std::wstring letters = mnemonicsOf(readDialogTemplate(library, L"IDD_FOLDER_DEST_TYPE"));
  EXPECT_EQ(letters.size(), 3u);
  std::ranges::sort(letters);
  EXPECT_EQ(std::ranges::adjacent_find(letters), letters.end());
}

INT_PTR CALLBACK ignoreMessages(HWND, UINT, WPARAM, LPARAM) { return FALSE; }

// The part of a control's width that its text cannot use, in pixels: borders, the circle of a radio button.
int reservedWidth(HWND control) {
  wchar_t windowClass[32];
  GetClassNameW(control, windowClass, 32);
  if (std::wstring(windowClass) != L"Button") return 0;
  switch (GetWindowLongW(control, GWL_STYLE) & BS_TYPEMASK) {
    case BS_GROUPBOX: return 16;
    case BS_AUTORADIOBUTTON: return 18;
    default: return 8;
  }
}

SIZE textSize(HWND control, const std::wstring& text) {
  const HDC context = GetDC(control);
  const HGDIOBJ before = SelectObject(context, reinterpret_cast<HGDIOBJ>(SendMessageW(control, WM_GETFONT, 0, 0)));
  RECT bounds = {};
  DrawTextW(context, text.c_str(), -1, &bounds, DT_CALCRECT | DT_SINGLELINE);
  SelectObject(context, before);
  ReleaseDC(control, context);
  return {bounds.right, bounds.bottom};
}

TEST_P(LanguageLibrary, NoTextIsCutInItsControl) {
  for (const wchar_t* name : dialogs) {
    const HWND dialog = CreateDialogParamW(library, name, nullptr, ignoreMessages, 0);
    ASSERT_TRUE(dialog);
    for (HWND control = GetWindow(dialog, GW_CHILD); control; control = GetWindow(control, GW_HWNDNEXT)) {
      wchar_t text[256];
      GetWindowTextW(control, text, 256);
      RECT room;
      GetClientRect(control, &room);
      const SIZE size = textSize(control, text);
      EXPECT_LE(size.cx + reservedWidth(control), room.right) << testing::PrintToString(std::wstring(text));
      // Descenders of the one-line labels may touch the line below by a pixel.
      if (text[0]) {
        EXPECT_LE(size.cy, room.bottom + 1) << testing::PrintToString(std::wstring(text));
      }
    }
    DestroyWindow(dialog);
  }
}

INSTANTIATE_TEST_SUITE_P(Language, LanguageLibrary, testing::ValuesIn(languageCodes()),
                         [](const auto& language) { return language.param; });

}  // namespace
