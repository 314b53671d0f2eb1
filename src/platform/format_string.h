// Bounded formatting of messages.
#pragma once

#include <cstddef>

namespace fendrel {

// Formats into `buffer` of `count` characters, always terminated; a text that does not fit is cut.
// Returns the characters written without the terminator.
int FormatString(wchar_t* buffer, std::size_t count, const wchar_t* format, ...) noexcept;

}  // namespace fendrel
