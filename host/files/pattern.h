// Patterns of file names and texts: '*' matches any characters, '?' one; case is ignored.
#pragma once

#include <string_view>

namespace fendrel::host {

bool matchesPattern(std::wstring_view text, std::wstring_view pattern);

}  // namespace fendrel::host
