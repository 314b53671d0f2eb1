#include "tree_dialog.h"

#include <cwchar>

#include "charset_window.h"
#include "iwnd_map.h"
#include "resource_ids.h"
#include "text_conversion.h"
#include "wait_cursor.h"

namespace fendrel {
namespace {

constexpr RECT treeRectangle = {4, 67, 181, 225};  // dialog units
constexpr DWORD treeStyle = WS_CHILD | WS_VISIBLE | WS_BORDER | WS_TABSTOP | TVS_HASBUTTONS | TVS_HASLINES |
                            TVS_LINESATROOT | TVS_DISABLEDRAGDROP | TVS_SHOWSELALWAYS;

HTREEITEM itemOf(const CNODE& node) noexcept { return reinterpret_cast<HTREEITEM>(node.viewItem); }

}  // namespace

CTreeDialog::~CTreeDialog() { theWndMap.Remove(this); }

BOOL CTreeDialog::DoModal(HWND hParent, CNODE* rootNode) noexcept {
  m_pRootNode = rootNode;
  return charset::dialogBoxParam(m_hInstance, MAKEINTRESOURCEW(IDD_FOLDER), hParent, TreeDialogProc,
                                 reinterpret_cast<LPARAM>(this)) == IDOK;
}

BOOL CTreeDialog::CreateTreeControl(HWND hDlg) noexcept {
  const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_TREEVIEW_CLASSES};
  InitCommonControlsEx(&classes);
  RECT place = treeRectangle;
  MapDialogRect(hDlg, &place);
  m_hTree = charset::createWindowEx(0, WC_TREEVIEWW, L"Generic1", treeStyle, place.left, place.top,
                                    place.right - place.left, place.bottom - place.top, hDlg,
                                    reinterpret_cast<HMENU>(UINT_PTR{IDC_TREE}), m_hInstance, nullptr);
  charset::sendMessage(m_hTree, WM_SETFONT, static_cast<WPARAM>(charset::sendMessage(hDlg, WM_GETFONT, 0, 0)), FALSE);
  return TRUE;
}

BOOL CTreeDialog::OnInitDialog(HWND hDlg) noexcept {
  m_hDialog = hDlg;
  CreateTreeControl(hDlg);
  m_hTree = GetDlgItem(hDlg, IDC_TREE);
  InitImageList();
  InsertNode(*m_pRootNode);
  charset::sendMessage(m_hTree, TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(itemOf(*m_pRootNode)));
  return TRUE;
}

BOOL CTreeDialog::OnDestroy() noexcept {
  OnDestroyDialog();
  return TRUE;
}

BOOL CTreeDialog::OnCommand(WORD notifyCode, WORD id) noexcept {
  if (notifyCode != 0) return FALSE;
  switch (id) {
    case IDOK:
      if (OnOK()) EndDialog(m_hDialog, IDOK);
      return TRUE;
    case IDCANCEL: EndDialog(m_hDialog, IDCANCEL); return TRUE;
    default: return FALSE;
  }
}

BOOL CTreeDialog::OnSelectionChanged(CNODE* node) noexcept {
  m_pSelectedNode = node;
  return TRUE;
}

void CTreeDialog::InsertNode(CNODE& node) noexcept {
  int image = 0, selectedImage = 0;
  GetItemImages(node, image, selectedImage);
  TVINSERTSTRUCTW insertion{};
  insertion.hParent = node.IsRoot() ? TVI_ROOT : itemOf(*node.parent);
  insertion.hInsertAfter = TVI_SORT;
  TVITEMW& item = insertion.item;
  item.mask = TVIF_TEXT | TVIF_IMAGE | TVIF_PARAM | TVIF_SELECTEDIMAGE | TVIF_CHILDREN;
  item.pszText = const_cast<wchar_t*>(node.GetName());
  item.cchTextMax = static_cast<int>(std::wcslen(node.GetName()));
  item.iImage = image;
  item.iSelectedImage = selectedImage;
  item.cChildren = node.HasChildren();
  item.lParam = reinterpret_cast<LPARAM>(&node);
  HeapAnsiText ansiName;  // the ANSI structure differs from the wide one only in its text
  if (g_bUseAnsi) {
    WideToAnsiAlloc(node.GetName(), ansiName);
    item.pszText = reinterpret_cast<wchar_t*>(ansiName.get());
  }
  node.viewItem =
      static_cast<UINT_PTR>(charset::sendMessage(m_hTree, TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&insertion)));
}

BOOL CTreeDialog::OnNotify(NMHDR* notifyHeader) noexcept {
  auto& notification = *reinterpret_cast<NMTREEVIEWW*>(notifyHeader);
  switch (notifyHeader->code) {
    case TVN_ITEMEXPANDINGW:
    case TVN_ITEMEXPANDINGA: expand(notification); return TRUE;
    case TVN_SELCHANGEDW:
    case TVN_SELCHANGEDA:
      if (auto* const node = reinterpret_cast<CNODE*>(notification.itemNew.lParam)) OnSelectionChanged(node);
      return TRUE;
    default: return FALSE;
  }
}

void CTreeDialog::expand(NMTREEVIEWW& notification) noexcept {
  auto* const node = reinterpret_cast<CNODE*>(notification.itemNew.lParam);
  if (!node) return;
  const WaitCursor wait;
  node->Expand();
  if (!node->firstChild) {
    TVITEMW& item = notification.itemNew;
    item.mask = TVIF_HANDLE | TVIF_CHILDREN;
    item.cChildren = 0;
    charset::sendMessage(m_hTree, TVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item));
  } else if (node->firstChild->viewItem == 0) {
    charset::sendMessage(m_hTree, WM_SETREDRAW, FALSE, 0);
    for (CNODE* child = node->firstChild; child; child = child->nextSibling) InsertNode(*child);
    charset::sendMessage(m_hTree, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(m_hTree, nullptr, TRUE);
  }
}

INT_PTR CALLBACK TreeDialogProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
  if (message == WM_INITDIALOG && lParam != 0) {
    auto* const opening = reinterpret_cast<CTreeDialog*>(lParam);
    return openWnd(*opening, hWnd, [&] { return opening->OnInitDialog(hWnd); });
  }
  auto* const dialog = findWnd<CTreeDialog>(hWnd);
  if (!dialog) return FALSE;
  switch (message) {
    case WM_COMMAND: return dialog->OnCommand(HIWORD(wParam), LOWORD(wParam));
    case WM_NOTIFY: return dialog->OnNotify(reinterpret_cast<NMHDR*>(lParam));
    case WM_INITDIALOG:  // without an object
    case WM_DESTROY: return dialog->OnDestroy();
    default: return FALSE;
  }
}

}  // namespace fendrel
