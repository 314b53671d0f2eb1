// Walks a folder path: display names joined by '@', from the message store on. Portable: no system header.
#pragma once

#include <cstddef>
#include <string_view>

namespace fendrel {

// The longest component that can name a folder, in characters.
inline constexpr std::size_t maxComponentLength = 79;

// The part of a path that is not yet matched, and how the names of one level match it.
//
// A name that equals the text up to the next '@' matches exactly. Mail systems also name mailboxes by their address, so
// a name may contain '@': it matches if the rest of the path begins with it, followed by '@' or the end. An exact match
// takes precedence, then the longest match.
template <class Char>
class FolderPath {
 public:
  using View = std::basic_string_view<Char>;
  static constexpr Char separator = Char('@');

  explicit FolderPath(View path) noexcept : rest_(path), atEnd_(path.empty()) {}

  // True when no component is left.
  bool atEnd() const noexcept { return atEnd_; }

  // The text up to the next separator.
  View component() const noexcept { return rest_.substr(0, rest_.find(separator)); }

  // A component that is too long matches nothing: truncated it could name another folder.
  bool matchesExactly(View name) const noexcept {
    return component().size() <= maxComponentLength && name == component();
  }

  // True for a name containing '@' with which the rest of the path begins.
  bool matchesAddress(View name) const noexcept {
    return name.find(separator) != View::npos && rest_.starts_with(name) &&
           (rest_.size() == name.size() || rest_[name.size()] == separator);
  }

  // Steps past a matched name of `length` characters.
  void advance(std::size_t length) noexcept {
    atEnd_ = rest_.size() == length;
    rest_.remove_prefix(atEnd_ ? length : length + 1);
  }

 private:
  View rest_;
  bool atEnd_;
};

}  // namespace fendrel
