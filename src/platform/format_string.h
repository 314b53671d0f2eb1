// Bounded formatting of messages.
#pragma once

#include <cstddef>

namespace fendrel {

// Formats into `buffer` of `count` characters, always terminated, truncated if necessary. Returns the characters
// written without the terminator.
int FormatString(wchar_t* buffer, std::size_t count, const wchar_t* format, ...) noexcept;

}  // namespace fendrel
