#include "name_list.h"

#include <fmt/format.h>

#include <algorithm>

#include "failure.h"
#include "file_handle.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

std::string readAll(HANDLE handle, const std::string& subject) {
  std::string text;
  std::vector<char> block(64 * 1024);
  for (;;) {
    DWORD read = 0;
    if (!ReadFile(handle, block.data(), static_cast<DWORD>(block.size()), &read, nullptr)) {
      if (const DWORD error = GetLastError(); error != ERROR_BROKEN_PIPE && error != ERROR_HANDLE_EOF)
        throw systemFailure(ExitCode::failed, subject + " cannot be read", error);
      return text;
    }
    if (read == 0) return text;
    text.append(block.data(), read);
  }
}

}  // namespace

std::vector<std::string> readNameList(const std::string& file, bool nulSeparated) {
  const std::string subject = file == "-" ? "Standard input" : fmt::format("'{}'", printable(file));
  std::string text;
  if (file == "-") {
    text = readAll(GetStdHandle(STD_INPUT_HANDLE), subject);
  } else {
    const FileHandle handle = openToRead(longPath(fullPath(file)), FILE_SHARE_READ | FILE_SHARE_WRITE);
    if (!handle) throw systemFailure(ExitCode::failed, subject + " cannot be read", GetLastError());
    text = readAll(handle.get(), subject);
  }
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
  if (!nulSeparated) std::ranges::replace(text, '\n', '\0');
  std::vector<std::string> names;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\0', start), text.size());
    std::string name = text.substr(start, end - start);
    if (!nulSeparated && name.ends_with('\r')) name.pop_back();
    if (!name.empty()) names.push_back(std::move(name));
    start = end + 1;
  }
  return names;
}

}  // namespace fendrel::host
