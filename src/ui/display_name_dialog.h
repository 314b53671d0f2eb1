// Asks for the name under which a report is posted.
#pragma once

#include "iwnd.h"
#include "text_conversion.h"

namespace fendrel {

// OK closes the dialog only if a name was entered.
class CDisplayNameDialog : public CIWnd {
 public:
  enum Result : INT_PTR { failed = -1, ok = IDOK, cancelled = IDCANCEL, aborted = IDABORT };

  CDisplayNameDialog() = default;
  ~CDisplayNameDialog() override;

  // Asks for the name of the report `reportFileName`: ok, cancelled, aborted or failed. On ok `name` is the entered
  // name, at most 254 characters without trailing spaces, or null without memory; else it does not change.
  static INT_PTR DoModal(HWND hParent, const wchar_t* reportFileName, HeapText& name) noexcept;

  void SetPromptText() const noexcept;
  void ReadName() noexcept;
  const wchar_t* GetName() const noexcept { return m_szName; }

 private:
  BOOL onCommand(WORD id) noexcept;
  static INT_PTR CALLBACK dialogProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam) noexcept;

  wchar_t m_szPrompt[256] = {};
  wchar_t m_szName[256] = {};
};

}  // namespace fendrel
