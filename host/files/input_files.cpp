#include "input_files.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "console.h"
#include "file_handle.h"
#include "name_list.h"
#include "paths.h"
#include "pattern.h"
#include "text.h"

namespace fendrel::host {
namespace {

const char* kindOf(DWORD type) {
  switch (type) {
    case FILE_TYPE_PIPE: return "a pipe";
    case FILE_TYPE_CHAR: return "a device";
    default: return nullptr;
  }
}

bool isChosen(const FileSelection& selection, const std::wstring& name) {
  const auto matches = [&](const std::string& pattern) { return matchesPattern(name, toWide(pattern)); };
  return (selection.include.empty() || std::ranges::any_of(selection.include, matches)) &&
         std::ranges::none_of(selection.exclude, matches);
}

bool isDirectory(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

}  // namespace

InputFile lookAtFile(const std::string& given) {
  InputFile file;
  file.given = given;
  const auto refuse = [&](const std::string& words) {
    file.problem = Failure(ExitCode::failed, fmt::format("'{}' was not posted: {}", printable(given), words));
    return file;
  };
  try {
    const std::wstring full = fullPath(given);
    file.name = fileNameOf(full);
    file.path = longPath(readablePath(full));
  } catch (const Failure& failure) {
    file.problem = failure;
    return file;
  }
  if (isDirectory(file.path)) return refuse("it is a directory. Name the files in it, or give --recursive.");
  const FileHandle handle = openToRead(file.path);
  BY_HANDLE_FILE_INFORMATION facts{};
  // Anything but a disk file may have no end or block for ever.
  if (const char* kind = handle ? kindOf(GetFileType(handle.get())) : nullptr)
    return refuse(fmt::format("it is {}, not a file. \"-\" posts standard input.", kind));
  if (!handle || !GetFileInformationByHandle(handle.get(), &facts)) {
    file.problem = systemFailure(
        ExitCode::failed, fmt::format("'{}' was not posted; it cannot be read", printable(given)), GetLastError());
    return file;
  }
  file.size = std::uint64_t{facts.nFileSizeHigh} << 32 | facts.nFileSizeLow;
  file.written = facts.ftLastWriteTime;
  file.identity =
      toWide(fmt::format("{:x}:{:x}:{:x}:", facts.dwVolumeSerialNumber, facts.nFileIndexHigh, facts.nFileIndexLow)) +
      file.name;
  return file;
}

void InputFiles::addName(const std::string& name) {
  if (when_ == Look::now) {
    files.push_back(lookAtFile(name));
    return;
  }
  InputFile& file = files.emplace_back();
  file.given = name;
  const std::wstring full = fullPath(name);
  file.name = fileNameOf(full);
  file.path = longPath(readablePath(full));
}

InputFiles::InputFiles(const FileSelection& selection, Look look) : when_(look) {
  const bool inputIsList = selection.filesFrom == "-";
  const bool inputIsFile = std::ranges::find(selection.words, "-") != selection.words.end();
  if (inputIsList && inputIsFile)
    throw Failure(ExitCode::wrongUsage, "Standard input is either a file, -, or the list of --files-from -, not both.");
  if (inputIsFile && selection.inputName.empty())
    throw Failure(ExitCode::wrongUsage, "Standard input has no name. Give --name, for example --name sales.csv.");
  if (!inputIsFile && !selection.inputName.empty())
    throw Failure(ExitCode::wrongUsage, "--name is the name for standard input; give - as a FILE.");
  if (selection.words.empty() && selection.filesFrom.empty())
    throw Failure(ExitCode::wrongUsage, "Which files? Give FILE..., or --files-from FILE with their names.");
  for (const std::string& word : selection.words)
    word == "-" ? addStandardInput(selection.inputName) : addWord(selection, word);
  if (selection.filesFrom.empty()) return;
  // Names in a list are not patterns: programs write them.
  for (const std::string& name : readNameList(selection.filesFrom, selection.nulSeparated)) {
    if (selection.recursive && isDirectory(longPath(fullPath(name))))
      addDirectory(selection, name);
    else
      addName(name);
  }
}

void InputFiles::addWord(const FileSelection& selection, const std::string& word) {
  const std::vector<std::string> names = expandPattern(word);
  if (names.empty()) {
    InputFile none;
    none.given = word;
    none.isPattern = true;
    none.problem = Failure(ExitCode::failed, fmt::format("No file matches '{}'.", printable(word)));
    files.push_back(none);
  }
  const bool expanded = names.size() != 1 || names.front() != word;
  for (const std::string& name : names) {
    if (selection.recursive && isDirectory(longPath(fullPath(name))))
      addDirectory(selection, name);
    else if (!expanded || isChosen(selection, fileNameOf(toWide(name))))
      addName(name);
  }
}

void InputFiles::addDirectory(const FileSelection& selection, const std::string& directory) {
  WIN32_FIND_DATAW found;
  const FindHandle search = findFirst(longPath(fullPath(directory) + L"\\*"), found);
  if (!search) {
    InputFile none;
    none.given = directory;
    none.problem = systemFailure(ExitCode::failed, fmt::format("Directory '{}' cannot be read", printable(directory)),
                                 GetLastError());
    files.push_back(none);
    return;
  }
  std::vector<std::wstring> names, directories;
  do {
    if (cancelRequested()) throw Failure(ExitCode::cancelled, "Cancelled; nothing was posted.");
    const std::wstring name = found.cFileName;
    if (name == L"." || name == L"..") continue;
    // A link may point to a parent directory: following it might never end.
    if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
      if (!(found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)) directories.push_back(name);
    } else if (isChosen(selection, name)) {
      names.push_back(name);
    }
  } while (FindNextFileW(search.get(), &found));
  std::ranges::sort(names);
  std::ranges::sort(directories);
  for (const std::wstring& name : names) addName(joinedForDisplay(directory, toUtf8(name)));
  for (const std::wstring& name : directories) addDirectory(selection, joinedForDisplay(directory, toUtf8(name)));
}

void InputFiles::addStandardInput(const std::string& name) {
  wchar_t folder[MAX_PATH + 1] = L"";
  const DWORD length = GetTempPathW(MAX_PATH, folder);
  std::wstring directory(folder, length);
  while (directory.size() > 3 && directory.back() == L'\\') directory.pop_back();
  deleteUnfinishedFiles(directory);
  keptInput_ = std::make_unique<NewFile>(directory);
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  std::vector<char> block(256 * 1024);
  for (;;) {
    DWORD read = 0;
    if (!ReadFile(input, block.data(), static_cast<DWORD>(block.size()), &read, nullptr)) {
      if (const DWORD error = GetLastError(); error != ERROR_BROKEN_PIPE && error != ERROR_HANDLE_EOF)
        throw systemFailure(ExitCode::failed, "Standard input cannot be read", error);
      break;
    }
    if (read == 0) break;
    if (cancelRequested()) throw Failure(ExitCode::cancelled, "Cancelled; nothing was posted.");
    keptInput_->write(block.data(), read);
  }
  InputFile file = lookAtFile(toUtf8(keptInput_->handOver()));
  file.given = "-";
  file.name = toWide(name);
  if (fileNameOf(file.name) != file.name)
    throw Failure(ExitCode::wrongUsage, fmt::format("--name '{}' is a path; give a file name alone.", printable(name)));
  files.push_back(std::move(file));
}

bool readDirectoryEntry(InputFile& file) {
  WIN32_FILE_ATTRIBUTE_DATA facts{};
  if (!GetFileAttributesExW(file.path.c_str(), GetFileExInfoStandard, &facts)) return false;
  if (facts.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) return false;
  file.size = std::uint64_t{facts.nFileSizeHigh} << 32 | facts.nFileSizeLow;
  file.written = facts.ftLastWriteTime;
  return true;
}

bool isClosedByOthers(const InputFile& file) { return openToRead(file.path, 0) != nullptr; }

std::optional<std::uint64_t> sizeNow(const InputFile& file) {
  const FileHandle handle = openToRead(file.path);
  LARGE_INTEGER size{};
  if (!handle || !GetFileSizeEx(handle.get(), &size)) return std::nullopt;
  return static_cast<std::uint64_t>(size.QuadPart);
}

}  // namespace fendrel::host
