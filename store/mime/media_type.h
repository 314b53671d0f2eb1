// The media type of a file's extension.
#pragma once

#include <string>
#include <string_view>

namespace fendrel::mime {

// "application/pdf" for "sales.pdf"; "application/octet-stream" for an unknown extension.
std::string mediaTypeOf(std::string_view fileName);

}  // namespace fendrel::mime
