// The files to post: which ones, and whether each can be read.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "failure.h"
#include "new_file.h"

namespace fendrel::host {

// The user's selection.
struct FileSelection {
  std::vector<std::string> words;             // names, patterns, directories; "-" is standard input
  std::string filesFrom;                      // a file with one name per line, or "-" for standard input; empty: none
  bool nulSeparated = false;                  // names in it end with a 0 instead
  bool recursive = false;                     // a directory means the files in it and its subdirectories
  std::vector<std::string> include, exclude;  // of file names, for directories and patterns
  std::string inputName;                      // name under which standard input is posted
};

struct InputFile {
  std::string given;  // as the user named it
  std::wstring name;  // file name and extension: the report's name
  std::wstring path;  // full, in the form without a length limit
  std::uint64_t size = 0;
  FILETIME written{};
  std::wstring identity;           // equal for two names of one file
  std::optional<Failure> problem;  // why it cannot be read
  bool isPattern = false;          // without a match; `problem` says so
};

// later: files are not opened yet, so that their writers are not disturbed.
enum class Look { now, later };

class InputFiles {
 public:
  // Checks every file, because one that cannot be read is not posted. Throws Failure(wrongUsage) for an invalid
  // selection, and Failure(failed) if a list of names cannot be read.
  explicit InputFiles(const FileSelection& selection, Look look = Look::now);

  std::vector<InputFile> files;

 private:
  void addWord(const FileSelection& selection, const std::string& word);
  void addDirectory(const FileSelection& selection, const std::string& directory);
  void addStandardInput(const std::string& name);
  void addName(const std::string& name);

  Look when_;
  std::unique_ptr<NewFile> keptInput_;  // the copy of standard input, as long as the files are used
};

// Checks one file.
InputFile lookAtFile(const std::string& given);

// Reads its size and time of writing from the directory, without opening it; false if there is no such file.
bool readDirectoryEntry(InputFile& file);

// True if nobody else has the file open.
bool isClosedByOthers(const InputFile& file);

// The current size of the file; absent if unknown.
std::optional<std::uint64_t> sizeNow(const InputFile& file);

}  // namespace fendrel::host
