// Files and folders through the character-set layer (see charset.h).
#pragma once

#include <windows.h>

#include <sys/stat.h>

#include <cstdio>

#include "charset_mode.h"

namespace fendrel {

// createFile throws this on the ANSI path if the name cannot be converted or takes more than 520 bytes.
inline constexpr int unconvertibleFileName = 1184;

namespace charset {

HANDLE createFile(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD disposition,
                  DWORD flags, HANDLE templateFile);
BOOL deleteFile(const wchar_t* path) noexcept;
BOOL createDirectory(const wchar_t* path, SECURITY_ATTRIBUTES* security) noexcept;

DWORD getTempPath(DWORD size, wchar_t* buffer) noexcept;

// `buffer` holds MAX_PATH characters.
UINT getTempFileName(const wchar_t* directory, const wchar_t* prefix, UINT unique, wchar_t* buffer) noexcept;

DWORD getModuleFileName(HMODULE module, wchar_t* buffer, DWORD size) noexcept;
HMODULE loadLibrary(const wchar_t* name) noexcept;

// The runtime library's functions. A null buffer makes getCurrentDirectory allocate with malloc.
wchar_t* getCurrentDirectory(int drive, wchar_t* buffer, int size) noexcept;
int stat(const wchar_t* path, struct _stat64* status) noexcept;
int access(const wchar_t* path, int mode) noexcept;
std::FILE* openFile(const wchar_t* path, const wchar_t* mode) noexcept;
std::FILE* reopenFile(const wchar_t* path, const wchar_t* mode, std::FILE* file) noexcept;

}  // namespace charset
}  // namespace fendrel
