// Maps window handles to their objects.
#pragma once

#include "iob_list.h"
#include "iwnd.h"

namespace fendrel {

// Borrows its objects. One thread: dialogs are modal and run on the host's thread.
class CIWndMap : public CIObList {
 public:
  BOOL Add(CIWnd* wnd) noexcept { return AddTail(wnd); }

  // TRUE with the first object whose handle is `hWnd`.
  BOOL Lookup(HWND hWnd, CIWnd*& wnd) const noexcept;
};

// Every open dialog of the module.
extern CIWndMap& theWndMap;

// A dialog procedure's first step: stores the window in the object and the object in the map, then returns the result
// of `call`. Without memory for the map the dialog could never be closed, so it ends at once with -1.
template <class Wnd, class Call>
INT_PTR openWnd(Wnd& wnd, HWND hWnd, Call call) noexcept {
  wnd.setHandle(hWnd);
  if (theWndMap.Add(&wnd)) return call();
  EndDialog(hWnd, -1);
  return TRUE;
}

// The object of `hWnd`, as the class that its dialog procedure put into the map, or null.
template <class Wnd>
Wnd* findWnd(HWND hWnd) noexcept {
  CIWnd* wnd;
  return theWndMap.Lookup(hWnd, wnd) ? static_cast<Wnd*>(wnd) : nullptr;
}

}  // namespace fendrel
