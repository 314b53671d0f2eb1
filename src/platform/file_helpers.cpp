#include "file_helpers.h"

#include <cwchar>

#include "charset_file.h"
#include "string_helpers.h"

namespace fendrel {
namespace {

struct ErrorCode {
  DWORD systemError;
  FileCode code;
};
constexpr ErrorCode errorCodes[] = {
    {0, fileSuccess},       {2, fileNotFound},      {3, fileNotFound},        {4, fileTooManyOpen},
    {5, fileAccessDenied},  {6, fileInvalidHandle}, {8, fileOutOfMemory},     {12, fileAccessDenied},
    {14, fileOutOfMemory},  {15, fileNotFound},     {18, fileNoMore},         {19, fileAccessDenied},
    {21, fileAccessDenied}, {25, fileSeekFailed},   {32, fileAccessDenied},   {33, fileAccessDenied},
    {38, fileEnd},          {39, fileDiskFull},     {183, fileAlreadyExists},
};

DWORD systemAccess(std::uint16_t access) noexcept {
  if (access == openForWrite) return GENERIC_WRITE;
  if (access == openForReadWrite) return GENERIC_READ | GENERIC_WRITE;
  return GENERIC_READ;
}

DWORD systemShare(std::uint16_t share) noexcept {
  if (share == denyWrite) return FILE_SHARE_READ;
  if (share == denyRead) return FILE_SHARE_WRITE;
  if (share == denyNone) return FILE_SHARE_READ | FILE_SHARE_WRITE;
  return 0;
}

// A name that does not convert for the system cannot be opened.
HANDLE openHandle(const wchar_t* path, std::uint16_t access, std::uint16_t share, DWORD disposition,
                  DWORD flags) noexcept {
  try {
    return charset::createFile(path, systemAccess(access), systemShare(share), nullptr, disposition, flags, nullptr);
  } catch (int) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  }
}

// The outcome of a call as a 16-bit count.
constexpr std::uint16_t failedCount = 0xFFFF;

FileCode writeWhole(HANDLE handle, const void* bytes, std::uint16_t count) noexcept {
  std::uint16_t done = 0;
  return FileWrite(handle, count, done, bytes);
}

}  // namespace

FileCode MapLastError() noexcept {
  const DWORD error = GetLastError();
  for (const ErrorCode& known : errorCodes)
    if (known.systemError == error) return known.code;
  return fileOtherFailure;
}

FileCode FileOpen(const wchar_t* path, std::uint16_t access, std::uint16_t share, HANDLE& handle) noexcept {
  handle = openHandle(path, access, share, OPEN_EXISTING, 0);
  return handle == INVALID_HANDLE_VALUE ? fileNotFound : fileSuccess;
}

FileCode FileCreate(const wchar_t* path, std::uint16_t access, std::uint16_t share, HANDLE& handle) noexcept {
  SetLastError(ERROR_SUCCESS);
  handle = openHandle(path, access, share, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
  const FileCode code = MapLastError();
  if (handle == INVALID_HANDLE_VALUE) return code == fileSuccess ? fileOtherFailure : code;
  if (code == fileSuccess) return code;
  CloseHandle(handle);  // the file existed before
  handle = INVALID_HANDLE_VALUE;
  return code;
}

FileCode FileRead(HANDLE handle, std::uint16_t count, std::uint16_t& done, void* buffer) noexcept {
  DWORD bytes = 0;
  done = ReadFile(handle, buffer, count, &bytes, nullptr) ? static_cast<std::uint16_t>(bytes) : failedCount;
  if (done == failedCount) return fileAccessDenied;
  return done < count ? fileEnd : fileSuccess;
}

FileCode FileWrite(HANDLE handle, std::uint16_t count, std::uint16_t& done, const void* buffer) noexcept {
  DWORD bytes = 0;
  BOOL written = TRUE;
  if (count == 0)  // like the file calls of old systems: writing 0 bytes truncates the file here
    written = SetEndOfFile(handle);
  else
    written = WriteFile(handle, buffer, count, &bytes, nullptr);
  done = written ? static_cast<std::uint16_t>(bytes) : failedCount;
  if (done == failedCount) return fileAccessDenied;
  return done < count ? fileDiskFull : fileSuccess;
}

FileCode FileWriteLineBreak(HANDLE handle) noexcept {
  constexpr std::uint8_t lineBreak[] = {0x0D, 0x00, 0x0A, 0x00};
  return writeWhole(handle, lineBreak, sizeof lineBreak);
}

FileCode FileWriteEndMark(HANDLE handle) noexcept {
  constexpr std::uint8_t endMark[] = {0x1A, 0x00};
  std::uint32_t end = 0;
  if (const FileCode code = FileSeek(handle, seekFromEnd, 0, end)) return code;
  return writeWhole(handle, endMark, sizeof endMark);
}

FileCode FileFlush(HANDLE handle) noexcept {
  FlushFileBuffers(handle);
  return fileSuccess;
}

FileCode FileSeek(HANDLE handle, std::uint16_t origin, std::int32_t offset, std::uint32_t& newPosition) noexcept {
  SetLastError(ERROR_SUCCESS);
  const DWORD position = SetFilePointer(handle, offset, nullptr, origin);
  if (position == INVALID_SET_FILE_POINTER)
    if (const FileCode code = MapLastError()) return code;
  newPosition = position;
  return fileSuccess;
}

FileCode FileClose(HANDLE handle) noexcept { return CloseHandle(handle) ? fileSuccess : MapLastError(); }
FileCode FileDelete(const wchar_t* path) noexcept { return charset::deleteFile(path) ? fileSuccess : MapLastError(); }
FileCode FileMove(const wchar_t* from, const wchar_t* to) noexcept {
  return MoveFileW(from, to) ? fileSuccess : MapLastError();
}
bool FileExists(const wchar_t* path) noexcept { return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES; }

FileCode MakeTempReportName(HeapText& result) noexcept {
  result.reset();
  wchar_t folder[260] = {}, name[260 + 4] = {};  // with room for the longer extension
  const DWORD length = charset::getTempPath(260, folder);
  if (length == 0 || length >= 260) return fileOutOfMemory;
  if (charset::getTempFileName(folder, L"Temp", 0, name) == 0) return fileOutOfMemory;
  wchar_t* const dot = std::wcsrchr(name, L'.');
  std::wcscpy(dot ? dot : name + std::wcslen(name), L".rpt");
  return DupWide(result, name) ? fileSuccess : fileOutOfMemory;
}

}  // namespace fendrel
