#include "file_search.h"

#include <new>

#include "string_helpers.h"

namespace fendrel {
namespace {

constexpr std::size_t longestDirectory = 260;

// The next non-empty folder of the list at `position`, which moves past it; empty at the end.
std::wstring nextDirectory(const std::wstring& list, std::size_t& position) {
  const std::size_t start = list.find_first_not_of(L';', position);
  if (start == list.npos) {
    position = list.size();
    return {};
  }
  const std::size_t end = std::min(list.find(L';', start), list.size());
  position = end;
  return list.substr(start, end - start);
}

std::wstring joined(std::wstring directory, const std::wstring& name) {
  StripTrailingSlash(directory.data());
  directory.resize(std::wcslen(directory.c_str()));
  return directory + L'\\' + name;
}

}  // namespace

void FileSearch::closeFind() noexcept {
  if (find_ != INVALID_HANDLE_VALUE) FindClose(find_);
  find_ = INVALID_HANDLE_VALUE;
}

FileSearch::State FileSearch::takeDirectory() {
  directory_ = nextDirectory(directories_, position_);
  return directory_.empty() ? State::done : State::openDirectory;
}

bool FileSearch::openDirectory() {
  if (directory_.size() > longestDirectory) return false;
  closeFind();
  find_ = FindFirstFileW(joined(directory_, pattern_).c_str(), &found_);
  return find_ != INVALID_HANDLE_VALUE;
}

bool FileSearch::next() {
  for (;;) {
    switch (state_) {
      case State::start:
      case State::nextDirectory: state_ = takeDirectory(); break;
      case State::openDirectory:
        state_ = openDirectory() ? State::searching : State::nextDirectory;
        if (state_ == State::searching) return true;
        break;
      case State::searching:
        if (FindNextFileW(find_, &found_)) return true;
        state_ = State::nextDirectory;
        break;
      case State::done: return false;
    }
  }
}

FileCode FileFindOpen(const wchar_t* pattern, const wchar_t* directoryList,
                      std::unique_ptr<FileSearch>& search) noexcept {
  try {
    search = std::make_unique<FileSearch>(pattern ? pattern : L"", directoryList ? directoryList : L"");
    return fileSuccess;
  } catch (const std::bad_alloc&) {
    search.reset();
    return fileOutOfMemory;
  }
}

FileCode FileFindNext(FileSearch* search, HeapText& name) noexcept {
  name.reset();
  try {
    if (!search || !search->next()) return fileNoMore;
  } catch (const std::bad_alloc&) {
    return fileOutOfMemory;
  }
  return DupWide(name, search->found()) ? fileSuccess : fileOutOfMemory;
}

void FileFindClose(std::unique_ptr<FileSearch>& search) noexcept { search.reset(); }

HMODULE LoadLibraryFromPathList(const wchar_t* name, const wchar_t* directoryList) noexcept {
  const UINT errorMode = SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  HMODULE library = nullptr;
  try {
    const std::wstring list = directoryList ? directoryList : L"", file = name ? name : L"";
    std::size_t position = 0;
    for (auto directory = nextDirectory(list, position); !library && !directory.empty();
         directory = nextDirectory(list, position))
      if (directory.size() <= longestDirectory) library = LoadLibraryW(joined(directory, file).c_str());
  } catch (const std::bad_alloc&) {
    library = nullptr;
  }
  SetErrorMode(errorMode);
  return library;
}

}  // namespace fendrel
