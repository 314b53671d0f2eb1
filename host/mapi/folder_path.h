// Folder paths: display names joined by '@', from the message store on.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace fendrel::host {

// The longest name that the plug-in can find in a path.
inline constexpr std::size_t longestName = 79;

// One step along a path: the index of the matched name, and the rest of the path (absent after the last).
struct PathStep {
  std::size_t index;
  std::optional<std::wstring_view> rest;
};

// The path up to its first '@'.
std::wstring_view firstComponent(std::wstring_view path);

// The path after its first '@'; absent if it has none.
std::optional<std::wstring_view> behindFirstComponent(std::wstring_view path);

// Finds the one of `names` with which `path` begins, like the plug-in. The first name that equals the component, with
// case, wins. A name may contain '@' (mailboxes are often named by their address): if no name equals the component, the
// longest such name with which the path begins wins.
std::optional<PathStep> matchFront(std::wstring_view path, std::span<const std::wstring> names);

}  // namespace fendrel::host
