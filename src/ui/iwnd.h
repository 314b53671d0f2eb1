// A dialog box.
#pragma once

#include <windows.h>

#include "iobject.h"

namespace fendrel {

// The caller creates it and keeps it until the dialog box has returned. The dialog procedure finds it in the window
// map; each derived destructor must remove it from there.
class CIWnd : public CIObject {
 public:
  HWND GetHandle() const noexcept { return m_hWnd; }
  void setHandle(HWND hWnd) noexcept { m_hWnd = hWnd; }

 protected:
  HWND m_hWnd = nullptr;  // set when the dialog opens
};

}  // namespace fendrel
