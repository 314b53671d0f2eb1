#include "connection.h"
#include "database.h"
#include "failure_border.h"
#include "leftovers.h"
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

// True when the whole log is in the database and the log is empty.
bool emptyLog(Connection& connection) {
  return sqlite3_wal_checkpoint_v2(connection.handle(), "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr) ==
         SQLITE_OK;
}

CompactResult compact(Connection& connection) {
  CompactResult result;
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
  result.bytesAfter = bytesOf(connection);
  return result;
}

}  // namespace

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
