// The folder dialog as a user sees and uses it.
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

TEST_F(FolderDialogTest, TreeHasTheDialogsFont) {
  open();
  const LRESULT font = SendMessageW(dialog(), WM_GETFONT, 0, 0);
  EXPECT_NE(font, 0);
  EXPECT_EQ(SendMessageW(tree().window(), WM_GETFONT, 0, 0), font);
  closeBy([&] { click(dialog(), IDCANCEL); });
}

TEST_F(FolderDialogTest, LabelThatIsTooLongEndsInDots) {
  open();
  const LONG style = GetWindowLongW(GetDlgItem(dialog(), IDC_FOLDER_LABEL), GWL_STYLE);
  EXPECT_EQ(style & SS_ELLIPSISMASK, SS_ENDELLIPSIS);
  closeBy([&] { click(dialog(), IDCANCEL); });
}

// Messages to the tree while it is filled, and the cursor at that time.
struct Told {
  UINT message;
  bool redraws;
  bool isWaitCursor;
  bool operator==(const Told&) const = default;
};
std::vector<Told> g_told;
WNDPROC g_treeProc;

LRESULT CALLBACK noteFilling(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == TVM_INSERTITEMW || message == WM_SETREDRAW)
    g_told.push_back({message, wParam != 0, GetCursor() == LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_WAIT))});
  return CallWindowProcW(g_treeProc, window, message, wParam, lParam);
}

TEST_F(FolderDialogTest, ChildrenAreInsertedUnderTheWaitCursorAndDrawnAtTheEnd) {
  World world;
  world.profiles = {{L"Default", nullptr}};
  const int store = world.addStore(L"Store");
  for (const wchar_t* name : {L"b", L"a"}) world.addFolder(store, World::subtree, name);
  open(world);
  g_told.clear();
  g_treeProc = reinterpret_cast<WNDPROC>(
      SetWindowLongPtrW(tree().window(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(noteFilling)));
  tree().expand(tree().item({L"Store"}));
  SetWindowLongPtrW(tree().window(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(g_treeProc));
  EXPECT_THAT(g_told, ElementsAre(Told{WM_SETREDRAW, false, true}, Told{TVM_INSERTITEMW, false, true},
                                  Told{TVM_INSERTITEMW, false, true}, Told{WM_SETREDRAW, true, true}));
  EXPECT_THAT(tree().childTexts(tree().item({L"Store"})), ElementsAre(L"a", L"b"));
  closeBy([&] { click(dialog(), IDCANCEL); });
}

struct Box {
  HWND owner;
  std::wstring caption;
  UINT type;
  bool operator==(const Box&) const = default;
};
std::vector<Box> g_boxes;
int WINAPI noteBox(HWND owner, const wchar_t*, const wchar_t* caption, UINT type) {
  g_boxes.push_back({owner, caption, type});
  return IDOK;
}

TEST_F(FolderDialogTest, WarningHasTheInformationIconAndTheDialogAsOwner) {
  const ImportHook hook("USER32.dll", "MessageBoxW", &noteBox);
  g_boxes.clear();
  open();
  SendMessageW(dialog(), WM_COMMAND, IDOK, 0);
  EXPECT_THAT(g_boxes, ElementsAre(Box{dialog(), L"Warning", 0x40}));
  EXPECT_FALSE(call().hasReturned());
  closeBy([&] { click(dialog(), IDCANCEL); });
}

TEST_F(FolderDialogTest, StandsOverTheHostsWindow) {
  std::atomic<HWND> parent = nullptr;
  ModalCall shown([&] {
    parent = CreateWindowW(L"STATIC", L"host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 100, 100, nullptr, nullptr,
                           nullptr, nullptr);
    CMAPIContainerDlg(g_hResInstance).DoModal(parent, session(), L"Default");
    DestroyWindow(parent);
  });
  const HWND dialogWindow = shown.dialog(L"Select a folder");
  EXPECT_NE(parent.load(), nullptr);
  EXPECT_EQ(GetWindow(dialogWindow, GW_OWNER), parent.load());
  EXPECT_FALSE(IsWindowEnabled(parent));
  click(dialogWindow, IDCANCEL);
  shown.waitForReturn();
}

int WINAPI loadNoString(HINSTANCE, UINT, wchar_t*, int) { return 0; }

TEST_F(FolderDialogTest, WithoutString16OkOnTheProfileSaysNothingAndKeepsTheDialog) {
  const ImportHook strings("USER32.dll", "LoadStringW", &loadNoString);
  const ImportHook boxes("USER32.dll", "MessageBoxW", &noteBox);
  g_boxes.clear();
  open();
  SendMessageW(dialog(), WM_COMMAND, IDOK, 0);
  EXPECT_THAT(g_boxes, IsEmpty());
  EXPECT_TRUE(IsWindowVisible(dialog()));
  EXPECT_FALSE(call().hasReturned());
  closeBy([&] { click(dialog(), IDCANCEL); });
}

std::vector<HBITMAP> g_loaded;
std::vector<HGDIOBJ> g_deleted;
int g_missingBitmap;

HBITMAP WINAPI noteLoading(HINSTANCE module, const wchar_t* name) {
  if (static_cast<int>(reinterpret_cast<INT_PTR>(name)) == g_missingBitmap) return nullptr;
  return g_loaded.emplace_back(static_cast<HBITMAP>(LoadImageW(module, name, IMAGE_BITMAP, 0, 0, 0)));
}
BOOL WINAPI noteDeletion(HGDIOBJ object) {
  static const auto deleteObject =
      reinterpret_cast<BOOL(WINAPI*)(HGDIOBJ)>(GetProcAddress(GetModuleHandleW(L"gdi32.dll"), "DeleteObject"));
  g_deleted.push_back(object);
  return deleteObject(object);
}

class TreeBitmaps : public FolderDialogTest {
 protected:
  TreeBitmaps() {
    g_loaded.clear();
    g_deleted.clear();
    g_missingBitmap = 0;
  }
  LRESULT images() const { return SendMessageW(tree().window(), TVM_GETIMAGELIST, TVSIL_NORMAL, 0); }

  const ImportHook loading{"USER32.dll", "LoadBitmapW", &noteLoading};
  const ImportHook deleting{"GDI32.dll", "DeleteObject", &noteDeletion};
};

TEST_F(TreeBitmaps, AreDeletedWhenTheImagesAreMade) {
  open();
  EXPECT_EQ(g_loaded.size(), 5u);
  for (const HBITMAP bitmap : g_loaded) EXPECT_THAT(g_deleted, testing::Contains(static_cast<HGDIOBJ>(bitmap)));
  EXPECT_NE(images(), 0);
  closeBy([&] { click(dialog(), IDCANCEL); });
}

TEST_F(TreeBitmaps, FewerThanFiveLeaveTheTreeWithoutImagesAndInUse) {
  g_missingBitmap = IDB_OPENED_FOLDER;
  open();
  EXPECT_EQ(images(), 0);
  tree().open({L"Public Folders", L"Reports"});
  EXPECT_EQ(closeBy([&] { click(dialog(), IDOK); }).path, L"Public Folders@Reports");
}

int g_refusals;
LRESULT CALLBACK refuseInsertions(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == TVM_INSERTITEMW && g_refusals-- > 0) return 0;
  return CallWindowProcW(g_treeProc, window, message, wParam, lParam);
}

TEST_F(FolderDialogTest, ChildrenThatCouldNotBeInsertedAreInsertedAtTheNextExpansion) {
  open();
  g_treeProc = reinterpret_cast<WNDPROC>(
      SetWindowLongPtrW(tree().window(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(refuseInsertions)));
  g_refusals = 1;
  const HTREEITEM store = tree().item({L"Public Folders"});
  tree().expand(store);
  EXPECT_THAT(tree().childTexts(store), IsEmpty());
  tree().expand(store);
  EXPECT_THAT(tree().childTexts(store), ElementsAre(L"Reports"));
  SetWindowLongPtrW(tree().window(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(g_treeProc));
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
