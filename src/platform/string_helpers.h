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

// A copy of `text`, null for null. 1 when there is a copy, else 0.
int DupWide(HeapText& result, const wchar_t* text) noexcept;

// `text` from the ANSI code page in a block of twice the room that it needs. The characters written with the terminator,
// or 0 and null.
int AnsiToWideNew(const char* text, HeapText& result) noexcept;

// Bytes with their number.
struct ByteBuffer {
  std::uint32_t size = 0;
  std::unique_ptr<std::byte[], HeapFree> data;
};

// Frees what the buffer held and copies `size` bytes, none when that is 0. True when data is held afterwards.
bool ByteBufferAssign(ByteBuffer& buffer, std::uint32_t size, const void* data) noexcept;
void ByteBufferFree(ByteBuffer& buffer) noexcept;

}  // namespace fendrel
