// The object of a dialog box.
#pragma once

#include <windows.h>

#include "iobject.h"

namespace fendrel {

// Made by the caller, who keeps it until the dialog box has returned. The dialog procedure finds it in the window map,
// which every derived class's destructor leaves.
class CIWnd : public CIObject {
 public:
  HWND GetHandle() const noexcept { return m_hWnd; }
  void setHandle(HWND hWnd) noexcept { m_hWnd = hWnd; }

 protected:
  HWND m_hWnd = nullptr;  // set when the dialog opens
};

}  // namespace fendrel
