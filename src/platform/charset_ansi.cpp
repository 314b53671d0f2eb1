#include "charset_ansi.h"

#include <algorithm>
#include <cstring>
#include <cwchar>

namespace fendrel::charset {
namespace {

// `length` without a trailing lead byte.
int wholeCharacters(const char* text, int length) noexcept {
  int position = 0;
  while (position < length) {
    const int next = position + (IsDBCSLeadByte(static_cast<BYTE>(text[position])) ? 2 : 1);
    if (next > length) break;
    position = next;
  }
  return position;
}

}  // namespace

AnsiArgument::AnsiArgument(const wchar_t* wide, Integers integers) noexcept {
  if (integers == Integers::kept && IS_INTRESOURCE(wide)) {
    text_ = reinterpret_cast<const char*>(wide);
    return;
  }
  ok_ = !wide || WideToAnsiAlloc(wide, converted_) != 0;
  text_ = converted_.get();
  if (!ok_) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
}

HeapAnsiText ansiList(const wchar_t* list) noexcept {
  if (!list) return nullptr;
  std::size_t length = 0;
  while (list[length] != 0) length += std::wcslen(list + length) + 1;
  const int characters = static_cast<int>(length) + 1;
  HeapAnsiText ansi = ansiBuffer(2 * (length + 1));
  if (ansi && WideCharToMultiByte(CP_ACP, 0, list, characters, ansi.get(), 2 * characters, nullptr, nullptr) == 0) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    ansi.reset();
  }
  return ansi;
}

HeapAnsiText ansiBuffer(std::size_t size) noexcept {
  HeapAnsiText buffer(static_cast<char*>(std::calloc(size + 1, 1)));
  if (!buffer) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return buffer;
}

WideResult::WideResult(const char* text, int length) noexcept {
  length = wholeCharacters(text, length);
  if (length == 0) return;
  text_.reset(static_cast<wchar_t*>(std::calloc(static_cast<std::size_t>(length), sizeof(wchar_t))));
  if (text_) length_ = MultiByteToWideChar(CP_ACP, 0, text, length, text_.get(), length);
  ok_ = length_ != 0;
  if (!ok_) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
}

WideResult::WideResult(const char* text) noexcept : WideResult(text, text ? static_cast<int>(std::strlen(text)) : 0) {}

int WideResult::copyTo(wchar_t* buffer, int size) const noexcept {
  if (size <= 0 || !buffer) return 0;
  const int copied = std::min(length_, size - 1);
  if (copied != 0) std::wmemcpy(buffer, text_.get(), static_cast<std::size_t>(copied));
  buffer[copied] = 0;
  return copied;
}

int copyBack(const char* text, int length, wchar_t* buffer, int size) noexcept {
  const WideResult wide(text, length);
  return wide.isOk() ? wide.copyTo(buffer, size) : -1;
}

int copyBack(const char* text, wchar_t* buffer, int size) noexcept {
  return copyBack(text, static_cast<int>(std::strlen(text)), buffer, size);
}

}  // namespace fendrel::charset
