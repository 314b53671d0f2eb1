#include "mapi_container_dlg.h"

#include "charset_window.h"
#include "format_string.h"
#include "resource_ids.h"
#include "resource_module.h"

namespace fendrel {
namespace {

enum Image { profile, store, openedStore, folder, openedFolder, imageCount };
constexpr WORD imageBitmaps[imageCount] = {IDB_PROFILE, IDB_STORE, IDB_OPENED_STORE, IDB_FOLDER, IDB_OPENED_FOLDER};
constexpr int imageSize = 16;

// All nodes of this dialog's tree are FOLDERDATA.
const FOLDERDATA& folderOf(const CNODE& node) noexcept { return static_cast<const FOLDERDATA&>(node); }

HeapText windowText(HWND window) noexcept {
  const int length = charset::getWindowTextLength(window);
  HeapText text(static_cast<wchar_t*>(std::calloc(static_cast<std::size_t>(length) + 2, sizeof(wchar_t))));
  if (text) charset::getWindowText(window, text.get(), length + 1);
  return text;
}

}  // namespace

BOOL CMAPIContainerDlg::DoModal(HWND hParent, IMAPISession* session, const wchar_t* profileName) noexcept {
  FOLDERDATA root(session, profileName);
  return root.valid && CTreeDialog::DoModal(hParent, &root);
}

BOOL CMAPIContainerDlg::OnInitDialog(HWND hDlg) noexcept {
  // This selects the root before the label is known, so the label stays empty until the user selects a node.
  CTreeDialog::OnInitDialog(hDlg);
  m_hFolderLabel = GetDlgItem(hDlg, IDC_FOLDER_LABEL);
  charset::setDlgItemText(hDlg, IDC_PROFILE_LABEL, m_pRootNode->GetName());
  charset::sendMessage(m_hTree, TVM_EXPAND, TVE_EXPAND, static_cast<LPARAM>(m_pRootNode->viewItem));
  return TRUE;
}

// The tree has images only if all could be created. The image list outlives the dialog.
void CMAPIContainerDlg::InitImageList() noexcept {
  const HIMAGELIST images = ImageList_Create(imageSize, imageSize, ILC_COLOR, imageCount, 0);
  if (!images) return;
  for (int image = 0; image < imageCount; ++image) {
    const HBITMAP bitmap = charset::loadBitmap(m_hInstance, MAKEINTRESOURCEW(imageBitmaps[image]));
    m_aImage[image] = ImageList_Add(images, bitmap, nullptr);
    DeleteObject(bitmap);
  }
  if (ImageList_GetImageCount(images) < imageCount) return;
  charset::sendMessage(m_hTree, TVM_SETIMAGELIST, TVSIL_NORMAL, reinterpret_cast<LPARAM>(images));
}

void CMAPIContainerDlg::GetItemImages(const CNODE& node, int& image, int& selectedImage) const noexcept {
  if (node.IsRoot()) {
    image = selectedImage = m_aImage[profile];
  } else if (folderOf(node).isStore) {
    image = m_aImage[store];
    selectedImage = m_aImage[openedStore];
  } else {
    image = m_aImage[folder];
    selectedImage = m_aImage[openedFolder];
  }
}

const wchar_t* CMAPIContainerDlg::GetNodeText(const CNODE& node) noexcept {
  const wchar_t* const path = folderOf(node).label.get();
  return path ? path : node.GetName();
}

BOOL CMAPIContainerDlg::OnSelectionChanged(CNODE* node) noexcept {
  CTreeDialog::OnSelectionChanged(node);
  charset::setWindowText(m_hFolderLabel, GetNodeText(*node));
  return TRUE;
}

BOOL CMAPIContainerDlg::OnOK() noexcept {
  if (m_pSelectedNode && !m_pSelectedNode->IsRoot()) {
    m_pszFolderPath = windowText(m_hFolderLabel);
    return TRUE;
  }
  wchar_t format[256];
  if (LoadResString(IDS_PROFILE_CHOSEN, format, 255) != resourceLoaded) return FALSE;
  wchar_t text[256];
  FormatString(text, std::size(text), format, m_pRootNode->GetName());
  MessageBeep(0xFFFFFFFF);
  MessageBoxW(m_hDialog, text, L"Warning", MB_ICONINFORMATION);
  return FALSE;
}

}  // namespace fendrel
