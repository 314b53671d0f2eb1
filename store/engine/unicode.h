// UTF-16 to UTF-8 and back without loss: an unpaired surrogate becomes the three bytes of its number, so that any text
// is returned unchanged.
#pragma once

#include <string>
#include <string_view>

namespace fendrel::store {

std::string toUtf8(std::u16string_view text);

// False if the bytes are not a result of toUtf8.
bool fromUtf8(std::string_view bytes, std::u16string& text);

std::string toUtf8(std::wstring_view path);

}  // namespace fendrel::store
