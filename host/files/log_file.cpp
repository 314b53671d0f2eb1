#include "log_file.h"

#include <windows.h>

#include <fmt/format.h>

#include "failure.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

// Appends all bytes; else returns the system's error.
DWORD appendTo(const std::wstring& path, std::string_view bytes) {
  const HANDLE handle =
      CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return GetLastError();
  DWORD written = 0;
  const bool done = WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  const DWORD error = done ? (written == bytes.size() ? ERROR_SUCCESS : ERROR_DISK_FULL) : GetLastError();
  CloseHandle(handle);
  return error;
}

}  // namespace

LogFile::LogFile(std::string file) : given_(std::move(file)), path_(longPath(fullPath(given_))) {
  if (const DWORD error = appendTo(path_, {}); error != ERROR_SUCCESS)
    throw systemFailure(ExitCode::failed, fmt::format("Log file '{}' cannot be written", printable(given_)), error);
}

bool LogFile::append(std::string_view level, std::string_view event, std::string_view file,
                     std::string_view words) const {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  return appendTo(path_, fmt::format("{}\t{}\t{}\t{}\t{}\n", utcTime(now), level, event, printable(file),
                                     printable(words))) == ERROR_SUCCESS;
}

}  // namespace fendrel::host
