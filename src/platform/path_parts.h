// Splits file names like the C runtime. Portable: any character type, no system header.
#pragma once

#include <string>
#include <string_view>

namespace fendrel {

// drive + directory + name + extension is the path again.
template <class Char>
struct PathParts {
  std::basic_string_view<Char> drive;      // "C:" or empty
  std::basic_string_view<Char> directory;  // up to and including the last slash or backslash
  std::basic_string_view<Char> name;
  std::basic_string_view<Char> extension;  // from the last dot on, including it
};

template <class Char>
constexpr PathParts<Char> splitPath(std::basic_string_view<Char> path) {
  using View = std::basic_string_view<Char>;
  PathParts<Char> parts;
  if (path.size() >= 2 && path[1] == Char(':')) {
    parts.drive = path.substr(0, 2);
    path.remove_prefix(2);
  }
  constexpr Char slashes[] = {Char('/'), Char('\\')};
  if (const auto slash = path.find_last_of(View(slashes, 2)); slash != View::npos) {
    parts.directory = path.substr(0, slash + 1);
    path.remove_prefix(slash + 1);
  }
  const auto dot = path.rfind(Char('.'));
  parts.name = path.substr(0, dot);
  if (dot != View::npos) parts.extension = path.substr(dot);
  return parts;
}

inline PathParts<wchar_t> splitPath(const std::wstring& path) { return splitPath(std::wstring_view(path)); }

// The text after the last dot of `name`, empty without a dot.
template <class Char>
constexpr std::basic_string_view<Char> extensionOf(std::basic_string_view<Char> name) {
  const auto dot = name.rfind(Char('.'));
  return dot == name.npos ? std::basic_string_view<Char>() : name.substr(dot + 1);
}

}  // namespace fendrel
