#include "content_folder.h"

#include <algorithm>

#include "engine_error.h"
#include "ids.h"

namespace fendrel::store {

namespace {

constexpr std::wstring_view contentEnding = L".content", temporaryEnding = L".tmp";
constexpr std::wstring_view markEnding = L".open";  // of files that earlier programs kept there while they ran

bool isName(std::wstring_view name) {
  if (!name.ends_with(contentEnding)) return false;
  name.remove_suffix(contentEnding.size());
  return !name.empty() &&
         std::ranges::all_of(name, [](wchar_t c) { return (c >= L'0' && c <= L'9') || (c >= L'a' && c <= L'z'); });
}

}  // namespace

bool isOlderThanGrace(FileTime time) noexcept { return time.ticks + graceTime < now().ticks; }

std::wstring contentFileName(std::string_view stored) {
  std::wstring name(stored.begin(), stored.end());
  if (!isName(name)) fail(Status::Corrupt, "The store is damaged: a content file has an invalid name.");
  return name;
}

ContentFolder::ContentFolder(const std::wstring& store, Disk& disk) : path_(store + L".files"), disk_(disk) {}

void ContentFolder::makeFolders() {
  if (!disk_.exists(path_ + L"\\")) {
    disk_.createFolder(path_, true);
    disk_.flushFolder(path_.substr(0, path_.find_last_of(L"\\/")));
  }
  if (disk_.exists(temporaryPath() + L"\\")) return;
  disk_.createFolder(temporaryPath(), true);
  disk_.flushFolder(path_);
}

ContentFolder::File ContentFolder::create() {
  makeFolders();
  const std::wstring id = hexText(newGuid());
  File made;
  made.name = id + std::wstring(contentEnding);
  made.path = temporaryPath() + L"\\" + id + std::wstring(temporaryEnding);
  made.file = disk_.create(made.path);
  return made;
}

void ContentFolder::name(File& file) {
  std::wstring path = path_ + L"\\" + file.name;
  file.file->rename(path);
  file.path = std::move(path);
  file.isNamed = true;
}

std::unique_ptr<DiskFile> ContentFolder::open(std::string_view stored) const {
  const std::wstring path = path_ + L"\\" + contentFileName(stored);
  try {
    return disk_.open(path);
  } catch (const EngineError& error) {
    if (error.status != Status::NotFound) throw;
    fail(Status::Corrupt, "The content file '" + std::string(stored) + "' is missing.");
  }
}

std::vector<Disk::Entry> ContentFolder::files() const {
  std::vector<Disk::Entry> files = disk_.list(path_);
  std::erase_if(files, [&](const Disk::Entry& entry) {
    return !isName(entry.name) || !disk_.isAbandoned(path_ + L"\\" + entry.name);
  });
  return files;
}

std::vector<Disk::Entry> ContentFolder::temporaryFiles() const {
  std::vector<Disk::Entry> files = disk_.list(temporaryPath());
  std::erase_if(files, [](const Disk::Entry& entry) {
    return !entry.name.ends_with(temporaryEnding) && !entry.name.ends_with(markEnding);
  });
  return files;
}

bool ContentFolder::remove(const std::wstring& name) noexcept {
  try {
    return tryRemove(disk_, path_ + L"\\" + name);
  } catch (...) {
    return false;
  }
}

void ContentFolder::removeStaleTemporaryFiles() noexcept {
  try {
    for (const Disk::Entry& entry : temporaryFiles()) {
      if (isOlderThanGrace(entry.modified)) tryRemove(disk_, temporaryPath() + L"\\" + entry.name);
    }
  } catch (...) {  // the next open tries again
  }
}

}  // namespace fendrel::store
