// Owners of file and search handles.
#pragma once

#include <windows.h>

#include <memory>
#include <string>

namespace fendrel::host {

struct HandleClose {
  void operator()(void* handle) const noexcept { CloseHandle(handle); }
};
using FileHandle = std::unique_ptr<void, HandleClose>;

struct FindHandleClose {
  void operator()(void* handle) const noexcept { FindClose(handle); }
};
using FindHandle = std::unique_ptr<void, FindHandleClose>;

// Null, with GetLastError(), if it cannot be opened. share: the plug-in opens with FILE_SHARE_READ.
inline FileHandle openToRead(const std::wstring& path, DWORD share = FILE_SHARE_READ) {
  const HANDLE handle =
      CreateFileW(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  return FileHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

inline FindHandle findFirst(const std::wstring& pattern, WIN32_FIND_DATAW& found) {
  const HANDLE handle = FindFirstFileW(pattern.c_str(), &found);
  return FindHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

}  // namespace fendrel::host
