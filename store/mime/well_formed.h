// Text for mail and JSON, whose UTF-8 must be well-formed; the store's UTF-16 may contain anything.
#pragma once

#include <string>
#include <string_view>

namespace fendrel::mime {

// Half a surrogate pair becomes U+FFFD.
std::string wellFormedUtf8(std::u16string_view text);

}  // namespace fendrel::mime
