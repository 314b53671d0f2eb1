// tree_bench: times the expansion of a store node with 100, 1,000 and 10,000 folders of the local store, and the share
// of each part.
//
//   MAPI     reading only the rows, like the tree: batches of 50, four columns
//   model    the rest of expanding a node: nodes, names, labels, order
//   control  inserting as many sorted items into a plain tree control
//   dialog   the whole expansion in the open folder dialog
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "folder_opening.h"
#include "mapi_container_dlg.h"
#include "mapi_row.h"
#include "resource_ids.h"
#include "timing.h"

using namespace fendrel;
using bench::median;
using bench::millisecondsOf;

namespace {

// The control's time is quadratic: one round of the largest number is enough.
constexpr int roundsOf(int children) { return children < 10'000 ? 5 : 1; }

struct Failure {
  const char* what;
};
void check(bool good, const char* what) {
  if (!good) throw Failure{what};
}

// The node of the store that is not a mailbox, unexpanded, with its siblings.
FOLDERDATA& publicStore(FOLDERDATA& root) {
  root.Expand();
  for (CNODE* node = root.firstChild; node; node = node->nextSibling)
    if (std::wstring(node->GetName()) == L"Public Folders") return static_cast<FOLDERDATA&>(*node);
  throw Failure{"there is no store 'Public Folders'"};
}

// Adds folders until the store has this many, with unordered names.
void fill(IMAPISession* session, int count) {
  FOLDERDATA root(session, L"bench");
  const ComPtr<IMAPIFolder> top = publicStore(root).OpenFolder();
  static int made = 0;
  for (; made < count; ++made) {
    const std::wstring name = L"Folder " + std::to_wstring(100'000 + made * 7919 % 100'000);
    ComPtr<IMAPIFolder> folder;
    check(SUCCEEDED(top->CreateFolder(FOLDER_GENERIC, reinterpret_cast<LPTSTR>(const_cast<wchar_t*>(name.c_str())),
                                      nullptr, nullptr, MAPI_UNICODE, &folder)),
          "a folder cannot be made");
  }
}

double timeMapi(IMAPISession* session, int count) {
  static constexpr auto columns = propertyTags(PR_ENTRYID, PR_DISPLAY_NAME_A, PR_SUBFOLDERS, PR_CONTENT_COUNT);
  FOLDERDATA root(session, L"bench");
  FOLDERDATA& store = publicStore(root);
  int rows = 0;
  const double time = millisecondsOf([&] {
    CMAPITable table;
    check(table.OpenHierarchyTable(store.OpenFolder().Get()) && table.GetRowCount() && table.Prepare(columns.array()),
          "the folders cannot be read");
    while (table.NextRow()) ++rows;
  });
  check(rows == count, "not every folder was read");
  return time;
}

double timeModel(IMAPISession* session) {
  FOLDERDATA root(session, L"bench");
  FOLDERDATA& store = publicStore(root);
  return millisecondsOf([&] { store.Expand(); });
}

double timeControl(IMAPISession* session) {
  FOLDERDATA root(session, L"bench");
  FOLDERDATA& store = publicStore(root);
  store.Expand();
  const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_TREEVIEW_CLASSES};
  InitCommonControlsEx(&classes);
  const HWND tree = CreateWindowExW(0, WC_TREEVIEWW, L"", WS_POPUP, 0, 0, 200, 200, nullptr, nullptr, nullptr, nullptr);
  check(tree != nullptr, "no tree control");
  const double time = millisecondsOf([&] {
    for (const CNODE* node = store.firstChild; node; node = node->nextSibling) {
      TVINSERTSTRUCTW item = {};
      item.hParent = TVI_ROOT;
      item.hInsertAfter = TVI_SORT;
      item.item.mask = TVIF_TEXT | TVIF_PARAM | TVIF_CHILDREN;
      item.item.pszText = const_cast<wchar_t*>(node->GetName());
      SendMessageW(tree, TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    }
  });
  DestroyWindow(tree);
  return time;
}

// Expands the store as soon as the dialog is open, and closes the dialog.
class TimedDialog : public CMAPIContainerDlg {
 public:
  TimedDialog() noexcept : CMAPIContainerDlg(GetModuleHandleW(nullptr)) {}

  BOOL OnInitDialog(HWND hDlg) noexcept override {
    CMAPIContainerDlg::OnInitDialog(hDlg);
    for (CNODE* node = m_pRootNode->firstChild; node; node = node->nextSibling)
      if (std::wstring(node->GetName()) == L"Public Folders")
        time =
            millisecondsOf([&] { SendMessageW(m_hTree, TVM_EXPAND, TVE_EXPAND, static_cast<LPARAM>(node->viewItem)); });
    EndDialog(hDlg, IDCANCEL);
    return TRUE;
  }

  double time = 0;
};

double timeDialog(IMAPISession* session) {
  TimedDialog dialog;
  dialog.DoModal(nullptr, session, L"bench");
  check(dialog.time > 0, "the dialog did not open");
  return dialog.time;
}

void measure(IMAPISession* session) {
  std::printf("%10s %10s %10s %10s %10s   ms, medians\n", "children", "MAPI", "model", "control", "dialog");
  for (const int count : {100, 1'000, 10'000}) {
    fill(session, count);
    std::vector<double> reading, expanding, control, dialog;
    for (int round = 0; round < roundsOf(count); ++round) {
      reading.push_back(timeMapi(session, count));
      expanding.push_back(timeModel(session));
      control.push_back(timeControl(session));
      dialog.push_back(timeDialog(session));
    }
    std::printf("%10d %10.1f %10.1f %10.1f %10.1f\n", count, median(reading),
                std::max(0.0, median(expanding) - median(reading)), median(control), median(dialog));
    std::fflush(stdout);
  }
}

}  // namespace

int wmain(int count, wchar_t** arguments) try {
  check(count == 3, "give the store's MAPI32.DLL and the profile; FENDREL_STORE names the database");
  check(LoadLibraryW(arguments[1]) && BindMapi() && MapiStart() == 0, "the local store does not start");
  ComPtr<IMAPISession> session;
  check(SUCCEEDED(MapiLogon(0, arguments[2], nullptr, MAPI_UNICODE | MAPI_EXTENDED | MAPI_NEW_SESSION, &session)),
        "no logon");
  measure(session.Get());
  session->Logoff(0, 0, 0);
  return 0;
} catch (const Failure& failure) {
  std::fprintf(stderr, "tree_bench: %s\n", failure.what);
  return 1;
}
