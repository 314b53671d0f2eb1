// dialog_gallery FOLDER PREFIX RESOURCES PROFILE [dpi-aware]
// Takes pictures of every dialog with the texts of the module RESOURCES over the local store's PROFILE:
// FOLDER\PREFIX-folder.bmp and so on. The store must have the folder Public Folders@Reports@Daily.
#include <cstdio>

#include "build_paths.h"
#include "dest_folder_type_dialog.h"
#include "display_name_dialog.h"
#include "mapi_container_dlg.h"
#include "modal_call.h"
#include "resource_ids.h"
#include "resource_module.h"
#include "tree_view.h"
#include "window_picture.h"

using namespace fendrel;
using namespace fendrel::test;

namespace {

std::wstring g_pictures;  // folder and prefix

int fail(const char* what) {
  std::fprintf(stderr, "dialog_gallery: %s\n", what);
  return 1;
}

void take(HWND window, const wchar_t* name) {
  SendMessageW(window, WM_NCACTIVATE, TRUE, 0);  // as the active window, whatever has the focus now
  RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN | RDW_UPDATENOW);
  Sleep(300);  // the screen shows it a little later
  if (!saveWindowPicture(window, g_pictures + name + L".bmp")) fail("a picture could not be taken");
}

// The dialog on top of this thread's others, once it is another one than `below`.
HWND topDialog(const ModalCall& call, HWND below) {
  HWND top = nullptr;
  waitUntil([&] { return (top = call.dialogs().openDialog()) != nullptr && top != below; });
  return top;
}

void takeFolderDialog(IMAPISession* session, const wchar_t* profile) {
  ModalCall call([&] { CMAPIContainerDlg(g_hResInstance).DoModal(nullptr, session, profile); });
  const HWND dialog = topDialog(call, nullptr);
  const TreeView tree(GetDlgItem(dialog, IDC_TREE));
  waitUntil([&] { return tree.isExpanded(tree.root()); });
  click(dialog, IDOK);
  const HWND box = topDialog(call, dialog);
  take(box, L"warning");
  closeBox(box);
  call.waitForClose(box);
  for (HTREEITEM store : tree.children(tree.root())) tree.expand(store);
  tree.open({L"Public Folders", L"Reports", L"Daily"});
  SetFocus(tree.window());
  PostMessageW(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(tree.window()), TRUE);
  take(dialog, L"folder");
  click(dialog, IDCANCEL);
  call.waitForReturn();
}

void takeTypeDialog() {
  WORD type;
  ModalCall call([&] { CDestFolderTypeDialog::DoModal(nullptr, type); });
  const HWND dialog = topDialog(call, nullptr);
  take(dialog, L"type");
  click(dialog, IDCANCEL);
  call.waitForReturn();
}

void takeNameDialog() {
  HeapText name;
  ModalCall call([&] { CDisplayNameDialog::DoModal(nullptr, L"sales.rpt", name); });
  const HWND dialog = topDialog(call, nullptr);
  click(dialog, IDOK);
  const HWND box = topDialog(call, dialog);
  take(box, L"no-name");
  closeBox(box);
  call.waitForClose(box);
  setText(dialog, IDC_NAME_EDIT, L"Sales 2031");
  take(dialog, L"name");
  click(dialog, IDCANCEL);
  call.waitForReturn();
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count < 5) return fail("FOLDER PREFIX RESOURCES PROFILE");
  if (count > 5) SetProcessDPIAware();
  g_pictures = std::wstring(arguments[1]) + L"\\" + arguments[2] + L"-";
  g_hModule = g_hResInstance = LoadLibraryW(arguments[3]);
  if (!g_hResInstance) return fail("RESOURCES do not load");
  if (!LoadLibraryW(buildFile(L"bin/store/MAPI32.DLL").c_str()) || !BindMapi() || MapiStart() != 0)
    return fail("the local store does not start");
  ComPtr<IMAPISession> session;
  if (FAILED(MapiLogon(0, arguments[4], nullptr, MAPI_UNICODE | MAPI_EXTENDED | MAPI_NEW_SESSION, &session)))
    return fail("no logon");
  takeFolderDialog(session.Get(), arguments[4]);
  takeTypeDialog();
  takeNameDialog();
  session->Logoff(0, 0, 0);
  return 0;
}
