#include "well_formed.h"

#include "unicode.h"

namespace fendrel::mime {

std::string wellFormedUtf8(std::u16string_view text) {
  const auto isFirst = [](char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; };
  const auto isSecond = [](char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; };
  std::u16string clean(text);
  for (std::size_t at = 0; at < clean.size(); ++at) {
    if (isFirst(clean[at]) && at + 1 < clean.size() && isSecond(clean[at + 1]))
      ++at;
    else if (isFirst(clean[at]) || isSecond(clean[at]))
      clean[at] = u'\xFFFD';
  }
  return store::toUtf8(clean);
}

}  // namespace fendrel::mime
