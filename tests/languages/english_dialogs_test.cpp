// The plug-in's own dialogs, control by control.
#include <gmock/gmock.h>

#include "build_paths.h"
#include "dialog_template.h"
#include "resource_ids.h"

using namespace fendrel::test;

namespace {

// Atoms of the system's window classes.
constexpr const wchar_t* button = L"#80";
constexpr const wchar_t* edit = L"#81";
constexpr const wchar_t* label = L"#82";
constexpr WORD noId = 0xFFFF;
constexpr DWORD shown = WS_CHILD | WS_VISIBLE;

struct Control {
  const wchar_t* windowClass;
  WORD id;
  const wchar_t* text;
  int x, y, width, height;
  DWORD style;
};

struct Dialog {
  const char* name;
  const wchar_t* resource;
  const wchar_t* caption;
  int x, y, width, height;
  DWORD style;
  std::vector<Control> controls;
};

void PrintTo(const Dialog& dialog, std::ostream* out) { *out << dialog.name; }

const Dialog englishDialogs[] = {
    {"Folder",
     MAKEINTRESOURCEW(101),
     L"Select a folder",
     0,
     0,
     245,
     235,
     DS_MODALFRAME | DS_CENTER | DS_SETFONT | WS_POPUP | WS_CAPTION | WS_SYSMENU,
     {{button, 1, L"OK", 188, 12, 50, 14, shown | WS_TABSTOP | BS_DEFPUSHBUTTON},
      {button, 2, L"Cancel", 188, 31, 50, 14, shown | WS_TABSTOP | BS_PUSHBUTTON},
      {label, 1008, L"", 9, 12, 165, 8, shown | WS_GROUP | SS_LEFT | SS_NOPREFIX | SS_ENDELLIPSIS},
      {label, 1001, L"", 9, 40, 165, 8, shown | WS_GROUP | SS_LEFT | SS_NOPREFIX | SS_ENDELLIPSIS},
      {label, noId, L"Select a Folder or an Address Book:", 4, 56, 173, 8, shown | WS_GROUP | SS_LEFT},
      {button, noId, L"Profile :", 4, 1, 177, 24, shown | BS_GROUPBOX},
      {button, noId, L"Folder:", 4, 28, 177, 24, shown | BS_GROUPBOX}}},
    {"Type",
     L"IDD_FOLDER_DEST_TYPE",
     L"Export to Exchange Folder",
     50,
     50,
     185,
     87,
     DS_MODALFRAME | DS_SETFONT | WS_POPUP | WS_CAPTION | WS_SYSMENU,
     {{button, noId, L"As", 7, 6, 113, 69, shown | BS_GROUPBOX},
      {L"BUTTON", 1011, L"Report &Instance", 16, 22, 90, 10, shown | BS_AUTORADIOBUTTON},
      {L"BUTTON", 1010, L"&Folder Report", 16, 36, 76, 10, shown | BS_AUTORADIOBUTTON},
      {L"BUTTON", 1009, L"&Personal Report", 16, 49, 95, 10, shown | BS_AUTORADIOBUTTON},
      {button, 1, L"OK", 129, 6, 50, 14, shown | WS_TABSTOP | BS_DEFPUSHBUTTON},
      {button, 2, L"Cancel", 129, 23, 50, 14, shown | WS_TABSTOP | BS_PUSHBUTTON}}},
    {"Name",
     L"IDD_REPORT_NAME",
     L"Enter Report Name",
     50,
     50,
     207,
     62,
     DS_MODALFRAME | DS_SETFONT | WS_POPUP | WS_CAPTION | WS_SYSMENU,
     {{label, 1013, L"For \"xxxx.RPT\":", 8, 8, 188, 8, shown | WS_GROUP | SS_LEFT | SS_NOPREFIX | SS_ENDELLIPSIS},
      {edit, 1012, L"", 8, 20, 192, 13, shown | WS_BORDER | WS_TABSTOP | ES_AUTOHSCROLL},
      {button, 1, L"OK", 22, 40, 50, 14, shown | WS_TABSTOP | BS_DEFPUSHBUTTON},
      {button, 2, L"Cancel", 78, 40, 50, 14, shown | WS_TABSTOP | BS_PUSHBUTTON},
      {button, 3, L"Abort", 134, 40, 50, 14, shown | WS_TABSTOP | BS_PUSHBUTTON}}},
};

class EnglishDialog : public testing::TestWithParam<Dialog> {};

TEST_P(EnglishDialog, HasItsPlaceItsFontAndItsControls) {
  const HMODULE plugin = LoadLibraryExW(buildFile(L"bin/FENDREL.DLL").c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
  ASSERT_TRUE(plugin);
  const Dialog& expected = GetParam();
  const DialogTemplate found = readDialogTemplate(plugin, expected.resource);
  FreeLibrary(plugin);
  EXPECT_EQ(found.caption, expected.caption);
  EXPECT_EQ(found.font, L"MS Sans Serif");
  EXPECT_EQ(found.fontSize, 8);
  EXPECT_EQ(found.style, expected.style);
  EXPECT_EQ(found.x, expected.x);
  EXPECT_EQ(found.y, expected.y);
  EXPECT_EQ(found.width, expected.width);
  EXPECT_EQ(found.height, expected.height);
  ASSERT_EQ(found.controls.size(), expected.controls.size());
  for (std::size_t index = 0; index < found.controls.size(); ++index) {
    SCOPED_TRACE("control " + std::to_string(index));
    const ControlTemplate& control = found.controls[index];
    const Control& wanted = expected.controls[index];
    EXPECT_EQ(control.windowClass, wanted.windowClass);
    EXPECT_EQ(control.id, wanted.id);
    EXPECT_EQ(control.text, wanted.text);
    EXPECT_EQ(control.x, wanted.x);
    EXPECT_EQ(control.y, wanted.y);
    EXPECT_EQ(control.width, wanted.width);
    EXPECT_EQ(control.height, wanted.height);
    EXPECT_EQ(control.style, wanted.style);
  }
}

INSTANTIATE_TEST_SUITE_P(, EnglishDialog, testing::ValuesIn(englishDialogs),
                         [](const auto& row) { return row.param.name; });

}  // namespace
