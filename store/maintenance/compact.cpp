#include "compact.h"

#include "database.h"
#include "failure_border.h"
#include "reading_connection.h"
#include "reclaim.h"

namespace fendrel::store {
namespace {

std::uint64_t bytesOf(Connection& connection) {
  return fileSize(connection.disk(), connection.path()) + fileSize(connection.disk(), connection.path() + L"-wal");
}

}  // namespace

CompactResult compact(Connection& connection) {
  CompactResult result;
  result.bytesBefore = bytesOf(connection);
  // The rebuilt database may not fit into memory.
  connection.execute("PRAGMA temp_store = FILE");
  try {
    connection.execute("VACUUM");
  } catch (const EngineError& error) {
    if (error.status != Status::Busy) throw;
    fail(Status::Busy,
         "The store was not compacted: others are writing into it. Nothing was changed; try again when "
         "nobody posts.");
  }
  // SQLite truncates the file and the log, unless a reader still needs them.
  result.logIsEmpty =
      sqlite3_wal_checkpoint_v2(connection.handle(), "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr) == SQLITE_OK;
  const Reclaimed reclaimed = reclaimEverything(connection);
  result.leftoverFiles = reclaimed.files;
  result.leftoverBytes = reclaimed.bytes;
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
