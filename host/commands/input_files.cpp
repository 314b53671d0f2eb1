#include "input_files.h"

#include <windows.h>

#include <fmt/format.h>

#include <memory>

#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct HandleCloser {
  void operator()(void* handle) const noexcept { CloseHandle(handle); }
};
using FileHandle = std::unique_ptr<void, HandleCloser>;

// Opens a file with the same sharing as the plug-in does.
FileHandle openToRead(const std::wstring& path) {
  const HANDLE handle = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  return FileHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

InputFile lookAt(const std::string& given) {
  InputFile file;
  file.given = given;
  const std::string subject = fmt::format("'{}' was not posted, it cannot be read", printable(given));
  try {
    const std::wstring full = fullPath(given);
    file.name = fileNameOf(full);
    file.path = longPath(full);
  } catch (const Failure& failure) {
    file.problem = failure;
    return file;
  }
  const DWORD attributes = GetFileAttributesW(file.path.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY)) {
    file.problem = Failure(ExitCode::failed,
                           fmt::format("'{}' was not posted: it is a directory. Name the files in it.",
                                       printable(given)));
    return file;
  }
  const FileHandle handle = openToRead(file.path);
  LARGE_INTEGER size{};
  if (!handle || !GetFileSizeEx(handle.get(), &size)) {
    file.problem = systemFailure(ExitCode::failed, subject, GetLastError());
    return file;
  }
  file.size = static_cast<std::uint64_t>(size.QuadPart);
  return file;
}

}  // namespace

std::vector<InputFile> lookAtFiles(const std::vector<std::string>& given) {
  std::vector<InputFile> files;
  for (const std::string& argument : given)
    for (const std::string& each : expandPattern(argument)) files.push_back(lookAt(each));
  return files;
}

std::optional<std::uint64_t> sizeNow(const InputFile& file) {
  const FileHandle handle = openToRead(file.path);
  LARGE_INTEGER size{};
  if (!handle || !GetFileSizeEx(handle.get(), &size)) return std::nullopt;
  return static_cast<std::uint64_t>(size.QuadPart);
}

}  // namespace fendrel::host
