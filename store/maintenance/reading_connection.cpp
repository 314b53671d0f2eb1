#include "reading_connection.h"

#include <windows.h>

#include "database.h"
#include "database_on_disk.h"
#include "migrations.h"
#include "unicode.h"

namespace fendrel::store {

std::wstring uriOf(const std::wstring& path) {
  static constexpr wchar_t digits[] = L"0123456789ABCDEF";
  std::wstring uri = L"file:";
  for (const char c : toUtf8(path)) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.';
    const auto code = static_cast<unsigned char>(c);
    if (plain) {
      uri += static_cast<wchar_t>(c);
    } else {
      uri += {L'%', digits[code >> 4], digits[code & 15]};
    }
  }
  return uri;
}

bool isDamage(const EngineError& error) noexcept { return error.status != Status::Busy; }

std::uint64_t fileSize(Disk& disk, const std::wstring& path) { return disk.exists(path) ? disk.open(path)->size() : 0; }

ReadingConnection::ReadingConnection(const std::wstring& path, Disk& disk) : ReadingConnection(path, path, disk) {}

ReadingConnection::ReadingConnection(const std::wstring& path, const std::wstring& contentsOf, Disk& disk)
    : path_(fullStorePath(path)), contents_(fullStorePath(contentsOf), disk) {
  if (!disk.exists(path_)) fail(Status::NotFound, "There is no store '" + toUtf8(path_) + "'.");
  if (fileSize(disk, path_) == 0)
    fail(Status::Corrupt, "The file '" + toUtf8(path_) + "' is empty: it is not a store.");
  try {
    createLogFiles(path_, disk);  // empty, and not deleted, like with every open
    open(path_, 0);
    readVersion();
  } catch (const EngineError& error) {
    if (error.status != Status::NoAccess) throw;
    openUnchanging();
    readVersion();
  }
}

void ReadingConnection::open(const std::wstring& name, int flags) {
  database_ = openDatabase(name, disk(), SQLITE_OPEN_READONLY | flags);
  sqlite3* database = handle();
  sqlite3_busy_handler(database, waitWhileBusy, nullptr);
  // If this connection is the last to close, it must not checkpoint.
  sqlite3_db_config(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  execute(database,
          "PRAGMA query_only = ON; PRAGMA trusted_schema = OFF; PRAGMA cell_size_check = ON;"
          "PRAGMA cache_size = -8192;");
}

// The log's index cannot be created beside the store. It is not needed without a log.
void ReadingConnection::openUnchanging() {
  if (fileSize(disk(), path_ + L"-wal") > 0) {
    fail(Status::NoAccess, "The store '" + toUtf8(path_) +
                               "' cannot be read in its place: its log holds changes, and its folder is read-only. "
                               "First copy all files whose names begin alike to another place.");
  }
  open(uriOf(path_) + L"?immutable=1", SQLITE_OPEN_URI);
}

void ReadingConnection::readVersion() {
  const std::int64_t application = number("PRAGMA application_id");
  version_ = static_cast<int>(number("PRAGMA user_version"));
  if (application != applicationId) {
    fail(Status::Corrupt, "The file '" + toUtf8(path_) + "' is not a message store, or its first page is damaged.");
  }
  refuseNewerVersion(version_, latestVersion());
}

int ReadingConnection::waitWhileBusy(void*, int attempt) noexcept {
  constexpr int pause = 20;
  if (attempt * pause > busyTimeout) return 0;
  Sleep(pause);
  return 1;
}

void ReadingConnection::keepMoment() {
  if (!sqlite3_get_autocommit(handle())) return;
  checkSqlite(sqlite3_exec(handle(), "BEGIN", nullptr, nullptr, nullptr), handle(), "Reading the store");
  number("SELECT count(*) FROM sqlite_schema");
}

void ReadingConnection::endMoment() noexcept {
  if (!sqlite3_get_autocommit(handle())) sqlite3_exec(handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

Statement ReadingConnection::statement(const char* sql) { return Statement(handle(), sql, false); }

std::int64_t ReadingConnection::number(const char* sql) {
  Statement asked = statement(sql);
  if (!asked.step()) fail(Status::Corrupt, "The store does not answer.");
  return asked.integer(0);
}

}  // namespace fendrel::store
