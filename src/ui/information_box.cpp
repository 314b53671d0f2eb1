#include "information_box.h"

namespace fendrel {

void showInformation(HWND owner, const wchar_t* text) noexcept {
  MessageBoxW(owner, text, L"FENDREL.DLL", MB_ICONINFORMATION);
}

}  // namespace fendrel
