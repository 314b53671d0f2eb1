// UTF-16 to UTF-8 and back without loss: an unpaired surrogate becomes the three bytes that its number would take,
// so that any text a caller can hand in comes out again unchanged.
#pragma once

#include <string>
#include <string_view>

namespace fendrel::store {

std::string toUtf8(std::u16string_view text);

// False if the bytes are not what toUtf8 writes.
bool fromUtf8(std::string_view bytes, std::u16string& text);

std::string toUtf8(std::wstring_view path);

}  // namespace fendrel::store
