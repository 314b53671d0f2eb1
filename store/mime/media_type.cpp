#include "media_type.h"

#include <algorithm>

namespace fendrel::mime {
namespace {

struct MediaType {
  std::string_view extension, type;
};

// Made by CMake out of the system's table, in the order of extensions.
constexpr MediaType knownTypes[] = {
#include "media_types.inc"
    {"\x7F", ""}  // after all others
};
static_assert(std::ranges::is_sorted(knownTypes, {}, &MediaType::extension));

}  // namespace

std::string mediaTypeOf(std::string_view fileName) {
  const std::size_t dot = fileName.find_last_of('.');
  std::string extension(dot == std::string_view::npos ? std::string_view() : fileName.substr(dot + 1));
  for (char& c : extension)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  const auto* found = std::ranges::lower_bound(knownTypes, std::string_view(extension), {}, &MediaType::extension);
  if (found == std::end(knownTypes) || extension.empty() || found->extension != extension)
    return "application/octet-stream";
  return std::string(found->type);
}

}  // namespace fendrel::mime
