// The media type that a file's extension stands for.
#pragma once

#include <string>
#include <string_view>

namespace fendrel::mime {

// "application/pdf" for "sales.pdf"; "application/octet-stream" for what is not in the table.
std::string mediaTypeOf(std::string_view fileName);

}  // namespace fendrel::mime
