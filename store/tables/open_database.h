// Opens every database file.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>

#include "disk.h"

namespace fendrel::store {

struct CloseDatabase {
  void operator()(sqlite3* database) const noexcept { sqlite3_close_v2(database); }
};
using DatabaseHandle = std::unique_ptr<sqlite3, CloseDatabase>;

// `name`: a full path, or with SQLITE_OPEN_URI in `flags` a URI. The write-ahead log is not deleted when its last user
// closes it, so that its name need not be flushed again. Throws EngineError.
DatabaseHandle openDatabase(const std::wstring& name, Disk& disk, int flags);

// Like sqlite3_exec, which it calls. Throws EngineError.
void execute(sqlite3* database, const std::string& sql);

// Creates the log and its index, which SQLite would make readable by others. Returns when their names are on the disk.
void createLogFiles(const std::wstring& path, Disk& disk);

// True if the whole log is checkpointed and no reader sees an older state.
bool isLogDone(sqlite3* database);

}  // namespace fendrel::store
