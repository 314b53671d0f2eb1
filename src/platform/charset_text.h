// Strings, profile files and locales through the character-set layer (see charset.h).
#pragma once

#include <windows.h>

#include "charset_mode.h"

namespace fendrel::charset {

// Upper-cases `text` in place and returns it; instead of the address it may be a single character.
wchar_t* charUpper(wchar_t* text) noexcept;

// The ANSI buffer has `size` bytes, so double-byte text may be truncated before the caller's buffer is full. On the
// ANSI path there is no read-only view of the string: a size of 0 gives 0.
int loadString(HINSTANCE module, UINT id, wchar_t* buffer, int size) noexcept;

// A null section or key lists the names, each terminated.
DWORD getProfileString(const wchar_t* section, const wchar_t* key, const wchar_t* fallback, wchar_t* buffer,
                       DWORD size) noexcept;
DWORD getPrivateProfileString(const wchar_t* section, const wchar_t* key, const wchar_t* fallback, wchar_t* buffer,
                              DWORD size, const wchar_t* file) noexcept;
UINT getPrivateProfileInt(const wchar_t* section, const wchar_t* key, INT fallback, const wchar_t* file) noexcept;

// 0 if there is no global atom of that name.
ATOM globalFindAtom(const wchar_t* name) noexcept;

// A size of 0 returns the required size. Counts the terminator.
int getLocaleInfo(LCID locale, LCTYPE type, wchar_t* buffer, int size) noexcept;

}  // namespace fendrel::charset
