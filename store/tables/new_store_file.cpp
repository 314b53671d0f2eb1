// A store is built under a temporary name, closed, and renamed when it is complete, so that a power cut leaves no
// partial store. SQLite would apply the log of an earlier store to the new one, so that log is emptied first, through
// an exclusive handle: while it is open, no other program can create or use a store there.
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

// Creates the parent folders of a file, outermost first.
void createFolders(Disk& disk, const std::wstring& folder) {
  if (folder.empty() || disk.exists(folder + L"\\")) return;
  const auto separator = folder.find_last_of(L"\\/");
  if (separator != std::wstring::npos && separator > 2) createFolders(disk, folder.substr(0, separator));
  disk.createFolder(folder, false);
  // A store that survives a power cut must be reachable.
  if (separator != std::wstring::npos) disk.flushFolder(folder.substr(0, separator));
}

// "store.db-0123456789abcdef0123456789abcdef.creating", and SQLite's files beside it.
bool isUnfinished(std::wstring_view file, std::wstring_view store) {
  for (const std::wstring_view ending : {L"-wal", L"-shm", L"-journal"}) {
    if (file.ends_with(ending)) file.remove_suffix(ending.size());
  }
  if (file.size() != store.size() + 1 + idLength + unfinishedEnding.size()) return false;
  if (!file.starts_with(store) || file[store.size()] != L'-' || !file.ends_with(unfinishedEnding)) return false;
  return std::ranges::all_of(file.substr(store.size() + 1, idLength),
                             [](wchar_t c) { return (c >= L'0' && c <= L'9') || (c >= L'a' && c <= L'f'); });
}

// Those of killed programs.
void removeUnfinished(const std::wstring& path, Disk& disk) noexcept {
  try {
    const std::wstring folder = parentFolder(path), store = path.substr(folder.size() + 1);
    for (const Disk::Entry& entry : disk.list(folder)) {
      if (!isUnfinished(entry.name, store) || !isOlderThanGrace(entry.modified)) continue;
      tryRemove(disk, folder + L"\\" + entry.name);
    }
  } catch (...) {  // harmless
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

// Does nothing if a store has that name meanwhile.
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
