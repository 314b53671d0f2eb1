// The plug-in's message box about something that the user is to put right.
#pragma once

#include <windows.h>

namespace fendrel {

void showInformation(HWND owner, const wchar_t* text) noexcept;

}  // namespace fendrel
