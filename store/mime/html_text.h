// The words of a text in HTML.
#pragma once

#include <string>
#include <string_view>

namespace fendrel::mime {

// Plain text for people who cannot see the HTML: tags, comments, style and script removed, blanks joined, a line for each
// block, the usual character references replaced. UTF-8; lines end with CR LF. Anything is taken, nothing is refused.
std::string textOfHtml(std::string_view html);

}  // namespace fendrel::mime
