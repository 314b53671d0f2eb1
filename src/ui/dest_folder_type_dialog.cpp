#include "dest_folder_type_dialog.h"

#include "charset_window.h"
#include "iwnd_map.h"
#include "resource_ids.h"
#include "resource_module.h"

namespace fendrel {

CDestFolderTypeDialog::CDestFolderTypeDialog() noexcept : m_nDestType(IDC_REPORT_INSTANCE) {}

CDestFolderTypeDialog::~CDestFolderTypeDialog() { theWndMap.Remove(this); }

BOOL CDestFolderTypeDialog::DoModal(HWND hParent, WORD& type) noexcept {
  CDestFolderTypeDialog dialog;
  if (charset::dialogBoxParam(g_hResInstance, L"IDD_FOLDER_DEST_TYPE", hParent, dialogProc,
                              reinterpret_cast<LPARAM>(&dialog)) != IDOK)
    return FALSE;
  type = dialog.GetDestType();
  return TRUE;
}

void CDestFolderTypeDialog::CheckDestTypeButton() const noexcept {
  charset::sendMessage(GetDlgItem(m_hWnd, m_nDestType), BM_SETCHECK, BST_CHECKED, 0);
}

void CDestFolderTypeDialog::ReadDestTypeButtons() noexcept {
  const auto isChecked = [this](int id) {
    return charset::sendMessage(GetDlgItem(m_hWnd, id), BM_GETCHECK, 0, 0) == BST_CHECKED;
  };
  if (isChecked(IDC_PERSONAL_REPORT))
    m_nDestType = IDC_PERSONAL_REPORT;
  else if (isChecked(IDC_FOLDER_REPORT))
    m_nDestType = IDC_FOLDER_REPORT;
  else
    m_nDestType = IDC_REPORT_INSTANCE;
}

INT_PTR CALLBACK CDestFolderTypeDialog::dialogProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
  if (message == WM_INITDIALOG) {
    auto* const opening = reinterpret_cast<CDestFolderTypeDialog*>(lParam);
    if (!opening) return TRUE;
    return openWnd(*opening, hWnd, [opening] {
      opening->CheckDestTypeButton();
      return TRUE;
    });
  }
  if (message != WM_COMMAND || HIWORD(wParam) != 0) return FALSE;
  switch (LOWORD(wParam)) {
    case IDOK: {
      auto* const dialog = findWnd<CDestFolderTypeDialog>(hWnd);
      if (!dialog) return FALSE;
      dialog->ReadDestTypeButtons();
      EndDialog(hWnd, IDOK);
      return TRUE;
    }
    case IDCANCEL: EndDialog(hWnd, IDCANCEL); return TRUE;
    default: return FALSE;
  }
}

}  // namespace fendrel
