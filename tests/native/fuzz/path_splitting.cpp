// Any text as a file path and as a folder path: the parts together are the text.
//
// Input: text in UTF-16 units.
#include <string>

#include "folder_path.h"
#include "fuzz.h"
#include "path_parts.h"

using namespace fendrel;

namespace {

template <class Char>
void splitFile(const std::basic_string<Char>& text) {
  using View = std::basic_string_view<Char>;
  const auto parts = splitPath(View(text));
  std::basic_string<Char> joined(parts.drive);
  joined.append(parts.directory).append(parts.name).append(parts.extension);
  require(joined == text, "the parts are the path");
  require(parts.drive.empty() || parts.drive.size() == 2, "a drive has two characters");
  require(parts.name.find(Char('\\')) == View::npos && parts.extension.find(Char('/')) == View::npos,
          "a file name has no slash");
  require(parts.extension.empty() || parts.extension.front() == Char('.'), "an extension begins with its dot");
  const View extension = extensionOf(View(text));
  require(extension.find(Char('.')) == View::npos, "an extension has no dot");
  require(text.ends_with(extension), "an extension ends the name");
}

template <class Char>
void walkFolders(const std::basic_string<Char>& text) {
  using View = std::basic_string_view<Char>;
  FolderPath<Char> path{View(text)};
  std::basic_string<Char> joined;
  std::size_t steps = 0;
  while (!path.atEnd()) {
    const View component = path.component();
    require(component.find(Char('@')) == View::npos, "a component has no separator");
    require(path.matchesExactly(component) == (component.size() <= maxComponentLength), "79 characters can match");
    require(!path.matchesAddress(component), "a plain component is not an address");
    if (steps++ != 0) joined += Char('@');
    joined.append(component);
    path.advance(component.size());
    require(steps <= text.size() + 1, "the walk ends");
  }
  require(joined == text, "the components are the path");
  const FolderPath<Char> whole{View(text)};
  if (text.find(Char('@')) != text.npos) require(whole.matchesAddress(text), "a whole path matches as an address");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string narrow(reinterpret_cast<const char*>(data), size);
  std::u16string wide;
  for (std::size_t at = 0; at + 1 < size; at += 2) wide += static_cast<char16_t>(data[at] | data[at + 1] << 8);
  splitFile(narrow);
  splitFile(wide);
  walkFolders(narrow);
  walkFolders(wide);
  return 0;
}
