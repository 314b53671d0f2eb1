// The folder dialog without a mouse.
#include "ui_fixture.h"

using namespace fendrel;
using namespace fendrel::test;

namespace {

class FolderDialogKeys : public FolderDialogTest {
 protected:
  // Presses a key and waits until `holds`.
  void pressUntil(WPARAM key, const std::function<bool()>& holds) {
    call().press(key);
    EXPECT_TRUE(waitUntil(holds)) << "key " << key << " does not do what it should";
  }
};

TEST_F(FolderDialogKeys, EscapeCancels) {
  open();
  const Outcome outcome = closeBy([&] { call().press(VK_ESCAPE); });
  EXPECT_EQ(outcome.result, 0);
}

TEST_F(FolderDialogKeys, TabGoesFromOkOverCancelToTheTreeAndRoundAgain) {
  open();
  ASSERT_TRUE(waitUntil([&] { return call().focus() == GetDlgItem(dialog(), IDOK); }));
  pressUntil(VK_TAB, [&] { return call().focus() == GetDlgItem(dialog(), IDCANCEL); });
  pressUntil(VK_TAB, [&] { return call().focus() == tree().window(); });
  pressUntil(VK_TAB, [&] { return call().focus() == GetDlgItem(dialog(), IDOK); });
  closeBy([&] { call().press(VK_ESCAPE); });
}

TEST_F(FolderDialogKeys, ArrowsExpandAndSelectAndEnterConfirms) {
  open();
  ASSERT_TRUE(waitUntil([&] { return call().focus() == GetDlgItem(dialog(), IDOK); }));
  pressUntil(VK_TAB, [&] { return call().focus() == GetDlgItem(dialog(), IDCANCEL); });
  pressUntil(VK_TAB, [&] { return call().focus() == tree().window(); });
  pressUntil(VK_DOWN, [&] { return folderLabel() == L"Mailbox - Ada"; });
  pressUntil(VK_DOWN, [&] { return folderLabel() == L"Public Folders"; });
  pressUntil(VK_RIGHT, [&] { return tree().isExpanded(tree().item({L"Public Folders"})); });
  pressUntil(VK_RIGHT, [&] { return folderLabel() == L"Public Folders@Reports"; });
  const Outcome outcome = closeBy([&] { call().press(VK_RETURN); });
  EXPECT_EQ(outcome.result, 1);
  EXPECT_EQ(outcome.path, L"Public Folders@Reports");
}

}  // namespace
