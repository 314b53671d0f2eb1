#include "iwnd_map.h"

#include "never_destroyed.h"

namespace fendrel {

namespace {

NeverDestroyed<CIWndMap> g_map;

}  // namespace

CIWndMap& theWndMap = *g_map;

BOOL CIWndMap::Lookup(HWND hWnd, CIWnd*& wnd) const noexcept {
  for (Position position = GetHeadPosition(); CIObject* const object = GetNext(position);) {
    wnd = static_cast<CIWnd*>(object);
    if (wnd->GetHandle() == hWnd) return TRUE;
  }
  wnd = nullptr;
  return FALSE;
}

}  // namespace fendrel
