// A picture of a window on the screen.
#pragma once

#include <windows.h>

#include <string>

namespace fendrel::test {

// Writes it as a 24-bit bitmap file; false when that fails.
bool saveWindowPicture(HWND window, const std::wstring& file);

}  // namespace fendrel::test
