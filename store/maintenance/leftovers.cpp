#include "leftovers.h"

#include "content_spool.h"
#include "reading_connection.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

std::vector<LeftoverFile> filesWithEnding(Disk& disk, const std::wstring& folder, std::wstring_view ending) {
  std::vector<LeftoverFile> files;
  for (const Disk::Entry& entry : disk.list(folder)) {
    if (entry.name.ends_with(ending)) files.push_back({folder + L"\\" + entry.name, 0});
  }
  return files;
}

// A file that cannot be measured counts without its bytes.
void measure(Disk& disk, std::vector<LeftoverFile>& files) {
  for (LeftoverFile& file : files) {
    try {
      file.bytes = fileSize(disk, file.path);
    } catch (const EngineError&) {
    }
  }
}

}  // namespace

std::vector<LeftoverFile> unnamedContentFiles(sqlite3* handle, Disk& disk, const std::wstring& contentFolder) {
  std::vector<LeftoverFile> files = filesWithEnding(disk, contentFolder, contentEnding);
  Statement named(handle, "SELECT 1 FROM content WHERE file = ?", true);
  std::erase_if(files, [&](const LeftoverFile& file) {
    const std::string name = toUtf8(file.path.substr(contentFolder.size() + 1));
    Query query(named, std::string_view(name));
    return query.step() || !disk.isAbandoned(file.path);
  });
  measure(disk, files);
  return files;
}

std::vector<LeftoverFile> temporaryFiles(Disk& disk, const std::wstring& contentFolder) {
  std::vector<LeftoverFile> files = filesWithEnding(disk, contentFolder + L"\\tmp", spoolEnding);
  measure(disk, files);
  return files;
}

}  // namespace fendrel::store
