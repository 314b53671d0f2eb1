// A store is built under a name of its own, closed, and gets its name when it is whole: a power cut leaves no half of
// one. A log that was left at the place of an earlier store would be read into the new one, so it is emptied first,
// by the one program that holds it for itself alone: while it does, nobody else names a store there or uses one.
#include "new_store_file.h"

#include <algorithm>

#include "connection.h"
#include "migrations.h"
#include "standard_folders.h"
#include "waiting.h"

namespace fendrel::store {

namespace {

constexpr std::wstring_view unfinishedEnding = L".creating";
constexpr std::size_t idLength = 32;

std::wstring parentFolder(const std::wstring& path) { return path.substr(0, path.find_last_of(L"\\/")); }

// Creates the folders above a file, outermost first.
void createFolders(Disk& disk, const std::wstring& folder) {
  if (folder.empty() || disk.exists(folder + L"\\")) return;
  const auto separator = folder.find_last_of(L"\\/");
  if (separator != std::wstring::npos && separator > 2) createFolders(disk, folder.substr(0, separator));
  disk.createFolder(folder, false);
  // A store that survives a power cut must be found again.
  if (separator != std::wstring::npos) disk.flushFolder(folder.substr(0, separator));
}

// "store.db-0123456789abcdef0123456789abcdef.creating", and the files that SQLite has beside it.
bool isUnfinished(std::wstring_view file, std::wstring_view store) {
  for (const std::wstring_view ending : {L"-wal", L"-shm", L"-journal"}) {
    if (file.ends_with(ending)) file.remove_suffix(ending.size());
  }
  if (file.size() != store.size() + 1 + idLength + unfinishedEnding.size()) return false;
  if (!file.starts_with(store) || file[store.size()] != L'-' || !file.ends_with(unfinishedEnding)) return false;
  return std::ranges::all_of(file.substr(store.size() + 1, idLength),
                             [](wchar_t c) { return (c >= L'0' && c <= L'9') || (c >= L'a' && c <= L'f'); });
}

// Those of programs that died.
void removeUnfinished(const std::wstring& path, Disk& disk) noexcept {
  try {
    const std::wstring folder = parentFolder(path), store = path.substr(folder.size() + 1);
    for (const Disk::Entry& entry : disk.list(folder)) {
      if (!isUnfinished(entry.name, store) || !isOlderThanGrace(entry.modified)) continue;
      tryRemove(disk, folder + L"\\" + entry.name);
    }
  } catch (...) {  // they do no harm
  }
}

void removeWithLog(const std::wstring& path, Disk& disk) noexcept {
  for (const wchar_t* ending : {L"", L"-wal", L"-shm", L"-journal"}) tryRemove(disk, path + ending);
}

void build(const std::wstring& path, Disk& disk) {
  disk.createPrivateFile(path);
  Connection connection(path, disk);
  migrate(connection, schemaMigrations());
  ensurePublicStore(connection);
  checkSqlite(sqlite3_wal_checkpoint_v2(connection.handle(), "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr),
              connection.handle(), "Making a new store");
}

// Nothing happens where a store has that name by now.
void giveName(const std::wstring& unnamed, const std::wstring& path, Disk& disk) {
  std::unique_ptr<DiskFile> log;
  try {
    waitWhileBusy([&] {
      if (!disk.exists(path)) log = disk.openAlone(path + L"-wal");
    });
    if (!log || disk.exists(path)) return;
    log->resize(0);
    log->flush();
    tryRemove(disk, path + L"-shm");
    disk.openAlone(unnamed)->rename(path);
  } catch (const EngineError& error) {
    if (error.status != Status::AlreadyExists) throw;
  }
}

}  // namespace

void createStoreFile(const std::wstring& path, Disk& disk) {
  createFolders(disk, parentFolder(path));
  removeUnfinished(path, disk);
  const std::wstring unnamed = path + L"-" + hexText(newGuid()) + std::wstring(unfinishedEnding);
  try {
    build(unnamed, disk);
    giveName(unnamed, path, disk);
  } catch (...) {
    removeWithLog(unnamed, disk);
    throw;
  }
  removeWithLog(unnamed, disk);
  disk.flushFolder(parentFolder(path));
}

}  // namespace fendrel::store
