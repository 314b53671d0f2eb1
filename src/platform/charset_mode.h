// Selects the wide or the ANSI system functions.
#pragma once

#include <windows.h>

namespace fendrel {

// Initialised with the module's static data to IsWin9x(); every wrapper reads it. Tests change it.
extern bool g_bUseAnsi;

bool IsWinNT() noexcept;
bool IsWinNTMajor5OrLater() noexcept;
bool IsWin9x() noexcept;
bool IsWin9xMajor5() noexcept;

// The default ANSI code page of a locale; 0 if it has none or the system does not know it.
UINT GetLocaleCodePage(LCID locale) noexcept;

}  // namespace fendrel
