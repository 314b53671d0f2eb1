// The folder dialog with the mouse itself, through the display: xdotool moves and clicks it.
#include <cstdio>

#include "ui_fixture.h"

using namespace fendrel;
using namespace fendrel::test;

namespace {

constexpr const wchar_t* xdotool = L"Z:\\usr\\bin\\xdotool";

class Mouse : public FolderDialogTest {
 protected:
  void SetUp() override {
    FolderDialogTest::SetUp();
    wchar_t display[2];
    if (GetEnvironmentVariableW(L"DISPLAY", display, 2) == 0) GTEST_SKIP() << "there is no display (DISPLAY)";
    if (GetFileAttributesW(xdotool) == INVALID_FILE_ATTRIBUTES) GTEST_SKIP() << "xdotool is not installed";
  }

  // Clicks a place of a window.
  static void clickAt(HWND window, POINT place) {
    ClientToScreen(window, &place);
    wchar_t command[200];
    std::swprintf(command, 200, L"\"%ls\" mousemove %ld %ld sleep 0.2 click 1", xdotool, place.x, place.y);
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    PROCESS_INFORMATION started = {};
    ASSERT_TRUE(CreateProcessW(xdotool, command, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &started));
    CloseHandle(started.hProcess);
    CloseHandle(started.hThread);
  }

  static void clickMiddle(HWND window) {
    RECT area;
    GetClientRect(window, &area);
    clickAt(window, {area.right / 2, area.bottom / 2});
  }

  RECT textPlace(HTREEITEM item) const {
    RECT place;
    *reinterpret_cast<HTREEITEM*>(&place) = item;  // as the message takes it
    SendMessageW(tree().window(), TVM_GETITEMRECT, TRUE, reinterpret_cast<LPARAM>(&place));
    return place;
  }

  void clickText(HTREEITEM item) const {
    const RECT place = textPlace(item);
    clickAt(tree().window(), {(place.left + place.right) / 2, (place.top + place.bottom) / 2});
  }

  // The button is before the item's image.
  void clickButton(HTREEITEM item) const {
    const RECT place = textPlace(item);
    const auto indent = static_cast<int>(SendMessageW(tree().window(), TVM_GETINDENT, 0, 0));
    clickAt(tree().window(), {place.left - 18 - indent / 2, (place.top + place.bottom) / 2});
  }
};

TEST_F(Mouse, ButtonExpandsClickSelectsAndOkConfirms) {
  open();
  const HTREEITEM store = tree().item({L"Public Folders"});
  clickButton(store);
  ASSERT_TRUE(waitUntil([&] { return tree().isExpanded(store); }));
  clickText(tree().item({L"Public Folders", L"Reports"}));
  EXPECT_TRUE(waitUntil([&] { return folderLabel() == L"Public Folders@Reports"; }));
  const Outcome outcome = closeBy([&] { clickMiddle(GetDlgItem(dialog(), IDOK)); });
  EXPECT_EQ(outcome.result, 1);
  EXPECT_EQ(outcome.path, L"Public Folders@Reports");
}

TEST_F(Mouse, ClickOnCancelCloses) {
  open();
  const Outcome outcome = closeBy([&] { clickMiddle(GetDlgItem(dialog(), IDCANCEL)); });
  EXPECT_EQ(outcome.result, 0);
}

}  // namespace
