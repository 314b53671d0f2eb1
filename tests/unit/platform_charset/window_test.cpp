// Windows, dialogs and messages, on both paths against real controls.
#include "charset_window.h"

#include <commctrl.h>

#include "charset_test.h"

namespace fendrel::test {
namespace {

constexpr int editId = 1012, missingId = 4711;

// A hidden window with one control of each kind.
class CharsetWindow : public testing::Test {
 protected:
  void SetUp() override {
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_TREEVIEW_CLASSES};
    InitCommonControlsEx(&controls);
    parent = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 300, 300, nullptr, nullptr, nullptr, nullptr);
    edit = child(L"EDIT", editId, 0);
    list = child(L"LISTBOX", 2, 0);
    combo = child(L"COMBOBOX", 3, CBS_DROPDOWN);
    tree = child(WC_TREEVIEWW, 4, TVS_HASLINES);
    ASSERT_TRUE(parent && edit && list && combo && tree);
  }
  void TearDown() override { DestroyWindow(parent); }

  HWND child(const wchar_t* className, int id, DWORD style) {
    return CreateWindowExW(0, className, L"", WS_CHILD | style, 0, 0, 100, 100, parent,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
  }

  // The text as the system keeps it, read without the layer.
  static std::wstring textOf(HWND window) {
    wchar_t text[256] = {};
    GetWindowTextW(window, text, 256);
    return text;
  }

  static LRESULT send(HWND window, UINT message, WPARAM wParam, const std::wstring& text) {
    return charset::sendMessage(window, message, wParam, reinterpret_cast<LPARAM>(text.c_str()));
  }

  HWND parent = nullptr, edit = nullptr, list = nullptr, combo = nullptr, tree = nullptr;
};

TEST_F(CharsetWindow, OnAnNtSystemNoConversionHappens) {
  ASSERT_FALSE(g_bUseAnsi);
  charset::setWindowText(edit, foreignText().c_str());
  EXPECT_EQ(textOf(edit), foreignText());
}

TEST_F(CharsetWindow, SetWindowTextSetsTheSameTextOnBothPaths) {
  charset::setWindowText(edit, nativeText().c_str());
  EXPECT_EQ(textOf(edit), nativeText());
  SetWindowTextW(edit, L"");
  const AnsiPath ansi;
  EXPECT_TRUE(charset::setWindowText(edit, nativeText().c_str()));
  EXPECT_EQ(textOf(edit), nativeText());
}

TEST_F(CharsetWindow, SetWindowTextOfTextThatDoesNotConvertSetsWhatTheCodePageMakesOfIt) {
  const AnsiPath ansi;
  EXPECT_TRUE(charset::setWindowText(edit, foreignText().c_str()));
  EXPECT_EQ(textOf(edit), thereAndBack(foreignText()));
  EXPECT_NE(textOf(edit), foreignText());
}

TEST_F(CharsetWindow, SetWindowTextOfNullEmptiesTheTextOnBothPaths) {
  SetWindowTextW(edit, L"before");
  charset::setWindowText(edit, nullptr);
  EXPECT_EQ(textOf(edit), L"");
  SetWindowTextW(edit, L"before");
  const AnsiPath ansi;
  charset::setWindowText(edit, nullptr);
  EXPECT_EQ(textOf(edit), L"");
}

TEST_F(CharsetWindow, GetWindowTextGivesTheSameForEverySizeOfBuffer) {
  SetWindowTextW(edit, nativeText().c_str());
  const auto read = [&](wchar_t* buffer, int size) { return charset::getWindowText(edit, buffer, size); };
  for (int size = 1; size <= static_cast<int>(nativeText().size()) + 2; ++size)
    EXPECT_EQ(readAnsi(size, read), readWide(size, read)) << "buffer of " << size;
}

TEST_F(CharsetWindow, GetWindowTextLengthIsNeverLessThanTheText) {
  SetWindowTextW(edit, nativeText().c_str());
  EXPECT_EQ(charset::getWindowTextLength(edit), static_cast<int>(nativeText().size()));
  const AnsiPath ansi;
  EXPECT_GE(charset::getWindowTextLength(edit), static_cast<int>(nativeText().size()));
}

TEST_F(CharsetWindow, SetTextMessageSetsTheSameTextOnBothPaths) {
  send(edit, WM_SETTEXT, 0, nativeText());
  EXPECT_EQ(textOf(edit), nativeText());
  SetWindowTextW(edit, L"");
  const AnsiPath ansi;
  send(edit, WM_SETTEXT, 0, nativeText());
  EXPECT_EQ(textOf(edit), nativeText());
}

TEST_F(CharsetWindow, SetTextMessageWithNullIsPassedThrough) {
  const AnsiPath ansi;
  SetWindowTextW(edit, L"before");
  EXPECT_EQ(charset::sendMessage(edit, WM_SETTEXT, 0, 0), TRUE);
  EXPECT_EQ(textOf(edit), L"");
}

TEST_F(CharsetWindow, GetTextMessageGivesTheWholeTextWhenThereIsRoomForItsBytes) {
  SetWindowTextW(edit, nativeText().c_str());
  const auto read = [&](wchar_t* buffer, int size) {
    return charset::sendMessage(edit, WM_GETTEXT, static_cast<WPARAM>(size), reinterpret_cast<LPARAM>(buffer));
  };
  const int size = 2 * static_cast<int>(nativeText().size()) + 1;
  EXPECT_EQ(readAnsi(size, read), readWide(size, read));
}

// The ANSI buffer has as many bytes as the caller's has characters.
TEST_F(CharsetWindow, GetTextMessageIntoABufferTooSmallGivesAWholeCharacterPrefix) {
  SetWindowTextW(edit, nativeText().c_str());
  const auto read = [&](wchar_t* buffer, int size) {
    return charset::sendMessage(edit, WM_GETTEXT, static_cast<WPARAM>(size), reinterpret_cast<LPARAM>(buffer));
  };
  for (int size = 1; size <= static_cast<int>(nativeText().size()); ++size) {
    const TextAnswer wide = readWide(size, read), ansi = readAnsi(size, read);
    if (!isDoubleByte()) {
      EXPECT_EQ(ansi, wide) << "buffer of " << size;
    }
    EXPECT_EQ(ansi.text, nativeText().substr(0, ansi.text.size())) << "buffer of " << size;
    EXPECT_EQ(ansi.result, static_cast<long long>(ansi.text.size()));
  }
}

TEST_F(CharsetWindow, GetTextMessageWithSizeZeroGivesZeroOnBothPaths) {
  SetWindowTextW(edit, L"text");
  EXPECT_EQ(charset::sendMessage(edit, WM_GETTEXT, 0, 0), 0);
  const AnsiPath ansi;
  EXPECT_EQ(charset::sendMessage(edit, WM_GETTEXT, 0, 0), 0);
}

TEST_F(CharsetWindow, ListBoxTextGoesInAndOutOnTheAnsiPath) {
  const AnsiPath ansi;
  EXPECT_EQ(send(list, LB_ADDSTRING, 0, nativeText()), 0);
  const auto read = [&](wchar_t* buffer, int) {
    return charset::sendMessage(list, LB_GETTEXT, 0, reinterpret_cast<LPARAM>(buffer));
  };
  const int room = 2 * static_cast<int>(nativeText().size()) + 1;  // what LB_GETTEXTLEN may ask for
  EXPECT_EQ(readText(room, read), (TextAnswer{static_cast<long long>(nativeText().size()), nativeText()}));
}

TEST_F(CharsetWindow, ListBoxTextOfAnEntryThatIsNotThereIsAnErrorOnBothPaths) {
  wchar_t buffer[8];
  EXPECT_EQ(charset::sendMessage(list, LB_GETTEXT, 5, reinterpret_cast<LPARAM>(buffer)), LB_ERR);
  const AnsiPath ansi;
  EXPECT_EQ(charset::sendMessage(list, LB_GETTEXT, 5, reinterpret_cast<LPARAM>(buffer)), LB_ERR);
}

TEST_F(CharsetWindow, ComboBoxFindsTheStringThatWasAddedOnTheAnsiPath) {
  const AnsiPath ansi;
  EXPECT_EQ(send(combo, CB_ADDSTRING, 0, L"other"), 0);
  const LRESULT added = send(combo, CB_ADDSTRING, 0, nativeText());
  EXPECT_EQ(send(combo, CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1), nativeText()), added);
  wchar_t text[64] = {};
  SendMessageW(combo, CB_GETLBTEXT, static_cast<WPARAM>(added), reinterpret_cast<LPARAM>(text));
  EXPECT_EQ(std::wstring(text), nativeText());
}

TEST_F(CharsetWindow, NullStringsAreAnsweredWithZeroOnTheAnsiPath) {
  const AnsiPath ansi;
  EXPECT_EQ(charset::sendMessage(list, LB_ADDSTRING, 0, 0), 0);
  EXPECT_EQ(charset::sendMessage(combo, CB_ADDSTRING, 0, 0), 0);
  EXPECT_EQ(charset::sendMessage(combo, CB_FINDSTRINGEXACT, 0, 0), 0);
  EXPECT_EQ(SendMessageW(list, LB_GETCOUNT, 0, 0), 0);
  EXPECT_EQ(SendMessageW(combo, CB_GETCOUNT, 0, 0), 0);
}

TEST_F(CharsetWindow, TreeItemsAreInsertedWithTextThatTheCallerHasConverted) {
  const AnsiPath path;
  HeapAnsiText ansi;
  ASSERT_NE(WideToAnsiAlloc(nativeText().c_str(), ansi), 0);
  TVINSERTSTRUCTA item{};
  item.hInsertAfter = TVI_SORT;
  item.item.mask = TVIF_TEXT;
  item.item.pszText = ansi.get();
  const LRESULT inserted = charset::sendMessage(tree, TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
  ASSERT_NE(inserted, 0);
  wchar_t text[64] = {};
  TVITEMW read{};
  read.mask = TVIF_TEXT;
  read.hItem = reinterpret_cast<HTREEITEM>(inserted);
  read.pszText = text;
  read.cchTextMax = 64;
  SendMessageW(tree, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&read));
  EXPECT_EQ(std::wstring(text), nativeText());
}

TEST_F(CharsetWindow, OtherMessagesPassThroughUnchanged) {
  const AnsiPath ansi;
  charset::sendMessage(edit, EM_LIMITTEXT, 17, 0);
  EXPECT_EQ(SendMessageW(edit, EM_GETLIMITTEXT, 0, 0), 17);
}

TEST_F(CharsetWindow, CreateWindowExMakesTheSameWindowOnBothPaths) {
  const auto create = [&](const wchar_t* name) {
    return charset::createWindowEx(0, L"EDIT", name, WS_CHILD, 1, 2, 30, 40, parent, nullptr, nullptr, nullptr);
  };
  EXPECT_EQ(textOf(create(nativeText().c_str())), nativeText());
  const AnsiPath ansi;
  EXPECT_EQ(textOf(create(nativeText().c_str())), nativeText());
  EXPECT_EQ(textOf(create(nullptr)), L"");
}

TEST_F(CharsetWindow, CreateWindowExTakesAnAtomAsClassOnBothPaths) {
  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = DefWindowProcW;
  windowClass.lpszClassName = L"FendrelCharsetTest";
  const auto* const atom = MAKEINTATOM(RegisterClassW(&windowClass));
  const auto create = [&] {
    return charset::createWindowEx(0, atom, L"x", WS_CHILD, 0, 0, 1, 1, parent, nullptr, nullptr, nullptr);
  };
  EXPECT_NE(create(), nullptr);
  const AnsiPath ansi;
  EXPECT_NE(create(), nullptr);
}

TEST_F(CharsetWindow, CreateWindowExOfAMissingClassFailsOnBothPaths) {
  const auto create = [&](const wchar_t* className) {
    return charset::createWindowEx(0, className, L"x", WS_CHILD, 0, 0, 1, 1, parent, nullptr, nullptr, nullptr);
  };
  EXPECT_EQ(create(L"FendrelNoSuchClass"), nullptr);
  EXPECT_EQ(create(nullptr), nullptr);
  const AnsiPath ansi;
  EXPECT_EQ(create(L"FendrelNoSuchClass"), nullptr);
  EXPECT_EQ(create(nullptr), nullptr);
}

TEST_F(CharsetWindow, WindowLongHoldsAnAddressOnBothPaths) {
  const auto address = reinterpret_cast<LONG_PTR>(this);
  charset::setWindowLong(parent, GWLP_USERDATA, address);
  EXPECT_EQ(charset::getWindowLong(parent, GWLP_USERDATA), address);
  const AnsiPath ansi;
  EXPECT_EQ(charset::setWindowLong(parent, GWLP_USERDATA, 7), address);
  EXPECT_EQ(charset::getWindowLong(parent, GWLP_USERDATA), 7);
}

TEST_F(CharsetWindow, DialogItemTextGoesInAndOutOnBothPaths) {
  wchar_t text[64] = {};
  EXPECT_TRUE(charset::setDlgItemText(parent, editId, nativeText().c_str()));
  EXPECT_EQ(charset::getDlgItemText(parent, editId, text, 64), nativeText().size());
  EXPECT_EQ(std::wstring(text), nativeText());
  SetWindowTextW(edit, L"");
  const AnsiPath ansi;
  EXPECT_TRUE(charset::setDlgItemText(parent, editId, nativeText().c_str()));
  EXPECT_EQ(charset::getDlgItemText(parent, editId, text, 64), nativeText().size());
  EXPECT_EQ(std::wstring(text), nativeText());
}

TEST_F(CharsetWindow, GetDlgItemTextOnAMissingControlReturns0WithLastError6) {
  wchar_t text[8] = {};
  SetLastError(0);
  EXPECT_EQ(charset::getDlgItemText(parent, missingId, text, 8), 0u);
  EXPECT_EQ(GetLastError(), 6u);
  const AnsiPath ansi;
  SetLastError(0);
  EXPECT_EQ(charset::getDlgItemText(parent, missingId, text, 8), 0u);
  EXPECT_EQ(GetLastError(), 6u);
}

TEST_F(CharsetWindow, SetDlgItemTextOnAMissingControlReturns0WithLastError6) {
  SetLastError(0);
  EXPECT_FALSE(charset::setDlgItemText(parent, missingId, L"x"));
  EXPECT_EQ(GetLastError(), 6u);
}

TEST_F(CharsetWindow, GetDlgItemTextIntoABufferWithoutRoomGives0) {
  EXPECT_EQ(charset::getDlgItemText(parent, editId, nullptr, 0), 0u);
  EXPECT_EQ(charset::getDlgItemText(parent, editId, nullptr, -3), 0u);
}

// Ends a dialog as soon as it opens, with its parameter.
INT_PTR CALLBACK endAtOnce(HWND dialog, UINT message, WPARAM, LPARAM parameter) {
  if (message != WM_INITDIALOG) return FALSE;
  EndDialog(dialog, parameter);
  return TRUE;
}

INT_PTR runDialog(const wchar_t* name) {
  return charset::dialogBoxParam(GetModuleHandleW(nullptr), name, nullptr, endAtOnce, 42);
}

TEST(CharsetDialog, DialogBoxParamPassesAnIntegerResourceIdUnchangedOnBothPaths) {
  EXPECT_EQ(runDialog(MAKEINTRESOURCEW(1)), 42);
  const AnsiPath ansi;
  EXPECT_EQ(runDialog(MAKEINTRESOURCEW(1)), 42);
}

TEST(CharsetDialog, DialogBoxParamFindsANamedTemplateOnBothPaths) {
  EXPECT_EQ(runDialog(L"NAMED_DIALOG"), 42);
  const AnsiPath ansi;
  EXPECT_EQ(runDialog(L"NAMED_DIALOG"), 42);
}

TEST(CharsetDialog, DialogBoxParamOfAMissingTemplateIsMinus1OnBothPaths) {
  EXPECT_EQ(runDialog(L"NO_DIALOG"), -1);
  const AnsiPath ansi;
  EXPECT_EQ(runDialog(L"NO_DIALOG"), -1);
}

int widthOf(HBITMAP bitmap) {
  BITMAP header{};
  if (GetObjectW(bitmap, sizeof header, &header) == 0) return 0;
  DeleteObject(bitmap);
  return header.bmWidth;
}

TEST(CharsetBitmap, LoadBitmapPassesAnIntegerResourceIdUnchangedOnBothPaths) {
  EXPECT_EQ(widthOf(charset::loadBitmap(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(1))), 3);
  const AnsiPath ansi;
  EXPECT_EQ(widthOf(charset::loadBitmap(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(1))), 3);
}

TEST(CharsetBitmap, LoadBitmapFindsANamedBitmapOnBothPaths) {
  EXPECT_EQ(widthOf(charset::loadBitmap(GetModuleHandleW(nullptr), L"NAMED_BITMAP")), 3);
  const AnsiPath ansi;
  EXPECT_EQ(widthOf(charset::loadBitmap(GetModuleHandleW(nullptr), L"NAMED_BITMAP")), 3);
}

TEST(CharsetBitmap, LoadBitmapOfAMissingNameIsNullOnBothPaths) {
  EXPECT_EQ(charset::loadBitmap(GetModuleHandleW(nullptr), L"NO_BITMAP"), nullptr);
  const AnsiPath ansi;
  EXPECT_EQ(charset::loadBitmap(GetModuleHandleW(nullptr), L"NO_BITMAP"), nullptr);
}

}  // namespace
}  // namespace fendrel::test
