// Dialogs over the recording MAPI double, with the test program's own resources.
#pragma once

#include <gmock/gmock.h>

#include <optional>

#include "mapi_container_dlg.h"
#include "modal_call.h"
#include "recording_client.h"
#include "resource_ids.h"
#include "resource_module.h"
#include "tree_view.h"

namespace fendrel::test {

// A session of profile "Default". After the test nothing of MAPI is left.
class UiTest : public ::testing::Test {
 protected:
  UiTest();
  void SetUp() override { logOn(standardWorld()); }
  void TearDown() override;

  // Logs on again in another world.
  void logOn(const World& world);

  IMAPISession* session() const { return session_.Get(); }

  RecordingMapi mapi;

 private:
  void logOff();

  ComPtr<IMAPISession> session_;
};

// The folder dialog, open.
class FolderDialogTest : public UiTest {
 protected:
  // The dialog's results.
  struct Outcome {
    BOOL result = -1;
    std::optional<std::wstring> path;
  };

  void open();
  void open(const World& world);

  // Closes the dialog with `close` and returns its results.
  Outcome closeBy(const std::function<void()>& close);

  HWND dialog() const { return dialog_; }
  TreeView tree() const { return TreeView(GetDlgItem(dialog_, IDC_TREE)); }
  std::wstring folderLabel() const { return textOf(dialog_, IDC_FOLDER_LABEL); }
  std::wstring profileLabel() const { return textOf(dialog_, IDC_PROFILE_LABEL); }
  ModalCall& call() { return *call_; }

  void TearDown() override;

 private:
  Outcome outcome_;
  HWND dialog_ = nullptr;
  std::optional<ModalCall> call_;
};

}  // namespace fendrel::test
