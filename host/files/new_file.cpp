#include "new_file.h"

#include <fmt/format.h>

#include <atomic>

#include "export_names.h"
#include "failure.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

constexpr unsigned highestNumber = 10000;

std::wstring temporaryName() {
  static std::atomic<unsigned> counter{0};
  return toWide(fmt::format("fendrel-{}-{}.part", GetCurrentProcessId(), ++counter));
}

// ERROR_ALREADY_EXISTS if the name is in use, also by a directory, for which systems return different errors.
DWORD moveUnlessTaken(const std::wstring& from, const std::wstring& to, DWORD flags) {
  if (MoveFileExW(from.c_str(), to.c_str(), flags)) return ERROR_SUCCESS;
  const DWORD error = GetLastError();
  const bool isTaken = error == ERROR_FILE_EXISTS ||
                       (error == ERROR_ACCESS_DENIED && GetFileAttributesW(to.c_str()) != INVALID_FILE_ATTRIBUTES);
  return isTaken ? ERROR_ALREADY_EXISTS : error;
}

}  // namespace

void makeDirectory(const std::wstring& full) {
  const DWORD attributes = GetFileAttributesW(longPath(full).c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES) {
    if (attributes & FILE_ATTRIBUTE_DIRECTORY) return;
    throw systemFailure(ExitCode::failed, fmt::format("'{}' is not a directory", printable(full)), ERROR_DIRECTORY);
  }
  const std::size_t separator = full.find_last_of(L'\\');
  if (separator != std::wstring::npos && separator > 2) makeDirectory(full.substr(0, separator));
  if (!CreateDirectoryW(longPath(full).c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
    throw systemFailure(ExitCode::failed, fmt::format("Directory '{}' cannot be made", printable(full)),
                        GetLastError());
}

NewFile::NewFile(const std::wstring& directory)
    : folder_(directory),
      temporary_(longPath(directory + L'\\' + temporaryName())),
      handle_(
          CreateFileW(temporary_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)) {
  if (handle_ == INVALID_HANDLE_VALUE)
    throw systemFailure(ExitCode::failed, fmt::format("No file can be made in '{}'", printable(directory)),
                        GetLastError());
}

NewFile::~NewFile() {
  close();
  if (!named_) DeleteFileW(temporary_.c_str());
}

void NewFile::write(const void* bytes, std::size_t size) {
  constexpr std::size_t mostAtOnce = 1 << 24;
  const auto* next = static_cast<const char*>(bytes);
  while (size > 0) {
    DWORD written = 0;
    if (!WriteFile(handle_, next, static_cast<DWORD>(size < mostAtOnce ? size : mostAtOnce), &written, nullptr) ||
        written == 0)
      throw systemFailure(ExitCode::failed, fmt::format("A file in '{}' cannot be written", printable(folder_)),
                          GetLastError());
    next += written;
    size -= written;
  }
}

const std::wstring& NewFile::handOver() {
  close();
  return temporary_;
}

std::wstring NewFile::giveName(const std::wstring& wanted, bool replace) {
  finish();
  // On a file system that counts bytes, Wine would silently truncate the name, extension first.
  std::wstring name = shortFileName(wanted);
  DWORD error = ERROR_SUCCESS;
  if (!replace)
    error = moveToFreeName(temporary_, folder_, name, 0, name);
  else if (!MoveFileExW(temporary_.c_str(), longPath(folder_ + L'\\' + name).c_str(), MOVEFILE_REPLACE_EXISTING))
    error = GetLastError();
  if (error != ERROR_SUCCESS) refuseName(name, error);
  named_ = true;
  return name;
}

bool NewFile::giveExactName(const std::wstring& name) {
  finish();
  const DWORD error = moveUnlessTaken(temporary_, longPath(folder_ + L'\\' + name), 0);
  if (error != ERROR_SUCCESS && error != ERROR_ALREADY_EXISTS) refuseName(name, error);
  named_ = error == ERROR_SUCCESS;
  return named_;
}

void NewFile::refuseName(const std::wstring& name, DWORD error) const {
  throw systemFailure(ExitCode::failed, fmt::format("'{}' cannot be written", printable(name)), error);
}

void NewFile::close() {
  if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
  handle_ = INVALID_HANDLE_VALUE;
}

// A file with its final name must be complete after a power cut, too.
void NewFile::finish() {
  if (handle_ == INVALID_HANDLE_VALUE)
    handle_ = CreateFileW(temporary_.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle_ == INVALID_HANDLE_VALUE || !FlushFileBuffers(handle_))
    throw systemFailure(ExitCode::failed, fmt::format("A file in '{}' cannot be written", printable(folder_)),
                        GetLastError());
  close();
}

DWORD moveToFreeName(const std::wstring& from, const std::wstring& directory, const std::wstring& wanted, DWORD flags,
                     std::wstring& name) {
  const std::wstring base = wanted;  // `name` may be the same object
  for (unsigned number = 1;; ++number) {
    name = number == 1 ? base : numberedFileName(base, number);
    const DWORD error = moveUnlessTaken(from, longPath(directory + L'\\' + name), flags);
    if (error != ERROR_ALREADY_EXISTS || number == highestNumber) return error;
  }
}

void deleteUnfinishedFiles(const std::wstring& directory) {
  WIN32_FIND_DATAW found;
  const HANDLE search = FindFirstFileW(longPath(directory + L"\\fendrel-*.part").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    // A file that is being written cannot be deleted: its writer opened it without sharing.
    if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
      DeleteFileW(longPath(directory + L'\\' + found.cFileName).c_str());
  } while (FindNextFileW(search, &found));
  FindClose(search);
}

}  // namespace fendrel::host
