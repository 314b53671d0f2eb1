// Which of the two sets of system functions is called.
#pragma once

#include <windows.h>

namespace fendrel {

// Set while the module's static data is initialised, to IsWin9x(); every wrapper tests it. Tests set it by hand.
extern bool g_bUseAnsi;

bool IsWinNT() noexcept;
bool IsWinNTMajor5OrLater() noexcept;
bool IsWin9x() noexcept;
bool IsWin9xMajor5() noexcept;

// The default ANSI code page of a locale; 0 when it has none or the system does not know it.
UINT GetLocaleCodePage(LCID locale) noexcept;

}  // namespace fendrel
