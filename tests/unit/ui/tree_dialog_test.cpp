// The tree dialog's routing of messages, and nested dialogs.
#include "tree_dialog.h"

#include "dest_folder_type_dialog.h"
#include "iwnd_map.h"
#include "ui_fixture.h"

using namespace fendrel;
using namespace fendrel::test;

namespace {

class RoutedDialog : public CTreeDialog {
 public:
  RoutedDialog() { m_hWnd = m_hDialog = reinterpret_cast<HWND>(UINT_PTR{0x7001}); }
  BOOL OnOK() noexcept override { return FALSE; }
  BOOL OnSelectionChanged(CNODE* node) noexcept override {
    selected = node;
    return TRUE;
  }
  void InitImageList() noexcept override {}
  void OnDestroyDialog() noexcept override { ++destroyed; }
  void GetItemImages(const CNODE&, int&, int&) const noexcept override {}
  BOOL OnCommand(WORD notifyCode, WORD id) noexcept override {
    command = {notifyCode, id};
    return 77;
  }

  int destroyed = 0;
  std::pair<WORD, WORD> command;
  CNODE* selected = nullptr;
};

class Routing : public testing::Test {
 protected:
  Routing() { theWndMap.Add(&dialog); }
  RoutedDialog dialog;
};

TEST_F(Routing, CommandReachesTheDialogOfTheWindow) {
  EXPECT_EQ(TreeDialogProc(dialog.GetHandle(), WM_COMMAND, MAKEWPARAM(5, 300), 0), 77);
  EXPECT_EQ(dialog.command, std::pair(WORD{300}, WORD{5}));
}

TEST_F(Routing, DestroyCallsTheHookAndKeepsTheObjectInTheMap) {
  EXPECT_TRUE(TreeDialogProc(dialog.GetHandle(), WM_DESTROY, 0, 0));
  EXPECT_EQ(dialog.destroyed, 1);
  CIWnd* found = nullptr;
  EXPECT_TRUE(theWndMap.Lookup(dialog.GetHandle(), found));
}

TEST_F(Routing, OpeningWithoutAnObjectIsTreatedAsDestroying) {
  EXPECT_TRUE(TreeDialogProc(dialog.GetHandle(), WM_INITDIALOG, 0, 0));
  EXPECT_EQ(dialog.destroyed, 1);
  EXPECT_FALSE(TreeDialogProc(reinterpret_cast<HWND>(UINT_PTR{0x7002}), WM_INITDIALOG, 0, 0));
}

TEST_F(Routing, OtherMessagesAndOtherWindowsAreLeftAlone) {
  EXPECT_FALSE(TreeDialogProc(dialog.GetHandle(), WM_PAINT, 0, 0));
  EXPECT_FALSE(TreeDialogProc(reinterpret_cast<HWND>(UINT_PTR{0x7002}), WM_COMMAND, IDOK, 0));
  EXPECT_EQ(dialog.command, std::pair(WORD{0}, WORD{0}));
}

TEST_F(Routing, ObjectLeavesTheMapWhenItIsDestroyed) {
  const HWND window = reinterpret_cast<HWND>(UINT_PTR{0x7003});
  {
    RoutedDialog shortLived;
    shortLived.setHandle(window);
    theWndMap.Add(&shortLived);
  }
  CIWnd* found = nullptr;
  EXPECT_FALSE(theWndMap.Lookup(window, found));
  EXPECT_FALSE(TreeDialogProc(window, WM_COMMAND, IDOK, 0));
}

class Notifications : public Routing, public testing::WithParamInterface<UINT> {};

TEST_P(Notifications, SelectionOfANodeIsTold) {
  FOLDERDATA node(nullptr, L"node");
  NMTREEVIEWW notification = {};
  notification.hdr.code = GetParam();
  notification.itemNew.lParam = reinterpret_cast<LPARAM>(&node);
  EXPECT_TRUE(dialog.OnNotify(&notification.hdr));
  EXPECT_EQ(dialog.selected, &node);
}

INSTANTIATE_TEST_SUITE_P(WideAndAnsi, Notifications, testing::Values(TVN_SELCHANGEDW, TVN_SELCHANGEDA));

TEST_F(Routing, NotificationsWithoutNodeDoNothing) {
  for (const UINT code : {TVN_SELCHANGEDW, TVN_ITEMEXPANDINGW, TVN_ITEMEXPANDINGA}) {
    NMTREEVIEWW notification = {};
    notification.hdr.code = code;
    EXPECT_TRUE(dialog.OnNotify(&notification.hdr)) << code;
  }
  EXPECT_EQ(dialog.selected, nullptr);
}

TEST_F(Routing, OtherNotificationsAreLeftAlone) {
  NMTREEVIEWW notification = {};
  notification.hdr.code = static_cast<UINT>(NM_CLICK);
  EXPECT_FALSE(dialog.OnNotify(&notification.hdr));
}

// Opens the posting type dialog over itself on OK.
class NestingDialog : public CMAPIContainerDlg {
 public:
  NestingDialog() : CMAPIContainerDlg(g_hResInstance) {}
  BOOL OnOK() noexcept override { return CDestFolderTypeDialog::DoModal(m_hDialog, type); }
  WORD type = 0;
};

TEST_F(UiTest, TwoDialogsAtOnceAreEachFoundByTheirWindow) {
  NestingDialog outer;
  BOOL result = FALSE;
  ModalCall call([&] { result = outer.DoModal(nullptr, session(), L"Default"); });
  const HWND outerWindow = call.dialog(L"Select a folder");
  click(outerWindow, IDOK);
  const HWND innerWindow = call.dialog(L"Export to Exchange Folder");
  CIWnd* found = nullptr;
  EXPECT_TRUE(theWndMap.Lookup(outerWindow, found));
  EXPECT_EQ(found, &outer);
  EXPECT_TRUE(theWndMap.Lookup(innerWindow, found));
  EXPECT_NE(found, &outer);
  SendMessageW(GetDlgItem(innerWindow, IDC_FOLDER_REPORT), BM_CLICK, 0, 0);
  click(innerWindow, IDOK);
  call.waitForReturn();
  EXPECT_TRUE(result);
  EXPECT_EQ(outer.type, 1010);
  EXPECT_FALSE(theWndMap.Lookup(innerWindow, found));
}

}  // namespace
