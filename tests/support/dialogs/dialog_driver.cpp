#include "dialog_driver.h"

#include "modal_call.h"
#include "resource_ids.h"
#include "tree_view.h"

namespace fendrel::test {
namespace {

DialogDriver* driver;

// The open dialog that accepts input: one under a message box is disabled.
BOOL CALLBACK findEnabledDialog(HWND window, LPARAM found) {
  wchar_t className[32];
  GetClassNameW(window, className, 32);
  if (!IsWindowVisible(window) || !IsWindowEnabled(window) || std::wstring(className) != L"#32770") return TRUE;
  *reinterpret_cast<HWND*>(found) = window;
  return FALSE;
}

}  // namespace

DialogDriver::DialogDriver() : timer_(SetTimer(nullptr, 0, USER_TIMER_MINIMUM, tick)) { driver = this; }

DialogDriver::~DialogDriver() {
  KillTimer(nullptr, timer_);
  driver = nullptr;
}

void CALLBACK DialogDriver::tick(HWND, UINT, UINT_PTR, DWORD) {
  HWND dialog = nullptr;
  EnumThreadWindows(GetCurrentThreadId(), findEnabledDialog, reinterpret_cast<LPARAM>(&dialog));
  if (dialog && driver) driver->use(dialog);
}

void DialogDriver::use(HWND dialog) {
  const std::wstring caption = textOf(dialog);
  if (caption == L"Warning" || caption == L"FENDREL.DLL") {
    closeBox(dialog);
    return;
  }
  if (visits_[dialog]++ > 0) {
    PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    return;
  }
  if (caption == L"Select a folder") chooseFolder(dialog);
  // The second name of one letter is taken already, the next one is not.
  if (caption == L"Enter Report Name") setText(dialog, IDC_NAME_EDIT, names_++ < 2 ? L"A" : std::to_wstring(names_));
  PostMessageW(dialog, WM_COMMAND, IDOK, 0);
}

void DialogDriver::chooseFolder(HWND dialog) {
  const TreeView tree(GetDlgItem(dialog, IDC_TREE));
  HTREEITEM last = tree.root();
  for (HTREEITEM item = last; item;) {
    tree.expand(item);
    last = item;
    const auto children = tree.children(item);
    item = children.empty() ? nullptr : children.back();
  }
  tree.select(last);
}

}  // namespace fendrel::test
