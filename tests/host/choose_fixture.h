// fendrel choose, used as a person does: over a store with the folder Public Folders@Reports@Daily.
#pragma once

#include "fendrel_run.h"
#include "modal_call.h"
#include "text.h"

namespace fendrel::test {

class ChooseCommand : public FendrelTest {
 protected:
  void SetUp() override {
    addJane();
    const std::string file = newFile(L"first.txt", "first");
    ASSERT_EQ(fendrel({"post", "--to", "Public Folders@Reports@Daily", "--create", file}).exitCode, 0);
  }

  // In the logon dialog: the only profile, with its password when it has one.
  static void logOn(const DialogThread& dialogs, const wchar_t* password = nullptr) {
    const HWND logon = dialogs.dialog(L"Choose Profile");
    if (password)
      for (HWND field = GetWindow(logon, GW_CHILD); field; field = GetWindow(field, GW_HWNDNEXT))
        if (GetWindowLongW(field, GWL_STYLE) & ES_PASSWORD && isEdit(field))
          SendMessageW(field, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(password));
    click(logon, IDOK);
  }

  static bool isEdit(HWND window) {
    wchar_t name[16];
    GetClassNameW(window, name, 16);
    return _wcsicmp(name, L"Edit") == 0;
  }

  static void pressUntil(const DialogThread& dialogs, WPARAM key, const std::function<bool()>& holds) {
    dialogs.press(key);
    EXPECT_TRUE(waitUntil(holds)) << "key " << key;
  }

  // Goes down the tree with the keyboard to Public Folders@Reports and confirms.
  static void chooseReports(const DialogThread& dialogs, const wchar_t* caption = L"Select a folder") {
    const HWND dialog = dialogs.dialog(caption);
    constexpr int tree = 1000, label = 1001;
    ASSERT_TRUE(waitUntil([&] { return dialogs.focus() == GetDlgItem(dialog, IDOK); }));
    pressUntil(dialogs, VK_TAB, [&] { return dialogs.focus() == GetDlgItem(dialog, IDCANCEL); });
    pressUntil(dialogs, VK_TAB, [&] { return dialogs.focus() == GetDlgItem(dialog, tree); });
    pressUntil(dialogs, VK_DOWN, [&] { return textOf(dialog, label) == L"Mailbox - Jane Doe"; });
    pressUntil(dialogs, VK_DOWN, [&] { return textOf(dialog, label) == L"Public Folders"; });
    dialogs.press(VK_RIGHT);  // opens the store; the second moves to the folder
    pressUntil(dialogs, VK_RIGHT, [&] { return textOf(dialog, label) == L"Public Folders@Reports"; });
    dialogs.press(VK_RETURN);
  }

  static Use choosing(const wchar_t* password = nullptr) {
    return [password](DWORD threadId) {
      logOn(DialogThread(threadId), password);
      chooseReports(DialogThread(threadId));
    };
  }

  std::string saved() const { return inFolder(L"my.choice"); }
};

}  // namespace fendrel::test
