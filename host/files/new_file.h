// Files that take their name only when they are whole.
#pragma once

#include <windows.h>

#include <string>

namespace fendrel::host {

// Makes a directory and those above it.
void makeDirectory(const std::wstring& full);

// Stands under a name of its own, "fendrel-PROCESS-NUMBER.part", until it is given the wanted one; one that never is
// goes with the object. Every function throws Failure(failed).
class NewFile {
 public:
  explicit NewFile(const std::wstring& directory);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  void write(const void* bytes, std::size_t size);

  // Lets someone else write it, who makes it under this path; write() is over then.
  const std::wstring& handOver();

  // Names the file, or, when that name is taken and is not to be replaced, takes the next free "name (2).ext".
  std::wstring giveName(const std::wstring& wanted, bool replace);

  // Names the file so and not otherwise; false when the name is taken.
  bool giveExactName(const std::wstring& name);

 private:
  void close();
  void finish();
  [[noreturn]] void refuseName(const std::wstring& name, DWORD error) const;

  std::wstring folder_, temporary_;
  HANDLE handle_;
  bool named_ = false;
};

// Moves a file into a directory and names it so or, while a name is taken, "name (2).ext" and so on; `name` is the last
// one tried. `flags` are MoveFileEx's. Answers the system's error.
DWORD moveToFreeName(const std::wstring& from, const std::wstring& directory, const std::wstring& wanted, DWORD flags,
                     std::wstring& name);

// Deletes what programs that ended in the middle have left in a directory.
void deleteUnfinishedFiles(const std::wstring& directory);

}  // namespace fendrel::host
