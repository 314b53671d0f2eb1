#include "log_room.h"

#include <sqlite3.h>

#include "page_checksums.h"

namespace fendrel::store {

namespace {

// Null where there is none.
sqlite3_file* logOf(sqlite3* database) {
  sqlite3_file* log = nullptr;
  sqlite3_file_control(database, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
  return log && log->pMethods ? log : nullptr;
}

}  // namespace

void setLogRoom(sqlite3* database, std::uint64_t bytes) {
  auto room = static_cast<sqlite3_int64>(bytes);
  if (sqlite3_file* const log = logOf(database)) log->pMethods->xFileControl(log, keepLogRoomControl, &room);
}

void makeLogRoom(sqlite3* database, std::uint64_t bytes) {
  sqlite3_file* const log = logOf(database);
  if (!log || bytes == 0) return;
  setLogRoom(database, bytes);
  sqlite3_wal_autocheckpoint(database, static_cast<int>(bytes / databasePageSize * 15 / 16));
  sqlite3_int64 length = 0;
  if (log->pMethods->xFileSize(log, &length) != SQLITE_OK || static_cast<std::uint64_t>(length) >= bytes) return;
  // With the write lock: whoever has it just now writes into the log.
  if (sqlite3_exec(database, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK) return;
  log->pMethods->xFileControl(log, makeLogRoomControl, nullptr);
  sqlite3_exec(database, "ROLLBACK", nullptr, nullptr, nullptr);
}

}  // namespace fendrel::store
