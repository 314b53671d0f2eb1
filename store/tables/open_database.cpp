#include "open_database.h"

#include "engine_error.h"
#include "sqlite_statement.h"
#include "unicode.h"

namespace fendrel::store {

DatabaseHandle openDatabase(const std::wstring& name, Disk& disk, int flags) {
  sqlite3* opened = nullptr;
  const int code = sqlite3_open_v2(toUtf8(name).c_str(), &opened, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE,
                                   disk.sqliteLayer());
  DatabaseHandle database(opened);
  checkSqlite(code, opened, "Opening the store");
  int keepLog = 1;
  sqlite3_file_control(opened, "main", SQLITE_FCNTL_PERSIST_WAL, &keepLog);
  return database;
}

void execute(sqlite3* database, const std::string& sql) {
  checkSqlite(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), database, "Setting up the store");
}

void createLogFiles(const std::wstring& path, Disk& disk) {
  if (disk.exists(path + L"-wal") && disk.exists(path + L"-shm")) return;
  disk.createPrivateFile(path + L"-wal");
  disk.createPrivateFile(path + L"-shm");
  disk.flushFolder(path.substr(0, path.find_last_of(L"\\/")));
}

// A checkpoint stops at the oldest reader's mark, and does nothing while a reader uses only the database file.
bool isLogDone(sqlite3* database) {
  int inLog = 0, done = 0;
  return sqlite3_wal_checkpoint_v2(database, "main", SQLITE_CHECKPOINT_PASSIVE, &inLog, &done) == SQLITE_OK &&
         inLog >= 0 && inLog == done;
}

}  // namespace fendrel::store
