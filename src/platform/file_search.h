// Searches a list of folders for files by a pattern, and for a library.
#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "file_codes.h"
#include "text_conversion.h"

namespace fendrel {

// One search: its pattern, its list of folders with the position in it, and the open find handle.
class FileSearch {
 public:
  FileSearch(const wchar_t* pattern, const wchar_t* directoryList) : pattern_(pattern), directories_(directoryList) {}
  ~FileSearch() { closeFind(); }
  FileSearch(const FileSearch&) = delete;
  FileSearch& operator=(const FileSearch&) = delete;

  // True with the next match in found().
  bool next();
  const wchar_t* found() const noexcept { return found_.cFileName; }

 private:
  enum class State { start, openDirectory, searching, nextDirectory, done };

  State takeDirectory();
  bool openDirectory();
  void closeFind() noexcept;

  State state_ = State::start;
  std::wstring pattern_;
  std::wstring directories_;  // separated by semicolons
  std::size_t position_ = 0;  // of the next folder
  std::wstring directory_;
  HANDLE find_ = INVALID_HANDLE_VALUE;
  WIN32_FIND_DATAW found_{};
};

// `directoryList` holds folders separated by semicolons, each with or without a final slash. 0 or 267.
FileCode FileFindOpen(const wchar_t* pattern, const wchar_t* directoryList,
                      std::unique_ptr<FileSearch>& search) noexcept;

// The next match's name without its folder in a new block. 0, 267, or 269 if there are no more. Folders of 261
// characters or more are skipped.
FileCode FileFindNext(FileSearch* search, HeapText& name) noexcept;

void FileFindClose(std::unique_ptr<FileSearch>& search) noexcept;

// Loads the library `name` from the first folder of the list where that succeeds, without a message box; else null.
HMODULE LoadLibraryFromPathList(const wchar_t* name, const wchar_t* directoryList) noexcept;

}  // namespace fendrel
