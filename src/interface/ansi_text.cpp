#include "ansi_text.h"

#include <cstring>
#include <cwchar>
#include <new>

#include "charset_mode.h"

namespace fendrel {

UINT g_ansiCodePage;

UINT chooseAnsiCodePage() noexcept { return IsWinNTMajor5OrLater() ? CP_THREAD_ACP : CP_ACP; }

HeapAnsiText ansiFromWide(const wchar_t* text) {
  if (!text) return nullptr;
  const std::size_t size = 3 * std::wcslen(text) + 1;
  HeapAnsiText ansi(static_cast<char*>(std::calloc(size, 1)));
  if (!ansi) throw std::bad_alloc();
  if (WideCharToMultiByte(g_ansiCodePage, 0, text, -1, ansi.get(), static_cast<int>(size), nullptr, nullptr) == 0)
    ansi[0] = 0;
  return ansi;
}

HeapText wideFromAnsiHost(const char* text) {
  if (!text) return nullptr;
  const std::size_t capacity = std::strlen(text) + 1;
  HeapText wide(static_cast<wchar_t*>(std::calloc(capacity, sizeof(wchar_t))));
  if (!wide) throw std::bad_alloc();
  if (MultiByteToWideChar(g_ansiCodePage, 0, text, -1, wide.get(), static_cast<int>(capacity)) == 0) wide[0] = 0;
  return wide;
}

}  // namespace fendrel
