#include "charset_text.h"

#include <algorithm>
#include <cwchar>

#include "charset_ansi.h"

namespace fendrel::charset {
namespace {

// A profile function's result: one text, or a list of texts that ends with two zeros.
template <class Read>
DWORD profileText(bool isList, wchar_t* buffer, DWORD size, Read read) noexcept {
  const DWORD terminators = isList ? 2 : 1;
  if (!buffer) return 0;
  if (size < terminators) {
    if (size != 0) buffer[0] = 0;
    return 0;
  }
  const DWORD ansiSize = 2 * size;  // as many double-byte characters as fit the caller's buffer
  const HeapAnsiText ansi = ansiBuffer(ansiSize);
  if (!ansi) return 0;
  const DWORD bytes = read(ansi.get(), ansiSize);
  const int copied = copyBack(ansi.get(), static_cast<int>(bytes), buffer, static_cast<int>(size - terminators + 1));
  if (copied < 0) return 0;
  if (isList) buffer[copied + 1] = 0;
  return static_cast<DWORD>(copied);
}

}  // namespace

wchar_t* charUpper(wchar_t* text) noexcept {
  if (!g_bUseAnsi) return CharUpperW(text);
  if (IS_INTRESOURCE(text)) {
    wchar_t character[2] = {static_cast<wchar_t>(reinterpret_cast<ULONG_PTR>(text)), 0};
    return charUpper(character) ? reinterpret_cast<wchar_t*>(static_cast<ULONG_PTR>(character[0])) : nullptr;
  }
  AnsiArgument ansi(text);
  if (!ansi.isOk()) return nullptr;
  CharUpperA(ansi.writable());
  // Upper-casing does not change the length.
  return copyBack(ansi.get(), text, static_cast<int>(std::wcslen(text)) + 1) < 0 ? nullptr : text;
}

int loadString(HINSTANCE module, UINT id, wchar_t* buffer, int size) noexcept {
  if (!g_bUseAnsi) return LoadStringW(module, id, buffer, size);
  if (size <= 0) return 0;
  const HeapAnsiText ansi = ansiBuffer(static_cast<std::size_t>(size));
  if (!ansi) return 0;
  return std::max(copyBack(ansi.get(), LoadStringA(module, id, ansi.get(), size), buffer, size), 0);
}

DWORD getProfileString(const wchar_t* section, const wchar_t* key, const wchar_t* fallback, wchar_t* buffer,
                       DWORD size) noexcept {
  if (!g_bUseAnsi) return GetProfileStringW(section, key, fallback, buffer, size);
  const AnsiArgument ansiSection(section), ansiKey(key), ansiFallback(fallback);
  if (!ansiSection.isOk() || !ansiKey.isOk() || !ansiFallback.isOk()) return 0;
  return profileText(!section || !key, buffer, size, [&](char* ansi, DWORD ansiSize) {
    return GetProfileStringA(ansiSection.get(), ansiKey.get(), ansiFallback.get(), ansi, ansiSize);
  });
}

DWORD getPrivateProfileString(const wchar_t* section, const wchar_t* key, const wchar_t* fallback, wchar_t* buffer,
                              DWORD size, const wchar_t* file) noexcept {
  if (!g_bUseAnsi) return GetPrivateProfileStringW(section, key, fallback, buffer, size, file);
  const AnsiArgument ansiSection(section), ansiKey(key), ansiFallback(fallback), ansiFile(file);
  if (!ansiSection.isOk() || !ansiKey.isOk() || !ansiFallback.isOk() || !ansiFile.isOk()) return 0;
  return profileText(!section || !key, buffer, size, [&](char* ansi, DWORD ansiSize) {
    return GetPrivateProfileStringA(ansiSection.get(), ansiKey.get(), ansiFallback.get(), ansi, ansiSize,
                                    ansiFile.get());
  });
}

UINT getPrivateProfileInt(const wchar_t* section, const wchar_t* key, INT fallback, const wchar_t* file) noexcept {
  if (!g_bUseAnsi) return GetPrivateProfileIntW(section, key, fallback, file);
  const AnsiArgument ansiSection(section), ansiKey(key), ansiFile(file);
  if (!ansiSection.isOk() || !ansiKey.isOk() || !ansiFile.isOk()) return 0;
  return GetPrivateProfileIntA(ansiSection.get(), ansiKey.get(), fallback, ansiFile.get());
}

ATOM globalFindAtom(const wchar_t* name) noexcept {
  if (!g_bUseAnsi) return GlobalFindAtomW(name);
  const AnsiArgument ansi = ansiName(name);
  return ansi.isOk() ? GlobalFindAtomA(ansi.get()) : ATOM{0};
}

int getLocaleInfo(LCID locale, LCTYPE type, wchar_t* buffer, int size) noexcept {
  if (!g_bUseAnsi) return GetLocaleInfoW(locale, type, buffer, size);
  if (type & LOCALE_RETURN_NUMBER)  // not text; that size is in bytes, this one in characters
    return GetLocaleInfoA(locale, type, reinterpret_cast<char*>(buffer), 2 * size) / 2;
  // Without this flag the result is in the locale's own code page.
  type |= LOCALE_USE_CP_ACP;
  const int bytes = GetLocaleInfoA(locale, type, nullptr, 0);
  if (bytes <= 0) return 0;
  const HeapAnsiText ansi = ansiBuffer(static_cast<std::size_t>(bytes));
  if (!ansi || GetLocaleInfoA(locale, type, ansi.get(), bytes) == 0) return 0;
  const int characters = MultiByteToWideChar(CP_ACP, 0, ansi.get(), -1, nullptr, 0);
  if (size == 0) return characters;
  if (characters > size) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  return copyBack(ansi.get(), buffer, size) + 1;  // without memory 0
}

}  // namespace fendrel::charset
