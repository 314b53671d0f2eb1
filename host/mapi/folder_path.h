// Folder paths: display names joined by '@', message store first.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace fendrel::host {

// The plug-in reads at most so many characters of one name of a path.
inline constexpr std::size_t longestName = 79;

// One step of a walk: which name the front of the path means, and the path after it (absent for the last).
struct PathStep {
  std::size_t index;
  std::optional<std::wstring_view> rest;
};

// The path up to its first '@'.
std::wstring_view firstComponent(std::wstring_view path);

// The path after its first '@'; absent when it has none.
std::optional<std::wstring_view> behindFirstComponent(std::wstring_view path);

// Which of `names` the front of `path` means, the way the plug-in reads it. The first name that equals the
// component, case counted, wins. A name may itself hold an '@' (mailboxes are often named by their address): where no
// name equals the component, the longest such name that the path begins with wins.
std::optional<PathStep> matchFront(std::wstring_view path, std::span<const std::wstring> names);

}  // namespace fendrel::host
