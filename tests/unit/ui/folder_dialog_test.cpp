// The folder dialog as a person sees and uses it.
#include "import_hook.h"
#include "ui_fixture.h"

using namespace fendrel;
using namespace fendrel::test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST_F(FolderDialogTest, OpensWithTheProfileSelectedAndAnEmptyFolderLabel) {
  open();
  EXPECT_EQ(profileLabel(), L"Default");
  EXPECT_EQ(folderLabel(), L"");
  EXPECT_EQ(tree().text(tree().root()), L"Default");
  EXPECT_EQ(tree().selected(), tree().root());
  closeBy([&] { click(dialog(), IDCANCEL); });
}

TEST_F(FolderDialogTest, OpensWithTheStoresShown) {
  open();
  EXPECT_TRUE(tree().isExpanded(tree().root()));
  EXPECT_THAT(tree().childTexts(tree().root()), ElementsAre(L"Mailbox - Ada", L"Public Folders"));
  EXPECT_TRUE(tree().hasButton(tree().item({L"Public Folders"})));
  closeBy([&] { click(dialog(), IDCANCEL); });
}

TEST_F(FolderDialogTest, ReadsNothingBelowAStoreBeforeItIsExpanded) {
  open();
  EXPECT_THAT(mapi.callsOf("IMAPIFolder::GetHierarchyTable"), IsEmpty());
  tree().expand(tree().item({L"Public Folders"}));
  EXPECT_EQ(mapi.callsOf("IMAPIFolder::GetHierarchyTable").size(), 1u);
  tree().expand(tree().item({L"Public Folders"}));
  EXPECT_EQ(mapi.callsOf("IMAPIFolder::GetHierarchyTable").size(), 1u);
  closeBy([&] { click(dialog(), IDCANCEL); });
}

TEST_F(FolderDialogTest, LabelShowsThePathOfTheSelectionAndOkReturnsIt) {
  open();
  tree().open({L"Public Folders", L"Reports", L"Daily"});
  EXPECT_EQ(folderLabel(), L"Public Folders@Reports@Daily");
  EXPECT_EQ(tree().text(tree().selected()), L"Daily");
  const Outcome outcome = closeBy([&] { click(dialog(), IDOK); });
  EXPECT_EQ(outcome.result, 1);
  EXPECT_EQ(outcome.path, L"Public Folders@Reports@Daily");
}

TEST_F(FolderDialogTest, StoreIsAGoodChoice) {
  open();
  tree().open({L"Mailbox - Ada"});
  EXPECT_EQ(folderLabel(), L"Mailbox - Ada");
  const Outcome outcome = closeBy([&] { click(dialog(), IDOK); });
  EXPECT_EQ(outcome.path, L"Mailbox - Ada");
}

TEST_F(FolderDialogTest, LabelShowsTheNameOfTheProfileWhenThatIsSelectedAgain) {
  open();
  tree().open({L"Mailbox - Ada"});
  tree().select(tree().root());
  EXPECT_EQ(folderLabel(), L"Default");
  closeBy([&] { click(dialog(), IDCANCEL); });
}

int g_beeps;
UINT g_beep;

BOOL WINAPI countBeep(UINT type) {
  ++g_beeps;
  g_beep = type;
  return TRUE;
}

TEST_F(FolderDialogTest, OkOnTheProfileWarnsAndKeepsTheDialog) {
  const ImportHook hook("USER32.dll", "MessageBeep", &countBeep);
  g_beeps = 0;
  open();
  click(dialog(), IDOK);
  const HWND box = call().dialog(L"Warning");
  EXPECT_EQ(boxText(box), L"Profile \"Default\" cannot be reported !");
  EXPECT_EQ(GetWindow(box, GW_OWNER), dialog());
  EXPECT_EQ(g_beeps, 1);
  EXPECT_EQ(g_beep, 0xFFFFFFFFu);
  closeBox(box);
  call().waitForClose(box);
  EXPECT_TRUE(IsWindowVisible(dialog()));
  EXPECT_FALSE(call().hasReturned());
  const Outcome outcome = closeBy([&] { click(dialog(), IDCANCEL); });
  EXPECT_EQ(outcome.result, 0);
  EXPECT_EQ(outcome.path, std::nullopt);
}

TEST_F(FolderDialogTest, CancelLeavesNoPath) {
  open();
  tree().open({L"Public Folders"});
  const Outcome outcome = closeBy([&] { click(dialog(), IDCANCEL); });
  EXPECT_EQ(outcome.result, 0);
  EXPECT_EQ(outcome.path, std::nullopt);
}

TEST_F(FolderDialogTest, CloseBoxCancels) {
  open();
  const Outcome outcome = closeBy([&] { PostMessageW(dialog(), WM_SYSCOMMAND, SC_CLOSE, 0); });
  EXPECT_EQ(outcome.result, 0);
}

TEST_F(FolderDialogTest, ExpandButtonGoesAwayWhenThereIsNothingBelow) {
  World world;
  world.profiles = {{L"Default", nullptr}};
  world.addStore(L"Empty");
  open(world);
  const HTREEITEM store = tree().item({L"Empty"});
  EXPECT_TRUE(tree().hasButton(store));
  tree().expand(store);
  EXPECT_FALSE(tree().hasButton(store));
  tree().expand(store);
  EXPECT_THAT(tree().children(store), IsEmpty());
  closeBy([&] { click(dialog(), IDCANCEL); });
}

TEST_F(FolderDialogTest, FolderWithoutSubfoldersHasNoButton) {
  open();
  tree().expand(tree().item({L"Public Folders"}));
  tree().expand(tree().item({L"Public Folders", L"Reports"}));
  EXPECT_FALSE(tree().hasButton(tree().item({L"Public Folders", L"Reports", L"Daily"})));
  closeBy([&] { click(dialog(), IDCANCEL); });
}

TEST_F(FolderDialogTest, StoreThatDoesNotOpenShowsNoChildrenAndNoMessage) {
  mapi.failEvery("IMAPISession::OpenEntry", MAPI_E_NO_ACCESS);
  open();
  const HTREEITEM store = tree().item({L"Public Folders"});
  tree().expand(store);
  EXPECT_THAT(tree().children(store), IsEmpty());
  EXPECT_FALSE(tree().hasButton(store));
  closeBy([&] { click(dialog(), IDCANCEL); });
}

TEST_F(FolderDialogTest, SiblingsStandInTheOrderOfTheirTexts) {
  World world;
  world.profiles = {{L"Default", nullptr}};
  const int store = world.addStore(L"Store");
  for (const wchar_t* name : {L"m", L"C", L"z", L"a", L"B"}) world.addFolder(store, World::subtree, name);
  open(world);
  tree().expand(tree().item({L"Store"}));
  EXPECT_THAT(tree().childTexts(tree().item({L"Store"})), ElementsAre(L"a", L"B", L"C", L"m", L"z"));
  closeBy([&] { click(dialog(), IDCANCEL); });
}

TEST_F(FolderDialogTest, ImagesTellProfileStoreAndFolder) {
  open();
  const HTREEITEM store = tree().item({L"Public Folders"});
  tree().expand(store);
  const TVITEMW profile = tree().state(tree().root());
  EXPECT_EQ(profile.iImage, 0);
  EXPECT_EQ(profile.iSelectedImage, 0);
  EXPECT_EQ(tree().state(store).iImage, 1);
  EXPECT_EQ(tree().state(store).iSelectedImage, 2);
  const TVITEMW folder = tree().state(tree().item({L"Public Folders", L"Reports"}));
  EXPECT_EQ(folder.iImage, 3);
  EXPECT_EQ(folder.iSelectedImage, 4);
  const auto images = reinterpret_cast<HIMAGELIST>(SendMessageW(tree().window(), TVM_GETIMAGELIST, TVSIL_NORMAL, 0));
  EXPECT_EQ(ImageList_GetImageCount(images), 5);
  closeBy([&] { click(dialog(), IDCANCEL); });
}

TEST_F(FolderDialogTest, TreeStandsInItsPlaceWithItsStyle) {
  open();
  RECT expected = {4, 67, 181, 225};
  MapDialogRect(dialog(), &expected);
  RECT actual;
  GetWindowRect(tree().window(), &actual);
  MapWindowPoints(nullptr, dialog(), reinterpret_cast<POINT*>(&actual), 2);
  EXPECT_TRUE(EqualRect(&actual, &expected));
  wchar_t className[32];
  GetClassNameW(tree().window(), className, 32);
  EXPECT_STREQ(className, L"SysTreeView32");
  EXPECT_EQ(textOf(tree().window()), L"Generic1");
  EXPECT_EQ(static_cast<DWORD>(GetWindowLongW(tree().window(), GWL_STYLE)) & 0x5081FFFF, 0x50810037u);
  closeBy([&] { click(dialog(), IDCANCEL); });
}

TEST_F(FolderDialogTest, ReleasedPathIsGone) {
  CMAPIContainerDlg folderDialog(g_hResInstance);
  folderDialog.m_pszFolderPath.reset(_wcsdup(L"Store@Folder"));
  folderDialog.ReleaseFolderPath();
  EXPECT_EQ(folderDialog.m_pszFolderPath, nullptr);
}

TEST_F(FolderDialogTest, WithoutAProfileNameNothingIsShown) {
  CMAPIContainerDlg folderDialog(g_hResInstance);
  EXPECT_EQ(folderDialog.DoModal(nullptr, session(), nullptr), 0);
}

TEST_F(FolderDialogTest, WithoutItsTemplateNothingIsShown) {
  CMAPIContainerDlg folderDialog(GetModuleHandleW(L"kernel32.dll"));
  EXPECT_EQ(folderDialog.DoModal(nullptr, session(), L"Default"), 0);
}

TEST_F(FolderDialogTest, NameTooLongForTheWarningIsCut) {
  const std::wstring longName(400, L'x');
  const ImportHook hook("USER32.dll", "MessageBeep", &countBeep);
  ModalCall shown([&] { CMAPIContainerDlg(g_hResInstance).DoModal(nullptr, session(), longName.c_str()); });
  const HWND dialogWindow = shown.dialog(L"Select a folder");
  click(dialogWindow, IDOK);
  const HWND box = shown.dialog(L"Warning");
  EXPECT_EQ(boxText(box), L"Profile \"" + std::wstring(255 - 9, L'x'));
  closeBox(box);
  shown.waitForClose(box);
  click(dialogWindow, IDCANCEL);
  shown.waitForReturn();
}

}  // namespace
