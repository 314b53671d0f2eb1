#include "ui_fixture.h"

#include "basic_rules.h"

namespace fendrel::test {

UiTest::UiTest() { g_hModule = g_hResInstance = GetModuleHandleW(nullptr); }

void UiTest::logOn(const World& world) {
  logOff();
  mapi.reset(world);
  ASSERT_TRUE(BindMapi());
  ASSERT_EQ(MapiStart(), 0);
  wchar_t profile[] = L"Default";
  ASSERT_EQ(MapiLogon(0, profile, nullptr, MAPI_UNICODE | MAPI_EXTENDED | MAPI_NEW_SESSION, &session_), S_OK);
}

void UiTest::logOff() {
  if (!session_) return;
  session_->Logoff(0, 0, 0);
  session_.Reset();
  MapiStop();
  UnbindMapi();
}

void UiTest::TearDown() {
  logOff();
  expectBasicRules(mapi);
}

void FolderDialogTest::open() {
  call_.emplace([this] {
    CMAPIContainerDlg folderDialog(g_hResInstance);
    outcome_.result = folderDialog.DoModal(nullptr, session(), L"Default");
    if (folderDialog.m_pszFolderPath) outcome_.path = folderDialog.m_pszFolderPath.get();
  });
  dialog_ = call_->dialog(L"Select a folder");
}

void FolderDialogTest::open(const World& world) {
  logOn(world);
  open();
}

FolderDialogTest::Outcome FolderDialogTest::closeBy(const std::function<void()>& close) {
  close();
  call_->waitForReturn();
  return outcome_;
}

void FolderDialogTest::TearDown() {
  call_.reset();
  UiTest::TearDown();
}

}  // namespace fendrel::test
