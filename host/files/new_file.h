// Files that get their names only when they are complete.
#pragma once

#include <windows.h>

#include <string>

namespace fendrel::host {

// Creates a directory and its parents.
void makeDirectory(const std::wstring& full);

// Has the name "fendrel-PROCESS-NUMBER.part" until it is given its final one; without one the destructor deletes it.
// Every function throws Failure(failed).
class NewFile {
 public:
  explicit NewFile(const std::wstring& directory);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  void write(const void* bytes, std::size_t size);

  // Lets the caller create and write the file under this path; write() must not be called any more.
  const std::wstring& handOver();

  // Names the file; if the name is in use and not to be replaced, takes the next free "name (2).ext".
  std::wstring giveName(const std::wstring& wanted, bool replace);

  // Gives the file exactly this name; false if it is in use.
  bool giveExactName(const std::wstring& name);

 private:
  void close();
  void finish();
  [[noreturn]] void refuseName(const std::wstring& name, DWORD error) const;

  std::wstring folder_, temporary_;
  HANDLE handle_;
  bool named_ = false;
};

// Moves a file into a directory under this name or, if it is in use, "name (2).ext" and so on; `name` is the last one
// tried. `flags` are MoveFileEx's. Returns the system's error.
DWORD moveToFreeName(const std::wstring& from, const std::wstring& directory, const std::wstring& wanted, DWORD flags,
                     std::wstring& name);

// Deletes the unfinished files of killed programs in a directory.
void deleteUnfinishedFiles(const std::wstring& directory);

}  // namespace fendrel::host
