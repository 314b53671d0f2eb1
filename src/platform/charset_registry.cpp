#include "charset_registry.h"

#include <cstring>

#include "charset_ansi.h"

namespace fendrel::charset {
namespace {

bool isText(DWORD type) noexcept { return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ; }

// Returns text like the wide function, with sizes in bytes of wide text.
LSTATUS handOutText(const char* text, DWORD bytes, BYTE* data, DWORD* size) noexcept {
  const int characters = bytes == 0 ? 0 : MultiByteToWideChar(CP_ACP, 0, text, static_cast<int>(bytes), nullptr, 0);
  if (bytes != 0 && characters == 0) return ERROR_NOT_ENOUGH_MEMORY;
  const DWORD room = *size;
  *size = static_cast<DWORD>(characters) * static_cast<DWORD>(sizeof(wchar_t));
  if (!data) return ERROR_SUCCESS;
  if (room < *size) return ERROR_MORE_DATA;
  // The caller's block may have an odd address.
  const HeapText wide(static_cast<wchar_t*>(std::malloc(*size + sizeof(wchar_t))));
  if (!wide) return ERROR_NOT_ENOUGH_MEMORY;
  if (bytes != 0) MultiByteToWideChar(CP_ACP, 0, text, static_cast<int>(bytes), wide.get(), characters);
  std::memcpy(data, wide.get(), *size);
  return ERROR_SUCCESS;
}

}  // namespace

LSTATUS regOpenKeyEx(HKEY key, const wchar_t* subKey, DWORD options, REGSAM access, HKEY* result) noexcept {
  if (!g_bUseAnsi) return RegOpenKeyExW(key, subKey, options, access, result);
  const AnsiArgument ansi(subKey);
  return ansi.isOk() ? RegOpenKeyExA(key, ansi.get(), options, access, result) : ERROR_NOT_ENOUGH_MEMORY;
}

LSTATUS regCreateKeyEx(HKEY key, const wchar_t* subKey, DWORD reserved, const wchar_t* className, DWORD options,
                       REGSAM access, SECURITY_ATTRIBUTES* security, HKEY* result, DWORD* disposition) noexcept {
  if (!g_bUseAnsi)
    return RegCreateKeyExW(key, subKey, reserved, const_cast<wchar_t*>(className), options, access, security, result,
                           disposition);
  const AnsiArgument ansiKey(subKey);
  AnsiArgument ansiClass(className);
  if (!ansiKey.isOk() || !ansiClass.isOk()) return ERROR_NOT_ENOUGH_MEMORY;
  return RegCreateKeyExA(key, ansiKey.get(), reserved, ansiClass.writable(), options, access, security, result,
                         disposition);
}

LSTATUS regSetValueEx(HKEY key, const wchar_t* name, DWORD reserved, DWORD type, const BYTE* data,
                      DWORD size) noexcept {
  if (!g_bUseAnsi) return RegSetValueExW(key, name, reserved, type, data, size);
  const AnsiArgument ansiName(name);
  if (!ansiName.isOk()) return ERROR_NOT_ENOUGH_MEMORY;
  if (!isText(type) || !data) return RegSetValueExA(key, ansiName.get(), reserved, type, data, size);
  // All characters that the caller counts, including terminators and lists.
  const int characters = static_cast<int>(size / sizeof(wchar_t));
  const HeapText wide(static_cast<wchar_t*>(std::malloc(size + sizeof(wchar_t))));
  const HeapAnsiText ansi = ansiBuffer(size);
  if (!wide || !ansi) return ERROR_NOT_ENOUGH_MEMORY;
  std::memcpy(wide.get(), data, size);
  const int bytes = characters == 0 ? 0
                                    : WideCharToMultiByte(CP_ACP, 0, wide.get(), characters, ansi.get(),
                                                          static_cast<int>(size), nullptr, nullptr);
  if (characters != 0 && bytes == 0) return ERROR_NOT_ENOUGH_MEMORY;
  return RegSetValueExA(key, ansiName.get(), reserved, type, reinterpret_cast<const BYTE*>(ansi.get()),
                        static_cast<DWORD>(bytes));
}

LSTATUS regQueryValueEx(HKEY key, const wchar_t* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size) noexcept {
  if (!g_bUseAnsi) return RegQueryValueExW(key, name, reserved, type, data, size);
  const AnsiArgument ansiName(name);
  if (!ansiName.isOk()) return ERROR_NOT_ENOUGH_MEMORY;
  DWORD found = REG_NONE, bytes = 0;
  LSTATUS status = RegQueryValueExA(key, ansiName.get(), reserved, &found, nullptr, &bytes);
  if (status != ERROR_SUCCESS || !isText(found) || !size)
    return RegQueryValueExA(key, ansiName.get(), reserved, type, data, size);
  if (type) *type = found;
  const HeapAnsiText ansi = ansiBuffer(bytes);
  if (!ansi) return ERROR_NOT_ENOUGH_MEMORY;
  status = RegQueryValueExA(key, ansiName.get(), reserved, &found, reinterpret_cast<BYTE*>(ansi.get()), &bytes);
  return status == ERROR_SUCCESS ? handOutText(ansi.get(), bytes, data, size) : status;
}

}  // namespace fendrel::charset
