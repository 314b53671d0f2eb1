#include "compact.h"

#include "database.h"
#include "failure_border.h"
#include "leftovers.h"
#include "log_room.h"
#include "page_checksums.h"
#include "reading_connection.h"

namespace fendrel::store {
namespace {

std::uint64_t bytesOf(Connection& connection) {
  return fileSize(connection.disk(), connection.path()) + fileSize(connection.disk(), connection.path() + L"-wal");
}

// Others name files only under the write lock, and hold those that they have not named yet.
void removeUnnamed(Connection& connection, CompactResult& result) {
  Transaction transaction(connection, Transaction::Write);
  for (const LeftoverFile& file :
       unnamedContentFiles(connection.handle(), connection.disk(), connection.contentFolder())) {
    if (!connection.disk().remove(file.path)) continue;
    ++result.leftoverFiles;
    result.leftoverBytes += file.bytes;
  }
}

// True when the whole log is in the database and the log is empty: cut off, since what was deleted must be nowhere.
bool emptyLog(Connection& connection) {
  setLogRoom(connection.handle(), 0);
  return sqlite3_wal_checkpoint_v2(connection.handle(), "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr) ==
         SQLITE_OK;
}

// The file grows by large steps, and would get shorter by such steps only: what was behind its last page would stay
// there, and salvage could take it for rows. Under the write lock the database does not grow.
void cutOff(Connection& connection) {
  Transaction transaction(connection, Transaction::Write);
  Query pages(connection.statement("PRAGMA page_count"));
  sqlite3_file* file = nullptr;
  sqlite3_int64 size = 0;
  checkSqlite(sqlite3_file_control(connection.handle(), "main", SQLITE_FCNTL_FILE_POINTER, &file), nullptr,
              "Finding the store's file");
  checkSqlite(file->pMethods->xFileSize(file, &size), nullptr, "Measuring the store's file");
  pages.step();
  const sqlite3_int64 needed = pages->integer(0) * databasePageSize;
  if (size > needed) checkSqlite(file->pMethods->xTruncate(file, needed), nullptr, "Shortening the store");
}

}  // namespace

CompactResult compact(Connection& connection) {
  CompactResult result;
  int exact = 0;
  sqlite3_file_control(connection.handle(), "main", SQLITE_FCNTL_CHUNK_SIZE, &exact);
  result.bytesBefore = bytesOf(connection);
  removeUnnamed(connection, result);
  // The rebuilt database would not fit into memory everywhere.
  connection.execute("PRAGMA temp_store = FILE");
  try {
    connection.execute("VACUUM");
  } catch (const EngineError& error) {
    if (error.status != Status::Busy) throw;
    fail(Status::Busy, "The store was not compacted: others are writing into it. Nothing was changed; try again when "
                       "nobody posts.");
  }
  result.logIsEmpty = emptyLog(connection);
  cutOff(connection);
  result.bytesAfter = bytesOf(connection);
  return result;
}

CompactResult compactStore(const std::wstring& path) {
  return maintained([&] {
    std::unique_ptr<Database> database;
    std::string error;
    const Status status = Database::openExisting(path, database, error);
    if (status != Status::Ok) fail(status, error);
    return compact(database->connection());
  });
}

}  // namespace fendrel::store
