// The one way to the text-bearing system functions: the wide function on systems of the NT family, the ANSI
// function with converted text on Windows 9x. Signatures and results are those of the wide functions; text that
// cannot be converted gives the function's own failure value.
//
// Threads: no state but a flag that is set before any other code runs.
#pragma once

#include <windows.h>

namespace fendrel {

// Set while the module's static data is initialised; every wrapper tests it.
extern bool g_bUseAnsi;

bool IsWinNT() noexcept;
bool IsWin9x() noexcept;
bool IsWin9xMajor5() noexcept;

// What createFile throws on the ANSI path when the name cannot be converted or takes more than 520 bytes.
inline constexpr int unconvertibleFileName = 1184;

namespace charset {

HANDLE createFile(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD disposition,
                  DWORD flags, HANDLE templateFile);

// Upper-cases `text` in place and returns it.
wchar_t* charUpper(wchar_t* text) noexcept;

int loadString(HINSTANCE module, UINT id, wchar_t* buffer, int size) noexcept;
DWORD getModuleFileName(HMODULE module, wchar_t* buffer, DWORD size) noexcept;
HMODULE loadLibrary(const wchar_t* name) noexcept;
DWORD getProfileString(const wchar_t* section, const wchar_t* key, const wchar_t* fallback, wchar_t* buffer,
                       DWORD size) noexcept;

}  // namespace charset
}  // namespace fendrel
