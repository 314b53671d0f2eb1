#include "display_name_dialog.h"

#include <cwchar>

#include "charset_window.h"
#include "english/texts.h"
#include "format_string.h"
#include "information_box.h"
#include "iwnd_map.h"
#include "resource_ids.h"
#include "resource_module.h"

namespace fendrel {

CDisplayNameDialog::~CDisplayNameDialog() { theWndMap.Remove(this); }

INT_PTR CDisplayNameDialog::DoModal(HWND hParent, const wchar_t* reportFileName, HeapText& name) noexcept {
  CDisplayNameDialog dialog;
  FormatString(dialog.m_szPrompt, std::size(dialog.m_szPrompt), L"For %ls:", reportFileName);
  const INT_PTR result = charset::dialogBoxParam(g_hResInstance, L"IDD_REPORT_NAME", hParent, dialogProc,
                                                 reinterpret_cast<LPARAM>(&dialog));
  if (result == ok) name.reset(_wcsdup(dialog.GetName()));
  return result;
}

void CDisplayNameDialog::SetPromptText() const noexcept {
  if (HWND label = GetDlgItem(m_hWnd, IDC_NAME_PROMPT)) charset::setWindowText(label, m_szPrompt);
}

void CDisplayNameDialog::ReadName() noexcept {
  if (HWND edit = GetDlgItem(m_hWnd, IDC_NAME_EDIT)) charset::getWindowText(edit, m_szName, 255);
  for (std::size_t length = std::wcslen(m_szName); length > 0 && m_szName[length - 1] == L' '; --length)
    m_szName[length - 1] = 0;
}

BOOL CDisplayNameDialog::onCommand(WORD id) noexcept {
  switch (id) {
    case IDOK: {
      ReadName();
      if (m_szName[0]) {
        EndDialog(m_hWnd, ok);
        return TRUE;
      }
      wchar_t text[256];
      const bool loaded = LoadResString(IDS_NAME_EMPTY, text, 255) == resourceLoaded;
      showInformation(m_hWnd, loaded ? text : L"" TEXT_NAME_EMPTY);
      return TRUE;
    }
    case IDCANCEL:
    case IDABORT: EndDialog(m_hWnd, id); return TRUE;
    default: return FALSE;
  }
}

INT_PTR CALLBACK CDisplayNameDialog::dialogProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
  if (message == WM_INITDIALOG && lParam != 0) {
    auto* const opening = reinterpret_cast<CDisplayNameDialog*>(lParam);
    return openWnd(*opening, hWnd, [opening] {
      opening->SetPromptText();
      return TRUE;
    });
  }
  auto* const dialog = findWnd<CDisplayNameDialog>(hWnd);
  if (!dialog || message != WM_COMMAND || HIWORD(wParam) != 0) return FALSE;
  return dialog->onCommand(LOWORD(wParam));
}

}  // namespace fendrel
