// Conversions between UTF-16 and an 8-bit code page.
#pragma once

#include <windows.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

namespace fendrel {

struct HeapFree {
  void operator()(void* block) const noexcept { std::free(block); }
};

// Text in a block from malloc.
using HeapText = std::unique_ptr<wchar_t[], HeapFree>;
using HeapAnsiText = std::unique_ptr<char[], HeapFree>;

// The following four return the number of characters or bytes written, terminator included, and 0 on failure;
// the allocating ones then leave `result` null.

// Converts all of `text` from the system's ANSI code page. A null text gives a null result and 0.
int AnsiToWideAlloc(const char* text, HeapText& result) noexcept;

// Converts all of `text` into `codePage`. A null text gives a null result and 0.
int WideToAnsiAlloc(const wchar_t* text, HeapAnsiText& result, UINT codePage = CP_ACP) noexcept;

// Converts all of `text` into the caller's buffer of `size` bytes; fails when `size` is smaller than the wide
// length + 1.
int WideToAnsiInto(const wchar_t* text, char* buffer, int size, UINT codePage = CP_ACP) noexcept;

// Converts at most `maxChars` characters into a new zero-filled buffer of `maxChars` + 1 bytes.
int WideToAnsiPrefixAlloc(const wchar_t* text, int maxChars, HeapAnsiText& result, UINT codePage = CP_ACP) noexcept;

// Converts `text` from the system's ANSI code page; nothing if it is null or cannot be converted. Throws
// std::bad_alloc.
std::optional<std::wstring> wideFromAnsi(const char* text);

}  // namespace fendrel
