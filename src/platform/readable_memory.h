// Asks the system which memory may be read.
#pragma once

#include <cstddef>

namespace fendrel {

// The number of bytes from `start` on, at most `wanted`, that lie in committed, readable pages.
std::size_t readableBytes(const void* start, std::size_t wanted) noexcept;

// Whether the text's terminator stands where all before it can be read.
bool isReadableText(const char* text) noexcept;
bool isReadableText(const wchar_t* text) noexcept;

}  // namespace fendrel
