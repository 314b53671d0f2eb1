// Converts between the system's UTF-16 and the network's UTF-8. Invalid parts become U+FFFD.
#pragma once

#include <string>
#include <string_view>

namespace fendrel::jmap {

std::wstring toWide(std::string_view utf8);
std::string toUtf8(std::wstring_view text);

}  // namespace fendrel::jmap
