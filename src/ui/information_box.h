// The plug-in's message box about something that the user should correct.
#pragma once

#include <windows.h>

namespace fendrel {

void showInformation(HWND owner, const wchar_t* text) noexcept;

}  // namespace fendrel
