#include "jobs/moved_file.h"

#include <fmt/format.h>

#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

constexpr unsigned highestCopy = 10000;

std::wstring directoryPath(const std::string& directory) {
  std::wstring full = fullPath(directory);
  while (full.size() > 3 && full.back() == L'\\') full.pop_back();
  return full;
}

}  // namespace

std::string moveFileInto(const InputFile& file, const std::string& directory) {
  const std::wstring folder = directoryPath(directory);
  makeDirectory(folder);
  for (unsigned number = 1;; ++number) {
    const std::wstring name = number == 1 ? file.name : numberedFileName(file.name, number);
    const std::wstring to = longPath(folder + L'\\' + name);
    if (MoveFileExW(file.path.c_str(), to.c_str(), MOVEFILE_COPY_ALLOWED | MOVEFILE_WRITE_THROUGH))
      return joinedForDisplay(directory, toUtf8(name));
    const DWORD error = GetLastError();
    const bool isTaken = error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS ||
                         (error == ERROR_ACCESS_DENIED && GetFileAttributesW(to.c_str()) != INVALID_FILE_ATTRIBUTES);
    if (!isTaken || number == highestCopy)
      throw systemFailure(ExitCode::failed, fmt::format("'{}' cannot be moved to '{}'", printable(file.given),
                                                        printable(directory)), error);
  }
}

bool isBelow(const std::wstring& path, const std::string& directory) {
  const std::wstring folder = longPath(directoryPath(directory) + L'\\');
  return path.size() >= folder.size() &&
         CompareStringOrdinal(path.data(), static_cast<int>(folder.size()), folder.data(),
                              static_cast<int>(folder.size()), TRUE) == CSTR_EQUAL;
}

}  // namespace fendrel::host
