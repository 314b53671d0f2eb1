#include "charset_file.h"

#include <direct.h>
#include <io.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "charset_ansi.h"

namespace fendrel::charset {

HANDLE createFile(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD disposition,
                  DWORD flags, HANDLE templateFile) {
  if (!g_bUseAnsi) return CreateFileW(name, access, share, security, disposition, flags, templateFile);
  char ansi[520];
  if (WideToAnsiInto(name, ansi, sizeof ansi) == 0) throw int{unconvertibleFileName};
  return CreateFileA(ansi, access, share, security, disposition, flags, templateFile);
}

BOOL deleteFile(const wchar_t* path) noexcept {
  if (!g_bUseAnsi) return DeleteFileW(path);
  const AnsiArgument ansi(path);
  return ansi.isOk() ? DeleteFileA(ansi.get()) : FALSE;
}

BOOL createDirectory(const wchar_t* path, SECURITY_ATTRIBUTES* security) noexcept {
  if (!g_bUseAnsi) return CreateDirectoryW(path, security);
  const AnsiArgument ansi(path);
  return ansi.isOk() ? CreateDirectoryA(ansi.get(), security) : FALSE;
}

DWORD getTempPath(DWORD size, wchar_t* buffer) noexcept {
  if (!g_bUseAnsi) return GetTempPathW(size, buffer);
  const DWORD needed = GetTempPathA(0, nullptr);
  const HeapAnsiText ansi = ansiBuffer(needed);
  if (needed == 0 || !ansi || GetTempPathA(needed, ansi.get()) == 0) return 0;
  // Like the wide function: text that does not fit is not truncated; the required size is returned.
  const int characters = MultiByteToWideChar(CP_ACP, 0, ansi.get(), -1, nullptr, 0);
  if (static_cast<DWORD>(characters) > size) return static_cast<DWORD>(characters);
  return static_cast<DWORD>(std::max(copyBack(ansi.get(), buffer, static_cast<int>(size)), 0));
}

UINT getTempFileName(const wchar_t* directory, const wchar_t* prefix, UINT unique, wchar_t* buffer) noexcept {
  if (!g_bUseAnsi) return GetTempFileNameW(directory, prefix, unique, buffer);
  const AnsiArgument ansiDirectory(directory), ansiPrefix(prefix);
  char name[MAX_PATH + 1] = {};
  if (!ansiDirectory.isOk() || !ansiPrefix.isOk()) return 0;
  const UINT number = GetTempFileNameA(ansiDirectory.get(), ansiPrefix.get(), unique, name);
  if (number == 0 || copyBack(name, buffer, MAX_PATH) > 0) return number;
  if (unique == 0) DeleteFileA(name);  // the system has created it, but the caller does not get its name
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return 0;
}

DWORD getModuleFileName(HMODULE module, wchar_t* buffer, DWORD size) noexcept {
  if (!g_bUseAnsi) return GetModuleFileNameW(module, buffer, size);
  const HeapAnsiText ansi = ansiBuffer(2 * static_cast<std::size_t>(size));
  if (!ansi) return 0;
  const DWORD bytes = GetModuleFileNameA(module, ansi.get(), 2 * size);
  if (bytes == 0) return 0;
  const WideResult name(ansi.get(), static_cast<int>(bytes));
  if (!name.isOk()) return 0;
  const int copied = name.copyTo(buffer, static_cast<int>(size));
  if (copied == name.length()) return static_cast<DWORD>(copied);
  SetLastError(ERROR_INSUFFICIENT_BUFFER);  // the name is truncated
  return size;
}

HMODULE loadLibrary(const wchar_t* name) noexcept {
  if (!g_bUseAnsi) return LoadLibraryW(name);
  const AnsiArgument ansi(name);
  return ansi.isOk() ? LoadLibraryA(ansi.get()) : nullptr;
}

wchar_t* getCurrentDirectory(int drive, wchar_t* buffer, int size) noexcept {
  if (!g_bUseAnsi) return _wgetdcwd(drive, buffer, size);
  const HeapAnsiText ansi(_getdcwd(drive, nullptr, 0));
  HeapText wide;
  if (!ansi || AnsiToWideAlloc(ansi.get(), wide) == 0) return nullptr;
  if (!buffer) return wide.release();
  if (size <= 0 || std::wcslen(wide.get()) >= static_cast<std::size_t>(size)) {
    errno = ERANGE;
    return nullptr;
  }
  return std::wcscpy(buffer, wide.get());
}

int stat(const wchar_t* path, struct _stat64* status) noexcept {
  if (!g_bUseAnsi) return _wstat64(path, status);
  const AnsiArgument ansi(path);
  return ansi.isOk() ? _stat64(ansi.get(), status) : -1;
}

int access(const wchar_t* path, int mode) noexcept {
  if (!g_bUseAnsi) return _waccess(path, mode);
  const AnsiArgument ansi(path);
  return ansi.isOk() ? _access(ansi.get(), mode) : -1;
}

std::FILE* openFile(const wchar_t* path, const wchar_t* mode) noexcept {
  if (!g_bUseAnsi) return _wfopen(path, mode);
  const AnsiArgument ansiPath(path), ansiMode(mode);
  return ansiPath.isOk() && ansiMode.isOk() ? std::fopen(ansiPath.get(), ansiMode.get()) : nullptr;
}

std::FILE* reopenFile(const wchar_t* path, const wchar_t* mode, std::FILE* file) noexcept {
  if (!g_bUseAnsi) return _wfreopen(path, mode, file);
  const AnsiArgument ansiPath(path), ansiMode(mode);
  return ansiPath.isOk() && ansiMode.isOk() ? std::freopen(ansiPath.get(), ansiMode.get(), file) : nullptr;
}

}  // namespace fendrel::charset
