// The files that a post begins with: which are meant, and whether each can be read.
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

// What was asked for.
struct FileSelection {
  std::vector<std::string> words;             // names, patterns, directories; "-" is standard input
  std::string filesFrom;                      // a file with a name a line, or "-" for standard input; empty: none
  bool nulSeparated = false;                  // its names end with a 0 instead
  bool recursive = false;                     // a directory stands for the files in it and below
  std::vector<std::string> include, exclude;  // of file names, for directories and patterns
  std::string inputName;                      // what standard input is posted as
};

struct InputFile {
  std::string given;  // as the user named it
  std::wstring name;  // file name and extension: the report's name
  std::wstring path;  // full, in the form that takes any length
  std::uint64_t size = 0;
  FILETIME written{};
  std::wstring identity;           // the same for two names of one file
  std::optional<Failure> problem;  // why it cannot be read
  bool isPattern = false;          // that no file matches; `problem` says so
};

// later: files are only named, not opened, so that nobody who writes one is disturbed.
enum class Look { now, later };

class InputFiles {
 public:
  // Looks at every file: nothing is posted for one that cannot be read. Throws Failure(wrongUsage) for a selection
  // that means nothing, and Failure(failed) when a list of names cannot be read.
  explicit InputFiles(const FileSelection& selection, Look look = Look::now);

  std::vector<InputFile> files;

 private:
  void addWord(const FileSelection& selection, const std::string& word);
  void addDirectory(const FileSelection& selection, const std::string& directory);
  void addStandardInput(const std::string& name);
  void addName(const std::string& name);

  Look when_;
  std::unique_ptr<NewFile> keptInput_;  // standard input's bytes, while the files are used
};

// What is known of one file.
InputFile lookAtFile(const std::string& given);

// Its size and time of writing as the directory has them, without opening it; false when there is no such file.
bool readDirectoryEntry(InputFile& file);

// True when nobody else has the file open.
bool isClosedByOthers(const InputFile& file);

// The size of the file now; absent when it cannot be told.
std::optional<std::uint64_t> sizeNow(const InputFile& file);

}  // namespace fendrel::host
