#include "folder_path.h"

namespace fendrel::host {

std::wstring_view firstComponent(std::wstring_view path) { return path.substr(0, path.find(L'@')); }

std::optional<std::wstring_view> behindFirstComponent(std::wstring_view path) {
  const std::size_t separator = path.find(L'@');
  if (separator == std::wstring_view::npos) return std::nullopt;
  return path.substr(separator + 1);
}

std::optional<PathStep> matchFront(std::wstring_view path, std::span<const std::wstring> names) {
  const std::wstring_view component = firstComponent(path);
  for (std::size_t index = 0; index < names.size(); ++index)
    if (names[index] == component) return PathStep{index, behindFirstComponent(path)};
  std::optional<PathStep> longest;
  std::size_t longestLength = 0;
  for (std::size_t index = 0; index < names.size(); ++index) {
    const std::wstring& name = names[index];
    if (name.find(L'@') == std::wstring::npos || !path.starts_with(name)) continue;
    const bool whole = path.size() == name.size();
    if ((!whole && path[name.size()] != L'@') || name.size() <= longestLength) continue;
    longestLength = name.size();
    longest = PathStep{index, whole ? std::nullopt : std::optional(path.substr(name.size() + 1))};
  }
  return longest;
}

}  // namespace fendrel::host
