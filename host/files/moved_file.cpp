#include "moved_file.h"

#include <fmt/format.h>

#include "new_file.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

std::wstring directoryPath(const std::string& directory) {
  std::wstring full = fullPath(directory);
  while (full.size() > 3 && full.back() == L'\\') full.pop_back();
  return full;
}

}  // namespace

std::string moveFileInto(const InputFile& file, const std::string& directory) {
  const std::wstring folder = directoryPath(directory);
  makeDirectory(folder);
  std::wstring name;
  const DWORD error =
      moveToFreeName(file.path, folder, file.name, MOVEFILE_COPY_ALLOWED | MOVEFILE_WRITE_THROUGH, name);
  if (error != ERROR_SUCCESS)
    throw systemFailure(ExitCode::failed,
                        fmt::format("'{}' cannot be moved to '{}'", printable(file.given), printable(directory)),
                        error);
  return joinedForDisplay(directory, toUtf8(name));
}

bool isBelow(const std::wstring& path, const std::string& directory) {
  const std::wstring folder = longPath(directoryPath(directory) + L'\\');
  return path.size() >= folder.size() &&
         CompareStringOrdinal(path.data(), static_cast<int>(folder.size()), folder.data(),
                              static_cast<int>(folder.size()), TRUE) == CSTR_EQUAL;
}

}  // namespace fendrel::host
