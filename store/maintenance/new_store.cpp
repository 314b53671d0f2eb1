#include "new_store.h"

#include "content_folder.h"
#include "database_on_disk.h"
#include "engine_error.h"
#include "unicode.h"

namespace fendrel::store {
namespace {

constexpr const wchar_t* endings[] = {L"", L"-journal", L"-wal", L"-shm"};

// Its files, then the folder; files that cannot be deleted stay.
void removeFolder(Disk& disk, const std::wstring& folder) noexcept {
  try {
    for (const Disk::Entry& entry : disk.list(folder)) tryRemove(disk, folder + L"\\" + entry.name);
    disk.removeFolder(folder);
  } catch (...) {
  }
}

}  // namespace

NewStore::NewStore(const std::wstring& path, Disk& disk) : path_(fullStorePath(path)), disk_(disk) {
  for (const wchar_t* ending : {L"", L"-wal", L".files", L".part", L".work"}) {
    if (disk.exists(path_ + ending)) {
      fail(Status::AlreadyExists, "'" + toUtf8(path_ + ending) + "' exists already. Choose another name.");
    }
  }
}

NewStore::~NewStore() {
  for (const wchar_t* ending : endings) tryRemove(disk_, database() + ending);
  removeFolder(disk_, workFolder());
  if (!isFinished_) removeFolder(disk_, contentFolder());
}

std::wstring NewStore::workFile(const wchar_t* name) {
  disk_.createFolder(workFolder(), true);
  return workFolder() + L"\\" + name;
}

void NewStore::finish() {
  const std::wstring parent = path_.substr(0, path_.find_last_of(L"\\/"));
  if (hasFolder_) {
    disk_.flushFolder(contentFolder());
    disk_.flushFolder(parent);  // or the database's name could survive without the folder's
  }
  disk_.openAlone(database())->rename(path_);
  isFinished_ = true;
  disk_.flushFolder(parent);
}

std::unique_ptr<DiskFile> NewStore::createContent(const std::string& name) {
  if (!hasFolder_) {
    hasFolder_ = true;
    disk_.createFolder(contentFolder(), true);
    disk_.flushFolder(path_.substr(0, path_.find_last_of(L"\\/")));  // before the store gets its name
  }
  return disk_.create(contentFolder() + L"\\" + contentFileName(name));
}

void NewStore::removeContent(const std::string& name) { disk_.remove(contentFolder() + L"\\" + contentFileName(name)); }

}  // namespace fendrel::store
