#include "iwnd_map.h"

namespace fendrel {

CIWndMap theWndMap;

BOOL CIWndMap::Lookup(HWND hWnd, CIWnd*& wnd) const noexcept {
  for (Position position = GetHeadPosition(); CIObject* const object = GetNext(position);) {
    wnd = static_cast<CIWnd*>(object);
    if (wnd->m_hWnd == hWnd) return TRUE;
  }
  wnd = nullptr;
  return FALSE;
}

}  // namespace fendrel
