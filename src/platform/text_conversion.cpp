#include "text_conversion.h"

#include <cwchar>

namespace fendrel {

int AnsiToWideAlloc(const char* text, HeapText& result) noexcept {
  result.reset();
  if (!text) return 0;
  const int length = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
  if (length <= 0) return 0;
  result.reset(static_cast<wchar_t*>(std::malloc(sizeof(wchar_t) * static_cast<size_t>(length))));
  if (!result) return 0;
  const int written = MultiByteToWideChar(CP_ACP, 0, text, -1, result.get(), length);
  if (written == 0) result.reset();
  return written;
}

int WideToAnsiAlloc(const wchar_t* text, HeapAnsiText& result, UINT codePage) noexcept {
  result.reset();
  if (!text) return 0;
  const int size = WideCharToMultiByte(codePage, 0, text, -1, nullptr, 0, nullptr, nullptr);
  if (size <= 0) return 0;
  result.reset(static_cast<char*>(std::malloc(static_cast<size_t>(size))));
  if (!result) return 0;
  const int written = WideCharToMultiByte(codePage, 0, text, -1, result.get(), size, nullptr, nullptr);
  if (written == 0) result.reset();
  return written;
}

int WideToAnsiInto(const wchar_t* text, char* buffer, int size, UINT codePage) noexcept {
  if (!text || !buffer || size < 0 || static_cast<size_t>(size) < std::wcslen(text) + 1) return 0;
  return WideCharToMultiByte(codePage, 0, text, -1, buffer, size, nullptr, nullptr);
}

int WideToAnsiPrefixAlloc(const wchar_t* text, int maxChars, HeapAnsiText& result, UINT codePage) noexcept {
  result.reset();
  if (!text || maxChars < 0) return 0;
  result.reset(static_cast<char*>(std::calloc(static_cast<size_t>(maxChars) + 1, 1)));
  if (!result) return 0;
  const int length = static_cast<int>(wcsnlen(text, static_cast<size_t>(maxChars)));
  const int written =
      length == 0 ? 0 : WideCharToMultiByte(codePage, 0, text, length, result.get(), maxChars, nullptr, nullptr);
  if (length != 0 && written == 0) result.reset();
  return written;
}

std::optional<std::wstring> wideFromAnsi(const char* text) {
  if (!text) return std::nullopt;
  const int length = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
  if (length <= 0) return std::nullopt;
  std::wstring wide(static_cast<std::size_t>(length), L'\0');
  if (MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), length) == 0) return std::nullopt;
  wide.pop_back();  // the terminator
  return wide;
}

}  // namespace fendrel
