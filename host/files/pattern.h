// Patterns of file names and of texts: '*' is any run of characters, '?' one; upper and lower case are alike.
#pragma once

#include <string_view>

namespace fendrel::host {

bool matchesPattern(std::wstring_view text, std::wstring_view pattern);

}  // namespace fendrel::host
