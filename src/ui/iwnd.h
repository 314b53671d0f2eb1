// The object behind a dialog box.
#pragma once

#include <windows.h>

#include "iobject.h"

namespace fendrel {

// Made by the caller, who keeps it until the dialog box has returned. The dialog procedure finds it in the window map,
// which every derived class's destructor leaves.
class CIWnd : public CIObject {
 public:
  HWND GetHandle() const noexcept { return m_hWnd; }

  HWND m_hWnd = nullptr;  // written when the dialog opens
};

}  // namespace fendrel
