#include "formats/media_type.h"

#include <windows.h>

#include <algorithm>

#include "text.h"

namespace fendrel::host {
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

std::string mediaTypeOf(std::wstring_view fileName) {
  const std::size_t dot = fileName.find_last_of(L'.');
  std::wstring last(dot == std::wstring_view::npos ? std::wstring_view() : fileName.substr(dot + 1));
  CharLowerBuffW(last.data(), static_cast<DWORD>(last.size()));
  const std::string extension = toUtf8(last);
  const auto* found = std::ranges::lower_bound(knownTypes, std::string_view(extension), {}, &MediaType::extension);
  if (found == std::end(knownTypes) || extension.empty() || found->extension != extension)
    return "application/octet-stream";
  return std::string(found->type);
}

}  // namespace fendrel::host
