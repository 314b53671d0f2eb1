// Asks the system which memory is readable.
#pragma once

#include <cstddef>

namespace fendrel {

// The number of bytes from `start` on, at most `wanted`, in committed, readable pages.
std::size_t readableBytes(const void* start, std::size_t wanted) noexcept;

// Whether the text can be read up to its terminator.
bool isReadableText(const char* text) noexcept;
bool isReadableText(const wchar_t* text) noexcept;

}  // namespace fendrel
