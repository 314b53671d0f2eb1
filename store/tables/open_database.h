// The one way to open a database file.
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

// `name`: a full path, or with SQLITE_OPEN_URI in `flags` a URI. The write-ahead log stays when its last user closes it:
// its name was put on the disk once and for all. Throws EngineError.
DatabaseHandle openDatabase(const std::wstring& name, Disk& disk, int flags);

// Like sqlite3_exec, which it calls. Throws EngineError.
void execute(sqlite3* database, const std::string& sql);

// SQLite would make the log and its index readable by others. Their names are on the disk when it returns.
void createLogFiles(const std::wstring& path, Disk& disk);

// True if everything in the log is in the database and no reader is left that sees an older state.
bool isLogDone(sqlite3* database);

}  // namespace fendrel::store
