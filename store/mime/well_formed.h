// Text that may leave: the store's own UTF-16 may hold anything, UTF-8 in a mail or in JSON may not.
#pragma once

#include <string>
#include <string_view>

namespace fendrel::mime {

// Half a surrogate pair becomes U+FFFD.
std::string wellFormedUtf8(std::u16string_view text);

}  // namespace fendrel::mime
