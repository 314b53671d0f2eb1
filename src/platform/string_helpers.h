// Small helpers for text and bytes in blocks from malloc.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "text_conversion.h"

namespace fendrel {

// Removes one final slash or backslash, in place.
void StripTrailingSlash(wchar_t* path) noexcept;

// A copy of `text`, null for null. 1 if there is a copy, else 0.
int DupWide(HeapText& result, const wchar_t* text) noexcept;

// Converts `text` from the ANSI code page into a block of twice the required size. Returns the characters written with
// the terminator, or 0 and null.
int AnsiToWideNew(const char* text, HeapText& result) noexcept;

// Bytes and their number.
struct ByteBuffer {
  std::uint32_t size = 0;
  std::unique_ptr<std::byte[], HeapFree> data;
};

// Replaces the buffer's bytes by a copy of `size` bytes. True if it then holds data.
bool ByteBufferAssign(ByteBuffer& buffer, std::uint32_t size, const void* data) noexcept;
void ByteBufferFree(ByteBuffer& buffer) noexcept;

}  // namespace fendrel
