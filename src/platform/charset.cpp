#include "charset.h"

#include <algorithm>
#include <cwchar>

#include "text_conversion.h"

namespace fendrel {
namespace {

OSVERSIONINFOA g_OsVersion;  // a size of 0 means that it is not filled yet

const OSVERSIONINFOA& osVersion() noexcept {
  if (g_OsVersion.dwOSVersionInfoSize == 0) {
    g_OsVersion.dwOSVersionInfoSize = sizeof g_OsVersion;
    GetVersionExA(&g_OsVersion);
  }
  return g_OsVersion;
}

// Copies an ANSI result into the caller's wide buffer of `size` characters, cut where it does not fit.
// Returns the characters copied without the terminator.
int copyBack(const char* text, wchar_t* buffer, int size) noexcept {
  HeapText wide;
  if (size <= 0 || AnsiToWideAlloc(text, wide) == 0) return 0;
  const size_t length = std::min(std::wcslen(wide.get()), static_cast<size_t>(size) - 1);
  std::wmemcpy(buffer, wide.get(), length);
  buffer[length] = 0;
  return static_cast<int>(length);
}

// An ANSI argument: null stays null, anything else is converted. `ok` tells whether that worked.
struct AnsiArgument {
  HeapAnsiText text;
  bool ok;
  explicit AnsiArgument(const wchar_t* wide) noexcept : ok(!wide || WideToAnsiAlloc(wide, text) != 0) {
    if (!ok) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  }
};

HeapAnsiText ansiBuffer(DWORD size) noexcept {
  return HeapAnsiText(static_cast<char*>(std::calloc(static_cast<size_t>(size) + 1, 1)));
}

}  // namespace

bool IsWinNT() noexcept { return osVersion().dwPlatformId == VER_PLATFORM_WIN32_NT; }
bool IsWin9x() noexcept { return osVersion().dwPlatformId == VER_PLATFORM_WIN32_WINDOWS; }
bool IsWin9xMajor5() noexcept { return IsWin9x() && osVersion().dwMajorVersion == 5; }

bool g_bUseAnsi = IsWin9x();

namespace charset {

HANDLE createFile(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD disposition,
                  DWORD flags, HANDLE templateFile) {
  if (!g_bUseAnsi) return CreateFileW(name, access, share, security, disposition, flags, templateFile);
  char ansiName[520];
  if (WideToAnsiInto(name, ansiName, sizeof ansiName) == 0) throw int{unconvertibleFileName};
  return CreateFileA(ansiName, access, share, security, disposition, flags, templateFile);
}

wchar_t* charUpper(wchar_t* text) noexcept {
  if (!g_bUseAnsi) return CharUpperW(text);
  const AnsiArgument ansi(text);
  if (!text || !ansi.ok) return nullptr;
  CharUpperA(ansi.text.get());
  // A double-byte text can only come back with as many characters as it had.
  copyBack(ansi.text.get(), text, static_cast<int>(std::wcslen(text)) + 1);
  return text;
}

int loadString(HINSTANCE module, UINT id, wchar_t* buffer, int size) noexcept {
  if (!g_bUseAnsi) return LoadStringW(module, id, buffer, size);
  if (size <= 0) return 0;
  const HeapAnsiText ansi = ansiBuffer(static_cast<DWORD>(size));
  if (!ansi || LoadStringA(module, id, ansi.get(), size) == 0) return 0;
  return copyBack(ansi.get(), buffer, size);
}

DWORD getModuleFileName(HMODULE module, wchar_t* buffer, DWORD size) noexcept {
  if (!g_bUseAnsi) return GetModuleFileNameW(module, buffer, size);
  const HeapAnsiText ansi = ansiBuffer(size);
  if (!ansi || GetModuleFileNameA(module, ansi.get(), size) == 0) return 0;
  return static_cast<DWORD>(copyBack(ansi.get(), buffer, static_cast<int>(size)));
}

HMODULE loadLibrary(const wchar_t* name) noexcept {
  if (!g_bUseAnsi) return LoadLibraryW(name);
  const AnsiArgument ansi(name);
  return ansi.ok ? LoadLibraryA(ansi.text.get()) : nullptr;
}

DWORD getProfileString(const wchar_t* section, const wchar_t* key, const wchar_t* fallback, wchar_t* buffer,
                       DWORD size) noexcept {
  if (!g_bUseAnsi) return GetProfileStringW(section, key, fallback, buffer, size);
  const AnsiArgument ansiSection(section), ansiKey(key), ansiFallback(fallback);
  const HeapAnsiText value = ansiBuffer(size);
  if (!ansiSection.ok || !ansiKey.ok || !ansiFallback.ok || !value) return 0;
  GetProfileStringA(ansiSection.text.get(), ansiKey.text.get(), ansiFallback.text.get(), value.get(), size);
  return static_cast<DWORD>(copyBack(value.get(), buffer, static_cast<int>(size)));
}

}  // namespace charset
}  // namespace fendrel
