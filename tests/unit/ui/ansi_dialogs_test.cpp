// The dialogs on a system without wide functions, in the code page's own letters.
#include "charset_mode.h"
#include "dest_folder_type_dialog.h"
#include "display_name_dialog.h"
#include "ui_fixture.h"

using namespace fendrel;
using namespace fendrel::test;
using testing::ElementsAre;

namespace {

bool isDoubleByte() { return GetACP() == 932; }
const wchar_t* nativeStore() { return isDoubleByte() ? L"公開フォルダ" : L"Öffentliche Ordner"; }
const wchar_t* nativeFolder() { return isDoubleByte() ? L"予定表" : L"Größe"; }

class AnsiDialogs : public FolderDialogTest {
 protected:
  AnsiDialogs() { g_bUseAnsi = true; }
  ~AnsiDialogs() override { g_bUseAnsi = false; }
};

TEST_F(AnsiDialogs, FolderDialogShowsNativeNamesAndReturnsTheirPath) {
  World world;
  world.profiles = {{L"Default", nullptr}};
  const int store = world.addStore(nativeStore());
  world.addFolder(store, World::subtree, nativeFolder());
  open(world);
  EXPECT_EQ(profileLabel(), L"Default");
  EXPECT_THAT(tree().childTexts(tree().root()), ElementsAre(nativeStore()));
  tree().open({nativeStore(), nativeFolder()});
  const std::wstring path = std::wstring(nativeStore()) + L"@" + nativeFolder();
  EXPECT_EQ(folderLabel(), path);
  EXPECT_EQ(closeBy([&] { click(dialog(), IDOK); }).path, path);
}

TEST_F(AnsiDialogs, FolderDialogWarnsAboutTheProfile) {
  open();
  click(dialog(), IDOK);
  const HWND box = call().dialog(L"Warning");
  EXPECT_EQ(boxText(box), L"Profile \"Default\" cannot be reported !");
  closeBox(box);
  call().waitForClose(box);
  closeBy([&] { click(dialog(), IDCANCEL); });
}

TEST_F(AnsiDialogs, TypeDialogAnswersTheChoice) {
  WORD type = 7;
  BOOL result = FALSE;
  ModalCall shown([&] { result = CDestFolderTypeDialog::DoModal(nullptr, type); });
  const HWND dialogWindow = shown.dialog(L"Export to Exchange Folder");
  EXPECT_EQ(SendMessageW(GetDlgItem(dialogWindow, IDC_REPORT_INSTANCE), BM_GETCHECK, 0, 0), BST_CHECKED);
  SendMessageW(GetDlgItem(dialogWindow, IDC_PERSONAL_REPORT), BM_CLICK, 0, 0);
  click(dialogWindow, IDOK);
  shown.waitForReturn();
  EXPECT_TRUE(result);
  EXPECT_EQ(type, 1009);
}

TEST_F(AnsiDialogs, NameDialogTakesANativeNameForANativeReport) {
  HeapText name;
  INT_PTR result = 0;
  ModalCall shown([&] { result = CDisplayNameDialog::DoModal(nullptr, nativeFolder(), name); });
  const HWND dialogWindow = shown.dialog(L"Enter Report Name");
  EXPECT_EQ(textOf(dialogWindow, IDC_NAME_PROMPT), std::wstring(L"For ") + nativeFolder() + L":");
  setText(dialogWindow, IDC_NAME_EDIT, std::wstring(nativeStore()) + L"  ");
  click(dialogWindow, IDOK);
  shown.waitForReturn();
  EXPECT_EQ(result, 1);
  EXPECT_STREQ(name.get(), nativeStore());
}

}  // namespace
