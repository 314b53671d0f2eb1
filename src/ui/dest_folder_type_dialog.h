// Asks for the posting type of a report.
#pragma once

#include "iwnd.h"

namespace fendrel {

// The type is the id of its radio button: 1009 Personal Report, 1010 Folder Report, 1011 Report Instance.
class CDestFolderTypeDialog : public CIWnd {
 public:
  CDestFolderTypeDialog() noexcept;
  ~CDestFolderTypeDialog() override;

  // Asks, with Report Instance checked. TRUE with the chosen type on OK; else `type` does not change.
  static BOOL DoModal(HWND hParent, WORD& type) noexcept;

  WORD GetDestType() const noexcept { return m_nDestType; }
  void SetDestType(WORD type) noexcept { m_nDestType = type; }
  void CheckDestTypeButton() const noexcept;
  void ReadDestTypeButtons() noexcept;  // if no button is checked: Report Instance

 private:
  static INT_PTR CALLBACK dialogProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam) noexcept;

  WORD m_nDestType;
};

}  // namespace fendrel
