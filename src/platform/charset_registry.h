// The registry through the character-set layer (see charset.h). All return a system error code, 0 for success.
#pragma once

#include <windows.h>

#include "charset_mode.h"

namespace fendrel::charset {

LSTATUS regOpenKeyEx(HKEY key, const wchar_t* subKey, DWORD options, REGSAM access, HKEY* result) noexcept;
LSTATUS regCreateKeyEx(HKEY key, const wchar_t* subKey, DWORD reserved, const wchar_t* className, DWORD options,
                       REGSAM access, SECURITY_ATTRIBUTES* security, HKEY* result, DWORD* disposition) noexcept;

// Data of the types REG_SZ, REG_EXPAND_SZ and REG_MULTI_SZ is wide text, `size` in bytes; other data is passed
// unchanged.
LSTATUS regSetValueEx(HKEY key, const wchar_t* name, DWORD reserved, DWORD type, const BYTE* data, DWORD size) noexcept;
LSTATUS regQueryValueEx(HKEY key, const wchar_t* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size) noexcept;

}  // namespace fendrel::charset
